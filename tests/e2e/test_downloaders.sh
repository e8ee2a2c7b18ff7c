#!/usr/bin/env bash
# Real downloaders and real browsers writing into Downloads while Dowsel runs: each download
# is recorded once and offered once, when its writer is done, with its final size. The
# browsers are Firefox ESR (an empty placeholder under the final name, the data in a .part
# beside it) and Chromium (a .crdownload renamed at the end), both headless, fetching from a
# local server that sends the data slowly. Where a downloader records where the file came
# from (wget and curl with --xattr; headless Chromium records nothing), the toast names the site.
source "$(dirname "$0")/lib.sh"
e2e_start_x
e2e_start_bus
D="$HOME/Downloads"
export QT_LOGGING_RULES="dowsel.processor.debug=true;dowsel.toast.debug=true"
e2e_settings
e2e_launch
LOG="$E2E_ROOT/dowsel.log"

python3 "$(dirname "$0")/slow_server.py" >"$E2E_ROOT/port" &
E2E_PIDS+=($!)
wait_for 10 test -s "$E2E_ROOT/port" || fail "the local HTTP server did not start"
URL="http://127.0.0.1:$(head -n 1 "$E2E_ROOT/port")"

# offered NAME: how often NAME was offered (the processor's trace before the new-file call).
offered() { grep -cF "  COMPLETE: $1 (" "$LOG" || true; }
was_offered() { [ "$(offered "$1")" -ge 1 ]; }
offered_size() { grep -F "  COMPLETE: $1 (" "$LOG" | head -n 1 | sed -E 's/.*\(([0-9]+) bytes\)$/\1/'; }
records_named() { DB "select count(*) from tracked_file where file_name = $(sql_text "$1");"; }
# expect_one NAME SIZE WHAT: NAME offered exactly once, with SIZE bytes, and recorded once.
expect_one() {
  wait_for 40 was_offered "$1" || fail "$3: $1 was never offered: $(grep -F "$1" "$LOG" | tail -n 5)"
  sleep 2 # room for a second, wrong offer
  [ "$(offered "$1")" -eq 1 ] || fail "$3: $1 offered $(offered "$1") times"
  [ "$(offered_size "$1")" = "$2" ] || fail "$3: $1 offered at $(offered_size "$1") bytes, not $2"
  [ "$(records_named "$1")" -eq 1 ] || fail "$3: $(records_named "$1") records for $1"
  pass "$3: $1 offered once, complete ($2 bytes)"
}
# came_from NAME SITE WHAT: the toast of NAME names SITE, read from the attributes its writer set.
came_from() {
  getfattr --only-values -n user.xdg.origin.url "$D/$1" >/dev/null 2>&1 || fail "$3 recorded no origin on $1"
  wait_for 5 grep -qF "handleNewFile: $1 came from $2" "$LOG" || fail "$3: no site for $1: $(grep -F "$1 came from" "$LOG")"
  pass "$3: the toast of $1 names the site $2"
}
# not_offered_yet NAME: the download is still running and has not been offered.
not_offered_yet() { [ "$(offered "$1")" -eq 0 ] || fail "$1 was offered while it was still being written"; }

size=3000000
curl -s -o "$D/curl slow.bin" "$URL/x?size=$size&seconds=4" & writer=$!
sleep 2; not_offered_yet "curl slow.bin"; wait $writer
expect_one "curl slow.bin" $size "curl, written in place over 4 s"
curl -s --xattr -o "$D/curl fast.bin" "$URL/x?size=$size"
expect_one "curl fast.bin" $size "curl, written in place at once"
came_from "curl fast.bin" 127.0.0.1 "curl --xattr"

wget -q --xattr -O "$D/wget.bin" "$URL/x?size=$size&seconds=3" & writer=$!
sleep 2; not_offered_yet "wget.bin"; wait $writer
expect_one "wget.bin" $size "wget, written in place"
came_from wget.bin 127.0.0.1 "wget --xattr"

if command -v aria2c >/dev/null; then
  aria2c -q --allow-overwrite=true -d "$D" -o "aria.bin" "$URL/x?size=$size&seconds=3" & writer=$!
  sleep 2; not_offered_yet "aria.bin"; wait $writer
  expect_one "aria.bin" $size "aria2, the whole file allocated first"
else
  echo "skip - aria2c is not installed"
fi

mkdir -p "$E2E_ROOT/src/tree"
head -c $size /dev/urandom >"$E2E_ROOT/src/synced.bin"
head -c 1000 /dev/urandom >"$E2E_ROOT/src/tree/a.txt"
head -c 2000 /dev/urandom >"$E2E_ROOT/src/tree/b.txt"
rsync "$E2E_ROOT/src/synced.bin" "$D/"
expect_one "synced.bin" $size "rsync, through a hidden temporary"
cp "$E2E_ROOT/src/synced.bin" "$D/copied.bin"
expect_one "copied.bin" $size "cp"
(cd "$E2E_ROOT/src" && tar -cf tree.tar tree && python3 -m zipfile -c tree.zip tree)
mkdir "$E2E_ROOT/x" && tar -xf "$E2E_ROOT/src/tree.tar" -C "$E2E_ROOT/x" && mv "$E2E_ROOT/x/tree" "$E2E_ROOT/x/untarred"
(cd "$E2E_ROOT/x" && tar -cf "$E2E_ROOT/src/untarred.tar" untarred)
tar -xf "$E2E_ROOT/src/untarred.tar" -C "$D"
expect_one "untarred" 0 "tar into a new folder"
unzip -q "$E2E_ROOT/src/tree.zip" -d "$D/unzipped"
expect_one "unzipped" 0 "unzip into a new folder"

if command -v firefox-esr >/dev/null; then
  profile="$E2E_ROOT/firefox"
  mkdir -p "$profile"
  cat >"$profile/user.js" <<PREFS
user_pref("browser.download.dir", "$D");
user_pref("browser.download.folderList", 2);
user_pref("browser.download.useDownloadDir", true);
user_pref("browser.download.always_ask_before_handling_new_types", false);
user_pref("browser.helperApps.neverAsk.saveToDisk", "application/octet-stream");
user_pref("browser.download.start_downloads_in_tmp_dir", false);
user_pref("browser.shell.checkDefaultBrowser", false);
user_pref("datareporting.policy.dataSubmissionEnabled", false);
user_pref("toolkit.telemetry.reportingpolicy.firstRun", false);
user_pref("app.update.enabled", false);
PREFS
  # Longer than the toast's 7 s countdown, and a short one.
  for download in "firefox long.bin 10" "firefox short.bin 0"; do
    set -- $download; name="$1 $2"; seconds=$3
    firefox-esr --headless --no-remote --profile "$profile" "$URL/${name// /%20}?size=$size&seconds=$seconds" \
      >>"$E2E_ROOT/firefox.log" 2>&1 &
    browser=$!
    E2E_PIDS+=($browser)
    if [ "$seconds" -gt 0 ]; then
      wait_for 20 test -e "$D/$name" || fail "Firefox did not start the download: $(tail -n 5 "$E2E_ROOT/firefox.log")"
      sleep 3; not_offered_yet "$name"
    fi
    expect_one "$name" $size "Firefox ESR, placeholder and .part ($seconds s)"
    kill $browser 2>/dev/null || true; wait $browser 2>/dev/null || true
  done
else
  echo "skip - firefox-esr is not installed"
fi

if command -v chromium >/dev/null; then
  profile="$E2E_ROOT/chromium"
  mkdir -p "$profile/Default"
  printf '{"download":{"default_directory":"%s","prompt_for_download":false,"directory_upgrade":true}}' "$D" \
    >"$profile/Default/Preferences"
  chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking \
    --disable-component-update --disable-sync --user-data-dir="$profile" "$URL/chromium.bin?size=$size&seconds=4" \
    >"$E2E_ROOT/chromium.log" 2>&1 &
  browser=$!
  E2E_PIDS+=($browser)
  expect_one "chromium.bin" $size "Chromium, .crdownload renamed at the end"
  kill $browser 2>/dev/null || true; wait $browser 2>/dev/null || true
else
  echo "skip - chromium is not installed"
fi
e2e_stop
