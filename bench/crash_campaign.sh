#!/usr/bin/env bash
# The kill campaign: every kind of change (icons, colour, picture, the bar covered entirely or
# item by item, everything at once, a display mode on each monitor) killed with SIGKILL at
# start-up, just after the change, with a monitor switched off and during quit, on the
# two-monitor Xfce test desktop; each run then relaunched with "Restore settings on launch" off
# and quit. Prints the runs fully restored after that relaunch and quit, and a table of what a
# user who never relaunches keeps after each kill.
# Usage: bench/crash_campaign.sh [PATH-TO-QUILLET]
repo=$(cd "$(dirname "$0")/.." && pwd)
QUILLET_CRASH_ROWS="" \
  QUILLET_CRASH_TWO_MONITOR_ROWS=${QUILLET_CRASH_TWO_MONITOR_ROWS:-"icons colour image cover-entire cover-items everything modes"} \
  QUILLET_CRASH_MOMENTS=${QUILLET_CRASH_MOMENTS:-"startup change switchoff quit"} \
  QUILLET_CRASH_LEFT=1 \
  exec bash "$repo/tests/integration/crash_matrix_test.sh" "${1:-$repo/build/quillet}"
