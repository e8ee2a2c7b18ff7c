#include "core/Session.h"

#include <QStringList>

#include <cstdlib>

namespace dowsel {

Session detectSession(const std::function<QByteArray(const char *)> &environment)
{
    Session session;
    session.desktop = QString::fromLocal8Bit(environment("XDG_CURRENT_DESKTOP")).trimmed();
    const QByteArray qpa = environment("QT_QPA_PLATFORM").trimmed().toLower();
    // "wayland", "wayland-egl", "wayland;xcb": the first platform Qt tries.
    session.nativeWaylandWindows = qpa.startsWith("wayland");

    const QByteArray declared = environment("XDG_SESSION_TYPE").trimmed().toLower();
    if (declared == "wayland")
        session.type = SessionType::wayland;
    else if (declared == "x11")
        session.type = SessionType::x11;
    else if (!environment("WAYLAND_DISPLAY").isEmpty() || session.nativeWaylandWindows)
        session.type = SessionType::wayland;
    else if (!environment("DISPLAY").isEmpty())
        session.type = SessionType::x11;
    return session;
}

bool Session::unmanagedWindowsTakeKeyboard() const
{
    if (type != SessionType::wayland || !throughXwayland)
        return false;
    return x11WindowManager == QLatin1String("wlroots wm")
        || desktop.split(QLatin1Char(':')).contains(QStringLiteral("Hyprland"), Qt::CaseInsensitive);
}

bool prefersXwayland(const std::function<QByteArray(const char *)> &environment)
{
    return detectSession(environment).type == SessionType::wayland && environment("QT_QPA_PLATFORM").trimmed().isEmpty()
        && !environment("DISPLAY").trimmed().isEmpty();
}

Session currentSession()
{
    return detectSession([](const char *name) { return QByteArray(std::getenv(name)); });
}

QString sessionTypeName(SessionType type)
{
    switch (type) {
    case SessionType::x11:
        return QStringLiteral("x11");
    case SessionType::wayland:
        return QStringLiteral("wayland");
    case SessionType::unknown:
        break;
    }
    return QStringLiteral("unknown");
}

} // namespace dowsel
