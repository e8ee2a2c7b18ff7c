#pragma once

#include <QPoint>
#include <QRect>
#include <QWindow>

#include <optional>

namespace dowsel::x11 {

// Window-manager and shape calls on Qt's own X connection. Each one does nothing (or
// answers "unknown") when the application does not run on X11, so callers fall back.

// Centre of the active window (_NET_ACTIVE_WINDOW) in native root coordinates.
std::optional<QPoint> activeWindowCenter();

// True when a compositing manager owns _NET_WM_CM_S<n>: only then are translucent windows
// really translucent.
bool hasCompositor();

// Clicks inside `region` (window coordinates, device-independent) go to the window; clicks
// elsewhere pass to whatever lies below. Uses the X Shape extension's input region.
bool setInputRegion(QWindow &window, const QRect &region);

// Keeps a managed window on every desktop and above other windows, full-screen ones
// included where the window manager allows it (EWMH sticky, above, desktop 0xFFFFFFFF).
void keepOnAllDesktopsAndAbove(QWindow &window);

} // namespace dowsel::x11
