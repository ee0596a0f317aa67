#!/usr/bin/env bash
# Desktop pictures on real desktops. With xfdesktop: the colour choice shows on every monitor and
# workspace, switching off and quitting put each workspace's own picture and style back, after
# kill -9 the next launch restores it from the stored record. Without a desktop program: the
# colour goes into the root pixmap and the previous root picture comes back on quit.
# Usage: wallpaper_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

quillet=${1:?usage: wallpaper_test.sh PATH-TO-QUILLET}
tray=("$QD_PYTHON" "$(dirname "$0")/tray_menu.py")
# Two monitors need Xorg with the dummy driver, which only root can start.
monitors=1
[ "$(id -u)" = 0 ] && command -v Xorg >/dev/null && monitors=2

qd_init wallpaper

write_defaults() { # JSON-TEXT
  mkdir -p "$XDG_CONFIG_HOME/Quillet"
  printf '%s' "$1" >"$XDG_CONFIG_HOME/Quillet/defaults.json"
}
stored() { # KEY -> the stored value as JSON ("null" when absent)
  "$QD_PYTHON" -c 'import json,sys; print(json.dumps(json.load(open(sys.argv[1])).get(sys.argv[2]), sort_keys=True))' \
    "$XDG_CONFIG_HOME/Quillet/defaults.json" "$1"
}
support_dir() { echo "$XDG_DATA_HOME/Quillet"; }

launch_quillet() { # LOG-NAME
  qd_launch quillet_pid "$QD_TMP/$1.log" env QT_QPA_PLATFORM=xcb "$quillet"
}
stop_quillet() {
  if qd_stop_process "$quillet_pid" TERM 15; then
    qd_check_eq "quillet exits with status 0 on SIGTERM" 0 "$QD_STATUS"
  else
    qd_fail "quillet did not exit within 15 s of SIGTERM"
  fi
}
# The main window sits in the middle of a monitor; it goes out of the way of the screenshots.
main_window_minimized() {
  local id
  id=$(qd_window_by_name '^Quillet$')
  [ -n "$id" ] || return 0
  xdotool windowminimize "$id" 2>/dev/null
  return 1
}
minimize_main_window() {
  qd_wait_for 10 "the main window" qd_window_by_name '^Quillet$' || return 0
  qd_wait_for 10 "the main window minimized" main_window_minimized
}

# "NAME X Y" for the centre of every monitor, in root coordinates.
monitor_centres() {
  xrandr --listmonitors | sed -n 's/^ *[0-9]*: [+*]*\([^ ]*\) \([0-9]*\)\/[0-9]*x\([0-9]*\)\/[0-9]*+\([0-9]*\)+\([0-9]*\).*/\1 \2 \3 \4 \5/p' |
    while read -r name w h x y; do echo "$name $((x + w / 2)) $((y + h / 2))"; done
}
# Output names of the monitors, as xfdesktop keys its settings.
monitor_outputs() { xrandr --listmonitors | awk 'NR > 1 { print $NF }'; }

# Hex colour of one pixel of the screen as it is now.
pixel() { # X Y
  import -window root -crop "1x1+$1+$2" -depth 8 -format "%[hex:u.p{0,0}]" info: 2>/dev/null | cut -c1-6
}
all_centres_are() { # RRGGBB
  local name x y
  while read -r name x y; do
    [ "$(pixel "$x" "$y")" = "$1" ] || return 1
  done < <(monitor_centres)
}
check_centres() { # WHAT RRGGBB
  local name x y
  while read -r name x y; do
    qd_check_eq "$1 in the middle of $name" "$2" "$(pixel "$x" "$y")"
  done < <(monitor_centres)
}

# --- Xfce ----------------------------------------------------------------------------------

backdrop() { echo "/backdrop/screen0/monitor$1/workspace$2"; }
workspaces() { seq 0 $(($(xprop -root _NET_NUMBER_OF_DESKTOPS | awk '{ print $NF }') - 1)); }
# Every workspace of every monitor shows FILE.
everywhere_is() { # FILE
  local output w
  for output in $(monitor_outputs); do
    for w in $(workspaces); do
      [ "$(qd_xfconf_get xfce4-desktop "$(backdrop "$output" "$w")/last-image")" = "$1" ] || return 1
    done
  done
}
check_everywhere() { # WHAT FILE
  local output w
  for output in $(monitor_outputs); do
    for w in $(workspaces); do
      qd_check_eq "$1 on $output, workspace $w" "$2" \
        "$(qd_xfconf_get xfce4-desktop "$(backdrop "$output" "$w")/last-image")"
    done
  done
}
set_everywhere() { # FILE
  local output w
  for output in $(monitor_outputs); do
    for w in $(workspaces); do
      xfconf-query -c xfce4-desktop -p "$(backdrop "$output" "$w")/last-image" -n -t string -s "$1"
      xfconf-query -c xfce4-desktop -p "$(backdrop "$output" "$w")/image-style" -n -t int -s 5
    done
  done
}
# The user's own setup: workspace 1 of each monitor has another picture, scaled to fit.
set_varied() {
  local output w
  set_everywhere "$mine"
  for output in $(monitor_outputs); do
    xfconf-query -c xfce4-desktop -p "$(backdrop "$output" 1)/last-image" -s "$mine2"
    xfconf-query -c xfce4-desktop -p "$(backdrop "$output" 1)/image-style" -s 4
  done
}
varied_is_back() {
  local output w
  for output in $(monitor_outputs); do
    for w in $(workspaces); do
      local want=$mine style=5
      [ "$w" != 1 ] || { want=$mine2 style=4; }
      [ "$(qd_xfconf_get xfce4-desktop "$(backdrop "$output" "$w")/last-image")" = "$want" ] || return 1
      [ "$(qd_xfconf_get xfce4-desktop "$(backdrop "$output" "$w")/image-style")" = "$style" ] || return 1
    done
  done
}
check_varied() { # WHAT
  local output w want style
  for output in $(monitor_outputs); do
    for w in $(workspaces); do
      want=$mine style=5
      [ "$w" != 1 ] || { want=$mine2 style=4; }
      qd_check_eq "$1 on $output, workspace $w" "$want" \
        "$(qd_xfconf_get xfce4-desktop "$(backdrop "$output" "$w")/last-image")"
      qd_check_eq "$1: style on $output, workspace $w" "$style" \
        "$(qd_xfconf_get xfce4-desktop "$(backdrop "$output" "$w")/image-style")"
    done
  done
}

output_ids_record() { # FILE -> the expected record: every monitor's output id to FILE
  "$QD_PYTHON" - "$1" "$(monitor_outputs)" <<'EOF'
import json, subprocess, sys
wanted = set(sys.argv[2].split())
ids, name = {}, None
for line in subprocess.run(["xrandr", "--verbose"], capture_output=True, text=True).stdout.splitlines():
    if line and not line[0].isspace():
        name = line.split()[0]
    elif line.strip().startswith("Identifier:") and name in wanted:
        ids[str(int(line.split()[1], 16))] = sys.argv[1]
print(json.dumps(ids, sort_keys=True))
EOF
}

xfce_colour_switch_off_and_quit() {
  qd_section "xfdesktop: colour on every monitor and workspace; switching off and quitting restore"
  qd_new_home
  write_defaults '{"pref.restoreOnLaunch": true, "pref.showInMenuBar": true,
                   "state.background": "color", "state.backgroundColor": "#C0392B"}'
  launch_quillet quillet-colour
  local colour_file
  colour_file=$(support_dir)/quillet-color-1.png
  if qd_wait_for 15 "the colour picture on every workspace" everywhere_is "$colour_file"; then
    qd_pass "xfconf points at quillet-color-1.png on every workspace"
  else
    check_everywhere "colour picture" "$colour_file"
  fi
  qd_check_eq "the support folder is private" 700 "$(stat -c %a "$(support_dir)")"
  qd_check_eq "picture style zoomed" 5 "$(qd_xfconf_get xfce4-desktop "$(backdrop "$(monitor_outputs | head -n 1)" 1)/image-style")"
  qd_check_eq "the record names the user's picture for every monitor" \
    "$(output_ids_record "$mine")" "$(stored wallpaper.originalURLs)"
  minimize_main_window
  qd_wait_for 10 "the colour on screen" all_centres_are C0392B
  check_centres "colour shown" C0392B
  qd_screenshot "$QD_ARTIFACTS/xfce-colour.png"

  if qd_wait_for 15 "Quillet's tray icon" "${tray[@]}" layout "$quillet_pid"; then
    "${tray[@]}" click "$quillet_pid" Enabled
    if qd_wait_for 10 "the user's pictures back" varied_is_back; then
      qd_pass "switching off puts each workspace's own picture and style back"
    else
      check_varied "after switching off"
    fi
    qd_check_eq "the record is gone after switching off" null "$(stored wallpaper.originalURLs)"
    qd_wait_for 10 "the user's picture on screen" all_centres_are 336699
    check_centres "user's picture shown after switching off" 336699
  else
    qd_fail "no tray icon registered by quillet"
  fi
  stop_quillet
  check_varied "after quitting while switched off"

  qd_section "xfdesktop: quitting restores"
  launch_quillet quillet-quit
  qd_wait_for 15 "the colour picture" everywhere_is "$colour_file" ||
    qd_fail "colour not shown on the second launch"
  stop_quillet
  check_varied "after quitting"
  qd_check_eq "no record after quitting" null "$(stored wallpaper.originalURLs)"
  qd_wait_for 10 "the user's picture on screen" all_centres_are 336699
  check_centres "user's picture shown after quitting" 336699
}

xfce_killed_then_relaunched() {
  qd_section "xfdesktop: after kill -9 the next launch and quit restore from the record"
  # Only the shown picture survives a crash, so this user has one picture everywhere.
  set_everywhere "$mine"
  qd_new_home
  write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                   "state.backgroundColor": "#2E8B57"}'
  launch_quillet quillet-killed
  local colour_file
  colour_file=$(support_dir)/quillet-color-1.png
  qd_wait_for 15 "the colour picture" everywhere_is "$colour_file" ||
    qd_fail "colour not shown before the kill"
  qd_stop_process "$quillet_pid" KILL 10
  check_everywhere "the colour stays after kill -9" "$colour_file"
  qd_check_eq "the record survives kill -9" "$(output_ids_record "$mine")" \
    "$(stored wallpaper.originalURLs)"

  # The next run shows no colour of its own, so only the record can bring the picture back.
  write_defaults "{\"wallpaper.originalURLs\": $(stored wallpaper.originalURLs)}"
  launch_quillet quillet-after-kill
  qd_wait_for 15 "quillet's main window" qd_window_by_name '^Quillet$' ||
    qd_fail "no main window after relaunch"
  stop_quillet
  check_everywhere "after relaunch and quit" "$mine"
  qd_check_eq "no record after relaunch and quit" null "$(stored wallpaper.originalURLs)"
}

# "NAME ID" per monitor: the RandR output id that Quillet keys its records by.
output_ids() {
  local wanted name="" line
  wanted=" $(monitor_outputs | tr '\n' ' ') "
  while IFS= read -r line; do
    if [[ "$line" != [[:space:]]* ]]; then
      name=${line%% *}
    elif [[ "$line" == *Identifier:* && "$wanted" == *" $name "* ]]; then
      echo "$name $((${line##*Identifier: }))"
    fi
  done < <(xrandr --verbose)
}
# Hex colour of one pixel of a picture file.
file_pixel() { # FILE X Y
  convert "$1" -crop "1x1+$2+$3" -depth 8 -format "%[hex:u.p{0,0}]" info: 2>/dev/null | cut -c1-6
}
close_to() { # RRGGBB RRGGBB: every component within 8
  local a=$1 b=$2 i
  for i in 0 2 4; do
    local d=$((16#${a:i:2} - 16#${b:i:2}))
    [ "${d#-}" -le 8 ] || return 1
  done
}

image_follows_the_appearance() {
  qd_section "xfdesktop: the light or dark picture follows the XSETTINGS theme"
  command -v xfsettingsd >/dev/null || {
    qd_log "xfsettingsd is not installed; appearance section skipped"
    return 0
  }
  qd_new_home
  write_defaults "{\"pref.restoreOnLaunch\": true, \"state.background\": \"image\",
                   \"lightWallpaperURL\": \"$light\", \"darkWallpaperURL\": \"$dark\"}"
  launch_quillet quillet-appearance
  # No settings manager yet: nothing asks for dark.
  if qd_wait_for 15 "the light picture" everywhere_is "$light"; then
    qd_pass "without any preference the light picture shows on every workspace"
  else
    check_everywhere "no preference" "$light"
  fi

  # A settings manager that starts with a dark theme is noticed.
  xfconf-query -c xsettings -p /Net/ThemeName -n -t string -s Adwaita-dark
  local settings_pid
  qd_launch settings_pid "$QD_TMP/xfsettingsd.log" xfsettingsd --sm-client-disable --no-daemon
  qd_wait_for 10 "the XSETTINGS manager" qd_xprobe owner _XSETTINGS_S0 ||
    qd_fail "xfsettingsd did not take the XSETTINGS selection"
  if qd_wait_for 10 "the dark picture" everywhere_is "$dark"; then
    qd_pass "a settings manager with a dark theme brings the dark picture"
  else
    check_everywhere "dark theme" "$dark"
  fi
  xfconf-query -c xsettings -p /Net/ThemeName -s Adwaita
  if qd_wait_for 10 "the light picture" everywhere_is "$light"; then
    qd_pass "switching to a light theme shows the light picture"
  else
    check_everywhere "light theme" "$light"
  fi
  stop_quillet
  check_everywhere "after quitting" "$mine"
  qd_stop_process "$settings_pid" TERM 10 || qd_fail "xfsettingsd did not stop"
}

tinted_strip_under_covered_panel() {
  qd_section "xfdesktop: with the panel covered each monitor shows its own tinted picture"
  qd_new_home
  write_defaults "{\"pref.restoreOnLaunch\": true, \"state.background\": \"image\",
                   \"state.menuBarCover\": \"entire\",
                   \"lightWallpaperURL\": \"$banded\", \"darkWallpaperURL\": \"$banded\"}"
  launch_quillet quillet-tinted
  local name id file w
  while read -r name id; do
    tinted_on() { [[ "$(qd_xfconf_get xfce4-desktop "$(backdrop "$name" 0)/last-image")" =~ /tinted-$id-[0-9]+\.jpg$ ]]; }
    if qd_wait_for 15 "a tinted picture on $name" tinted_on; then
      file=$(qd_xfconf_get xfce4-desktop "$(backdrop "$name" 0)/last-image")
      qd_pass "$name shows $(basename "$file")"
      for w in $(workspaces); do
        qd_check_eq "$name, workspace $w shows the same tinted file" "$file" \
          "$(qd_xfconf_get xfce4-desktop "$(backdrop "$name" "$w")/last-image")"
      done
      qd_check_eq "the tinted file is in the support folder" "$(support_dir)" "$(dirname "$file")"
      qd_check_eq "the tinted picture has the monitor's size" \
        "$(xrandr --listmonitors | awk -v n="$name" '$NF == n { split($3, g, /[\/x+]/); print g[1] "x" g[3] }')" \
        "$(identify -format '%wx%h' "$file")"
      # The picture's blue top rows are zoomed out of view; the strip brings back their colour.
      qd_check "the strip has the colour of the picture's top ($(file_pixel "$file" 300 8))" \
        close_to 0000FF "$(file_pixel "$file" 300 8)"
      qd_check "below the strip the picture shows ($(file_pixel "$file" 300 400))" \
        close_to FFFFFF "$(file_pixel "$file" 300 400)"
    else
      qd_fail "no tinted picture on $name (shows '$(qd_xfconf_get xfce4-desktop "$(backdrop "$name" 0)/last-image")')"
    fi
  done < <(output_ids)
  stop_quillet
  check_everywhere "after quitting" "$mine"
}

# --- no desktop program: the root pixmap ---------------------------------------------------

root_pixmap() { xprop -root _XROOTPMAP_ID 2>/dev/null | sed -n 's/.*# \(0x[0-9a-f]*\).*/\1/p'; }
setter_pixmap() { xprop -root ESETROOT_PMAP_ID 2>/dev/null | sed -n 's/.*# \(0x[0-9a-f]*\).*/\1/p'; }

root_window_colour_and_restore() {
  qd_section "root window: a colour, then another one, then the first one back on quit"
  qd_new_home
  write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                   "state.backgroundColor": "#336699"}'
  launch_quillet quillet-root-first
  minimize_main_window
  qd_wait_for 15 "the first colour on the root window" all_centres_are 336699 ||
    qd_fail "first colour not shown"
  qd_check "_XROOTPMAP_ID is set" test -n "$(root_pixmap)"
  qd_check_eq "ESETROOT_PMAP_ID names the same pixmap" "$(root_pixmap)" "$(setter_pixmap)"
  # Nothing was there before, so nothing is recorded, and the colour stays after quitting.
  stop_quillet
  check_centres "the root picture outlives the program" 336699

  write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                   "state.backgroundColor": "#D35400"}'
  launch_quillet quillet-root-second
  minimize_main_window
  if qd_wait_for 15 "the second colour" all_centres_are D35400; then
    qd_pass "the second colour replaced the first"
  else
    check_centres "second colour" D35400
  fi
  qd_screenshot "$QD_ARTIFACTS/root-colour.png"
  local record
  record=$(stored wallpaper.originalURLs)
  qd_check "the record points at snapshots in the support folder ($record)" \
    grep -q "$(support_dir)/original-[0-9]*.png" <<<"$record"
  stop_quillet
  check_centres "the earlier root picture is back after quitting" 336699
  qd_check_eq "no record after quitting" null "$(stored wallpaper.originalURLs)"
}

qd_start_desktop --monitors "$monitors"
mine=$QD_TMP/mine.png
convert -size 320x200 xc:'#336699' "$mine"
light=$QD_TMP/light.png dark=$QD_TMP/dark.png banded=$QD_TMP/banded.png
convert -size 320x200 xc:'#F4F1E8' "$light"
convert -size 320x200 xc:'#1B1F2A' "$dark"
convert -size 320x200 xc:white -fill '#0000FF' -draw 'rectangle 0,0 319,9' "$banded"
mine2=$QD_TMP/mine-too.png
convert -size 320x200 xc:'#884422' "$mine2"
set_varied
xfce_colour_switch_off_and_quit
xfce_killed_then_relaunched
image_follows_the_appearance
tinted_strip_under_covered_panel
qd_stop_desktop

qd_start_desktop --no-xfdesktop --monitors "$monitors"
root_window_colour_and_restore
qd_finish
