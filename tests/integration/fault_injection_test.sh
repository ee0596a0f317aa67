#!/usr/bin/env bash
# Fault injection while everything is applied (icons hidden, a colour, the whole bar covered):
# the panel, xfdesktop, xfconfd and the window manager are killed and started again one after
# another, and (on two monitors) the second monitor is switched off and on again; quillet must
# keep running (or exit cleanly) and its quit must leave nothing changed, the pictures of every
# workspace of the monitor that went away included.
# Then quit is tried while xfdesktop restarts, which it waits for, and with xfconfd stopped
# (SIGSTOP) and with xfdesktop gone: it must end promptly, and a relaunch with "Restore settings on launch" off plus a quit must put back what
# could not be put back then. Usage: fault_injection_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: fault_injection_test.sh PATH-TO-QUILLET}

monitors=1
[ "$(id -u)" = 0 ] && command -v Xorg >/dev/null && [ -e /usr/lib/xorg/modules/drivers/dummy_drv.so ] && monitors=2

qd_init fault_injection
qd_start_desktop --monitors "$monitors"

state=$QUILLET_DESKTOP_STATE
settings() { xfconf-query -c xfce4-desktop -lv 2>/dev/null | sort; }
settings_differ_from() { [ "$(settings)" != "$1" ]; }
desktop_running() { local pid; pid=$(qd_desktop_pid) && [ -n "$pid" ] && qd_running "$pid"; }
# xfdesktop has drawn its desktop (a restart removes the root pixmap until the new one draws).
desktop_drawn() { desktop_running && xprop -root _XROOTPMAP_ID | grep -q 'pixmap id'; }
bus_has() { dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
  org.freedesktop.DBus.NameHasOwner "string:$1" 2>/dev/null | grep -q 'boolean true'; }
# The process that owns a bus name (the bus may have started xfconfd again by itself).
bus_pid() { dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
  org.freedesktop.DBus.GetConnectionUnixProcessID "string:$1" 2>/dev/null | sed -n 's/.*uint32 //p'; }
panel_window() { qd_xprobe windows --type dock 2>/dev/null | grep -q .; }
wm_present() { qd_xprobe wm >/dev/null 2>&1; }
quillet_fine() { qd_running "$quillet_pid"; }
everything='"pref.restoreOnLaunch": true, "state.desktopIconsHidden": true, "state.background": "color", "state.backgroundColor": "#1E90FF", "state.menuBarCover": "entire"'

# The desktop's own processes, first as the desktop script recorded them, then as restarted here.
declare -A PIDS
while read -r name pid _; do PIDS[$name]=$pid; done <"$state/pids"
# Started again with the desktop's own folders, so xfconfd reads the same settings.
desktop_env=(env HOME="$state/home" XDG_CONFIG_HOME="$state/config" XDG_DATA_HOME="$state/data"
  XDG_CACHE_HOME="$state/cache" XDG_RUNTIME_DIR="$state/runtime")
xfconfd=$(ls /usr/lib/*/xfce4/xfconf/xfconfd | head -n 1)

# Kills one desktop component with SIGKILL, starts it again and waits until it is back.
kill_and_restart() { # NAME
  local name=$1 pid
  case $name in
    xfdesktop) pid=$(qd_desktop_pid) ;;
    *) pid=${PIDS[$name]} ;;
  esac
  qd_section "$name (pid $pid) killed and started again"
  kill -KILL "$pid" 2>/dev/null
  qd_wait_for 5 "$name to end" bash -c "! kill -0 $pid 2>/dev/null || grep -q '^[^)]*) Z' /proc/$pid/stat"
  case $name in
    xfconfd) qd_launch 'PIDS[xfconfd]' "$QD_TMP/xfconfd.log" "${desktop_env[@]}" "$xfconfd"
      qd_wait_for 10 "xfconfd on the bus" bus_has org.xfce.Xfconf ;;
    xfwm4) qd_launch 'PIDS[xfwm4]' "$QD_TMP/xfwm4.log" "${desktop_env[@]}" xfwm4 --sm-client-disable
      qd_wait_for 10 "the window manager" wm_present ;;
    panel) qd_launch 'PIDS[panel]' "$QD_TMP/panel.log" "${desktop_env[@]}" xfce4-panel --sm-client-disable
      qd_wait_for 15 "the panel" panel_window ;;
    xfdesktop) qd_launch 'PIDS[xfdesktop]' "$QD_TMP/xfdesktop.log" "${desktop_env[@]}" xfdesktop --sm-client-disable
      qd_wait_for 15 "xfdesktop" qd_desktop_window_other_than "$pid" ;;
  esac
  qd_check "quillet still runs after $name came back" qd_wait_for 2 "quillet" quillet_fine
}

# Quits with SIGTERM and prints how long the quit took.
timed_quit() { # LABEL
  local label=$1 started elapsed
  started=$(date +%s%N)
  qd_stop_checked TERM
  elapsed=$((($(date +%s%N) - started) / 1000000))
  qd_log "figure: quit $label took ${elapsed} ms"
}

user_settings_are_back() { # BASELINE
  qd_check "a desktop program runs" qd_wait_for 15 "a desktop program" desktop_drawn
  qd_wait_for 10 "the user's settings" _qd_prints "$1" settings
  local now
  now=$(settings)
  if [ "$now" = "$1" ]; then
    qd_log "ok: every xfce4-desktop setting is the user's"
  else
    qd_fail "settings left changed: $(diff <(echo "$1") <(echo "$now") | grep '^[<>]' | tr '\n' ' ')"
  fi
}

relaunch_and_quit() { # LOG-NAME
  "$QD_PYTHON" -c 'import json,sys; p=sys.argv[1]; d=json.load(open(p)); d["pref.restoreOnLaunch"]=False; open(p,"w").write(json.dumps(d))' \
    "$XDG_CONFIG_HOME/Quillet/defaults.json"
  # Xfce's pictures go back only through a running xfdesktop (one that starts while its
  # pictures change may crash): a relaunch before the desktop is drawn again leaves them for
  # the launch after. Relaunch as a user would, with the desktop there.
  qd_wait_for 20 "a drawn desktop before the relaunch" desktop_drawn
  qd_launch_quillet "$1"
  qd_wait_for 20 "the main window" qd_main_window || qd_fail "no main window after the relaunch"
  qd_stop_checked TERM
}

outputs() { xrandr | sed -n 's/^\([^ ]*\) connected.*/\1/p'; }
workspaces() { seq 0 $(($(xprop -root _NET_NUMBER_OF_DESKTOPS | awk '{ print $NF }') - 1)); }
# A picture and a style of the user's own on every workspace of the last monitor.
user_pictures() {
  local output workspace
  output=$(outputs | tail -n 1)
  convert -size 64x48 xc:'#884422' "$QD_TMP/mine.png"
  xfconf-query -c xfce4-desktop -p /backdrop/single-workspace-mode -n -t bool -s false
  for workspace in $(workspaces); do
    xfconf-query -c xfce4-desktop -p "/backdrop/screen0/monitor$output/workspace$workspace/image-style" \
      -n -t int -s $((workspace % 4 + 1))
    xfconf-query -c xfce4-desktop -p "/backdrop/screen0/monitor$output/workspace$workspace/last-image" \
      -n -t string -s "$QD_TMP/mine.png"
  done
}
# Switches the last monitor off and on again while quillet runs.
monitor_off_and_on() {
  local first last
  first=$(outputs | head -n 1) last=$(outputs | tail -n 1)
  qd_section "$last switched off and on again"
  xrandr --output "$last" --off
  qd_wait_for 5 "$last off" eval '! qd_geometry "$last" | grep -q .'
  qd_check "quillet still runs with $last off" qd_wait_for 2 "quillet" quillet_fine
  # Long enough for the desktop program and quillet to take in the new layout.
  qd_wait_for 10 "the settings to settle" settled
  xrandr --output "$last" --mode 1920x1080 --right-of "$first"
  qd_wait_for 5 "$last on" eval 'qd_geometry "$last" | grep -q .'
  qd_check "quillet still runs after $last came back" qd_wait_for 2 "quillet" quillet_fine
  qd_check "the monitor that came back shows quillet's colour on every workspace" \
    qd_wait_for 15 "quillet's pictures on $last" ours_on_every_workspace "$last"
  qd_wait_for 10 "the settings to settle" settled
}
ours_on_every_workspace() { # OUTPUT
  local workspace
  for workspace in $(workspaces); do
    xfconf-query -c xfce4-desktop -p "/backdrop/screen0/monitor$1/workspace$workspace/last-image" |
      grep -q /Quillet/ || return 1
  done
}
settled() {
  local a b
  a=$(settings)
  sleep 0.5
  b=$(settings)
  [ "$a" = "$b" ]
}

xfconf-query -c xfce4-desktop -p /desktop-icons/style -n -t int -s 1
if [ "$monitors" = 2 ]; then
  user_pictures
  # xfconfd writes its file a moment later, and a SIGKILL below must not lose the user's settings.
  qd_wait_for 20 "xfconfd to save the user's settings" grep -q single-workspace-mode \
    "$state/config/xfce4/xfconf/xfce-perchannel-xml/xfce4-desktop.xml"
fi
qd_wait_for 10 "the settings to settle" settled
baseline=$(settings)

qd_section "everything applied, then each desktop component killed and restarted"
qd_new_home
qd_write_defaults "{$everything}"
qd_launch_quillet quillet-faults
qd_wait_for 45 "icons hidden and the colour shown" settings_differ_from "$baseline"
qd_wait_eq 45 "icons hidden" 0 qd_xfconf_get xfce4-desktop /desktop-icons/style
for component in panel xfdesktop xfconfd xfwm4; do
  kill_and_restart "$component"
done
if [ "$monitors" = 2 ]; then
  monitor_off_and_on
else
  qd_log "one monitor only (two need Xorg with the dummy driver as root): no monitor switched off"
fi
timed_quit "after the faults"
user_settings_are_back "$baseline"

qd_section "quit while xfdesktop restarts"
# The session restarts a desktop program that died; meanwhile the root window is all there is,
# and Quillet follows it. A quit then must wait for xfdesktop to take the user's pictures back.
qd_new_home
qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color", "state.backgroundColor": "#1E90FF"}'
qd_launch_quillet quillet-xfdesktop-restarts
qd_wait_for 45 "the colour shown" settings_differ_from "$baseline"
gone=$(qd_desktop_pid)
kill -TERM "$gone"
qd_wait_for 10 "Quillet to follow the root window" grep -q "root window backend" \
  "$QD_TMP/quillet-xfdesktop-restarts.log"
qd_launch 'PIDS[xfdesktop]' "$QD_TMP/xfdesktop-restarted.log" "${desktop_env[@]}" xfdesktop --sm-client-disable
timed_quit "while xfdesktop restarts"
user_settings_are_back "$baseline"

qd_section "quit with xfconfd stopped"
qd_new_home
qd_write_defaults "{$everything}"
qd_launch_quillet quillet-xfconfd-stopped
qd_wait_eq 45 "icons hidden" 0 qd_xfconf_get xfce4-desktop /desktop-icons/style
qd_wait_for 20 "a restarted desktop" desktop_running
stopped=$(bus_pid org.xfce.Xfconf)
kill -STOP "$stopped"
timed_quit "with xfconfd stopped"
kill -CONT "$stopped"
relaunch_and_quit quillet-after-xfconfd
user_settings_are_back "$baseline"

qd_section "quit with xfdesktop gone"
qd_new_home
qd_write_defaults "{$everything}"
qd_launch_quillet quillet-xfdesktop-gone
qd_wait_eq 45 "icons hidden" 0 qd_xfconf_get xfce4-desktop /desktop-icons/style
qd_wait_for 20 "a restarted desktop" desktop_running
gone=$(qd_desktop_pid)
kill -KILL "$gone"
timed_quit "with xfdesktop gone"
qd_launch 'PIDS[xfdesktop]' "$QD_TMP/xfdesktop-again.log" "${desktop_env[@]}" xfdesktop --sm-client-disable
qd_wait_for 15 "xfdesktop" qd_desktop_window_other_than "$gone"
relaunch_and_quit quillet-after-xfdesktop
user_settings_are_back "$baseline"

qd_finish
