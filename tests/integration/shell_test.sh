#!/usr/bin/env bash
# The application shell on a real Xfce desktop: the tray icon and its menu, what closing the main
# window does with and without the tray icon, reopening it from a second launch and from the tray,
# and launch at login following the system's autostart entry.
# Usage: shell_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: shell_test.sh PATH-TO-QUILLET}
tray=("$QD_PYTHON" "$(dirname "$0")/tray_menu.py")

qd_init shell
qd_start_desktop

tray_layout() { "${tray[@]}" layout "$quillet_pid" | tr '\n' ';'; }
no_main_window() { ! qd_main_window; }
# Starts the program and waits for its main window, whose id goes to $window.
launch() { # LOG-NAME
  qd_launch_quillet "$1"
  qd_wait_for 15 "the main window" qd_main_window || qd_fail "main window never appeared"
  window=$(qd_main_window)
}

qd_section "tray icon and its menu"
qd_new_home
qd_write_defaults '{"pref.showInMenuBar": true}'
launch quillet-tray
qd_wait_eq 15 "menu entries, Enabled checked after launch" \
  "Enabled|1;---|;Show Window|;---|;Quit Quillet|;" tray_layout
"${tray[@]}" click "$quillet_pid" Enabled
qd_wait_eq 5 "Enabled unchecked after choosing it once" \
  "Enabled|0;---|;Show Window|;---|;Quit Quillet|;" tray_layout
# Quit from the tray runs the quit sequence and ends the program.
"${tray[@]}" click "$quillet_pid" "Quit Quillet"
qd_stop_checked 0

# The desktop icons as the close-window checks see them: hidden by the stored choice while
# Quillet runs, back to the user's style once it has quit.
icon_style() { qd_xfconf_get xfce4-desktop /desktop-icons/style; }
xfconf-query -c xfce4-desktop -p /desktop-icons/style -n -t int -s 2
hidden_icons='"pref.restoreOnLaunch": true, "state.desktopIconsHidden": true'
close_main_window() { qd_close_main_window "$window" || qd_fail "main window did not close"; }

qd_section "with the tray icon, closing the window keeps Quillet running; a second launch reopens it"
qd_new_home
qd_write_defaults "{\"pref.showInMenuBar\": true, $hidden_icons}"
launch quillet-first
qd_wait_eq 15 "the tray icon is shown" "Enabled|1;---|;Show Window|;---|;Quit Quillet|;" tray_layout
qd_wait_eq 10 "the stored choice hid the desktop icons" 0 icon_style
close_main_window
qd_check "closing the main window keeps quillet running" qd_running "$quillet_pid"
qd_check_eq "its changes stay on the desktop" 0 "$(icon_style)"
timeout 15 "$QD_QUILLET" >"$QD_TMP/quillet-second.log" 2>&1
qd_check_eq "the second launch exits with status 0" 0 "$?"
qd_check "main window reopened" qd_wait_for 5 "the main window to come back" qd_main_window
window=$(qd_main_window)
close_main_window
"${tray[@]}" click "$quillet_pid" "Show Window"
qd_check "Show Window in the tray menu brings it back" qd_wait_for 5 "the main window" qd_main_window
qd_stop_checked
qd_check_eq "quitting put the desktop icons back" 2 "$(icon_style)"

qd_section "without the tray icon, closing the window quits and puts the desktop back"
qd_new_home
qd_write_defaults "{$hidden_icons}"
launch quillet-no-tray
qd_wait_eq 10 "the stored choice hid the desktop icons" 0 icon_style
close_main_window
qd_stop_checked 0
qd_check_eq "the desktop icons are back" 2 "$(icon_style)"
qd_check_eq "the stored choice survives for the next launch" true "$(qd_stored state.desktopIconsHidden)"

qd_section "without a taskbar or pager entry when Show in Dock is off"
qd_new_home
qd_write_defaults '{"pref.showInDock": false}'
launch quillet-nodock
wm_state() { xprop -id "$window" _NET_WM_STATE | grep -o '_NET_WM_STATE_SKIP_[A-Z]*' | sort | paste -sd ' '; }
qd_wait_eq 5 "main window is skip-pager and skip-taskbar" \
  "_NET_WM_STATE_SKIP_PAGER _NET_WM_STATE_SKIP_TASKBAR" wm_state
qd_stop_checked

qd_section "launch at login follows the autostart entry"
qd_new_home
entry=$XDG_CONFIG_HOME/autostart/quillet.desktop
mkdir -p "$(dirname "$entry")"
printf '[Desktop Entry]\nType=Application\nName=Quillet\nExec=quillet\n' >"$entry"
qd_write_defaults '{"pref.launchAtLogin": false}'
launch quillet-login-on
qd_check_eq "an existing autostart entry shows as on" true "$(qd_stored pref.launchAtLogin)"
qd_stop_checked
rm "$entry"
launch quillet-login-off
qd_check_eq "a removed autostart entry shows as off" false "$(qd_stored pref.launchAtLogin)"
qd_check "no autostart entry is written back" test ! -e "$entry"
qd_stop_checked

qd_finish
