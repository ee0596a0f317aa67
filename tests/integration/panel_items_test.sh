#!/usr/bin/env bash
# Tray items of the real Xfce panel as the program's backends see them: the two XEmbed icons and
# the StatusNotifierItem of the test desktop left to right with their names and positions, then
# the panel's clock right of the notification area, an item added and removed again, and no
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
export QT_QPA_PLATFORM=xcb

items() { "$probe" 2>>"$QD_TMP/probe.log"; }
field() { # NAME LINE
  sed -n "s/.* $1=\([^ ]*\).*/\1/p; s/^$1=\([^ ]*\).*/\1/p" <<<"$2" | head -n 1
}
label_of() { sed -n 's/.* label=//p' <<<"$1"; }
labels() { items | sed -n 's/.* label=//p' | paste -sd '|'; }
labels_are() { [ "$(labels)" = "$1" ]; }

# The XEmbed icons as xprobe reads them from the X server: "id x w" each.
xembed_icons() {
  qd_xprobe tray-icons | sed -n 's/^\(0x[0-9a-f]*\) .* x=\([-0-9]*\) y=[-0-9]* w=\([0-9]*\) .*/\1 \2 \3/p'
}

panel_height() {
  qd_xprobe windows --type dock | sed -n '1s/.* h=\([0-9]*\) .*/\1/p'
}

# Colour of one pixel of the screen as RRGGBB.
pixel() { # X Y
  local shot=$QD_TMP/pixel.png
  qd_screenshot "$shot" && convert "$shot" -crop "1x1+$1+$2" -depth 8 txt:- |
    sed -n 's/.*#\([0-9A-Fa-f]\{6\}\).*/\1/p' | tr 'a-f' 'A-F'
}

base="YAD 1|YAD 2|Quillet test status item|Clock"

qd_section "the desktop's tray items, left to right"
# The panel draws its status item once it has read the item's properties.
qd_wait_for 15 "three tray items and the clock" labels_are "$base" || true
scan=$(items)
qd_log "scan:"$'\n'"$scan"
qd_check_eq "labels left to right" "$base" "$(labels)"

mapfile -t lines <<<"$scan"
height=$(panel_height)
previous_right=-1
for line in "${lines[@]}"; do
  x=$(field x "$line") w=$(field w "$line")
  qd_check "item '$(label_of "$line")' spans the panel's height from its top edge" \
    test "$(field y "$line")" = 0 -a "$(field h "$line")" = "$height"
  qd_check "item '$(label_of "$line")' lies right of the previous one" test "$x" -ge "$previous_right"
  previous_right=$((x + w))
done

# Each XEmbed item is its icon window, at the place the X server gives for it.
while read -r id x w; do
  line=$(grep "^id=$id " <<<"$scan")
  qd_check "XEmbed icon $id is an item" test -n "$line"
  qd_check_eq "XEmbed icon $id: x as xwininfo reads it" \
    "$(xwininfo -id "$id" | sed -n 's/.*Absolute upper-left X: *//p')" "$(field x "$line")"
  qd_check_eq "XEmbed icon $id: width" "$w" "$(field w "$line")"
  qd_check_eq "XEmbed icon $id: owner" yad "$(field owner "$line")"
done < <(xembed_icons)

# The status item has no window: its rectangle must be where the panel paints its icon (a
# themed icon here; the item added below paints a plain colour and is checked exactly).
sni=$(grep 'label=Quillet test status item$' <<<"$scan")
sx=$(field x "$sni") sw=$(field w "$sni") sh=$(field h "$sni")
background=$(pixel 1000 $((sh / 2)))
qd_check "the status item's centre shows its icon, not the panel's background ($background)" \
  test "$(pixel $((sx + sw / 2)) $((sh / 2)))" != "$background"
qd_check_eq "the status item's owner is its process" python3 "$(field owner "$sni")"
qd_check "the status item's id is synthetic (top bit set)" \
  test $(($(field id "$sni" | sed 's/^id=//') & 0x80000000)) != 0

# The clock is the panel's own plugin, right of the notification area: the last item, ending at
# the right edge of the screen, owned by the panel.
clock=$(tail -n 1 <<<"$scan")
root_w=$(xdpyinfo 2>/dev/null | sed -n 's/.*dimensions: *\([0-9]*\)x.*/\1/p')
qd_check_eq "the clock is the rightmost item" Clock "$(label_of "$clock")"
qd_check_eq "the clock's owner is the panel" xfce4-panel "$(field owner "$clock")"
qd_check_eq "the clock ends at the screen's right edge" "$root_w" \
  "$(($(field x "$clock") + $(field w "$clock")))"
qd_check "the clock's id is synthetic (top bit set)" \
  test $(($(field id "$clock" | sed 's/^id=//') & 0x80000000)) != 0
qd_check "the clock is wider than a tray icon" test "$(field w "$clock")" -gt 30

# At a device pixel ratio of 2 (a 192-dpi desktop) the program works in points: every item is
# reported at half its pixel position and width, with the same names.
scaled=$(QT_SCALE_FACTOR=2 "$probe" 2>>"$QD_TMP/probe.log")
qd_check_eq "at ratio 2 the labels are the same" "$base" "$(sed -n 's/.* label=//p' <<<"$scaled" | paste -sd '|')"
half() { awk -v v="$1" 'BEGIN { printf "%g", v / 2 }'; }
qd_check_eq "at ratio 2 the positions are in points" \
  "$(while read -r line; do echo "$(half "$(field x "$line")") $(half "$(field w "$line")")"; done <<<"$scan")" \
  "$(while read -r line; do echo "$(field x "$line") $(field w "$line")"; done <<<"$scaled")"

windows=$("$probe" --windows 2>>"$QD_TMP/probe.log")
qd_check "the window list has the panel at layer 24" \
  grep -q '^layer=24 .* owner=xfce4-panel ' <<<"$windows"

qd_section "status items added and removed again"
# The panel lists a newly known item before the items it knew already.
qd_launch extra_sni "$QD_TMP/extra-sni.log" "$QD_PYTHON" "$QD_SUPPORT/sni_item.py" \
  --title "Extra item" --tooltip "ignored" --color 27ae60
qd_check "the new item appears in the panel's order with its title" \
  qd_wait_for 15 "four tray items" labels_are "YAD 1|YAD 2|Extra item|Quillet test status item|Clock"
# A status item's tooltip title is its description, named by the part before the first comma.
qd_launch another_sni "$QD_TMP/another-sni.log" "$QD_PYTHON" "$QD_SUPPORT/sni_item.py" \
  --title "Another item, busy" --tooltip "ignored" --color 8e44ad
qd_check "a second new item comes first" qd_wait_for 15 "five tray items" \
  labels_are "YAD 1|YAD 2|Another item|Extra item|Quillet test status item|Clock"
qd_log "labels: $(labels)"
scan=$(items)
# Each item's rectangle shows that item's own icon colour: names and places match.
for pair in "Extra item:27AE60" "Another item:8E44AD"; do
  line=$(grep "label=${pair%%:*}\$" <<<"$scan")
  qd_check_eq "item '${pair%%:*}' shows its own icon" "${pair#*:}" \
    "$(pixel $(($(field x "$line") + $(field w "$line") / 2)) $(($(field h "$line") / 2)))"
done
qd_stop_process "$another_sni" TERM 10 || true
qd_stop_process "$extra_sni" TERM 10 || true
qd_check "a rescan drops the items whose applications quit" qd_wait_for 15 "three tray items" labels_are "$base"

qd_section "an XEmbed icon added and removed again"
qd_launch extra_yad "$QD_TMP/extra-yad.log" yad --notification --text="Extra icon" --image=dialog-error
qd_check "the new icon is numbered with the others" \
  qd_wait_for 15 "four tray items" labels_are "YAD 1|YAD 2|YAD 3|Quillet test status item|Clock"
qd_stop_process "$extra_yad" TERM 10 || true
qd_check "a rescan drops the icon whose application quit" qd_wait_for 15 "three tray items" labels_are "$base"

qd_section "no panel"
xfce4-panel --quit >>"$QD_TMP/panel-quit.log" 2>&1 || true
qd_check "without the panel the scan finds nothing" qd_wait_for 15 "no tray items" labels_are ""
status=0
"$probe" >/dev/null 2>>"$QD_TMP/probe.log" || status=$?
qd_check_eq "the scan still succeeds" 0 "$status"

qd_finish
