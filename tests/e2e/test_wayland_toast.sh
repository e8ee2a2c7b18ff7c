#!/usr/bin/env bash
# The toast on a Wayland session, under a real compositor: a headless sway with Xwayland.
# Dowsel draws through Xwayland there; the island must sit at the top centre above an
# ordinary (native Wayland) window, let the clicks beside it through to that window, never
# take its keyboard by appearing, and its time input must take typed keys when a command
# opens it and give the keyboard back when done. The `dowsel toast` commands drive it.
# Skips (77) where sway cannot start.
source "$(dirname "$0")/lib.sh"
e2e_start_sway 1280 800
e2e_start_bus
e2e_settings
source "$(dirname "$0")/wayland_checks.sh"

# A headless sway has no keyboard; Xwayland passes keys on only while the seat has one.
e2e_start_wl_keyboard

# The user's application: a native Wayland window filling the screen.
start_recorder "$E2E_ROOT/recorder.log"

# The toast's log says when an input holds the keyboard; keys typed before that are lost.
QT_LOGGING_RULES="dowsel.toast.debug=true" e2e_launch
grabs() { grep -c "Keyboard grabbed for an input panel" "$E2E_ROOT/dowsel.log" || true; }
open_input() {
  local before
  before=$(grabs)
  "$DOWSEL" toast "$1" || fail "dowsel toast $1 failed"
  wait_for 5 eval '! recorder_has_focus' || fail "the $1 input did not take the keyboard"
  wait_for 5 eval '[ "$(grabs)" -gt '"$before"' ]' || fail "the $1 input did not grab the keyboard"
}
check_status_through_xwayland "wlroots wm" ".*inputs take the keyboard"
pass "on a Wayland session with Xwayland Dowsel draws through Xwayland and says so"

# --- The island: top centre, above the window, not taking its keyboard.
check_island_at a.txt 230 0
grim "$E2E_ROOT/shot.png"
[ -n "${E2E_SHOTS:-}" ] && cp "$E2E_ROOT/shot.png" "$E2E_SHOTS/wayland-toast.png"
is_recorder_blue() { [ "$(png_pixel "$E2E_ROOT/shot.png" "$1" "$2")" = "32 96 208" ]; }
is_island_dark() { local r g b; read -r r g b < <(png_pixel "$E2E_ROOT/shot.png" "$1" "$2"); [ "$r" -lt 40 ] && [ "$g" -lt 40 ] && [ "$b" -lt 40 ]; }
is_island_dark 640 12 || fail "no island drawn at the top centre: $(png_pixel "$E2E_ROOT/shot.png" 640 12)"
is_island_dark 400 12 && is_island_dark 880 12 || fail "the island is not centred"
is_recorder_blue 200 12 && is_recorder_blue 1080 12 && is_recorder_blue 640 300 \
  || fail "the window around the island is hidden: $(png_pixel "$E2E_ROOT/shot.png" 200 12)"
pass "the island is drawn at the top centre above the window, which keeps the keyboard"

check_clicks_beside_island 1280
pass "clicks beside the island reach the window below; clicks on it do not"

# --- The time input, opened by the command, takes the keys and gives the keyboard back.
check_time_input a.txt
pass "the time input takes typed keys (2h + Return keeps the file for 2 h) and gives the keyboard back"

# --- The move input, opened by its command: typed words pick the folder, Return moves there.
check_move_input 1280
pass "the move input takes typed keys and moves the file into the folder they name"

# --- Over a full-screen window the island still shows, and still leaves the keyboard alone.
swaymsg '[title="click recorder"] fullscreen enable' >/dev/null || fail "sway could not make the window full screen"
wait_for 5 eval 'swaymsg -t get_tree | grep -q "\"fullscreen_mode\": 1"' || fail "the window did not go full screen"
echo e >"$D/e.txt"
wait_for 10 toast_showing || fail "no toast for e.txt"
sleep 0.5
grim "$E2E_ROOT/shot.png"
is_island_dark 640 12 || fail "no island over the full-screen window: $(png_pixel "$E2E_ROOT/shot.png" 640 12)"
is_recorder_blue 200 12 || fail "the full-screen window is not around the island: $(png_pixel "$E2E_ROOT/shot.png" 200 12)"
recorder_has_focus || fail "the island took the keyboard from the full-screen window"
"$DOWSEL" toast dismiss || fail "dowsel toast dismiss failed"
wait_for 5 eval '! mapped_window_of_size 820x120 >/dev/null' || fail "the island stayed after toast dismiss"
swaymsg '[title="click recorder"] fullscreen disable' >/dev/null
pass "the island shows above a full-screen window"

# --- The commands bound in the desktop's keyboard settings drive the toast.
echo c >"$D/c.txt"
wait_for 10 toast_showing || fail "no toast for c.txt"
"$DOWSEL" toast keep || fail "dowsel toast keep failed"
wait_for 5 state_is c.txt temporary || fail "toast keep did not keep c.txt: $(state_of c.txt)"
wait_for 5 toast_gone || fail "the toast stayed after toast keep"
echo d >"$D/d.txt"
wait_for 10 toast_showing || fail "no toast for d.txt"
"$DOWSEL" toast dismiss || fail "dowsel toast dismiss failed"
wait_for 5 state_is d.txt dismissed || fail "toast dismiss did not dismiss d.txt: $(state_of d.txt)"
wait_for 5 eval '! mapped_window_of_size 820x120 >/dev/null' || fail "the island stayed after toast dismiss"
recorder_has_focus || fail "the window lost the keyboard to the toast commands"
pass "dowsel toast keep and dismiss act on the toast under sway"

# --- A click in another window takes the keyboard from an open input, which closes as
# cancelled, as it does on X11.
first_window=$CLICKS
start_recorder "$E2E_ROOT/recorder2.log"
CLICKS=$first_window
echo g >"$D/g.txt"
wait_for 10 toast_showing || fail "no toast for g.txt"
check_click_elsewhere_closes_input g.txt 300 500 # sway tiles the first window on the left half
wl_keys type y
wait_for 5 eval '[ "$(recorder_keys)" = xy ]' || fail "keys after the click went elsewhere: the window got \"$(recorder_keys)\""
"$DOWSEL" toast dismiss || fail "dowsel toast dismiss failed"
pass "a click in another window closes an open input and takes the keyboard"

# --- A second output: the island goes to the one sway has focused, though no X11 window is
# active to tell it.
swaymsg create_output >/dev/null || fail "sway could not add an output"
swaymsg output HEADLESS-2 resolution 1024x768 position 1280 0 >/dev/null
swaymsg focus output HEADLESS-2 >/dev/null
wait_for 5 eval 'xrandr 2>/dev/null | grep -q " connected 1024x768+1280+0"' \
  || fail "Xwayland does not show the second output: $(xrandr 2>&1)"
echo f >"$D/f.txt"
wait_for 10 toast_showing || fail "no toast for f.txt"
island=$(mapped_window_of_size 820x120) || fail "no island window for f.txt"
[ "$(window_origin "$island")" = "1382 0" ] \
  || fail "the island is at $(window_origin "$island"), not the top centre of the focused output (1382 0)"
sleep 0.5
grim -o HEADLESS-2 "$E2E_ROOT/shot.png"
is_island_dark 512 12 || fail "no island drawn on the focused output: $(png_pixel "$E2E_ROOT/shot.png" 512 12)"
"$DOWSEL" toast dismiss || fail "dowsel toast dismiss failed"
pass "with two outputs the island goes to the top centre of the one sway has focused"

# --- Without an Xwayland that answers, Dowsel still starts, as a plain Wayland client, and says so.
e2e_stop
DISPLAY=:9999 e2e_launch
"$DOWSEL" status | grep -q "^Windows: *Wayland: the desktop places the toast" \
  || fail "status without Xwayland: $("$DOWSEL" status)"
pass "without Xwayland Dowsel runs as a Wayland client and says what that costs"
