#!/usr/bin/env bash
# Display benchmark on the virtual desktop (two dummy-driver monitors when run as root, else
# Xvfb): the screen list, the offered resolutions and a switch with its restore through our
# code (the neighbour re-placed in the same transaction), then the same switch and restore done
# with xrandr commands. Prints figures only.
# Usage: bench/displays.sh [PATH-TO-BENCH_DISPLAYS] [RUNS]
set -uo pipefail

source "$(dirname "$0")/../tests/support/desktop/lib.sh"

bench=${1:-$QD_REPO/build/bench/bench_displays}
runs=${2:-20}

qd_init bench_displays
if [ "$(id -u)" = 0 ]; then
  qd_start_desktop --monitors 2
else
  qd_start_desktop --monitors 1
fi

QT_QPA_PLATFORM=xcb "$bench" --benchmark_counters_tabular=true

output=$(xrandr | sed -n 's/^\([^ ]*\) connected primary.*/\1/p' | head -n 1)
[ -n "$output" ] || output=$(xrandr | sed -n 's/^\([^ ]*\) connected.*/\1/p' | head -n 1)
# The other lit output, right of the main one (two monitors only).
neighbour=$(xrandr | sed -n 's/^\([^ ]*\) connected [^(]*+\([0-9]*\)+[0-9]* .*/\1 \2/p' | grep -v "^$output " | head -n 1)
start=$(xrandr | sed -n "/^$output /,/^[^ ]/s/^ *\([0-9]*x[0-9]*\) .*\*.*/\1/p" | head -n 1)
smallest=$(xrandr | sed -n "/^$output /,/^[^ ]/s/^ \{3\}\([0-9]*x[0-9]*\) .*/\1/p" | tail -n 1)
before=$(xrandr --listmonitors | tail -n +2)
if [ -n "$neighbour" ]; then
  # Each xrandr command switches the main output and moves its neighbour against it, as our
  # single transaction does.
  other=${neighbour%% *}
  switch=(xrandr --output "$output" --mode "$smallest" --output "$other" --pos "${smallest%x*}x0")
  back=(xrandr --output "$output" --mode "$start" --output "$other" --pos "${start%x*}x0")
else
  switch=(xrandr --output "$output" --mode "$smallest")
  back=(xrandr --output "$output" --mode "$start")
fi
t0=$(date +%s%N)
for ((i = 0; i < runs; i++)); do
  "${switch[@]}"
  "${back[@]}"
done
t1=$(date +%s%N)
echo
printf 'xrandr commands, %s %s -> %s and back%s: %.2f ms per switch and restore (n=%d)\n' \
  "$output" "$start" "$smallest" "${neighbour:+, ${neighbour%% *} re-placed}" \
  "$(echo "($t1 - $t0) / 1000000 / $runs" | bc -l)" "$runs"
[ "$(xrandr --listmonitors | tail -n +2)" = "$before" ] || echo "warning: the monitors did not come back as they were"
qd_finish
