#!/usr/bin/env bash
# What Dowsel sends to the Trash, at an expiry or when asked, comes back with `dowsel restore`:
# to its own path through its .trashinfo, beside a file that took its name under a free one,
# kept for good. What Dowsel did not trash, or what left the Trash meanwhile, is refused. A
# file that a program holds open is not trashed at its expiry.
source "$(dirname "$0")/lib.sh"
D="$HOME/Downloads"
T="$XDG_DATA_HOME/Trash"

e2e_start_x
e2e_start_bus
echo "quarterly figures" >"$D/report.pdf"
echo "left alone" >"$D/other.txt"
echo "frames" >"$D/movie.mp4"
e2e_settings
e2e_launch

"$DOWSEL" keep "$D/report.pdf" 1s >/dev/null || fail "keep report.pdf failed"
wait_for 15 test ! -e "$D/report.pdf" || fail "report.pdf did not expire"
[ -f "$T/files/report.pdf" ] && [ -f "$T/info/report.pdf.trashinfo" ] || fail "report.pdf is not in the Trash"
[ "$(DB "select count(*) from trashed_file where trash_name = 'report.pdf'")" = 1 ] || fail "the trashing was not recorded"
out=$("$DOWSEL" restore report.pdf) || fail "restore report.pdf failed"
[ "$out" = "Put back $D/report.pdf" ] || fail "restore said: $out"
[ "$(cat "$D/report.pdf")" = "quarterly figures" ] || fail "report.pdf did not come back"
[ ! -e "$T/files/report.pdf" ] && [ ! -e "$T/info/report.pdf.trashinfo" ] || fail "the Trash entry stayed"
[ "$(state_of report.pdf)" = dismissed ] || fail "report.pdf is $(state_of report.pdf) after coming back"
sleep 1
[ "$(state_of report.pdf)" = dismissed ] || fail "report.pdf was taken for a new download"
pass "an expired file comes back to its path, kept, and its Trash entry goes"

"$DOWSEL" trash "$D/report.pdf" >/dev/null || fail "trash report.pdf failed"
echo "a newer report" >"$D/report.pdf"
out=$("$DOWSEL" restore "$D/report.pdf") || fail "restore over a taken name failed"
[ "$out" = "$D/report.pdf is taken: put back as $D/report (restored).pdf" ] || fail "restore said: $out"
[ "$(cat "$D/report.pdf")" = "a newer report" ] || fail "the newer report.pdf was touched"
[ "$(cat "$D/report (restored).pdf")" = "quarterly figures" ] || fail "the trashed report did not come back"
pass "a name taken meanwhile gives a free name and leaves the other file alone"

status=0
"$DOWSEL" restore nothing.pdf >"$E2E_ROOT/out" 2>"$E2E_ROOT/err" || status=$?
[ $status -eq 1 ] && grep -q "Dowsel moved nothing by that name" "$E2E_ROOT/err" || fail "unknown name: $status $(cat "$E2E_ROOT/err")"
gio trash "$D/other.txt" || fail "gio trash failed"
status=0
"$DOWSEL" restore other.txt >/dev/null 2>"$E2E_ROOT/err" || status=$?
[ $status -eq 1 ] || fail "a file trashed by another program was put back"
[ -e "$T/files/other.txt" ] || fail "another program's Trash entry was touched"
wait_for 10 is_tracked report.pdf || fail "the newer report.pdf was not seen"
"$DOWSEL" trash "$D/report.pdf" >/dev/null || fail "trash the newer report.pdf failed"
rm -f "$T/files/report.pdf" "$T/info/report.pdf.trashinfo"
status=0
"$DOWSEL" restore report.pdf >/dev/null 2>"$E2E_ROOT/err" || status=$?
[ $status -eq 1 ] || fail "a file emptied from the Trash was 'put back'"
pass "names Dowsel did not trash, or that left the Trash, are refused"

sleep 600 <"$D/movie.mp4" &
HOLDER=$!
E2E_PIDS+=($HOLDER)
"$DOWSEL" keep "$D/movie.mp4" 1s >/dev/null || fail "keep movie.mp4 failed"
sleep 4
[ -e "$D/movie.mp4" ] || fail "movie.mp4 went to the Trash while a program had it open"
[ "$(state_of movie.mp4)" = temporary ] || fail "movie.mp4 is $(state_of movie.mp4)"
kill "$HOLDER"
pass "a file held open is not trashed at its expiry"
e2e_stop
