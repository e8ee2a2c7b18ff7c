#!/usr/bin/env bash
# The toast on KDE Plasma's Wayland session: a headless KWin with Xwayland (see
# managed_inputs_toast.sh). Skips (77) where KWin cannot start.
source "$(dirname "$0")/lib.sh"
e2e_start_bus
e2e_start_kwin 1280 800 xwayland
WM_NAME=KWin
source "$(dirname "$0")/managed_inputs_toast.sh"
