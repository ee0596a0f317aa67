#!/usr/bin/env bash
# The desktops users have besides a full Xfce, each on its own virtual desktop, read back from
# the real desktop (root window properties, pixels, xfconf, the desktop's own processes):
# - openbox + tint2 (no desktop program): a colour goes into the root pixmap, announced under
#   both names; twenty changes later tint2 still runs and shows the last colour; quitting puts
#   the bare root back and leaves no record; with icons hidden the main window says why that
#   cannot work here, and its popovers are no taskbar entries (only the main window is, as tint2
#   lists windows);
# - MATE (caja draws the desktop from GSettings): a colour, the light picture and hidden icons
#   show on caja's desktop and in GSettings; twenty picture and cover changes later caja and
#   mate-panel still run; quitting, and a kill -9 followed by another run, leave every key as
#   the user had it (unset keys unset); the main window with "Color" chosen shows it unexplained;
#   under "Hide items" mate-panel's clock (showing seconds) keeps ticking;
# - LXDE (pcmanfm draws the desktop, lxpanel is the panel): a colour and an image reach
#   pcmanfm's desktop and its settings file; twenty picture and cover changes later pcmanfm and
#   lxpanel still run; quitting puts the settings file back byte for byte and pcmanfm's colour on
#   the screen, and pcmanfm holds the user's earlier picture again (its next save names it, and
#   a picture mode shows it); a program killed with SIGKILL right after a change, or in the middle of a run of
#   changes, leaves a record the next run puts back; with icons hidden the main window says why
#   pcmanfm's cannot be; on lxpanel
#   "Hide items" covers only the hidden tray icon's place and the clock right of the tray keeps
#   ticking, with the other icon hidden the first closes up into its place, "Hide bar" covers
#   the whole panel; on two monitors the colour goes onto pcmanfm's
#   first monitor (the one its command line reaches), the main window names that monitor and
#   says the others keep theirs, and the second one's settings stay as they were; for a user
#   who never had a picture, "Keep" brings pcmanfm's colour back and the window says pcmanfm
#   keeps the name of the last picture;
# - LXQt (pcmanfm-qt draws the desktop with a picture of the user's, lxqt-panel is the panel):
#   a colour and an image reach pcmanfm-qt's desktop and its settings.conf in the user's own
#   picture mode; twenty picture and cover changes later pcmanfm-qt and lxqt-panel still run;
#   quitting puts the user's picture on the screen, settings.conf back byte for byte and the
#   user's picture in pcmanfm-qt's cache; on lxqt-panel (which shows its XEmbed icons as buttons
#   of its own) "Hide items" works as on lxpanel; a display mode switches and comes back; with
#   pcmanfm-qt showing its plain colour (left alone: settings and colour untouched), icons
#   hidden and an lxqt-panel started without accessibility, the main window says why each has
#   no effect;
# - Xfce whose xfdesktop starts after the program: the colour first goes into the root, then
#   into xfdesktop's settings once it runs (the icons stay hidden through xfconf); xfdesktop
#   killed and started again shows the colour again; quitting puts every setting back.
# Usage: other_desktops_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: other_desktops_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER}
atspi=("$QD_PYTHON" "$(dirname "$0")/atspi_drive.py")
driver=${QUILLET_WALLPAPER_DRIVER:-$(dirname "$QD_QUILLET")/tests/integration/driver/quillet_wallpaper_driver}
cover_driver=${QUILLET_COVER_DRIVER:-$(dirname "$QD_QUILLET")/tests/integration/driver/quillet_cover_driver}
window_driver=${QUILLET_WINDOW_DRIVER:-$(dirname "$QD_QUILLET")/tests/integration/driver/quillet_window_driver}
displays_driver=${2:?usage: other_desktops_test.sh PATH-TO-QUILLET PATH-TO-DISPLAYS-DRIVER}

qd_init other_desktops
for tool in openbox tint2 marco mate-panel caja lxpanel pcmanfm lxqt-panel pcmanfm-qt; do
  if ! command -v "$tool" >/dev/null; then
    qd_log "SKIP: $tool is not installed (run scripts/setup)"
    exit 77
  fi
done

root_pixmap() { xprop -root "$1" 2>/dev/null | sed -n 's/.*# \(0x[0-9a-f]*\).*/\1/p'; }
support_dir() { echo "$XDG_DATA_HOME/Quillet"; }
# The colour in the middle of the screen, below any top panel.
centre() { qd_pixel 960 600; }
# Near the right edge, clear of the main window and of caja's icons.
right_side() { qd_pixel 1880 600; }
not_our_colour() { [ "$(centre)" != D35400 ]; }
twenty_colours() {
  local i
  qd_drive background color >/dev/null
  for ((i = 1; i <= 20; i++)); do
    qd_drive colour "$(printf '#%02X5400' $((i * 10)))" >/dev/null
  done
}

openbox_tint2() {
  qd_section "openbox + tint2: the root window's picture"
  qd_start_desktop --desktop openbox-tint2
  qd_new_home
  unset XDG_CURRENT_DESKTOP
  qd_driver_start openbox "$driver"
  qd_check_eq "the desktop as the program sees it" "support Openbox||1|0" "$(qd_drive support)"
  qd_check "no root pixmap before" test -z "$(root_pixmap _XROOTPMAP_ID)"
  twenty_colours
  qd_wait_eq 15 "the last of twenty colours in the middle of the screen" C85400 centre
  qd_check "_XROOTPMAP_ID is set" test -n "$(root_pixmap _XROOTPMAP_ID)"
  qd_check_eq "ESETROOT_PMAP_ID names the same pixmap" "$(root_pixmap _XROOTPMAP_ID)" "$(root_pixmap ESETROOT_PMAP_ID)"
  qd_check "tint2 still runs after twenty picture changes" qd_runs_here tint2
  qd_check "openbox still runs" qd_runs_here openbox
  qd_check_eq "pcmanfm opened no window" "" "$(pcmanfm_windows)"
  qd_driver_quit
  qd_check "no root pixmap after quitting" test -z "$(root_pixmap _XROOTPMAP_ID)"
  qd_check "no root record is left" test ! -e "$(support_dir)/desktop-root.json"
  qd_check "tint2 still runs after quitting" qd_runs_here tint2
  popovers_off_the_taskbar
  modes_and_halves "openbox + tint2" openbox tint2
  qd_stop_desktop
}

# Resolution and window snapping go through RandR and the window manager's EWMH on every
# desktop: checked under each one's own window manager and panels.
modes_and_halves() { # DESKTOP PROGRAM...
  qd_section "$1: a display mode switched and put back, a window snapped to halves"
  qd_check_mode_round_trip "$displays_driver" "${@:2}"
  qd_check_snapping "$window_driver"
}

# Our windows in the window manager's client list that a taskbar lists: tint2 leaves out those
# marked _NET_WM_STATE_SKIP_TASKBAR (and docks, desktops, menus, toolbars and splashes, which we
# do not have). One "ID TITLE" line each.
taskbar_entries_of() { # PID
  local id
  for id in $(xprop -root _NET_CLIENT_LIST | sed 's/.*# //; s/,//g'); do
    [ "$(xprop -id "$id" _NET_WM_PID 2>/dev/null | awk '{ print $NF }')" = "$1" ] || continue
    xprop -id "$id" _NET_WM_STATE 2>/dev/null | grep -q _NET_WM_STATE_SKIP_TASKBAR && continue
    echo "$((id)) $(xdotool getwindowname "$id" 2>/dev/null)"
  done
}
clients_of() { # PID
  local id
  for id in $(xprop -root _NET_CLIENT_LIST | sed 's/.*# //; s/,//g'); do
    [ "$(xprop -id "$id" _NET_WM_PID 2>/dev/null | awk '{ print $NF }')" = "$1" ] && echo "$id"
  done
}
two_clients_of_ours() { [ "$(clients_of "$quillet_pid" | wc -l)" -ge 2 ]; }

popovers_off_the_taskbar() {
  qd_section "openbox + tint2: icons hidden are explained; the popovers are no taskbar entries"
  if ! "$QD_PYTHON" -c 'import pyatspi' 2>/dev/null; then
    qd_log "SKIP: pyatspi is not installed"
    return 0
  fi
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.desktopIconsHidden": true}'
  qd_launch_quillet quillet-tint2 QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
    { qd_fail "the main window is not on the accessibility bus"; qd_stop_checked; return; }
  local said="Icons: “Hide” has no effect on Openbox: no program draws icons on this desktop."
  qd_check "the main window explains that icons cannot be hidden here" \
    qd_wait_for 10 "the desktop banner" "${atspi[@]}" showing "$quillet_pid" "$said"
  local main
  main=$(qd_main_window)
  qd_check_eq "the main window is our one taskbar entry" "$main Quillet" "$(taskbar_entries_of "$quillet_pid")"
  "${atspi[@]}" press "$quillet_pid" "Color" "check box" || qd_fail "no Color choice to press"
  qd_wait_for 10 "the colour popover" "${atspi[@]}" showing "$quillet_pid" "Background color" ||
    qd_fail "the colour popover did not open"
  qd_check "the popover is a window the window manager lists" qd_wait_for 10 "a second client window" two_clients_of_ours
  qd_check_eq "with the colour popover open, still only the main window is a taskbar entry" \
    "$main Quillet" "$(taskbar_entries_of "$quillet_pid")"
  qd_check "tint2 still runs with the popover open" qd_runs_here tint2
  qd_stop_checked
}

mate_settings() { dconf dump /org/mate/desktop/background/; echo ---; dconf dump /org/mate/caja/desktop/; }
mate_key() { gsettings get "$1" "$2"; }
# Where caja draws its first icon ("Computer") in the top-left corner.
computer_icon() { qd_pixel 87 69; }
icon_drawn() { [ "$(computer_icon)" != "$(qd_pixel 600 69)" ]; }
solid_png() { convert -size 64x64 "xc:#$1" "$2"; }
pictures_and_covers() {
  local i
  qd_drive background color >/dev/null
  for ((i = 1; i <= 20; i++)); do
    if ((i % 2)); then qd_drive cover entire >/dev/null; else qd_drive cover keep >/dev/null; fi
    qd_drive colour "$(printf '#%02X5400' $((i * 10)))" >/dev/null
  done
}

mate() {
  qd_section "MATE: caja draws the desktop from GSettings"
  qd_start_desktop --desktop mate
  qd_new_home
  qd_share_desktop_dconf
  export XDG_CURRENT_DESKTOP=MATE
  # A key the user set (to its default) must stay set; the others stay unset.
  gsettings set org.mate.caja.desktop trash-icon-visible true
  gsettings set org.mate.background primary-color "'#5891BC'"
  local before icon_before
  before=$(mate_settings)
  qd_wait_for 15 "caja's Computer icon" icon_drawn
  icon_before=$(computer_icon)
  qd_driver_start mate "$driver"
  qd_check_eq "the desktop as the program sees it" "support MATE|caja|1|1" "$(qd_drive support)"

  qd_drive background color >/dev/null
  qd_drive colour '#D35400' >/dev/null
  qd_wait_eq 15 "the colour in the middle of caja's desktop" D35400 centre
  qd_check_eq "the colour in GSettings" "'#D35400'" "$(mate_key org.mate.background primary-color)"
  qd_check "the picture is the program's colour file" \
    bash -c "gsettings get org.mate.background picture-filename | grep -q quillet-color-"
  qd_check_eq "caja's Computer icon still shows" "$icon_before" "$(computer_icon)"

  qd_drive icons hide >/dev/null
  qd_wait_eq 15 "caja's icons gone: the colour where the Computer icon was" D35400 computer_icon
  qd_check_eq "caja's home icon is switched off" false "$(mate_key org.mate.caja.desktop home-icon-visible)"
  qd_check_eq "the picture stays" D35400 "$(centre)"
  qd_check "caja's desktop window is still there" qd_xprobe windows --type desktop

  local light=$QD_TMP/light.png dark=$QD_TMP/dark.png
  solid_png 2E86C1 "$light"
  solid_png 6C3483 "$dark"
  qd_drive light "$light" >/dev/null
  qd_drive dark "$dark" >/dev/null
  qd_drive background image >/dev/null
  qd_wait_eq 15 "the light picture on caja's desktop" 2E86C1 centre
  qd_check_eq "the light picture in GSettings" "'$light'" "$(mate_key org.mate.background picture-filename)"
  qd_check_eq "zoomed" "'zoom'" "$(mate_key org.mate.background picture-options)"

  pictures_and_covers
  qd_wait_eq 15 "the last of twenty colours in the middle of the screen" C85400 centre
  qd_check "caja still runs after twenty picture and cover changes" qd_runs_here caja
  qd_check "mate-panel still runs" qd_runs_here mate-panel
  qd_check "caja's desktop window is still there" qd_xprobe windows --type desktop
  qd_check "the record of the settings is on disk" test -s "$(support_dir)/desktop-mate.json"
  qd_driver_quit
  qd_check_eq "every key as before quitting (unset keys unset)" "$before" "$(mate_settings)"
  qd_wait_eq 15 "caja's Computer icon back" "$icon_before" computer_icon
  qd_check "caja still runs after quitting" qd_runs_here caja
  qd_check "no record is left" test ! -e "$(support_dir)/desktop-mate.json"
  qd_check_eq "no picture record waits for a restore" null "$(qd_stored wallpaper.originalURLs)"

  qd_section "MATE: killed during a change, launched again, quit"
  qd_driver_start mate-killed "$driver"
  qd_drive icons hide >/dev/null
  qd_drive background color >/dev/null
  qd_drive colour '#1E8449' >/dev/null
  qd_wait_eq 15 "the first colour in GSettings" "'#1E8449'" mate_key org.mate.background primary-color
  qd_wait_eq 15 "the icons hidden" false mate_key org.mate.caja.desktop home-icon-visible
  # The next change is under way on the picture thread when the program is killed.
  qd_drive cover entire >/dev/null
  qd_drive colour '#7D3C98' >/dev/null
  qd_stop_process "$QD_DRIVER_PID" KILL 5
  unset "QD_DRIVERS[mate-killed]"
  qd_check "the record outlives the kill" test -s "$(support_dir)/desktop-mate.json"
  qd_driver_start mate-again "$driver"
  qd_driver_quit
  qd_check_eq "every key as before after the kill and the next run" "$before" "$(mate_settings)"
  qd_wait_eq 15 "caja's Computer icon back after the kill" "$icon_before" computer_icon
  qd_check "caja still runs" qd_runs_here caja
  qd_check "mate-panel still runs" qd_runs_here mate-panel
  gsettings reset org.mate.caja.desktop trash-icon-visible
  gsettings reset org.mate.background primary-color
  colour_shown_on_mate
  modes_and_halves MATE marco mate-panel caja
  qd_check "caja still runs after the program quit" qd_runs_here caja
  mate_panel_cover
  qd_stop_desktop
}

# mate-panel's clock, right of the notification area, stays live under "Hide items": the
# clock shows seconds, so it changes within a second or two unless something paints over it.
mate_panel_cover() {
  qd_section "MATE: the panel cover keeps mate-panel's clock live"
  gsettings set org.mate.panel.applet.clock:/org/mate/panel/objects/clock/prefs/ show-seconds true
  qd_driver_start mate-cover "$cover_driver"
  local items masks x1 w1 x2 w2 root_w clock_x
  hide_first_tray_icon mate-panel
  qd_check_eq "Hide items: one mask" 1 "$(grep -c '^mask' <<<"$masks")"
  clock_shot "$QD_TMP/clock-then.png"
  qd_check "Hide items: the clock keeps more than the panel's colour" test "$(colours_in "$QD_TMP/clock-then.png")" -gt 2
  qd_check "Hide items: mate-panel's clock right of the tray keeps ticking" qd_wait_for 5 "the clock to change" clock_ticks
  qd_drive cover keep >/dev/null
  qd_drive settle >/dev/null
  qd_driver_quit
  qd_check "mate-panel still runs after the cover" qd_runs_here mate-panel
}

# The program itself, with "Color" chosen: caja shows the colour and the window has nothing to
# explain; quitting puts caja's picture back.
colour_shown_on_mate() {
  if ! "$QD_PYTHON" -c 'import pyatspi' 2>/dev/null; then
    qd_log "SKIP: pyatspi is not installed"
    return 0
  fi
  qd_new_home
  qd_share_desktop_dconf
  local right_before
  right_before=$(right_side)
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color", "state.backgroundColor": "#1A5276"}'
  qd_launch_quillet quillet-mate QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
    { qd_fail "the main window is not on the accessibility bus"; qd_stop_checked; return; }
  qd_wait_eq 20 "the chosen colour on caja's desktop" 1A5276 right_side
  qd_stop_checked
  qd_wait_eq 15 "caja's own picture back after quitting" "$right_before" right_side
}

# pcmanfm's settings file for its first monitor, under the test desktop's profile.
lxde_settings() { echo "$QUILLET_DESKTOP_STATE/config/pcmanfm/quillet/desktop-items-0.conf"; }
lxde_setting() { sed -n "s/^$1=//p" "$(lxde_settings)"; }
pcmanfm_fills_with() { # PATH-REGEX
  [ "$(lxde_setting wallpaper_mode)" = crop ] && lxde_setting wallpaper | grep -qE "$1"
}
# pcmanfm windows other than its desktop (a folder window opened by mistake), one id a line.
pcmanfm_windows() {
  local id
  for id in $(xprop -root _NET_CLIENT_LIST | sed 's/.*# //; s/,//g'); do
    xprop -id "$id" WM_CLASS 2>/dev/null | grep -qi pcmanfm || continue
    xprop -id "$id" _NET_WM_WINDOW_TYPE 2>/dev/null | grep -q _NET_WM_WINDOW_TYPE_DESKTOP || echo "$id"
  done
}
# pcmanfm and pcmanfm-qt take pictures through their settings file: a colour, then an image, then
# twenty picture and cover changes reach the desktop and the file; the desktop's programs still
# run; quitting leaves no record. SHOWS-IN-SETTINGS tells whether the settings name a picture
# (a path pattern) in the way this desktop program shows it.
pictures_through_settings() { # PROGRAM PANEL SHOWS-IN-SETTINGS IMAGE
  local program=$1 record=desktop-$1.json
  qd_drive background color >/dev/null
  qd_drive colour '#D35400' >/dev/null
  qd_wait_eq 15 "the colour on $program's desktop" D35400 centre
  qd_check "the colour picture is in $program's settings" "$3" '/Quillet/quillet-color-[0-9]+\.png$'
  qd_check "the record is on disk" test -s "$(support_dir)/$record"
  qd_drive light "$4" >/dev/null
  qd_drive dark "$4" >/dev/null
  qd_drive background image >/dev/null
  qd_wait_eq 15 "the image on $program's desktop" 00A000 centre
  qd_check "$program's settings name the image" "$3" "^$4\$"
  pictures_and_covers
  qd_drive cover keep >/dev/null
  qd_wait_eq 15 "the last of twenty colours on $program's desktop" C85400 centre
  qd_check "$program still runs after twenty picture and cover changes" qd_runs_here "$program"
  qd_check "$2 still runs after twenty picture and cover changes" qd_runs_here "$2"
  qd_check "openbox still runs" qd_runs_here openbox
  qd_check_eq "$program opened no window" "" "$(pcmanfm_windows)"
  qd_driver_quit
  qd_check "no $program record is left" test ! -e "$(support_dir)/$record"
}

# pcmanfm's own command line, run as the desktop runs its programs (the desktop's pcmanfm
# takes it over its socket).
pcmanfm_says() { # ARGUMENTS...
  local environ=()
  mapfile -d '' environ <"/proc/$(desktop_pid pcmanfm)/environ"
  env -i "${environ[@]}" pcmanfm "$@"
}
# The PID of this desktop's PROGRAM (other desktops may run one too).
desktop_pid() { # PROGRAM
  local pid
  for pid in $(pgrep -x "$1"); do
    grep -qzx "DISPLAY=$DISPLAY" "/proc/$pid/environ" 2>/dev/null && echo "$pid" && return 0
  done
  return 1
}
lxde() {
  qd_section "LXDE: pcmanfm draws the desktop"
  qd_start_desktop --desktop lxde
  qd_new_home
  export XDG_CURRENT_DESKTOP=LXDE
  local settings_before centre_before image=$QD_TMP/green.png own=$QD_TMP/own.png
  convert -size 64x48 xc:'#00A000' "$image"
  # The user once had a picture of their own and then chose pcmanfm's plain colour: pcmanfm
  # keeps that picture's name and writes it whenever it saves.
  convert -size 64x48 xc:'#6C3483' "$own"
  pcmanfm_says --set-wallpaper="$own" --wallpaper-mode=color
  qd_wait_eq 15 "the user's earlier picture in pcmanfm's settings" "$own" lxde_setting wallpaper
  settings_before=$(cat "$(lxde_settings)")
  centre_before=$(centre)
  qd_check_eq "pcmanfm shows its own colour" 2A5D8F "$centre_before"
  qd_driver_start lxde "$driver"
  qd_check_eq "the desktop as the program sees it" "support LXDE||1|0" "$(qd_drive support)"
  pictures_through_settings pcmanfm lxpanel pcmanfm_fills_with "$image"
  qd_wait_eq 15 "pcmanfm's own colour after quitting" "$centre_before" centre
  qd_check_eq "pcmanfm's settings file is as it was" "$settings_before" "$(cat "$(lxde_settings)")"
  # The user picks a picture mode later: pcmanfm saves its file and shows the picture it holds,
  # which is the user's again, not the program's last.
  pcmanfm_says --wallpaper-mode=stretch
  qd_wait_eq 15 "pcmanfm's next picture is the user's own" 6C3483 centre
  qd_check_eq "pcmanfm's next save names the user's picture" "$own" "$(lxde_setting wallpaper)"
  pcmanfm_says --wallpaper-mode=color
  qd_wait_eq 15 "pcmanfm's colour again" "$centre_before" centre
  settings_before=$(cat "$(lxde_settings)")
  lxde_killed_during_a_change
  panel_cover LXDE lxpanel
  qd_check "pcmanfm still runs at the end" qd_runs_here pcmanfm
  qd_check "lxpanel still runs at the end" qd_runs_here lxpanel
  modes_and_halves LXDE openbox lxpanel pcmanfm
  qd_stop_desktop
}

# The program itself, icons hidden and a colour chosen: the window says why the icons stay;
# killed with SIGKILL right after the colour reached pcmanfm, the next run puts pcmanfm back.
lxde_killed_during_a_change() {
  qd_section "LXDE: the program killed during a change, then started again and quit"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color",
                      "state.backgroundColor": "#2E8B57", "state.desktopIconsHidden": true}'
  qd_launch_quillet quillet-lxde QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  qd_wait_for 15 "the colour in pcmanfm's settings" pcmanfm_fills_with '/Quillet/quillet-color-[0-9]+\.png$' ||
    qd_fail "the colour did not reach pcmanfm's settings"
  qd_wait_eq 15 "the colour on pcmanfm's desktop beside the main window" 2E8B57 right_side
  if "$QD_PYTHON" -c 'import pyatspi' 2>/dev/null; then
    local said="Icons: “Hide” has no effect on LXDE: pcmanfm has no setting that hides its desktop icons and keeps the picture."
    qd_check "the main window explains why pcmanfm's icons stay" \
      qd_wait_for 20 "the desktop banner" "${atspi[@]}" showing "$quillet_pid" "$said"
  else
    qd_log "SKIP: pyatspi is not installed"
  fi
  qd_stop_process "$quillet_pid" KILL 10
  qd_check "the record survives the kill" test -s "$(support_dir)/desktop-pcmanfm.json"
  "$QD_PYTHON" -c 'import json,sys; p=sys.argv[1]; d=json.load(open(p)); d["pref.restoreOnLaunch"]=False; json.dump(d, open(p, "w"))' \
    "$XDG_CONFIG_HOME/Quillet/defaults.json"
  qd_launch_quillet quillet-lxde-again
  qd_wait_for 15 "quillet's main window" qd_main_window || qd_fail "no main window after the relaunch"
  qd_stop_checked
  qd_wait_eq 15 "pcmanfm's own colour after the relaunch quit" "$centre_before" centre
  qd_check_eq "pcmanfm's settings file is as it was after the kill" "$settings_before" "$(cat "$(lxde_settings)")"
  qd_check "no pcmanfm record is left after the kill" test ! -e "$(support_dir)/desktop-pcmanfm.json"

  qd_section "LXDE: killed in the middle of a run of changes"
  qd_new_home
  qd_driver_start lxde-kill "$driver"
  qd_drive background color >/dev/null
  local i
  # Queued without waiting for the answers: the kill lands while pcmanfm takes them.
  for ((i = 1; i <= 8; i++)); do
    echo "$(($(wc -l <"$QD_DRIVER_CMDS") + 1)) colour $(printf '#%02X8B57' $((i * 20)))" >>"$QD_DRIVER_CMDS"
  done
  qd_wait_for 15 "a colour in pcmanfm's settings" pcmanfm_fills_with '/Quillet/quillet-color-[0-9]+\.png$' ||
    qd_fail "no colour reached pcmanfm's settings"
  qd_stop_process "$QD_DRIVER_PID" KILL 10
  unset "QD_DRIVERS[$QD_DRIVER]"
  qd_launch_quillet quillet-lxde-after-kill
  qd_wait_for 15 "quillet's main window" qd_main_window || qd_fail "no main window after the kill"
  qd_stop_checked
  qd_wait_eq 15 "pcmanfm's own colour after a kill in the middle" "$centre_before" centre
  qd_check_eq "pcmanfm's settings file is as it was after a kill in the middle" "$settings_before" "$(cat "$(lxde_settings)")"
  qd_check "no pcmanfm record is left after a kill in the middle" test ! -e "$(support_dir)/desktop-pcmanfm.json"
}

lxde_two_monitors() {
  if [ "$(id -u)" != 0 ]; then
    qd_log "SKIP: two monitors run on Xorg's dummy driver, which needs root"
    return 0
  fi
  qd_section "LXDE on two monitors: pcmanfm takes pictures on its first monitor, the window says so"
  qd_start_desktop --desktop lxde --monitors 2
  qd_new_home
  export XDG_CURRENT_DESKTOP=LXDE
  local first second first_name
  first=$(cat "$(lxde_settings)")
  second=$(cat "${QUILLET_DESKTOP_STATE}/config/pcmanfm/quillet/desktop-items-1.conf")
  first_name=$(xrandr --listmonitors | awk '$3 ~ /\+0\+0$/ { print $NF; exit }')
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color", "state.backgroundColor": "#D35400"}'
  qd_launch_quillet quillet-lxde-two QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  qd_wait_eq 20 "the colour on the first monitor beside the main window" D35400 right_side
  if "$QD_PYTHON" -c 'import pyatspi' 2>/dev/null; then
    local said="Background: “Color” reaches only part of LXDE: pcmanfm takes a new picture for its first monitor ($first_name) only, the other monitors keep their own."
    qd_check "the main window says the other monitor keeps its picture" \
      qd_wait_for 20 "the desktop banner" "${atspi[@]}" showing "$quillet_pid" "$said"
    # This user never had a picture of their own: pcmanfm takes no empty one back, so it keeps
    # the name of the program's last picture, and the window says so once the colour is back.
    "${atspi[@]}" press "$quillet_pid" "Keep" "check box" || qd_fail "no Keep choice to press"
    qd_wait_eq 15 "pcmanfm's own colour on the first monitor with Keep chosen" 2A5D8F right_side
    local kept="pcmanfm shows your desktop as before, but it takes no empty picture from other programs: until it restarts it keeps the name of Quillet's last picture, and may write it into its settings."
    qd_check "the main window says pcmanfm keeps the name of the last picture" \
      qd_wait_for 10 "the notice" "${atspi[@]}" showing "$quillet_pid" "$kept"
  else
    qd_log "SKIP: pyatspi is not installed"
  fi
  qd_check_eq "the second monitor keeps pcmanfm's colour" 2A5D8F "$(qd_pixel 2880 600)"
  qd_check_eq "the second monitor's settings are untouched" "$second" \
    "$(cat "${QUILLET_DESKTOP_STATE}/config/pcmanfm/quillet/desktop-items-1.conf")"
  qd_stop_checked
  qd_wait_eq 15 "pcmanfm's own colour on the first monitor after quitting" 2A5D8F right_side
  qd_check_eq "the first monitor's settings are as they were" "$first" "$(cat "$(lxde_settings)")"
  qd_check "pcmanfm still runs on two monitors" qd_runs_here pcmanfm
  qd_stop_desktop
}

# The lxpanel clock, right of the tray: what the root shows there now.
clock_shot() { import -window root -crop "$((root_w - clock_x))x24+$clock_x+4" "$1" 2>/dev/null; }
clock_ticks() { clock_shot "$QD_TMP/clock-now.png" && [ "$(compare -metric AE "$QD_TMP/clock-then.png" "$QD_TMP/clock-now.png" null: 2>&1 | cut -d' ' -f1)" != 0 ]; }
colours_in() { convert "$1" -format %k info:; }
# "Hide items" with the first tray icon hidden, as both panels' checks begin: sets the caller's
# items, masks, x1 w1 x2 w2 (the two icons), root_w and clock_x (right of the tray).
hide_first_tray_icon() { # PANEL
  qd_wait_for 20 "the two tray icons as items" yad_items || qd_fail "$1's tray items: $items"
  read -r x1 w1 x2 w2 <<<"$(sed 's/.* x=\([0-9]*\) .* w=\([0-9]*\) .*/\1 \2/' <<<"$items" | paste -sd ' ')"
  root_w=$(xdpyinfo 2>/dev/null | sed -n 's/.*dimensions: *\([0-9]*\)x.*/\1/p')
  clock_x=$((x2 + w2 + 4))
  qd_drive cover items >/dev/null
  qd_drive settle >/dev/null
  qd_drive toggle YAD 1 >/dev/null
  qd_drive settle >/dev/null
  masks=$(qd_drive masks)
}
# The two tray icons' items (a panel that tells where its clock is lists it too).
yad_items() { items=$(qd_drive items | grep ' label=YAD [12]$') && [ "$(sed -n 's/.* label=//p' <<<"$items" | paste -sd '|')" = "YAD 1|YAD 2" ]; }

# Whether the picture holds no icon: each column alike (a panel's background may shade from
# top to bottom).
columns_alike() { # PNG WIDTH
  convert "$1" +repage -crop 1x24+0+0 +repage -sample "$2x24!" "$QD_TMP/first-column.png" &&
    [ "$(compare -metric AE "$1" "$QD_TMP/first-column.png" null: 2>&1 | cut -d' ' -f1)" = 0 ]
}

panel_cover() { # DESKTOP PANEL-PROGRAM
  qd_section "$1: the panel cover on $2"
  qd_driver_start "$2" "$cover_driver"
  local items masks x1 w1 x2 w2 root_w clock_x mask_right
  hide_first_tray_icon "$2"
  mask_right=$(($(sed -n '1s/.* x=\([0-9]*\) .*/\1/p' <<<"$masks") + $(sed -n '1s/.* w=\([0-9]*\) .*/\1/p' <<<"$masks")))
  qd_check_eq "Hide items: one mask" 1 "$(grep -c '^mask' <<<"$masks")"
  qd_check "Hide items: the mask covers YAD 1's place ($mask_right >= $((x1 + w1)))" test "$mask_right" -ge $((x1 + w1))
  qd_check "Hide items: YAD 2, which keeps its place, and the clock are not under it" test "$mask_right" -le "$x2"
  import -window root -crop "${w1}x24+$x1+4" "$QD_TMP/yad1-place.png"
  qd_check "Hide items: YAD 1's place shows only panel background" columns_alike "$QD_TMP/yad1-place.png" "$w1"
  clock_shot "$QD_TMP/clock-then.png"
  qd_check "Hide items: the clock right of the tray keeps ticking" qd_wait_for 5 "the clock to change" clock_ticks
  # YAD 2 hidden instead: YAD 1 closes up into its place.
  qd_drive toggle YAD 1 >/dev/null
  qd_drive settle >/dev/null
  import -window root -crop "${w1}x24+$x1+4" "$QD_TMP/yad1-shown.png"
  qd_drive toggle YAD 2 >/dev/null
  qd_drive settle >/dev/null
  import -window root -crop "${w1}x24+$((x2 + w2 - w1))+4" "$QD_TMP/yad2-place.png"
  qd_check_eq "Hide items: with YAD 2 hidden, YAD 1 shows in its place" 0 \
    "$(compare -metric AE "$QD_TMP/yad1-shown.png" "$QD_TMP/yad2-place.png" null: 2>&1 | cut -d' ' -f1)"
  import -window root -crop "${w1}x24+$x1+4" "$QD_TMP/yad1-place.png"
  qd_check "Hide items: YAD 1's old place shows only panel background" columns_alike "$QD_TMP/yad1-place.png" "$w1"
  qd_drive cover entire >/dev/null
  qd_drive settle >/dev/null
  masks=$(qd_drive masks)
  qd_check "Hide bar: one mask across the whole panel" grep -q "^mask .* x=0 y=0 w=$root_w " <<<"$masks"
  qd_drive cover keep >/dev/null
  qd_drive settle >/dev/null
  qd_check_eq "no mask left" "" "$(qd_drive masks)"
  qd_driver_quit
  qd_check "$2 still runs after the cover" qd_runs_here "$2"
}

# pcmanfm-qt's settings under the test desktop's profile.
lxqt_settings() { echo "$QUILLET_DESKTOP_STATE/config/pcmanfm-qt/quillet/settings.conf"; }
lxqt_setting() { sed -n "/^\[Desktop\]/,/^\[/s/^$1=//p" "$(lxqt_settings)"; }
# The picture named, in the user's own mode (pcmanfm-qt keeps the mode it read).
pcmanfm_qt_shows() { # PATH-REGEX
  [ "$(lxqt_setting WallpaperMode)" = stretch ] && lxqt_setting Wallpaper | grep -qE "$1"
}
lxqt() {
  qd_section "LXQt: pcmanfm-qt draws the desktop"
  # lxqt-panel shows where its tray icons are only on the accessibility bus, and only when that
  # answered as it started.
  qd_start_desktop --desktop lxqt --accessibility on
  qd_new_home
  export XDG_CURRENT_DESKTOP=LXQt
  local before=$QD_TMP/lxqt-settings-before.conf centre_before image=$QD_TMP/green.png
  convert -size 64x48 xc:'#00A000' "$image"
  cp "$(lxqt_settings)" "$before"
  centre_before=$(centre)
  qd_check_eq "pcmanfm-qt shows the user's picture" 3B6E4F "$centre_before"
  # pcmanfm-qt keeps the picture it shows, scaled, in a cache named after its source.
  local cache=$QUILLET_DESKTOP_STATE/cache/pcmanfm-qt/quillet
  cp "$cache/wallpaper.cache.info" "$QD_TMP/wallpaper.cache.info"
  cp "$cache/wallpaper.cache" "$QD_TMP/wallpaper.cache.png"
  qd_driver_start lxqt "$driver"
  qd_check_eq "the desktop as the program sees it" "support LXQt||1|0" "$(qd_drive support)"
  pictures_through_settings pcmanfm-qt lxqt-panel pcmanfm_qt_shows "$image"
  qd_wait_eq 15 "the user's picture after quitting" "$centre_before" centre
  qd_check "settings.conf is back byte for byte" cmp "$before" "$(lxqt_settings)"
  qd_wait_for 15 "pcmanfm-qt's cache names the user's picture again" cmp "$QD_TMP/wallpaper.cache.info" "$cache/wallpaper.cache.info" ||
    qd_fail "pcmanfm-qt's cache names $(cat "$cache/wallpaper.cache.info"), not the user's picture"
  qd_check_eq "pcmanfm-qt's cached picture is the user's again" 0 \
    "$(compare -metric AE "$QD_TMP/wallpaper.cache.png" "$cache/wallpaper.cache" null: 2>&1 | cut -d' ' -f1)"
  panel_cover LXQt lxqt-panel
  qd_check "pcmanfm-qt still runs after the cover" qd_runs_here pcmanfm-qt
  modes_and_halves LXQt openbox lxqt-panel pcmanfm-qt
  lxqt_explained
}

# lxqt-panel registers an item of its own for each XEmbed icon it takes.
two_items_registered() {
  [ "$(dbus-send --session --print-reply --dest=org.kde.StatusNotifierWatcher /StatusNotifierWatcher \
    org.freedesktop.DBus.Properties.Get string:org.kde.StatusNotifierWatcher \
    string:RegisteredStatusNotifierItems 2>/dev/null | grep -c 'string "')" = 2 ]
}
desktop_window_of() { # PID
  local id
  for id in $(xprop -root _NET_CLIENT_LIST | sed 's/.*# //; s/,//g'); do
    xprop -id "$id" _NET_WM_WINDOW_TYPE 2>/dev/null | grep -q _NET_WM_WINDOW_TYPE_DESKTOP &&
      [ "$(xprop -id "$id" _NET_WM_PID 2>/dev/null | awk '{ print $NF }')" = "$1" ] && return 0
  done
  return 1
}

# What cannot be done on LXQt, said in the main window: pcmanfm-qt showing its plain colour
# (left alone: its settings and its colour stay), its icons, and "Hide items" on an lxqt-panel
# that started with the accessibility bus off (a desktop without assistive technologies).
lxqt_explained() {
  qd_section "LXQt: pcmanfm-qt's plain colour, its icons and an lxqt-panel without accessibility explained"
  if ! "$QD_PYTHON" -c 'import pyatspi' 2>/dev/null; then
    qd_log "SKIP: pyatspi is not installed"
    return 0
  fi
  qd_start_desktop --desktop lxqt
  local before=$QD_TMP/lxqt-plain-before.conf pid pcmanfm_qt_pid environ=()
  # What pcmanfm-qt's own preferences write for a plain desktop; it reads it when it starts
  # (and saves its settings as it quits).
  pid=$(desktop_pid pcmanfm-qt)
  mapfile -d '' environ <"/proc/$pid/environ"
  qd_stop_process "$pid" TERM 10
  sed -i 's/^WallpaperMode=.*/WallpaperMode=none/' "$(lxqt_settings)"
  qd_launch pcmanfm_qt_pid "$QD_TMP/pcmanfm-qt.log" env -i "${environ[@]}" pcmanfm-qt --desktop --profile quillet
  qd_wait_for 30 "the new pcmanfm-qt's desktop window" desktop_window_of "$pcmanfm_qt_pid" ||
    qd_fail "pcmanfm-qt showed no desktop after its restart"
  qd_check_eq "pcmanfm-qt's plain colour" 3B6E4F "$(centre)"
  cp "$(lxqt_settings)" "$before"
  qd_wait_for 20 "both tray icons in lxqt-panel" two_items_registered ||
    qd_fail "lxqt-panel did not take both tray icons"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color", "state.backgroundColor": "#D35400",
                      "state.desktopIconsHidden": true, "state.menuBarCover": "items"}'
  qd_launch_quillet quillet-lxqt QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
  qd_wait_for 20 "the main window on the accessibility bus" "${atspi[@]}" showing "$quillet_pid" "Restore Original" ||
    { qd_fail "the main window is not on the accessibility bus"; qd_stop_checked; return; }
  local said
  said="Icons: “Hide” has no effect on LXQt: pcmanfm-qt reads its setting that hides desktop icons only when it starts, and takes no command for it.
Background: “Color” has no effect on LXQt: pcmanfm-qt shows a plain colour, and once it shows a picture nothing but its own desktop preferences bring the colour back; with a picture of your own chosen there, Quillet can change it.
Menu bar: “Hide items” has no effect on LXQt: lxqt-panel draws its tray icons itself and tells where they are only on the accessibility bus; switch accessibility on and restart lxqt-panel."
  qd_check "the main window says what cannot be done on LXQt" \
    qd_wait_for 20 "the desktop banner" "${atspi[@]}" showing "$quillet_pid" "$said"
  qd_check_eq "pcmanfm-qt keeps its colour" 3B6E4F "$(right_side)"
  qd_check "lxqt-panel still runs" qd_runs_here lxqt-panel
  qd_stop_checked
  qd_check "settings.conf is untouched" cmp "$before" "$(lxqt_settings)"
  qd_stop_process "$pcmanfm_qt_pid" TERM 10
  qd_stop_desktop
}

xfce_late_xfdesktop() {
  qd_section "Xfce: xfdesktop starts after the program, dies and comes back"
  qd_start_desktop --no-xfdesktop
  qd_new_home
  export XDG_CURRENT_DESKTOP=XFCE
  local image=/backdrop/screen0/monitorscreen/workspace0/last-image xfdesktop_pid
  qd_driver_start xfce "$driver"
  qd_check_eq "the desktop as the program sees it" "support Xfce||1|1" "$(qd_drive support)"
  qd_drive background color >/dev/null
  qd_drive colour '#D35400' >/dev/null
  qd_drive icons hide >/dev/null
  qd_wait_eq 15 "the colour in the root window" D35400 centre
  qd_wait_eq 15 "the icon style in xfconf" 0 qd_xfconf_get xfce4-desktop /desktop-icons/style

  qd_launch xfdesktop_pid "$QD_TMP/xfdesktop-1.log" xfdesktop --sm-client-disable
  qd_wait_for 30 "xfdesktop's desktop window" qd_xprobe windows --type desktop
  qd_wait_for 15 "the colour in xfdesktop's settings" \
    bash -c "xfconf-query -c xfce4-desktop -p $image 2>/dev/null | grep -q quillet-color-"
  qd_wait_eq 15 "xfdesktop draws the colour" D35400 centre

  qd_section "Xfce: xfdesktop killed and started again"
  qd_stop_process "$xfdesktop_pid" KILL 10
  qd_launch xfdesktop_pid "$QD_TMP/xfdesktop-2.log" xfdesktop --sm-client-disable
  qd_wait_for 30 "the new xfdesktop's desktop window" qd_xprobe windows --type desktop
  qd_wait_eq 15 "the new xfdesktop draws the colour" D35400 centre
  qd_check "the picture it shows exists" test -f "$(qd_xfconf_get xfce4-desktop $image)"
  qd_check "the record of xfdesktop's settings is kept" test -s "$(support_dir)/desktop-xfce.json"
  qd_check_eq "the icons stay hidden" 0 "$(qd_xfconf_get xfce4-desktop /desktop-icons/style)"

  qd_driver_quit
  # What xfdesktop set for itself when it started (its default picture) is what comes back.
  qd_wait_for 15 "xfdesktop's own picture back" \
    bash -c "xfconf-query -c xfce4-desktop -p $image 2>/dev/null | grep -q '^/usr/share/'" ||
    qd_fail "xfdesktop's picture setting is $(qd_xfconf_get xfce4-desktop $image), not its own"
  qd_wait_for 15 "xfdesktop drawing its own picture again" not_our_colour ||
    qd_fail "the screen still shows our colour after quitting"
  qd_wait_eq 15 "the icon style is gone again" "" qd_xfconf_get xfce4-desktop /desktop-icons/style
  qd_check "no xfdesktop record is left" test ! -e "$(support_dir)/desktop-xfce.json"
  qd_stop_desktop
}

# QUILLET_OTHER_DESKTOPS picks some of them (default: all, in this order).
for desktop in ${QUILLET_OTHER_DESKTOPS:-openbox_tint2 mate lxde lxde_two_monitors lxqt xfce_late_xfdesktop}; do
  "$desktop"
done
qd_finish
