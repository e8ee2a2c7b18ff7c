#!/usr/bin/env bash
# The Debian package: scripts/package builds it (lintian finds no error), apt-get installs it
# on this machine, the installed `dowsel --version` answers, and the installed binary records
# a download. Needs root and a working dpkg; skipped (exit 77) otherwise. A package that was
# not installed before is removed again at the end.

source "$(dirname "$0")/lib.sh"
skip() { echo "SKIP: $*"; exit 77; }
[ "$(id -u)" -eq 0 ] || skip "installing a package needs root (run as root to test the package)"
command -v dpkg-deb >/dev/null && command -v apt-get >/dev/null && [ -w /var/lib/dpkg ] \
  || skip "dpkg and apt-get are not usable here"
SRC=$(cd "$(dirname "$0")/../.." && pwd)

was_installed=0
dpkg-query -W -f='${Status}' dowsel 2>/dev/null | grep -q "install ok installed" && was_installed=1
package_cleanup() {
  if [ $was_installed = 0 ]; then
    DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq dowsel >/dev/null 2>&1 || true
  fi
  e2e_cleanup
}
trap package_cleanup EXIT

# The package of the build under test (a release build would take as long as the build).
DOWSEL_SKIP_SETUP=1 DOWSEL_PACKAGE_FROM="$(dirname "$DOWSEL")" "$SRC/scripts/package" "$E2E_ROOT/dist" >"$E2E_ROOT/package.log" 2>&1 \
  || fail "scripts/package: $(tail -n 30 "$E2E_ROOT/package.log")"
DEB=$(ls "$E2E_ROOT"/dist/dowsel_*.deb)
grep -q "lintian reports no error" "$E2E_ROOT/package.log" || fail "lintian did not run: $(tail -n 5 "$E2E_ROOT/package.log")"
depends=$(dpkg-deb -f "$DEB" Depends)
for dep in libqt6widgets6 libqt6dbus6 libsqlite3-0 libxcb1 libqt6svg6; do
  grep -q "\b$dep\b" <<<"$depends" || fail "Depends lacks $dep: $depends"
done
for dev in -dev cmake gtest benchmark xvfb; do
  grep -q -- "$dev" <<<"$depends" && fail "Depends names a build or test package ($dev): $depends"
done
contents=$(dpkg-deb -c "$DEB")
grep -q "./usr/share/man/man1/dowsel.1.gz" <<<"$contents" || fail "no compressed man page in the package"
pass "scripts/package builds $(basename "$DEB"); lintian finds no error; Depends: $depends"

DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "$DEB" >"$E2E_ROOT/apt.log" 2>&1 \
  || fail "apt-get install: $(tail -n 20 "$E2E_ROOT/apt.log")"
[ "$(command -v dowsel)" = /usr/bin/dowsel ] || fail "dowsel is not on the PATH after installing: $(command -v dowsel)"
version=$(/usr/bin/dowsel --version) || fail "the installed dowsel --version failed"
[ "$version" = "dowsel $(dpkg-deb -f "$DEB" Version)" ] || fail "--version says '$version'"
pass "apt-get installs the package; $version"

DOWSEL=/usr/bin/dowsel
e2e_start_x
e2e_start_bus
e2e_settings
e2e_launch
echo "fresh" >"$HOME/Downloads/fresh.pdf"
wait_for 15 is_tracked fresh.pdf || fail "the installed dowsel did not record the download: $(tail -n 20 "$E2E_ROOT/dowsel.log")"
wait_for 5 grep -qx 'Exec="/usr/bin/dowsel"' "$XDG_CONFIG_HOME/autostart/dowsel.desktop" \
  || fail "the autostart entry does not point at the installed binary"
e2e_stop
pass "the installed binary starts, records a download and starts at login from /usr/bin"
