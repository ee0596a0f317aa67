#!/usr/bin/env bash
# The Debian package as a user gets it: packed by CPack from this build, checked by lintian (no
# errors, no warnings), its dependencies read back, installed with apt, and its menu entry
# started on a fresh virtual desktop; removed with apt at the end.
# Usage: package_test.sh PATH-TO-QUILLET (the build folder is the program's folder)
set -uo pipefail

source "$(dirname "$0")/../support/desktop/lib.sh"

QD_QUILLET=${1:?usage: package_test.sh PATH-TO-QUILLET}
build=$(cd "$(dirname "$QD_QUILLET")" && pwd)

qd_init package
for tool in cpack lintian dpkg-shlibdeps apt-get readelf; do
  command -v "$tool" >/dev/null || { qd_log "SKIP: $tool is not installed (run scripts/setup test)"; exit 77; }
done
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  sudo -n true 2>/dev/null || { qd_log "SKIP: installing a package needs root or password-less sudo"; exit 77; }
  sudo_cmd=(sudo -n)
fi
if dpkg-query -W -f='${Status}' quillet 2>/dev/null | grep -q 'install ok installed'; then
  qd_log "SKIP: a quillet package is installed already; this test does not replace it"
  exit 77
fi

installed=0
remove_package() {
  [ "$installed" = 1 ] || return 0
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get remove --purge -y -qq \
    -o DPkg::Lock::Timeout=120 quillet >"$QD_TMP/apt-remove.log" 2>&1
  installed=0
}
trap 'status=$?; remove_package; (exit $status); qd_cleanup' EXIT

qd_section "the package"
cpack -G DEB -B "$QD_TMP/deb" --config "$build/CPackConfig.cmake" >"$QD_TMP/cpack.log" 2>&1 ||
  { cat "$QD_TMP/cpack.log" >&2; qd_fail "cpack failed"; qd_finish; }
deb=$(ls "$QD_TMP"/deb/quillet_*.deb 2>/dev/null | head -n 1)
[ -n "$deb" ] || { qd_fail "cpack wrote no quillet_*.deb"; qd_finish; }
cp "$deb" "$QD_ARTIFACTS/"
qd_log "package: $(basename "$deb"), $(du -k "$deb" | cut -f1) KiB"

field() { dpkg-deb --field "$deb" "$1"; }
qd_log "Depends: $(field Depends)"
qd_log "Recommends: $(field Recommends)"
depends=$(field Depends)
qd_check "Depends names the Qt libraries it links (from dpkg-shlibdeps)" grep -q 'libqt6widgets6' <<<"$depends"
qd_check "Depends names the xcb libraries it links" grep -q 'libxcb-randr0' <<<"$depends"
qd_check "Depends names Qt's X11 platform plugin" grep -q 'qt6-qpa-plugins' <<<"$depends"
qd_check "desktop tools are not hard dependencies" bash -c '! grep -Eq "xfconf|x11-xserver-utils" <<<"$1"' _ "$depends"
qd_check "xfconf is recommended" grep -q 'xfconf' <<<"$(field Recommends)"
description_lines=$(field Description | wc -l)
qd_check "the description has an extended part" test "$description_lines" -gt 2

dpkg-deb --fsys-tarfile "$deb" | tar -xO ./usr/bin/quillet >"$QD_TMP/quillet.bin"
qd_check "the packed program is stripped" bash -c '! readelf -S "$1" | grep -Eq "\.debug_|\.symtab"' _ "$QD_TMP/quillet.bin"

qd_section "lintian"
lintian --info "$deb" >"$QD_TMP/lintian.log" 2>&1
cp "$QD_TMP/lintian.log" "$QD_ARTIFACTS/"
sed 's/^/lintian: /' "$QD_TMP/lintian.log" >&2
qd_check_eq "lintian reports no errors and no warnings" "" "$(grep -E '^[EW]: ' "$QD_TMP/lintian.log")"

qd_section "installed with apt"
if DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq -o DPkg::Lock::Timeout=120 \
  "$deb" >"$QD_TMP/apt-install.log" 2>&1; then
  installed=1
else
  cat "$QD_TMP/apt-install.log" >&2
  qd_fail "apt-get install failed"
  qd_finish
fi
entry=/usr/share/applications/quillet.desktop
qd_check "the menu entry is installed" test -f "$entry"
qd_check "its icon is installed" test -f /usr/share/icons/hicolor/scalable/apps/quillet.svg
qd_check "the pictures are installed" test -f /usr/share/quillet/Light.png -a -f /usr/share/quillet/Dark.png
qd_check "the manual page is installed" test -f /usr/share/man/man1/quillet.1.gz

qd_section "the menu entry starts the installed program on a fresh desktop"
qd_start_desktop
qd_new_home
# The Exec line as a launcher runs it: split into words, without field codes (%f, %U, ...).
exec_line=$(sed -n 's/^Exec=//p' "$entry" | head -n 1)
read -r -a command <<<"${exec_line//%[a-zA-Z]/}"
qd_check_eq "the entry runs quillet from PATH" quillet "${command[0]}"
qd_launch quillet_pid "$QD_TMP/quillet-menu.log" env PATH=/usr/local/bin:/usr/bin:/bin "${command[@]}"
if qd_wait_for 20 "the main window" qd_main_window; then
  qd_check_eq "the window belongs to the installed program" /usr/bin/quillet "$(readlink "/proc/$quillet_pid/exe")"
  qd_screenshot "$QD_ARTIFACTS/installed.png"
else
  qd_fail "the installed program showed no main window"
  cat "$QD_TMP/quillet-menu.log" >&2
fi
qd_stop_checked

qd_section "removed with apt"
remove_package
qd_check "apt removed the program" test ! -e /usr/bin/quillet
qd_finish
