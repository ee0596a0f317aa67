#!/usr/bin/env bash
# The crash matrix: for each kind of change, quillet is killed with SIGKILL at one moment
# (start-up, just after the change, with a monitor switched off, during quit), relaunched with
# "Restore settings on launch" off and quit. Afterwards the desktop must be exactly as before:
# xfdesktop's settings of every monitor × workspace and the user's icon style (the whole
# xfce4-desktop channel), every output's mode and position, a desktop program running with its
# window, no window of quillet, the stored choices unchanged, no record left (in the store or
# the support folder). Prints how many runs there were and how many held.
#
# The rows run on a one-monitor desktop; the display modes row (a mode switched on each monitor
# through the window) on a second, two-monitor Xorg desktop, when Xorg's dummy driver can run.
# QUILLET_CRASH_ROWS and QUILLET_CRASH_TWO_MONITOR_ROWS choose the kinds of change of each
# desktop (defaults below), QUILLET_CRASH_MOMENTS the moments (switch-off only runs on two
# monitors). QUILLET_CRASH_LEFT=1 also prints, per run, what a user who never relaunches keeps.
# Usage: crash_matrix_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: crash_matrix_test.sh PATH-TO-QUILLET}

# Each kind of change as stored choices that the launch re-applies.
declare -A CHOICES=(
  [icons]='"state.desktopIconsHidden": true'
  [colour]='"state.background": "color", "state.backgroundColor": "#1E90FF"'
  [image]='"state.background": "image"'
  [cover-entire]='"state.menuBarCover": "entire"'
  [cover-items]='"state.menuBarCover": "items", "state.hiddenItemLabels": ["yad"]'
  [everything]='"state.desktopIconsHidden": true, "state.background": "color", "state.backgroundColor": "#1E90FF", "state.menuBarCover": "entire"'
  # Display modes are no stored choice: the run switches them through the window.
  [modes]=''
)
ROWS=${QUILLET_CRASH_ROWS-icons colour image cover-entire cover-items everything}
TWO_MONITOR_ROWS=${QUILLET_CRASH_TWO_MONITOR_ROWS-modes}
MOMENTS=${QUILLET_CRASH_MOMENTS:-startup change quit}
LEFT_TABLE=${QUILLET_CRASH_LEFT:-0}
atspi=("$QD_PYTHON" "$(dirname "$0")/atspi_drive.py")

qd_init crash_matrix

settings() { xfconf-query -c xfce4-desktop -lv 2>/dev/null | sort; }
settings_differ_from() { [ "$(settings)" != "$1" ]; }
desktop_running() { local pid; pid=$(qd_desktop_pid) && [ -n "$pid" ] && qd_running "$pid"; }
# xfdesktop has drawn its desktop (a restart removes the root pixmap until the new one draws).
desktop_drawn() { desktop_running && xprop -root _XROOTPMAP_ID | grep -q 'pixmap id'; }
store_file() { echo "$XDG_CONFIG_HOME/Quillet/defaults.json"; }
# The stored choices, whatever the layout of the file.
# Crash records ("wallpaper." and "display." keys) are not choices: they go once the desktop is back.
stored_choices() {
  "$QD_PYTHON" -c 'import json,sys; d=json.load(open(sys.argv[1])); print(json.dumps({k: v for k, v in d.items() if not k.startswith(("wallpaper.", "display."))}, sort_keys=True))' "$(store_file)"
}
# Records of what was changed, left in the store or the support folder.
records_left() {
  "$QD_PYTHON" -c 'import json,sys; d=json.load(open(sys.argv[1])); [print(k) for k in d if k.startswith("wallpaper.")]' "$(store_file)"
  local file
  for file in "$XDG_DATA_HOME"/Quillet/icon-style.json "$XDG_DATA_HOME"/Quillet/desktop-*.json; do
    [ -s "$file" ] && [ "$(cat "$file")" != "{}" ] && basename "$file"
  done
  return 0
}
# The value of one setting that the launch changed (the first in order), as "PROPERTY VALUE".
first_changed_setting() { # BASELINE APPLIED
  diff <(echo "$1") <(echo "$2") | sed -n 's/^> //p' | head -n 1
}
setting_now() { # PROPERTY
  xfconf-query -c xfce4-desktop -p "$1" 2>/dev/null
}
setting_moved_from() { # PROPERTY VALUE
  [ "$(setting_now "$1")" != "$2" ]
}
icons_hidden() { [ "$(qd_xfconf_get xfce4-desktop /desktop-icons/style)" = 0 ]; }
# The launch has applied the row's change: the settings moved away from the user's and, where
# the icons are hidden, a restarted xfdesktop has drawn its desktop.
change_applied() { # ROW BASELINE DESKTOP-BEFORE
  settings_differ_from "$2" || return 1
  case $1 in
    icons | everything) icons_hidden && qd_desktop_window_other_than "$3" ;;
  esac
}
# Settings unchanged for half a second: the launch has finished applying.
settled() {
  local a b
  a=$(settings)
  sleep 0.5
  b=$(settings)
  [ "$a" = "$b" ]
}

# --current: the server's layout as it stands, without probing the outputs again (fast).
outputs() { xrandr --current | sed -n 's/^\([^ ]*\) connected.*/\1/p'; }
screen_size() { xrandr --current | sed -n 's/^Screen 0:.* current \([0-9]*\) x \([0-9]*\),.*/\1x\2/p'; }
# Every output with its mode and position ("DUMMY1 " when it is off), and the screen size.
layout() {
  xrandr --current | sed -n 's/^\([^ ]*\) \(dis\)\{0,1\}connected \(primary \)\{0,1\}\([0-9]*x[0-9]*+[0-9]*+[0-9]*\)\{0,1\}.*/\1 \4/p' |
    tr '\n' ' '
  screen_size
}
output_mode_is() { qd_geometry "$1" | grep -q "^$2+"; }
picked_display_is() { "${atspi[@]}" names "$quillet_pid" "combo box" | grep -qx "$1"; }
# Switches every monitor to 1280 × 720 through the window, as a user does: the tile of the
# picked display, then the next display picked with the wheel over the picker and its tile.
switch_every_monitor() {
  local output first=1 picked x y w h
  qd_wait_for 20 "the window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
    return 1
  for output in $(outputs); do
    if [ "$first" = 0 ]; then
      read -r x y w h < <("${atspi[@]}" extents "$quillet_pid" "$picked" "combo box") || return 1
      xdotool mousemove $((x + w / 2)) $((y + h / 2)) click 5
      qd_wait_for 5 "$output picked" picked_display_is "$output" || return 1
    fi
    "${atspi[@]}" press "$quillet_pid" "1280 × 720" || return 1
    qd_wait_for 10 "$output at 1280 × 720" output_mode_is "$output" 1280x720 || return 1
    first=0 picked=$output
  done
}

# Records of display modes in the store as well.
display_records_left() {
  "$QD_PYTHON" -c 'import json,sys; d=json.load(open(sys.argv[1])); [print(k) for k in d if k.startswith("display.")]' "$(store_file)"
}

runs=0
held=0
missed=0
failed_runs=()
left_rows=()

# Applies the row's change once the launch is under way: waits for the stored choices to show,
# or switches the modes through the window.
apply_change() { # ROW BASELINE DESKTOP-BEFORE
  if [ "$1" = modes ]; then
    switch_every_monitor
  else
    qd_wait_for 45 "the change" change_applied "$@" && qd_wait_for 10 "the launch to settle" settled
  fi
}

# What a user who never relaunches keeps after the kill, as one line of the table.
left_after_kill() { # ROW MOMENT BASELINE LAYOUT-BEFORE
  qd_wait_for 5 "the desktop to settle" settled
  local pictures style modes desktop records
  pictures=$(diff <(echo "$3" | grep -v /desktop-icons/style) <(settings | grep -v /desktop-icons/style) | grep -c '^>')
  style=$(qd_xfconf_get xfce4-desktop /desktop-icons/style)
  [ "$(layout)" = "$4" ] && modes=as-before || modes=changed
  desktop_drawn && desktop=drawn || desktop=NONE
  records=$( { records_left; display_records_left; } | wc -l)
  [ "$style" = "$user_icon_style" ] && style="as-before" || style="${style:-unset}"
  printf '%-13s %-9s %-9s %-10s %-10s %-8s %s\n' "$1" "$2" "$pictures" "$style" "$modes" \
    "$desktop" "$records"
}

crash_run() { # ROW MOMENT
  local row=$1 moment=$2 failures_before=$QD_FAILURES baseline applied desktop_before stored before
  qd_section "$row, killed at $moment"
  qd_new_home
  # Every run starts from a user with their own icon style.
  xfconf-query -c xfce4-desktop -p /desktop-icons/style -n -t int -s "$user_icon_style"
  qd_wait_for 15 "a drawn desktop" desktop_drawn || qd_fail "no desktop program before the run"
  baseline=$(settings)
  before=$(layout)
  first_output=$(outputs | head -n 1) last_output=$(outputs | tail -n 1)
  desktop_before=$(qd_desktop_pid)
  qd_write_defaults "{\"pref.restoreOnLaunch\": true${CHOICES[$row]:+, ${CHOICES[$row]}}}"

  if [ "$row" = modes ]; then
    qd_launch_quillet "crash-$row-$moment" QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  else
    qd_launch_quillet "crash-$row-$moment"
  fi
  case $moment in
    startup)
      qd_wait_for 45 "the main window" qd_main_window || qd_fail "no main window"
      ;;
    change)
      apply_change "$row" "$baseline" "$desktop_before" || qd_fail "the change never showed"
      ;;
    switchoff)
      apply_change "$row" "$baseline" "$desktop_before" || qd_fail "the change never showed"
      xrandr --output "$last_output" --off
      qd_wait_for 5 "the monitor off" eval '! qd_geometry "$last_output" | grep -q .'
      qd_log "with the monitor off: $(layout)"
      qd_wait_for 5 "the desktop to settle" settled
      ;;
    quit)
      apply_change "$row" "$baseline" "$desktop_before" || qd_fail "the change never showed"
      if [ "$row" = modes ]; then
        applied=$(layout)
        kill -TERM "$quillet_pid"
        # Killed at the first sign of the restore: the first output that moves.
        until [ "$(layout)" != "$applied" ] || ! qd_running "$quillet_pid"; do :; done
      else
        applied=$(settings)
        local changed property value
        changed=$(first_changed_setting "$baseline" "$applied")
        property=${changed%% *}
        value=$(setting_now "$property")
        kill -TERM "$quillet_pid"
        # Killed at the first sign of the restore: one setting polled, as fast as the tools allow.
        until setting_moved_from "$property" "$value" || ! qd_running "$quillet_pid"; do :; done
      fi
      ;;
  esac
  if qd_running "$quillet_pid"; then
    kill -KILL "$quillet_pid"
  else
    qd_log "quillet had already exited before the kill"
    missed=$((missed + 1))
  fi
  qd_stop_process "$quillet_pid" 0 5
  if [ "$moment" = switchoff ]; then
    # The monitor comes back in its own preferred mode, right of the first one.
    xrandr --output "$last_output" --mode 1920x1080 --right-of "$first_output"
    qd_wait_for 5 "the monitor on" eval 'qd_geometry "$last_output" | grep -q .'
  fi
  [ "$LEFT_TABLE" = 1 ] && left_rows+=("$(left_after_kill "$row" "$moment" "$baseline" "$before")")

  # The relaunch runs with the restore preference off, as most users have it.
  "$QD_PYTHON" -c 'import json,sys; p=sys.argv[1]; d=json.load(open(p)); d["pref.restoreOnLaunch"]=False; open(p,"w").write(json.dumps(d))' "$(store_file)"
  stored=$(stored_choices)
  qd_launch_quillet "relaunch-$row-$moment"
  qd_wait_for 45 "the main window" qd_main_window || qd_fail "no main window after the relaunch"
  qd_wait_for 10 "the relaunch to settle" settled
  local pid=$quillet_pid
  qd_stop_checked TERM

  qd_check "a desktop program runs afterwards" qd_wait_for 15 "a drawn desktop" desktop_drawn
  qd_wait_for 10 "the settings to come back" _qd_prints "$baseline" settings
  local now
  now=$(settings)
  if [ "$now" = "$baseline" ]; then
    qd_log "ok: every xfce4-desktop setting is as before"
  else
    qd_fail "xfce4-desktop settings changed: $(diff <(echo "$baseline") <(echo "$now") | grep '^[<>]' | tr '\n' ' ')"
  fi
  qd_check_eq "every output's mode and position as before" "$before" "$(layout)"
  qd_check "no window of quillet is left" bash -c "! xdotool search --pid $pid >/dev/null 2>&1"
  # Every choice stored before is still there with its value (a launch may add a synced
  # preference such as pref.launchAtLogin that a killed launch had not written yet).
  qd_check "the stored choices are unchanged ($stored)" "$QD_PYTHON" -c \
    'import json,sys; a=json.loads(sys.argv[1]); b=json.loads(sys.argv[2]); sys.exit(any(b.get(k) != v for k, v in a.items()))' \
    "$stored" "$(stored_choices)"
  qd_check_eq "no record of the change is left" "" "$( { records_left; display_records_left; } | tr '\n' ' ')"

  runs=$((runs + 1))
  if [ "$QD_FAILURES" = "$failures_before" ]; then
    held=$((held + 1))
  else
    failed_runs+=("$row/$moment")
  fi
}

run_rows() { # ROWS MOMENTS
  local row moment
  for row in $1; do
    [ -n "${CHOICES[$row]+set}" ] || { qd_fail "unknown row '$row'"; continue; }
    for moment in $2; do
      crash_run "$row" "$moment"
    done
  done
}

if [ -n "$(echo $ROWS)" ]; then
  # 1: minimised application icons, a style other than xfdesktop's default.
  user_icon_style=1
  qd_start_desktop
  run_rows "$ROWS" "${MOMENTS//switchoff/}"
  qd_stop_desktop
fi

if [ -n "$(echo $TWO_MONITOR_ROWS)" ]; then
  if [ "$(id -u)" = 0 ] && command -v Xorg >/dev/null && [ -e /usr/lib/xorg/modules/drivers/dummy_drv.so ] &&
    "$QD_PYTHON" -c 'import pyatspi' 2>/dev/null; then
    # xfdesktop 4.18 showing minimised application icons (style 1) crashes by itself at any change
    # of the screen's size (an xrandr switch alone does it), so the user here keeps the default.
    user_icon_style=2
    qd_start_desktop --monitors 2
    run_rows "$TWO_MONITOR_ROWS" "$MOMENTS"
    qd_stop_desktop
  else
    qd_log "two monitors need Xorg with the dummy driver as root and pyatspi; rows '$TWO_MONITOR_ROWS' are skipped"
  fi
fi

if [ "$LEFT_TABLE" = 1 ]; then
  qd_log "what a user who never relaunches keeps after the kill:"
  {
    printf '%-13s %-9s %-9s %-10s %-10s %-8s %s\n' change moment pictures icon-style modes desktop records
    printf '%s\n' "${left_rows[@]}"
  } >&2
  qd_log "(pictures: xfce4-desktop settings other than the icon style left changed; icon-style: the" \
    "user's or the one left; records: crash records waiting for the next launch)"
fi
qd_log "figure: crash matrix: $runs runs, $held held, $missed quit before the kill${failed_runs[*]:+; not held: ${failed_runs[*]}}"
echo "crash matrix: $runs runs, $held held"
qd_finish
