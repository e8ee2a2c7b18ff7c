# Checks shared by the toast tests under real Wayland compositors. Source after lib.sh, once
# the compositor runs. A test defines `open_input ACTION` (runs `dowsel toast ACTION` and
# waits until the input holds the keyboard) before calling the checks.

RECORDER=${RECORDER:-$(dirname "$DOWSEL")/tests/dowsel_click_recorder}
[ -x "$RECORDER" ] || fail "no click recorder at $RECORDER (build dowsel_click_recorder)"
D="$HOME/Downloads"
mkdir -p "$HOME/Documents/Invoices" "$HOME/Music/Live"

# start_recorder LOG [--maximized|--full-screen]: a native Wayland window standing for the
# user's application, which writes down the clicks, keys and focus it gets; the recorder_*
# functions then read that log ($CLICKS).
start_recorder() {
  CLICKS=$1
  shift
  : >"$CLICKS"
  QT_QPA_PLATFORM=wayland "$RECORDER" "$CLICKS" "$@" >>"$E2E_ROOT/recorder.out" 2>&1 &
  E2E_PIDS+=($!)
  wait_for 10 grep -q "^focus in" "$CLICKS" || fail "the test window did not come up: $(cat "$E2E_ROOT/recorder.out")"
}
recorder_focus() { grep "^focus" "$CLICKS" | tail -n 1; }
recorder_has_focus() { [ "$(recorder_focus)" = "focus in" ]; }
recorder_keys() { grep "^key " "$CLICKS" | cut -c5- | tr -d '\n' || true; }
recorder_presses() { grep -c "^press" "$CLICKS" || true; }

# `dowsel status` names the session (XDG_CURRENT_DESKTOP) and says its windows go through
# Xwayland under the X window manager WM, as WINDOWS (a pattern) describes.
check_status_through_xwayland() {
  "$DOWSEL" status >"$E2E_ROOT/status" || fail "dowsel status failed"
  grep -q "^Session: *wayland ($XDG_CURRENT_DESKTOP)$" "$E2E_ROOT/status" || fail "status: $(cat "$E2E_ROOT/status")"
  grep -q "^Windows: *through Xwayland ($1): $2" "$E2E_ROOT/status" || fail "status: $(cat "$E2E_ROOT/status")"
}

# The island of a new download FILE at X Y (its top-left corner), leaving the window its keyboard.
check_island_at() {
  echo "$1" >"$D/$1"
  wait_for 10 toast_showing || fail "no toast for $1"
  island=$(mapped_window_of_size 820x120) || fail "no island window: $(xwininfo -root -children)"
  [ "$(window_origin "$island")" = "$2 $3" ] || fail "the island is at $(window_origin "$island"), not at $2 $3"
  sleep 0.5 # the island grows in
  recorder_has_focus || fail "the island took the keyboard from the window: $(recorder_focus)"
}

# Clicks on the window and beside the island (centred on a screen WIDTH wide) reach the
# window; a click on the island does not.
check_clicks_beside_island() {
  local centre=$(($1 / 2)) presses
  wl_click_at 150 300
  wait_for 5 grep -q "^press 150 300" "$CLICKS" || fail "a click on the window did not reach it: $(cat "$CLICKS")"
  wl_click_at 200 40
  wait_for 5 grep -q "^press 200 40" "$CLICKS" || fail "a click beside the island did not reach the window: $(cat "$CLICKS")"
  toast_showing || fail "a click beside the island closed the toast"
  presses=$(recorder_presses)
  wl_click_at "$centre" 3
  sleep 0.3
  [ "$(recorder_presses)" -eq "$presses" ] || fail "a click on the island went through it: $(tail -n 1 "$CLICKS")"
}

# The time input on the toast of FILE: "2h" and Return keep it for two hours, none of the keys
# reach the window, which has the keyboard again afterwards and gets what is typed next (x).
check_time_input() {
  local kept keys_before
  keys_before=$(recorder_keys)
  open_input time
  wl_keys type 2h
  wl_keys key Return
  wait_for 5 state_is "$1" temporary || fail "2h and Return in the time input did not keep $1: $(state_of "$1"); the window got \"$(recorder_keys)\""
  kept=$(DB "select cast(round(expires_at - marked_temporary_at) as integer) from tracked_file where file_name = $(sql_text "$1")")
  [ "$kept" = 7200 ] || fail "the time input kept $1 for $kept s"
  [ "$(recorder_keys)" = "$keys_before" ] || fail "keys typed into the time input reached the window: $(recorder_keys)"
  wait_for 5 recorder_has_focus || fail "the keyboard did not go back to the window"
  wl_keys type x
  wait_for 5 eval '[ "$(recorder_keys)" = "${keys_before}x" ]' || fail "keys after the time input do not reach the window: $(recorder_keys)"
}

# The move input on a new download slides.pdf: it sits under the island (centred on a screen
# WIDTH wide), and "docu invo" with Return moves the file to ~/Documents/Invoices.
check_move_input() {
  local keys_before x y move_input
  echo slides >"$D/slides.pdf"
  wait_for 10 toast_showing || fail "no toast for slides.pdf"
  keys_before=$(recorder_keys)
  open_input move
  move_input=$(mapped_window_of_size '500x[0-9]*') || fail "no move input window: $(xwininfo -root -children)"
  read -r x y < <(window_origin "$move_input")
  [ "$x" = $(($1 / 2 - 250)) ] && [ "$y" -ge 72 ] && [ "$y" -le 140 ] || fail "the move input is at $x $y, not under the island"
  wl_keys type docu invo
  sleep 0.5 # the folder index answers
  wl_keys key Return
  wait_for 5 test -e "$HOME/Documents/Invoices/slides.pdf" || fail "the move input did not move slides.pdf: the window got \"$(recorder_keys)\""
  [ "$(recorder_keys)" = "$keys_before" ] || fail "keys typed into the move input reached the window: $(recorder_keys)"
  wait_for 5 recorder_has_focus || fail "the keyboard did not go back after the move input"
}

# With the toast of FILE up, a time input with a digit typed closes without acting when the
# user clicks at X Y in the window, which gets the keyboard; the toast stays.
check_click_elsewhere_closes_input() {
  open_input time
  wl_keys type 3
  wl_click_at "$2" "$3"
  wait_for 5 recorder_has_focus || fail "the click did not give the keyboard to the window"
  wait_for 5 eval '! mapped_window_of_size "500x72" >/dev/null' || fail "the time input stayed open after a click in another window"
  [ "$(state_of "$1")" = unprocessed ] || fail "the time input closed by a click acted on $1: $(state_of "$1")"
  toast_showing || fail "the toast went with its input closed by a click"
}
