#!/usr/bin/env bash
# Desktop pictures on real desktops. With xfdesktop: the colour choice (or a chosen picture that only
# another workspace showed) shows on every monitor and workspace, switching off and quitting put each
# workspace's own picture and style back, after kill -9 the next launch puts every workspace's own
# picture and style back. Without a desktop program: the colour goes into the root pixmap and the
# previous root picture comes back on quit.
# Usage: wallpaper_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: wallpaper_test.sh PATH-TO-QUILLET}
tray=("$QD_PYTHON" "$(dirname "$0")/tray_menu.py")
# Two monitors need Xorg with the dummy driver, which only root can start.
monitors=1
[ "$(id -u)" = 0 ] && command -v Xorg >/dev/null && monitors=2

qd_init wallpaper

support_dir() { echo "$XDG_DATA_HOME/Quillet"; }
# The main window sits in the middle of a monitor; it goes out of the way of the screenshots.
main_window_minimized() {
  local id
  id=$(qd_main_window) || return 0
  xdotool windowminimize "$id" 2>/dev/null
  return 1
}
minimize_main_window() {
  qd_wait_for 10 "the main window" qd_main_window || return 0
  qd_wait_for 10 "the main window minimized" main_window_minimized
}

# Output names of the monitors, as xfdesktop keys its settings.
monitor_outputs() { xrandr --listmonitors | awk 'NR > 1 { print $NF }'; }
# "NAME RRGGBB" for the colour in the middle of every monitor.
centres() {
  local name w h x y
  xrandr --listmonitors | sed -n 's/^ *[0-9]*: [+*]*\([^ ]*\) \([0-9]*\)\/[0-9]*x\([0-9]*\)\/[0-9]*+\([0-9]*\)+\([0-9]*\).*/\1 \2 \3 \4 \5/p' |
    while read -r name w h x y; do echo "$name $(qd_pixel $((x + w / 2)) $((y + h / 2)))"; done
}
check_centres() { # WHAT RRGGBB
  qd_wait_eq 15 "$1 in the middle of every monitor" "$(monitor_outputs | sed "s/\$/ $2/")" centres
}

# --- Xfce ----------------------------------------------------------------------------------

backdrop() { echo "/backdrop/screen0/monitor$1/workspace$2"; }
workspaces() { seq 0 $(($(xprop -root _NET_NUMBER_OF_DESKTOPS | awk '{ print $NF }') - 1)); }
# "OUTPUT WORKSPACE VALUE" of PROPERTY for every workspace of every monitor; with VALUE, what it
# is when every workspace has VALUE (workspace 1 has VALUE-1 when given).
backdrops() { # PROPERTY [VALUE [VALUE-1]]
  local output w value
  for output in $(monitor_outputs); do
    for w in $(workspaces); do
      if [ $# = 1 ]; then
        value=$(qd_xfconf_get xfce4-desktop "$(backdrop "$output" "$w")/$1")
      elif [ "$w" = 1 ] && [ $# = 3 ]; then value=$3; else value=$2; fi
      echo "$output $w $value"
    done
  done
}
check_everywhere() { # WHAT FILE
  qd_wait_eq 15 "$1 on every workspace" "$(backdrops last-image "$2")" backdrops last-image
}
# Gives every workspace of every monitor FILE in STYLE (workspace 1 FILE-1 in STYLE-1 when given).
set_backdrops() { # FILE STYLE [FILE-1 STYLE-1]
  local output w file style
  for output in $(monitor_outputs); do
    for w in $(workspaces); do
      file=$1 style=$2
      [ "$w" != 1 ] || [ $# != 4 ] || { file=$3 style=$4; }
      xfconf-query -c xfce4-desktop -p "$(backdrop "$output" "$w")/last-image" -n -t string -s "$file"
      xfconf-query -c xfce4-desktop -p "$(backdrop "$output" "$w")/image-style" -n -t int -s "$style"
    done
  done
}
check_varied() { # WHAT
  qd_wait_eq 15 "$1: each workspace's own picture" "$(backdrops last-image "$mine" "$mine2")" backdrops last-image
  qd_check_eq "$1: each workspace's own style" "$(backdrops image-style 5 4)" "$(backdrops image-style)"
}

# The RandR output ids of the monitors, by which Quillet keys its records.
monitor_ids() { qd_output_ids | grep -wFf <(monitor_outputs); }
output_ids_record() { # FILE -> the expected record: every monitor's output id to FILE
  "$QD_PYTHON" -c 'import json,sys; print(json.dumps({i: sys.argv[1] for i in sys.argv[2:]}, sort_keys=True))' \
    "$1" $(monitor_ids | cut -d' ' -f2)
}

xfce_colour_switch_off_and_quit() {
  qd_section "xfdesktop: colour on every monitor and workspace; switching off and quitting restore"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "pref.showInMenuBar": true,
                      "state.background": "color", "state.backgroundColor": "#C0392B"}'
  qd_launch_quillet quillet-colour
  local colour_file
  colour_file=$(support_dir)/quillet-color-1.png
  check_everywhere "the colour picture" "$colour_file"
  qd_check_eq "the support folder is private" 700 "$(stat -c %a "$(support_dir)")"
  qd_check_eq "picture style zoomed" 5 "$(qd_xfconf_get xfce4-desktop "$(backdrop "$(monitor_outputs | head -n 1)" 1)/image-style")"
  qd_check_eq "the record names the user's picture for every monitor" \
    "$(output_ids_record "$mine")" "$(qd_stored wallpaper.originalURLs)"
  minimize_main_window
  check_centres "colour shown" C0392B

  if qd_wait_for 15 "Quillet's tray icon" "${tray[@]}" layout "$quillet_pid"; then
    "${tray[@]}" click "$quillet_pid" Enabled
    check_varied "after switching off"
    qd_check_eq "the record is gone after switching off" null "$(qd_stored wallpaper.originalURLs)"
    check_centres "user's picture shown after switching off" 336699
  else
    qd_fail "no tray icon registered by quillet"
  fi
  qd_stop_checked
  check_varied "after quitting while switched off"

  qd_section "xfdesktop: quitting restores"
  qd_launch_quillet quillet-quit
  check_everywhere "the colour picture on the second launch" "$colour_file"
  qd_stop_checked
  check_varied "after quitting"
  qd_check_eq "no record after quitting" null "$(qd_stored wallpaper.originalURLs)"
  check_centres "user's picture shown after quitting" 336699
}

xfce_killed_then_relaunched() {
  qd_section "xfdesktop: after kill -9 the next launch and quit restore every workspace"
  set_backdrops "$mine" 5 "$mine2" 4
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#2E8B57"}'
  qd_launch_quillet quillet-killed
  local colour_file
  colour_file=$(support_dir)/quillet-color-1.png
  check_everywhere "the colour before kill -9" "$colour_file"
  qd_stop_process "$quillet_pid" KILL 10
  check_everywhere "the colour stays after kill -9" "$colour_file"
  qd_check_eq "the record survives kill -9" "$(output_ids_record "$mine")" \
    "$(qd_stored wallpaper.originalURLs)"

  # The next run shows no colour of its own, so only the record can bring the picture back.
  qd_write_defaults "{\"wallpaper.originalURLs\": $(qd_stored wallpaper.originalURLs)}"
  qd_launch_quillet quillet-after-kill
  qd_wait_for 15 "quillet's main window" qd_main_window || qd_fail "no main window after relaunch"
  qd_stop_checked
  check_varied "after relaunch and quit"
  qd_check_eq "no record after relaunch and quit" null "$(qd_stored wallpaper.originalURLs)"
}

image_follows_the_appearance() {
  qd_section "xfdesktop: the light or dark picture follows the XSETTINGS theme"
  command -v xfsettingsd >/dev/null || {
    qd_log "xfsettingsd is not installed; appearance section skipped"
    return 0
  }
  qd_new_home
  qd_write_defaults "{\"pref.restoreOnLaunch\": true, \"state.background\": \"image\",
                      \"lightWallpaperURL\": \"$light\", \"darkWallpaperURL\": \"$dark\"}"
  qd_launch_quillet quillet-appearance
  # No settings manager yet: nothing asks for dark.
  check_everywhere "without any preference the light picture" "$light"
  # A settings manager that starts with a dark theme is noticed.
  xfconf-query -c xsettings -p /Net/ThemeName -n -t string -s Adwaita-dark
  local settings_pid
  qd_launch settings_pid "$QD_TMP/xfsettingsd.log" xfsettingsd --sm-client-disable --no-daemon
  qd_wait_for 10 "the XSETTINGS manager" qd_xprobe owner _XSETTINGS_S0 ||
    qd_fail "xfsettingsd did not take the XSETTINGS selection"
  check_everywhere "a dark theme: the dark picture" "$dark"
  xfconf-query -c xsettings -p /Net/ThemeName -s Adwaita
  check_everywhere "a light theme: the light picture" "$light"
  qd_stop_checked
  check_varied "after quitting"
  qd_stop_process "$settings_pid" TERM 10 || qd_fail "xfsettingsd did not stop"
}

chosen_picture_of_another_workspace() {
  qd_section "xfdesktop: a chosen picture that another workspace shows goes on every workspace"
  qd_new_home
  qd_write_defaults "{\"pref.restoreOnLaunch\": true, \"state.background\": \"image\",
                      \"lightWallpaperURL\": \"$mine2\", \"darkWallpaperURL\": \"$mine2\"}"
  qd_launch_quillet quillet-other-workspace
  check_everywhere "workspace 1's picture, chosen for both appearances," "$mine2"
  qd_stop_checked
  check_varied "after quitting"
}

tinted_strip_under_covered_panel() {
  qd_section "xfdesktop: with the panel covered each monitor shows its own tinted picture"
  qd_new_home
  qd_write_defaults "{\"pref.restoreOnLaunch\": true, \"state.background\": \"image\",
                      \"state.menuBarCover\": \"entire\",
                      \"lightWallpaperURL\": \"$light\", \"darkWallpaperURL\": \"$light\"}"
  qd_launch_quillet quillet-tinted
  local name id file
  tinted_on() { [[ "$(qd_xfconf_get xfce4-desktop "$(backdrop "$name" 0)/last-image")" =~ /tinted-$id-[0-9]+\.jpg$ ]]; }
  while read -r name id; do
    qd_wait_for 15 "a tinted picture on $name" tinted_on
    file=$(qd_xfconf_get xfce4-desktop "$(backdrop "$name" 0)/last-image")
    qd_check "$name shows a tinted picture named by its output id ($file)" tinted_on
    qd_check_eq "$name: every workspace shows the same tinted file" \
      "$(workspaces | sed "s|\$| $file|")" "$(backdrops last-image | sed -n "s/^$name //p")"
    qd_check_eq "the tinted picture has the monitor's size" \
      "$(xrandr --listmonitors | awk -v n="$name" '$NF == n { split($3, g, /[\/x+]/); print g[1] "x" g[3] }')" \
      "$(identify -format '%wx%h' "$file")"
  done < <(monitor_ids)
  qd_stop_checked
  check_varied "after quitting"
}

# --- no desktop program: the root pixmap ---------------------------------------------------

root_pixmap() { xprop -root "$1" 2>/dev/null | sed -n 's/.*# \(0x[0-9a-f]*\).*/\1/p'; }

root_window_colour_and_restore() {
  qd_section "root window: a colour, then another one, then the first one back on quit"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#336699"}'
  qd_launch_quillet quillet-root-first
  minimize_main_window
  check_centres "the first colour" 336699
  qd_check "_XROOTPMAP_ID is set" test -n "$(root_pixmap _XROOTPMAP_ID)"
  qd_check_eq "ESETROOT_PMAP_ID names the same pixmap" "$(root_pixmap _XROOTPMAP_ID)" "$(root_pixmap ESETROOT_PMAP_ID)"
  # Nothing was there before, so nothing is recorded, and the colour stays after quitting.
  qd_stop_checked
  check_centres "the root picture outlives the program" 336699

  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#D35400"}'
  qd_launch_quillet quillet-root-second
  minimize_main_window
  check_centres "the second colour replaced the first" D35400
  local record
  record=$(qd_stored wallpaper.originalURLs)
  qd_check "the record points at snapshots in the support folder ($record)" \
    grep -q "$(support_dir)/original-[0-9]*.png" <<<"$record"
  qd_stop_checked
  check_centres "the earlier root picture is back after quitting" 336699
  qd_check_eq "no record after quitting" null "$(qd_stored wallpaper.originalURLs)"
}

qd_start_desktop --monitors "$monitors"
mine=$QD_TMP/mine.png mine2=$QD_TMP/mine-too.png
light=$QD_TMP/light.png dark=$QD_TMP/dark.png
convert -size 320x200 xc:'#336699' "$mine"
convert -size 320x200 xc:'#884422' "$mine2"
convert -size 320x200 xc:'#F4F1E8' "$light"
convert -size 320x200 xc:'#1B1F2A' "$dark"
# The user's own setup: workspace 1 of each monitor has another picture, scaled to fit.
set_backdrops "$mine" 5 "$mine2" 4
xfce_colour_switch_off_and_quit
xfce_killed_then_relaunched
image_follows_the_appearance
chosen_picture_of_another_workspace
tinted_strip_under_covered_panel
qd_stop_desktop

qd_start_desktop --no-xfdesktop --monitors "$monitors"
root_window_colour_and_restore
qd_finish
