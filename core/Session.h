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
    // Dowsel's windows are X11 windows on a Wayland session's Xwayland (set once Qt runs).
    bool throughXwayland = false;
    // The X window manager (_NET_WM_NAME of the _NET_SUPPORTING_WM_CHECK window): "wlroots wm"
    // for sway and other wlroots compositors, "GNOME Shell", "KWin"; empty when none answers.
    QString x11WindowManager;

    // Key grabs on the X server reach every application only on an X11 session: on Wayland
    // the X server is Xwayland, and its grabs see keys only while an X11 window has the focus.
    bool keyGrabsReachAllWindows() const { return type == SessionType::x11; }
    // wlroots compositors (sway, Hyprland, ...) hand the keyboard to an unmanaged Xwayland
    // window when it is mapped, unless its type says menu, tooltip, notification or utility;
    // they would centre a managed one. GNOME's Mutter and KWin never give an unmanaged
    // window the keyboard, and place managed ones where they ask.
    bool unmanagedWindowsTakeKeyboard() const;
};

// Reads XDG_SESSION_TYPE first ("wayland", "x11"); when it is unset or names no graphical
// session, WAYLAND_DISPLAY, then QT_QPA_PLATFORM=wayland, then DISPLAY decide.
Session detectSession(const std::function<QByteArray(const char *)> &environment);
// The same, from this process's environment.
Session currentSession();

// On a Wayland session Dowsel draws through Xwayland when there is one (DISPLAY) and the user
// did not choose Qt's platform (QT_QPA_PLATFORM): there the toast can be placed, kept above
// other windows and let clicks through, which a plain Wayland window cannot ask for.
bool prefersXwayland(const std::function<QByteArray(const char *)> &environment);

// "x11", "wayland", "unknown".
QString sessionTypeName(SessionType type);

} // namespace dowsel
