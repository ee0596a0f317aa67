#!/usr/bin/env bash
# Master-switch benchmark: the time from running "quillet --toggle" to the desktop being put back
# (icons shown, the user's picture back, no mask over the panel) and to everything applied again,
# with the icons hidden, a colour and the whole panel covered. Prints figures; asserts nothing.
# Usage: bench/toggle.sh [PATH-TO-QUILLET] [RUNS]
set -uo pipefail

source "$(dirname "$0")/../tests/support/desktop/lib.sh"

quillet=${1:-$QD_REPO/build/quillet}
runs=${2:-5}
QD_QUILLET=$quillet

qd_init bench_toggle
qd_start_desktop

style() { qd_xfconf_get xfce4-desktop /desktop-icons/style; }
picture() { qd_xfconf_get xfce4-desktop /backdrop/screen0/monitorscreen/workspace0/last-image; }
# Quillet's viewable override-redirect windows along the top of the screen: its masks.
masks() {
  "$QD_PYTHON" - "$QD_SUPPORT" "$quillet_pid" <<'PY'
import sys
sys.path.insert(0, sys.argv[1])
import xprobe
d = xprobe.Display()
print(sum(1 for w in d.children(d.root)
          if (a := d.attributes(w)) and a.override_redirect and d.viewable(w) and a.y == 0
          and d.pid(w) == int(sys.argv[2])))
PY
}
original=$(picture)
restored() { local s; s=$(style); { [ "$s" = 2 ] || [ -z "$s" ]; } && [ "$(picture)" = "$original" ] && [ "$(masks)" = 0 ]; }
applied() { [ "$(style)" = 0 ] && [ "$(picture)" != "$original" ] && [ "$(masks)" -ge 1 ]; }
now_ms() { echo $(($(date +%s%N) / 1000000)); }

qd_new_home
qd_write_defaults '{"pref.restoreOnLaunch": true, "state.desktopIconsHidden": true,
  "state.background": "color", "state.backgroundColor": "#336699", "state.menuBarCover": "entire"}'
qd_launch_quillet quillet-bench
qd_wait_for 30 "everything applied at launch" applied || { echo "never applied" >&2; exit 1; }

off=() off_cmd=() on=() on_cmd=()
for ((i = 1; i <= runs; i++)); do
  start=$(now_ms)
  "$quillet" --toggle >/dev/null
  off_cmd+=($(($(now_ms) - start)))
  qd_wait_for 30 "the desktop put back" restored || { echo "run $i: not restored" >&2; continue; }
  off+=($(($(now_ms) - start)))
  sleep 1
  start=$(now_ms)
  "$quillet" --toggle >/dev/null
  on_cmd+=($(($(now_ms) - start)))
  qd_wait_for 30 "everything applied" applied || { echo "run $i: not applied" >&2; continue; }
  on+=($(($(now_ms) - start)))
  sleep 1
done
qd_stop_process "$quillet_pid" TERM 15

summary() { # NAME UNIT VALUES...
  local name=$1 unit=$2
  shift 2
  printf '%s\n' "$@" | sort -n | awk -v name="$name" -v unit="$unit" \
    '{v[NR]=$1; s+=$1} END {if (NR) printf "%-44s median %6d %s   min %6d   max %6d   (n=%d)\n", name, v[int((NR+1)/2)], unit, v[1], v[NR], NR}'
}
echo
summary "quillet --toggle (off) → command returns" ms "${off_cmd[@]}"
summary "quillet --toggle (off) → desktop put back" ms "${off[@]}"
summary "quillet --toggle (on) → command returns" ms "${on_cmd[@]}"
summary "quillet --toggle (on) → everything applied" ms "${on[@]}"
qd_finish
