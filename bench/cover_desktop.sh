#!/usr/bin/env bash
# Panel cover on the real platform (the cover driver: the real X11 backends and mask windows)
# on 3840 × 2160 test desktops: one monitor with the accessibility bus off and on, and two
# monitors (Xorg's dummy driver, as root). For each: the toggle of one hidden item until the new
# masks have painted (median and longest), how long any moment without a mask lasted as an
# outside X client saw it while toggling, the longest the UI thread was held up by a toggle and
# by each cover change, the time from a cover switched on to its masks painted, and the
# driver's resident memory without a cover, with one and after going back to none.
# Prints figures; asserts nothing. Usage: bench/cover_desktop.sh [PATH-TO-COVER-DRIVER] [TOGGLES]
set -uo pipefail

source "$(dirname "$0")/../tests/support/desktop/lib.sh"

driver=${1:-$QD_REPO/build/tests/integration/driver/quillet_cover_driver}
toggles=${2:-20}
[ -x "$driver" ] || {
  echo "not executable: $driver (build the quillet_cover_driver target)" >&2
  exit 1
}

qd_init bench_cover_desktop
rss() { sed -n 's/^VmRSS:[[:space:]]*\([0-9]*\) kB/\1/p' "/proc/$QD_DRIVER_PID/status" | awk '{ printf "%.1f MB", $1 / 1024 }'; }
stall() { qd_drive stall | sed 's/^stall max=\([0-9.]*\).*/\1 ms/'; }

run() { # TITLE DESKTOP-OPTIONS...
  local title=$1
  shift
  echo
  echo "$title"
  qd_start_desktop --size 3840x2160 "$@" || {
    echo "  (desktop did not start)"
    return
  }
  qd_new_home
  qd_driver_start "cover-$RANDOM" "$driver"
  got() { [ "$(qd_drive items | grep -c 'label=YAD 2$')" = 1 ]; }
  qd_wait_for 30 "the tray items" got || echo "  (YAD 2 not found)"
  qd_drive settle >/dev/null
  echo "  RSS without a cover:             $(rss)"

  qd_drive stall >/dev/null
  echo "  \"Hide bar\" on until painted:      $(qd_drive timecover entire | sed 's/^cover //')"
  echo "  UI thread held up at most:       $(stall)"
  echo "  RSS with \"Hide bar\":             $(rss)"
  qd_drive stall >/dev/null
  echo "  \"Hide items\" from \"Hide bar\":     $(qd_drive timecover items | sed 's/^cover //')"
  echo "  UI thread held up at most:       $(stall)"
  # YAD 1 stays hidden while YAD 2 is toggled, so a mask must be up all the time: only what
  # changes is covered, and with nothing hidden there is no mask at all.
  qd_drive toggle YAD 1
  qd_drive settle >/dev/null

  qd_drive stall >/dev/null
  "$QD_PYTHON" "$QD_REPO/tests/integration/mask_watch.py" $((toggles / 2 + 6)) >"$QD_TMP/watch.log" 2>/dev/null &
  local watch_pid=$!
  sleep 1
  echo "  toggle to masks painted ($toggles): $(qd_drive timetoggle YAD 2 "$toggles" | sed 's/^toggle //')"
  echo "  UI thread held up at most:       $(stall)"
  wait "$watch_pid"
  echo "  outside observer:                $(cat "$QD_TMP/watch.log")"
  echo "  RSS with \"Hide items\":           $(rss)"
  qd_drive stall >/dev/null
  echo "  back to \"Keep\":                  $(qd_drive timecover keep | sed 's/^cover //')"
  echo "  UI thread held up at most:       $(stall)"
  echo "  RSS after going back to \"Keep\":  $(rss)"
  qd_driver_quit
  qd_stop_desktop
}

run "one 3840x2160 monitor, accessibility bus off" --accessibility off
run "one 3840x2160 monitor, accessibility bus on" --accessibility on
if [ "$(id -u)" = 0 ]; then
  run "two 3840x2160 monitors, accessibility bus off" --monitors 2 --accessibility off
else
  echo "two monitors skipped: Xorg's dummy driver runs as root"
fi
qd_finish
