#!/usr/bin/env bash
# Panel cover benchmark on a 7680 × 2160 test desktop: toggling an item until the new masks are
# on screen (one and two 3840 × 2160 monitors, cached captures), and captures of a monitor and
# of the panel strip beside a bare MIT-SHM GetImage. Prints figures only.
# Usage: bench/cover.sh [PATH-TO-BENCH_COVER]
set -uo pipefail

source "$(dirname "$0")/../tests/support/desktop/lib.sh"

bench=${1:-$QD_REPO/build/bench/bench_cover}

qd_init bench_cover
qd_start_desktop --size 7680x2160
qd_new_home
QT_QPA_PLATFORM=xcb "$bench" --benchmark_counters_tabular=true
qd_finish
