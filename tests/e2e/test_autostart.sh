#!/usr/bin/env bash
# The autostart entry behaves as a login item: written once onboarding is done, pointing at
# the binary that runs, valid for desktop-file-validate even for an awkward path, and never
# turned back on once the user turned it off (Hidden=true, X-GNOME-Autostart-enabled=false,
# or deleted).
source "$(dirname "$0")/lib.sh"
command -v desktop-file-validate >/dev/null || fail "desktop-file-validate is missing (scripts/setup installs desktop-file-utils)"

ENTRY="$XDG_CONFIG_HOME/autostart/dowsel.desktop"
SETTINGS="$XDG_CONFIG_HOME/dowsel/settings.json"
LOG="$E2E_ROOT/dowsel.log"
export QT_LOGGING_RULES="dowsel.app.debug=true"
e2e_start_x
e2e_start_bus

# Starts the binary until it has dealt with the autostart entry, then stops it.
registrations() { cat "$LOG" 2>/dev/null | grep -c "registerLoginItem: " || true; }
run_once() {
  local before
  before=$(registrations)
  e2e_launch
  wait_for 15 eval '[ "$(registrations)" -gt "$before" ]' || fail "the start did not get to the autostart entry: $(tail -n 5 "$LOG")"
  grep -q '"loginItemRegistered": *true' "$SETTINGS" || fail "the start did not record the entry: $(cat "$SETTINGS")"
  e2e_stop
}
valid() { desktop-file-validate "$ENTRY" >"$E2E_ROOT/validate.log" 2>&1 && ! grep -qi error "$E2E_ROOT/validate.log"; }

e2e_settings
run_once
[ -f "$ENTRY" ] || fail "no autostart entry after a start with onboarding done"
grep -qx "Exec=\"$DOWSEL\"" "$ENTRY" || fail "the entry does not start $DOWSEL: $(grep Exec "$ENTRY")"
grep -qx "X-GNOME-Autostart-enabled=true" "$ENTRY" || fail "the entry is not enabled"
valid || fail "desktop-file-validate: $(cat "$E2E_ROOT/validate.log")"
pass "the first start after onboarding writes a valid, enabled entry for the running binary"
original=$(cat "$ENTRY")

# The three ways desktops turn an entry off; a restart leaves each exactly as it was.
printf '%s\nHidden=true\n' "$original" >"$ENTRY"
cp "$ENTRY" "$E2E_ROOT/expected"
run_once
cmp -s "$ENTRY" "$E2E_ROOT/expected" || fail "a restart changed the entry hidden by the user: $(cat "$ENTRY")"
pass "Hidden=true (KDE, XFCE) survives a restart untouched"

sed 's/^X-GNOME-Autostart-enabled=true$/X-GNOME-Autostart-enabled=false/' <<<"$original" >"$ENTRY"
cp "$ENTRY" "$E2E_ROOT/expected"
run_once
cmp -s "$ENTRY" "$E2E_ROOT/expected" || fail "a restart changed the entry GNOME disabled: $(cat "$ENTRY")"
pass "X-GNOME-Autostart-enabled=false (GNOME) survives a restart untouched"

rm "$ENTRY"
run_once
[ ! -e "$ENTRY" ] || fail "a restart brought back the entry the user deleted: $(cat "$ENTRY")"
pass "a deleted entry (GNOME Tweaks) stays deleted"

# A copy of the binary in a folder whose name needs every escape of the Exec key.
rm -f "$SETTINGS"
e2e_settings
odd="$E2E_ROOT/odd dir \$HOME 100% \"q\""
mkdir -p "$odd"
cp "$DOWSEL" "$odd/dowsel"
DOWSEL="$odd/dowsel"
run_once
[ -f "$ENTRY" ] || fail "no entry for the binary in an awkwardly named folder"
valid || fail "desktop-file-validate on $(grep Exec "$ENTRY"): $(cat "$E2E_ROOT/validate.log")"
grep -qx 'Exec="[^"]*/odd dir \\\\$HOME 100%% \\\\"q\\\\"/dowsel"' "$ENTRY" || fail "Exec not escaped: $(grep Exec "$ENTRY")"
pass "a path with a space, \$, % and \" is escaped and validates"

# An onboarding that has not completed writes nothing.
rm -f "$ENTRY" "$SETTINGS"
e2e_launch
sleep 2
[ ! -e "$ENTRY" ] || fail "a first launch wrote the autostart entry before the onboarding"
e2e_stop
pass "a first launch, still onboarding, writes no entry"
