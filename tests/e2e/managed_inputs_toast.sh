# The toast on a Wayland desktop whose compositor never gives an unmanaged Xwayland window
# the keyboard (KDE Plasma's KWin, GNOME's Mutter): there the inputs are ordinary windows
# that Dowsel asks the window manager to activate. The island must sit at the top centre
# above a native Wayland window without taking its keyboard, let the clicks beside it
# through, and the time and move inputs opened by the commands must take typed keys and give
# the keyboard back, over a full-screen window too.
# Sourced by test_kwin_toast.sh and test_mutter_toast.sh once their compositor runs, with
# WM_NAME set to the X window manager's name Dowsel should report.
RECORDER=${RECORDER:-$(dirname "$DOWSEL")/tests/dowsel_click_recorder}
[ -x "$RECORDER" ] || fail "no click recorder at $RECORDER (build dowsel_click_recorder)"
D="$HOME/Downloads"
mkdir -p "$HOME/Documents/Invoices" "$HOME/Music/Live"
e2e_settings
e2e_start_wl_keyboard
# Qt draws no title bar of its own on the test windows: window and screen coordinates agree.
export QT_WAYLAND_DISABLE_WINDOWDECORATION=1

# The user's application: a native Wayland window.
CLICKS="$E2E_ROOT/recorder.log"
: >"$CLICKS"
QT_QPA_PLATFORM=wayland "$RECORDER" "$CLICKS" --maximized >"$E2E_ROOT/recorder.out" 2>&1 &
E2E_PIDS+=($!)
wait_for 10 grep -q "^focus in" "$CLICKS" || fail "the test window did not come up: $(cat "$E2E_ROOT/recorder.out")"
recorder_focus() { grep "^focus" "$CLICKS" | tail -n 1; }
recorder_has_focus() { [ "$(recorder_focus)" = "focus in" ]; }
recorder_keys() { grep "^key " "$CLICKS" | cut -c5- | tr -d '\n'; }
recorder_presses() { grep -c "^press" "$CLICKS" || true; }

QT_LOGGING_RULES="dowsel.toast.debug=true" e2e_launch
toast_showing() { "$DOWSEL" status | grep -q "^Toast showing: *yes$"; }
toast_gone() { "$DOWSEL" status | grep -q "^Toast showing: *no$"; }
"$DOWSEL" status >"$E2E_ROOT/status" || fail "dowsel status failed"
grep -q "^Session: *wayland ($XDG_CURRENT_DESKTOP)$" "$E2E_ROOT/status" || fail "status: $(cat "$E2E_ROOT/status")"
grep -q "^Windows: *through Xwayland ($WM_NAME): the toast above other windows, its inputs as dialogs" "$E2E_ROOT/status" \
  || fail "status: $(cat "$E2E_ROOT/status")"
pass "under $WM_NAME Dowsel draws through Xwayland and says so"

# --- The island: top centre, above the window, not taking its keyboard; clicks beside pass.
echo a >"$D/a.txt"
wait_for 10 toast_showing || fail "no toast for a.txt"
island=$(mapped_window_of_size 820x120) || fail "no island window: $(xwininfo -root -children)"
[ "$(window_origin "$island")" = "230 0" ] || fail "the island is at $(window_origin "$island"), not the top centre"
sleep 0.5 # the island grows in
recorder_has_focus || fail "the island took the keyboard from the window: $(recorder_focus)"
pass "the island is at the top centre and the window keeps the keyboard"

wl_click_at 150 300
wait_for 5 grep -q "^press 150 300" "$CLICKS" || fail "a click on the window did not reach it: $(cat "$CLICKS")"
wl_click_at 200 40
wait_for 5 grep -q "^press 200 40" "$CLICKS" || fail "a click beside the island did not reach the window: $(cat "$CLICKS")"
toast_showing || fail "a click beside the island closed the toast"
presses=$(recorder_presses)
wl_click_at 640 3
sleep 0.3
[ "$(recorder_presses)" -eq "$presses" ] || fail "a click on the island went through it: $(tail -n 1 "$CLICKS")"
pass "clicks beside the island reach the window below; clicks on it do not"

# --- The time input, opened by the command, takes the keys and gives the keyboard back.
"$DOWSEL" toast time || fail "dowsel toast time failed"
wait_for 5 eval '! recorder_has_focus' || fail "the time input did not take the keyboard from the window"
wl_keys type 2h
wl_keys key Return
wait_for 5 state_is a.txt temporary || fail "2h and Return in the time input did not keep a.txt: $(state_of a.txt); the window got \"$(recorder_keys)\""
kept=$(DB "select cast(round(expires_at - marked_temporary_at) as integer) from tracked_file where file_name = 'a.txt'")
[ "$kept" = 7200 ] || fail "the time input kept a.txt for $kept s"
[ -z "$(recorder_keys)" ] || fail "keys typed into the time input reached the window: $(recorder_keys)"
wait_for 5 recorder_has_focus || fail "the keyboard did not go back to the window"
wl_keys type x
wait_for 5 eval '[ "$(recorder_keys)" = x ]' || fail "keys after the time input do not reach the window: $(recorder_keys)"
pass "the time input takes typed keys (2h + Return keeps the file for 2 h) and gives the keyboard back"

# --- The move input: typed words pick the folder, Return moves there.
echo slides >"$D/slides.pdf"
wait_for 10 toast_showing || fail "no toast for slides.pdf"
"$DOWSEL" toast move || fail "dowsel toast move failed"
wait_for 5 eval '! recorder_has_focus' || fail "the move input did not take the keyboard"
move_input=$(mapped_window_of_size '500x[0-9]*') || fail "no move input window: $(xwininfo -root -children)"
read -r x y < <(window_origin "$move_input")
[ "$x" = 390 ] && [ "$y" -ge 72 ] && [ "$y" -le 140 ] || fail "the move input is at $x $y, not under the island"
wl_keys type docu invo
sleep 0.5 # the folder index answers
wl_keys key Return
wait_for 5 test -e "$HOME/Documents/Invoices/slides.pdf" || fail "the move input did not move slides.pdf: the window got \"$(recorder_keys)\""
[ "$(recorder_keys)" = x ] || fail "keys typed into the move input reached the window: $(recorder_keys)"
wait_for 5 recorder_has_focus || fail "the keyboard did not go back after the move input"
pass "the move input takes typed keys, sits under the island and moves the file into the folder they name"

# --- Escape in an input closes it and leaves the file and the toast as they were.
echo c >"$D/c.txt"
wait_for 10 toast_showing || fail "no toast for c.txt"
"$DOWSEL" toast time || fail "dowsel toast time failed"
wait_for 5 eval '! recorder_has_focus' || fail "the time input did not take the keyboard"
wl_keys type 3
wl_keys key Escape
wait_for 5 recorder_has_focus || fail "the keyboard did not go back after Escape"
[ "$(state_of c.txt)" = unprocessed ] || fail "the cancelled time input acted on c.txt: $(state_of c.txt)"
toast_showing || fail "the toast went with its cancelled input"
"$DOWSEL" toast time || fail "dowsel toast time failed"
wait_for 5 eval '! recorder_has_focus' || fail "the time input did not take the keyboard"
wl_keys type 4
wl_click_at 300 500
wait_for 5 recorder_has_focus || fail "a click on the window did not give it the keyboard back"
wait_for 5 eval '! mapped_window_of_size "500x72" >/dev/null' || fail "the time input stayed open after a click in another window"
[ "$(state_of c.txt)" = unprocessed ] || fail "the time input closed by a click acted on c.txt: $(state_of c.txt)"
toast_showing || fail "the toast went with its input closed by a click"
"$DOWSEL" toast dismiss || fail "dowsel toast dismiss failed"
wait_for 5 state_is c.txt dismissed || fail "toast dismiss did not dismiss c.txt: $(state_of c.txt)"
wait_for 5 eval '! mapped_window_of_size 820x120 >/dev/null' || fail "the island stayed after toast dismiss"
pass "Escape, or a click in another window, closes an input without acting; dowsel toast dismiss ends the toast"

# --- Over a full-screen window (a video, a presentation) the island still shows and the
# time input still takes the keys, though the compositor keeps a full-screen window above others.
CLICKS2="$E2E_ROOT/recorder2.log"
: >"$CLICKS2"
QT_QPA_PLATFORM=wayland "$RECORDER" "$CLICKS2" --full-screen >>"$E2E_ROOT/recorder.out" 2>&1 &
E2E_PIDS+=($!)
wait_for 10 grep -q "^focus in" "$CLICKS2" || fail "the full-screen window did not come up: $(cat "$E2E_ROOT/recorder.out")"
CLICKS=$CLICKS2
echo e >"$D/e.txt"
wait_for 10 toast_showing || fail "no toast for e.txt"
sleep 0.5
recorder_has_focus || fail "the island took the keyboard from the full-screen window"
presses=$(recorder_presses)
wl_click_at 640 3
sleep 0.3
[ "$(recorder_presses)" -eq "$presses" ] || fail "the island is not above the full-screen window: a click on it reached the window"
"$DOWSEL" toast time || fail "dowsel toast time failed"
wait_for 5 eval '! recorder_has_focus' || fail "the time input did not take the keyboard from the full-screen window"
wl_keys type 30m
wl_keys key Return
wait_for 5 state_is e.txt temporary || fail "30m and Return did not keep e.txt over a full-screen window: $(state_of e.txt); the window got \"$(recorder_keys)\""
wait_for 5 recorder_has_focus || fail "the keyboard did not go back to the full-screen window"
pass "over a full-screen window the island shows and the time input takes the keys"
