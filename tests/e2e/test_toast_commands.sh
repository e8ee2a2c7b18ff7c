#!/usr/bin/env bash
# The toast commands a user binds in the desktop's keyboard settings where Dowsel cannot grab
# keys, and `dowsel status`, against the running Dowsel on a real X server: each command acts
# on the toast that is up and only then; on a Wayland session the status says the shortcuts
# are not granted until a command arrives from outside a terminal (as a key binding sends it),
# and the commands still drive the toast; with the desktop's GlobalShortcuts portal (a
# stand-in on the test's bus) they are bound there and its activations act.
source "$(dirname "$0")/lib.sh"
FAKE_PORTAL=${FAKE_PORTAL:-$(dirname "$DOWSEL")/tests/dowsel_fake_portal}
[ -x "$FAKE_PORTAL" ] || fail "no fake portal at $FAKE_PORTAL (build dowsel_fake_portal)"
D="$HOME/Downloads"
e2e_start_x
e2e_start_bus
e2e_settings
e2e_launch

# expect_refusal TEXT ARGS...: the command exits 1 and says TEXT on standard error.
expect_refusal() {
  local text=$1 status=0; shift
  "$DOWSEL" "$@" >"$E2E_ROOT/out" 2>"$E2E_ROOT/err" || status=$?
  [ $status -eq 1 ] || fail "dowsel $*: exit status $status"
  grep -q "$text" "$E2E_ROOT/err" || fail "dowsel $* said: $(cat "$E2E_ROOT/err")"
}

"$DOWSEL" status >"$E2E_ROOT/status" || fail "dowsel status failed"
grep -q "^Session: *x11$" "$E2E_ROOT/status" || fail "status on Xvfb: $(cat "$E2E_ROOT/status")"
grep -q "^Shortcuts granted: *yes$" "$E2E_ROOT/status" || fail "status on Xvfb: $(cat "$E2E_ROOT/status")"
! grep -q "^Shortcuts \(through\|portal\)" "$E2E_ROOT/status" || fail "X11 has no portal or commands: $(cat "$E2E_ROOT/status")"
grep -q "^Downloads access: *yes ($D)$" "$E2E_ROOT/status" || fail "status: $(cat "$E2E_ROOT/status")"
grep -q "^Autostart: *\(absent\|enabled\|disabled\)$" "$E2E_ROOT/status" || fail "status: $(cat "$E2E_ROOT/status")"
json=$(dbus-send --session --print-reply=literal --dest=app.dowsel.Dowsel /app/dowsel/Dowsel app.dowsel.Dowsel1.Status)
grep -q '"session":"x11"' <<<"$json" && grep -q '"shortcutsGranted":true' <<<"$json" \
  || fail "the bus Status() answered: $json"
pass "status on an X11 session: the grabs are granted, Downloads can be listed"

for action in keep dismiss move; do expect_refusal "no toast is showing" toast $action; done
expect_refusal "no toast is showing" toast keep-for 2h
status=0; "$DOWSEL" toast keep-for >/dev/null 2>&1 || status=$?
[ $status -eq 2 ] || fail "keep-for without a duration: exit status $status"
status=0; "$DOWSEL" toast keep extra >/dev/null 2>&1 || status=$?
[ $status -eq 2 ] || fail "keep with an operand: exit status $status"
expect_refusal "unknown toast action" toast frobnicate
pass "with no toast up the commands exit 1 and say so; wrong operands are refused"

echo a >"$D/a.txt"
wait_for 10 toast_showing || fail "no toast for a.txt"
expect_refusal "cannot keep for" toast keep-for soon
[ "$(state_of a.txt)" = unprocessed ] || fail "a refused keep-for changed a.txt: $(state_of a.txt)"
"$DOWSEL" toast keep || fail "toast keep failed with a toast up"
wait_for 5 state_is a.txt temporary || fail "toast keep did not mark a.txt: $(state_of a.txt)"
wait_for 5 toast_gone || fail "the toast stayed after toast keep"
pass "toast keep marks the toast's file temporary and closes it"

echo b >"$D/b.txt"
wait_for 10 toast_showing || fail "no toast for b.txt"
"$DOWSEL" toast keep-for 2h || fail "toast keep-for 2h failed"
wait_for 5 state_is b.txt temporary || fail "keep-for did not mark b.txt: $(state_of b.txt)"
kept=$(DB "select cast(round(expires_at - marked_temporary_at) as integer) from tracked_file where file_name = 'b.txt'")
[ "$kept" = 7200 ] || fail "keep-for 2h kept b.txt for $kept s"
pass "toast keep-for 2h keeps the file for two hours"

echo c >"$D/c.txt"
wait_for 10 toast_showing || fail "no toast for c.txt"
"$DOWSEL" toast dismiss || fail "toast dismiss failed"
wait_for 5 state_is c.txt dismissed || fail "toast dismiss did not dismiss c.txt: $(state_of c.txt)"
wait_for 5 toast_gone || fail "the toast stayed after toast dismiss"
[ -e "$D/c.txt" ] || fail "dismissing moved c.txt"
pass "toast dismiss dismisses the toast's file and leaves it in place"

# A Wayland session whose Xwayland is this X server: the grabs succeed, yet reach X11
# windows only, so they are not reported as granted; the commands take their place.
e2e_stop
XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=GNOME e2e_launch
"$DOWSEL" status >"$E2E_ROOT/status" || fail "dowsel status failed"
grep -q "^Session: *wayland (GNOME)$" "$E2E_ROOT/status" || fail "status on Wayland: $(cat "$E2E_ROOT/status")"
grep -q "^Shortcuts granted: *no: .*no global shortcuts portal.*dowsel toast" "$E2E_ROOT/status" \
  || fail "status on Wayland: $(cat "$E2E_ROOT/status")"
grep -q "^Shortcuts portal: *missing" "$E2E_ROOT/status" || fail "status on Wayland: $(cat "$E2E_ROOT/status")"
echo d >"$D/d.txt"
wait_for 10 toast_showing || fail "no toast for d.txt on the Wayland session"
# Typed in a terminal: it acts, and proves nothing about the desktop's key bindings.
script -qec "$(printf '%q' "$DOWSEL") toast keep" /dev/null >/dev/null || fail "toast keep failed on the Wayland session"
wait_for 5 state_is d.txt temporary || fail "toast keep did not mark d.txt: $(state_of d.txt)"
"$DOWSEL" status | grep -q "^Shortcuts granted: *no: " || fail "a command from a terminal counted: $("$DOWSEL" status)"
pass "on a Wayland session the shortcuts are not granted, and the commands drive the toast"

# Run as the desktop runs a key binding, without a terminal: the commands are bound.
status=0; setsid -w "$DOWSEL" toast dismiss >/dev/null 2>&1 </dev/null || status=$?
[ $status -eq 1 ] || fail "toast dismiss with no toast: exit status $status"
"$DOWSEL" status >"$E2E_ROOT/status" || fail "dowsel status failed"
grep -q "^Shortcuts granted: *yes$" "$E2E_ROOT/status" || fail "status after a bound command: $(cat "$E2E_ROOT/status")"
grep -q "^Shortcuts through: *commands (“dowsel toast dismiss” came from outside a terminal" "$E2E_ROOT/status" \
  || fail "status after a bound command: $(cat "$E2E_ROOT/status")"
tr -d ' \n' <"$XDG_CONFIG_HOME/dowsel/settings.json" | grep -q '"shortcutCommandsSeen":\["dismiss"\]' \
  || fail "the bound command was not remembered: $(cat "$XDG_CONFIG_HOME/dowsel/settings.json")"
pass "a command that comes from outside a terminal grants the shortcuts, and the status says why"

# The desktop's portal: the shortcuts are bound there, and an activation acts only while a
# toast is up.
e2e_stop
: >"$E2E_ROOT/portal.log"
"$FAKE_PORTAL" >"$E2E_ROOT/portal.log" 2>&1 &
PORTAL_PID=$!
E2E_PIDS+=($PORTAL_PID)
wait_for 10 grep -q ready "$E2E_ROOT/portal.log" || fail "the fake portal did not start: $(cat "$E2E_ROOT/portal.log")"
activate() {
  dbus-send --session --print-reply --dest=org.freedesktop.portal.Desktop /fake app.dowsel.FakePortal.Activate \
    "string:$1" >/dev/null
}
e2e_settings # what the commands proved stays out of the portal's runs
XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=KDE e2e_launch
wait_for 10 eval '"$DOWSEL" status | grep -q "^Shortcuts through: *portal (the desktop.s shortcuts portal bound them)$"' \
  || fail "the portal's shortcuts are not granted: $("$DOWSEL" status)"
"$DOWSEL" status | grep -q "^Shortcuts granted: *yes$" || fail "the portal's shortcuts: $("$DOWSEL" status)"
activate keep
echo e >"$D/e.txt"
wait_for 10 toast_showing || fail "no toast for e.txt with the portal"
sleep 0.5 # an activation wrongly held back would act by now
[ "$(state_of e.txt)" = unprocessed ] || fail "an activation before the toast acted on e.txt: $(state_of e.txt)"
activate keep
wait_for 5 state_is e.txt temporary || fail "the portal's keep did not mark e.txt: $(state_of e.txt)"
wait_for 5 toast_gone || fail "the toast stayed after the portal's keep"
pass "with the portal the shortcuts are granted, and its activations act only while a toast is up"

e2e_stop
kill "$PORTAL_PID"
wait "$PORTAL_PID" 2>/dev/null || true
: >"$E2E_ROOT/declining-portal.log"
"$FAKE_PORTAL" --decline >"$E2E_ROOT/declining-portal.log" 2>&1 &
PORTAL_PID=$!
E2E_PIDS+=($PORTAL_PID)
wait_for 10 grep -q ready "$E2E_ROOT/declining-portal.log" \
  || fail "the declining portal did not start: $(cat "$E2E_ROOT/declining-portal.log")"
XDG_SESSION_TYPE=wayland QT_LOGGING_RULES="dowsel.shortcuts.info=true" e2e_launch
wait_for 10 grep -q "portal: no shortcuts: the shortcuts were not bound" "$E2E_ROOT/dowsel.log" \
  || fail "Dowsel did not hear the user decline: $(tail -n 5 "$E2E_ROOT/dowsel.log")"
"$DOWSEL" status | grep -q "^Shortcuts granted: *no: The shortcuts were declined.*dowsel toast" \
  || fail "declined shortcuts were reported as: $("$DOWSEL" status)"
pass "a user who declines the binding is told the shortcuts are not granted"

# A portal that takes the shortcuts without keys (KDE Plasma 5.27) until the user assigns them.
e2e_stop
kill "$PORTAL_PID"
wait "$PORTAL_PID" 2>/dev/null || true
: >"$E2E_ROOT/later-portal.log"
"$FAKE_PORTAL" --assign-later >"$E2E_ROOT/later-portal.log" 2>&1 &
E2E_PIDS+=($!)
wait_for 10 grep -q ready "$E2E_ROOT/later-portal.log" || fail "the portal did not start: $(cat "$E2E_ROOT/later-portal.log")"
XDG_SESSION_TYPE=wayland e2e_launch
wait_for 10 eval '"$DOWSEL" status | grep -q "^Shortcuts portal: *no keys assigned"' \
  || fail "shortcuts without keys were reported as: $("$DOWSEL" status)"
"$DOWSEL" status | grep -q "^Shortcuts granted: *no: The desktop took Dowsel's shortcuts but gave them no keys yet" \
  || fail "shortcuts without keys were reported as: $("$DOWSEL" status)"
dbus-send --session --print-reply --dest=org.freedesktop.portal.Desktop /fake app.dowsel.FakePortal.AssignKeys >/dev/null
wait_for 10 eval '"$DOWSEL" status | grep -q "^Shortcuts granted: *yes$"' \
  || fail "the keys the user assigned were not seen: $("$DOWSEL" status)"
pass "shortcuts the desktop took without keys are granted once the user assigns them"
