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

qd_section "a click that closes a popover presses nothing under it"
click_on() { # NAME ROLE: a real pointer click in the middle of the control
  local box
  box=($("${atspi[@]}" extents "$quillet_pid" "$@")) || { qd_fail "no control '$1'"; return; }
  xdotool mousemove --sync $((box[0] + box[2] / 2)) $((box[1] + box[3] / 2)) click 1
  sleep 0.5
}
cover_before=$(qd_stored state.menuBarCover)
press "Color" "check box"
qd_wait_for 10 "the colour popover" "${atspi[@]}" showing "$quillet_pid" "Background color" ||
  qd_fail "the colour popover did not open"
click_on "Hide bar" "check box"
qd_check "the dismissing click closed the colour popover" \
  qd_wait_for 5 "the popover to close" eval '! "${atspi[@]}" showing "$quillet_pid" "Background color"'
qd_check_eq "the dismissing click did not choose \"Hide bar\"" "$cover_before" "$(qd_stored state.menuBarCover)"
qd_check_eq "\"Hide bar\" is not checked" 0 "$("${atspi[@]}" checked "$quillet_pid" "Hide bar" "check box")"
press "Color" "check box"
qd_wait_for 10 "the colour popover" "${atspi[@]}" showing "$quillet_pid" "Background color" ||
  qd_fail "the colour popover did not open again"
click_on "1280 × 720"
sleep 1
qd_check_eq "the dismissing click on a tile did not switch the display" "$start_geometry" "$(geometry)"
click_on "Hide bar" "check box"
qd_wait_eq 5 "an ordinary click then chooses \"Hide bar\"" '"entire"' qd_stored state.menuBarCover

qd_section "Tab goes card by card, one stop per group"
main=$(qd_main_window | head -n 1)
xdotool windowactivate --sync "$main"
sleep 0.5
stops=()
for ((i = 0; i < 16; i++)); do
  xdotool key Tab
  sleep 0.3
  stops+=("$("${atspi[@]}" focused "$quillet_pid" || echo '?')")
done
qd_log "Tab order: $(printf '%s | ' "${stops[@]}")"
position() { local i; for i in "${!stops[@]}"; do [ "${stops[$i]}" = "$1" ] && { echo "$i"; return; }; done; echo -1; }
restore_at=$(position "Restore Original")
refresh_at=$(position "Refresh window list")
keep_at=$(position "Hide bar")
qd_check "Restore Original, then the window card, then the Menu Bar card" \
  test "$restore_at" -ge 0 -a "$refresh_at" -gt "$restore_at" -a "$keep_at" -gt "$refresh_at"
# One stop per group: the whole panel is round in well under 16 presses.
cycle=$(printf '%s\n' "${stops[@]}" | sort | uniq -d | wc -l)
qd_check "the panel's stops repeat within 16 Tab presses" test "$cycle" -gt 0

qd_section "Settings: switches operated by an assistive tool take effect"
xdotool windowactivate --sync "$main" key ctrl+comma
qd_wait_for 10 "the settings window" qd_window_by_name '^Quillet Settings$' || qd_fail "no settings window"
settings=$(qd_window_by_name '^Quillet Settings$' | head -n 1)
# A check box offers "Toggle" only: no click reaches the program.
press "Launch at login" "check box"
qd_wait_eq 5 "\"Launch at login\" is stored" true qd_stored pref.launchAtLogin
qd_check "the autostart entry exists" test -f "$XDG_CONFIG_HOME/autostart/quillet.desktop"
press "Launch at login" "check box"
qd_wait_eq 5 "\"Launch at login\" off is stored" false qd_stored pref.launchAtLogin
qd_check "the autostart entry is gone" test ! -e "$XDG_CONFIG_HOME/autostart/quillet.desktop"

qd_section "Show in Dock: off leaves the taskbar with both windows; on again steals nothing"
skips() { xprop -id "$1" _NET_WM_STATE | grep -c _NET_WM_STATE_SKIP_TASKBAR; }
xdotool windowactivate --sync "$settings"
press "Show in Dock" "check box"
qd_wait_eq 5 "the main window left the taskbar" 1 skips "$main"
qd_wait_eq 5 "the settings window left the taskbar" 1 skips "$settings"
active() { printf '0x%x\n' "$(xprop -root -notype _NET_ACTIVE_WINDOW | sed 's/.*# //' | cut -d, -f1)"; }
settings_hex=$(printf '0x%x' "$settings")
press "Show in Dock" "check box"
qd_wait_eq 5 "the main window is back in the taskbar" 0 skips "$main"
sleep 0.5
qd_check_eq "the settings window keeps the focus" "$settings_hex" "$(active)"
stacking() { xprop -root -notype _NET_CLIENT_LIST_STACKING | sed 's/.*# //' | tr -d ' ' | tr ',' '\n' | xargs -n1 printf '%d\n'; }
above=$(stacking | grep -n -x -e "$main" -e "$settings" | tail -n 1 | cut -d: -f2)
qd_check_eq "the settings window stays above the main window" "$settings" "$above"
xdotool windowclose "$settings" 2>/dev/null || xdotool key --window "$settings" Escape

qd_section "the window follows a dark desktop (screenshots)"
xdotool windowactivate --sync "$main"
sleep 0.5
import -window "$main" "$QD_ARTIFACTS/main-light.png"
window_shade() { convert "$1" -crop 8x8+4+40 -colorspace Gray -format '%[fx:int(255*mean)]' info:; }
qd_check "the light window is light" test "$(window_shade "$QD_ARTIFACTS/main-light.png")" -gt 160
# The theme reaches programs through the XSETTINGS manager, which the shared desktop does not run.
xfconf-query -c xsettings -p /Net/ThemeName -n -t string -s Adwaita-dark
qd_launch settings_pid "$QD_TMP/xfsettingsd.log" xfsettingsd --sm-client-disable --no-daemon
qd_wait_for 10 "the XSETTINGS manager" qd_xprobe owner _XSETTINGS_S0 ||
  qd_fail "xfsettingsd did not take the XSETTINGS selection"
dark_now() { import -window "$main" "$QD_TMP/dark.png" && test "$(window_shade "$QD_TMP/dark.png")" -lt 96; }
qd_check "the window turned dark with the desktop" qd_wait_for 10 "a dark window" dark_now
sleep 0.5
import -window "$main" "$QD_ARTIFACTS/main-dark.png"
xfconf-query -c xsettings -p /Net/ThemeName -s Adwaita
light_now() { import -window "$main" "$QD_TMP/light.png" && test "$(window_shade "$QD_TMP/light.png")" -gt 160; }
qd_check "and light again" qd_wait_for 10 "a light window" light_now
qd_stop_process "$settings_pid" TERM 10 || qd_fail "xfsettingsd did not stop"

qd_stop_checked

qd_section "a Wayland session says so, and which features need X11"
# Run through the X display as under XWayland, with the session's variables set.
qd_new_home
qd_launch_quillet quillet_wayland WAYLAND_DISPLAY=wayland-quillet-test XDG_SESSION_TYPE=wayland \
  QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
  qd_fail "the main window is not on the accessibility bus"
qd_check "the window says this is a Wayland session" \
  qd_wait_for 10 "the session banner" "${atspi[@]}" showing "$quillet_pid" "This is a Wayland session"
# The names are read whole before grep looks at them: a grep that stops at the first match
# would end the reader early, and pipefail would count that as a failure.
labels() { local names; names=$("${atspi[@]}" names "$quillet_pid" label) && printf '%s\n' "$names"; }
has_label() { grep -q -- "$1" <<<"$(labels)"; }
qd_check "the empty Resolution card says why" has_label "Wayland session does not let Quillet switch"
qd_check "the features that need an X11 session are named" \
  has_label "Switching the resolution, moving other apps. windows, hiding the desktop icons, changing the desktop picture and covering the panel all need an X11 session"
press "Grant…" "push button"
qd_check "Grant… explains the Wayland session" \
  qd_wait_for 20 "the advice" has_label "This is a Wayland session, where Quillet cannot"
qd_stop_checked

qd_section "Grant… on a display without a window manager says what is missing, then notices one"
bare=""
for n in $(seq 140 180); do [ -e "/tmp/.X11-unix/X$n" ] || [ -e "/tmp/.X$n-lock" ] || { bare=$n; break; }; done
qd_launch bare_pid "$QD_TMP/bare-x.log" Xvfb ":$bare" -screen 0 1280x800x24 -noreset -nolisten tcp
qd_wait_for 10 "the bare X server" xdpyinfo -display ":$bare" || qd_fail "the bare X server did not start"
qd_new_home
qd_launch_quillet quillet_bare DISPLAY=":$bare" QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
  qd_fail "the main window is not on the accessibility bus"
qd_wait_for 20 "the window card's Grant… button" "${atspi[@]}" showing "$quillet_pid" "Grant…" "push button" ||
  qd_fail "no Grant… button without a window manager"
press "Grant…" "push button"
advice() { grep -m1 'No window manager that follows the EWMH conventions' <<<"$(labels)"; }
qd_check "Grant… says that no EWMH window manager runs and what to do" qd_wait_for 20 "the advice" advice
qd_log "advice: $(advice)"
# The poll that Grant… started notices a window manager that starts within its 30 seconds.
qd_launch bare_wm_pid "$QD_TMP/bare-wm.log" env DISPLAY=":$bare" xfwm4 --sm-client-disable
grant_gone() { ! "${atspi[@]}" showing "$quillet_pid" "Grant…" "push button"; }
qd_check "the banner goes once a window manager runs" qd_wait_for 25 "the banner to go" grant_gone
qd_stop_checked
qd_stop_process "$bare_wm_pid" TERM 10 || true
qd_stop_process "$bare_pid" TERM 10 || true
qd_finish
