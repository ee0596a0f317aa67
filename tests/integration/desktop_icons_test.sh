#!/usr/bin/env bash
# Desktop icons on a real Xfce desktop: hidden at launch when the stored state asks for it, the
# user's own icon style given back on SIGTERM (also when they never set one), a user's own
# choice left alone, the switches in the window, and a corrupt settings file
# moved aside instead of overwritten. Usage: desktop_icons_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: desktop_icons_test.sh PATH-TO-QUILLET}

qd_init desktop_icons
qd_start_desktop

style() { qd_xfconf_get xfce4-desktop /desktop-icons/style; }
set_style() { xfconf-query -c xfce4-desktop -p /desktop-icons/style -n -t int -s "$1"; }
unset_style() { xfconf-query -c xfce4-desktop -p /desktop-icons/style -r 2>/dev/null || true; }
record() { echo "$XDG_DATA_HOME/Quillet/icon-style.json"; }

# The launch hides the icons and restarts xfdesktop; the signal gives the user's style back and
# restarts it again, in a process that does not depend on quillet.
hidden_at_launch_then_given_back() { # USER-STYLE ("" for none set)
  local users=$1 desktop_before
  qd_section "icons hidden at launch, style '${users}' given back on SIGTERM"
  qd_new_home
  if [ -n "$users" ]; then set_style "$users"; else unset_style; fi
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.desktopIconsHidden": true}'
  desktop_before=$(qd_desktop_pid)

  qd_launch_quillet "quillet-hidden-$users"
  qd_wait_eq 30 "icons hidden after launch" 0 style
  qd_check_eq "the user's style is recorded with the hide" "{\"style\":${users:-null}}" \
    "$(cat "$(record)" 2>/dev/null)"
  qd_check "xfdesktop restarted with its desktop window after hiding" \
    qd_wait_for 15 "a restarted xfdesktop" qd_desktop_window_other_than "$desktop_before"
  desktop_before=$(qd_desktop_pid)

  qd_stop_checked TERM
  qd_check_eq "the user's style is back when quillet has exited" "$users" "$(style)"
  qd_check "the record is gone" test ! -e "$(record)"
  qd_check "xfdesktop restarted with its desktop window after showing" \
    qd_wait_for 15 "a restarted xfdesktop" qd_desktop_window_other_than "$desktop_before"
  # The restarted xfdesktop must not be tied to quillet's lifetime.
  sleep 1
  qd_check "xfdesktop still runs a second after quillet's exit" qd_running "$(qd_desktop_pid)"
}

users_own_hidden_icons_stay_hidden() {
  qd_section "icons the user hid stay hidden"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true}'
  set_style 0
  qd_wait_for 10 "xfdesktop's desktop window" qd_desktop_pid
  local desktop_before
  desktop_before=$(qd_desktop_pid)

  qd_launch_quillet quillet-user-hidden
  qd_wait_for 15 "the main window" qd_main_window
  qd_check_eq "icons still hidden while quillet runs" 0 "$(style)"
  qd_stop_checked
  qd_check_eq "icons still hidden after quillet's exit" 0 "$(style)"
  qd_check_eq "xfdesktop was not restarted" "$desktop_before" "$(qd_desktop_pid)"
}

# The switches in the window: Hide and Show restart xfdesktop without freezing the window (an
# accessibility query right after the press is answered; the time it took is printed), and
# Show gives back the user's style 1 (minimised application icons), not the file icons.
switched_from_the_window() {
  qd_section "Hide and Show in the window"
  qd_new_home
  set_style 1
  local atspi=("$QD_PYTHON" "$(dirname "$0")/atspi_drive.py") desktop_before started elapsed resting
  qd_launch_quillet quillet-switches QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" Hide ||
    qd_fail "the Hide switch never showed"
  desktop_before=$(qd_desktop_pid)
  # The same query once at rest, for comparison: most of its time is the query tool's own.
  started=$(date +%s%N)
  "${atspi[@]}" showing "$quillet_pid" Show
  resting=$((($(date +%s%N) - started) / 1000000))
  "${atspi[@]}" press "$quillet_pid" Hide || qd_fail "no Hide switch to press"
  started=$(date +%s%N)
  qd_check "the window answers right after Hide" timeout 60 "${atspi[@]}" showing "$quillet_pid" Show
  elapsed=$((($(date +%s%N) - started) / 1000000))
  qd_log "figure: a query took ${elapsed} ms right after Hide, ${resting} ms at rest"
  qd_wait_eq 10 "icons hidden by the switch" 0 style
  qd_check "xfdesktop restarted after Hide" \
    qd_wait_for 15 "a restarted xfdesktop" qd_desktop_window_other_than "$desktop_before"
  desktop_before=$(qd_desktop_pid)
  "${atspi[@]}" press "$quillet_pid" Show || qd_fail "no Show switch to press"
  qd_wait_eq 10 "Show gives back style 1" 1 style
  qd_check "xfdesktop restarted after Show" \
    qd_wait_for 15 "a restarted xfdesktop" qd_desktop_window_other_than "$desktop_before"
  qd_check "no record is left while the icons are shown" test ! -e "$(record)"
  qd_stop_checked
  qd_check_eq "style 1 is still there after quitting" 1 "$(style)"
}

corrupt_settings_are_moved_aside() {
  qd_section "a corrupt settings file is moved aside"
  qd_new_home
  local folder=$XDG_CONFIG_HOME/Quillet
  qd_write_defaults '{not json'
  qd_launch_quillet quillet-corrupt
  qd_wait_for 15 "the main window" qd_main_window
  qd_check "quillet keeps running with a corrupt settings file" qd_running "$quillet_pid"
  qd_stop_checked
  local moved=("$folder"/defaults.json.corrupt-*)
  qd_check_eq "one file moved aside" 1 "$(ls -d "${moved[@]}" 2>/dev/null | wc -l)"
  qd_check_eq "the moved-aside file keeps the original bytes" '{not json' "$(cat "${moved[0]}" 2>/dev/null)"
}

hidden_at_launch_then_given_back ""
hidden_at_launch_then_given_back 1
users_own_hidden_icons_stay_hidden
switched_from_the_window
corrupt_settings_are_moved_aside
qd_finish
