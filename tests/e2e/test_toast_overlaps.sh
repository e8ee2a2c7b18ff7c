#!/usr/bin/env bash
# The toast when real use overlaps its flows, under a small window manager (openbox): a
# download arriving while an input, the share menu or the folder chooser is open, the share
# menu opened from its shortcut, a file kept from the command line while its toast is up,
# and a shortcut that another program grabs after Dowsel started.
source "$(dirname "$0")/lib.sh"
source "$(dirname "$0")/screen.sh"
command -v openbox >/dev/null || { echo "SKIP: openbox is not installed (scripts/setup installs it)"; exit 0; }
e2e_start_x
e2e_start_bus
D="$HOME/Downloads"
mkdir -p "$HOME/Documents/Invoices" "$HOME/Music/Live"
OB_RC="$E2E_ROOT/openbox-rc.xml"
openbox_keys() {
  printf '<?xml version="1.0"?>\n<openbox_config xmlns="http://openbox.org/3.4/rc">\n<keyboard>%s</keyboard>\n</openbox_config>\n' "$1" >"$OB_RC"
}
openbox_keys ""
openbox --config-file "$OB_RC" >"$E2E_ROOT/openbox.log" 2>&1 &
E2E_PIDS+=($!)
wait_for 10 eval 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"' || fail "openbox did not start"
export QT_LOGGING_RULES="dowsel.folderindex.debug=true"
e2e_settings
e2e_launch
probe_start
xdotool mousemove 640 600

focus_is_probe() { [ "$(xdotool getwindowfocus)" = "$PROBE_WINDOW" ]; }
focus_left_probe() { ! focus_is_probe; }
island_up() { shoot && all_below 40 640,3 640,66; }
island_down() { shoot && all_above 60 640,3 640,66; }
ANY_PRESS='0x([2-7][0-9a-f]|ff0d|ff1b|ff08),' # text, Return, Escape, Backspace; not the modifiers
probe_total() { probe_presses "$ANY_PRESS"; }
wait_for 30 grep -qE 'FolderIndex.rebuild: [1-9][0-9]* folders' "$E2E_ROOT/dowsel.log" \
  || fail "the folder index did not gather the home folder"

# 1. The time input: "2", then a burst, then "h" and Return after the old deadline.
echo a >"$D/burst-a.pdf"
wait_for 10 island_up || fail "no island for burst-a.pdf"
before=$(probe_total)
xdotool key super+shift+alt+t
wait_for 5 focus_left_probe || fail "Super+Shift+Alt+T did not open the time input"
xdotool type --delay 40 "2"
echo b >"$D/burst-b.pdf"
sleep 8.5 # longer than the countdown that the new file used to restart
state_is burst-a.pdf unprocessed || fail "the countdown ran out under the open time input: $(state_of burst-a.pdf)"
xdotool type --delay 40 "h"
xdotool key Return
wait_for 5 eval 'state_is burst-a.pdf temporary && state_is burst-b.pdf temporary' \
  || fail "the typed time did not keep both files: $(DB 'select file_name, state from tracked_file')"
span=$(DB "select cast(round(expires_at - marked_temporary_at) as int) from tracked_file where file_name = 'burst-b.pdf';")
[ "$span" -eq 7200 ] || fail "\"2h\" kept the joining file for $span s"
[ "$(probe_total)" -eq "$before" ] || fail "keys typed into the time input reached the focused window"
wait_for 5 toast_closed || fail "the toast stayed after the time input"
pass "a download while the time input is open joins the toast; the typed time applies to both"

# 2. The move input, with Super+Shift+T pressed in it: no stray "T" in the query.
echo c >"$D/burst-c.pdf"
wait_for 10 island_up || fail "no island for burst-c.pdf"
before=$(probe_total)
xdotool key super+shift+m
wait_for 5 focus_left_probe || fail "Super+Shift+M did not open the move input"
xdotool type --delay 40 "docu"
xdotool key super+shift+t
echo d >"$D/burst-d.pdf"
sleep 8.5
xdotool type --delay 40 " invo"
wait_for 5 eval 'shoot && all_below 80 640,150' || fail "no match under the move input"
xdotool key Return
wait_for 5 eval 'test -e "$HOME/Documents/Invoices/burst-c.pdf" && test -e "$HOME/Documents/Invoices/burst-d.pdf"' \
  || fail "the move did not take both files into Invoices: $(ls "$HOME/Documents/Invoices" "$D")"
[ "$(probe_total)" -eq "$before" ] || fail "keys typed into the move input reached the focused window"
wait_for 5 toast_closed || fail "the toast stayed after the move"
pass "a download while the move input is open joins the toast; Super+Shift+T types nothing there"

# 3. The share menu from its shortcut takes the keyboard: Escape closes it, not the toast.
echo e >"$D/share.pdf"
wait_for 10 island_up || fail "no island for share.pdf"
before=$(probe_total)
xdotool key super+shift+s
sleep 1
echo f >"$D/share-late.pdf"
xdotool key Escape
sleep 1
island_up || fail "Escape in the share menu closed the toast"
state_is share.pdf unprocessed || fail "Escape in the share menu reached the toast: $(state_of share.pdf)"
xdotool key super+shift+s
sleep 1
xdotool mousemove 200 500 click 1
sleep 1
xdotool mousemove 640 600
[ "$(probe_clicks_at 200 500)" -eq 0 ] || fail "the click that closed the share menu reached the window below"
[ "$(probe_total)" -eq "$before" ] || fail "keys meant for the share menu reached the focused window: $(probe_total) > $before"
xdotool key Escape # the menu is gone and the shortcuts are back: this one dismisses
wait_for 5 eval 'state_is share.pdf dismissed && state_is share-late.pdf dismissed' \
  || fail "the toast did not take Escape after the share menu closed: $(state_of share.pdf)"
[ "$(probe_presses 0xff1b,)" -eq 0 ] || fail "an Escape reached the focused window"
wait_for 5 toast_closed || fail "the toast stayed after Escape"
pass "Super+Shift+S opens a share menu that Escape and a click elsewhere close; nothing reaches the window below"

# 4. A download while the folder chooser is open brings no shortcut back.
echo g >"$D/chooser.pdf"
wait_for 10 island_up || fail "no island for chooser.pdf"
xdotool key super+shift+m
wait_for 5 focus_left_probe || fail "Super+Shift+M did not open the move input"
sleep 0.5
xdotool key ctrl+b
wait_for 10 eval 'xdotool search --onlyvisible --name "Choose a destination folder" >/dev/null' \
  || fail "Ctrl+B did not open the folder chooser"
echo h >"$D/chooser-late.pdf"
sleep 8.5
state_is chooser.pdf unprocessed || fail "the countdown ran out under the folder chooser"
dialog=$(xdotool search --onlyvisible --name "Choose a destination folder" | head -n 1)
xdotool windowactivate --sync "$dialog" 2>/dev/null || true
xdotool key ctrl+a
xdotool type --delay 20 "$HOME/Music/Live"
xdotool key Return
wait_for 8 eval 'test -e "$HOME/Music/Live/chooser.pdf" && test -e "$HOME/Music/Live/chooser-late.pdf"' \
  || fail "the chosen folder did not receive both files: $(ls "$HOME/Music/Live" "$D")"
wait_for 5 toast_closed || fail "the toast stayed after the chosen move"
pass "the folder chooser holds the toast through a download; the chosen folder receives both files"

# 5. `dowsel keep` while the file's toast is up: the toast lets it go and its end keeps it.
echo i >"$D/kept.pdf"
wait_for 10 island_up || fail "no island for kept.pdf"
"$DOWSEL" keep "$D/kept.pdf" 1d >/dev/null || fail "dowsel keep failed"
wait_for 3 island_down || fail "the toast stayed although its only file was kept elsewhere"
sleep 8
state_is kept.pdf temporary || fail "the toast's end undid the keep: $(state_of kept.pdf)"
getfattr --only-values -n user.xdg.tags "$D/kept.pdf" 2>/dev/null | grep -q "Dowsel: Temporary" \
  || fail "the kept file lost its tag"
pass "a file kept from the command line leaves its toast and stays kept"

# 6. A hotkey program that grabs Super+Shift+O after Dowsel started: reported, the rest works.
grep -q "Super+Shift+O is held" "$E2E_ROOT/dowsel.log" && fail "Super+Shift+O was reported taken before anyone took it"
openbox_keys '<keybind key="W-S-o"><action name="Execute"><command>true</command></action></keybind>'
openbox --reconfigure
sleep 1
echo j >"$D/grabbed.pdf"
wait_for 10 island_up || fail "no island for grabbed.pdf"
wait_for 5 grep -q "Super+Shift+O is held by another program" "$E2E_ROOT/dowsel.log" \
  || fail "the combination taken after start was not reported: $(grep -i shortcut "$E2E_ROOT/dowsel.log")"
xdotool key super+shift+t
wait_for 5 state_is grabbed.pdf temporary || fail "the other shortcuts stopped working"
pass "a shortcut grabbed by another program after start is reported when the toast shows"

# 7. A download that lands while the toast collapses gets a toast of its own right after.
echo k >"$D/collapsing.pdf"
wait_for 10 island_up || fail "no island for collapsing.pdf"
xdotool key Escape
sleep 0.2
echo l >"$D/after-collapse.pdf"
sleep 1.5 # past the old toast's fade and close
wait_for 5 island_up || fail "the file that came while the toast collapsed got no toast"
state_is collapsing.pdf dismissed || fail "Escape did not dismiss collapsing.pdf"
state_is after-collapse.pdf unprocessed || fail "the late file was answered with the old toast: $(state_of after-collapse.pdf)"
xdotool key Escape
wait_for 5 state_is after-collapse.pdf dismissed || fail "the late file's own toast did not take Escape"
pass "a download during the toast's collapse gets a new toast right after"
e2e_stop
