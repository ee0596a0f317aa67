#!/usr/bin/env bash
# GNOME Shell and Cinnamon on X11, each on one virtual desktop shared by all its checks, read
# back from the real desktop (GSettings through dconf, the screen's pixels, xrandr, window
# frames):
# - a colour and the light picture show on the desktop's background and in its picture keys
#   (GNOME's dark key the same picture); on GNOME the dark colour scheme shows the dark picture;
#   quitting leaves every background key as the user had it (unset keys unset) and the desktop's
#   own background on the screen;
# - both shells draw their panels on their own stage, where no panel window shows: "Hide bar"
#   puts up no mask (GNOME's top bar keeps its items) and the main window says why the cover
#   cannot work there; twenty quick cover and colour changes end on the last colour (on Cinnamon
#   in the root pixmap its daemon draws too) and the desktop's programs still run;
#   a driver that quits without putting the picture back leaves a record the next run puts back;
# - the main window, icons hidden, says why that cannot work (GNOME Shell draws no desktop icons
#   while its desktop icons extension is off; no program draws them on Cinnamon without nemo)
#   and shows the chosen colour;
# - with nemo-desktop on Cinnamon, "Hide" takes its icons away (nemo's layout empty), "Show"
#   and quitting bring them back with the layout as the user had it; nemo-desktop keeps running;
# - with GNOME's desktop icons extension on, "Hide" switches it off (its desktop window goes),
#   "Show", quitting and the run after a kill switch it on again, the extension keys as before;
# - a display mode is switched and put back through RandR under the desktop's window manager;
# - a window is snapped to the left and right halves of the space the panels leave.
# Usage: gnome_cinnamon_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: gnome_cinnamon_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER}
displays_driver=${2:?usage: gnome_cinnamon_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER}
drivers=$(dirname "$QD_QUILLET")/tests/integration/driver
driver=${QUILLET_WALLPAPER_DRIVER:-$drivers/quillet_wallpaper_driver}
cover_driver=${QUILLET_COVER_DRIVER:-$drivers/quillet_cover_driver}
window_driver=${QUILLET_WINDOW_DRIVER:-$drivers/quillet_window_driver}
atspi=("$QD_PYTHON" "$(dirname "$0")/atspi_drive.py")

qd_init gnome_cinnamon
if ! command -v gnome-shell >/dev/null || ! command -v cinnamon >/dev/null; then
  qd_log "SKIP: gnome-shell or cinnamon is not installed (run scripts/setup gnome)"
  exit 77
fi

# The desktop under test: its name as the program says it, its background schema, its programs.
desktop="" schema="" programs=()

centre() { qd_pixel 960 600; }
# Near the right edge, clear of the main window.
right_side() { qd_pixel 1880 600; }
background_keys() { dconf dump "/${schema//.//}/"; }
key() { gsettings get "$schema" "$1"; }
solid_png() { convert -size 64x64 "xc:#$1" "$2"; }
colours_in() { convert "$1" -format %k info:; }
# How many colours GNOME's top bar shows (its text and symbols, or one colour when covered).
top_bar_colours() {
  import -window root -crop 1920x32+0+0 "$QD_TMP/top-bar.png" 2>/dev/null && colours_in "$QD_TMP/top-bar.png"
}
bar_shows_items() { [ "$(top_bar_colours)" -gt 2 ]; }
show_pictures() { # LIGHT DARK
  qd_drive light "$1"
  qd_drive dark "$2"
  qd_drive background image
} >/dev/null
# The colour the desktop shows is within 2 of RRGGBB in each channel (the shells draw the
# background through GL, which may round a channel by one).
near() { # RRGGBB COMMAND...
  local want=$1 got i
  got=$("${@:2}")
  for i in 0 2 4; do
    (($(printf '%d' "0x${want:i:2}") - $(printf '%d' "0x${got:i:2}") <= 2 &&
      $(printf '%d' "0x${got:i:2}") - $(printf '%d' "0x${want:i:2}") <= 2)) || return 1
  done
}
programs_run() {
  local name
  for name in "${programs[@]}"; do qd_runs_here "$name" || return 1; done
}

start() { # --desktop NAME
  qd_start_desktop "$@"
  qd_new_home
  qd_share_desktop_dconf
  # The user's own picture; a key the user set (to its default) must stay set, the others
  # stay unset.
  solid_png 5891BC "$QD_TMP/own.png"
  gsettings set "$schema" picture-uri "'file://$QD_TMP/own.png'"
  gsettings set "$schema" picture-options "'zoom'"
  before=$(background_keys)
  centre_before=5891BC
  qd_wait_eq 15 "the user's own picture on $desktop's background" "$centre_before" centre
}

pictures() {
  qd_section "$desktop: the background from GSettings"
  local light=$QD_TMP/light.png dark=$QD_TMP/dark.png
  solid_png 2E86C1 "$light"
  solid_png 6C3483 "$dark"
  qd_driver_start "$desktop" "$driver"
  qd_check_eq "the desktop as the program sees it" "support $desktop||1|0" "$(qd_drive support)"
  qd_drive background color >/dev/null
  qd_drive colour '#D35400' >/dev/null
  qd_wait_eq 15 "the colour on $desktop's background" D35400 centre
  qd_check "the picture is the program's colour file" bash -c "gsettings get $schema picture-uri | grep -q quillet-color-"
  show_pictures "$light" "$dark"
  qd_wait_eq 15 "the light picture on $desktop's background" 2E86C1 centre
  qd_check_eq "the light picture in GSettings" "'file://$light'" "$(key picture-uri)"
  qd_check_eq "zoomed, at full opacity" "'zoom' 100" "$(key picture-options) $(key picture-opacity)"
  qd_check "the record of the settings is on disk" test -s "$XDG_DATA_HOME/Quillet/desktop-${desktop,,}.json"
  [ "$desktop" != GNOME ] || qd_check_eq "GNOME's dark picture is the same" "$(key picture-uri)" "$(key picture-uri-dark)"
  qd_driver_quit
  qd_check_eq "every background key as before quitting (unset keys unset)" "$before" "$(background_keys)"
  qd_wait_eq 15 "$desktop's own background after quitting" "$centre_before" centre
  [ "$desktop" = GNOME ] || return 0

  qd_section "GNOME: the dark colour scheme shows the dark picture"
  gsettings set org.gnome.desktop.interface color-scheme "'prefer-dark'"
  qd_driver_start gnome-dark "$driver"
  show_pictures "$light" "$dark"
  qd_wait_eq 15 "the dark picture on GNOME Shell's background" 6C3483 centre
  qd_check_eq "the dark picture in both keys" "'file://$dark' 'file://$dark'" "$(key picture-uri) $(key picture-uri-dark)"
  qd_driver_quit
  gsettings reset org.gnome.desktop.interface color-scheme
  qd_check_eq "every background key as before the dark run" "$before" "$(background_keys)"
}

cover() {
  qd_section "$desktop: twenty cover and colour changes"
  qd_driver_start "$desktop-cover" "$cover_driver"
  local i
  # The shell draws its panels itself: no mask goes up, and the main window says so.
  qd_drive cover entire >/dev/null
  qd_drive settle >/dev/null
  qd_check_eq "Hide bar: no mask over a panel the shell draws" "" "$(qd_drive masks)"
  [ "$desktop" != GNOME ] || qd_check "Hide bar: the top bar shows its items" bar_shows_items
  for ((i = 1; i <= 20; i++)); do
    if ((i % 2)); then qd_drive cover entire >/dev/null; else qd_drive cover keep >/dev/null; fi
    qd_drive colour "$(printf '#%02X5400' $((i * 10)))" >/dev/null
  done
  qd_drive settle >/dev/null
  qd_wait_eq 15 "the last of twenty colours on $desktop's background" C85400 centre
  # One change per picture: the root pixmap Cinnamon's daemon draws holds the same colour.
  [ "$desktop" = GNOME ] || qd_check_eq "the last colour in Cinnamon's root pixmap" C85400 "$(qd_xprobe root-pixel 960 600)"
  qd_check "${programs[*]} still run after twenty cover and colour changes" programs_run
  qd_drive cover keep >/dev/null
  qd_drive settle >/dev/null
  qd_check_eq "Keep: no mask left" "" "$(qd_drive masks)"
  # This driver quits without putting the picture back, as a program that is killed: the
  # record waits for the next run, which puts every key back (checked below).
  qd_driver_quit
  qd_check "the record waits for the next run" test -s "$XDG_DATA_HOME/Quillet/desktop-${desktop,,}.json"
}

# The program itself: what cannot work here is said in the main window.
explained() { # BANNER-TEXT
  qd_section "$desktop: the main window explains what cannot work"
  if ! "$QD_PYTHON" -c 'import pyatspi' 2>/dev/null; then
    qd_log "SKIP: pyatspi is not installed"
    return 0
  fi
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color", "state.backgroundColor": "#1A5276",
                      "state.desktopIconsHidden": true, "state.menuBarCover": "items"}'
  qd_launch_quillet "quillet-$desktop" QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
    { qd_fail "the main window is not on the accessibility bus"; qd_stop_checked; return; }
  qd_check "the main window explains: $1" \
    qd_wait_for 10 "the desktop banner" "${atspi[@]}" showing "$quillet_pid" "$1"
  qd_check "the chosen colour on $desktop's background" qd_wait_for 20 "the colour" near 1A5276 right_side
  [ "$desktop" != GNOME ] || qd_check "the top bar keeps its items under Hide items" bar_shows_items
  qd_stop_checked
  qd_wait_eq 15 "$desktop's own background after the program quit" "$centre_before" centre
  qd_check_eq "every background key as before (the record of the run before put back too)" "$before" "$(background_keys)"
}

# GNOME with its desktop icons extension (Desktop Icons NG): "Hide" switches the extension off,
# "Show", quitting and the run after a kill switch it on again; the shell's extension keys read
# back as the user had them.
extension_keys() {
  printf '%s|%s' "$(dconf read /org/gnome/shell/enabled-extensions)" "$(dconf read /org/gnome/shell/disabled-extensions)"
}
icons_record() { echo "$XDG_DATA_HOME/Quillet/icons-gnome-extension.json"; }
extension_window() { qd_xprobe windows --type desktop >/dev/null; }
no_extension_window() { ! extension_window; }
extension_icons() {
  qd_section "GNOME with the desktop icons extension: Hide switches it off, Show and quitting on again"
  # The user keeps another extension off; that stays as it is.
  gsettings set org.gnome.shell disabled-extensions "['tiling@example.org']"
  local keys_before
  keys_before=$(extension_keys)
  qd_check "the extension's desktop window shows" qd_wait_for 20 "the desktop window" extension_window
  qd_driver_start gnome-icons "$driver"
  qd_check_eq "the desktop as the program sees it (the shell draws the background, icons can hide)" \
    "support GNOME||1|1" "$(qd_drive support)"
  qd_drive icons hide >/dev/null
  qd_check "Hide: the extension's desktop window goes" qd_wait_for 15 "no desktop window" no_extension_window
  qd_check "Hide: the record of the extension keys is on disk" test -s "$(icons_record)"
  qd_check_eq "Hide: the shell's own background still shows" "$centre_before" "$(centre)"
  qd_check_eq "the icons can still be shown (the extension is off because of the program)" \
    "support GNOME||1|1" "$(qd_drive support)"
  qd_drive icons show >/dev/null
  qd_check "Show: the desktop window is back" qd_wait_for 20 "the desktop window" extension_window
  qd_check_eq "Show: the extension keys as before" "$keys_before" "$(extension_keys)"
  qd_check "Show: no record is left" test ! -e "$(icons_record)"
  qd_drive icons hide >/dev/null
  qd_check "Hide again" qd_wait_for 15 "no desktop window" no_extension_window
  qd_driver_quit
  qd_check "after quitting: the desktop window is back" qd_wait_for 20 "the desktop window" extension_window
  qd_check_eq "after quitting: the extension keys as before" "$keys_before" "$(extension_keys)"

  qd_section "GNOME with the desktop icons extension: killed while hidden, launched again"
  qd_driver_start gnome-icons-killed "$driver"
  qd_drive icons hide >/dev/null
  qd_check "Hide" qd_wait_for 15 "no desktop window" no_extension_window
  qd_stop_process "$QD_DRIVER_PID" KILL 5
  unset "QD_DRIVERS[gnome-icons-killed]"
  qd_check "the record outlives the kill" test -s "$(icons_record)"
  qd_driver_start gnome-icons-again "$driver"
  qd_driver_quit
  qd_check "the next run switched the extension on: its desktop window is back" \
    qd_wait_for 20 "the desktop window" extension_window
  qd_check_eq "the extension keys as before the kill" "$keys_before" "$(extension_keys)"
  qd_check "no record is left" test ! -e "$(icons_record)"
  qd_check "gnome-shell still runs" programs_run
}

# Cinnamon with nemo-desktop, which draws the desktop icons (one file in ~/Desktop): "Hide"
# empties nemo's layout, "Show" and quitting give the user's layout back (unset stays unset);
# Cinnamon's background shows throughout and nemo-desktop keeps running.
nemo_layout() { dconf read /org/nemo/desktop/desktop-layout; }
# Colours in the top-left corner, where nemo-desktop puts the first icon.
icon_area_colours() {
  import -window root -crop 240x160+0+0 "$QD_TMP/icon-area.png" 2>/dev/null && colours_in "$QD_TMP/icon-area.png"
}
icon_shows() { [ "$(icon_area_colours)" -gt 2 ]; }
icon_gone() { [ "$(icon_area_colours)" = 1 ]; }
# The nemo-desktop the desktop started, by its PID.
nemo_runs() {
  local pid
  pid=$(awk '$1 == "nemo_desktop" { print $2 }' "$QD_DESKTOP_STATE/pids")
  [ -n "$pid" ] && [ "$(cat "/proc/$pid/comm" 2>/dev/null)" = nemo-desktop ]
}
hide_nemo_icons() { # STEP
  qd_drive icons hide >/dev/null
  qd_check "$1: the icon goes" qd_wait_for 15 "no icon" icon_gone
  qd_check_eq "$1: nemo's layout shows the desktop folder nowhere" "'false::false'" "$(nemo_layout)"
}

nemo_icons() {
  qd_section "Cinnamon with nemo-desktop: its desktop icons hidden and shown"
  qd_check "the file's icon shows" qd_wait_for 20 "the icon" icon_shows
  qd_driver_start cinnamon-nemo "$driver"
  qd_check_eq "the icons can be hidden" "support Cinnamon|nemo-desktop|1|1" "$(qd_drive support)"
  hide_nemo_icons Hide
  qd_check_eq "Hide: Cinnamon's background still shows" "$centre_before" "$(centre)"
  qd_check "Hide: nemo-desktop still runs" nemo_runs
  qd_drive icons show >/dev/null
  qd_check "Show: the icon is back" qd_wait_for 15 "the icon" icon_shows
  qd_check_eq "Show: the layout unset again" "" "$(nemo_layout)"
  hide_nemo_icons "Hide again"
  qd_driver_quit
  qd_check "after quitting: the icon is back" qd_wait_for 15 "the icon" icon_shows
  qd_check_eq "after quitting: the layout unset again" "" "$(nemo_layout)"

  qd_section "Cinnamon with nemo-desktop: the user's own layout given back"
  gsettings set org.nemo.desktop desktop-layout "'true::true'"
  qd_driver_start cinnamon-nemo-own "$driver"
  hide_nemo_icons Hide
  qd_driver_quit
  qd_check_eq "after quitting: the user's layout" "'true::true'" "$(nemo_layout)"
  qd_check "after quitting: the icon is back" qd_wait_for 15 "the icon" icon_shows
  qd_check "nemo-desktop, started with the desktop, still runs at the end" nemo_runs
  qd_check "cinnamon still runs at the end" programs_run
}

resolution() {
  qd_section "$desktop: a display mode switched and put back"
  qd_check_mode_round_trip "$displays_driver" "${programs[@]}"
}

snapping() {
  qd_section "$desktop: a window snapped to the halves of the space the panels leave"
  qd_check_snapping "$window_driver"
}

desktop=GNOME schema=org.gnome.desktop.background programs=(gnome-shell)
export XDG_CURRENT_DESKTOP=GNOME
start --desktop gnome
pictures
cover
explained "Icons: “Hide” has no effect on GNOME: GNOME Shell draws no desktop icons."$'\n'"Menu bar: “Hide items” has no effect on GNOME: GNOME Shell draws its panels itself, and Quillet finds no panel window to cover."
resolution
snapping
qd_check "gnome-shell still runs at the end" programs_run
qd_stop_desktop

if [ -f /usr/share/gnome-shell/extensions/ding@rastersoft.com/metadata.json ]; then
  start --desktop gnome --gnome-extension ding@rastersoft.com
  extension_icons
  qd_stop_desktop
else
  qd_log "SKIP: the desktop icons extension is not installed (run scripts/setup gnome)"
fi

desktop=Cinnamon schema=org.cinnamon.desktop.background programs=(cinnamon csd-background)
export XDG_CURRENT_DESKTOP=X-Cinnamon
start --desktop cinnamon
pictures
cover
explained "Icons: “Hide” has no effect on Cinnamon: no program draws icons on this desktop."$'\n'"Menu bar: “Hide items” has no effect on Cinnamon: Cinnamon draws its panels itself, and Quillet finds no panel window to cover."
resolution
snapping
qd_check "cinnamon and its background daemon still run at the end" programs_run
qd_stop_desktop

if command -v nemo-desktop >/dev/null; then
  start --desktop cinnamon --nemo-desktop
  nemo_icons
  qd_stop_desktop
else
  qd_log "SKIP: nemo-desktop is not installed (run scripts/setup gnome)"
fi
qd_finish
