#!/usr/bin/env bash
# Start-up benchmark: time from launch to the main window being mapped, and the resident memory
# once it is shown, over several launches on the virtual desktop. Prints figures; asserts nothing.
# Usage: bench/startup.sh [PATH-TO-QUILLET] [RUNS]
set -uo pipefail

source "$(dirname "$0")/../tests/support/desktop/lib.sh"

quillet=${1:-$QD_REPO/build/quillet}
runs=${2:-5}

qd_init bench_startup
qd_start_desktop

times=()
rss=()
for ((i = 1; i <= runs; i++)); do
  qd_new_home
  start=$(date +%s%N)
  qd_launch quillet_pid "$QD_TMP/startup-$i.log" env QT_QPA_PLATFORM=xcb "$quillet"
  if ! qd_wait_for 20 "the main window" xdotool search --onlyvisible --name '^Quillet$'; then
    echo "run $i: the main window never appeared" >&2
    qd_stop_process "$quillet_pid" TERM 10 || true
    continue
  fi
  shown=$(date +%s%N)
  times+=($(((shown - start) / 1000000)))
  sleep 0.5
  rss+=($(awk '/^VmRSS/ {print $2}' "/proc/$quillet_pid/status"))
  qd_stop_process "$quillet_pid" TERM 10 || true
done

summary() { # NAME UNIT VALUES...
  local name=$1 unit=$2
  shift 2
  printf '%s\n' "$@" | sort -n | awk -v name="$name" -v unit="$unit" \
    '{v[NR]=$1; s+=$1} END {if (NR) printf "%-28s median %6d %s   min %6d   max %6d   (n=%d)\n", name, v[int((NR+1)/2)], unit, v[1], v[NR], NR}'
}
echo
summary "launch → main window mapped" ms "${times[@]}"
summary "resident memory when shown" KiB "${rss[@]}"
qd_finish
