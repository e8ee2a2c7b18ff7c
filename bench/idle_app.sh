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

switches() {
  local total=0 t v n
  for t in /proc/"$DOWSEL_PID"/task/*; do
    v=$(awk '/^voluntary_ctxt_switches/ {print $2}' "$t/status")
    n=$(awk '/^nonvoluntary_ctxt_switches/ {print $2}' "$t/status")
    total=$((total + v + n))
  done
  echo $total
}
cpu() { awk '{print $14 + $15}' "/proc/$DOWSEL_PID/stat"; }

s0=$(switches); c0=$(cpu)
sleep "$SECONDS_IDLE"
s1=$(switches); c1=$(cpu)
rss=$(awk '/^VmRSS/ {print $2}' "/proc/$DOWSEL_PID/status")
hwm=$(awk '/^VmHWM/ {print $2}' "/proc/$DOWSEL_PID/status")
threads=$(ls "/proc/$DOWSEL_PID/task" | wc -l)
echo "idle ${SECONDS_IDLE}s: resident ${rss} kB (peak ${hwm} kB), ${threads} threads"
echo "idle ${SECONDS_IDLE}s: $((s1 - s0)) context switches in all threads, $((c1 - c0)) clock ticks of CPU"
e2e_stop
