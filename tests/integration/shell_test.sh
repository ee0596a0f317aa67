#!/usr/bin/env bash
# The application shell on a real Xfce desktop: the tray icon and its menu, reopening the main
# window from a second launch, and launch at login following the system's autostart entry.
# Usage: shell_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

quillet=${1:?usage: shell_test.sh PATH-TO-QUILLET}
tray=("$QD_PYTHON" "$(dirname "$0")/tray_menu.py")

qd_init shell
qd_start_desktop

write_defaults() { # JSON-TEXT
  mkdir -p "$XDG_CONFIG_HOME/Quillet"
  printf '%s' "$1" >"$XDG_CONFIG_HOME/Quillet/defaults.json"
}
stored() { # KEY
  "$QD_PYTHON" -c 'import json,sys; print(json.dumps(json.load(open(sys.argv[1])).get(sys.argv[2])))' \
    "$XDG_CONFIG_HOME/Quillet/defaults.json" "$1"
}
main_window_visible() { xdotool search --onlyvisible --name '^Quillet$' >/dev/null; }
main_window_gone() { ! main_window_visible; }
stop_quillet() {
  if qd_stop_process "$quillet_pid" TERM 15; then
    qd_check_eq "quillet exits with status 0 on SIGTERM" 0 "$QD_STATUS"
  else
    qd_fail "quillet did not exit within 15 s of SIGTERM"
  fi
}

qd_section "tray icon and its menu"
qd_new_home
write_defaults '{"pref.showInMenuBar": true}'
qd_launch quillet_pid "$QD_TMP/quillet-tray.log" env QT_QPA_PLATFORM=xcb "$quillet"
if qd_wait_for 15 "Quillet's tray icon" "${tray[@]}" layout "$quillet_pid"; then
  layout=$("${tray[@]}" layout "$quillet_pid" | tr '\n' ';')
  qd_check_eq "menu entries, Enabled checked after launch" \
    "Enabled|1;---|;Show Window|;---|;Quit Quillet|;" "$layout"
  "${tray[@]}" click "$quillet_pid" Enabled
  qd_wait_for 5 "Enabled unchecked" bash -c "'${tray[0]}' '${tray[1]}' layout $quillet_pid | grep -qx 'Enabled|0'" &&
    qd_pass "Enabled unchecked after choosing it once" || qd_fail "Enabled still checked after choosing it"
  qd_screenshot "$QD_ARTIFACTS/tray.png"
  # Quit from the tray runs the quit sequence and ends the program.
  "${tray[@]}" click "$quillet_pid" "Quit Quillet"
  if qd_wait_for 10 "quillet to quit" bash -c "! kill -0 $quillet_pid 2>/dev/null || grep -q '^State:.*Z' /proc/$quillet_pid/status"; then
    wait "$quillet_pid"
    qd_check_eq "Quit Quillet exits with status 0" 0 "$?"
    qd_forget "$quillet_pid"
  else
    qd_fail "Quit Quillet did not end the program"
  fi
else
  qd_fail "no tray icon registered by quillet"
fi

qd_section "a second launch reopens the closed main window"
qd_new_home
qd_launch quillet_pid "$QD_TMP/quillet-first.log" env QT_QPA_PLATFORM=xcb "$quillet"
if qd_wait_for 15 "the main window" main_window_visible; then
  window=$(xdotool search --onlyvisible --name '^Quillet$' | head -1)
  xdotool windowactivate --sync "$window" key --clearmodifiers alt+F4
  qd_wait_for 5 "the main window to close" main_window_gone || qd_fail "main window did not close"
  qd_check "closing the main window keeps quillet running" qd_running "$quillet_pid"
  env QT_QPA_PLATFORM=xcb timeout 15 "$quillet" >"$QD_TMP/quillet-second.log" 2>&1
  qd_check_eq "the second launch exits with status 0" 0 "$?"
  qd_wait_for 5 "the main window to come back" main_window_visible &&
    qd_pass "main window reopened" || qd_fail "main window not reopened"
  qd_screenshot "$QD_ARTIFACTS/reopened.png"
else
  qd_fail "main window never appeared"
fi
stop_quillet

qd_section "without a taskbar entry when Show in Dock is off"
qd_new_home
write_defaults '{"pref.showInDock": false}'
qd_launch quillet_pid "$QD_TMP/quillet-nodock.log" env QT_QPA_PLATFORM=xcb "$quillet"
if qd_wait_for 15 "the main window" main_window_visible; then
  window=$(xdotool search --onlyvisible --name '^Quillet$' | head -1)
  skips() { xprop -id "$window" _NET_WM_STATE | grep -q _NET_WM_STATE_SKIP_TASKBAR; }
  qd_wait_for 5 "skip-taskbar" skips && qd_pass "main window is skip-taskbar" ||
    qd_fail "main window is in the taskbar: $(xprop -id "$window" _NET_WM_STATE)"
  xprop -id "$window" _NET_WM_STATE | grep -q _NET_WM_STATE_SKIP_PAGER &&
    qd_pass "main window is skip-pager" || qd_fail "main window is not skip-pager"
else
  qd_fail "main window never appeared"
fi
stop_quillet

qd_section "launch at login follows the autostart entry"
qd_new_home
mkdir -p "$XDG_CONFIG_HOME/autostart"
printf '[Desktop Entry]\nType=Application\nName=Quillet\nExec=quillet\n' >"$XDG_CONFIG_HOME/autostart/quillet.desktop"
write_defaults '{"pref.launchAtLogin": false}'
qd_launch quillet_pid "$QD_TMP/quillet-login-on.log" env QT_QPA_PLATFORM=xcb "$quillet"
qd_wait_for 15 "the main window" main_window_visible || qd_fail "main window never appeared"
qd_check_eq "an existing autostart entry shows as on" true "$(stored pref.launchAtLogin)"
stop_quillet
rm "$XDG_CONFIG_HOME/autostart/quillet.desktop"
qd_launch quillet_pid "$QD_TMP/quillet-login-off.log" env QT_QPA_PLATFORM=xcb "$quillet"
qd_wait_for 15 "the main window" main_window_visible || qd_fail "main window never appeared"
qd_check_eq "a removed autostart entry shows as off" false "$(stored pref.launchAtLogin)"
qd_check "no autostart entry is written back" test ! -e "$XDG_CONFIG_HOME/autostart/quillet.desktop"
stop_quillet

qd_finish
