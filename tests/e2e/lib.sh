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

# Whether the running Dowsel shows a toast, from `dowsel status`. (Not grep -q: stopping at the
# match would cut the status off mid-write, and the pipe would fail.)
toast_showing() { "$DOWSEL" status | grep "^Toast showing: *yes$" >/dev/null; }
toast_gone() { "$DOWSEL" status | grep "^Toast showing: *no$" >/dev/null; }

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
    xwininfo -id "$id" 2>/dev/null | grep -q "Map State: IsViewable" && { echo "$id"; return 0; }
  done
  return 1
}

# Prints "X Y" of a window's top-left corner on the screen.
window_origin() {
  xwininfo -id "$1" | awk '/Absolute upper-left X/ {x=$NF} /Absolute upper-left Y/ {y=$NF} END {print x, y}'
}

# Wayland: a headless sway with Xwayland. Sets WAYLAND_DISPLAY (a path), DISPLAY (its
# Xwayland), SWAYSOCK and E2E_SWAY_OUTPUT_SIZE, and exports the variables of a Wayland
# session. Exits 77 (skipped) with the reason where sway cannot run here. sway refuses to
# run as root, so as root it runs as nobody, in a runtime folder of its own, and lets root's
# clients into Xwayland (xhost); root reaches its sockets all the same.
e2e_start_sway() {
  local width=${1:-1280} height=${2:-800} i
  local tool
  for tool in sway swaymsg Xwayland grim xhost; do
    command -v "$tool" >/dev/null || { echo "SKIP: $tool is not installed (scripts/setup installs it)"; exit 77; }
  done
  local run_as=() runtime="$E2E_ROOT/sway/run"
  mkdir -p "$runtime"
  chmod 700 "$runtime"
  if [ "$(id -u)" -eq 0 ]; then
    run_as=(setpriv --reuid=65534 --regid=65534 --clear-groups)
    chown 65534:65534 "$runtime"
  fi
  cat >"$E2E_ROOT/sway/config" <<CONFIG
output HEADLESS-1 resolution ${width}x${height} position 0 0 bg #404040 solid_color
xwayland enable
default_border none
focus_follows_mouse no
exec sh $E2E_ROOT/sway/ready.sh
CONFIG
  # Run by sway, in its environment: lets this user into Xwayland and tells its DISPLAY.
  cat >"$E2E_ROOT/sway/ready.sh" <<READY
xhost +si:localuser:$(id -un) >"$runtime/xhost.log" 2>&1
echo "\$DISPLAY" >"$runtime/xdisplay.tmp" && mv "$runtime/xdisplay.tmp" "$runtime/xdisplay"
READY
  chmod 755 "$E2E_ROOT" "$E2E_ROOT/sway"
  chmod 644 "$E2E_ROOT/sway/config" "$E2E_ROOT/sway/ready.sh"
  env -i PATH="$PATH" HOME="$runtime" XDG_RUNTIME_DIR="$runtime" \
    WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman ${E2E_SWAY_DEBUG:+WLR_DEBUG=1} \
    "${run_as[@]}" sway ${E2E_SWAY_DEBUG:+-d} -c "$E2E_ROOT/sway/config" >"$E2E_ROOT/sway/log" 2>&1 &
  E2E_PIDS+=($!)
  local sway_pid=$!
  for i in $(seq 100); do
    kill -0 "$sway_pid" 2>/dev/null || break
    [ -s "$runtime/xdisplay" ] && break
    sleep 0.1
  done
  if [ ! -s "$runtime/xdisplay" ]; then
    echo "SKIP: headless sway did not start here: $(tail -n 5 "$E2E_ROOT/sway/log")"
    exit 77
  fi
  export WAYLAND_DISPLAY="$runtime/$(cd "$runtime" && ls wayland-* | grep -v lock | head -n 1)"
  export SWAYSOCK=$(ls "$runtime"/sway-ipc.*.sock | head -n 1)
  export DISPLAY=$(cat "$runtime/xdisplay")
  export XDG_SESSION_TYPE=wayland XDG_CURRENT_DESKTOP=sway
  E2E_SWAY_OUTPUT_SIZE="$width $height"
  wait_for 10 xdpyinfo >/dev/null 2>&1 || fail "Xwayland on $DISPLAY does not let this user in: $(cat "$runtime/xhost.log")"
}

# Clicks at X Y on the sway output (through a virtual pointer: a headless sway has no mouse).
# Under Mutter the keyboard's process (e2e_start_wl_keyboard) clicks as well.
wl_click_at() {
  if [ -n "${E2E_MUTTER_INPUT:-}" ]; then
    wl_keys click "$1" "$2"
  else
    python3 "$(dirname "${BASH_SOURCE[0]}")/wl_input.py" click "$1" "$2" $E2E_SWAY_OUTPUT_SIZE
  fi
}

# Gives the headless sway one keyboard for the whole test; wl_keys then types on it:
# `wl_keys type 2h`, `wl_keys key Return`.
e2e_start_wl_keyboard() {
  mkfifo "$E2E_ROOT/keyboard.in"
  if [ -n "${E2E_MUTTER_INPUT:-}" ]; then
    "$E2E_MUTTER_INPUT" <"$E2E_ROOT/keyboard.in" >"$E2E_ROOT/keyboard.out" 2>&1 &
  else
    python3 "$(dirname "${BASH_SOURCE[0]}")/wl_input.py" keyboard <"$E2E_ROOT/keyboard.in" >"$E2E_ROOT/keyboard.out" 2>&1 &
  fi
  E2E_PIDS+=($!)
  exec {WL_KEYBOARD_FD}>"$E2E_ROOT/keyboard.in"
  wait_for 10 grep -q "^ok" "$E2E_ROOT/keyboard.out" || fail "no virtual keyboard: $(cat "$E2E_ROOT/keyboard.out")"
}
wl_keys() {
  local done_before
  done_before=$(grep -c "^ok" "$E2E_ROOT/keyboard.out")
  echo "$*" >&"$WL_KEYBOARD_FD"
  wait_for 5 eval '[ "$(grep -c "^ok" "$E2E_ROOT/keyboard.out")" -gt '"$done_before"' ]' \
    || fail "the virtual keyboard did not type \"$*\": $(cat "$E2E_ROOT/keyboard.out")"
}

# Prints the colour of the pixel at X Y of a grim screenshot FILE as "R G B".
png_pixel() { convert "$1" -format "%[fx:int(255*p{$2,$3}.r)] %[fx:int(255*p{$2,$3}.g)] %[fx:int(255*p{$2,$3}.b)]" info:; }

# Wayland: a headless KWin (KDE Plasma's compositor) on socket dowsel-kwin, WIDTHxHEIGHT.
# With "xwayland" it starts Xwayland too and exports its DISPLAY and XAUTHORITY; its fake
# input device is listed for wl_input.py (KWIN_WAYLAND_NO_PERMISSION_CHECKS). Exports the
# variables of a KDE Wayland session. Exits 77 (skipped) with the reason where KWin cannot
# run here.
e2e_start_kwin() {
  local width=${1:-1280} height=${2:-800} xwayland=${3:-}
  local kwin
  kwin=$(command -v kwin_wayland || true)
  [ -n "$kwin" ] || { echo "SKIP: no kwin_wayland (Debian: kwin-wayland)"; exit 77; }
  if [ -n "$xwayland" ]; then
    command -v Xwayland >/dev/null || { echo "SKIP: no Xwayland (Debian: xwayland)"; exit 77; }
    # Xwayland puts its socket there; a container may come without it.
    [ -d /tmp/.X11-unix ] || { mkdir -p /tmp/.X11-unix && chmod 1777 /tmp/.X11-unix; } 2>/dev/null \
      || { echo "SKIP: no /tmp/.X11-unix for Xwayland's socket"; exit 77; }
  fi
  # Started by KWin once it runs, in its environment: tells Xwayland's display.
  printf '#!/bin/sh\nprintf "%%s\\n%%s\\n" "$DISPLAY" "$XAUTHORITY" >"%s/kwin-x.tmp" && mv "%s/kwin-x.tmp" "%s/kwin-x"\nexec sleep infinity\n' \
    "$E2E_ROOT" "$E2E_ROOT" "$E2E_ROOT" >"$E2E_ROOT/kwin-ready.sh"
  chmod +x "$E2E_ROOT/kwin-ready.sh"
  local ready=()
  [ -n "$xwayland" ] && ready=(--xwayland "$E2E_ROOT/kwin-ready.sh")
  # kwin_wayland carries a file capability; where the container refuses to run such a file,
  # a plain copy runs. Its own Qt platform plugin wants the copy to keep the name kwin_wayland.
  _kwin_run() {
    KWIN_WAYLAND_NO_PERMISSION_CHECKS=1 QT_QPA_PLATFORM= WAYLAND_DISPLAY= DISPLAY= XAUTHORITY= \
      "$1" --virtual --no-lockscreen --width "$width" --height "$height" --socket dowsel-kwin "${ready[@]}" \
      >"$E2E_ROOT/kwin.log" 2>&1 &
    KWIN_PID=$!
    E2E_PIDS+=($KWIN_PID)
    wait_for 20 eval 'test -S "$XDG_RUNTIME_DIR/dowsel-kwin" || ! kill -0 $KWIN_PID 2>/dev/null'
    test -S "$XDG_RUNTIME_DIR/dowsel-kwin"
  }
  if ! _kwin_run "$kwin"; then
    grep -q "Operation not permitted" "$E2E_ROOT/kwin.log" \
      || { echo "SKIP: KWin does not start headless here: $(tail -n 3 "$E2E_ROOT/kwin.log")"; exit 77; }
    mkdir -p "$E2E_ROOT/kwin"
    cp "$kwin" "$E2E_ROOT/kwin/kwin_wayland"
    _kwin_run "$E2E_ROOT/kwin/kwin_wayland" \
      || { echo "SKIP: KWin does not start headless here: $(tail -n 3 "$E2E_ROOT/kwin.log")"; exit 77; }
  fi
  export WAYLAND_DISPLAY=dowsel-kwin XDG_CURRENT_DESKTOP=KDE XDG_SESSION_TYPE=wayland
  E2E_SWAY_OUTPUT_SIZE="$width $height"
  if [ -n "$xwayland" ]; then
    wait_for 20 test -s "$E2E_ROOT/kwin-x" \
      || { echo "SKIP: KWin's Xwayland did not start here: $(tail -n 3 "$E2E_ROOT/kwin.log")"; exit 77; }
    export DISPLAY=$(sed -n 1p "$E2E_ROOT/kwin-x") XAUTHORITY=$(sed -n 2p "$E2E_ROOT/kwin-x")
    [ -n "$XAUTHORITY" ] || unset XAUTHORITY
    wait_for 10 xdpyinfo >/dev/null 2>&1 || fail "KWin's Xwayland on $DISPLAY does not answer"
  fi
}

# Wayland: a headless Mutter (GNOME's compositor) with Xwayland and one WIDTHxHEIGHT
# monitor, on the test's session bus (call e2e_start_bus first). Exports its WAYLAND_DISPLAY,
# Xwayland's DISPLAY and XAUTHORITY, the variables of a GNOME Wayland session, and
# E2E_MUTTER_INPUT, the tool wl_click_at and wl_keys drive Mutter's remote-desktop input with.
# Exits 77 (skipped) with the reason where Mutter cannot run here.
e2e_start_mutter() {
  local width=${1:-1280} height=${2:-800}
  command -v mutter >/dev/null || { echo "SKIP: no mutter (Debian: mutter)"; exit 77; }
  command -v Xwayland >/dev/null || { echo "SKIP: no Xwayland (Debian: xwayland)"; exit 77; }
  E2E_MUTTER_INPUT=$(dirname "$DOWSEL")/tests/dowsel_mutter_input
  [ -x "$E2E_MUTTER_INPUT" ] || fail "no $E2E_MUTTER_INPUT (build dowsel_mutter_input)"
  [ -d /tmp/.X11-unix ] || { mkdir -p /tmp/.X11-unix && chmod 1777 /tmp/.X11-unix; } 2>/dev/null \
    || { echo "SKIP: no /tmp/.X11-unix for Xwayland's socket"; exit 77; }
  printf '#!/bin/sh\nprintf "%%s\\n%%s\\n" "$DISPLAY" "$XAUTHORITY" >"%s/mutter-x.tmp" && mv "%s/mutter-x.tmp" "%s/mutter-x"\nexec sleep infinity\n' \
    "$E2E_ROOT" "$E2E_ROOT" "$E2E_ROOT" >"$E2E_ROOT/mutter-ready.sh"
  chmod +x "$E2E_ROOT/mutter-ready.sh"
  WAYLAND_DISPLAY= DISPLAY= XAUTHORITY= QT_QPA_PLATFORM= \
    mutter --wayland --headless --virtual-monitor "${width}x${height}" --wayland-display dowsel-mutter \
    -- "$E2E_ROOT/mutter-ready.sh" >"$E2E_ROOT/mutter.log" 2>&1 &
  E2E_PIDS+=($!)
  wait_for 30 test -s "$E2E_ROOT/mutter-x" \
    || { echo "SKIP: headless Mutter with Xwayland did not start here: $(tail -n 3 "$E2E_ROOT/mutter.log")"; exit 77; }
  export WAYLAND_DISPLAY=dowsel-mutter XDG_CURRENT_DESKTOP=GNOME XDG_SESSION_TYPE=wayland
  export DISPLAY=$(sed -n 1p "$E2E_ROOT/mutter-x") XAUTHORITY=$(sed -n 2p "$E2E_ROOT/mutter-x")
  [ -n "$XAUTHORITY" ] || unset XAUTHORITY
  E2E_SWAY_OUTPUT_SIZE="$width $height"
  wait_for 10 xdpyinfo >/dev/null 2>&1 || fail "Mutter's Xwayland on $DISPLAY does not answer"
}
