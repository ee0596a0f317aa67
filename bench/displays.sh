#!/usr/bin/env bash
# Display benchmark on the virtual desktop (two dummy-driver monitors when run as root, else
# Xvfb): the screen list, the offered resolutions and a switch with its restore through our
# code, then the same switch and restore done with the xrandr command. Prints figures only.
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
start=$(xrandr | sed -n "/^$output /,/^[^ ]/s/^ *\([0-9]*x[0-9]*\) .*\*.*/\1/p" | head -n 1)
smallest=$(xrandr | sed -n "/^$output /,/^[^ ]/s/^ \{3\}\([0-9]*x[0-9]*\) .*/\1/p" | tail -n 1)
t0=$(date +%s%N)
for ((i = 0; i < runs; i++)); do
  xrandr --output "$output" --mode "$smallest"
  xrandr --output "$output" --mode "$start"
done
t1=$(date +%s%N)
echo
printf 'xrandr command, %s %s -> %s and back: %.2f ms per switch and restore (n=%d)\n' \
  "$output" "$start" "$smallest" "$(echo "($t1 - $t0) / 1000000 / $runs" | bc -l)" "$runs"
qd_finish
