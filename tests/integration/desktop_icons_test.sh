#!/usr/bin/env bash
# Desktop icons on a real Xfce desktop: hidden at launch when the stored state asks for it,
# shown again on SIGTERM, a user's own choice left alone, and a corrupt settings file
# moved aside instead of overwritten. Usage: desktop_icons_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: desktop_icons_test.sh PATH-TO-QUILLET}

qd_init desktop_icons
qd_start_desktop

style() { qd_xfconf_get xfce4-desktop /desktop-icons/style; }
set_style() { xfconf-query -c xfce4-desktop -p /desktop-icons/style -n -t int -s "$1"; }

# The launch hides the icons and restarts xfdesktop; the signal shows them and restarts it again.
# The desktop starts without the style property, so the one written back is Quillet's.
hidden_at_launch_then_shown_on() { # SIGNAL
  local signal=$1 before_style desktop_before
  qd_section "icons hidden at launch, shown again on SIG$signal"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.desktopIconsHidden": true}'
  before_style=$(style)
  qd_check "desktop icons are shown before launch (style '$before_style')" \
    test "$before_style" = "" -o "$before_style" = 2
  desktop_before=$(qd_desktop_pid)

  qd_launch_quillet "quillet-hidden-$signal"
  qd_wait_eq 10 "icons hidden after launch" 0 style
  qd_check "xfdesktop restarted with its desktop window after hiding" \
    qd_wait_for 10 "a restarted xfdesktop" qd_desktop_window_other_than "$desktop_before"
  desktop_before=$(qd_desktop_pid)

  qd_stop_checked "$signal"
  qd_check_eq "icons shown again when quillet has exited" 2 "$(style)"
  qd_check "xfdesktop restarted with its desktop window after showing" \
    qd_wait_for 10 "a restarted xfdesktop" qd_desktop_window_other_than "$desktop_before"
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
  sleep 3
  qd_check "quillet runs 3 s after launch" qd_running "$quillet_pid"
  qd_check_eq "icons still hidden while quillet runs" 0 "$(style)"
  qd_stop_checked
  qd_check_eq "icons still hidden after quillet's exit" 0 "$(style)"
  qd_check_eq "xfdesktop was not restarted" "$desktop_before" "$(qd_desktop_pid)"
}

corrupt_settings_are_moved_aside() {
  qd_section "a corrupt settings file is moved aside"
  qd_new_home
  local folder=$XDG_CONFIG_HOME/Quillet
  qd_write_defaults '{not json'
  qd_launch_quillet quillet-corrupt
  sleep 2
  qd_check "quillet keeps running with a corrupt settings file" qd_running "$quillet_pid"
  qd_stop_checked
  local moved=("$folder"/defaults.json.corrupt-*)
  qd_check_eq "one file moved aside" 1 "$(ls -d "${moved[@]}" 2>/dev/null | wc -l)"
  qd_check_eq "the moved-aside file keeps the original bytes" '{not json' "$(cat "${moved[0]}" 2>/dev/null)"
}

hidden_at_launch_then_shown_on TERM
users_own_hidden_icons_stay_hidden
corrupt_settings_are_moved_aside
qd_finish
