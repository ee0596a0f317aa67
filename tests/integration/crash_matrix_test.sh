#!/usr/bin/env bash
# The crash matrix: for each kind of change, quillet is killed with SIGKILL at one moment
# (start-up, just after the change, during quit), relaunched with "Restore settings on launch"
# off and quit. Afterwards the desktop must be exactly as before: xfdesktop's settings of every
# monitor × workspace and the user's icon style (the whole xfce4-desktop channel), a desktop
# program running with its window, no window of quillet, the stored choices unchanged, no
# record left (in the store or the support folder). Prints how many runs there were and how many held.
#
# QUILLET_CRASH_ROWS chooses the kinds of change (default: the ones listed in ROWS below);
# QUILLET_CRASH_MOMENTS the moments. Usage: crash_matrix_test.sh PATH-TO-QUILLET
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
)
ROWS=${QUILLET_CRASH_ROWS:-icons colour image cover-entire everything}
MOMENTS=${QUILLET_CRASH_MOMENTS:-startup change quit}

qd_init crash_matrix
qd_start_desktop

settings() { xfconf-query -c xfce4-desktop -lv 2>/dev/null | sort; }
settings_differ_from() { [ "$(settings)" != "$1" ]; }
desktop_running() { local pid; pid=$(qd_desktop_pid) && [ -n "$pid" ] && qd_running "$pid"; }
# xfdesktop has drawn its desktop (a restart removes the root pixmap until the new one draws).
desktop_drawn() { desktop_running && xprop -root _XROOTPMAP_ID | grep -q 'pixmap id'; }
store_file() { echo "$XDG_CONFIG_HOME/Quillet/defaults.json"; }
# The stored choices, whatever the layout of the file.
# Crash records ("wallpaper." keys) are not choices: they go once the desktop is back.
stored_choices() {
  "$QD_PYTHON" -c 'import json,sys; d=json.load(open(sys.argv[1])); print(json.dumps({k: v for k, v in d.items() if not k.startswith("wallpaper.")}, sort_keys=True))' "$(store_file)"
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

runs=0
held=0
missed=0
failed_runs=()

crash_run() { # ROW MOMENT
  local row=$1 moment=$2 failures_before=$QD_FAILURES baseline applied desktop_before stored
  qd_section "$row, killed at $moment"
  qd_new_home
  # Every run starts from a user with their own icon style (1: minimised application icons).
  xfconf-query -c xfce4-desktop -p /desktop-icons/style -n -t int -s 1
  qd_wait_for 15 "a drawn desktop" desktop_drawn || qd_fail "no desktop program before the run"
  baseline=$(settings)
  desktop_before=$(qd_desktop_pid)
  qd_write_defaults "{\"pref.restoreOnLaunch\": true, ${CHOICES[$row]}}"

  qd_launch_quillet "crash-$row-$moment"
  case $moment in
    startup)
      qd_wait_for 45 "the main window" qd_main_window || qd_fail "no main window"
      ;;
    change)
      qd_wait_for 45 "the change" change_applied "$row" "$baseline" "$desktop_before" ||
        qd_fail "the change never showed"
      ;;
    quit)
      qd_wait_for 45 "the change" change_applied "$row" "$baseline" "$desktop_before" ||
        qd_fail "the change never showed"
      qd_wait_for 10 "the launch to settle" settled
      applied=$(settings)
      local changed property value
      changed=$(first_changed_setting "$baseline" "$applied")
      property=${changed%% *}
      value=$(setting_now "$property")
      kill -TERM "$quillet_pid"
      # Killed at the first sign of the restore: one setting polled, as fast as the tools allow.
      until setting_moved_from "$property" "$value" || ! qd_running "$quillet_pid"; do :; done
      ;;
  esac
  if qd_running "$quillet_pid"; then
    kill -KILL "$quillet_pid"
  else
    qd_log "quillet had already exited before the kill"
    missed=$((missed + 1))
  fi
  qd_stop_process "$quillet_pid" 0 5

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
  qd_check "no window of quillet is left" bash -c "! xdotool search --pid $pid >/dev/null 2>&1"
  # Every choice stored before is still there with its value (a launch may add a synced
  # preference such as pref.launchAtLogin that a killed launch had not written yet).
  qd_check "the stored choices are unchanged ($stored)" "$QD_PYTHON" -c \
    'import json,sys; a=json.loads(sys.argv[1]); b=json.loads(sys.argv[2]); sys.exit(any(b.get(k) != v for k, v in a.items()))' \
    "$stored" "$(stored_choices)"
  qd_check_eq "no record of the change is left" "" "$(records_left | tr '\n' ' ')"

  runs=$((runs + 1))
  if [ "$QD_FAILURES" = "$failures_before" ]; then
    held=$((held + 1))
  else
    failed_runs+=("$row/$moment")
  fi
}

for row in $ROWS; do
  [ -n "${CHOICES[$row]:-}" ] || { qd_fail "unknown row '$row'"; continue; }
  for moment in $MOMENTS; do
    crash_run "$row" "$moment"
  done
done

qd_log "figure: crash matrix: $runs runs, $held held, $missed quit before the kill${failed_runs[*]:+; not held: ${failed_runs[*]}}"
qd_finish
