#!/usr/bin/env bash
# The command line and the bus take only what they can act on exactly: options answer and
# exit without starting Dowsel, "--" ends options, keeps longer than a date can hold are
# refused, and a path must name the tracked file itself (no NUL bytes, no other link to it).
source "$(dirname "$0")/lib.sh"
D="$HOME/Downloads"

# Without a display a started Dowsel would stop with its "no display" line: none of these
# may get that far.
out=$(env -u DISPLAY "$DOWSEL" --version) || fail "--version failed"
[[ $out =~ ^dowsel\ [0-9]+\.[0-9]+\.[0-9]+$ ]] || fail "--version printed: $out"
out=$(env -u DISPLAY "$DOWSEL" --help) || fail "--help failed"
grep -q "dowsel keep FILE \[DURATION\]" <<<"$out" || fail "--help printed: $out"
env -u DISPLAY "$DOWSEL" keep --help | grep -q "^usage: dowsel" || fail "keep --help does not answer"
for args in "--frobnicate" "-x" "keep --bogus $D/a.txt" "frobnicate" "-platform offscreen"; do
  status=0
  # shellcheck disable=SC2086
  env -u DISPLAY "$DOWSEL" $args >"$E2E_ROOT/out" 2>"$E2E_ROOT/err" || status=$?
  [ $status -eq 2 ] || fail "dowsel $args: exit status $status"
  grep -q "^dowsel: unknown \(option\|command\)" "$E2E_ROOT/err" || fail "dowsel $args said: $(cat "$E2E_ROOT/err")"
  ! grep -q "no display" "$E2E_ROOT/err" || fail "dowsel $args tried to start the app"
  [ ! -s "$E2E_ROOT/out" ] || fail "dowsel $args printed on standard output: $(cat "$E2E_ROOT/out")"
done
pass "--help and --version answer; unknown options and commands exit 2 without starting Dowsel"

e2e_start_x
e2e_start_bus
echo dash >"$D/-x.txt"
echo d >"$D/d.txt"
echo far >"$D/far.txt"
# A whole number far past what an integer setting holds is clamped like 5000, not ignored.
e2e_settings '{"hasCompletedOnboarding": true, "expiryValue": 1e16, "expiryUnit": "minutes"}'
e2e_launch

(cd "$D" && "$DOWSEL" keep -- -x.txt 1h) | grep -q "Keeping -x.txt until" || fail "keep -- -x.txt was not kept"
[ "$(state_of -x.txt)" = temporary ] || fail "-x.txt is $(state_of -x.txt)"
(cd "$D" && "$DOWSEL" dismiss -- -x.txt) | grep -q "stays where it is" || fail "dismiss -- -x.txt"
[ "$(state_of -x.txt)" = dismissed ] || fail "-x.txt is $(state_of -x.txt) after dismiss"
pass "-- ends the options: a file named -x.txt is kept and dismissed"

status=0
"$DOWSEL" keep "$D/far.txt" "999999999 weeks" >"$E2E_ROOT/out" 2>"$E2E_ROOT/err" || status=$?
[ $status -eq 1 ] || fail "a keep of 999999999 weeks exited $status: $(cat "$E2E_ROOT/out")"
grep -q "too long" "$E2E_ROOT/err" || fail "unclear refusal: $(cat "$E2E_ROOT/err")"
[ "$(state_of far.txt)" = dismissed ] || fail "far.txt changed to $(state_of far.txt)"
[ "$(DB "select count(*) from tracked_file where expires_at > 253402300799")" = 0 ] || fail "a date past 9999 was stored"
pass "a keep longer than a date can hold is refused and changes nothing"

"$DOWSEL" keep "$D/far.txt" >/dev/null || fail "keep with the default expiry failed"
span=$(DB "select cast(round(expires_at - marked_temporary_at) as integer) from tracked_file where file_name = 'far.txt'")
[ "$span" = $((999 * 60)) ] || fail "expiryValue 1e16 gave a keep of $span s, not 999 minutes"
pass "a stored expiryValue of 1e16 is clamped to 999"

# d.txt\0junk: a bus client whose path holds a NUL byte is refused, not served as d.txt.
bytes() { printf '%s' "$1" | od -An -tu1 -v | tr -s ' \n' ',' | sed 's/^,//; s/,$//'; }
path_with_nul="$(bytes "$D/d.txt"),0,$(bytes junk)"
status=0
dbus-send --session --print-reply --dest=app.dowsel.Dowsel /app/dowsel/Dowsel app.dowsel.Dowsel1.Dismiss \
  "array:byte:$path_with_nul" >"$E2E_ROOT/out" 2>&1 || status=$?
[ $status -ne 0 ] && grep -q "app.dowsel.Error.InvalidPath" "$E2E_ROOT/out" || fail "a NUL path was taken: $(cat "$E2E_ROOT/out")"
dbus-send --session --print-reply --dest=app.dowsel.Dowsel /app/dowsel/Dowsel app.dowsel.Dowsel1.Keep \
  "array:byte:$path_with_nul" string:1h >"$E2E_ROOT/out" 2>&1 && fail "Keep took a NUL path"
[ "$(state_of d.txt)" = dismissed ] || fail "d.txt changed to $(state_of d.txt)"
pass "a bus path with a NUL byte is refused"

ln "$D/d.txt" "$HOME/elsewhere.txt"
"$DOWSEL" keep "$HOME/elsewhere.txt" 1h 2>"$E2E_ROOT/err" && fail "a hard link outside Downloads was taken for d.txt"
grep -q "not tracked" "$E2E_ROOT/err" || fail "unclear refusal: $(cat "$E2E_ROOT/err")"
[ "$(state_of d.txt)" = dismissed ] || fail "d.txt changed to $(state_of d.txt)"
"$DOWSEL" keep "$D/../Downloads/./d.txt/" 1h >/dev/null || fail "the same file reached through .. was refused"
[ "$(state_of d.txt)" = temporary ] || fail "d.txt is $(state_of d.txt)"
pass "only a path to the tracked file itself is served"
e2e_stop
