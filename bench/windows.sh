#!/usr/bin/env bash
# Window benchmark on the virtual desktop: the window list with 5 and with 50 sample windows open
# and one arrangement, through our code.
# Prints figures only. Usage: bench/windows.sh [PATH-TO-BENCH_WINDOWS] [RUNS]
set -uo pipefail

source "$(dirname "$0")/../tests/support/desktop/lib.sh"

bench=${1:-$QD_REPO/build/bench/bench_windows}
runs=${2:-20}

qd_init bench_windows
qd_start_desktop --monitors 1
qd_new_home


sample=("$QD_PYTHON" "$QD_SUPPORT/sample_windows.py")
open_windows() { # COUNT PREFIX
  local specs=() i
  for ((i = 1; i <= $1; i++)); do specs+=("$2 $i@300x200+$((40 + 20 * i))+$((60 + 10 * i))"); done
  qd_launch sample_pid "$QD_TMP/$2.log" "${sample[@]}" "${specs[@]}"
  qd_wait_for 30 "$1 sample windows" sh -c "[ \$(xdotool search --name '^$2 ' | wc -l) -ge $1 ]"
}

for count in 5 50; do
  qd_section "$count windows"
  open_windows "$count" "Bench$count"
  sleep 1
  id=$(xdotool search --name "^Bench$count 1\$" | head -n 1)
  QT_QPA_PLATFORM=xcb QUILLET_BENCH_WINDOW=$id "$bench" --benchmark_counters_tabular=true
  qd_stop_process "$sample_pid" TERM 5 || true
done
qd_finish
