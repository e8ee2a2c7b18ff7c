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
unset DBUS_SESSION_BUS_ADDRESS WAYLAND_DISPLAY QT_QPA_PLATFORM

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

# Starts a private X server and exports DISPLAY.
e2e_start_x() {
  local fd_file="$E2E_ROOT/display"
  Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$fd_file" 2>"$E2E_ROOT/xvfb.log" &
  E2E_PIDS+=($!)
  local i
  for i in $(seq 100); do [ -s "$fd_file" ] && break; sleep 0.1; done
  [ -s "$fd_file" ] || fail "Xvfb did not start: $(cat "$E2E_ROOT/xvfb.log")"
  export DISPLAY=":$(head -n1 "$fd_file")"
}

# Starts a private session bus and exports its address.
e2e_start_bus() {
  local out
  out=$(dbus-daemon --session --fork --print-address=1 --print-pid=1)
  export DBUS_SESSION_BUS_ADDRESS=$(echo "$out" | sed -n 1p)
  E2E_PIDS+=("$(echo "$out" | sed -n 2p)")
}

# wait_for SECONDS COMMAND...: polls until COMMAND succeeds.
wait_for() {
  local seconds=$1; shift
  local deadline=$((SECONDS + seconds))
  until "$@"; do
    [ $SECONDS -lt $deadline ] || return 1
    sleep 0.1
  done
}
