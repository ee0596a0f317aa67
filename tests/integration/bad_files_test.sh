#!/usr/bin/env bash
# Red-team files: the program meets a damaged, odd or inaccessible settings store, read-only or
# full folders, and picture files that are broken, empty, enormous, not pictures, gone or oddly
# named. Every time it starts, shows its window and quits cleanly on the defaults, says what is
# wrong exactly once in its log, and leaves the user's file as it was (or moved aside intact).
# Usage: bad_files_test.sh PATH-TO-QUILLET
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: bad_files_test.sh PATH-TO-QUILLET}

qd_init bad_files
qd_start_desktop

store() { echo "$XDG_CONFIG_HOME/Quillet/defaults.json"; }
# Root reads and writes through any file mode; without these two capabilities modes apply to it
# as to any user. Empty when that cannot be arranged (then mode cases are skipped).
as_user=()
if [ "$(id -u)" != 0 ]; then
  as_user=(env)
elif command -v setpriv >/dev/null && setpriv --bounding-set=-dac_override,-dac_read_search true 2>/dev/null; then
  as_user=(setpriv --bounding-set=-dac_override,-dac_read_search)
fi

# Starts the program (LOG-NAME), waits for its window, optionally runs a check while it is up,
# then quits it and checks the exit.
run_once() { # LOG-NAME [COMMAND...]
  local log=$1
  shift
  qd_launch quillet_pid "$QD_TMP/$log.log" "${launcher[@]}" "$QD_QUILLET"
  if ! qd_wait_for 30 "the main window ($log)" qd_main_window; then
    qd_fail "$log: no main window"
    qd_running "$quillet_pid" || qd_log "$(tail -n 20 "$QD_TMP/$log.log")"
  fi
  [ $# = 0 ] || "$@"
  qd_stop_checked TERM
}
launcher=(env)
# How many log lines of LOG-NAME contain TEXT.
said() { grep -cF -- "$2" "$QD_TMP/$1.log"; }
same_bytes() { cmp -s "$1" "$2"; }

# --- the settings store ----------------------------------------------------------------------

moved_aside_case() { # NAME REASON (the store is already written)
  local name=$1 reason=$2 copy=$QD_TMP/$1.original aside
  cp "$(store)" "$copy"
  run_once "store-$name"
  aside=$(ls "$(store)".corrupt-* 2>/dev/null | head -n 1)
  qd_check "$name store: moved aside" test -n "$aside"
  [ -n "$aside" ] && qd_check "$name store: moved aside byte for byte" same_bytes "$copy" "$aside"
  qd_check_eq "$name store: said once why ($reason)" 1 "$(said "store-$name" "$reason")"
  qd_check_eq "$name store: nothing else said about the settings" 1 "$(said "store-$name" "settings file")"
}

qd_section "stores that are damaged are moved aside"
qd_new_home
qd_write_defaults '{"pref.restoreOnLaunch": true, "state.hiddenItemLa'
moved_aside_case truncated "is not valid JSON"

qd_new_home
qd_write_defaults ''
printf '{"state.background": "\xff\xfeimage"}' >"$(store)"
moved_aside_case invalid-utf8 "is not valid UTF-8"

qd_new_home
qd_write_defaults ''
"$QD_PYTHON" -c 'import sys; sys.stdout.write("[" * 100000 + "]" * 100000)' >"$(store)"
moved_aside_case nested "is not valid JSON"

qd_section "a store of wrong types: the defaults for those keys, the file keeps them"
qd_new_home
qd_write_defaults '{"pref.showInDock": "yes", "state.hiddenItemLabels": {"a": 1}, "pref.restoreOnLaunch": 1}'
run_once store-types
qd_check_eq "wrong types: one message" 1 "$(said store-types "settings file")"
qd_check "wrong types: the keys are named" grep -qF '"pref.showInDock" is not true or false' "$QD_TMP/store-types.log"
qd_check_eq "wrong types: kept in the file" '"yes"' "$(qd_stored pref.showInDock)"
qd_check_eq "wrong types: kept in the file" '{"a": 1}' "$(qd_stored state.hiddenItemLabels)"

qd_section "300 000 hidden labels"
qd_new_home
qd_write_defaults ''
"$QD_PYTHON" -c 'import json,sys; json.dump({"state.hiddenItemLabels": ["label %d" % i for i in range(300000)]}, sys.stdout)' >"$(store)"
run_once store-labels
qd_check_eq "300 000 labels: nothing to report" 0 "$(said store-labels "settings file")"
qd_check_eq "300 000 labels: all kept" 300000 "$("$QD_PYTHON" -c 'import json,sys; print(len(json.load(open(sys.argv[1]))["state.hiddenItemLabels"]))' "$(store)")"

qd_section "stores that cannot be opened are left where they are"
qd_new_home
mkdir -p "$(store)"
echo mine >"$(store)/keep"
run_once store-folder
qd_check "a folder: still a folder with its contents" grep -qx mine "$(store)/keep"
qd_check_eq "a folder: said once" 1 "$(said store-folder "it is a folder")"

qd_new_home
mkdir -p "$XDG_CONFIG_HOME/Quillet"
ln -s "$HOME/unmounted/defaults.json" "$(store)"
run_once store-dangling
qd_check "a dangling link: still the same link" test "$(readlink "$(store)")" = "$HOME/unmounted/defaults.json"
qd_check "a dangling link: nothing created behind it" test ! -e "$HOME/unmounted"
qd_check_eq "a dangling link: said once" 1 "$(said store-dangling "which does not exist")"

qd_new_home
mkdir -p "$XDG_CONFIG_HOME/Quillet" "$HOME/dotfiles"
printf '{"pref.showInDock": true}' >"$HOME/dotfiles/quillet.json"
ln -s "$HOME/dotfiles/quillet.json" "$(store)"
run_once store-link
qd_check "a link to a store: still a link" test -L "$(store)"
qd_check_eq "a link to a store: read without complaint" 0 "$(said store-link "settings file")"
qd_check_eq "a link to a store: its target still holds the choice" true "$(qd_stored pref.showInDock)"

if [ ${#as_user[@]} -gt 0 ]; then
  qd_new_home
  qd_write_defaults '{"pref.showInDock": true}'
  chmod 000 "$(store)"
  launcher=("${as_user[@]}")
  run_once store-unreadable
  launcher=(env)
  qd_check_eq "mode 000: reported as unreadable" 1 "$(said store-unreadable "cannot be opened (Permission denied)")"
  qd_check_eq "mode 000: not called damaged" 0 "$(said store-unreadable "not a JSON")"
  qd_check "mode 000: left as it was" test "$(stat -c %a "$(store)")" = 0
  chmod 600 "$(store)"
  qd_check_eq "mode 000: its contents unchanged" true "$(qd_stored pref.showInDock)"

  qd_section "read-only settings and support folders: what failed is said once"
  qd_new_home
  qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color", "state.backgroundColor": "#3366CC"}'
  cp "$(store)" "$QD_TMP/readonly.original"
  mkdir -p "$XDG_DATA_HOME/Quillet"
  chmod 555 "$XDG_CONFIG_HOME/Quillet" "$XDG_DATA_HOME/Quillet"
  launcher=("${as_user[@]}")
  run_once readonly qd_wait_for 15 "the word on the support folder" \
    grep -qF -- "cannot write pictures to the folder" "$QD_TMP/readonly.log"
  launcher=(env)
  chmod 755 "$XDG_CONFIG_HOME/Quillet" "$XDG_DATA_HOME/Quillet"
  qd_check_eq "read-only config folder: said once" 1 "$(said readonly "no file can be written in the folder $XDG_CONFIG_HOME/Quillet")"
  qd_check_eq "read-only support folder: said once" 1 "$(said readonly "cannot write pictures to the folder $XDG_DATA_HOME/Quillet")"
  qd_check "read-only folders: the store unchanged" same_bytes "$QD_TMP/readonly.original" "$(store)"
else
  qd_log "mode cases skipped: no way to run without root's file access override"
fi

qd_section "a full support folder"
qd_new_home
qd_write_defaults '{"pref.restoreOnLaunch": true, "state.background": "color", "state.backgroundColor": "#3366CC"}'
full=$XDG_DATA_HOME/Quillet
mkdir -p "$full"
if [ "$(id -u)" = 0 ] && mount -t tmpfs -o size=64k tmpfs "$full" 2>/dev/null; then
  dd if=/dev/zero of="$full/filler" bs=4k count=64 2>/dev/null
  run_once full
  umount "$full" || umount -l "$full"
  qd_check_eq "a full support folder: said once, with the reason" 1 "$(said full "No space left on device")"
else
  qd_log "full-folder case skipped: cannot mount a small tmpfs here"
fi

# --- picture files ------------------------------------------------------------------------------

qd_section "picture files that cannot be shown"
pictures=$QD_TMP/pictures
mkdir -p "$pictures"
"$QD_PYTHON" - "$pictures" <<'PY'
import struct, sys, zlib
d = sys.argv[1]
def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))
def png(w, h, rows):
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", w, h, 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))
good = png(64, 64, b"".join(b"\0" + b"\x20\x80\xc0" * 64 for _ in range(64)))
open(d + "/truncated.png", "wb").write(good[: len(good) // 2])
open(d + "/empty.png", "wb").close()
open(d + "/huge.png", "wb").write(png(30000, 30000, b"\0" * 1000))
open(d + "/notes.png", "w").write("shopping list\n")
open(d + "/new\nline.png", "wb").write(good)
open(d + "/gone.png", "wb").write(good)
PY
for f in truncated empty huge notes; do cp "$pictures/$f.png" "$QD_TMP/$f.original"; done

picture_case() { # NAME FILE EXPECTED-MESSAGE
  qd_new_home
  qd_write_defaults "$("$QD_PYTHON" -c 'import json,sys; print(json.dumps({"pref.restoreOnLaunch": True, "state.background": "image", "state.menuBarCover": "entire", "lightWallpaperURL": sys.argv[1], "darkWallpaperURL": sys.argv[1]}))' "$2")"
  # The pictures are read on a thread of their own: wait for the word before quitting.
  run_once "picture-$1" qd_wait_for 15 "the word on $1" grep -qF -- "$3" "$QD_TMP/picture-$1.log"
  qd_check_eq "$1 picture: said once" 1 "$(said "picture-$1" "$3")"
}
picture_case truncated "$pictures/truncated.png" "picture file $pictures/truncated.png cannot be shown"
picture_case empty "$pictures/empty.png" "picture file $pictures/empty.png cannot be shown"
picture_case huge "$pictures/huge.png" "picture file $pictures/huge.png cannot be shown"
picture_case notes "$pictures/notes.png" "picture file $pictures/notes.png cannot be shown"
for f in truncated empty huge notes; do
  qd_check "$f picture: the file is untouched" same_bytes "$QD_TMP/$f.original" "$pictures/$f.png"
done

gone=$pictures/gone.png
rm -f "$gone"
picture_case gone "$gone" "picture file $gone (lightWallpaperURL) no longer exists"
qd_check_eq "a picture that is gone: the choice stays stored" "\"$gone\"" "$(qd_stored lightWallpaperURL)"

qd_section "a picture whose path holds a line break is shown like any other"
newline_path=$(printf '%s/new\nline.png' "$pictures")
qd_new_home
qd_write_defaults "$("$QD_PYTHON" -c 'import json,sys; print(json.dumps({"pref.restoreOnLaunch": True, "state.background": "image", "lightWallpaperURL": sys.argv[1], "darkWallpaperURL": sys.argv[1]}))' "$newline_path")"
output=$(xrandr --listmonitors | awk 'NR == 2 { print $NF }')
shows_newline_picture() { [ "$(qd_xfconf_get xfce4-desktop "/backdrop/screen0/monitor$output/workspace0/last-image")" = "$newline_path" ]; }
newline_picture_shown() {
  qd_wait_for 15 "the picture with a line break on the desktop" shows_newline_picture
  qd_check "a path with a line break reached the desktop" shows_newline_picture
}
run_once picture-newline newline_picture_shown
qd_check_eq "a path with a line break: nothing to report" 0 "$(said picture-newline "picture file")"

qd_finish
