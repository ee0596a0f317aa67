#!/usr/bin/env bash
# The wallpaper test's kill campaign with many trials: kill -9 at start-up, after a change and
# during quit (colour, picture with a covered panel, Keep with a covered panel, colour with
# hidden items), then a relaunch with "Restore settings on launch" off and a quit, on the
# two-monitor Xfce test desktop with per-workspace pictures, a plain colour and a slideshow.
# Prints "kill trials: N runs, M fully restored after relaunch and quit".
# Usage: bench/wallpaper_kills.sh [PATH-TO-QUILLET] [TRIALS]
repo=$(cd "$(dirname "$0")/.." && pwd)
QUILLET_WALLPAPER_KILLS_ONLY=1 QUILLET_WALLPAPER_KILLS=${2:-30} \
  exec bash "$repo/tests/integration/wallpaper_test.sh" "${1:-$repo/build/quillet}"
