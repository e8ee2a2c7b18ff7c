#!/usr/bin/env bash
# The toast on GNOME's Wayland session: a headless Mutter with Xwayland (see
# managed_inputs_toast.sh). Skips (77) where Mutter cannot start.
source "$(dirname "$0")/lib.sh"
e2e_start_bus
e2e_start_mutter 1280 800
WM_NAME=Mutter
source "$(dirname "$0")/managed_inputs_toast.sh"
