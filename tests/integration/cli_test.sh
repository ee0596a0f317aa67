#!/usr/bin/env bash
# The command line and the D-Bus service on a real Xfce desktop: help, version and usage errors
# without a desktop; every command and every D-Bus member against a running Quillet, read back
# from the desktop (icon style, desktop picture, masks over the panel, stored choices); bad values
# refused with nothing changed; and the single-instance channel, which another user's folder
# cannot take over and a crashed run's socket cannot block.
# Usage: cli_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: cli_test.sh PATH-TO-QUILLET}

qd_init cli

# Runs quillet with ARGS; its exit status goes to $status, its output to $out and $err. Each run
# gets files of its own: a Quillet that a command started keeps writing to its standard error.
cli_runs=0
cli() {
  cli_runs=$((cli_runs + 1))
  local base=$QD_TMP/cli-$cli_runs
  timeout 90 "$QD_QUILLET" "$@" >"$base.out" 2>"$base.err" </dev/null
  status=$?
  out=$(cat "$base.out")
  err=$(cat "$base.err")
}
contains() { [[ "$1" == *"$2"* ]]; }

qd_section "help, version and usage errors need no desktop"
qd_new_home
(
  unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM DBUS_SESSION_BUS_ADDRESS
  cli --help
  qd_check_eq "--help exits with 0" 0 "$status"
  qd_check "--help lists every command" \
    bash -c '[[ $1 == *--enable*--disable*--toggle*--show*--quit*--status* ]]' _ "$out"
  qd_check_eq "--help writes nothing on standard error" "" "$err"
  cli --version
  qd_check_eq "--version exits with 0 and prints the version" "0 quillet 0.1.0" "$status $out"
  cli -V
  qd_check_eq "-V is --version" "0 quillet 0.1.0" "$status $out"
  cli --frobnicate
  qd_check_eq "an unknown option exits with 2" 2 "$status"
  qd_check "an unknown option is named" contains "$err" "Unknown option 'frobnicate'"
  qd_check "and help is pointed to" contains "$err" "Try 'quillet --help'"
  cli --enable --disable
  qd_check_eq "two commands at once exit with 2" 2 "$status"
  qd_check "two commands at once are refused by name" contains "$err" "--enable and --disable"
  cli picture.png
  qd_check_eq "an argument exits with 2" "2" "$status"
  qd_check "an argument is named" contains "$err" "unexpected argument 'picture.png'"
  cli --quit
  qd_check_eq "--quit with nothing running exits with 0" 0 "$status"
  qd_check "--quit with nothing running says so" contains "$err" "not running"
  qd_check "nothing was written to the user's folders" \
    test -z "$(find "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" -mindepth 1 -print -quit)"
  exit "$QD_FAILURES"
) || QD_FAILURES=$((QD_FAILURES + $?))

qd_start_desktop

style() { qd_xfconf_get xfce4-desktop /desktop-icons/style; }
# The icons show with style 2, and also before anybody wrote the style.
icons_shown() { local s; s=$(style); [ "$s" = 2 ] || [ -z "$s" ]; }
picture() { qd_xfconf_get xfce4-desktop /backdrop/screen0/monitorscreen/workspace0/last-image; }
# Mask windows: Quillet's viewable override-redirect windows along the top of the screen.
masks() {
  "$QD_PYTHON" - "$QD_SUPPORT" "$quillet_pid" <<'PY'
import sys
sys.path.insert(0, sys.argv[1])
import xprobe
d = xprobe.Display()
count = 0
for window in d.children(d.root):
    attrs = d.attributes(window)
    if (attrs and attrs.override_redirect and d.viewable(window) and attrs.y == 0
            and d.pid(window) == int(sys.argv[2])):
        count += 1
print(count)
PY
}
# The screen's colour at one point is about RRGGBB (the pictures are JPEG).
colour_near() { # RRGGBB X Y
  local want=$1 got
  got=$(qd_pixel "$2" "$3")
  "$QD_PYTHON" -c 'import sys
a, b = bytes.fromhex(sys.argv[1]), bytes.fromhex(sys.argv[2])
sys.exit(0 if max(abs(x - y) for x, y in zip(a, b)) <= 6 else 1)' "$want" "$got"
}
close_main_window() { qd_close_main_window "$(qd_main_window)" || qd_fail "main window did not close"; }
stored() { qd_stored "$1"; }
no_window() { ! qd_main_window >/dev/null; }
quillet_bus_pid() {
  gdbus call --session --dest org.freedesktop.DBus --object-path /org/freedesktop/DBus \
    --method org.freedesktop.DBus.GetConnectionUnixProcessID io.github.quillet.Quillet \
    2>/dev/null | sed -n 's/^(uint32 \([0-9]*\),)$/\1/p'
}
dbus() { # METHOD ARGS...
  gdbus call --session --dest io.github.quillet.Quillet --object-path /io/github/quillet/Quillet \
    --method "$@" >"$QD_TMP/dbus.out" 2>"$QD_TMP/dbus.err"
  status=$?
  out=$(cat "$QD_TMP/dbus.out")
  err=$(cat "$QD_TMP/dbus.err")
}
get() { # PROPERTY -> its value as gdbus prints it
  gdbus call --session --dest io.github.quillet.Quillet --object-path /io/github/quillet/Quillet \
    --method org.freedesktop.DBus.Properties.Get io.github.quillet.Quillet "$1" 2>&1
}
set_property() { dbus org.freedesktop.DBus.Properties.Set io.github.quillet.Quillet "$1" "$2"; }
original_picture=$(picture)
qd_log "the desktop's own picture: $original_picture"

applied() { [ "$(style)" = 0 ] && [ "$(picture)" != "$original_picture" ] && [ "$(masks)" -ge 1 ]; }
restored() { icons_shown && [ "$(picture)" = "$original_picture" ] && [ "$(masks)" = 0 ]; }
state() {
  if applied; then echo applied; elif restored; then echo restored; else
    echo "mixed: style '$(style)', picture '$(picture)', $(masks) masks"; fi
}

qd_section "a command starts Quillet when none runs, without its window"
qd_new_home
# With the tray icon on, closing the window leaves Quillet running.
qd_write_defaults '{"pref.restoreOnLaunch": true, "pref.showInMenuBar": true,
  "state.desktopIconsHidden": true, "state.background": "color",
  "state.backgroundColor": "#FF0000", "state.menuBarCover": "entire"}'
# The Quillet this starts keeps the command's standard error: give it a log of its own.
timeout 90 "$QD_QUILLET" --status >"$QD_TMP/status.out" 2>"$QD_TMP/quillet-started.log" </dev/null
status=$?
out=$(cat "$QD_TMP/status.out")
qd_check_eq "--status with nothing running starts Quillet and exits with 0" 0 "$status"
quillet_pid=$(quillet_bus_pid)
[ -n "$quillet_pid" ] && QD_PIDS+=("$quillet_pid")
qd_check "the started Quillet owns io.github.quillet.Quillet" test -n "$quillet_pid"
qd_check_eq "--status prints the switch first" "enabled: true" "$(head -n 1 <<<"$out")"
qd_check "--status prints the choices as key: value lines" bash -c '
  grep -qx "desktop-icons-hidden: true" <<<"$1" && grep -qx "background: color" <<<"$1" &&
  grep -qx "background-color: #FF0000" <<<"$1" && grep -qx "menu-bar-cover: entire" <<<"$1" &&
  grep -qx "restore-on-launch: true" <<<"$1" && grep -qx "show-in-menu-bar: true" <<<"$1" &&
  ! grep -qv "^[a-z-]*: " <<<"$1"' _ "$out"
qd_wait_eq 20 "the stored choices are applied at that launch" applied state
qd_check "no main window was opened" no_window

qd_section "--disable, --enable and --toggle"
cli --disable
qd_check_eq "--disable exits with 0" 0 "$status"
qd_wait_eq 10 "--disable puts icons, picture and panel back" restored state
qd_check_eq "the choice stays stored" true "$(stored state.desktopIconsHidden)"
cli --status
qd_check "--status shows the switch off" grep -qx "enabled: false" <<<"$out"
cli --disable
qd_check_eq "--disable when off exits with 0" 0 "$status"
cli --enable
qd_check_eq "--enable exits with 0" 0 "$status"
qd_wait_eq 10 "--enable applies the choices again" applied state
cli --toggle
qd_check_eq "--toggle exits with 0" 0 "$status"
qd_wait_eq 10 "--toggle switches off" restored state
cli --toggle
qd_wait_eq 10 "--toggle again switches on" applied state

qd_section "--show"
cli --show
qd_check_eq "--show exits with 0" 0 "$status"
qd_check "--show opens the main window" qd_wait_for 10 "the main window" qd_main_window

qd_section "the D-Bus interface"
introspection=$(gdbus introspect --session --dest io.github.quillet.Quillet \
  --object-path /io/github/quillet/Quillet 2>&1)
for member in "interface io.github.quillet.Quillet" "readwrite b Enabled" \
  "readwrite b DesktopIconsHidden" "readwrite s Background" "readwrite s BackgroundColor" \
  "readwrite s MenuBarCover" "readwrite as HiddenItemLabels" "Quit();" "ShowWindow();" \
  "interface org.freedesktop.DBus.Properties"; do
  qd_check "introspection shows $member" contains "$introspection" "$member"
done
gdbus monitor --session --dest io.github.quillet.Quillet >"$QD_TMP/signals.log" 2>&1 &
monitor_pid=$!
QD_PIDS+=("$monitor_pid")
sleep 0.5 # the monitor subscribes before the first change (no event says when it has)

set_property Enabled '<false>'
qd_check_eq "Set Enabled false succeeds" 0 "$status"
qd_wait_eq 10 "Enabled false puts the desktop back" restored state
qd_check_eq "Get Enabled reads false" "(<false>,)" "$(get Enabled)"
changed_enabled() { grep -q "PropertiesChanged ('io.github.quillet.Quillet', {'Enabled': <false>}" "$QD_TMP/signals.log"; }
qd_check "PropertiesChanged announces Enabled false" qd_wait_for 5 "the signal" changed_enabled
set_property Enabled '<true>'
qd_wait_eq 10 "Enabled true applies the choices again" applied state
cli --toggle
changed_by_toggle() { [ "$(grep -c "{'Enabled': <false>}" "$QD_TMP/signals.log")" = 2 ]; }
qd_check "a change from the command line is announced too" qd_wait_for 5 "the signal" changed_by_toggle
set_property Enabled '<true>'
qd_wait_eq 10 "switched on again" applied state

set_property DesktopIconsHidden '<false>'
qd_check_eq "Set DesktopIconsHidden false succeeds" 0 "$status"
qd_check "the icons show again" qd_wait_for 10 "the icons" icons_shown
qd_check_eq "and the choice is stored" false "$(stored state.desktopIconsHidden)"
set_property DesktopIconsHidden '<true>'
qd_wait_eq 10 "the icons hide again" 0 style

set_property BackgroundColor "<'#00ff00'>"
qd_check_eq "Set BackgroundColor succeeds" 0 "$status"
qd_check_eq "the colour is stored in upper case" '"#00FF00"' "$(stored state.backgroundColor)"
qd_check_eq "Get BackgroundColor reads it back" "(<'#00FF00'>,)" "$(get BackgroundColor)"
qd_check "the desktop shows green" qd_wait_for 20 "green" colour_near 00FF00 30 1050
# Under a covered panel the desktop shows a copy of the picture with a tinted strip: only with
# the panel kept does Keep show the user's own picture.
set_property MenuBarCover "<'keep'>"
set_property Background "<'keep'>"
qd_wait_eq 10 "Background keep puts the user's picture back" "$original_picture" picture
set_property Background "<'color'>"
qd_check "Background color shows the colour again" qd_wait_for 10 "green" colour_near 00FF00 30 1050

qd_wait_eq 10 "no mask over the panel with MenuBarCover keep" 0 masks
set_property MenuBarCover "<'entire'>"
qd_check_eq "Set MenuBarCover entire succeeds" 0 "$status"
mask_present() { [ "$(masks)" -ge 1 ]; }
qd_check "MenuBarCover entire masks the panel" qd_wait_for 10 "a mask" mask_present

qd_section "bad values change nothing"
cp "$XDG_CONFIG_HOME/Quillet/defaults.json" "$QD_TMP/before.json"
refused() { # DESCRIPTION PROPERTY VALUE MESSAGE
  set_property "$2" "$3"
  qd_check "$1 is refused" test "$status" != 0
  qd_check "$1: the error says why" contains "$err" "$4"
}
refused "an unknown background" Background "<'plaid'>" \
  'InvalidArgs: unknown background "plaid"; choose one of "keep", "color", "image"'
refused "a colour without a number sign" BackgroundColor "<'00FF00'>" 'malformed colour "00FF00"'
refused "a five-digit colour" BackgroundColor "<'#12345'>" 'write it as #RRGGBB'
refused "a colour name" BackgroundColor "<'red'>" 'malformed colour "red"'
refused "an unknown cover" MenuBarCover "<'all'>" 'unknown panel cover "all"'
refused "a string for Enabled" Enabled "<'yes'>" 'Enabled takes a boolean'
refused "a label of no item" HiddenItemLabels "<['No Such Item']>" \
  'no panel item is labelled "No Such Item"'
refused "an unknown property" Colour "<'#000000'>" 'UnknownProperty'
dbus io.github.quillet.Quillet.Frobnicate
qd_check "an unknown method is refused" contains "$err" "UnknownMethod"
qd_check "the stored choices are unchanged" cmp -s "$QD_TMP/before.json" \
  "$XDG_CONFIG_HOME/Quillet/defaults.json"
qd_check_eq "the desktop is unchanged" applied "$(state)"
qd_check_eq "Background still reads color" "(<'color'>,)" "$(get Background)"

qd_section "HiddenItemLabels"
# The refusal lists the items of the panel; take the first one.
set_property HiddenItemLabels "<['No Such Item']>"
label=$(sed -n 's/.*the items now are "\([^"]*\)".*/\1/p' <<<"$err")
qd_check "the refusal names the panel's items" test -n "$label"
set_property MenuBarCover "<'items'>"
set_property HiddenItemLabels "<['$label']>"
qd_check_eq "Set HiddenItemLabels ['$label'] succeeds" 0 "$status"
qd_check_eq "Get HiddenItemLabels reads it back" "(<['$label']>,)" "$(get HiddenItemLabels)"
qd_check_eq "the label is stored" "[\"$label\"]" "$(stored state.hiddenItemLabels)"
qd_check "a mask covers the hidden item" qd_wait_for 10 "a mask" mask_present
cli --status
qd_check "--status lists the hidden label" grep -qx "hidden-item-labels: $label" <<<"$out"
set_property HiddenItemLabels '<@as []>'
qd_check_eq "an empty list shows every item again" "(<@as []>,)" "$(get HiddenItemLabels)"
qd_check_eq "and is stored" "[]" "$(stored state.hiddenItemLabels)"
set_property MenuBarCover "<'entire'>"

qd_section "ShowWindow and Quit"
close_main_window
dbus io.github.quillet.Quillet.ShowWindow
qd_check_eq "ShowWindow succeeds" "0 " "$status $err"
qd_check "ShowWindow opens the main window" qd_wait_for 10 "the main window" qd_main_window
qd_wait_eq 10 "everything applied before Quit" applied state
dbus io.github.quillet.Quillet.Quit
qd_check_eq "Quit succeeds" "0 " "$status $err"
quit_ended() { ! qd_running "$quillet_pid"; }
qd_check "Quit ends Quillet" qd_wait_for 20 "Quillet to end" quit_ended
qd_check_eq "Quit puts the desktop back" restored "$(state)"
qd_check_eq "the choices stay stored" '"entire"' "$(stored state.menuBarCover)"
qd_stop_process "$monitor_pid" TERM 5

qd_section "--quit waits for the desktop to be put back"
qd_launch_quillet quillet-quit
qd_wait_eq 20 "applied at launch" applied state
cli --quit
qd_check_eq "--quit exits with 0" 0 "$status"
qd_check "Quillet has ended when --quit returns" quit_ended
qd_check_eq "and the desktop is back when --quit returns" restored "$(state)"
qd_stop_process "$quillet_pid" 0 5
qd_check_eq "Quillet exited with status 0" 0 "$QD_STATUS"

qd_section "a second plain launch reopens the window of the first"
qd_launch_quillet quillet-first
qd_wait_for 20 "the main window" qd_main_window
close_main_window
cli
qd_check_eq "the second launch exits with 0" 0 "$status"
qd_check "the first one's window reopens" qd_wait_for 10 "the main window" qd_main_window
qd_stop_checked

qd_section "the instance channel cannot be taken over or blocked"
# Without XDG_RUNTIME_DIR the channel lives in <temp>/quillet-<uid>. Another user who made that
# folder first cannot answer for Quillet: the folder is passed over for one in the user's home.
qd_new_home
qd_write_defaults '{}'
runtime=$XDG_RUNTIME_DIR
unset XDG_RUNTIME_DIR
export TMPDIR=$QD_TMP/tmp
mkdir -p "$TMPDIR"
uid=$(id -u)
mkdir -m 0777 "$TMPDIR/quillet-$uid"
if chown nobody "$TMPDIR/quillet-$uid" 2>/dev/null; then
  qd_launch_quillet quillet-private
  qd_check "Quillet starts although another user holds <temp>/quillet-$uid" \
    qd_wait_for 20 "the main window" qd_main_window
  qd_check "its channel is in the user's own cache folder" \
    qd_wait_for 5 "the socket" test -S "$XDG_CACHE_HOME/quillet-$uid/instance.socket"
  qd_check_eq "its folder is private" 700 "$(stat -c %a "$XDG_CACHE_HOME/quillet-$uid")"
  qd_check "nothing was put into the other user's folder" \
    test -z "$(ls -A "$TMPDIR/quillet-$uid")"
  cli --status
  qd_check_eq "commands reach it" "0 enabled: true" "$status $(head -n 1 <<<"$out")"
  qd_stop_checked
else
  qd_log "not root: the folder of another user is not tried"
fi
rmdir "$TMPDIR/quillet-$uid"

# Our own <temp>/quillet-<uid>, left open to others, is made private again.
mkdir -m 0755 "$TMPDIR/quillet-$uid"
qd_launch_quillet quillet-tmp
qd_check "Quillet uses <temp>/quillet-$uid when it is the user's own" \
  qd_wait_for 20 "the socket" test -S "$TMPDIR/quillet-$uid/instance.socket"
qd_check_eq "and makes it private" 700 "$(stat -c %a "$TMPDIR/quillet-$uid")"
qd_stop_checked
unset TMPDIR
export XDG_RUNTIME_DIR=$runtime

# A crashed run leaves its socket and lock file behind; neither blocks the next launch.
qd_launch_quillet quillet-crash
qd_wait_for 20 "the socket" test -S "$XDG_RUNTIME_DIR/quillet/instance.socket"
qd_wait_for 20 "the main window" qd_main_window
qd_stop_process "$quillet_pid" KILL 5
qd_check "the killed run left its socket behind" test -S "$XDG_RUNTIME_DIR/quillet/instance.socket"
qd_launch_quillet quillet-after-crash
qd_check "the next launch starts" qd_wait_for 20 "the main window" qd_main_window
qd_check "and answers on the channel" bash -c '"$1" --status >/dev/null' _ "$QD_QUILLET"
qd_stop_checked

qd_finish
