#!/usr/bin/env bash
# The main window driven through the accessibility bus, the way an assistive tool operates it:
# choose a resolution tile and restore it, snap another program's window to the left half,
# choose a solid desktop colour, and hide a tray icon. Each real effect is read back from the X
# server (xrandr, the window's frame), xfconf and screenshots.
# Usage: main_window_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: main_window_test.sh PATH-TO-QUILLET}
atspi=("$QD_PYTHON" "$(dirname "$0")/atspi_drive.py")

qd_init main_window
"$QD_PYTHON" -c 'import pyatspi' 2>/dev/null || { qd_log "SKIP: pyatspi is not installed"; exit 77; }
qd_start_desktop
qd_new_home

# A distinctive stored solid colour, read back at launch, so the desktop shows it unmistakably
# once "Color" is chosen.
qd_write_defaults '{"pref.restoreOnLaunch": true, "state.backgroundColor": "#3366CC"}'

output=$(xrandr | sed -n 's/^\([^ ]*\) connected.*/\1/p' | head -n 1)
geometry() { qd_geometry "$output"; }
start_geometry=$(geometry)

# The window to arrange: another program's ordinary window.
qd_launch target_pid "$QD_TMP/target.log" yad --title=Target --text=Target --width=420 --height=300 --no-buttons
qd_wait_for 10 "the target window" qd_window_by_name '^Target$' || qd_fail "the target window never appeared"
target=$(qd_window_by_name '^Target$')

qd_launch_quillet quillet QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
  { qd_fail "the main window is not on the accessibility bus"; qd_finish; }

# Runs a control's action, then gives Qt's animated press time to finish.
press() { # NAME [ROLE]
  "${atspi[@]}" press "$quillet_pid" "$@" || qd_fail "no control '$1' to press"
  sleep 0.3
}

qd_section "a resolution tile switches the display; Restore Original puts it back"
press "1280 × 720"
qd_wait_eq 10 "the display switched to 1280 × 720" 1280x720+0+0 geometry
qd_check_eq "the tile is marked current" 1 "$("${atspi[@]}" checked "$quillet_pid" "1280 × 720")"
press "Restore Original"
qd_wait_eq 10 "Restore Original put the display back" "$start_geometry" geometry

qd_section "snap the other program's window to the left half"
press "Refresh window list"
row=$("${atspi[@]}" names "$quillet_pid" "check box" | grep -m1 ' — Target$' || true)
qd_check "the target window is in the window list" test -n "$row"
press "$row"
press "Left half"
outer_x_w() { qd_outer_frame "$target" | cut -d' ' -f1,3; }
qd_wait_eq 10 "the target's frame is the left half" "0 $((${start_geometry%%x*} / 2))" outer_x_w

qd_section "choose a solid desktop colour"
press "Color" "check box"
image_path() { qd_xfconf_get xfce4-desktop "$(xfconf-query -c xfce4-desktop -l | grep '/workspace0/last-image$' | head -n 1)"; }
ours() { image_path | grep -q "^$XDG_DATA_HOME/Quillet/"; }
qd_check "the desktop shows a picture of ours" qd_wait_for 10 "a picture of ours on the desktop" ours
qd_check "the colour popover is open" "${atspi[@]}" showing "$quillet_pid" "Background color"
corner() { qd_pixel 1900 1060; }
qd_wait_eq 10 "the stored colour on screen" 3366CC corner
xdotool key Escape
sleep 0.5

qd_section "hide one tray icon"
panel_strip() { import -window root -crop "400x32+$((${start_geometry%%x*} - 400))+0" -depth 8 "$1"; }
press "Hide items" "check box"
qd_wait_for 10 "the detected-items popover" "${atspi[@]}" showing "$quillet_pid" "Rescan" ||
  qd_fail "the detected-items popover did not open"
press "Rescan"
sleep 1.5
panel_strip "$QD_TMP/tray-before.png"
item=$("${atspi[@]}" names "$quillet_pid" "check box" | grep -v -e ' — ' -e '×' -e '^Show$' -e '^Hide$' -e '^Keep$' \
  -e '^Color$' -e '^Image$' -e '^Hide bar$' -e '^Hide items$' | head -n 1)
qd_check "a detected tray item to hide" test -n "$item"
press "$item" "check box"
qd_check_eq "the item's toggle is on" 1 "$("${atspi[@]}" checked "$quillet_pid" "$item" "check box")"
xdotool key Escape
changed() {
  panel_strip "$QD_TMP/tray-after.png"
  [ "$(compare -metric AE "$QD_TMP/tray-before.png" "$QD_TMP/tray-after.png" null: 2>&1)" != 0 ]
}
qd_check "hiding '$item' changed the tray" qd_wait_for 10 "the tray to change" changed

qd_stop_checked
qd_finish
