# Helpers for integration tests on the virtual desktop. A bash test sources this file, calls
# qd_init NAME and qd_start_desktop, checks with qd_check, qd_check_eq and qd_wait_eq, and ends
# with qd_finish. Every process started here is stopped by its PID when the test ends.

QD_SUPPORT=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
QD_REPO=$(cd "$QD_SUPPORT/../../.." && pwd)
QD_PYTHON=/usr/bin/python3
QD_FAILURES=0
QD_PIDS=()
QD_DESKTOP_STATE=""
QD_STATUS=""

qd_log() { echo "[$(date +%H:%M:%S.%3N)] $*" >&2; }

# Sets up the test's temporary root and artifacts folder and the cleanup on exit.
# The test exits with 77 (skipped) when the desktop's programs are not installed.
qd_init() { # TEST-NAME
  QD_NAME=$1
  local tool
  for tool in Xvfb xfwm4 xfce4-panel xfdesktop xfconf-query dbus-daemon yad xdotool import; do
    if ! command -v "$tool" >/dev/null; then
      qd_log "SKIP: $tool is not installed (run scripts/setup)"
      exit 77
    fi
  done
  QD_TMP=$(mktemp -d "${TMPDIR:-/tmp}/quillet-test.XXXXXX")
  QD_ARTIFACTS=${QUILLET_TEST_ARTIFACTS:-${TMPDIR:-/tmp}/quillet-test-artifacts}/$QD_NAME
  rm -rf "$QD_ARTIFACTS"
  mkdir -p "$QD_ARTIFACTS"
  trap qd_cleanup EXIT
  trap 'qd_log "interrupted"; exit 130' INT TERM
}

# Starts the virtual desktop for this test; extra arguments go to scripts/test-desktop start.
# The desktop stops itself if this shell dies without cleaning up (for example on a timeout).
qd_start_desktop() {
  local exports
  # One desktop at a time: a section that starts the next one stops the one before it (the
  # watchdog does not, as it follows the test's own process).
  qd_stop_desktop
  exports=$("$QD_REPO/scripts/test-desktop" start --owner-pid $$ "$@") || {
    qd_log "FAIL: the virtual desktop did not start"
    exit 1
  }
  eval "$exports"
  QD_DESKTOP_STATE=$QUILLET_DESKTOP_STATE
  unset WAYLAND_DISPLAY SESSION_MANAGER
  export XDG_SESSION_TYPE=x11 QT_QPA_PLATFORM=xcb
}

qd_stop_desktop() {
  [ -n "$QD_DESKTOP_STATE" ] || return 0
  "$QD_REPO/scripts/test-desktop" stop "$QD_DESKTOP_STATE" || true
  QD_DESKTOP_STATE=""
}

# Gives the programs started next a fresh HOME and XDG folders (runtime folder mode 0700).
qd_new_home() {
  local home
  home=$(mktemp -d "$QD_TMP/home.XXXXXX")
  mkdir -p "$home/.config" "$home/.local/share" "$home/.cache"
  mkdir -m 0700 "$home/runtime"
  export HOME=$home
  export XDG_CONFIG_HOME=$home/.config XDG_DATA_HOME=$home/.local/share
  export XDG_CACHE_HOME=$home/.cache XDG_RUNTIME_DIR=$home/runtime
}

# Starts COMMAND in the background as a child of this shell and stores its PID in VAR.
# Signals a non-interactive shell ignores for its background jobs are reset to their defaults,
# stdin is /dev/null and the output goes to LOG (never to a pipe another process may hold).
qd_launch() { # VAR LOG COMMAND...
  local var=$1 log=$2
  shift 2
  env --default-signal=INT,QUIT,TERM,HUP "$@" </dev/null >>"$log" 2>&1 &
  local pid=$!
  QD_PIDS+=("$pid")
  printf -v "$var" %s "$pid"
  qd_log "started: $* (pid $pid, log $log)"
}

# True while PID runs (a zombie counts as ended).
qd_running() { # PID
  local stat
  { read -r stat <"/proc/$1/stat"; } 2>/dev/null || return 1
  stat=${stat##*) }
  [ "${stat%% *}" != Z ]
}

# Sends SIGNAL to PID (a child started with qd_launch; 0 only waits), waits up to TIMEOUT seconds
# and puts its exit status in QD_STATUS (128+n when a signal ended it). Kills it on timeout.
qd_stop_process() { # PID SIGNAL TIMEOUT
  local pid=$1 signal=$2 timeout=$3 deadline
  deadline=$(($(date +%s%N) + timeout * 1000000000))
  QD_STATUS=""
  kill "-$signal" "$pid" 2>/dev/null || true
  while qd_running "$pid"; do
    if (($(date +%s%N) > deadline)); then
      qd_log "pid $pid did not exit within ${timeout}s of SIG$signal; killing it"
      kill -KILL "$pid" 2>/dev/null || true
      wait "$pid" 2>/dev/null || true
      qd_forget "$pid"
      return 1
    fi
    sleep 0.05
  done
  QD_STATUS=0
  wait "$pid" 2>/dev/null || QD_STATUS=$?
  qd_forget "$pid"
}

qd_forget() { # PID
  local i
  for i in "${!QD_PIDS[@]}"; do
    [ "${QD_PIDS[$i]}" != "$1" ] || unset "QD_PIDS[$i]"
  done
}

# Polls COMMAND every 0.1 s until it succeeds or TIMEOUT seconds pass (then returns 1).
qd_wait_for() { # TIMEOUT DESCRIPTION COMMAND...
  local timeout=$1 what=$2 deadline
  shift 2
  deadline=$(($(date +%s%N) + timeout * 1000000000))
  until "$@" >/dev/null 2>&1; do
    if (($(date +%s%N) > deadline)); then
      qd_log "timed out after ${timeout}s waiting for $what"
      return 1
    fi
    sleep 0.1
  done
}

qd_screenshot() { import -window root "$1"; }

# Hex colour (RRGGBB) of one pixel of the screen as it is now.
qd_pixel() { # X Y
  import -window root -crop "1x1+$1+$2" -depth 8 -format "%[hex:u.p{0,0}]" info: 2>/dev/null | cut -c1-6
}

# "WxH+X+Y" of a connected output, as xrandr reports it.
qd_geometry() { # OUTPUT
  xrandr | sed -n "s/^$1 connected \(primary \)\{0,1\}\([0-9]*x[0-9]*+[0-9]*+[0-9]*\).*/\2/p"
}

# "NAME ID" of every output, ID being the decimal RandR output id.
qd_output_ids() {
  local name line
  while IFS= read -r line; do
    case $line in
      [![:space:]]*) name=${line%% *} ;;
      *Identifier:*) echo "$name $((${line##*Identifier: }))" ;;
    esac
  done < <(xrandr --verbose)
}

# Id of the first visible window whose title matches REGEX (for example '^Quillet$').
# xdotool gives up on the whole search when a window goes away while it walks the tree (a
# desktop program restarting, say), so an empty answer is asked again twice.
qd_window_by_name() { # REGEX
  local id attempt
  for attempt in 1 2 3; do
    id=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n 1)
    [ -n "$id" ] && echo "$id" && return 0
    [ "$attempt" = 3 ] || sleep 0.05
  done
  return 1
}

# The outer frame "x y w h" of a client window: its root position and size plus the decorations.
qd_outer_frame() { # WINDOW-ID
  local info extents
  info=$(xwininfo -id "$1" 2>/dev/null) || return 1
  extents=$(xprop -id "$1" _NET_FRAME_EXTENTS | sed -n 's/.*= //p' | tr -d ,)
  [ -n "$extents" ] || extents="0 0 0 0"
  awk -v e="$extents" '
    BEGIN {split(e, x, " ")}
    /Absolute upper-left X/ {ax = $4} /Absolute upper-left Y/ {ay = $4}
    /^  Width:/ {w = $2} /^  Height:/ {h = $2}
    END {print ax - x[1], ay - x[3], w + x[1] + x[2], h + x[3] + x[4]}' <<<"$info"
}

# A process named NAME runs on this test's display (its environment holds our DISPLAY).
qd_runs_here() { # NAME
  local pid
  for pid in $(pgrep -x "$1"); do
    grep -qzx "DISPLAY=$DISPLAY" "/proc/$pid/environ" 2>/dev/null && return 0
  done
  return 1
}

# One user's programs share one dconf database: the test's private home reads and writes the
# desktop's (call after qd_new_home).
# The display mode switched to 1280x720 through the displays driver and put back, with the
# named programs of the desktop still running in the new mode.
qd_check_mode_round_trip() { # DISPLAYS-DRIVER PROGRAM...
  local before program
  qd_screen_size() { xrandr | sed -n 's/^Screen 0:.* current \([0-9]*\) x \([0-9]*\),.*/\1x\2/p'; }
  before=$(qd_screen_size)
  # A driver name of its own: a name used before keeps its earlier answers.
  qd_driver_start "displays-$(date +%s%N)" "$1"
  qd_check_eq "1280x720 is offered" applied "$(qd_drive apply 1280x720)"
  qd_wait_eq 10 "the new mode in xrandr" 1280x720 qd_screen_size
  for program in "${@:2}"; do
    qd_check "$program still runs in the new mode" qd_runs_here "$program"
  done
  qd_drive restore >/dev/null
  qd_wait_eq 10 "the start-up mode back" "$before" qd_screen_size
  qd_driver_quit
}

# A sample window snapped by the window driver to the left and right halves of the work area
# the window manager announces (the space its panels leave), read back as its outer frame.
qd_check_snapping() { # WINDOW-DRIVER
  local sample_pid id
  qd_launch sample_pid "$QD_TMP/sample-snapping.log" "$QD_PYTHON" "$QD_SUPPORT/sample_windows.py" \
    --class sample-notes "Notes@500x300+300+300"
  qd_wait_for 15 "the sample window" qd_window_by_name '^Notes$' || { qd_fail "no sample window"; return; }
  id=$(qd_window_by_name '^Notes$')
  "$1" select "$id" arrange leftHalf >/dev/null 2>>"$QD_TMP/window-driver.log"
  qd_check "the outer frame on the left half of the work area" \
    qd_wait_for 5 "the left half" qd_frame_on_half "$id" left
  "$1" select "$id" arrange rightHalf >/dev/null 2>>"$QD_TMP/window-driver.log"
  qd_check "the outer frame on the right half of the work area" \
    qd_wait_for 5 "the right half" qd_frame_on_half "$id" right
  qd_stop_process "$sample_pid" TERM 5
}
# The window's outer frame is that half of the work area; the work area is read each time, as
# some window managers announce their panels' space a moment after the panel appears.
qd_frame_on_half() { # WINDOW-ID left|right
  local x y w h want got
  read -r x y w h <<<"$(xprop -root _NET_WORKAREA | sed -n 's/.*= //p' | tr -d , | cut -d' ' -f1-4)"
  if [ "$2" = left ]; then want="$x $y $((w / 2)) $h"; else want="$((x + w / 2)) $y $((w / 2)) $h"; fi
  got=$(qd_outer_frame "$1")
  qd_log "work area $x $y $w $h: frame $got, $2 half $want"
  [ "$got" = "$want" ]
}

qd_share_desktop_dconf() {
  ln -s "$QD_DESKTOP_STATE/config/dconf" "$XDG_CONFIG_HOME/dconf"
  ln -s "$QD_DESKTOP_STATE/runtime/dconf" "$XDG_RUNTIME_DIR/dconf"
}

# Value of an xfconf property of the test desktop; prints nothing when it does not exist.
qd_xfconf_get() { # CHANNEL PROPERTY
  xfconf-query -c "$1" -p "$2" 2>/dev/null || true
}

# X probe: owner SELECTION | wm | windows [--type T] | tray-icons
qd_xprobe() {
  "$QD_PYTHON" "$QD_SUPPORT/xprobe.py" "$@"
}

# Value of NAME in a line of NAME=VALUE words.
qd_field() { # NAME LINE
  sed -n "s/.*\b$1=\([^ ]*\).*/\1/p" <<<"$2" | head -n 1
}

# PID that owns the (first) desktop window, or nothing.
qd_desktop_pid() {
  qd_xprobe windows --type desktop 2>/dev/null | sed -n '1s/.* pid=\([0-9]*\) .*/\1/p'
}

# A desktop window owned by a running process other than NOT-PID exists.
qd_desktop_window_other_than() { # NOT-PID
  local pid
  pid=$(qd_desktop_pid)
  [ -n "$pid" ] && [ "$pid" != "$1" ] && qd_running "$pid"
}

qd_fail() { # MESSAGE
  QD_FAILURES=$((QD_FAILURES + 1))
  qd_log "FAIL: $*"
  if [ -n "$QD_DESKTOP_STATE" ]; then
    local shot
    shot=$QD_ARTIFACTS/failure-$QD_FAILURES.png
    qd_screenshot "$shot" 2>/dev/null && qd_log "screenshot: $shot"
  fi
}

# Records a failure when COMMAND fails; the test goes on.
qd_check() { # DESCRIPTION COMMAND...
  local what=$1
  shift
  if "$@"; then qd_log "ok: $what"; else qd_fail "$what"; fi
}

qd_check_eq() { # DESCRIPTION EXPECTED ACTUAL
  if [ "$2" = "$3" ]; then
    qd_log "ok: $1 ($3)"
  else
    qd_fail "$1: expected '$2', got '$3'"
  fi
}

# Polls until COMMAND prints EXPECTED (up to TIMEOUT seconds), then checks what it prints.
qd_wait_eq() { # TIMEOUT DESCRIPTION EXPECTED COMMAND...
  local timeout=$1 what=$2 want=$3
  shift 3
  qd_wait_for "$timeout" "$what" _qd_prints "$want" "$@"
  qd_check_eq "$what" "$want" "$("$@" 2>/dev/null)"
}
_qd_prints() { [ "$("${@:2}" 2>/dev/null)" = "$1" ]; }

qd_section() { qd_log "=== $*"; }

# Test drivers (tests/integration/driver) read "<tag> COMMAND" lines appended to a file and
# answer with lines "<tag> …", ending with "<tag> done". Each runs under a name; qd_drive and
# qd_driver_quit talk to the current one: the one started last, or the one named to
# qd_driver_use (a test may keep several running, one per desktop state).
declare -A QD_DRIVERS=()
qd_driver_start() { # NAME COMMAND...  (the command file is added as the last argument)
  local driver_pid # not "pid": qd_launch has a local of that name
  : >"$QD_TMP/$1.cmds"
  qd_launch driver_pid "$QD_TMP/$1.log" "${@:2}" "$QD_TMP/$1.cmds"
  QD_DRIVERS[$1]=$driver_pid
  qd_driver_use "$1"
  qd_wait_for 20 "the driver $1" grep -qx ready "$QD_DRIVER_LOG"
}
qd_driver_use() { # NAME
  [ -n "${QD_DRIVERS[$1]:-}" ] || { qd_fail "no driver named $1"; return 1; }
  QD_DRIVER=$1 QD_DRIVER_CMDS=$QD_TMP/$1.cmds QD_DRIVER_LOG=$QD_TMP/$1.log
  QD_DRIVER_PID=${QD_DRIVERS[$1]}
}
# Runs COMMAND in the driver and prints its answer lines. The tag is the command's line number,
# so calls from subshells stay apart.
qd_drive() { # COMMAND [ARGUMENT]
  local tag
  tag=$(($(wc -l <"$QD_DRIVER_CMDS") + 1))
  echo "$tag $*" >>"$QD_DRIVER_CMDS"
  qd_wait_for 30 "driver command '$*'" grep -qx "$tag done" "$QD_DRIVER_LOG" ||
    { qd_fail "the driver did not answer '$*'"; return 1; }
  sed -n "s/^$tag //p" "$QD_DRIVER_LOG" | grep -vx done
}
qd_driver_quit() {
  qd_drive quit >/dev/null
  qd_stop_checked 0 "$QD_DRIVER_PID"
  unset "QD_DRIVERS[$QD_DRIVER]"
}

# --- the program under test (QD_QUILLET names it) -----------------------------------------

qd_write_defaults() { # JSON-TEXT
  mkdir -p "$XDG_CONFIG_HOME/Quillet"
  printf '%s' "$1" >"$XDG_CONFIG_HOME/Quillet/defaults.json"
}
qd_stored() { # KEY -> its stored value as JSON ("null" when absent)
  "$QD_PYTHON" -c 'import json,sys; print(json.dumps(json.load(open(sys.argv[1])).get(sys.argv[2]), sort_keys=True))' \
    "$XDG_CONFIG_HOME/Quillet/defaults.json" "$1"
}
# Starts the program as quillet_pid, its output in $QD_TMP/LOG-NAME.log.
qd_launch_quillet() { # LOG-NAME [NAME=VALUE...]
  qd_launch quillet_pid "$QD_TMP/$1.log" env "${@:2}" "$QD_QUILLET"
}
qd_main_window() { qd_window_by_name '^Quillet$' | grep .; }
# Closes WINDOW as a user does: Alt+F4 on the focused window, and when that does not reach it
# (a desktop program restarting may hold the focus for a moment) the taskbar's "Close", which
# asks the window manager. True once no window named Quillet is left.
qd_close_main_window() { # WINDOW
  [ -n "$1" ] || { qd_log "no main window to close"; return 1; }
  timeout 5 xdotool windowactivate --sync "$1" 2>/dev/null
  [ "$(xdotool getactivewindow 2>/dev/null)" = "$1" ] && xdotool key --clearmodifiers alt+F4
  qd_wait_for 8 "the main window to close" _qd_no_main_window && return 0
  qd_log "Alt+F4 did not close the main window; closing it as the taskbar does"
  qd_xprobe close "$1"
  qd_wait_for 20 "the main window to close" _qd_no_main_window
}
_qd_no_main_window() { ! qd_main_window >/dev/null; }
# Stops PID (the program by default) with SIGNAL (0: it is quitting by itself) and checks that
# it exits with status 0 within 15 s.
qd_stop_checked() { # [SIGNAL [PID]]
  local signal=${1:-TERM} pid=${2:-$quillet_pid} what
  what="$(cat "/proc/$pid/comm" 2>/dev/null) (pid $pid) $([ "$signal" = 0 ] && echo "quitting" || echo "on SIG$signal")"
  if qd_stop_process "$pid" "$signal" 15; then
    qd_check_eq "$what exits with status 0" 0 "$QD_STATUS"
  else
    qd_fail "$what did not exit within 15 s"
  fi
}

qd_cleanup() {
  local status=$? pid
  trap - EXIT INT TERM
  for pid in "${QD_PIDS[@]}"; do
    if qd_running "$pid"; then
      qd_log "stopping leftover pid $pid"
      qd_stop_process "$pid" TERM 5 || true
    fi
  done
  if [ "$status" != 0 ] && [ -n "$QD_DESKTOP_STATE" ] && [ -d "$QD_DESKTOP_STATE/log" ]; then
    cp -r "$QD_DESKTOP_STATE/log" "$QD_ARTIFACTS/desktop-logs" 2>/dev/null || true
  fi
  qd_stop_desktop
  if [ "$status" != 0 ] && [ -d "${QD_TMP:-}" ]; then
    # Program logs (*.log directly in the temp root) help explain a failure.
    cp "$QD_TMP"/*.log "$QD_ARTIFACTS/" 2>/dev/null || true
    qd_log "artifacts: $QD_ARTIFACTS"
  fi
  [ -z "${QD_TMP:-}" ] || rm -rf "$QD_TMP"
  exit "$status"
}

# Ends the test: exit status 0 when no check failed.
qd_finish() {
  if [ "$QD_FAILURES" = 0 ]; then
    qd_log "PASS: $QD_NAME"
    exit 0
  fi
  qd_log "FAILED: $QD_NAME ($QD_FAILURES failed checks)"
  exit 1
}
