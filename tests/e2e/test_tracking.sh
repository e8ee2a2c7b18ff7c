#!/usr/bin/env bash
# The headless service from end to end: the start-up scan, new downloads, keeping a file for
# a typed time until it lands in the Trash, expiries across a restart, and one instance only.
source "$(dirname "$0")/lib.sh"
e2e_start_x
e2e_start_bus
D="$HOME/Downloads"

echo old >"$D/already.pdf"
echo hidden >"$D/.hidden"
echo partial >"$D/big.iso.crdownload"
e2e_settings
e2e_launch

[ "$(state_of already.pdf)" = dismissed ] || fail "file present at start is not dismissed: $(DB 'select * from tracked_file')"
[ -z "$(state_of .hidden)$(state_of big.iso.crdownload)" ] || fail "hidden or partial download was recorded"
pass "files present at start are dismissed; hidden and partial ones ignored"

echo report >"$D/report.pdf"
wait_for 10 state_is report.pdf unprocessed || fail "new file not recorded: $(DB "select file_name, state from tracked_file")"
"$DOWSEL" list | grep -q "report.pdf" || fail "dowsel list does not show the new file"
pass "a new download is recorded"

"$DOWSEL" keep "$D/report.pdf" 2s | grep -q "Keeping report.pdf" || fail "keep did not confirm"
[ "$(state_of report.pdf)" = temporary ] || fail "not temporary after keep"
getfattr --only-values -n user.xdg.tags "$D/report.pdf" 2>/dev/null | grep -q "Dowsel: Temporary" || fail "no temporary tag"
wait_for 15 test -e "$XDG_DATA_HOME/Trash/files/report.pdf" || fail "not trashed after its expiry"
[ ! -e "$D/report.pdf" ] || fail "still in Downloads"
info="$XDG_DATA_HOME/Trash/info/report.pdf.trashinfo"
grep -qx "\[Trash Info\]" "$info" && grep -qx "Path=$D/report.pdf" "$info" \
  && grep -qE '^DeletionDate=[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}$' "$info" || fail "bad trashinfo: $(cat "$info")"
[ -z "$(state_of report.pdf)" ] || fail "record kept after trashing"
pass "keep FILE 2s tags it and trashes it with a correct .trashinfo"

"$DOWSEL" keep "$D/already.pdf" soonish 2>"$E2E_ROOT/err" && fail "an unparsable duration was accepted"
grep -q "duration" "$E2E_ROOT/err" || fail "unclear error: $(cat "$E2E_ROOT/err")"
"$DOWSEL" keep "$HOME/not-there.pdf" 2>/dev/null && fail "keeping a missing file succeeded"
pass "bad durations and unknown paths are errors"

"$DOWSEL" >"$E2E_ROOT/second.log" 2>&1 || fail "second instance failed: $(cat "$E2E_ROOT/second.log")"
kill -0 "$DOWSEL_PID" || fail "first instance died"
n=$(pidof "$DOWSEL" | wc -w); [ "$n" -eq 1 ] || fail "$n instances running"
pass "a second dowsel exits at once and the first keeps running"

echo a >"$D/soon.txt"; echo b >"$D/later.txt"
wait_for 10 is_tracked later.txt || fail "files not recorded: $(DB "select file_name, state from tracked_file")"
"$DOWSEL" keep "$D/soon.txt" 2s >/dev/null
"$DOWSEL" keep "$D/later.txt" 8s >/dev/null
e2e_stop
sleep 3
e2e_launch
wait_for 5 test ! -e "$D/soon.txt" || fail "the file that expired while Dowsel was stopped is still there"
[ -e "$D/later.txt" ] || fail "the pending file was trashed early"
wait_for 15 test ! -e "$D/later.txt" || fail "the pending file was not trashed after restart"
[ -e "$XDG_DATA_HOME/Trash/files/later.txt" ] || fail "later.txt is not in the Trash"
pass "expiries survive a restart"
e2e_stop
