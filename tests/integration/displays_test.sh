#!/usr/bin/env bash
# Display modes on real X servers: two monitors on Xorg with the dummy driver (each switches on
# its own, its neighbour re-placed) and one on Xvfb. A driver runs the model's display operations
# on the real platform; every effect is read back with xrandr. The program itself is checked to
# put the start-up modes back when it quits, to keep its window on its monitor after a smaller
# mode, and to restore the original modes from its crash record after a kill -9.
# Usage: displays_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: displays_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER}
driver=${2:?usage: displays_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER}

qd_init displays

drv_start() { # NAME [NAME=VALUE...]
  qd_driver_start "$1" env "${@:2}" "$driver"
}
# Prints what the driver answers to COMMAND once it matches the extended REGEX (up to 5 s).
drv_until() { # REGEX COMMAND
  qd_wait_for 5 "'$2' to match $1" eval "qd_drive $2 | paste -sd ';' | grep -Eqx '$1'"
  qd_drive "$2"
}

monitors() { echo "$(qd_geometry DUMMY0) $(qd_geometry DUMMY1)"; }
screen_size() { xrandr | sed -n 's/^Screen 0:.* current \([0-9]*\) x \([0-9]*\),.*/\1x\2/p'; }
output_id() { qd_output_ids | sed -n "s/^$1 //p"; }
top_strut() { # the top strut of the first dock window
  local dock
  dock=$(qd_xprobe windows --type dock | head -n 1 | cut -d' ' -f1)
  xprop -id "$dock" _NET_WM_STRUT_PARTIAL | sed -n 's/.*= [0-9]*, [0-9]*, \([0-9]*\),.*/\1/p'
}

if [ "$(id -u)" = 0 ] && command -v Xorg >/dev/null && [ -e /usr/lib/xorg/modules/drivers/dummy_drv.so ]; then
  qd_section "two monitors: the list, names and frames"
  qd_start_desktop --monitors 2
  qd_new_home
  left=$(output_id DUMMY0)
  right=$(output_id DUMMY1)
  start_left=$(qd_geometry DUMMY0)
  start_right=$(qd_geometry DUMMY1)
  start_screen=$(screen_size)
  start_settings=$(xfconf-query -c displays -lv 2>&1)

  # The right monitor names itself in its EDID; the left one has none and goes by its output.
  "$QD_PYTHON" "$(dirname "$0")/set_edid.py" "$right" "Studio 27"
  drv_start two
  qd_check_eq "displays: both outputs by XID, the primary one main, EDID name else output" \
    "display $left main=1 name=DUMMY0;display $right main=0 name=Studio 27;selected $left;" \
    "$(qd_drive displays | tr '\n' ';')"
  strut=$(top_strut)
  qd_check_eq "screens: frames in bottom-left points, the panel's strut cut from the left one only" \
    "screen $left DUMMY0 frame=0,0,1920x1080 visible=0,0,1920x$((1080 - strut)) scale=1 name=DUMMY0;screen $right DUMMY1 frame=1920,0,1920x1080 visible=1920,0,1920x1080 scale=1 name=Studio 27;" \
    "$(qd_drive screens | tr '\n' ';')"
  "$QD_PYTHON" "$(dirname "$0")/set_edid.py" "$left" "Left Panel"
  qd_check "a monitor's new EDID is read again" \
    grep -q "^screen $left DUMMY0 .*name=Left Panel$" <<<"$(drv_until ".*name=Left Panel;.*" screens)"

  qd_section "two monitors of one model: told apart by their connectors"
  "$QD_PYTHON" "$(dirname "$0")/set_edid.py" "$left" "DELL U2720Q"
  "$QD_PYTHON" "$(dirname "$0")/set_edid.py" "$right" "DELL U2720Q"
  drv_start twins
  qd_check_eq "the picker's names differ by connector" \
    "display $left main=1 name=DELL U2720Q (DUMMY0);display $right main=0 name=DELL U2720Q (DUMMY1);selected $left;" \
    "$(qd_drive displays | tr '\n' ';')"
  qd_driver_quit
  qd_driver_use two
  drv_until ".*name=DELL U2720Q;.*" screens >/dev/null

  qd_section "two monitors: a monitor switched off and on again"
  changes=$(qd_drive changes)
  xrandr --output DUMMY1 --off
  qd_check_eq "the screen list follows at once" "screen $left" "$(drv_until "[^;]+" screens | cut -d' ' -f1,2)"
  qd_check "the removal was reported" [ "$(qd_drive changes)" != "$changes" ]
  xrandr --output DUMMY1 --mode 1920x1080 --pos 1920x0
  qd_check_eq "the monitor is back" "$start_right" "$(qd_geometry DUMMY1)"
  qd_check_eq "both screens listed again" 2 "$(drv_until "[^;]+;[^;]+" screens | wc -l)"
  # The model's display list is read once, at start-up.
  qd_check_eq "the display list is kept" 2 "$(qd_drive displays | grep -c '^display ')"

  qd_section "two monitors at Qt's ratio 2 alone (as from a 192-dpi font setting): frames in pixels"
  drv_start qt_scaled QT_SCALE_FACTOR=2
  qd_check_eq "frames and modes as xrandr has them, the strut whole" \
    "screen $left DUMMY0 frame=0,0,1920x1080 visible=0,0,1920x$((1080 - strut)) scale=1;screen $right DUMMY1 frame=1920,0,1920x1080 visible=1920,0,1920x1080 scale=1;mode 3840x2160 current 1920x1080" \
    "$(qd_drive screens | cut -d' ' -f1-6 | tr '\n' ';')$(qd_drive modes | head -n 1 | cut -d' ' -f1,2) $(qd_drive current)"
  qd_driver_quit
  qd_driver_use two

  qd_section "two monitors, the desktop scaling its windows by 2: frames in points"
  drv_start scaled GDK_SCALE=2 QT_SCALE_FACTOR=2
  qd_check_eq "frames where Qt places windows, the strut halved" \
    "screen $left DUMMY0 frame=0,0,960x540 visible=0,0,960x$(awk "BEGIN { print (1080 - $strut) / 2 }") scale=2;screen $right DUMMY1 frame=1920,0,960x540 visible=1920,0,960x540 scale=2;" \
    "$(qd_drive screens | cut -d' ' -f1-6 | tr '\n' ';')"
  qd_check_eq "modes and the current size in points" "mode 1920x1080 current 960x540" \
    "$(qd_drive modes | head -n 1 | cut -d' ' -f1,2) $(qd_drive current)"
  qd_drive apply 640x360 >/dev/null
  qd_check_eq "a size in points switches to its pixels" "1280x720+0+0" "$(qd_geometry DUMMY0)"
  qd_driver_quit
  qd_check_eq "quitting puts the scaled switch back" "$start_left" "$(qd_geometry DUMMY0)"
  qd_driver_use two

  qd_section "two monitors: a switch re-places the neighbour and keeps the arrangement"
  start="$start_left $start_right"
  qd_check_eq "before: side by side, top edges aligned" "1920x1080+0+0 1920x1080+1920+0 3840x1080" \
    "$(monitors) $(screen_size)"
  qd_drive apply 1280x720 >/dev/null
  qd_check_eq "left smaller: the right monitor moves left against it, no gap" \
    "1280x720+0+0 1920x1080+1280+0 3200x1080" "$(monitors) $(screen_size)"
  qd_check_eq "the model shows the new size" "current 1280x720" "$(qd_drive current)"
  qd_check "the monitor change was reported to the program" [ "$(drv_until "changes [1-9][0-9]*" changes)" != "changes 0" ]
  qd_check_eq "frames follow the switch" \
    "screen $left DUMMY0 frame=0,0,1280x720;screen $right DUMMY1 frame=1280,-360,1920x1080;" \
    "$(drv_until "[^;]*frame=0,0,1280x720 .*;[^;]*frame=1280,.*" screens | cut -d' ' -f1-4 | tr '\n' ';')"
  qd_drive apply 2560x1440 >/dev/null
  qd_check_eq "left larger: the right monitor moves right, no overlap" \
    "2560x1440+0+0 1920x1080+2560+0 4480x1440" "$(monitors) $(screen_size)"
  qd_drive restore >/dev/null
  qd_check_eq "reset: the left monitor and its neighbour back as they were" \
    "$start 3840x1080" "$(monitors) $(screen_size)"

  qd_drive select "$right" >/dev/null
  qd_drive apply 1024x768 >/dev/null
  qd_check_eq "right smaller: it stays against the left one, which keeps its place" \
    "1920x1080+0+0 1024x768+1920+0 2944x1080" "$(monitors) $(screen_size)"
  qd_drive apply 2560x1440 >/dev/null
  qd_check_eq "right larger: the same" "1920x1080+0+0 2560x1440+1920+0 4480x1440" \
    "$(monitors) $(screen_size)"
  qd_drive restore >/dev/null
  qd_check_eq "reset puts the right monitor back" "$start 3840x1080" "$(monitors) $(screen_size)"
  qd_check_eq "reset reloads the shown size" "current 1920x1080" "$(qd_drive current)"

  qd_section "two monitors: quitting"
  qd_drive apply 1280x1024 >/dev/null
  qd_drive select "$left" >/dev/null
  qd_drive apply 1280x720 >/dev/null
  qd_check_eq "both switched, still side by side" "1280x720+0+0 1280x1024+1280+0 2560x1024" \
    "$(monitors) $(screen_size)"
  qd_driver_quit
  qd_check_eq "quitting restores both monitors, their places and the screen size" \
    "$start $start_screen" "$(monitors) $(screen_size)"
  qd_check_eq "nothing was written to the desktop's display settings" "$start_settings" \
    "$(xfconf-query -c displays -lv 2>&1)"
  qd_check_eq "after a complete restore no crash record is left" null "$(qd_stored display.originalModes)"

  qd_section "the program puts the start-up modes back when it quits"
  qd_launch_quillet quillet
  qd_wait_for 20 "Quillet's main window" qd_main_window || qd_fail "quillet did not show its main window"
  # Changed behind the program's back: still undone, since the start-up modes win.
  xrandr --output DUMMY1 --mode 1280x720
  qd_check_eq "the outside change took effect" "1280x720+1920+0" "$(qd_geometry DUMMY1)"
  qd_stop_checked
  qd_check_eq "quillet's quit restored the right monitor and left the left one as it was" \
    "$start" "$(monitors)"

  if "$QD_PYTHON" -c 'import pyatspi' 2>/dev/null; then
    atspi=("$QD_PYTHON" "$(dirname "$0")/atspi_drive.py")
    launch_with_window() {
      qd_launch_quillet "$1" QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
      qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
        qd_fail "the main window is not on the accessibility bus"
    }
    # The main window's outer frame lies on the monitor "WxH+X+Y" below its top strut TOP: fully,
    # or, when it is taller than that, from the strut down.
    on_monitor() { # MONITOR TOP
      local frame
      frame=$(qd_outer_frame "$(qd_main_window)") || return 1
      awk -v f="$frame" -v m="$1" -v top="$2" 'BEGIN {
        split(f, a, " "); split(m, b, /[x+]/)
        bottom = b[4] + b[2]
        across = a[1] >= b[3] && a[1] + a[3] <= b[3] + b[1]
        down = a[4] <= bottom - top ? a[2] >= top && a[2] + a[4] <= bottom : a[2] == top
        exit !(across && down)
      }'
    }

    qd_section "the main window stays on its monitor after a smaller mode"
    launch_with_window window
    main=$(qd_main_window)
    # Towards the right edge and down, so that the smaller mode leaves it partly off.
    xdotool windowmove "$main" 1100 250
    qd_wait_for 5 "the main window moved right" eval '[ "$(qd_outer_frame "$main" | cut -d" " -f1)" -ge 1000 ]'
    qd_log "main window before: $(qd_outer_frame "$main") (x y w h)"
    "${atspi[@]}" press "$quillet_pid" "1280 × 720" || qd_fail "no 1280 × 720 tile"
    qd_wait_eq 10 "the tile switched the left monitor; the right one follows" \
      "1280x720+0+0 1920x1080+1280+0" monitors
    qd_check "the main window is moved onto the 1280 × 720 monitor, below the panel" \
      qd_wait_for 5 "the window moved onto its monitor" on_monitor "1280x720+0+0" "$strut"
    qd_log "main window after: $(qd_outer_frame "$main")"

    qd_section "a crash leaves a record of the original modes; the next launch restores them"
    qd_check_eq "the record holds both outputs by connector, with place and rotation" \
      '{"DUMMY0": [1920, 1080, 0, 0, 1], "DUMMY1": [1920, 1080, 1920, 0, 1]}' \
      "$(qd_stored display.originalModes | "$QD_PYTHON" -c 'import json,sys; r = json.load(sys.stdin)
print(json.dumps({k: [v["width"], v["height"], v["x"], v["y"], v["rotation"]] for k, v in r.items()}, sort_keys=True))')"
    qd_stop_process "$quillet_pid" KILL 5
    qd_check_eq "killed: the switch stays" "1280x720+0+0 1920x1080+1280+0" "$(monitors)"
    qd_launch_quillet relaunch
    qd_wait_for 20 "Quillet's main window" qd_main_window || qd_fail "quillet did not show its main window"
    qd_check_eq "the record survives the relaunch until it is used" DUMMY0,DUMMY1 \
      "$(qd_stored display.originalModes | "$QD_PYTHON" -c 'import json,sys; print(",".join(sorted(json.load(sys.stdin))))')"
    qd_stop_checked
    qd_check_eq "relaunch and quit: the user's original modes and places" "$start $start_screen" \
      "$(monitors) $(screen_size)"
    qd_check_eq "the record is gone after the complete restore" null "$(qd_stored display.originalModes)"
  else
    qd_log "pyatspi is not installed: the main-window and crash checks are skipped"
  fi
  qd_stop_desktop
else
  qd_log "two monitors need Xorg with the dummy driver as root; that part is skipped"
fi

qd_section "one monitor on Xvfb"
qd_start_desktop --monitors 1
qd_new_home
output=$(xrandr | sed -n 's/^\([^ ]*\) connected.*/\1/p' | head -n 1)
start=$(qd_geometry "$output")
drv_start one
qd_drive apply 1280x720 >/dev/null
qd_check_eq "Xvfb switched" "1280x720+0+0" "$(qd_geometry "$output")"
qd_driver_quit
qd_check_eq "quitting restores the start-up mode" "$start" "$(qd_geometry "$output")"
qd_stop_desktop

qd_finish
