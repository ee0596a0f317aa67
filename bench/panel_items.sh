#!/usr/bin/env bash
# Tray item scan benchmark on the virtual desktop: the window-list snapshot, the item names and
# a full scan with the desktop's 3 tray icons and with 30, then the names and a full scan while
# one status item's application does not answer (stopped with SIGSTOP after a first scan), then
# with 100 tray icons. The desktop is 3840 pixels wide: a 1920-pixel panel cannot show 100 icons,
# and its notification area would push the clock and the last icons past the panel's end,
# where nothing is visible and the clock is rightly no item.
# Prints figures; asserts nothing. Usage: bench/panel_items.sh [PATH-TO-QUILLET_PANEL_ITEMS] [RUNS]
set -uo pipefail

source "$(dirname "$0")/../tests/support/desktop/lib.sh"

probe=${1:-$QD_REPO/build/tests/integration/quillet_panel_items}
runs=${2:-20}
[ -x "$probe" ] || {
  echo "not executable: $probe (build the quillet_panel_items target)" >&2
  exit 1
}

qd_init bench_panel_items
qd_start_desktop --size 3840x2160
qd_new_home
export QT_QPA_PLATFORM=xcb

count() { "$probe" 2>/dev/null | wc -l; }
count_is() { [ "$(count)" -ge "$1" ]; }
report() { # TITLE [PID-TO-SILENCE]
  echo
  echo "$1"
  "$probe" --time "$runs" ${2:-} 2>/dev/null | sed 's/^/  /'
}

# The panel's clock is an item too.
qd_wait_for 15 "three tray items and the clock" count_is 4 || true
report "3 tray icons (2 XEmbed, 1 status item) and the clock, $(count) items found:"

# 14 more XEmbed icons and 13 more status items.
extra=()
for ((i = 1; i <= 14; i++)); do
  qd_launch p "$QD_TMP/yad-$i.log" yad --notification --text="Bench icon $i" --image=dialog-information
  extra+=("$p")
done
for ((i = 1; i <= 13; i++)); do
  qd_launch p "$QD_TMP/sni-$i.log" "$QD_PYTHON" "$QD_SUPPORT/sni_item.py" --title "Bench item $i" \
    --color "$(printf '%02x%02x%02x' $((i * 18)) 120 $((255 - i * 18)))"
  extra+=("$p")
done
qd_wait_for 60 "thirty tray items and the clock" count_is 31 || true
report "30 tray icons (16 XEmbed, 14 status items) and the clock, $(count) items found:"
echo "  labels: $("$probe" 2>/dev/null | sed -n 's/.* label=//p' | paste -sd '|')"

# The probe stops the last status item's application after one scan and continues it after.
report "30 tray icons, one status item's application stopped (each source waits at most 250 ms):" \
  "${extra[-1]}"

# 35 more of each: 100 tray icons.
for ((i = 15; i <= 49; i++)); do
  qd_launch p "$QD_TMP/yad-$i.log" yad --notification --text="Bench icon $i" --image=dialog-information
  extra+=("$p")
done
for ((i = 14; i <= 48; i++)); do
  qd_launch p "$QD_TMP/sni-$i.log" "$QD_PYTHON" "$QD_SUPPORT/sni_item.py" --title "Bench item $i" \
    --color "$(printf '%02x%02x%02x' $((i * 5)) 90 $((255 - i * 5)))"
  extra+=("$p")
done
qd_wait_for 120 "a hundred tray items and the clock" count_is 101 || true
report "100 tray icons (51 XEmbed, 49 status items) and the clock, $(count) items found:"

for p in "${extra[@]}"; do
  qd_stop_process "$p" TERM 10 || true
done
qd_finish
