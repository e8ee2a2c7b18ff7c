# The toast on a Wayland desktop whose compositor never gives an unmanaged Xwayland window
# the keyboard (KDE Plasma's KWin, GNOME's Mutter): there the inputs are ordinary windows
# that Dowsel asks the window manager to activate. The island must sit at the top centre
# above a native Wayland window without taking its keyboard, let the clicks beside it
# through, and the time and move inputs opened by the commands must take typed keys and give
# the keyboard back, over a full-screen window too.
# Sourced by test_kwin_toast.sh and test_mutter_toast.sh once their 1280x800 compositor
# runs, with WM_NAME set to the X window manager's name Dowsel should report.
source "$(dirname "${BASH_SOURCE[0]}")/wayland_checks.sh"
e2e_settings
e2e_start_wl_keyboard
# Qt draws no title bar of its own on the test windows: window and screen coordinates agree.
export QT_WAYLAND_DISABLE_WINDOWDECORATION=1
open_input() {
  "$DOWSEL" toast "$1" || fail "dowsel toast $1 failed"
  wait_for 5 eval '! recorder_has_focus' || fail "the $1 input did not take the keyboard from the window"
}

start_recorder "$E2E_ROOT/recorder.log" --maximized
e2e_launch
check_status_through_xwayland "$WM_NAME" "the toast above other windows, its inputs as dialogs"
pass "under $WM_NAME Dowsel draws through Xwayland and says so"

check_island_at a.txt 230 0
pass "the island is at the top centre and the window keeps the keyboard"
check_clicks_beside_island 1280
pass "clicks beside the island reach the window below; clicks on it do not"
check_time_input a.txt
pass "the time input takes typed keys (2h + Return keeps the file for 2 h) and gives the keyboard back"
check_move_input 1280
pass "the move input takes typed keys, sits under the island and moves the file into the folder they name"

# Escape, or a click in the window, closes an input and leaves the file and the toast as they were.
echo c >"$D/c.txt"
wait_for 10 toast_showing || fail "no toast for c.txt"
open_input time
wl_keys type 3
wl_keys key Escape
wait_for 5 recorder_has_focus || fail "the keyboard did not go back after Escape"
[ "$(state_of c.txt)" = unprocessed ] || fail "the cancelled time input acted on c.txt: $(state_of c.txt)"
toast_showing || fail "the toast went with its cancelled input"
check_click_elsewhere_closes_input c.txt 300 500
"$DOWSEL" toast dismiss || fail "dowsel toast dismiss failed"
wait_for 5 state_is c.txt dismissed || fail "toast dismiss did not dismiss c.txt: $(state_of c.txt)"
wait_for 5 eval '! mapped_window_of_size 820x120 >/dev/null' || fail "the island stayed after toast dismiss"
pass "Escape, or a click in another window, closes an input without acting; dowsel toast dismiss ends the toast"

# Over a full-screen window (a video, a presentation) the island still shows and the time
# input still takes the keys, though the compositor keeps a full-screen window above others.
start_recorder "$E2E_ROOT/recorder2.log" --full-screen
check_island_at e.txt 230 0
presses=$(recorder_presses)
wl_click_at 640 3
sleep 0.3
[ "$(recorder_presses)" -eq "$presses" ] || fail "the island is not above the full-screen window: a click on it reached the window"
check_time_input e.txt
pass "over a full-screen window the island shows and the time input takes the keys"
