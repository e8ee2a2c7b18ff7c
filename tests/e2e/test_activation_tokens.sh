#!/usr/bin/env bash
# The activation token a desktop hands over with a key reaches the input that opens in
# answer, on a real X server: `dowsel toast time|move|more` run with XDG_ACTIVATION_TOKEN (or
# else DESKTOP_STARTUP_ID) opens its panel with _NET_STARTUP_ID set to the token, and the
# startup sequence is ended with a "remove" message to the root window, as a window manager
# reads them; a command without one opens a panel without any. The same holds for the token
# of an activation of the desktop's GlobalShortcuts portal (a stand-in on the test's bus).
source "$(dirname "$0")/lib.sh"
TESTS_DIR=$(dirname "$DOWSEL")/tests
FAKE_PORTAL=${FAKE_PORTAL:-$TESTS_DIR/dowsel_fake_portal}
LISTENER=${STARTUP_LISTENER:-$TESTS_DIR/dowsel_startup_listener}
[ -x "$FAKE_PORTAL" ] || fail "no fake portal at $FAKE_PORTAL (build dowsel_fake_portal)"
[ -x "$LISTENER" ] || fail "no startup listener at $LISTENER (build dowsel_startup_listener)"
unset XDG_ACTIVATION_TOKEN DESKTOP_STARTUP_ID
D="$HOME/Downloads"
e2e_start_x
e2e_start_bus
e2e_settings
e2e_launch

"$LISTENER" >"$E2E_ROOT/startup.log" 2>&1 &
E2E_PIDS+=($!)
wait_for 10 grep -q "^ready$" "$E2E_ROOT/startup.log" || fail "the startup listener did not start: $(cat "$E2E_ROOT/startup.log")"

# A token as a launcher makes one, longer than one 20-byte message.
new_token() { echo "dowsel-e2e-$RANDOM-$(date +%s%N)"; }
# Prints the window with the keyboard when it is one of Dowsel's, mapped: the panel that
# took it. No window manager runs here, so the panel sets the X input focus itself.
dowsel_focus() {
  local window
  window=$(xdotool getwindowfocus 2>/dev/null) || return 1
  [ "$(xprop -id "$window" _NET_WM_PID 2>/dev/null | awk '{print $NF}')" = "$DOWSEL_PID" ] || return 1
  xwininfo -id "$window" | grep -q 'Map State: IsViewable' || return 1
  echo "$window"
}
# open_panel ACTION [VAR=VALUE...]: runs `dowsel toast ACTION` in that environment and sets
# PANEL to the window that takes the keyboard, other than the last one.
LAST_PANEL=
open_panel() {
  local action=$1; shift
  env "$@" "$DOWSEL" toast "$action" || fail "dowsel toast $action failed"
  wait_for 5 eval 'PANEL=$(dowsel_focus) && [ "$PANEL" != "$LAST_PANEL" ]' \
    || fail "dowsel toast $action did not open a panel that took the keyboard"
  LAST_PANEL=$PANEL
}
startup_id_of() { xprop -id "$1" _NET_STARTUP_ID 2>/dev/null; }
carries() { [ "$(startup_id_of "$1")" = "_NET_STARTUP_ID(UTF8_STRING) = \"$2\"" ]; }
removed() { grep -qx "0x[0-9a-f]* remove: ID=$1" "$E2E_ROOT/startup.log"; }
# Escape closes the panel that has the keyboard; it goes at once, before its fade ends.
close_panel() {
  xdotool key Escape
  wait_for 5 eval '! dowsel_focus >/dev/null' || fail "Escape did not close the panel"
}

echo a >"$D/a.txt"
wait_for 10 toast_showing || fail "no toast for a.txt"
first=$(new_token)
open_panel time XDG_ACTIVATION_TOKEN="$first"
carries "$PANEL" "$first" || fail "the time input's _NET_STARTUP_ID: $(startup_id_of "$PANEL")"
wait_for 5 removed "$first" || fail "no remove message for the token: $(cat "$E2E_ROOT/startup.log")"
time_input=$PANEL
pass "dowsel toast time with XDG_ACTIVATION_TOKEN opens the time input with that startup ID, then ends it"

close_panel
messages=$(grep -c . "$E2E_ROOT/startup.log")
open_panel time
[ "$PANEL" != "$time_input" ] || fail "the time input was not opened anew"
startup_id_of "$PANEL" | grep -q "not found" || fail "a command without a token left: $(startup_id_of "$PANEL")"
sleep 0.3 # a remove message wrongly sent would be here by now
[ "$(grep -c . "$E2E_ROOT/startup.log")" = "$messages" ] \
  || fail "a panel without a token ended a startup sequence: $(tail -n 1 "$E2E_ROOT/startup.log")"
pass "the next time input, opened without a token, carries none and ends no sequence"

close_panel
startup=$(new_token)
open_panel move DESKTOP_STARTUP_ID="$startup"
carries "$PANEL" "$startup" || fail "the move input's _NET_STARTUP_ID: $(startup_id_of "$PANEL")"
wait_for 5 removed "$startup" || fail "no remove message for the startup ID: $(cat "$E2E_ROOT/startup.log")"
close_panel
wayland=$(new_token)
open_panel more XDG_ACTIVATION_TOKEN="$wayland" DESKTOP_STARTUP_ID="$(new_token)"
carries "$PANEL" "$wayland" || fail "the More menu's _NET_STARTUP_ID: $(startup_id_of "$PANEL")"
close_panel
pass "DESKTOP_STARTUP_ID stands in for XDG_ACTIVATION_TOKEN, which comes first when both are set"

# A keep opens no panel: its token goes nowhere, not to the next toast's input.
XDG_ACTIVATION_TOKEN="$(new_token)" "$DOWSEL" toast keep || fail "toast keep failed"
wait_for 5 state_is a.txt temporary || fail "toast keep did not mark a.txt: $(state_of a.txt)"
echo b >"$D/b.txt"
wait_for 10 toast_showing || fail "no toast for b.txt"
open_panel time
startup_id_of "$PANEL" | grep -q "not found" || fail "a token went to a later panel: $(startup_id_of "$PANEL")"
close_panel
pass "a token without a panel to take it is dropped"

# The portal's activations: a Wayland session whose Xwayland is this X server.
e2e_stop
"$FAKE_PORTAL" >"$E2E_ROOT/portal.log" 2>&1 &
E2E_PIDS+=($!)
wait_for 10 grep -q ready "$E2E_ROOT/portal.log" || fail "the fake portal did not start: $(cat "$E2E_ROOT/portal.log")"
XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=KDE e2e_launch
wait_for 10 eval '"$DOWSEL" status | grep -q "^Shortcuts granted: *yes$"' \
  || fail "the portal's shortcuts are not granted: $("$DOWSEL" status)"
activate() {
  dbus-send --session --print-reply --dest=org.freedesktop.portal.Desktop /fake app.dowsel.FakePortal.Activate \
    "$@" >/dev/null
}
echo c >"$D/c.txt"
wait_for 10 toast_showing || fail "no toast for c.txt with the portal"
portal=$(new_token)
activate string:keep-for "string:$portal"
wait_for 5 eval 'PANEL=$(dowsel_focus)' || fail "the portal's keep-for did not open the time input"
carries "$PANEL" "$portal" || fail "the time input's _NET_STARTUP_ID: $(startup_id_of "$PANEL")"
wait_for 5 removed "$portal" || fail "no remove message for the portal's token: $(cat "$E2E_ROOT/startup.log")"
close_panel
LAST_PANEL=$PANEL
activate string:move
wait_for 5 eval 'PANEL=$(dowsel_focus) && [ "$PANEL" != "$LAST_PANEL" ]' || fail "the portal's move did not open the move input"
startup_id_of "$PANEL" | grep -q "not found" || fail "an activation without a token left: $(startup_id_of "$PANEL")"
pass "the portal's activation_token reaches the input it opens, and an activation without one brings none"
