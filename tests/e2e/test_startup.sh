#!/usr/bin/env bash
# The binary starts, stays up, and quits cleanly on SIGTERM and SIGINT; with no display it
# says how to run it.
source "$(dirname "$0")/lib.sh"

out=$(env -u DISPLAY "$DOWSEL" 2>&1) && fail "started without a display"
[ "$(printf '%s\n' "$out" | wc -l)" -eq 1 ] || fail "expected one line, got: $out"
grep -q "xvfb-run" <<<"$out" || fail "message does not say how to run it: $out"
pass "no display: one-line error"

e2e_start_x
e2e_start_bus
for sig in TERM INT; do
  "$DOWSEL" >"$E2E_ROOT/out.log" 2>&1 &
  pid=$!
  sleep 1
  kill -0 $pid 2>/dev/null || fail "dowsel exited early: $(cat "$E2E_ROOT/out.log")"
  kill -$sig $pid
  status=0
  wait $pid || status=$?
  [ $status -eq 0 ] || fail "exit status $status after SIG$sig: $(cat "$E2E_ROOT/out.log")"
  pass "quits cleanly on SIG$sig"
done
