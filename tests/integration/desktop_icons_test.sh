#!/usr/bin/env bash
# Desktop icons on a real Xfce desktop: hidden at launch when the stored state asks for it,
# shown again on SIGTERM/SIGINT, a user's own choice left alone, and a corrupt settings file
# moved aside instead of overwritten. Usage: desktop_icons_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

quillet=${1:?usage: desktop_icons_test.sh PATH-TO-QUILLET}
[ -x "$quillet" ] || {
  echo "not executable: $quillet" >&2
  exit 1
}

qd_init desktop_icons
qd_start_desktop

style() { qd_xfconf_get xfce4-desktop /desktop-icons/style; }
style_is() { [ "$(style)" = "$1" ]; }
set_style() { xfconf-query -c xfce4-desktop -p /desktop-icons/style -n -t int -s "$1"; }

write_defaults() { # JSON-TEXT
  mkdir -p "$XDG_CONFIG_HOME/Quillet"
  printf '%s' "$1" >"$XDG_CONFIG_HOME/Quillet/defaults.json"
}

launch_quillet() { # LOG-NAME
  qd_launch quillet_pid "$QD_TMP/$1.log" env QT_QPA_PLATFORM=xcb "$quillet"
}

# Stops Quillet with SIGNAL and checks that it ran its quit sequence and exited cleanly.
stop_quillet() { # SIGNAL
  if qd_stop_process "$quillet_pid" "$1" 15; then
    qd_check_eq "quillet exits with status 0 on SIG$1" 0 "$QD_STATUS"
  else
    qd_fail "quillet did not exit within 15 s of SIG$1"
  fi
}

# The launch hides the icons and restarts xfdesktop; the signal shows them and restarts it again.
hidden_at_launch_then_shown_on() { # SIGNAL [fresh: leave the style property as the desktop has it]
  local signal=$1
  qd_section "icons hidden at launch, shown again on SIG$signal"
  qd_new_home
  [ "${2:-}" = fresh ] || set_style 2
  write_defaults '{"pref.restoreOnLaunch": true, "state.desktopIconsHidden": true}'
  local before_style desktop_before desktop_hidden
  before_style=$(style)
  qd_check "desktop icons are shown before launch (style '$before_style')" \
    test "$before_style" = "" -o "$before_style" = 2
  desktop_before=$(qd_desktop_pid)

  launch_quillet "quillet-hidden-$signal"
  if qd_wait_for 10 "/desktop-icons/style = 0" style_is 0; then
    qd_pass "icons hidden after launch"
  else
    qd_fail "icons not hidden after launch (style '$(style)')"
  fi
  if qd_wait_for 10 "a restarted xfdesktop" qd_desktop_window_other_than "$desktop_before"; then
    qd_pass "xfdesktop restarted with its desktop window after hiding"
  else
    qd_fail "no restarted xfdesktop after hiding (desktop pid '$(qd_desktop_pid)', was $desktop_before)"
  fi
  desktop_hidden=$(qd_desktop_pid)
  qd_screenshot "$QD_ARTIFACTS/icons-hidden-$signal.png"

  stop_quillet "$signal"
  qd_check_eq "icons shown again when quillet has exited" 2 "$(style)"
  if qd_wait_for 10 "a restarted xfdesktop" qd_desktop_window_other_than "$desktop_hidden"; then
    qd_pass "xfdesktop restarted with its desktop window after showing"
  else
    qd_fail "no restarted xfdesktop after showing (desktop pid '$(qd_desktop_pid)', was $desktop_hidden)"
  fi
  # The restarted xfdesktop must not be tied to quillet's lifetime.
  sleep 1
  qd_check "xfdesktop still runs a second after quillet's exit" qd_running "$(qd_desktop_pid)"
  qd_screenshot "$QD_ARTIFACTS/icons-shown-$signal.png"
}

users_own_hidden_icons_stay_hidden() {
  qd_section "icons the user hid stay hidden"
  qd_new_home
  write_defaults '{"pref.restoreOnLaunch": true}'
  set_style 0
  qd_wait_for 10 "xfdesktop's desktop window" qd_desktop_pid
  local desktop_before
  desktop_before=$(qd_desktop_pid)

  launch_quillet quillet-user-hidden
  sleep 3
  qd_check "quillet runs 3 s after launch" qd_running "$quillet_pid"
  qd_check_eq "icons still hidden while quillet runs" 0 "$(style)"
  stop_quillet TERM
  qd_check_eq "icons still hidden after quillet's exit" 0 "$(style)"
  qd_check_eq "xfdesktop was not restarted" "$desktop_before" "$(qd_desktop_pid)"
  set_style 2
}

corrupt_settings_are_moved_aside() {
  qd_section "a corrupt settings file is moved aside"
  qd_new_home
  local folder=$XDG_CONFIG_HOME/Quillet
  write_defaults '{not json'
  cp "$folder/defaults.json" "$QD_TMP/corrupt-original"

  launch_quillet quillet-corrupt
  sleep 2
  qd_check "quillet keeps running with a corrupt settings file" qd_running "$quillet_pid"
  stop_quillet TERM

  local moved=("$folder"/defaults.json.corrupt-*)
  if [ "${#moved[@]}" = 1 ] && [ -f "${moved[0]}" ]; then
    qd_pass "corrupt file moved aside to $(basename "${moved[0]}")"
    qd_check "the moved-aside file keeps the original bytes" cmp -s "$QD_TMP/corrupt-original" "${moved[0]}"
  else
    qd_fail "expected one defaults.json.corrupt-* in $folder, found: $(ls -A "$folder" | tr '\n' ' ')"
  fi
}

hidden_at_launch_then_shown_on TERM fresh
hidden_at_launch_then_shown_on INT
users_own_hidden_icons_stay_hidden
corrupt_settings_are_moved_aside
qd_finish
