#!/usr/bin/env bash
# The panel cover on the real Xfce panel, with the real mask windows (through the cover driver):
# with "items" and the middle of three tray icons hidden, the others close up to the right at the
# median spacing and nothing of the hidden one shows, while the panel's clock right of them stays
# an item and still shows; clicks on a masked icon reach the panel;
# with "entire" the panel strip is uniform; the masks are made again and stay visible after
# "xfwm4 --replace" with compositing; on two monitors each one gets its own mask.
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
qd_check_eq "one mask with a picture, from 8 pixels left of the first icon to the right edge" \
  "1 $tile_x 0 $((root_w - tile_x)) picture=1" "$(grep -c '^mask' <<<"$masks") $(rect "$masks" | cut -d' ' -f1-3) picture=$(field picture "$masks")"
qd_check "the mask is at least the panel's height" test "$(field h "$masks")" -ge "$h"
shoot hidden
# The clock's text may change between the two pictures; it must not become bare background.
qd_check "the clock still shows over the mask" test "$(off_row "$hidden" "${w4}x$h+$x4+0")" -gt 0
qd_check "the clock showed before" test "$(off_row "$bare" "${w4}x$h+$x4+0")" -gt 0
qd_check_eq "the status item closes up to the clock, one median gap before it" 0 \
  "$(differing "$bare" "${w3}x$h+$x3+0" "$hidden" "${w3}x$h+$new_x3+0")"
qd_check_eq "YAD 1 closes up to the right, one median gap before the status item" 0 \
  "$(differing "$bare" "${w1}x$h+$x1+0" "$hidden" "${w1}x$h+$new_x1+0")"
qd_check_eq "nothing left of YAD 1 but panel background" 0 \
  "$(off_row "$hidden" "$((new_x1 - tile_x))x$h+$tile_x+0")"
qd_check_eq "nothing between YAD 1 and the status item but panel background" 0 \
  "$(off_row "$hidden" "${spacing}x$h+$((new_x1 + w1))+0")"

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

qd_section "the whole panel"
cover entire
qd_check_eq "one mask over the whole panel" "0 0 $root_w" "$(rect "$masks" | cut -d' ' -f1-3)"
shoot entire
qd_check_eq "every row of the panel strip is one colour" 0 "$(off_row "$entire" "${root_w}x$h+0+0")"
qd_check "the bare panel was not" test "$(off_row "$bare" "${root_w}x$h+0+0")" -gt 0

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
sleep 1
shoot replaced
qd_check_eq "the panel strip is still covered" 0 "$(off_row "$replaced" "${root_w}x$h+0+0")"

qd_driver_quit
qd_stop_process "$wm_pid" TERM 10 || true
qd_stop_desktop

qd_section "two monitors: one mask each"
if [ "$(id -u)" != 0 ]; then
  qd_log "skipped: two monitors need the dummy X driver, which runs as root"
else
  qd_start_desktop --monitors 2
  qd_new_home
  qd_driver_start cover-two "$driver"
  cover entire
  qd_check_eq "two mask windows" 2 "$(grep -c '^mask' <<<"$masks")"
  # The second monitor, as xrandr lists it: "1: +NAME W/…xH/…+X+Y NAME".
  second=$(xrandr --listmonitors | sed -n 's/^ *1: [^ ]* \([0-9]*\)\/[0-9]*x\([0-9]*\)\/[0-9]*+\([0-9]*\)+\([0-9]*\).*/\1 \2 \3 \4/p')
  read -r sw _ sx sy <<<"$second"
  mask2=$(grep '^mask' <<<"$masks" | grep " x=$sx " | head -n 1)
  qd_check_eq "the second monitor's mask spans its top with the 24-pixel fallback height" \
    "$sx $sy $sw 24" "$(rect "$mask2")"
  # The picture under it has no tinted strip any more (a monitor without a top panel has no
  # bar); that this monitor still gets a mask at all is the next thing to change.
  qd_driver_quit
fi

qd_finish
