#!/usr/bin/env bash
# Desktop pictures on the desktops users really have, read back from the real desktop (xfconf on
# every monitor × workspace, files in the support folder, desktop pixels):
# - with xfdesktop, on one or two monitors (the panel on the left one only) whose four
#   workspaces have different pictures and styles, a plain colour and a slideshow: the colour on
#   every workspace; switching off with the panel covered and quitting put every setting back
#   exactly, and nothing of ours comes back while off; choosing the picture the desktop shows
#   loses nothing; "Keep" with a covered panel tints what xfdesktop draws (a plain colour, a
#   centred picture) and only the monitor with the panel gets a strip; a slideshow never cycles
#   through our folder and comes back as it was; the light/dark picture follows the theme;
# - kill -9 at start-up, after a change and during quit, then a relaunch (restore on launch off)
#   and quit: every setting back; a monitor switched off keeps its record until it returns; a
#   crash record waits through a run without xfdesktop (QUILLET_WALLPAPER_KILLS trials, 8 by default; with
#   QUILLET_WALLPAPER_KILLS_ONLY=1 nothing else runs);
# - without a desktop program, on a root painted by `xsetroot -solid`: the colour goes into the
#   root pixmap, a resolution switch draws it again, and quitting (also after kill -9) puts the
#   plain root back; a root picture left by another setter comes back from its snapshot.
# Usage: wallpaper_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: wallpaper_test.sh PATH-TO-QUILLET}
driver=${QUILLET_WALLPAPER_DRIVER:-$(dirname "$QD_QUILLET")/tests/integration/driver/quillet_wallpaper_driver}
tray=("$QD_PYTHON" "$(dirname "$0")/tray_menu.py")
kills=${QUILLET_WALLPAPER_KILLS:-8}
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
# "X Y W H" of a monitor.
monitor_rect() { # OUTPUT
  xrandr --listmonitors | awk -v n="$1" '$NF == n { split($3, g, /[\/x+]/); print g[5], g[6], g[1], g[3] }'
}
# "NAME RRGGBB" for the colour in the middle of every monitor.
centres() {
  local name x y w h
  for name in $(monitor_outputs); do
    read -r x y w h < <(monitor_rect "$name")
    echo "$name $(qd_pixel $((x + w / 2)) $((y + h / 2)))"
  done
}
check_centres() { # WHAT RRGGBB
  qd_wait_eq 15 "$1 in the middle of every monitor" "$(monitor_outputs | sed "s/\$/ $2/")" centres
}
# Colour of one pixel of a picture file.
file_pixel() { # FILE X Y
  convert "$1" -crop "1x1+$2+$3" -depth 8 -format "%[hex:u.p{0,0}]" info: 2>/dev/null | cut -c1-6
}
# Both colours within TOLERANCE per channel (JPEG moves colours a little).
near() { # RRGGBB RRGGBB [TOLERANCE]
  local a=$1 b=$2 t=${3:-10} i
  [ ${#a} = 6 ] && [ ${#b} = 6 ] || return 1
  for i in 0 2 4; do
    local d=$((16#${a:i:2} - 16#${b:i:2}))
    ((d < 0)) && d=$((-d))
    ((d <= t)) || return 1
  done
}
check_near() { # WHAT EXPECTED ACTUAL
  if near "$2" "$3"; then qd_log "ok: $1 ($3)"; else qd_fail "$1: expected about $2, got '$3'"; fi
}

# --- xfdesktop's settings ------------------------------------------------------------------

# Reads and writes the xfce4-desktop channel through xfconfd's own D-Bus service, with types.
xfconf_py() {
  "$QD_PYTHON" - "$@" <<'PY'
import dbus, sys
x = dbus.Interface(dbus.SessionBus().get_object("org.xfce.Xfconf", "/org/xfce/Xfconf"), "org.xfce.Xfconf")
ch = "xfce4-desktop"
def show(v):
    if isinstance(v, dbus.Array):
        return "[" + ",".join(show(i) for i in v) + "]"
    return type(v).__name__ + ":" + str(v)
what = sys.argv[1]
if what == "dump":
    # Every monitor × workspace setting, with its type.
    props = x.GetAllProperties(ch, "/backdrop")
    for k in sorted(props):
        if k.startswith("/backdrop/screen0/monitor"):
            print(k, show(props[k]))
elif what == "images":
    # images LAST-WORKSPACE OUTPUT...: "OUTPUT WORKSPACE last-image" of every workspace.
    props = x.GetAllProperties(ch, "/backdrop")
    for monitor in sys.argv[3:]:
        for w in range(int(sys.argv[2]) + 1):
            print(monitor, w, props.get("/backdrop/screen0/monitor%s/workspace%d/last-image" % (monitor, w), ""))
elif what == "reset":
    for monitor in sys.argv[2:]:
        try:
            x.ResetProperty(ch, "/backdrop/screen0/monitor" + monitor, True)
        except dbus.DBusException:
            pass
elif what == "set":
    # set PROPERTY TYPE VALUE...; TYPE is i, u, b, s or rgba (four doubles).
    prop, kind, values = sys.argv[2], sys.argv[3], sys.argv[4:]
    if kind == "rgba":
        value = dbus.Array([dbus.Double(float(v)) for v in values], signature="v")
    else:
        value = {"i": dbus.Int32, "u": dbus.UInt32, "s": dbus.String,
                 "b": lambda v: dbus.Boolean(v == "true")}[kind](*([int(values[0])] if kind in "iu" else values))
    x.SetProperty(ch, prop, value)
PY
}
backdrop() { echo "/backdrop/screen0/monitor$1/workspace$2"; }
workspaces() { seq 0 $(($(xprop -root _NET_NUMBER_OF_DESKTOPS | awk '{ print $NF }') - 1)); }
set_setting() { xfconf_py set "$(backdrop "$1" "$2")/$3" "${@:4}"; }

# The desktop as people have it: on the first monitor zoomed, scaled, a slideshow and a plain
# colour; on the second centred on a colour, tiled, a plain colour, stretched.
write_user_desktop() {
  local outputs first second
  outputs=($(monitor_outputs))
  first=${outputs[0]} second=${outputs[1]:-}
  xfconf_py reset "${outputs[@]}"
  # Each workspace shows its own settings (xfdesktop's default applies workspace 0's to all).
  xfconf_py set /backdrop/single-workspace-mode b false
  set_setting "$first" 0 image-style i 5
  set_setting "$first" 0 last-image s "$mine"
  set_setting "$first" 1 image-style i 4
  set_setting "$first" 1 color-style i 0
  set_setting "$first" 1 rgba1 rgba 0.1 0.1 0.1 1
  set_setting "$first" 1 last-image s "$mine2"
  set_setting "$first" 2 image-style i 5
  set_setting "$first" 2 last-image s "$slides/a.png"
  set_setting "$first" 2 backdrop-cycle-period i 2
  set_setting "$first" 2 backdrop-cycle-timer u 5
  set_setting "$first" 2 backdrop-cycle-enable b true
  set_setting "$first" 3 image-style i 0
  set_setting "$first" 3 color-style i 0
  set_setting "$first" 3 rgba1 rgba 0.2 0.55 0.35 1
  [ -n "$second" ] || return 0
  set_setting "$second" 0 image-style i 1
  set_setting "$second" 0 color-style i 0
  set_setting "$second" 0 rgba1 rgba 0.8 0.1 0.1 1
  set_setting "$second" 0 last-image s "$mine"
  set_setting "$second" 1 image-style i 2
  set_setting "$second" 1 last-image s "$mine2"
  set_setting "$second" 2 image-style i 0
  set_setting "$second" 2 rgba1 rgba 0.1 0.2 0.6 1
  set_setting "$second" 3 image-style i 3
  set_setting "$second" 3 last-image s "$mine"
}
user_desktop() {
  write_user_desktop
  xfdesktop_survived_setup
}
# xfdesktop 4.18 may crash ("corrupted double-linked list") when many of its settings change while
# it still loads pictures, as setting up the user's desktop does on a loaded machine. That crash
# is the fixture's own doing: xfdesktop is started again and the test goes on.
xfdesktop_survived_setup() {
  sleep 1
  qd_desktop_pid | grep -q . && return 0
  qd_log "xfdesktop crashed while the test wrote the user's settings; starting it again"
  local pid
  qd_launch pid "$QD_TMP/xfdesktop-restarted.log" xfdesktop --sm-client-disable
  qd_wait_for 20 "xfdesktop's desktop window" qd_desktop_pid
}
dump() { xfconf_py dump; }
check_as_before() { # WHAT
  local what="$1: every monitor × workspace setting as the user had it"
  if qd_wait_for 15 "$what" _qd_prints "$baseline" dump; then
    qd_log "ok: $what ($(wc -l <<<"$baseline") settings)"
  else
    qd_fail "$what"
    diff <(echo "$baseline") <(dump) >&2
  fi
}
# "OUTPUT WORKSPACE last-image" for every workspace of every monitor.
images() {
  xfconf_py images $(workspaces | tail -n 1) $(monitor_outputs)
}
# Every workspace shows a file of ours matching REGEX (each monitor its own when tinted).
ours_everywhere() { # REGEX
  local line count=0
  while read -r line; do
    [[ ${line##* } =~ $1 ]] || return 1
    count=$((count + 1))
  done < <(images)
  ((count > 0))
}
check_ours() { # WHAT REGEX
  qd_wait_for 15 "$1" ours_everywhere "$2"
  qd_check "$1 on every monitor × workspace" ours_everywhere "$2"
}
record_file() { echo "$(support_dir)/desktop-xfce.json"; }

start_driver() {
  qd_new_home
  qd_write_defaults '{}'
  qd_driver_start wallpaper-driver "$driver"
}

xfce_switch_off_with_the_panel_covered() {
  qd_section "xfdesktop: colour under a covered panel, switched off, on again, quit"
  start_driver
  qd_drive background color >/dev/null
  qd_drive cover entire >/dev/null
  check_ours "tinted colour pictures" "/Quillet/tinted-[0-9]+-[0-9]+\.jpg$"
  qd_check "the desktop's record is on disk" test -s "$(record_file)"
  qd_drive enabled off >/dev/null
  check_as_before "switched off"
  qd_check "no record once everything is back" test ! -e "$(record_file)"
  qd_check_eq "no picture record once everything is back" null "$(qd_stored wallpaper.originalURLs)"
  sleep 1.5
  qd_check "nothing of ours comes back while off" test "$baseline" = "$(dump)"
  qd_drive enabled on >/dev/null
  check_ours "tinted again after switching on" "/Quillet/tinted-[0-9]+-[0-9]+\.jpg$"
  qd_driver_quit
  check_as_before "after quitting"
}

xfce_current_picture_chosen() {
  qd_section "xfdesktop: the picture the desktop shows chosen as light and dark, then Color"
  start_driver
  qd_drive light "$mine" >/dev/null
  qd_drive dark "$mine" >/dev/null
  qd_drive background image >/dev/null
  check_ours "the chosen picture" "^$mine\$"
  qd_drive background color >/dev/null
  check_ours "the colour" "/Quillet/quillet-color-[0-9]+\.png$"
  qd_driver_quit
  check_as_before "after Color and quitting"
}

xfce_keep_with_covered_panel() {
  qd_section "xfdesktop: Keep under a covered panel tints what xfdesktop draws"
  local first second
  first=$(monitor_outputs | sed -n 1p) second=$(monitor_outputs | sed -n 2p)
  # Workspace 3: a plain colour on the first monitor, a stretched picture on the second; then
  # the second shows a centred picture on red (workspace 0's look there) for this check.
  xdotool set_desktop 3
  [ -z "$second" ] || { set_setting "$second" 3 image-style i 1; set_setting "$second" 3 rgba1 rgba 0.8 0.1 0.1 1; }
  baseline=$(dump)
  sleep 1
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.menuBarCover": "entire"}'
  qd_launch_quillet quillet-keep-tint
  check_ours "tinted pictures" "/Quillet/tinted-[0-9]+-[0-9]+\.jpg$"
  local file
  file=$(qd_xfconf_get xfce4-desktop "$(backdrop "$first" 3)/last-image")
  check_near "plain colour desktop: the middle stays the colour, not a default picture" 338C59 "$(file_pixel "$file" 960 540)"
  check_near "plain colour desktop: below the strip too" 338C59 "$(file_pixel "$file" 200 100)"
  if [ -n "$second" ]; then
    file=$(qd_xfconf_get xfce4-desktop "$(backdrop "$second" 3)/last-image")
    check_near "centred picture: its middle" 336699 "$(file_pixel "$file" 960 540)"
    check_near "centred picture: the colour around it stays (not zoomed)" CC1A1A "$(file_pixel "$file" 100 700)"
  fi
  qd_stop_checked
  check_as_before "after quitting"
  xdotool set_desktop 0
  user_desktop
  baseline=$(dump)
}

xfce_strip_only_under_the_panel() {
  local first second
  first=$(monitor_outputs | sed -n 1p) second=$(monitor_outputs | sed -n 2p)
  [ -n "$second" ] || return 0
  qd_section "xfdesktop: two monitors, the panel on the first: only there a strip"
  qd_check "the panel lies on the first monitor only" panel_on_first_only
  qd_new_home
  qd_write_defaults "{\"pref.restoreOnLaunch\": true, \"state.background\": \"image\",
                      \"state.menuBarCover\": \"entire\",
                      \"lightWallpaperURL\": \"$band\", \"darkWallpaperURL\": \"$band\"}"
  qd_launch_quillet quillet-strip
  check_ours "tinted pictures" "/Quillet/tinted-[0-9]+-[0-9]+\.jpg$"
  local left right
  left=$(qd_xfconf_get xfce4-desktop "$(backdrop "$first" 0)/last-image")
  right=$(qd_xfconf_get xfce4-desktop "$(backdrop "$second" 0)/last-image")
  qd_check "the first monitor's strip is one flat colour across the red column" \
    near "$(file_pixel "$left" 10 5)" "$(file_pixel "$left" 960 5)" 6
  check_near "the second monitor keeps its picture's own top: the red column" FF0000 "$(file_pixel "$right" 10 5)"
  check_near "the second monitor keeps its picture's own top: the green band" 00FF00 "$(file_pixel "$right" 960 5)"
  qd_stop_checked
  check_as_before "after quitting"
}
panel_on_first_only() {
  local x y w h
  read -r x y w h < <(monitor_rect "$(monitor_outputs | sed -n 1p)")
  qd_xprobe windows --type dock | awk -v r=$((x + w)) '
    { for (i = 1; i <= NF; i++) { split($i, kv, "="); v[kv[1]] = kv[2] } if (v["x"] + v["w"] > r) bad = 1; n++ }
    END { exit (n > 0 && !bad) ? 0 : 1 }'
}

xfce_slideshow_paused() {
  qd_section "xfdesktop: a slideshow every second never shows our folder and comes back"
  local first
  first=$(monitor_outputs | sed -n 1p)
  set_setting "$first" 0 last-image s "$slides/a.png"
  set_setting "$first" 0 backdrop-cycle-period i 0
  set_setting "$first" 0 backdrop-cycle-timer u 1
  set_setting "$first" 0 backdrop-cycle-enable b true
  local cycle_before
  cycle_before=$(dump | grep "$(backdrop "$first" 0)/backdrop-cycle")
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#2E8B57"}'
  qd_launch_quillet quillet-slideshow
  check_ours "the colour" "/Quillet/quillet-color-1\.png$"
  local changed=0 looks=0 until=$(($(date +%s) + 6))
  while (($(date +%s) < until)); do
    ours_everywhere "/Quillet/quillet-color-1\.png$" || changed=$((changed + 1))
    looks=$((looks + 1))
    sleep 0.2
  done
  qd_check_eq "over 6 s ($looks looks) the colour was never replaced" 0 "$changed"
  qd_stop_checked
  qd_wait_eq 15 "the slideshow's settings are back" "$cycle_before" \
    eval 'dump | grep "$(backdrop "$first" 0)/backdrop-cycle"'
  qd_check "the slideshow shows the user's pictures again" \
    grep -q "^$slides/" <<<"$(qd_xfconf_get xfce4-desktop "$(backdrop "$first" 0)/last-image")"
  user_desktop
  baseline=$(dump)
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
  check_ours "without any preference the light picture" "^$light\$"
  xfconf-query -c xsettings -p /Net/ThemeName -n -t string -s Adwaita-dark
  local settings_pid
  qd_launch settings_pid "$QD_TMP/xfsettingsd.log" xfsettingsd --sm-client-disable --no-daemon
  qd_wait_for 10 "the XSETTINGS manager" qd_xprobe owner _XSETTINGS_S0 ||
    qd_fail "xfsettingsd did not take the XSETTINGS selection"
  check_ours "a dark theme: the dark picture" "^$dark\$"
  xfconf-query -c xsettings -p /Net/ThemeName -s Adwaita
  check_ours "a light theme: the light picture" "^$light\$"
  qd_stop_checked
  check_as_before "after quitting"
  qd_stop_process "$settings_pid" TERM 10 || qd_fail "xfsettingsd did not stop"
}

xfce_record_waits_for_xfdesktop() {
  qd_section "xfdesktop: a crash record waits through a run without xfdesktop"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#2E8B57"}'
  qd_launch_quillet quillet-before-crash
  check_ours "the colour" "/Quillet/quillet-color-1\.png$"
  qd_stop_process "$quillet_pid" KILL 10
  local record
  record=$(qd_stored wallpaper.originalURLs)
  timeout 10 xfdesktop --quit >/dev/null 2>&1
  qd_wait_for 10 "xfdesktop gone" eval '! qd_desktop_pid | grep -q .'
  qd_write_defaults "{\"wallpaper.originalURLs\": $record}"
  qd_launch_quillet quillet-without-xfdesktop
  qd_wait_for 15 "quillet's main window" qd_main_window || qd_fail "no main window without xfdesktop"
  qd_stop_checked
  qd_check "the desktop's record is still there" test -s "$(record_file)"
  qd_check_eq "the picture record is still there" "$record" "$(qd_stored wallpaper.originalURLs)"
  local xfdesktop_pid
  qd_launch xfdesktop_pid "$QD_TMP/xfdesktop-again.log" xfdesktop --sm-client-disable
  qd_wait_for 20 "xfdesktop's desktop window" qd_desktop_pid
  qd_launch_quillet quillet-with-xfdesktop-again
  qd_wait_for 15 "quillet's main window" qd_main_window || qd_fail "no main window with xfdesktop"
  qd_stop_checked
  check_as_before "after a run with xfdesktop back"
  qd_check "no record is left" test ! -e "$(record_file)"
}

xfce_monitor_off_during_the_session() {
  local first second
  first=$(monitor_outputs | sed -n 1p) second=$(monitor_outputs | sed -n 2p)
  [ -n "$second" ] || return 0
  qd_section "xfdesktop: a monitor switched off keeps its record until it returns"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color"}'
  qd_launch_quillet quillet-monitor-off
  check_ours "the colour" "/Quillet/quillet-color-[0-9]+\.png$"
  xrandr --output "$second" --off
  qd_wait_for 10 "one monitor left" eval '[ "$(monitor_outputs | wc -l)" = 1 ]'
  qd_stop_checked
  qd_check "$second's part of the record is kept" grep -q "\"$second\"" "$(record_file)"
  qd_check "$first's part of the record is gone" eval '! grep -q "\"$first\"" "$(record_file)"'
  xrandr --output "$second" --auto --right-of "$first"
  qd_wait_for 10 "both monitors back" eval '[ "$(monitor_outputs | wc -l)" = 2 ]'
  # xfdesktop fills in defaults of its own for the monitor that stayed when the layout changes:
  # that monitor is expected as xfdesktop left it, the other one as the user had it.
  sleep 2
  local user_baseline=$baseline
  baseline=$( { dump | grep "/monitor$first/"; grep "/monitor$second/" <<<"$user_baseline"; } | sort)
  "$QD_PYTHON" -c 'import json,sys; p=sys.argv[1]; d=json.load(open(p)); d["pref.restoreOnLaunch"]=False; json.dump(d, open(p, "w"))' \
    "$XDG_CONFIG_HOME/Quillet/defaults.json"
  qd_launch_quillet quillet-monitor-back
  qd_wait_for 15 "quillet's main window" qd_main_window || qd_fail "no main window"
  qd_stop_checked
  baseline=$(sort <<<"$baseline")
  qd_wait_for 15 "settings as expected" eval '[ "$(dump | sort)" = "$baseline" ]'
  qd_check "after the monitor came back, a launch and a quit: every setting back" \
    eval '[ "$(dump | sort)" = "$baseline" ]'
  qd_check "no record is left" test ! -e "$(record_file)"
  user_desktop
  sleep 1
  baseline=$(dump)
}

# --- kill -9 at any moment -----------------------------------------------------------------

# Picks the Nth of the listed words, cycling.
nth() { local n=$1; shift; local a=("$@"); echo "${a[$((n % ${#a[@]}))]}"; }
shows_ours() { [[ $(images) == */Quillet/* ]]; }
kill_trials() { # HOW-MANY
  qd_section "xfdesktop: kill -9 at start-up, after a change and during quit; relaunch and quit"
  local n held=0 kind moment defaults delay
  for ((n = 0; n < $1; n++)); do
    kind=$(nth "$n" colour image-cover keep-cover colour-items)
    moment=$(nth $((n / 4)) change startup quit)
    case $kind in
      colour) defaults='"state.background": "color", "state.backgroundColor": "#2E8B57"' ;;
      image-cover) defaults="\"state.background\": \"image\", \"state.menuBarCover\": \"entire\",
                            \"lightWallpaperURL\": \"$mine2\", \"darkWallpaperURL\": \"$mine2\"" ;;
      keep-cover) defaults='"state.menuBarCover": "entire"' ;;
      colour-items) defaults='"state.background": "color", "state.menuBarCover": "items"' ;;
    esac
    qd_new_home
    qd_write_defaults "{\"pref.restoreOnLaunch\": true, $defaults}"
    qd_launch_quillet "quillet-kill-$n"
    delay=0.$((RANDOM % 9 + 1))
    case $moment in
      startup) sleep "$delay" ;;
      change) qd_wait_for 15 "our pictures" shows_ours; sleep "0.$((RANDOM % 5))" ;;
      quit) qd_wait_for 15 "our pictures" shows_ours; kill -TERM "$quillet_pid"; sleep "0.0$((RANDOM % 10))" ;;
    esac
    qd_stop_process "$quillet_pid" KILL 10
    "$QD_PYTHON" -c 'import json,sys; p=sys.argv[1]; d=json.load(open(p)); d["pref.restoreOnLaunch"]=False; json.dump(d, open(p, "w"))' \
      "$XDG_CONFIG_HOME/Quillet/defaults.json"
    qd_launch_quillet "quillet-relaunch-$n"
    qd_wait_for 15 "quillet's main window" qd_main_window || qd_fail "no main window after relaunch"
    qd_stop_checked
    if qd_wait_for 10 "settings as before" _qd_prints "$baseline" dump; then
      held=$((held + 1))
    else
      qd_fail "kill trial $n ($kind, kill at $moment): settings not as before"
      diff <(echo "$baseline") <(dump) >&2
      user_desktop
    fi
  done
  qd_log "kill trials: $1 runs, $held fully restored after relaunch and quit"
}

# --- no desktop program: the root pixmap ---------------------------------------------------

root_pixmap() { xprop -root "$1" 2>/dev/null | sed -n 's/.*# \(0x[0-9a-f]*\).*/\1/p'; }
no_root_pixmap() { [ -z "$(root_pixmap _XROOTPMAP_ID)" ]; }

root_window_plain_colour() {
  qd_section "root window: a plain xsetroot colour, a colour of ours, the plain colour back"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#D35400"}'
  qd_launch_quillet quillet-root-plain
  minimize_main_window
  check_centres "our colour" D35400
  qd_check "_XROOTPMAP_ID is set" test -n "$(root_pixmap _XROOTPMAP_ID)"
  qd_check_eq "ESETROOT_PMAP_ID names the same pixmap" "$(root_pixmap _XROOTPMAP_ID)" "$(root_pixmap ESETROOT_PMAP_ID)"
  qd_stop_checked
  check_centres "the plain root colour is back" 5B2C6F
  qd_check "no root pixmap is left" no_root_pixmap
  qd_check "no record is left" test ! -e "$(support_dir)/desktop-root.json"

  qd_section "root window: kill -9 with our colour up, relaunch and quit"
  qd_launch_quillet quillet-root-killed
  check_centres "our colour" D35400
  qd_stop_process "$quillet_pid" KILL 10
  check_centres "our colour stays after kill -9" D35400
  qd_write_defaults "{\"wallpaper.originalURLs\": $(qd_stored wallpaper.originalURLs)}"
  qd_launch_quillet quillet-root-relaunched
  qd_wait_for 15 "quillet's main window" qd_main_window || qd_fail "no main window after relaunch"
  qd_stop_checked
  check_centres "the plain root colour is back after relaunch and quit" 5B2C6F
  qd_check "no root pixmap is left after relaunch and quit" no_root_pixmap
}

root_window_resolution_switch() {
  local first x y w h
  first=$(monitor_outputs | sed -n 1p)
  qd_section "root window: a resolution switch draws the picture again"
  qd_new_home
  qd_write_defaults "{\"pref.restoreOnLaunch\": true, \"state.background\": \"image\",
                      \"lightWallpaperURL\": \"$halves\", \"darkWallpaperURL\": \"$halves\"}"
  qd_launch_quillet quillet-root-resize
  minimize_main_window
  read -r x y w h < <(monitor_rect "$first")
  qd_wait_eq 15 "the right half blue" 0000FF qd_pixel $((x + w * 6 / 10)) $((y + h / 2))
  xrandr --output "$first" --mode 1280x720
  read -r x y w h < <(monitor_rect "$first")
  qd_check_eq "the monitor is 1280 × 720" "1280 720" "$w $h"
  qd_wait_eq 15 "after the switch the picture fills the new size (60 % across is blue)" 0000FF \
    qd_pixel $((x + w * 6 / 10)) $((y + h / 2))
  qd_stop_checked
  qd_wait_eq 15 "the plain root colour is back" 5B2C6F qd_pixel $((x + w / 2)) $((y + h / 2))
  xrandr --output "$first" --mode 1920x1080
}

root_window_picture_of_another_setter() {
  qd_section "root window: a root picture left by another setter comes back from its snapshot"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#336699"}'
  qd_launch_quillet quillet-root-setter
  check_centres "the other setter's colour" 336699
  # A setter that stays away: its picture remains, nothing of it is recorded.
  qd_stop_process "$quillet_pid" KILL 10
  rm -rf "$(support_dir)"
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#D35400"}'
  qd_launch_quillet quillet-root-second
  minimize_main_window
  check_centres "our colour replaced it" D35400
  qd_check "the root's own record holds a snapshot" grep -q '"picture"' "$(support_dir)/desktop-root.json"
  qd_stop_checked
  check_centres "the other setter's picture is back" 336699
  qd_check_eq "no picture record after quitting" null "$(qd_stored wallpaper.originalURLs)"
}

qd_start_desktop --monitors "$monitors"
mine=$QD_TMP/mine.png mine2=$QD_TMP/mine-too.png slides=$QD_TMP/slides
light=$QD_TMP/light.png dark=$QD_TMP/dark.png band=$QD_TMP/band.png halves=$QD_TMP/halves.png
mkdir -p "$slides"
convert -size 320x200 xc:'#336699' "$mine"
convert -size 320x200 xc:'#884422' "$mine2"
convert -size 320x200 xc:'#F4F1E8' "$light"
convert -size 320x200 xc:'#1B1F2A' "$dark"
for c in 'a #AA3333' 'b #33AA33' 'c #3333AA'; do convert -size 320x200 "xc:${c#* }" "$slides/${c%% *}.png"; done
# A red column on the left, a green band along the top, blue below: a strip is easy to tell apart.
convert -size 320x200 xc:'#0000FF' -fill '#00FF00' -draw 'rectangle 0,0 319,30' \
  -fill '#FF0000' -draw 'rectangle 0,0 39,199' "$band"
convert -size 320x200 xc:'#FF0000' -fill '#0000FF' -draw 'rectangle 160,0 319,199' "$halves"
user_desktop
sleep 1
baseline=$(dump)
qd_log "the user's desktop: $(wc -l <<<"$baseline") settings"
if [ "${QUILLET_WALLPAPER_KILLS_ONLY:-}" = 1 ]; then
  # Only the kill campaign (bench/wallpaper_kills.sh runs it with many trials).
  kill_trials "$kills"
  qd_finish
fi
xfce_switch_off_with_the_panel_covered
xfce_current_picture_chosen
xfce_strip_only_under_the_panel
xfce_keep_with_covered_panel
xfce_slideshow_paused
image_follows_the_appearance
xfce_record_waits_for_xfdesktop
xfce_monitor_off_during_the_session
kill_trials "$kills"
qd_stop_desktop

qd_start_desktop --no-xfdesktop --root-solid 5B2C6F --monitors "$monitors"
root_window_plain_colour
root_window_resolution_switch
root_window_picture_of_another_setter
qd_finish
