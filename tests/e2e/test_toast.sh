#!/usr/bin/env bash
# The toast on a real X server: where the island is drawn, which keys it takes from the
# focused window and which it leaves alone, clicks beside it, and the move, time and More
# inputs. With DOWSEL_E2E_SHOTS=folder it also saves screenshots there.
source "$(dirname "$0")/lib.sh"
source "$(dirname "$0")/screen.sh"
e2e_start_x
e2e_start_bus
D="$HOME/Downloads"
mkdir -p "$HOME/Documents/Invoices" "$HOME/Documents/Recipes" "$HOME/Music/Live"
export QT_LOGGING_RULES="dowsel.folderindex.debug=true"
e2e_settings
e2e_launch
probe_start
xdotool mousemove 640 600

both_temporary() { state_is report.pdf temporary && state_is "notes v2.txt" temporary; }
has_tag() { getfattr --only-values -n user.xdg.tags "$1" 2>/dev/null | grep -q "Dowsel: Temporary"; }
focus_is_probe() { [ "$(xdotool getwindowfocus)" = "$PROBE_WINDOW" ]; }
focus_left_probe() { ! focus_is_probe; }
T_PRESS='0x(74|54),' ESC_PRESS='0xff1b,'

echo report >"$D/report.pdf"
echo notes >"$D/notes v2.txt"
wait_for 10 island_shown || fail "no island at the top centre: $(brightness "${ISLAND_POINTS[@]}")"
wait_for 3 eval 'shoot && nothing_outside_island' || fail "something is drawn outside the island"
toast_panel_open || fail "the toast's panel is not found among the mapped windows"
all_above 215 "${AROUND_POINTS[@]}" \
  || fail "the background around the island is not clear: $(brightness "${AROUND_POINTS[@]}")"
save_shot toast 96
pass "a new file shows the black island at the top centre and nothing elsewhere"

key_reaches_probe "$T_PRESS" t || fail "a plain T did not reach the focused window"
key_reaches_probe "$T_PRESS" ctrl+super+shift+t || fail "Super+Shift+Ctrl+T did not reach the focused window"
[ "$(state_of report.pdf)" = unprocessed ] || fail "a key that is no shortcut changed the file: $(state_of report.pdf)"
shoot && badge_row "$E2E_ROOT/plain-badges.png"
presses=$(probe_presses "$T_PRESS")
xdotool key super+shift+t
wait_for 5 both_temporary \
  || fail "Super+Shift+T did not mark both files: $(DB 'select file_name, state from tracked_file')"
[ "$(probe_presses "$T_PRESS")" -eq "$presses" ] || fail "Super+Shift+T also reached the focused window"
has_tag "$D/report.pdf" && has_tag "$D/notes v2.txt" || fail "the temporary tag is missing"
wait_for 5 island_gone || fail "the island stayed after Super+Shift+T"
wait_for 5 toast_closed || fail "the toast's panel stayed after Super+Shift+T"
pass "Super+Shift+T marks every file of the toast and is swallowed; T and Ctrl+Super+Shift+T pass"

echo photo >"$D/photo.png"
wait_for 10 island_shown || fail "no island for photo.png"
xdotool key Escape
wait_for 5 state_is photo.png dismissed || fail "Escape did not dismiss: $(state_of photo.png)"
probe_presses_are "$ESC_PRESS" 0 || fail "the Escape that dismissed also reached the focused window"
wait_for 5 island_gone || fail "the island stayed after Escape"
wait_for 5 toast_closed || fail "the toast's panel stayed after Escape"
key_reaches_probe "$ESC_PRESS" Escape || fail "with no toast up, Escape did not reach the focused window"
[ -e "$D/photo.png" ] || fail "dismissing moved the file"
pass "Escape dismisses the toast; with no toast up it reaches the focused window"

wait_for 30 grep -qE 'FolderIndex.rebuild: [1-9][0-9]* folders' "$E2E_ROOT/dowsel.log" \
  || fail "the folder index did not gather the home folder"
echo slides >"$D/slides.pdf"
wait_for 10 island_shown || fail "no island for slides.pdf"
xdotool mousemove 180 36 click 1
wait_for 2 eval '[ "$(probe_clicks_at 180 36)" -eq 1 ]' \
  || fail "a click 200 px left of the island did not reach the window below"
# The island takes its own clicks: one on its bare top edge never reaches the probe, which
# the next click beside the island, delivered in order after it, proves.
xdotool mousemove 640 3 click 1 mousemove 180 36 click 1
wait_for 2 eval '[ "$(probe_clicks_at 180 36)" -eq 2 ]' || fail "the second click beside the island was lost"
[ "$(probe_clicks_at 640 3)" -eq 0 ] || fail "a click on the island went through it"
xdotool mousemove 640 600
pass "clicks beside the island reach the window below; clicks on it do not"

xdotool key super+shift+m
wait_for 5 focus_left_probe || fail "Super+Shift+M did not open the move input"
xdotool type --delay 30 "docu invo"
# The move input grows by one row per match; wait for the first one to be drawn.
wait_for 5 eval 'shoot && all_below 80 640,150' || fail "no match shown under the move input"
save_shot move-input 224
xdotool key Return
wait_for 5 test -e "$HOME/Documents/Invoices/slides.pdf" || fail "Return did not move the file into Invoices"
[ ! -e "$D/slides.pdf" ] || fail "the file is still in Downloads"
wait_for 5 focus_is_probe || fail "the keyboard did not go back to the focused window"
wait_for 5 island_gone || fail "the island stayed after the move"
wait_for 5 toast_closed || fail "the toast's panel stayed after the move"
pass "Super+Shift+M, two words and Return move the file into the matched folder"

odd="-draft \"v2\" it's.txt"
echo draft >"$D/$odd"
wait_for 10 island_shown || fail "no island for a name with quotes and a leading dash"
xdotool key super+shift+alt+t
wait_for 5 focus_left_probe || fail "Super+Shift+Alt+T did not open the time input"
xdotool type --delay 30 "2h"
wait_for 5 eval 'shoot && all_below 80 640,110' || fail "the time input is not drawn under the island"
wait_for 3 badge_row_is "$E2E_ROOT/plain-badges.png" || fail "the island still shows the Alt badges after Alt went up"
save_shot time-input 170
xdotool key Return
wait_for 5 state_is "$odd" temporary || fail "Return in the time input did not keep the file: $(state_of "$odd")"
span=$(DB "select cast(round(expires_at - marked_temporary_at) as int) from tracked_file
  where file_name = $(sql_text "$odd");")
[ "$span" -eq 7200 ] || fail "2h kept the file for $span s"
has_tag "$D/$odd" || fail "the kept file has no tag"
wait_for 5 focus_is_probe || fail "the keyboard did not go back after the time input"
wait_for 5 toast_closed || fail "the toast's panel stayed after the time input"
pass "Super+Shift+Alt+T and \"2h\" keep an oddly named file for two hours"

echo tune >"$D/song.mp3"
wait_for 10 island_shown || fail "no island for song.mp3"
wait_for 3 eval 'shoot && nothing_outside_island' || fail "the island for song.mp3 did not settle"
badges=($(badge_centres))
[ ${#badges[@]} -eq 3 ] || fail "expected three badges on the island, found ${#badges[@]}"
xdotool mousemove "${badges[2]}" 46 click 1
wait_for 5 focus_left_probe || fail "a click on the More badge did not open the More menu"
wait_for 5 eval 'shoot && all_below 80 640,110' || fail "the More menu is not drawn under the island"
save_shot more-menu 250
xdotool key Down Down Down Return
wait_for 5 test -e "$XDG_DATA_HOME/Trash/files/song.mp3" || fail "Delete in the More menu did not trash the file"
[ ! -e "$D/song.mp3" ] || fail "song.mp3 is still in Downloads"
wait_for 5 focus_is_probe || fail "the keyboard did not go back after the More menu"
xdotool mousemove 640 600
pass "the More badge opens the menu; its arrows and Return choose Delete, which trashes the file"

probe_presses_are "$T_PRESS" 2 || fail "stray T presses reached the focused window: $(probe_presses "$T_PRESS")"
e2e_stop
