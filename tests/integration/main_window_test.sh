#!/usr/bin/env bash
# The main window driven through the accessibility bus, the way an assistive tool operates it:
# choose a resolution tile and restore it, snap another program's window to the left half,
# choose a solid desktop colour, and hide a tray icon. Each real effect is read back from the X
# server (xrandr, the window's frame), xfconf and screenshots.
# Usage: main_window_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

quillet=${1:?usage: main_window_test.sh PATH-TO-QUILLET}
atspi=("$QD_PYTHON" "$(dirname "$0")/atspi_drive.py")

qd_init main_window
"$QD_PYTHON" -c 'import pyatspi' 2>/dev/null || { qd_log "SKIP: pyatspi is not installed"; exit 77; }
qd_start_desktop
qd_new_home

# A distinctive stored solid colour, read back at launch, so the desktop shows it unmistakably
# once "Color" is chosen.
mkdir -p "$XDG_CONFIG_HOME/Quillet"
printf '{"pref.restoreOnLaunch": true, "state.backgroundColor": "#3366CC"}' >"$XDG_CONFIG_HOME/Quillet/defaults.json"

output=$(xrandr | sed -n 's/^\([^ ]*\) connected.*/\1/p' | head -n 1)
geometry() { xrandr | sed -n "s/^$output connected \(primary \)\{0,1\}\([0-9]*x[0-9]*+[0-9]*+[0-9]*\).*/\2/p"; }
start_geometry=$(geometry)

# The window to arrange: another program's ordinary window.
qd_launch target_pid "$QD_TMP/target.log" yad --title=Target --text=Target --width=420 --height=300 --no-buttons
qd_wait_for 10 "the target window" bash -c "xdotool search --onlyvisible --name '^Target$'" ||
  qd_fail "the target window never appeared"
target=$(qd_window_by_name '^Target$')

qd_launch quillet_pid "$QD_TMP/quillet.log" env QT_QPA_PLATFORM=xcb QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 "$quillet"
qd_wait_for 15 "the main window" bash -c "xdotool search --onlyvisible --name '^Quillet$'" ||
  { qd_fail "the main window never appeared"; qd_finish; }
qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
  { qd_fail "the main window is not on the accessibility bus"; qd_finish; }
qd_screenshot "$QD_ARTIFACTS/start.png"

# Runs a control's action, then gives Qt's animated press time to finish.
press() { # NAME [ROLE]
  "${atspi[@]}" press "$quillet_pid" "$@" || qd_fail "no control '$1' to press"
  sleep 0.3
}

qd_section "a resolution tile switches the display; Restore Original puts it back"
press "1280 × 720"
qd_wait_for 10 "the 1280 × 720 mode" bash -c "xrandr | grep -q '^$output connected.* 1280x720+0+0'" &&
  qd_pass "the display switched to 1280 × 720" || qd_fail "the display is at $(geometry)"
qd_check_eq "the tile is marked current" 1 "$("${atspi[@]}" checked "$quillet_pid" "1280 × 720")"
qd_screenshot "$QD_ARTIFACTS/switched.png"
press "Restore Original"
qd_wait_for 10 "the original mode" bash -c "[ \"\$(xrandr | sed -n 's/^$output connected \(primary \)\{0,1\}\([0-9x+]*\).*/\2/p')\" = '$start_geometry' ]" &&
  qd_pass "Restore Original put back $start_geometry" || qd_fail "after Restore Original the display is at $(geometry)"

qd_section "snap the other program's window to the left half"
press "Refresh window list"
row=$("${atspi[@]}" names "$quillet_pid" "check box" | grep -m1 ' — Target$' || true)
if [ -n "$row" ]; then
  press "$row"
  press "Left half"
  # The frame's outer rectangle: the client's position minus the frame extents.
  outer() {
    local x y w h extents l r t b
    eval "$(xwininfo -id "$target" | sed -n 's/^  Absolute upper-left X: *\(-\{0,1\}[0-9]*\)/x=\1/p;s/^  Absolute upper-left Y: *\(-\{0,1\}[0-9]*\)/y=\1/p;s/^  Width: *\([0-9]*\)/w=\1/p;s/^  Height: *\([0-9]*\)/h=\1/p')"
    extents=$(xprop -id "$target" _NET_FRAME_EXTENTS | sed -n 's/.*= //p' | tr -d ' ')
    IFS=, read -r l r t b <<<"${extents:-0,0,0,0}"
    echo "$((x - l)) $((y - t)) $((w + l + r)) $((h + t + b))"
  }
  screen_w=${start_geometry%%x*}
  left_half() { read -r ox oy ow oh <<<"$(outer)"; [ "$ox" = 0 ] && [ "$ow" = $((screen_w / 2)) ]; }
  qd_wait_for 10 "the target in the left half" left_half &&
    qd_pass "the target's frame is the left half: $(outer)" || qd_fail "the target's frame is $(outer)"
  qd_screenshot "$QD_ARTIFACTS/left-half.png"
else
  qd_fail "the target window is not in the window list: $("${atspi[@]}" names "$quillet_pid" "check box" | tr '\n' '|')"
fi

qd_section "choose a solid desktop colour"
press "Color" "check box"
image_path() { qd_xfconf_get xfce4-desktop "$(xfconf-query -c xfce4-desktop -l | grep '/workspace0/last-image$' | head -n 1)"; }
qd_wait_for 10 "a picture of ours on the desktop" bash -c "xfconf-query -c xfce4-desktop -l | grep '/workspace0/last-image\$' | head -n 1 | xargs -r xfconf-query -c xfce4-desktop -p | grep -q '^$XDG_DATA_HOME/Quillet/'" &&
  qd_pass "the desktop shows $(image_path)" || qd_fail "the desktop picture is $(image_path)"
qd_check_eq "the colour popover is open" 0 "$("${atspi[@]}" showing "$quillet_pid" "Background color"; echo $?)"
desktop_pixel() { import -window root -crop 1x1+1900+1060 -depth 8 txt:- | sed -n 's/.*#\([0-9A-Fa-f]\{6\}\).*/\1/p' | tr a-f A-F; }
desktop_is() { [ "$(desktop_pixel)" = "$1" ]; }
qd_wait_for 10 "the stored colour on screen" desktop_is 3366CC &&
  qd_pass "the desktop is #3366CC" || qd_fail "the desktop pixel is #$(desktop_pixel)"
# A swatch of the colour popover changes it.
press "#2979FF" "push button"
qd_wait_for 10 "the chosen colour on screen" desktop_is 2979FF &&
  qd_pass "the desktop is #2979FF after choosing its swatch" || qd_fail "after the swatch the desktop pixel is #$(desktop_pixel)"
qd_screenshot "$QD_ARTIFACTS/solid-colour.png"
xdotool key Escape
sleep 0.5

qd_section "hide one tray icon"
panel_strip() { import -window root -crop "400x32+$((${start_geometry%%x*} - 400))+0" -depth 8 "$1"; }
press "Hide items" "check box"
qd_wait_for 10 "the detected-items popover" "${atspi[@]}" showing "$quillet_pid" "Rescan" ||
  qd_fail "the detected-items popover did not open"
press "Rescan"
sleep 1.5
panel_strip "$QD_ARTIFACTS/tray-before.png"
item=$("${atspi[@]}" names "$quillet_pid" "check box" | grep -v -e ' — ' -e '×' -e '^Show$' -e '^Hide$' -e '^Keep$' \
  -e '^Color$' -e '^Image$' -e '^Hide bar$' -e '^Hide items$' | head -n 1)
if [ -n "$item" ]; then
  press "$item" "check box"
  qd_check_eq "the item's toggle is on" 1 "$("${atspi[@]}" checked "$quillet_pid" "$item" "check box")"
  xdotool key Escape
  changed() {
    panel_strip "$QD_TMP/tray-after.png"
    [ "$(compare -metric AE "$QD_ARTIFACTS/tray-before.png" "$QD_TMP/tray-after.png" null: 2>&1)" != 0 ]
  }
  qd_wait_for 10 "the tray to change" changed && qd_pass "hiding '$item' changed the tray" ||
    qd_fail "the tray looks the same after hiding '$item'"
  cp "$QD_TMP/tray-after.png" "$QD_ARTIFACTS/tray-after.png" 2>/dev/null
else
  qd_fail "no detected tray item to hide"
fi
qd_screenshot "$QD_ARTIFACTS/items-hidden.png"
"${atspi[@]}" tree "$quillet_pid" >"$QD_ARTIFACTS/accessible-tree.txt" 2>&1

if qd_stop_process "$quillet_pid" TERM 15; then
  qd_check_eq "quillet exits with status 0 on SIGTERM" 0 "$QD_STATUS"
else
  qd_fail "quillet did not exit within 15 s of SIGTERM"
fi
qd_finish
