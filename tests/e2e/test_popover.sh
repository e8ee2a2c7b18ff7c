#!/usr/bin/env bash
# The tray popover from end to end under a real X server with an XEmbed tray host: the icon
# opens it, temporary files show their countdowns in expiry order, a row's "Keep" stops the
# expiry, the settings page sets the default expiry of the next keep, and a second `dowsel`
# brings the popover back. With E2E_SCREENSHOTS=DIR it also saves the two pages there.
source "$(dirname "$0")/lib.sh"
e2e_start_x
e2e_start_bus
e2e_start_tray
D="$HOME/Downloads"
POPOVER_SIZE=360x440

# Files already in Downloads at the first start are ignored; `dowsel keep` then makes three
# of them temporary, one per countdown colour, so that no toast is up during the test.
echo notes >"$D/meeting notes.txt"
echo invoice >"$D/invoice 2024.pdf"
echo zip >"$D/holiday photos.zip"
echo pdf >"$D/boarding pass.pdf"
echo iso >"$D/debian-12.iso"
e2e_settings
e2e_launch
"$DOWSEL" keep "$D/holiday photos.zip" 30m >/dev/null
"$DOWSEL" keep "$D/boarding pass.pdf" 2h >/dev/null
"$DOWSEL" keep "$D/debian-12.iso" 2d >/dev/null

popover_visible() { mapped_window_of_size $POPOVER_SIZE >/dev/null; }
popover_hidden() { ! popover_visible; }
mapped_window_count() { xdotool search --onlyvisible --class dowsel 2>/dev/null | wc -l; }

# Saves the popover's pixels to $E2E_ROOT/popover.png and sets POP_X/POP_Y to its corner.
capture_popover() {
  local id
  id=$(mapped_window_of_size $POPOVER_SIZE) || return 1
  read -r POP_X POP_Y < <(window_origin "$id")
  import -window root -crop "$POPOVER_SIZE+$POP_X+$POP_Y" +repage "$E2E_ROOT/popover.png"
}

# Classifies the pixels of column X of the last capture and prints one line per run of a
# colour class, "class first-y last-y", for runs of at least MIN pixels. Classes: red,
# orange, grey (a neutral colour well darker than the window), band (a neutral colour a
# little darker: section headers), white, and other. The window's colour is the corner's.
column_runs() {
  local x=$1 min=${2:-6} window
  window=$(convert "$E2E_ROOT/popover.png" -depth 8 -format '%[fx:int(255*p{1,1}.r)]' info:)
  convert "$E2E_ROOT/popover.png" -crop "1x440+$x+0" +repage -depth 8 txt:- |
    awk -v min="$min" -v window="$window" -F'[(),: ]+' '
    NR == 1 { next }
    {
      y = $2; r = $3; g = $4; b = $5
      if (r == 255 && g == 255 && b == 255) c = "white"
      else if (r - g < 10 && g - r < 10 && g - b < 10 && b - g < 10)
        c = (r >= window - 2 ? "window" : r >= window - 24 ? "band" : "grey")
      else if (r - g > 40 && g - b < 15 && b - g < 15) c = "red"
      else if (r > g && g > b && g - b > 25) c = "orange"
      else c = "other"
      if (c != cls) { flush(); cls = c; first = y }
      last = y
    }
    function flush() { if (cls != "" && cls != "window" && last - first + 1 >= min) print cls, first, last }
    END { flush() }'
}

# The countdown pills down the column just inside their trailing edge: "tone centre-y" each.
countdown_pills() {
  column_runs 300 10 | awk '$1 == "red" || $1 == "orange" || $1 == "grey" {print $1, int(($2 + $3) / 2)}'
}
pill_tones() { countdown_pills | awk '{printf "%s%s", sep, $1; sep = " "} END {print ""}'; }
pills_are() { capture_popover && [ "$(pill_tones)" = "$1" ]; }
# File icons down the thumbnail column (x 16 to 44), one per file row shown: runs of at
# least 20 lines holding a pixel darker than the section headers. Text in that column (the
# title, the headers) is shorter.
icon_count() {
  convert "$E2E_ROOT/popover.png" -crop 28x440+16+0 +repage -colorspace gray -threshold 87% -scale '1x440!' \
    -depth 8 txt:- | awk -F'[(),: ]+' '
    NR == 1 { next }
    $3 < 255 { run++; next }
    { if (run >= 20) n++; run = 0 }
    END { if (run >= 20) n++; print n + 0 }'
}
icons_are() { capture_popover && [ "$(icon_count)" -eq "$1" ]; }
# Clicks at X Y inside the popover, then rests the pointer on its title so that no row is
# drawn hovered in the next capture.
click_popover() {
  click_at $((POP_X + $1)) $((POP_Y + $2))
  xdotool mousemove $((POP_X + 180)) $((POP_Y + 20))
}

wait_for 10 tray_icon_centre >/dev/null || fail "the icon never docked in the tray"
read -r icon_x icon_y < <(tray_icon_centre)
click_at "$icon_x" "$icon_y"
wait_for 10 popover_visible \
  || fail "no ${POPOVER_SIZE} window after clicking the tray icon: $(xwininfo -root -children)"
pass "clicking the tray icon opens the ${POPOVER_SIZE} popover"

wait_for 10 pills_are "red orange grey" \
  || fail "expected red, orange and grey countdowns in expiry order, saw '$(pill_tones)'"
"$DOWSEL" list | grep "holiday photos.zip" | grep -q "(in 29m" || fail "dowsel list disagrees: $("$DOWSEL" list)"
pass "each temporary row shows its countdown, soonest first, coloured by the time left"

# The ignored section starts folded; its header is the last band down the list.
capture_popover
header_y=$(column_runs 300 10 | awk '$1 == "band" {y = int(($2 + $3) / 2)} END {print y}')
[ "$(icon_count)" -eq 3 ] || fail "expected the three temporary rows only, saw $(icon_count) icons"
click_popover 180 "$header_y"
wait_for 10 icons_are 5 || fail "the ignored rows did not unfold: $(icon_count) icons"
pass "the ignored section unfolds to the two files that were already there"
[ -z "${E2E_SCREENSHOTS:-}" ] || cp "$E2E_ROOT/popover.png" "$E2E_SCREENSHOTS/popover-files.png"

# "Keep" in the menu of the orange row (the 2-hour file) stops its expiry.
orange_y=$(countdown_pills | awk '$1 == "orange" {print $2}')
menu_open() { [ "$(mapped_window_count)" -gt "$windows_before" ]; }
windows_before=$(mapped_window_count)
click_popover 329 "$orange_y"
wait_for 10 menu_open || fail "no menu on the row's ellipsis"
xdotool key Down Return
wait_for 10 state_is "boarding pass.pdf" dismissed \
  || fail "Keep did not dismiss the file: $(state_of "boarding pass.pdf")"
getfattr --only-values -n user.xdg.tags "$D/boarding pass.pdf" 2>/dev/null | grep -q "Dowsel: Temporary" \
  && fail "the kept file still carries the temporary tag"
[ "$(state_of "holiday photos.zip")$(state_of debian-12.iso)" = temporarytemporary ] || fail "Keep touched other rows"
wait_for 10 pills_are "red grey" || fail "the kept file still shows a countdown: '$(pill_tones)'"
[ "$(icon_count)" -eq 5 ] || fail "the kept file is not listed as ignored"
pass "Keep in a row's menu dismisses that file, drops its tag and moves it to the ignored list"

# Settings: the gear, then the number field and the unit picker, with the mouse and keys as
# a person would. The field is the first white box down its column; the picker shares its row.
click_popover 336 22
field_visible() { capture_popover && column_runs 40 10 | grep -q '^white'; }
wait_for 10 field_visible || fail "the gear did not open the settings"
field_y=$(column_runs 40 10 | awk '$1 == "white" {print int(($2 + $3) / 2); exit}')
click_popover 40 "$field_y"
xdotool key ctrl+a type 5
click_popover 170 "$field_y"
xdotool key Up Return
settings="$XDG_CONFIG_HOME/dowsel/settings.json"
prefs_are() { grep -q '"expiryUnit": *"minutes"' "$settings" && grep -q '"expiryValue": *5\b' "$settings"; }
wait_for 10 prefs_are || fail "the settings did not store 5 minutes: $(cat "$settings")"
pass "the settings page stores the value typed and the unit picked"
xdotool mousemove $((POP_X + 180)) $((POP_Y + 20))
capture_popover
[ -z "${E2E_SCREENSHOTS:-}" ] || cp "$E2E_ROOT/popover.png" "$E2E_SCREENSHOTS/popover-settings.png"

"$DOWSEL" keep "$D/meeting notes.txt" >/dev/null
span=$(DB "select cast(round(expires_at - marked_temporary_at) as integer) from tracked_file
           where file_name = 'meeting notes.txt';")
[ "$span" = 300 ] || fail "a keep without a duration lasts ${span}s, not 5 minutes"
pass "the next keep without a duration lasts the 5 minutes set"

xdotool key Escape
wait_for 10 popover_hidden || fail "Escape did not close the popover"
"$DOWSEL" >"$E2E_ROOT/second.log" 2>&1 || fail "second dowsel failed: $(cat "$E2E_ROOT/second.log")"
wait_for 10 popover_visible || fail "a second dowsel did not show the popover"
kill -0 "$DOWSEL_PID" || fail "the first instance died"
pass "a second dowsel shows the running one's popover"

read -r icon_x icon_y < <(tray_icon_centre)
click_at "$icon_x" "$icon_y"
wait_for 10 popover_hidden || fail "clicking the tray icon did not close the open popover"
sleep 1
popover_hidden || fail "the popover came back after closing"
click_at "$icon_x" "$icon_y"
wait_for 10 popover_visible || fail "the tray icon did not open the popover again"
pass "the tray icon toggles the popover"
e2e_stop
