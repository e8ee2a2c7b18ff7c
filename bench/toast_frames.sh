#!/usr/bin/env bash
# The toast's cost on a real X server (Xvfb): CPU seconds that Dowsel spends over one toast
# (show, the 7 s countdown, hide) and the time of each repaint of the island's window.
# Usage: bench/toast_frames.sh build/dowsel [picom]   (with "picom", under that compositor)
set -euo pipefail
DOWSEL=$(readlink -f "${1:?usage: toast_frames.sh path/to/dowsel [picom]}")
ROOT=$(mktemp -d /tmp/dowsel-bench.XXXXXX)
export HOME="$ROOT/home" XDG_CONFIG_HOME="$ROOT/home/.config" XDG_DATA_HOME="$ROOT/home/.local/share"
export XDG_CACHE_HOME="$ROOT/home/.cache" XDG_RUNTIME_DIR="$ROOT/run"
mkdir -p "$HOME/Downloads" "$XDG_CONFIG_HOME/dowsel" "$XDG_RUNTIME_DIR"; chmod 700 "$XDG_RUNTIME_DIR"
unset DBUS_SESSION_BUS_ADDRESS WAYLAND_DISPLAY QT_QPA_PLATFORM
PIDS=()
trap 'for p in "${PIDS[@]}"; do kill "$p" 2>/dev/null || true; done; wait 2>/dev/null; rm -rf "$ROOT"' EXIT
number=$((100 + RANDOM % 800))
Xvfb ":$number" -screen 0 1280x800x24 -nolisten tcp -noreset 2>/dev/null & PIDS+=($!)
export DISPLAY=":$number"
for i in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done
if [ "${2:-}" = picom ]; then picom --backend xrender --shadow >/dev/null 2>&1 & PIDS+=($!); sleep 1; fi
echo '{"hasCompletedOnboarding": true}' >"$XDG_CONFIG_HOME/dowsel/settings.json"
QT_MESSAGE_PATTERN="%{time process} %{message}" QT_LOGGING_RULES="dowsel.toast.debug=true" "$DOWSEL" >"$ROOT/log" 2>&1 & PID=$!; PIDS+=($PID)
for i in $(seq 100); do grep -q "No system tray" "$ROOT/log" 2>/dev/null && break; sleep 0.1; done
sleep 2
ticks() { awk '{print $14 + $15}' "/proc/$PID/stat"; }
hz=$(getconf CLK_TCK)
start=$(ticks)
echo x >"$HOME/Downloads/file.pdf"
sleep 9 # show, 7 s of countdown, hide
end=$(ticks)
frames=$(grep -c 'ToastPanel.frame:' "$ROOT/log" || true)
echo "CPU over one toast: $(echo "scale=3; ($end - $start) / $hz" | bc) s; repaints: $frames"
grep -o 'ToastPanel.frame: [0-9]*' "$ROOT/log" | awk '{print $2}' | sort -n \
  | awk '{a[NR] = $1} END { if (NR) { p = int(NR * 0.95) + 1; if (p > NR) p = NR;
      printf "repaint time: median %.2f ms, p95 %.2f ms, max %.2f ms\n", a[int(NR / 2) + 1] / 1000, a[p] / 1000, a[NR] / 1000 } }'
