#!/usr/bin/env bash
# Dowsel against a real GlobalShortcuts portal: KWin's Wayland session, headless, with
# xdg-desktop-portal and the KDE portal on the test's private session bus. Dowsel must create
# its session, ask for its shortcuts, and report what the portal really answered. Skips (77)
# where KWin or the portals are not installed.
source "$(dirname "$0")/lib.sh"

skip() { echo "SKIP: $*"; exit 77; }
XDP=/usr/libexec/xdg-desktop-portal
XDP_KDE=$(ls /usr/lib/*/libexec/xdg-desktop-portal-kde /usr/libexec/xdg-desktop-portal-kde 2>/dev/null | head -n 1 || true)
[ -x "$XDP" ] || skip "no $XDP (Debian: xdg-desktop-portal)"
[ -n "$XDP_KDE" ] || skip "no xdg-desktop-portal-kde (Debian: xdg-desktop-portal-kde)"
ls /usr/lib/*/qt5/plugins/platforms/libqwayland-generic.so >/dev/null 2>&1 \
  || skip "the KDE portal needs Qt 5's Wayland platform (Debian: qtwayland5)"
e2e_start_bus
e2e_settings

e2e_start_kwin 1024 768

has_name() {
  dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner "string:$1" \
    2>/dev/null | grep -q "boolean true"
}
QT_QPA_PLATFORM=wayland QT_LOGGING_RULES="xdp-kde-GlobalShortcuts.debug=true" "$XDP_KDE" >"$E2E_ROOT/portal-kde.log" 2>&1 &
E2E_PIDS+=($!)
wait_for 20 has_name org.freedesktop.impl.portal.desktop.kde \
  || fail "the KDE portal did not start: $(tail -n 5 "$E2E_ROOT/portal-kde.log")"
"$XDP" -r -v >"$E2E_ROOT/portal.log" 2>&1 &
E2E_PIDS+=($!)
portal_version() {
  dbus-send --session --print-reply=literal --dest=org.freedesktop.portal.Desktop /org/freedesktop/portal/desktop \
    org.freedesktop.DBus.Properties.Get string:org.freedesktop.portal.GlobalShortcuts string:version 2>/dev/null \
    | grep -q uint32
}
wait_for 20 portal_version || fail "no GlobalShortcuts on the portal: $(tail -n 5 "$E2E_ROOT/portal.log")"
pass "KWin, xdg-desktop-portal and the KDE portal run headless with GlobalShortcuts"

QT_QPA_PLATFORM=offscreen QT_LOGGING_RULES="dowsel.shortcuts.info=true" e2e_launch
wait_for 20 eval '"$DOWSEL" status | grep -q "^Shortcuts portal: *\(bound\|no keys assigned\|missing\|declined\)"' \
  || fail "the portal never answered Dowsel: $("$DOWSEL" status)"
grep -q 'BindShortcuts called' "$E2E_ROOT/portal-kde.log" || fail "the KDE portal saw no BindShortcuts: $(cat "$E2E_ROOT/portal-kde.log")"
grep -A2 'ListShortcuts called' "$E2E_ROOT/portal-kde.log" | grep -q "session_handle" \
  || fail "Dowsel did not ask which shortcuts the desktop already holds: $(cat "$E2E_ROOT/portal-kde.log")"
grep -q '"keep".*"description", QVariant(QString, "Keep the new download as a temporary file")' "$E2E_ROOT/portal-kde.log" \
  || fail "keep was not described in words: $(grep BindShortcuts -A3 "$E2E_ROOT/portal-kde.log")"
grep -q '"keep".*"preferred_trigger", QVariant(QString, "LOGO+SHIFT+t")' "$E2E_ROOT/portal-kde.log" \
  || fail "keep was not asked for with Super+Shift+T: $(grep BindShortcuts -A3 "$E2E_ROOT/portal-kde.log")"
"$DOWSEL" status >"$E2E_ROOT/status"
# KDE Plasma 5.27 takes the shortcuts and leaves their keys to the user (in System Settings);
# a portal that binds them at once grants them. Either way the status says what is so.
if grep -q "^Shortcuts portal: *bound$" "$E2E_ROOT/status"; then
  grep -q "^Shortcuts granted: *yes$" "$E2E_ROOT/status" || fail "bound but: $(cat "$E2E_ROOT/status")"
  grep -q "^Shortcuts through: *portal" "$E2E_ROOT/status" || fail "bound but: $(cat "$E2E_ROOT/status")"
else
  grep -q "^Shortcuts portal: *no keys assigned" "$E2E_ROOT/status" || fail "the portal's answer: $(cat "$E2E_ROOT/status")"
  grep -q "^Shortcuts granted: *no: The desktop took Dowsel's shortcuts but gave them no keys yet" "$E2E_ROOT/status" \
    || fail "shortcuts without keys were reported as: $(cat "$E2E_ROOT/status")"
fi
pass "Dowsel binds its shortcuts through KDE's portal and reports its answer: $(grep '^Shortcuts portal' "$E2E_ROOT/status")"
