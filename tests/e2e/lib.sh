# Shared set-up for the end-to-end tests: a temporary HOME with its own XDG folders, an
# Xvfb server, and helpers to wait for conditions. Source it, then call e2e_start_x.
set -euo pipefail

DOWSEL=${1:?usage: test_x.sh path/to/dowsel}
DOWSEL=$(readlink -f "$DOWSEL")
E2E_ROOT=$(mktemp -d /tmp/dowsel-e2e.XXXXXX)
export HOME="$E2E_ROOT/home"
export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share" XDG_CACHE_HOME="$HOME/.cache"
export XDG_RUNTIME_DIR="$E2E_ROOT/run"
mkdir -p "$HOME/Downloads" "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_RUNTIME_DIR"
chmod 700 "$XDG_RUNTIME_DIR"
unset DBUS_SESSION_BUS_ADDRESS WAYLAND_DISPLAY QT_QPA_PLATFORM XDG_SESSION_TYPE XDG_CURRENT_DESKTOP
# Opening or revealing a file must not start the machine's browser or file manager in the
# middle of a test: xdg-open only writes down what it was asked to open.
mkdir -p "$E2E_ROOT/bin"
printf '#!/bin/sh\nprintf "%%s\\n" "$*" >>"%s/opened.log"\n' "$E2E_ROOT" >"$E2E_ROOT/bin/xdg-open"
chmod +x "$E2E_ROOT/bin/xdg-open"
export PATH="$E2E_ROOT/bin:$PATH"

E2E_PIDS=()
e2e_cleanup() {
  local pid
  for pid in "${E2E_PIDS[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$E2E_ROOT"
}
trap e2e_cleanup EXIT

fail() { echo "FAIL: $*" >&2; exit 1; }
pass() { echo "ok - $*"; }

# Starts a private X server and exports DISPLAY; checks that it answers before going on.
# The display number is picked at random and claimed by Xvfb's lock file, which holds its
# process id. (Xvfb -displayfd writes no lock file, so runs started side by side by other
# users of the machine would all take :0 and steal each other's socket.)
e2e_start_x() {
  local attempt pid i number
  for attempt in $(seq 10); do
    number=$((100 + RANDOM % 800))
    [ ! -e "/tmp/.X$number-lock" ] || continue
    # -noreset: without it the server resets when its last client (xdpyinfo below) leaves,
    # and refuses connections for a moment.
    Xvfb ":$number" -screen 0 1280x800x24 -nolisten tcp -noreset 2>"$E2E_ROOT/xvfb.log" &
    pid=$!
    for i in $(seq 100); do
      kill -0 "$pid" 2>/dev/null || break
      if grep -qw "$pid" "/tmp/.X$number-lock" 2>/dev/null && xdpyinfo -display ":$number" >/dev/null 2>&1; then
        E2E_PIDS+=($pid)
        export DISPLAY=":$number"
        return 0
      fi
      sleep 0.1
    done
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
  fail "Xvfb did not start: $(cat "$E2E_ROOT/xvfb.log")"
}

# Starts a private session bus and exports its address. It starts no service by itself: a
# machine's own portal or notification daemon would answer in place of the test's fakes.
e2e_start_bus() {
  local out
  sed '/standard_session_servicedirs/d; /<include/d' /usr/share/dbus-1/session.conf >"$E2E_ROOT/bus.conf"
  out=$(dbus-daemon --config-file="$E2E_ROOT/bus.conf" --fork --print-address=1 --print-pid=1)
  export DBUS_SESSION_BUS_ADDRESS=$(echo "$out" | sed -n 1p)
  E2E_PIDS+=("$(echo "$out" | sed -n 2p)")
}

# wait_for SECONDS COMMAND...: polls until COMMAND succeeds. Arguments are expanded once, so
# a condition that reads changing state goes through a function or `eval '...'`.
wait_for() {
  local seconds=$1; shift
  local deadline=$((SECONDS + seconds))
  until "$@"; do
    [ $SECONDS -lt $deadline ] || return 1
    sleep 0.1
  done
}

# Runs dowsel in the background with onboarding already done; sets DOWSEL_PID.
e2e_settings() {
  mkdir -p "$XDG_CONFIG_HOME/dowsel"
  local json='{"hasCompletedOnboarding": true}'
  echo "${1:-$json}" >"$XDG_CONFIG_HOME/dowsel/settings.json"
}
e2e_launch() {
  "$DOWSEL" >>"$E2E_ROOT/dowsel.log" 2>&1 &
  DOWSEL_PID=$!
  E2E_PIDS+=($DOWSEL_PID)
  wait_for 20 "$DOWSEL" list >/dev/null 2>&1 || fail "dowsel did not come up: $(tail -n 20 "$E2E_ROOT/dowsel.log")"
}
e2e_stop() {
  kill -TERM "$DOWSEL_PID" 2>/dev/null || true
  wait "$DOWSEL_PID" 2>/dev/null || true
}

DB() { sqlite3 -batch "$XDG_DATA_HOME/dowsel/Sivra.sqlite" "$@"; }
sql_text() { printf "'%s'" "${1//\'/\'\'}"; }
state_of() { DB "select state from tracked_file where file_name = $(sql_text "$1");"; }
state_is() { [ "$(state_of "$1")" = "$2" ]; }
is_tracked() { [ -n "$(state_of "$1")" ]; }
record_count() { DB 'select count(*) from tracked_file;'; }

# Starts a stand-alone XEmbed tray host (wmdocker) in the top-left corner and sets TRAY_WINDOW.
# It waits for a window manager to map it; there is none here, so map it ourselves.
e2e_start_tray() {
  wmdocker -iconsize 24 >"$E2E_ROOT/tray.log" 2>&1 &
  E2E_PIDS+=($!)
  wait_for 10 eval 'xwininfo -root -tree | grep -q "\"Docker\": ()"' \
    || fail "no tray host window: $(cat "$E2E_ROOT/tray.log")"
  TRAY_WINDOW=$(xwininfo -root -tree | awk '/"Docker": \(\)/ {print $1; exit}')
  xdotool windowmap "$TRAY_WINDOW"
}

# Prints "X Y" of the centre of Dowsel's icon in the tray; fails while it is not docked.
tray_icon_centre() {
  local icon
  icon=$(xwininfo -children -id "$TRAY_WINDOW" | awk '/"Dowsel"/ {print $1; exit}')
  [ -n "$icon" ] || return 1
  xwininfo -id "$icon" | awk '/Absolute upper-left X/ {x=$NF} /Absolute upper-left Y/ {y=$NF}
    /Width:/ {w=$NF} /Height:/ {h=$NF} /Map State: IsViewable/ {v=1}
    END {if (!v) exit 1; print x + int(w / 2), y + int(h / 2)}'
}

# Clicks at X Y on the screen.
click_at() { xdotool mousemove "$1" "$2" click 1; }

# Prints the id of a mapped top-level window of WIDTHxHEIGHT, if any.
mapped_window_of_size() {
  local id
  for id in $(xwininfo -root -children | awk -v size="$1" '$0 ~ " " size "\\+" {print $1}'); do
    xwininfo -id "$id" | grep -q 'Map State: IsViewable' && { echo "$id"; return 0; }
  done
  return 1
}

# Prints "X Y" of a window's top-left corner on the screen.
window_origin() {
  xwininfo -id "$1" | awk '/Absolute upper-left X/ {x=$NF} /Absolute upper-left Y/ {y=$NF} END {print x, y}'
}
