#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace dowsel {

enum class SessionType { x11, wayland, unknown };

// The graphical session Dowsel runs in, as its environment tells.
struct Session {
    SessionType type = SessionType::unknown;
    // XDG_CURRENT_DESKTOP as set ("GNOME", "KDE", "sway", "ubuntu:GNOME"); empty when unset.
    QString desktop;
    // Qt draws Dowsel's windows as native Wayland surfaces (QT_QPA_PLATFORM=wayland), not
    // through Xwayland.
    bool nativeWaylandWindows = false;

    // Key grabs on the X server reach every application only on an X11 session: on Wayland
    // the X server is Xwayland, and its grabs see keys only while an X11 window has the focus.
    bool keyGrabsReachAllWindows() const { return type == SessionType::x11; }
};

// Reads XDG_SESSION_TYPE first ("wayland", "x11"); when it is unset or names no graphical
// session, WAYLAND_DISPLAY, then QT_QPA_PLATFORM=wayland, then DISPLAY decide.
Session detectSession(const std::function<QByteArray(const char *)> &environment);
// The same, from this process's environment.
Session currentSession();

// "x11", "wayland", "unknown".
QString sessionTypeName(SessionType type);

} // namespace dowsel
