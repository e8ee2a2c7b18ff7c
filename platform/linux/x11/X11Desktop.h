#pragma once

#include <QByteArray>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QWindow>

#include <cstdint>
#include <optional>

namespace dowsel::x11 {

// Window-manager and shape calls on Qt's own X connection. Each one does nothing (or
// answers "unknown") when the application does not run on X11, so callers fall back.

// The active window: _NET_ACTIVE_WINDOW, or the X input focus without a window manager.
std::optional<std::uint32_t> activeWindow();

// Centre of the active window (_NET_ACTIVE_WINDOW) in native root coordinates.
std::optional<QPoint> activeWindowCenter();

// Hands the keyboard to `window`: a _NET_ACTIVE_WINDOW request to the window manager (as a
// pager would ask, so that focus-stealing rules let it through), or the input focus set
// directly when no window manager answers. Does nothing when the window is no longer mapped.
void activateWindow(std::uint32_t window);

// Names the startup sequence `window` answers: _NET_STARTUP_ID, which a window manager reads
// when the window is mapped and uses against focus stealing (Mutter also finds xdg-activation
// tokens among its sequences). Call before the window is shown.
void setStartupId(QWindow &window, const QByteArray &id);

// Ends the startup sequence `id` with the startup-notification "remove" message, sent to the
// root window on behalf of `window`.
void endStartupSequence(QWindow &window, const QByteArray &id);

// The window manager's name (_NET_WM_NAME on its _NET_SUPPORTING_WM_CHECK window); empty
// without one.
QString windowManagerName();

// Sends every key the X server gets to `window`, whatever window has the input focus: the
// way an unmanaged window takes the keyboard, since no window manager hands it the focus
// (and an Xwayland window manager takes back a focus a client sets itself). False while the
// window is not viewable yet, or another client holds a grab.
bool grabKeyboard(QWindow &window);
void ungrabKeyboard();

// True when a compositing manager owns _NET_WM_CM_S<n>: only then are translucent windows
// really translucent.
bool hasCompositor();

// Clicks inside `region` (window coordinates, device-independent) go to the window; clicks
// elsewhere pass to whatever lies below. Uses the X Shape extension's input region.
bool setInputRegion(QWindow &window, const QRect &region);

// Keeps a managed window on every desktop and above other windows, full-screen ones
// included where the window manager allows it (EWMH sticky, above, desktop 0xFFFFFFFF).
void keepOnAllDesktopsAndAbove(QWindow &window);

// Asks a compositing manager not to draw a shadow around the window: its drawing has its
// own outline (rounded, or an island in a wide transparent strip).
void drawWithoutShadow(QWindow &window);

} // namespace dowsel::x11
