#!/usr/bin/env bash
# Resident memory and wake-ups of an idle Dowsel holding 10,000 records, 1,000 of them with
# pending expiries. Prints figures; asserts nothing.
# usage: bench/idle_app.sh build/dowsel [seconds]
set -euo pipefail
DOWSEL=$(readlink -f "${1:?usage: idle_app.sh path/to/dowsel [seconds]}")
SECONDS_IDLE=${2:-60}
source "$(dirname "$0")/../tests/e2e/lib.sh" "$DOWSEL"
e2e_start_x
e2e_start_bus
e2e_settings
e2e_launch
e2e_stop

now=$(date +%s)
{
  echo "BEGIN;"
  for i in $(seq 1 10000); do
    if [ "$i" -le 1000 ]; then
      echo "INSERT INTO tracked_file (inode, file_path, file_name, state, detected_at, marked_temporary_at, expires_at, file_size) VALUES ($((900000000 + i)), '$HOME/Downloads/t$i.bin', 't$i.bin', 'temporary', $now, $now, $((now + 86400 + i)), 100);"
    else
      echo "INSERT INTO tracked_file (inode, file_path, file_name, state, detected_at, file_size) VALUES ($((900000000 + i)), '$HOME/Downloads/d$i.bin', 'd$i.bin', 'dismissed', $now, 100);"
    fi
  done
  echo "COMMIT;"
} | DB
echo "records: $(DB 'select count(*) from tracked_file;')"

e2e_launch
sleep 5 # start-up work (scan, catch-up, folder index) is over

# Context switches per thread, "tid count"; threads that end during the idle time are left
# out of the difference, and counted apart.
switches() {
  local t
  for t in /proc/"$DOWSEL_PID"/task/*; do
    awk -v tid="${t##*/}" '/^(non)?voluntary_ctxt_switches/ {n += $2} END {print tid, n}' "$t/status" \
      2>/dev/null || true
  done
}
cpu() { awk '{print $14 + $15}' "/proc/$DOWSEL_PID/stat"; }

switches >"$E2E_ROOT/switches.0"; c0=$(cpu)
sleep "$SECONDS_IDLE"
switches >"$E2E_ROOT/switches.1"; c1=$(cpu)
rss=$(awk '/^VmRSS/ {print $2}' "/proc/$DOWSEL_PID/status")
hwm=$(awk '/^VmHWM/ {print $2}' "/proc/$DOWSEL_PID/status")
threads=$(ls "/proc/$DOWSEL_PID/task" | wc -l)
read -r delta ended started < <(awk '
  FNR == NR { before[$1] = $2; next }
  { if ($1 in before) { d += $2 - before[$1]; delete before[$1] } else started++ }
  END { for (t in before) ended++; print d + 0, ended + 0, started + 0 }' "$E2E_ROOT/switches.0" "$E2E_ROOT/switches.1")
echo "idle ${SECONDS_IDLE}s: resident ${rss} kB (peak ${hwm} kB), ${threads} threads"
echo "idle ${SECONDS_IDLE}s: ${delta} context switches in the threads that lived throughout" \
  "(${ended} threads ended, ${started} started), $((c1 - c0)) clock ticks of CPU"
e2e_stop
