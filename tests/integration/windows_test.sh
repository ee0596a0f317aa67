#!/usr/bin/env bash
# Other applications' windows on a real Xfce desktop: the list holds only ordinary windows of
# other programs, grouped by application and named from their desktop entries; every region,
# fill, a preset and a custom size put the outer frame exactly on the visible frame of the
# monitor that holds the window, below the panel; a maximised window is arranged too; minimising
# hides the window and selects the first remaining one; windows on other workspaces are left out
# and each application's windows are listed front to back.
# Usage: windows_test.sh [IGNORED]; QUILLET_WINDOW_DRIVER names the driver executable.
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

driver=${QUILLET_WINDOW_DRIVER:-$QD_REPO/build/tests/integration/driver/quillet_window_driver}
[ -x "$driver" ] || {
  echo "not executable: $driver (set QUILLET_WINDOW_DRIVER)" >&2
  exit 1
}

qd_init windows
# Two monitors need Xorg with the dummy driver, which runs only as root.
monitor_count=1
[ "$(id -u)" != 0 ] || monitor_count=2
qd_start_desktop --monitors "$monitor_count"
qd_new_home

# --- the desktop's geometry, read back independently of the program ---------------------------

# "w h x y" of each monitor, in RandR's order.
mapfile -t monitors < <(xrandr --listmonitors | awk 'NR > 1 {split($3, a, /[\/x+]/); print a[1], a[3], a[5], a[6]}')

# Top struts of the dock windows: "top start-x end-x" per dock.
dock_struts() {
  local id
  for id in $(xprop -root _NET_CLIENT_LIST | sed 's/.*# //; s/,//g'); do
    xprop -id "$id" _NET_WM_WINDOW_TYPE | grep -q _NET_WM_WINDOW_TYPE_DOCK || continue
    xprop -id "$id" _NET_WM_STRUT_PARTIAL | sed -n 's/.*= //p' | tr -d , |
      awk '{print $3, $9, $10}'
  done
}
mapfile -t struts < <(dock_struts)
qd_check "the panel reserves a top strut" test "${#struts[@]}" -ge 1

# "x y w h" (root = global top-left coordinates here) of a monitor less the top struts over it.
visible_frame() { # W H X Y
  local w=$1 h=$2 x=$3 y=$4 top=$4 strut
  for strut in "${struts[@]}"; do
    set -- $strut
    if [ "$1" -gt "$top" ] && [ "$2" -lt $((x + w)) ] && [ "$3" -ge "$x" ]; then top=$1; fi
  done
  echo "$x $top $w $((h - (top - y)))"
}

# The expected outer frame of an arrangement (or "resize W H") on a visible frame. Positions
# round to the nearest pixel and sizes down, as the program hands them to the X server.
expected_frame() { # VX VY VW VH ARRANGEMENT [W H]
  awk -v x="$1" -v y="$2" -v w="$3" -v h="$4" -v a="$5" -v rw="${6:-0}" -v rh="${7:-0}" 'BEGIN {
    hw = w * 0.5; hh = h * 0.5; mx = x + w / 2; my = y + h / 2
    if (a == "fill")             { X = x;  Y = y;  W = w;  H = h }
    else if (a == "leftHalf")    { X = x;  Y = y;  W = hw; H = h }
    else if (a == "rightHalf")   { X = mx; Y = y;  W = hw; H = h }
    else if (a == "topHalf")     { X = x;  Y = y;  W = w;  H = hh }
    else if (a == "bottomHalf")  { X = x;  Y = my; W = w;  H = hh }
    else if (a == "topLeft")     { X = x;  Y = y;  W = hw; H = hh }
    else if (a == "topRight")    { X = mx; Y = y;  W = hw; H = hh }
    else if (a == "bottomLeft")  { X = x;  Y = my; W = hw; H = hh }
    else if (a == "bottomRight") { X = mx; Y = my; W = hw; H = hh }
    else if (a == "resize") {
      W = rw < w ? rw : w; H = rh < h ? rh : h
      X = mx - W * 0.5; Y = my - H * 0.5
    }
    printf "%d %d %d %d\n", int(X + 0.5), int(Y + 0.5), int(W), int(H)
  }'
}

window_id() { # EXACT-TITLE
  xdotool search --name "^$1\$" 2>/dev/null | head -n 1 | grep .
}
titles() { sed -n 's/^window [^ ]* [*-] [^\t]*\t//p' | paste -sd '|'; }
selected() { sed -n 's/^window [^ ]* \(.\) .*/\1/p' | paste -sd ''; }

# --- sample applications -----------------------------------------------------------------------

mkdir -p "$XDG_DATA_HOME/applications"
printf '[Desktop Entry]\nType=Application\nName=Sample Notes\nExec=true\n' \
  >"$XDG_DATA_HOME/applications/org.quillet.SampleNotes.desktop"

read -r m0w m0h m0x m0y <<<"${monitors[0]}"
read -r m1w m1h m1x m1y <<<"${monitors[$((${#monitors[@]} - 1))]}"
left_at() { echo "$((m0x + 100 + $1))+$((m0y + 150 + $1))"; }
right_at() { echo "$((m1x + m1w / 2 + $1))+$((m1y + 200 + $1))"; }

sample=("$QD_PYTHON" "$QD_SUPPORT/sample_windows.py")
qd_launch notes_pid "$QD_TMP/notes.log" "${sample[@]}" --app-id org.quillet.SampleNotes \
  "Notes left@500x300+$(left_at 0)" "Notes right@500x300+$(right_at 0)"
qd_wait_for 15 "the Notes windows" window_id "Notes right"
qd_launch sketch_pid "$QD_TMP/sketch.log" "${sample[@]}" --class sample-sketch \
  "Sketch left@400x250+$(left_at 60)" "Sketch right@400x250+$(right_at 60)"
qd_launch dialog_pid "$QD_TMP/dialog.log" "${sample[@]}" --type dialog "Filter dialog@300x200"
qd_launch utility_pid "$QD_TMP/utility.log" "${sample[@]}" --type utility "Filter utility@300x200"
qd_launch skip_pid "$QD_TMP/skip.log" "${sample[@]}" --skip-taskbar "Filter skip@300x200"
for title in "Sketch right" "Filter dialog" "Filter utility" "Filter skip"; do
  qd_check "the window '$title' appears" qd_wait_for 15 "the window '$title'" window_id "$title"
done
sleep 0.5

qd_section "the list holds only ordinary windows of other programs"
listing=$("$driver" own-window "Driver window" refresh list 2>"$QD_TMP/driver-list.log")
qd_check "the driver's own window was managed while it listed" grep -q '^own 0x[0-9a-f]* managed$' <<<"$listing"
# Each application's windows front to back: the one opened later is on top.
qd_check_eq "listed titles, grouped by application, front window first" \
  "Notes right|Notes left|Sketch right|Sketch left" "$(titles <<<"$listing")"
apps=$(sed -n 's/^window [^ ]* [*-] \([^\t]*\)\t.*/\1/p' <<<"$listing" | paste -sd '|')
qd_check_eq "application names: desktop entry, else window class" \
  "Sample Notes|Sample Notes|Sample-sketch|Sample-sketch" "$apps"
qd_check_eq "the first window is selected" "*---" "$(selected <<<"$listing")"


# Arranges window ID (or resizes it: "resize W H") and checks its outer frame on VISIBLE.
check_arranged() { # WHAT ID VISIBLE ARRANGEMENT
  set -- "$1" "$2" "$3" $4
  if [ "$4" = resize ]; then
    "$driver" select "$2" resize "$5" "$6" >/dev/null 2>>"$QD_TMP/driver.log"
  else
    "$driver" select "$2" arrange "$4" >/dev/null 2>>"$QD_TMP/driver.log"
  fi
  # shellcheck disable=SC2086
  qd_wait_eq 5 "$1: ${*:4}" "$(expected_frame $3 "${@:4}")" qd_outer_frame "$2"
}
check_window() { # TITLE MONITOR-INDEX
  local id visible a
  id=$(window_id "$1") || {
    qd_fail "no window '$1'"
    return
  }
  visible=$(visible_frame ${monitors[$2]})
  for a in fill leftHalf rightHalf topHalf bottomHalf topLeft topRight bottomLeft bottomRight \
    "resize 1280 800" "resize 1000.5 700"; do
    check_arranged "'$1' on monitor $2 ($visible)" "$id" "$visible" "$a"
  done
}

last=$((${#monitors[@]} - 1))
check_window "Notes left" 0
check_window "Sketch left" 0
check_window "Notes right" "$last"
check_window "Sketch right" "$last"

qd_section "a maximised window is arranged"
qd_launch max_pid "$QD_TMP/max.log" "${sample[@]}" --class sample-max --maximized "Maximised@300x200+$(right_at 0)"
maximised() { xprop -id "$(window_id Maximised)" _NET_WM_STATE | grep -q MAXIMIZED_VERT; }
qd_wait_for 15 "the maximised window" maximised
max_id=$(window_id Maximised)
check_arranged "maximised window" "$max_id" "$(visible_frame ${monitors[$last]})" leftHalf
qd_check "no longer maximised" sh -c "! xprop -id $max_id _NET_WM_STATE | grep -q MAXIMIZED"


qd_section "minimising hides the window and selects the first remaining one"
notes_right=$(window_id "Notes right")
after=$("$driver" select "$notes_right" hide list 2>>"$QD_TMP/driver.log")
qd_check "the window is hidden" sh -c "xprop -id $notes_right _NET_WM_STATE | grep -q _NET_WM_STATE_HIDDEN"
qd_check_eq "the hidden window left the list" "Notes left|Sketch right|Sketch left|Maximised" "$(titles <<<"$after")"
qd_check_eq "the first remaining window is selected" "*---" "$(selected <<<"$after")"


qd_section "titles and application names fall back as the window allows"
sketch_right=$(window_id "Sketch right")
xprop -id "$sketch_right" -remove _NET_WM_NAME
xprop -id "$sketch_right" -f WM_NAME 8s -set WM_NAME "Sketch legacy"
for property in _NET_WM_NAME WM_NAME WM_CLASS; do xprop -id "$max_id" -remove "$property"; done
names=$("$driver" list 2>>"$QD_TMP/driver.log" | sed -n 's/^window [^ ]* [*-] //p' | tr '\t' '/' | paste -sd '|')
qd_check_eq "WM_NAME without _NET_WM_NAME; no name and no class" \
  "Sample Notes/Notes left|Sample-sketch/Sketch legacy|Sample-sketch/Sketch left|App/" "$names"

qd_section "only the current workspace and sticky windows; each application front to back"
on_desktop() { [ "$(xprop -id "$1" _NET_WM_DESKTOP | sed -n 's/.*= //p')" = "$2" ]; }
notes_left=$(window_id "Notes left")
sketch_left=$(window_id "Sketch left")
xdotool set_desktop_for_window "$sketch_left" 1
qd_wait_for 5 "Sketch left on the second workspace" on_desktop "$sketch_left" 1
# 0xFFFFFFFF: on every workspace.
xdotool set_desktop_for_window "$notes_left" -1
qd_wait_for 5 "Notes left on every workspace" on_desktop "$notes_left" 4294967295
qd_check_eq "a window on another workspace is not listed; a sticky one is" \
  "Notes left|Sketch legacy|" "$("$driver" list 2>>"$QD_TMP/driver.log" | titles)"
xdotool set_desktop 1
qd_wait_eq 5 "the second workspace is shown" 1 sh -c "xprop -root _NET_CURRENT_DESKTOP | sed 's/.*= //'"
qd_check_eq "on the second workspace: its own window and the sticky one" \
  "Notes left|Sketch left" "$("$driver" list 2>>"$QD_TMP/driver.log" | titles)"
xdotool set_desktop 0
xdotool set_desktop_for_window "$sketch_left" 0
qd_wait_for 5 "Sketch left back on the first workspace" on_desktop "$sketch_left" 0

# The front window of an application comes first, as _NET_CLIENT_LIST_STACKING has it.
for front in "$sketch_left" "$sketch_right"; do
  xdotool windowraise "$front"
  qd_wait_for 10 "window $front on top of the stacking list" \
    sh -c "xprop -root _NET_CLIENT_LIST_STACKING | sed 's/.*, //' | grep -qi \"^$(printf '0x%x' "$front")\$\""
  first_sketch=$("$driver" list 2>>"$QD_TMP/driver.log" | sed -n 's/^window \([^ ]*\) [*-] Sample-sketch\t.*/\1/p' | head -n 1)
  qd_check_eq "the raised Sketch window is that application's first row" "$front" "$((first_sketch))"
done

qd_section "sizes in X pixels at 96, 120 and 192 dpi, divided only by the desktop's window scaling"
# Xfce's settings daemon publishes the DPI (Xft.dpi, from which Qt derives its device pixel
# ratio) and the window-scaling factor (XSETTINGS); both are changed while the desktop runs.
qd_launch xsettings_pid "$QD_TMP/xfsettingsd.log" xfsettingsd --sm-client-disable --no-daemon
qd_wait_for 10 "the XSETTINGS manager" qd_xprobe owner _XSETTINGS_S0 || qd_fail "xfsettingsd did not start"
notes_left=$(window_id "Notes left")
size_of() { qd_outer_frame "$1" | cut -d' ' -f3,4; }
xft_dpi() { xrdb -query | sed -n 's/^Xft.dpi:[[:space:]]*//p'; }
for setting in "96 1" "120 1" "192 1" "96 2"; do
  read -r dpi scale <<<"$setting"
  xfconf-query -c xsettings -p /Xft/DPI -n -t int -s "$dpi"
  xfconf-query -c xsettings -p /Gdk/WindowScalingFactor -n -t int -s "$scale"
  qd_wait_eq 10 "Xft.dpi is $dpi" "$dpi" xft_dpi
  # Qt's ratio follows the font DPI; every size follows xrandr, divided by the scaling factor.
  ratio=$(awk -v d="$dpi" 'BEGIN { printf "%g", d / 96 }')
  points="$((m0w / scale))x$((m0h / scale))"
  sizes() { "$driver" sizes 2>>"$QD_TMP/driver.log" | cut -d' ' -f1-4,7-10; }
  qd_wait_eq 10 "at $dpi dpi, scaling $scale: the screen, the current size and its tile (xrandr ${m0w}x${m0h})" \
    "ratio $ratio screen $points current $points tile $points" sizes
  "$driver" select "$notes_left" resize $((1280 / scale)) $((800 / scale)) >/dev/null 2>>"$QD_TMP/driver.log"
  qd_wait_eq 5 "at $dpi dpi, scaling $scale: resized to $((1280 / scale)) × $((800 / scale)) is 1280 × 800 pixels (xwininfo)" \
    "1280 800" size_of "$notes_left"
done
qd_stop_process "$xsettings_pid" TERM 10 || qd_fail "xfsettingsd did not stop"

qd_finish
