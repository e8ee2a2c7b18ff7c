#!/usr/bin/env bash
# Faults as a user's machine meets them, with the real binary, a real store and a stand-in
# for the desktop's notification service on a private session bus: a garbage store (Dowsel
# stops, says so on the desktop, leaves the file alone), a store with damaged pages (set
# aside, a fresh store, the user told where the old one is), and a Trash that refuses on a
# read-only volume (dowsel trash exits 1, the record stays, an expiry that cannot go is told).
source "$(dirname "$0")/lib.sh"
D="$HOME/Downloads"
STORE="$XDG_DATA_HOME/dowsel/Sivra.sqlite"
FAKE_NOTIFICATIONS=${FAKE_NOTIFICATIONS:-$(dirname "$DOWSEL")/tests/dowsel_fake_notifications}
[ -x "$FAKE_NOTIFICATIONS" ] || fail "no fake notification service at $FAKE_NOTIFICATIONS (build dowsel_fake_notifications)"
NOTICES="$E2E_ROOT/notices"
mkdir -p "$NOTICES"

RO_MOUNT=""
cleanup_mounts() { [ -z "$RO_MOUNT" ] || umount -l "$RO_MOUNT" 2>/dev/null || true; }
trap 'cleanup_mounts; e2e_cleanup' EXIT

e2e_start_x
e2e_start_bus

# --- a garbage store at start, with no notification service: Dowsel's own panel says it
mkdir -p "$(dirname "$STORE")"
head -c 20000 /dev/urandom >"$STORE"
cp "$STORE" "$E2E_ROOT/garbage.copy"
e2e_settings
"$DOWSEL" >"$E2E_ROOT/panel.out" 2>&1 &
pid=$!
E2E_PIDS+=($pid)
wait_for 15 eval 'panel=$(xdotool search --onlyvisible --name "^Dowsel\$" 2>/dev/null | head -n 1); [ -n "$panel" ]' \
  || fail "no panel: $(cat "$E2E_ROOT/panel.out")"
kill -0 $pid 2>/dev/null || fail "Dowsel left before the panel was closed"
eval "$(xdotool getwindowgeometry --shell "$panel")"
xdotool mousemove --window "$panel" $((WIDTH - 45)) $((HEIGHT - 25)) click 1
status=0
wait_for 10 eval '! kill -0 $pid 2>/dev/null' || fail "the Close button did not end it"
wait $pid || status=$?
[ $status -eq 1 ] || fail "exit status $status after the panel"
grep -q "^Failed to create ModelContainer: $STORE: file is not a database" "$E2E_ROOT/panel.out" || fail "$(cat "$E2E_ROOT/panel.out")"
cmp -s "$STORE" "$E2E_ROOT/garbage.copy" || fail "the garbage store was changed"
pass "without a notification service a fatal start shows its own panel until it is closed"

"$FAKE_NOTIFICATIONS" "$NOTICES" >"$E2E_ROOT/fake.log" 2>&1 &
E2E_PIDS+=($!)
wait_for 10 grep -q ready "$E2E_ROOT/fake.log" || fail "fake notification service: $(cat "$E2E_ROOT/fake.log")"

# notice_field N FIELD: a field (summary, body, urgency) of the Nth notice received.
notice_field() { cat "$NOTICES/$1.$2"; }
# notice_has N FIELD TEXT: the field of the Nth notice holds TEXT.
notice_has() { [[ "$(notice_field "$1" "$2")" == *"$3"* ]]; }
# Overwrites the root page of the records' table in the store file, as a failing disk would.
damage_table_root() {
  local root page
  root=$(DB "select rootpage from sqlite_master where name = 'tracked_file'")
  page=$(DB "pragma page_size")
  head -c "$page" /dev/zero | tr '\0' '\245' | dd of="$STORE" bs="$page" seek=$((root - 1)) count=1 iflag=fullblock conv=notrunc status=none
}
notice_count() { find "$NOTICES" -name '*.summary' | wc -l; }

# --- a garbage store at start, told through the desktop's notification service
status=0
timeout 30 "$DOWSEL" >"$E2E_ROOT/garbage.out" 2>"$E2E_ROOT/garbage.err" || status=$?
[ $status -eq 1 ] || fail "a garbage store: exit status $status: $(cat "$E2E_ROOT/garbage.out" "$E2E_ROOT/garbage.err")"
grep -qx "Failed to create ModelContainer: $STORE: file is not a database" "$E2E_ROOT/garbage.out" \
  || fail "standard output: $(cat "$E2E_ROOT/garbage.out")"
cmp -s "$STORE" "$E2E_ROOT/garbage.copy" || fail "the garbage store was changed"
[ "$(ls "$(dirname "$STORE")")" = Sivra.sqlite ] || fail "files appeared beside it: $(ls "$(dirname "$STORE")")"
[ "$(notice_count)" = 1 ] || fail "expected one notice, got: $(ls "$NOTICES")"
[ "$(notice_field 1 summary)" = "Dowsel could not start" ] || fail "summary: $(notice_field 1 summary)"
notice_has 1 body "$STORE: file is not a database" || fail "body: $(notice_field 1 body)"
notice_has 1 body "left as it is" || fail "body: $(notice_field 1 body)"
[ "$(notice_field 1 urgency)" = 2 ] || fail "not critical: $(notice_field 1 urgency)"
pass "a garbage store: Dowsel stops with its line, tells the desktop, and leaves the file alone"
rm -f "$STORE"

# --- a store with damaged pages
for i in $(seq 300); do echo "$i" >"$D/download-$i.txt"; done
e2e_launch
wait_for 10 eval '[ "$(record_count)" = 300 ]' || fail "the downloads were not recorded: $(record_count)"
e2e_stop
[ ! -e "$STORE-wal" ] || DB 'PRAGMA wal_checkpoint(TRUNCATE);' >/dev/null
damage_table_root
cp "$STORE" "$E2E_ROOT/damaged.copy"
echo new >"$D/arrived-while-stopped.txt"
e2e_launch
aside=$(ls "$XDG_DATA_HOME"/dowsel/Sivra.damaged-*.sqlite 2>/dev/null || true)
[ "$(wc -w <<<"$aside")" = 1 ] || fail "expected one set-aside store: $aside"
[ -n "$aside" ] || fail "no set-aside store: $(ls "$XDG_DATA_HOME/dowsel")"
cmp -s "$aside" "$E2E_ROOT/damaged.copy" || fail "the set-aside store is not the damaged file as it was"
grep -q "^Damaged store $STORE moved to $aside: " "$E2E_ROOT/dowsel.log" || fail "no line on standard output: $(cat "$E2E_ROOT/dowsel.log")"
[ "$(DB 'pragma quick_check')" = ok ] || fail "the new store is not sound"
wait_for 10 eval '[ "$(record_count)" = 301 ]' || fail "Downloads was not recorded again: $(record_count) records"
[ "$(state_of arrived-while-stopped.txt)" = dismissed ] || fail "not recorded as at a first start"
wait_for 10 eval '[ "$(notice_count)" = 2 ]' || fail "no notice: $(ls "$NOTICES")"
[ "$(notice_field 2 summary)" = "Dowsel started a new list of your downloads" ] || fail "summary: $(notice_field 2 summary)"
notice_has 2 body "moved to $aside" || fail "body does not say where: $(notice_field 2 body)"
pass "a damaged store is set aside whole, a fresh one records Downloads, and the user is told where the old one is"

# --- pages damaged under a running Dowsel: another program's write makes it read them again
wait_for 10 eval '[ "$(DB "PRAGMA wal_checkpoint(TRUNCATE)")" = "0|0|0" ]' || fail "cannot checkpoint the store"
damage_table_root
DB 'CREATE TABLE e2e_poke (x); DROP TABLE e2e_poke;'
echo later >"$D/after-damage.txt"
"$DOWSEL" list >/dev/null 2>&1 || true
wait_for 15 eval '[ "$(ls "$XDG_DATA_HOME"/dowsel/Sivra.damaged-*.sqlite | wc -l)" = 2 ]' \
  || fail "the store damaged while running was not set aside: $(ls "$XDG_DATA_HOME/dowsel")"
kill -0 "$DOWSEL_PID" || fail "Dowsel died"
wait_for 10 eval '[ "$(notice_count)" = 3 ]' || fail "no notice: $(ls "$NOTICES")"
[ "$(notice_field 3 summary)" = "Dowsel started a new list of your downloads" ] || fail "summary: $(notice_field 3 summary)"
wait_for 10 eval '[ "$(record_count)" = 302 ]' || fail "Downloads was not recorded again: $(record_count) records"
[ "$(DB 'pragma quick_check')" = ok ] || fail "the new store is not sound"
"$DOWSEL" keep "$D/after-damage.txt" 1h >/dev/null || fail "the new store does not take a keep"
[ "$(state_of after-damage.txt)" = temporary ] || fail "after-damage.txt is $(state_of after-damage.txt)"
pass "a store damaged while Dowsel runs is set aside and replaced, and Dowsel goes on"

# --- a Trash that refuses: a read-only volume
if [ "$(id -u)" = 0 ]; then
  # root writes through permissions: only a read-only mount refuses it.
  VOLUME="$E2E_ROOT/volume"
  mkdir -p "$VOLUME"
  if mount -t tmpfs -o size=4m tmpfs "$VOLUME" 2>"$E2E_ROOT/mount.err"; then
    RO_MOUNT="$VOLUME"
  else
    echo "skip - the read-only Trash case needs to mount a tmpfs: $(cat "$E2E_ROOT/mount.err")"
    e2e_stop
    exit 0
  fi
fi
e2e_stop
# Downloads itself is the read-only volume, as a Downloads folder on a removable or network
# disk is.
if [ -n "$RO_MOUNT" ]; then
  echo "XDG_DOWNLOAD_DIR=\"$RO_MOUNT\"" >"$XDG_CONFIG_HOME/user-dirs.dirs"
  D="$RO_MOUNT"
fi
echo stays >"$D/stays.txt"
echo expires >"$D/expires.txt"
e2e_launch
wait_for 10 is_tracked stays.txt || fail "stays.txt not recorded"
"$DOWSEL" keep "$D/expires.txt" 3s >/dev/null || fail "keep expires.txt"
if [ -n "$RO_MOUNT" ]; then
  mount -o remount,ro "$RO_MOUNT" || fail "cannot make the volume read-only"
else
  chmod a-w "$D"
fi
status=0
"$DOWSEL" trash "$D/stays.txt" >"$E2E_ROOT/out" 2>"$E2E_ROOT/err" || status=$?
[ $status -eq 1 ] || fail "dowsel trash on a read-only volume exited $status: $(cat "$E2E_ROOT/out")"
grep -q "^dowsel: cannot move stays.txt to the Trash: .*; it stays where it is, still tracked$" "$E2E_ROOT/err" \
  || fail "unclear refusal: $(cat "$E2E_ROOT/err")"
! grep -q "Moved" "$E2E_ROOT/out" || fail "it said it moved the file"
[ -e "$D/stays.txt" ] || fail "the file is gone"
[ "$(state_of stays.txt)" = dismissed ] || fail "the record is $(state_of stays.txt)"
pass "dowsel trash exits 1 and says why when the Trash refuses; the record stays"

wait_for 15 eval '[ "$(notice_count)" = 4 ]' || fail "no notice of the refused expiry: $(ls "$NOTICES")"
[ "$(notice_field 4 summary)" = "A file could not go to the Trash" ] || fail "summary: $(notice_field 4 summary)"
notice_has 4 body "expires.txt expired, but the Trash refused it: " || fail "body: $(notice_field 4 body)"
[ -e "$D/expires.txt" ] || fail "the expired file is gone"
pass "an expiry the Trash refused is told on the desktop"
[ -z "$RO_MOUNT" ] || mount -o remount,rw "$RO_MOUNT"
[ -n "$RO_MOUNT" ] || chmod u+w "$D"
e2e_stop
