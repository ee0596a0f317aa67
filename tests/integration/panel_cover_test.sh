#!/usr/bin/env bash
# The panel cover on the real Xfce panel, with the real mask windows (through the cover driver):
# with "items" and the middle of three tray icons hidden, the others close up to the right at the
# median spacing and nothing of the hidden one shows, while the panel's clock right of them is
# not covered and stays live; clicks on a masked icon reach the panel;
# with "entire" the panel strip is uniform; the masks are made again and stay visible after
# "xfwm4 --replace" with compositing, and a translucent panel there is read under its masks
# without a seam; on two monitors only the one with the panel gets a mask.
# While an icon is hidden, a new icon left of it, its program quitting and a panel restart
# leave it hidden (by its label) and the masks starting left of the leftmost item.
# On Xfce's default panel layout with the accessibility bus on and a tray icon of our own, the
# other items keep their names and the background beside the items is the panel's own, not the
# pager's; on a short, tall panel that reserves no space the masks follow the panel window.
# Usage: panel_cover_test.sh PATH-TO-QUILLET … (the driver comes from QUILLET_COVER_DRIVER)
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

driver=${QUILLET_COVER_DRIVER:?QUILLET_COVER_DRIVER must name quillet_cover_driver}
[ -x "$driver" ] || {
  echo "not executable: $driver" >&2
  exit 1
}

qd_init panel_cover

# Covers MODE, waits until the masks are painted and puts the mask lines in $masks.
cover() { # MODE
  qd_drive cover "$1"
  qd_drive settle
  masks=$(qd_drive masks)
}

field() { qd_field "$@"; }
# "x y w h" of an item or mask line.
rect() { echo "$(field x "$1") $(field y "$1") $(field w "$1") $(field h "$1")"; }

# --- pictures --------------------------------------------------------------------------------
shot_no=0
shoot() { # VAR
  shot_no=$((shot_no + 1))
  local file=$QD_ARTIFACTS/shot-$shot_no.png
  qd_screenshot "$file"
  printf -v "$1" %s "$file"
}
crop() { # FILE GEOMETRY OUT
  convert "$1" -crop "$2" +repage "$3"
}
# Number of pixels that differ between two crops of the same size.
differing() { # FILE-A GEOMETRY-A FILE-B GEOMETRY-B
  crop "$1" "$2" "$QD_TMP/a.png" && crop "$3" "$4" "$QD_TMP/b.png" &&
    compare -metric AE "$QD_TMP/a.png" "$QD_TMP/b.png" null: 2>&1 | cut -d' ' -f1
}
# How much a region changed between two pictures: the root mean square difference, 0 to 1.
changed() { # FILE-A FILE-B GEOMETRY
  crop "$1" "$3" "$QD_TMP/a.png" && crop "$2" "$3" "$QD_TMP/b.png" &&
    compare -metric RMSE "$QD_TMP/a.png" "$QD_TMP/b.png" null: 2>&1 | sed 's/.*(\(.*\))/\1/'
}
# Number of pixels of a crop that differ from the first pixel of their row: 0 when every row is
# a single colour, as bare panel background stretched from a narrow column is.
off_row() { # FILE GEOMETRY
  local w=${2%%x*} rest=${2#*x}
  local h=${rest%%+*}
  crop "$1" "$2" "$QD_TMP/c.png" &&
    convert "$QD_TMP/c.png" -sample "1x$h!" -sample "${w}x$h!" "$QD_TMP/d.png" &&
    compare -metric AE "$QD_TMP/c.png" "$QD_TMP/d.png" null: 2>&1 | cut -d' ' -f1
}

qd_section "one monitor: hide the middle tray icon"
qd_start_desktop
qd_new_home
qd_driver_start cover "$driver"
labels="YAD 1|YAD 2|Quillet test status item|Clock"
labels_of() { sed -n 's/.* label=//p' <<<"$1" | paste -sd '|'; }
got_labels() { items=$(qd_drive items) && [ "$(labels_of "$items")" = "$labels" ]; }
qd_wait_for 20 "three tray items and the clock" got_labels
qd_check_eq "tray items, then the clock" "$labels" "$(labels_of "$items")"
panel_h=$(qd_xprobe windows --type dock | sed -n '1s/.* h=\([0-9]*\) .*/\1/p')
root_w=$(xdpyinfo 2>/dev/null | sed -n 's/.*dimensions: *\([0-9]*\)x.*/\1/p')
shoot bare

# x and width of YAD 1, YAD 2, the status item and the clock, in this order.
read -r x1 w1 x2 w2 x3 w3 x4 w4 <<<"$(sed 's/.* x=\([0-9]*\) .* w=\([0-9]*\) .*/\1 \2/' <<<"$items" | paste -sd ' ')"
qd_check_eq "the clock is the rightmost item and ends at the screen's right edge" "$root_w" "$((x4 + w4))"
# The spacing is the middle one of the three gaps.
spacing=$(printf '%s\n' $((x2 - x1 - w1)) $((x3 - x2 - w2)) $((x4 - x3 - w3)) | sort -n | sed -n 2p)
new_x3=$((x4 - spacing - w3))
new_x1=$((new_x3 - spacing - w1))
tile_x=$((x1 - 8))

qd_drive cover items
qd_drive settle
qd_drive toggle YAD 2
cover items
h=$panel_h
qd_check_eq "one mask with a picture, from 8 pixels left of the first icon" \
  "1 $tile_x 0 picture=1" "$(grep -c '^mask' <<<"$masks") $(rect "$masks" | cut -d' ' -f1-2) picture=$(field picture "$masks")"
qd_check "the mask is at least the panel's height" test "$(field h "$masks")" -ge "$h"
# Only what moves is covered: the mask ends after YAD 2's old place and YAD 1's new one, and
# the clock, which stays where it is, is left live (it keeps ticking in a recording).
mask_right=$(($(field x "$masks") + $(field w "$masks")))
qd_check "the mask ends after every changed place ($mask_right)" \
  test "$mask_right" -ge $((x2 + w2)) -a "$mask_right" -ge $((new_x1 + w1))
qd_check "the clock is not under the mask ($mask_right <= $x4)" test "$mask_right" -le "$x4"
shoot hidden
qd_check_eq "the status item closes up to the clock, one median gap before it" 0 \
  "$(differing "$bare" "${w3}x$h+$x3+0" "$hidden" "${w3}x$h+$new_x3+0")"
qd_check_eq "YAD 1 closes up to the right, one median gap before the status item" 0 \
  "$(differing "$bare" "${w1}x$h+$x1+0" "$hidden" "${w1}x$h+$new_x1+0")"
qd_check_eq "nothing left of YAD 1 but panel background" 0 \
  "$(off_row "$hidden" "$((new_x1 - tile_x))x$h+$tile_x+0")"
qd_check_eq "nothing between YAD 1 and the status item but panel background" 0 \
  "$(off_row "$hidden" "${spacing}x$h+$((new_x1 + w1))+0")"

qd_section "toggling keeps a mask up all the time"
qd_drive stall >/dev/null
# An outside X client watches the mask windows while YAD 1 is hidden and shown again; YAD 2
# stays hidden, so some mask must be up all the time.
watch_log=$QD_TMP/mask-watch.log
"$QD_PYTHON" "$(dirname "$0")/mask_watch.py" 6 >"$watch_log" 2>&1 &
watch_pid=$!
sleep 1
for _ in 1 2 3 4; do
  qd_drive toggle YAD 1
  qd_drive settle
done
wait "$watch_pid"
qd_check_eq "no moment without a mask during four toggles (outside observer)" \
  "uncovered=0" "$(grep -o 'uncovered=[0-9]*' "$watch_log")"
qd_log "outside observer: $(tr '\n' ' ' <"$watch_log")"

# A new desktop picture means a fresh capture of the panel; the panel's own pixels are read
# under the masks, so they stay up meanwhile.
# Sets each desktop colour in turn while an outside X client watches the mask windows; prints
# its "uncovered=N".
colours_watched() { # COLOUR...
  "$QD_PYTHON" "$(dirname "$0")/mask_watch.py" 5 >"$watch_log" 2>&1 &
  local watch_pid=$! colour
  sleep 1
  for colour in "$@"; do
    qd_drive colour "$colour"
    sleep 1.5
  done
  wait "$watch_pid"
  grep -o 'uncovered=[0-9]*' "$watch_log"
}
qd_check_eq "no moment without a mask while the desktop colour changes (outside observer)" \
  "uncovered=0" "$(colours_watched '#204060' '#806040')"
qd_log "toggle figures: $(qd_drive timetoggle YAD 2 10) / $(qd_drive stall)"
qd_drive settle

qd_section "clicks pass through the mask"
sni_log=$QD_DESKTOP_STATE/log/tray_sni.log
before=$(grep -c '^activated' "$sni_log" 2>/dev/null)
xdotool mousemove $((x3 + w3 / 2)) $((h / 2))
sleep 0.3
under=$(xdotool getmouselocation --shell | sed -n 's/^WINDOW=//p')
qd_check "the pointer is over the panel, not over the mask" \
  test "$(printf '0x%x' "$under")" != "$(field win "$masks")"
xdotool click 1
activated() { [ "$(grep -c '^activated' "$sni_log")" -gt "$before" ]; }
qd_check "a click on the masked status item activates it" qd_wait_for 5 "activation" activated
# The pointer leaves the panel: a highlighted item would be captured so.
xdotool mousemove $((root_w / 2)) 400

qd_section "icons that come and go while one is hidden, and a panel restart"
hidden_of() { sed -n "s/.* hidden=\([01]\) label=$1\$/\1/p" <<<"$items"; }
# The masks cover from 8 pixels left of the leftmost item that moves; with the new icon left of
# the hidden one, that is the leftmost item.
leftmost_x() { sed -n 's/.* x=\([0-9]*\) .*/\1/p' <<<"$items" | sort -n | head -n 1; }
# Settled, with masks up.
masked() {
  qd_drive settle >/dev/null
  items=$(qd_drive items) && masks=$(qd_drive masks) && [ -n "$masks" ]
}

# Checks a picture of the panel under the masks against the layout the reflow makes of the
# current items: every shown item packed against the right end of the rightmost item at the
# median gap, YAD 1 and the status item as pixel-exact copies of their bare pictures, nothing
# but panel background left of the first item and in the gaps, and YAD 2's picture neither at
# its own place nor in any slot. Only what lies under the mask is checked; the rest is live.
# The panel strip of a picture, cut once: checks on it read far less than on the whole screen.
strip_of() { # FILE
  local out=${1%.png}-strip.png
  [ -f "$out" ] || convert "$1" -crop "${root_w}x$h+0+0" +repage "$out"
  echo "$out"
}
check_layout() { # SHOT WHAT
  local shot what=$2 line x w lbl i spacing cursor mask_x mask_r failures=$QD_FAILURES ref
  shot=$(strip_of "$1") ref=$(strip_of "$bare")
  local -a xs=() ws=() labels_=() hidden_=() gaps=() new_x=()
  while read -r line; do
    [ -n "$line" ] || continue
    xs+=("$(field x "$line")") ws+=("$(field w "$line")")
    hidden_+=("$(field hidden "$line")") labels_+=("${line##* label=}")
  done <<<"$items"
  for ((i = 1; i < ${#xs[@]}; i++)); do
    gaps+=($((xs[i] - xs[i - 1] - ws[i - 1])))
  done
  spacing=$(printf '%s\n' "${gaps[@]}" | awk '$1 >= 0' | sort -n | awk '{ g[NR] = $1 } END { print NR ? g[int(NR / 2) + 1] : 6 }')
  cursor=$((xs[-1] + ws[-1]))
  for ((i = ${#xs[@]} - 1; i >= 0; i--)); do
    [ "${hidden_[i]}" = 1 ] && continue
    cursor=$((cursor - ws[i]))
    new_x[i]=$cursor
    cursor=$((cursor - spacing))
  done
  mask_x=$(field x "$masks") mask_r=$(($(field x "$masks") + $(field w "$masks")))
  local first=-1 prev_end=-1
  for ((i = 0; i < ${#xs[@]}; i++)); do
    [ -n "${new_x[i]:-}" ] || continue
    x=${new_x[i]} w=${ws[i]} lbl=${labels_[i]}
    ((x + w <= mask_r)) || break
    if ((first < 0)); then
      first=$x
      qd_check_eq "$what: only panel background left of $lbl" 0 \
        "$(off_row "$shot" "$((x - mask_x))x$h+$mask_x+0")"
    else
      qd_check_eq "$what: only panel background left of $lbl, back to the item before" 0 \
        "$(off_row "$shot" "$((x - prev_end))x$h+$prev_end+0")"
    fi
    prev_end=$((x + w))
    case $lbl in
    "YAD 1") qd_check_eq "$what: YAD 1 whole at $x" 0 "$(differing "$ref" "${w1}x$h+$x1+0" "$shot" "${w}x$h+$x+0")" ;;
    "Quillet test status item") qd_check_eq "$what: the status item whole at $x" 0 \
      "$(differing "$ref" "${w3}x$h+$x3+0" "$shot" "${w}x$h+$x+0")" ;;
    esac
    qd_check "$what: YAD 2's picture is not in $lbl's slot" \
      test "$(differing "$ref" "${w2}x$h+$x2+0" "$shot" "${w2}x$h+$x+0")" -gt 0
  done
  qd_check "$what: the first shown item is under the mask" test "$first" -ge "$mask_x"
  for ((i = 0; i < ${#xs[@]}; i++)); do
    [ "${labels_[i]}" = "YAD 2" ] || continue
    qd_check "$what: YAD 2 does not show at its own place" \
      test "$(differing "$ref" "${w2}x$h+$x2+0" "$shot" "${w2}x$h+${xs[i]}+0")" -gt 0
  done
  [ "$QD_FAILURES" = "$failures" ]
}

qd_launch extra_pid "$QD_TMP/yad-extra.log" yad --notification --text="Quillet test tray icon three" \
  --image=dialog-error
has_third() { items=$(qd_drive items) && [[ "$items" == *"label=YAD 3"* ]]; }
qd_check "a new icon becomes an item" qd_wait_for 20 "YAD 3" has_third
qd_check "with it, the masks are up again" qd_wait_for 20 "the masks" masked
qd_check_eq "YAD 2 is still hidden" 1 "$(hidden_of "YAD 2")"
qd_check_eq "the mask starts 8 pixels left of the new leftmost item" \
  "$(($(leftmost_x) - 8))" "$(field x "$masks")"
shoot with_third
check_layout "$with_third" "a new icon left of the others"

qd_stop_process "$extra_pid" TERM 10
no_third() { items=$(qd_drive items) && [[ "$items" != *"label=YAD 3"* ]]; }
qd_check "an icon whose program quits is no item" qd_wait_for 20 "YAD 3 gone" no_third
qd_check "without it, the masks are up again" qd_wait_for 20 "the masks" masked
qd_check_eq "the mask starts 8 pixels left of the leftmost item again" \
  "$(($(leftmost_x) - 8))" "$(field x "$masks")"
shoot without_third
check_layout "$without_third" "its program quit"

old_id=$(field id "$(grep 'label=YAD 2$' <<<"$items")")
xfce4-panel -r >"$QD_TMP/panel-restart.log" 2>&1
redocked() {
  items=$(qd_drive items) && local line && line=$(grep 'label=YAD 2$' <<<"$items") &&
    [ -n "$line" ] && [ "$(field id "$line")" != "$old_id" ]
}
qd_check "after a panel restart YAD 2 docks again with a new id" qd_wait_for 30 "YAD 2 re-docked" redocked
qd_check "the restarted panel's masks are up" qd_wait_for 30 "the masks" masked
qd_check_eq "YAD 2 is hidden again by its label" 1 "$(hidden_of "YAD 2")"
qd_check_eq "YAD 1 is not" 0 "$(hidden_of "YAD 1")"
# The rebuild follows the new panel's first paint: the picture is of the panel, not of the
# window before it was drawn.
restarted_layout_ok() {
  qd_drive settle >/dev/null
  items=$(qd_drive items) && masks=$(qd_drive masks) && shoot restarted &&
    (QD_DESKTOP_STATE='' check_layout "$restarted" "after a panel restart") >/dev/null 2>&1
}
qd_wait_for 20 "the restarted panel under the masks" restarted_layout_ok
check_layout "${restarted:-}" "after a panel restart"

qd_section "the whole panel"
cover entire
qd_check_eq "one mask over the whole panel" "0 0 $root_w" "$(rect "$masks" | cut -d' ' -f1-3)"
shoot entire
qd_check_eq "every row of the panel strip is one colour" 0 "$(off_row "$entire" "${root_w}x$h+0+0")"
qd_check "the bare panel was not" test "$(off_row "$bare" "${root_w}x$h+0+0")" -gt 0
strip_colour=$(convert "$entire" -format "%[hex:u.p{$((root_w / 2)),$((h / 2))}]" info: | cut -c1-6)
qd_check "the strip is not black" test "$strip_colour" != 000000

before_restart=$(field win "$masks")
xfce4-panel -r >"$QD_TMP/panel-restart-2.log" 2>&1
# The restarted panel may get its old window id back; the masks made for it are new windows.
remade() { [[ "$(qd_drive masks | head -n 1)" =~ win=(0x[0-9a-f]+) ]] && [ "${BASH_REMATCH[1]}" != "$before_restart" ]; }
qd_check "the masks are made again for the restarted panel" qd_wait_for 30 "new masks" remade
# Once the new panel has painted, the strip is the panel's own background again, not black.
strip_back() {
  qd_drive settle >/dev/null
  shoot entire_again &&
    [ "$(off_row "$entire_again" "${root_w}x$h+0+0")" = 0 ] &&
    [ "$(convert "$entire_again" -format "%[hex:u.p{$((root_w / 2)),$((h / 2))}]" info: | cut -c1-6)" = "$strip_colour" ]
}
qd_check "after a panel restart the strip is uniform and of the panel's colour ($strip_colour)" \
  qd_wait_for 30 "the panel's strip again" strip_back
masks=$(qd_drive masks)

qd_section "a compositing window manager replaces xfwm4"
old_wm=$(qd_xprobe owner WM_S0)
old_mask=$(field win "$masks")
xfconf-query -c xfwm4 -p /general/use_compositing -n -t bool -s true
qd_launch wm_pid "$QD_TMP/xfwm4-replaced.log" xfwm4 --replace --compositor=on
new_owner() { local o; o=$(qd_xprobe owner WM_S0) && [ "$o" != "$old_wm" ]; }
composited() { qd_xprobe owner _NET_WM_CM_S0 >/dev/null; }
qd_check "the new window manager took over" qd_wait_for 15 "a new WM_S0 owner" new_owner
qd_wait_for 15 "the compositor" composited || qd_log "no compositing manager appeared"
new_mask() { [[ "$(qd_drive masks | head -n 1)" =~ win=(0x[0-9a-f]+) ]] && [ "${BASH_REMATCH[1]}" != "$old_mask" ]; }
qd_check "the mask window was made again" qd_wait_for 10 "a new mask window" new_mask
qd_drive settle
# The new compositor paints the new mask in its own time.
covered_again() { shoot replaced && [ "$(off_row "$replaced" "${root_w}x$h+0+0")" = 0 ]; }
qd_check "the panel strip is covered again" qd_wait_for 20 "the covered strip" covered_again

qd_section "a translucent panel under the compositor: read under its masks, no seam"
# Half-transparent red over the desktop, as Xfce's panel preferences set it.
xfconf-query -c xfce4-panel -p /panels/panel-1/background-style -n -t int -s 1
xfconf-query -c xfce4-panel -p /panels/panel-1/background-rgba -n \
  -t double -s 0.8 -t double -s 0.2 -t double -s 0.2 -t double -s 0.5
cover items
# Left of the mask the live panel shows the desktop through it; the mask's first column must
# show the same, row for row, or a seam shows.
seam() { # SHOT
  local x=$(($(field x "$masks") - 1))
  crop "$1" "1x$h+$x+0" "$QD_TMP/live.png" && crop "$1" "1x$h+$((x + 1))+0" "$QD_TMP/mask.png" &&
    compare -metric AE "$QD_TMP/live.png" "$QD_TMP/mask.png" null: 2>&1 | cut -d' ' -f1
}
# A new desktop colour shows through the panel: the capture under the masks must follow.
qd_check_eq "no moment without a mask while the colour behind the translucent panel changes" \
  "uncovered=0" "$(colours_watched '#3060A0' '#A07030')"
no_seam() {
  qd_drive settle >/dev/null
  masks=$(qd_drive masks) && shoot translucent && [ "$(seam "$translucent")" = 0 ]
}
qd_check "the mask's edge matches the live translucent panel beside it" \
  qd_wait_for 15 "no seam" no_seam
qd_check "the panel is shown translucent (its colour is not the opaque red)" \
  test "$(convert "$translucent" -format "%[hex:u.p{$(($(field x "$masks") - 1)),$((h / 2))}]" info: | cut -c1-6)" != CC3333

qd_driver_quit
qd_stop_process "$wm_pid" TERM 10 || true
qd_stop_desktop

qd_section "two monitors, the panel on one: only that one is covered"
if [ "$(id -u)" != 0 ]; then
  qd_log "skipped: two monitors need the dummy X driver, which runs as root"
else
  qd_start_desktop --monitors 2
  qd_new_home
  qd_driver_start cover-two "$driver"
  # The second monitor, as xrandr lists it: "1: +NAME W/…xH/…+X+Y NAME".
  second=$(xrandr --listmonitors | sed -n 's/^ *1: [^ ]* \([0-9]*\)\/[0-9]*x\([0-9]*\)\/[0-9]*+\([0-9]*\)+\([0-9]*\).*/\1 \2 \3 \4/p')
  read -r sw _ sx sy <<<"$second"
  shoot two_bare
  cover entire
  qd_check_eq "one mask window" 1 "$(grep -c '^mask' <<<"$masks")"
  qd_check_eq "it is not on the second monitor" "" "$(grep '^mask' <<<"$masks" | grep " x=$sx ")"
  shoot two
  # Switching a cover on renders the desktop picture again, which may change its pixels a
  # little everywhere; a mask or a tinted strip would change the top rows far more than the
  # rows below them.
  top=$(changed "$two_bare" "$two" "${sw}x24+$sx+$sy")
  below=$(changed "$two_bare" "$two" "${sw}x24+$sx+$((sy + 24))")
  qd_log "second monitor, change of the top rows: $top, of the rows below: $below"
  qd_check "the second monitor's top strip changed no more than the rows below it" \
    awk -v t="$top" -v b="$below" 'BEGIN { exit !(t <= 2 * b + 0.01) }'
  qd_driver_quit
fi

qd_section "Xfce's default panel, accessibility on, a tray icon of our own"
qd_start_desktop --panel xfce --accessibility on
qd_new_home
qd_driver_start cover-xfce "$driver"
qd_drive trayicon
xfce_labels() { items=$(qd_drive items) && labels_of "$items"; }
# Our own icon stands among the others; every item keeps its name.
has_own() { [[ "$(xfce_labels)" == *"|Quillet|"* ]]; }
qd_wait_for 20 "our own tray icon among the items" has_own
# The notification area shows the newest status item first, so ours stands left of the test's.
qd_check_eq "the items keep their names beside our own" \
  "YAD 1|YAD 2|Quillet|Quillet test status item|Clock|Action Buttons" "$(xfce_labels)"
qd_drive stall >/dev/null
# The picture of the bare panel, taken while its items stand still.
steady_shot() {
  local before=$items
  shoot xfce_bare
  items=$(qd_drive items) && [ "$items" = "$before" ]
}
qd_wait_for 20 "a picture of the panel at rest" steady_shot
yad1=$(grep 'label=YAD 1$' <<<"$items")
yad2=$(grep 'label=YAD 2$' <<<"$items")
x1=$(field x "$yad1") w1=$(field w "$yad1") x2=$(field x "$yad2")
h=$(qd_xprobe windows --type dock | sed -n '1s/.* h=\([0-9]*\) .*/\1/p')
# The panel's own background: the middle of the gap between the two YAD icons.
background=$(convert "$xfce_bare" -format "%[pixel:p{$(((x1 + w1 + x2) / 2)),$((h / 2))}]" info:)
qd_drive cover items
qd_drive settle
qd_drive toggle YAD 1
cover items
shoot xfce_hidden
tile_x=$(field x "$masks")
qd_check_eq "left of the moved items the mask shows the panel's background, not the pager" \
  "$background" "$(convert "$xfce_hidden" -format "%[pixel:p{$((tile_x + 1)),$((h / 2))}]" info:)"
# The items close up at the median gap, so the first one still shown may move left as well as
# right; the hidden icon's place and what lies left of it are background in any case.
qd_check_eq "... all along over the hidden icon's place" 0 \
  "$(off_row "$xfce_hidden" "$((x1 + w1 - tile_x))x$h+$tile_x+0")"
qd_log "UI thread with the accessibility bus on: $(qd_drive stall); toggles: $(qd_drive timetoggle YAD 2 6)"
qd_driver_quit
qd_stop_desktop

qd_section "a short, tall panel that reserves no space"
qd_start_desktop --panel-length 50 --panel-size 48
qd_new_home
xfconf-query -c xfce4-panel -p /panels/panel-1/disable-struts -n -t bool -s true
qd_driver_start cover-short "$driver"
qd_wait_for 20 "three tray items and the clock" got_labels
read -r px py pw ph <<<"$(qd_xprobe windows --type dock | sed -n '1s/.* x=\([0-9]*\) y=\([0-9]*\) w=\([0-9]*\) h=\([0-9]*\) .*/\1 \2 \3 \4/p')"
qd_check "the panel is shorter than the screen" test "$pw" -lt "$root_w"
cover entire
qd_check_eq "one mask over the panel window exactly" "$px $py $pw $ph" "$(rect "$masks")"
qd_drive toggle YAD 2
cover items
qd_check_eq "the items' mask is as high as the panel" "$ph" "$(field h "$masks")"
qd_check "and ends within the panel" \
  test $(($(field x "$masks") + $(field w "$masks"))) -le $((px + pw))
qd_driver_quit

qd_finish
