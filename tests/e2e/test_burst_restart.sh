#!/usr/bin/env bash
# SIGTERM in the middle of a burst of new files: after a restart every file is in the store
# exactly once, and the database is valid.
source "$(dirname "$0")/lib.sh"
e2e_start_x
e2e_start_bus
D="$HOME/Downloads"
e2e_settings
e2e_launch

count=3000
( for i in $(seq $count); do : >"$D/file-$i.bin"; done ) &
writer=$!
sleep 0.3
e2e_stop
wait $writer
[ "$(DB 'pragma integrity_check;')" = ok ] || fail "database damaged"

e2e_launch
wait_for 30 eval '[ "$(record_count)" -ge $count ]' || fail "only $(record_count) of $count recorded"
[ "$(DB "select count(*), count(distinct inode), count(distinct file_path) from tracked_file where file_name like 'file-%';")" = "$count|$count|$count" ] \
  || fail "duplicates: $(DB "select count(*), count(distinct inode), count(distinct file_path) from tracked_file;")"
pass "every file of an interrupted burst is recorded exactly once"
e2e_stop
