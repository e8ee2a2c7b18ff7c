# What the user sees and what reaches the other programs: a probe window that logs the keys
# and clicks it receives, and screenshots sampled at chosen points. Source it after lib.sh,
# once e2e_start_x has run.

# The island's box on the 1280x800 screen: 520 points wide, centred, from the top edge down
# to the top inset (0 without a panel) + 72.
ISLAND_LEFT=380 ISLAND_RIGHT=900 ISLAND_BOTTOM=72
PROBE_LOG="$E2E_ROOT/probe.log"
SHOT="$E2E_ROOT/shot.png"

# A full-screen xev window under everything, white, holding the keyboard focus: it stands
# for the application the user is working in.
probe_start() {
  xev -geometry 1280x800+0+0 -bw 0 -name dowsel-probe -event keyboard -event button >"$PROBE_LOG" 2>&1 &
  E2E_PIDS+=($!)
  PROBE_WINDOW=
  wait_for 10 probe_find || fail "the probe window did not appear"
  probe_focus
}
probe_find() {
  PROBE_WINDOW=$(xdotool search --onlyvisible --name '^dowsel-probe$' 2>/dev/null | head -n 1)
  [ -n "$PROBE_WINDOW" ]
}
probe_focus() { xdotool windowfocus --sync "$PROBE_WINDOW"; }

# Number of key presses the probe received whose keysym, as xev prints it ("0x74, t"),
# matches the extended regular expression KEYSYM.
probe_presses() {
  awk -v re="keysym $1" '/^KeyPress event/ { press = 1; next }
    press && /keysym/ { if ($0 ~ re) n++; press = 0 } END { print n + 0 }' "$PROBE_LOG"
}
# Number of presses of mouse button 1 the probe received at root coordinates X,Y.
probe_clicks_at() {
  awk -v at="root:($1,$2)," '/^ButtonPress event/ { press = 1; next }
    press && /root:/ { if (index($0, at)) n++; press = 0 } END { print n + 0 }' "$PROBE_LOG"
}
probe_presses_are() { [ "$(probe_presses "$1")" -eq "$2" ]; }

# Presses KEYS (xdotool syntax) and waits until the probe has seen a press matching KEYSYM,
# or gives up after a second: then the key was taken by someone else.
key_reaches_probe() {
  local keysym=$1 keys=$2 before
  before=$(probe_presses "$keysym")
  xdotool key "$keys"
  wait_for 1 probe_presses_are "$keysym" $((before + 1))
}

# True while the toast's panel (820 wide) is mapped. A file that comes while the closing
# toast is still fading joins it and goes with it, so a test waits for this to end before
# it brings the next file.
toast_panel_open() {
  local window
  for window in $(xwininfo -root -children | awk '/ 820x[0-9]+\+/ { print $1 }'); do
    xwininfo -id "$window" | grep -q 'Map State: IsViewable' && return 0
  done
  return 1
}
toast_closed() { ! toast_panel_open; }

shoot() { import -window root "$SHOT"; }
# Brightness (the brightest channel, 0-255) of each point "X,Y" of the last screenshot.
brightness() {
  local format="" point
  for point in "$@"; do format+="%[fx:round(255*max(p{$point}.r,max(p{$point}.g,p{$point}.b)))] "; done
  convert "$SHOT" -format "$format" info:
}
all_below() { local limit=$1 v; shift; for v in $(brightness "$@"); do [ "$v" -lt "$limit" ] || return 1; done; }
all_above() { local limit=$1 v; shift; for v in $(brightness "$@"); do [ "$v" -gt "$limit" ] || return 1; done; }

# Points on the expanded island's black ground: above the content, beside the thumbnail,
# beside the ring and under the badges.
ISLAND_POINTS=(640,3 $((ISLAND_LEFT + 14)),36 $((ISLAND_RIGHT - 14)),36 640,66 520,68)
# Points of the probe's white ground around the island: far left and right, just beside the
# island, under it, and lower down.
AROUND_POINTS=(20,36 1260,36 $((ISLAND_LEFT - 12)),20 $((ISLAND_RIGHT + 12)),20 640,$((ISLAND_BOTTOM + 14))
  640,400 100,700 1200,700)

island_shown() { shoot && all_below 40 "${ISLAND_POINTS[@]}"; }
island_gone() { shoot && all_above 215 "${ISLAND_POINTS[@]}"; }

# True when the last screenshot is white outside the island's box (and the probe's own small
# inner window at its top-left corner).
nothing_outside_island() {
  local darkest
  darkest=$(convert "$SHOT" -fill white -draw "rectangle 0,0 70,70" \
    -draw "rectangle $ISLAND_LEFT,0 $ISLAND_RIGHT,$ISLAND_BOTTOM" \
    -colorspace gray -format '%[fx:round(255*minima)]' info:)
  [ "$darkest" -gt 215 ]
}

# The island's row of shortcut badges in the last screenshot, saved as OUT.
badge_row() { convert "$SHOT" -crop "356x26+$((ISLAND_LEFT + 82))+33" +repage "$1"; }
# The x of each shortcut badge's middle, left to right, from the last screenshot: the
# capsules are the lit runs along the middle of the badge row.
badge_centres() {
  local left=$((ISLAND_LEFT + 82))
  convert "$SHOT" -crop "380x1+$left+46" +repage -colorspace gray -depth 8 txt:- \
    | sed -nE 's/^([0-9]+),0: \(([0-9]+).*/\1 \2/p' \
    | awk -v left=$left '$2 > 8 { if (!on) { start = $1; on = 1 } last = $1; next }
        on && $1 - last > 2 { print left + int((start + last) / 2); on = 0 }
        END { if (on) print left + int((start + last) / 2) }'
}
# True when the badge row of a new screenshot is the one saved as REFERENCE.
badge_row_is() {
  shoot && badge_row "$E2E_ROOT/badges.png" \
    && compare -fuzz 5% -metric AE "$1" "$E2E_ROOT/badges.png" null: 2>/dev/null
}

# With DOWSEL_E2E_SHOTS set to a folder, saves the top band of the last screenshot there as
# NAME.png, 760 pixels wide around the centre: `save_shot NAME HEIGHT`.
save_shot() {
  [ -n "${DOWSEL_E2E_SHOTS:-}" ] || return 0
  mkdir -p "$DOWSEL_E2E_SHOTS"
  convert "$SHOT" -crop "760x$2+260+0" +repage -strip "$DOWSEL_E2E_SHOTS/$1.png"
}
