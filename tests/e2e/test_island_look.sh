#!/usr/bin/env bash
# How the island looks while it opens and closes, without a compositor and under picom
# drawing shadows: frames sampled during the show and the hide hold only the black island
# and the white window below it at the top centre (no grey fade, no pale pill), and nothing
# is drawn outside the island (no shadow box around the wide transparent panel).
source "$(dirname "$0")/lib.sh"
source "$(dirname "$0")/screen.sh"
e2e_start_x
e2e_start_bus
e2e_settings
e2e_launch
probe_start
xdotool mousemove 640 600
D="$HOME/Downloads"

# Pixels of the top centre strip, the first rows of the island, that are neither the
# island's black nor the probe's white.
TOP_STRIP="500x6+390+0"
stray_pixels() {
  convert "$SHOT" -crop "$TOP_STRIP" +repage -colorspace gray -depth 8 txt:- \
    | awk -F'[()]' 'NR > 1 { split($2, v, ","); g = v[1] + 0; if (g > 60 && g < 235) n++ } END { print n + 0 }'
}
# Samples frames for about SECONDS and prints the most stray pixels seen in one of them.
worst_frame() {
  local until=$((SECONDS + $1)) worst=0 n i=0
  while [ $SECONDS -lt $until ]; do
    shoot; n=$(stray_pixels); i=$((i + 1))
    [ "$n" -le "$worst" ] || { worst=$n; cp "$SHOT" "$E2E_ROOT/worst.png"; }
  done
  echo "$worst"
}

one_toast() { # NAME: shows a toast, samples its opening, waits, dismisses, samples the close
  echo x >"$D/$1"
  OPEN_WORST=$(worst_frame 2)
  wait_for 10 island_shown || fail "no island for $1"
  wait_for 3 eval 'shoot && nothing_outside_island' || fail "something is drawn outside the island for $1"
  badge_row "$E2E_ROOT/badges-$1.png"
  xdotool key Escape
  CLOSE_WORST=$(worst_frame 2)
  wait_for 5 toast_closed || fail "the toast for $1 stayed"
}

one_toast plain.pdf
[ "$OPEN_WORST" -le 2 ] || fail "without a compositor the island opens through grey frames ($OPEN_WORST stray pixels)"
[ "$CLOSE_WORST" -le 2 ] || fail "without a compositor the closing island leaves a pale pill ($CLOSE_WORST stray pixels)"
pass "without a compositor the island opens and closes in black and white only"

# A pointer already resting where the island appears pauses it, without moving.
xdotool mousemove 640 40
echo x >"$D/resting.pdf"
wait_for 10 island_shown || fail "no island for resting.pdf"
sleep 9
state_is resting.pdf unprocessed || fail "the countdown ran under a resting pointer: $(state_of resting.pdf)"
xdotool mousemove 640 600
wait_for 10 state_is resting.pdf dismissed || fail "the countdown did not resume when the pointer left"
wait_for 5 toast_closed || fail "the toast for resting.pdf stayed"
pass "a pointer resting where the island opens pauses it; leaving resumes it"

# In Spanish the island's badges speak Spanish too: the same row, other words.
e2e_stop
LANG=es_ES.UTF-8 LANGUAGE=es e2e_launch
probe_focus
xdotool mousemove 640 600
echo x >"$D/informe.pdf"
wait_for 10 island_shown || fail "no island in Spanish"
wait_for 3 eval 'shoot && nothing_outside_island' || fail "the Spanish island did not settle"
badge_row "$E2E_ROOT/spanish-badges.png"
differing=$(compare -fuzz 5% -metric AE "$E2E_ROOT/badges-plain.pdf.png" "$E2E_ROOT/spanish-badges.png" null: 2>&1 || true)
[ "${differing%%.*}" -gt 200 ] || fail "the island's badges are the English ones in Spanish ($differing pixels differ)"
xdotool key Escape
wait_for 5 toast_closed || fail "the Spanish toast stayed"
pass "the island's badges follow the user's language"

if command -v picom >/dev/null; then
  picom --backend xrender --shadow --shadow-radius 12 --shadow-opacity 0.9 >"$E2E_ROOT/picom.log" 2>&1 &
  E2E_PIDS+=($!)
  wait_for 10 eval 'xprop -root _NET_SUPPORTING_WM_CHECK >/dev/null 2>&1 || xdpyinfo | grep -q Composite' || true
  sleep 1
  # A new Dowsel sees the compositor at start and draws with translucency.
  e2e_stop
  e2e_launch
  probe_focus
  echo x >"$D/composited.pdf"
  wait_for 10 island_shown || fail "no island under picom"
  sleep 1
  shoot
  nothing_outside_island || { cp "$SHOT" "$E2E_ROOT/shadow.png"; fail "a shadow or box is drawn outside the island under picom"; }
  pass "under a compositor drawing shadows nothing is drawn outside the island"

  # The More menu's rounded panel casts no square shadow either: just beside its edges the
  # window below shows through untouched. (Its box: 500 wide, centred, 12 under the island.)
  xdotool key super+shift+period
  wait_for 5 eval 'shoot && all_below 80 640,110' || fail "the More menu did not open under picom"
  sleep 0.5
  shoot
  all_above 215 380,160 900,160 640,252 385,240 895,240 \
    || { cp "$SHOT" "$E2E_ROOT/menu-shadow.png"; fail "a shadow is drawn around the More menu: $(brightness 380,160 900,160 640,252)"; }
  xdotool key Escape
  pass "under a compositor the More menu casts no shadow"
else
  echo "SKIP: picom is not installed (scripts/setup installs it)"
fi
e2e_stop
