#!/usr/bin/env bash
# The first launch on a real X server: the welcome island, no watching before the Downloads
# step, Shift+Return through the steps to the practice toast, Super+Shift+T on it, and a
# second launch that goes straight to watching.
source "$(dirname "$0")/lib.sh"
source "$(dirname "$0")/screen.sh"
e2e_start_x
e2e_start_bus
D="$HOME/Downloads"
LOG="$E2E_ROOT/dowsel.log"
PRACTICE="Dowsel README.md"
export QT_LOGGING_RULES="dowsel.onboarding.debug=true"

logged() { grep -qF -- "$1" "$LOG"; }
# True when an inotify watch of the process is on the Downloads folder.
downloads_watched() {
  local inode
  inode=$(printf '%x' "$(stat -c %i "$D")")
  grep -qsE "^inotify wd:[0-9a-f]+ ino:$inode " /proc/"$DOWSEL_PID"/fdinfo/*
}
step_after_shift_return() {
  xdotool key shift+Return
  wait_for 5 logged "setOnboardingStep: $1" || fail "Shift+Return did not reach the $1 step: $(tail -n 5 "$LOG")"
}
RETURN_PRESS='0xff0d,'

# The probe comes first: without a window manager a window mapped later covers the island.
probe_start
e2e_launch
probe_focus
xdotool mousemove 640 600
wait_for 10 eval 'shoot && all_below 40 640,3 395,12 885,12' || fail "no welcome island at the top centre"
all_above 215 20,36 1260,36 368,20 912,20 640,600 || fail "something is drawn beside the welcome island"
logged "startOnboarding" || fail "the first launch did not start the onboarding"
echo early >"$D/early.pdf"
downloads_watched && fail "the Downloads folder is watched before the onboarding allowed it"
SETTINGS="$XDG_CONFIG_HOME/dowsel/settings.json"
[ ! -e "$SETTINGS" ] || ! grep -q hasCompletedOnboarding "$SETTINGS" \
  || fail "onboarding marked complete at once"
pass "a first launch shows the welcome island and watches nothing"

step_after_shift_return downloads
step_after_shift_return accessibility
logged "starting core services" || fail "the core services did not start on the Downloads step"
wait_for 5 state_is early.pdf dismissed \
  || fail "the file that came before watching is not dismissed by the start-up scan: $(state_of early.pdf)"
wait_for 5 downloads_watched || fail "Downloads is not watched after the Downloads step"
[ ! -e "$XDG_CONFIG_HOME/autostart/dowsel.desktop" ] || fail "the autostart entry came before the onboarding completed"
step_after_shift_return tryIt
probe_presses_are "$RETURN_PRESS" 0 || fail "Shift+Return reached the focused window during the onboarding"
pass "Shift+Return walks the steps; the Downloads step starts watching"

xdotool key shift+Return
wait_for 10 state_is "$PRACTICE" unprocessed \
  || fail "no record of the practice file: $(DB 'select file_name, state from tracked_file')"
[ "$(head -n 1 "$D/$PRACTICE")" = "# Welcome to Dowsel 🧹" ] \
  || fail "unexpected practice file: $(head -n 1 "$D/$PRACTICE")"
wait_for 10 island_shown || fail "no toast for the practice file"
wait_for 5 logged "hint: Your practice file is live" || fail "no running hint under the practice toast"
xdotool key super+shift+t
wait_for 5 state_is "$PRACTICE" temporary \
  || fail "Super+Shift+T did not keep the practice file: $(state_of "$PRACTICE")"
getfattr --only-values -n user.xdg.tags "$D/$PRACTICE" 2>/dev/null | grep -qx "Dowsel: Temporary" \
  || fail "the practice file has no temporary tag"
concluded="hint: Nice — you've got the hang of it! Your practice file now wears the “Dowsel: Temporary” tag"
wait_for 5 logged "$concluded" \
  || fail "the concluded hint does not speak of the tag: $(grep 'hint:' "$LOG" | tail -n 1)"
wait_for 5 grep -q '"hasCompletedOnboarding": *true' "$SETTINGS" \
  || fail "onboarding not stored as complete"
wait_for 5 grep -qx "Exec=\"$DOWSEL\"" "$XDG_CONFIG_HOME/autostart/dowsel.desktop" \
  || fail "no autostart entry for $DOWSEL after the onboarding completed"
pass "the practice toast takes Super+Shift+T; the hint concludes with the tag and the onboarding is complete"

e2e_stop
starts=$(grep -c "startOnboarding" "$LOG")
e2e_launch
echo later >"$D/later.pdf"
wait_for 10 state_is later.pdf unprocessed || fail "the second launch does not watch Downloads"
wait_for 10 island_shown || fail "no toast on the second launch"
[ "$(grep -c "startOnboarding" "$LOG")" -eq "$starts" ] || fail "the second launch started the onboarding again"
pass "a second launch goes straight to watching"
e2e_stop
