#!/usr/bin/env bash
# Start-up benchmark: time from launch to the main window being mapped, the CPU time spent until
# then, and the resident memory once it is shown, over several launches on the virtual desktop,
# alternating with a bare Qt window (bench_bare_window) in the same run; prints both and their
# ratio. Asserts nothing.
# Usage: bench/startup.sh [PATH-TO-QUILLET] [RUNS] [PATH-TO-BARE-WINDOW]
set -uo pipefail

source "$(dirname "$0")/../tests/support/desktop/lib.sh"

quillet=${1:-$QD_REPO/build/quillet}
runs=${2:-5}
bare=${3:-$(dirname "$quillet")/bench/bench_bare_window}
[ -x "$bare" ] || { echo "no bare window program at $bare (build bench_bare_window)" >&2; exit 1; }

qd_init bench_startup
qd_start_desktop

# One launch of COMMAND until a visible window titled TITLE is mapped; appends the time to
# launch → mapped (ms), the CPU time used by then (ms) and the resident memory (KiB) to the arrays
# named PREFIX_times, PREFIX_cpu and PREFIX_rss.
measure() { # PREFIX TITLE COMMAND...
  local prefix=$1 title=$2 start shown child ticks ready
  shift 2
  qd_new_home
  # The moment of mapping comes from the X server's event, seen by an outside client that
  # watches before the launch.
  coproc WATCH { "$QD_PYTHON" "$(dirname "$0")/map_wait.py" "$title" 20; }
  read -r ready <&"${WATCH[0]}"
  start=$(date +%s%N)
  qd_launch child "$QD_TMP/$prefix-$i.log" env QT_QPA_PLATFORM=xcb "$@"
  if ! read -r shown <&"${WATCH[0]}" || [ -z "$shown" ]; then
    echo "run $i: the $prefix window never appeared" >&2
    qd_stop_process "$child" TERM 10 || true
    return
  fi
  wait "$WATCH_PID" 2>/dev/null
  # utime + stime, in clock ticks, right after the window appeared.
  ticks=$(awk '{print $14 + $15}' "/proc/$child/stat")
  eval "${prefix}_times+=($(((shown - start) / 1000000)))"
  eval "${prefix}_cpu+=($((ticks * 1000 / $(getconf CLK_TCK))))"
  sleep 0.5
  eval "${prefix}_rss+=($(awk '/^VmRSS/ {print $2}' "/proc/$child/status"))"
  qd_stop_process "$child" TERM 10 || true
}

load_before=$(cut -d' ' -f1-3 /proc/loadavg)
quillet_times=() quillet_cpu=() quillet_rss=() bare_times=() bare_cpu=() bare_rss=()
for ((i = 1; i <= runs; i++)); do
  measure bare Bare "$bare"
  measure quillet Quillet "$quillet"
done

summary() { # NAME UNIT VALUES...
  local name=$1 unit=$2
  shift 2
  printf '%s\n' "$@" | sort -n | awk -v name="$name" -v unit="$unit" \
    '{v[NR]=$1; s+=$1} END {if (NR) printf "%-28s median %6d %s   min %6d   max %6d   (n=%d)\n", name, v[int((NR+1)/2)], unit, v[1], v[NR], NR}'
}
median() { printf '%s\n' "$@" | sort -n | awk '{v[NR]=$1} END {if (NR) print v[int((NR+1)/2)]; else print 0}'; }
echo
summary "quillet: launch → mapped" ms "${quillet_times[@]}"
summary "bare Qt: launch → mapped" ms "${bare_times[@]}"
summary "quillet: CPU until mapped" ms "${quillet_cpu[@]}"
summary "bare Qt: CPU until mapped" ms "${bare_cpu[@]}"
summary "quillet: resident memory" KiB "${quillet_rss[@]}"
summary "bare Qt: resident memory" KiB "${bare_rss[@]}"
q=$(median "${quillet_times[@]}") b=$(median "${bare_times[@]}")
qc=$(median "${quillet_cpu[@]}") bc=$(median "${bare_cpu[@]}")
echo "load average (1, 5, 15 min): $load_before before, $(cut -d' ' -f1-3 /proc/loadavg) after"
awk -v q="$q" -v b="$b" -v qc="$qc" -v bc="$bc" -v n="${#quillet_times[@]}" 'BEGIN {
  if (b > 0) printf "RATIO launch → mapped, quillet / bare Qt (medians, n=%d): %.2f×   (goal: at most 1.50×)\n", n, q / b
  if (bc > 0) printf "ratio CPU until mapped (median): %.2f×\n", qc / bc }'
qd_finish
