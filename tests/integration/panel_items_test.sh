#!/usr/bin/env bash
# Tray items of the real Xfce panel as the program's backends see them: the two XEmbed icons and
# the StatusNotifierItem of the test desktop left to right with their names and positions, then
# the panel's clock right of the notification area, a status item added and removed again, and no
# items once the panel is gone.
# Usage: panel_items_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS_DRIVER PATH-TO-QUILLET_PANEL_ITEMS
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

probe=${3:?usage: panel_items_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS_DRIVER PATH-TO-QUILLET_PANEL_ITEMS}
[ -x "$probe" ] || {
  echo "not executable: $probe" >&2
  exit 1
}

qd_init panel_items
qd_start_desktop
qd_new_home

items() { "$probe" 2>>"$QD_TMP/probe.log"; }
field() { qd_field "$@"; }
labels() { items | sed -n 's/.* label=//p' | paste -sd '|'; }

# The XEmbed icons as xprobe reads them from the X server: "id x w" each.
xembed_icons() {
  qd_xprobe tray-icons | sed -n 's/^\(0x[0-9a-f]*\) .* x=\([-0-9]*\) y=[-0-9]* w=\([0-9]*\) .*/\1 \2 \3/p'
}

# The colour in the middle of an item line's rectangle.
centre_pixel() { # LINE
  qd_pixel $(($(field x "$1") + $(field w "$1") / 2)) $(($(field y "$1") + $(field h "$1") / 2))
}

base="YAD 1|YAD 2|Quillet test status item|Clock"

qd_section "the desktop's tray items, left to right"
# The panel draws its status item once it has read the item's properties.
qd_wait_eq 15 "labels left to right" "$base" labels
scan=$(items)

# Every item keeps its own extents inside the panel, each right of the one before.
height=$(qd_xprobe windows --type dock | sed -n '1s/.* h=\([0-9]*\) .*/\1/p')
previous_right=-1 rows=""
while read -r line; do
  x=$(field x "$line") y=$(field y "$line") h=$(field h "$line")
  rows+="$((y >= 0 && h > 0 && y + h <= height)) $((x >= previous_right));"
  previous_right=$((x + $(field w "$line")))
done <<<"$scan"
qd_check_eq "items: whether each lies inside the panel and right of the previous one" \
  "$(printf "1 1;%.0s" $(seq "$(wc -l <<<"$scan")"))" "$rows"

# Each XEmbed item is its icon window, at the place the X server gives for it.
while read -r id x w; do
  line=$(grep "^id=$id " <<<"$scan")
  qd_check_eq "XEmbed icon $id: x as xwininfo reads it, width, owner" \
    "$(xwininfo -id "$id" | sed -n 's/.*Absolute upper-left X: *//p') $w yad" \
    "$(field x "$line") $(field w "$line") $(field owner "$line")"
done < <(xembed_icons)

# The status item has no window: its rectangle must be where the panel paints its icon (a
# themed icon here; the item added below paints a plain colour and is checked exactly).
sni=$(grep 'label=Quillet test status item$' <<<"$scan")
background=$(qd_pixel 1000 $(($(field h "$sni") / 2)))
qd_check "the status item's centre shows its icon, not the panel's background ($background)" \
  test "$(centre_pixel "$sni")" != "$background"
qd_check_eq "the status item's owner is its process" python3 "$(field owner "$sni")"

# The clock is the panel's own plugin, right of the notification area: the last item, ending at
# the right edge of the screen, owned by the panel.
clock=$(tail -n 1 <<<"$scan")
root_w=$(xdpyinfo 2>/dev/null | sed -n 's/.*dimensions: *\([0-9]*\)x.*/\1/p')
qd_check_eq "the clock is the rightmost item, owned by the panel, ending at the screen's right edge" \
  "Clock xfce4-panel $root_w" \
  "$(field label "$clock") $(field owner "$clock") $(($(field x "$clock") + $(field w "$clock")))"
qd_check "the status item's and the clock's ids are synthetic (top bit set)" \
  test $(($(field id "$sni") & $(field id "$clock") & 0x80000000)) != 0

# On a desktop that scales its windows by 2 the program works in points: every item is
# reported at half its pixel position and width, with the same names.
scaled=$(GDK_SCALE=2 QT_SCALE_FACTOR=2 "$probe" 2>>"$QD_TMP/probe.log")
qd_check_eq "at ratio 2 the labels are the same" "$base" "$(sed -n 's/.* label=//p' <<<"$scaled" | paste -sd '|')"
half() { awk -v v="$1" 'BEGIN { printf "%g", v / 2 }'; }
qd_check_eq "at ratio 2 the positions are in points" \
  "$(while read -r line; do echo "$(half "$(field x "$line")") $(half "$(field w "$line")")"; done <<<"$scan")" \
  "$(while read -r line; do echo "$(field x "$line") $(field w "$line")"; done <<<"$scaled")"

# Qt's ratio alone (from a 192-dpi font setting) leaves every position in pixels.
qd_check_eq "at Qt's ratio 2 alone the positions are in pixels" \
  "$(while read -r line; do echo "$(field x "$line") $(field w "$line")"; done <<<"$scan")" \
  "$(QT_SCALE_FACTOR=2 "$probe" 2>>"$QD_TMP/probe.log" | while read -r line; do echo "$(field x "$line") $(field w "$line")"; done)"

qd_section "a status item added and removed again"
# The panel lists a newly known item before the items it knew already. A status item's tooltip
# title is its description, named by the part before the first comma.
qd_launch extra_sni "$QD_TMP/extra-sni.log" "$QD_PYTHON" "$QD_SUPPORT/sni_item.py" \
  --title "Extra item, busy" --tooltip "ignored" --color 27ae60
qd_wait_eq 15 "the new item appears in the panel's order, named by its title" \
  "YAD 1|YAD 2|Extra item|Quillet test status item|Clock" labels
# The item's rectangle shows its own plain icon colour: name and place match.
qd_check_eq "the new item's rectangle shows its icon" 27AE60 "$(centre_pixel "$(items | grep 'label=Extra item$')")"
qd_stop_process "$extra_sni" TERM 10 || true
qd_wait_eq 15 "a rescan drops the item whose application quit" "$base" labels

qd_section "no panel"
xfce4-panel --quit >>"$QD_TMP/panel-quit.log" 2>&1 || true
qd_wait_eq 15 "without the panel the scan finds nothing" "" labels
qd_check "the scan still succeeds" "$probe"

qd_finish
