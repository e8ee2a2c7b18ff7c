#include "app/gui/Application.h"

#include "app/gui/SignalHandler.h"
#include "app/gui/TrayIcon.h"
#include "core/Logging.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

namespace dowsel {

namespace {

// Qt aborts with a long message when it cannot reach a display; say it in one line, with
// what to do about it.
bool displayAvailable()
{
    const char *platform = std::getenv("QT_QPA_PLATFORM");
    if (platform && *platform && std::strncmp(platform, "xcb", 3) != 0)
        return true; // offscreen, wayland, ...: Qt decides
    const char *wayland = std::getenv("WAYLAND_DISPLAY");
    if ((!platform || !*platform) && wayland && *wayland)
        return true;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool ok = connection && xcb_connection_has_error(connection) == 0;
    if (connection)
        xcb_disconnect(connection);
    return ok;
}

} // namespace

int runApplication(int argc, char *argv[])
{
    if (!displayAvailable()) {
        std::fprintf(stderr, "dowsel: no display (DISPLAY=%s); run it inside a desktop session, or headless with "
                             "`xvfb-run -a dowsel`\n",
                     std::getenv("DISPLAY") ? std::getenv("DISPLAY") : "unset");
        return 2;
    }

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("dowsel"));
    QApplication::setApplicationDisplayName(QStringLiteral("Dowsel"));
    QApplication::setOrganizationDomain(QStringLiteral("dowsel.app"));
    QApplication::setApplicationVersion(QStringLiteral(DOWSEL_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);

    SignalHandler signals({SIGINT, SIGTERM});
    QObject::connect(&signals, &SignalHandler::received, &app, [](int signal) {
        qCInfo(lcApp) << "Received signal" << signal << "- quitting";
        QCoreApplication::quit();
    });

    TrayIcon tray;
    tray.show();

    return app.exec();
}

} // namespace dowsel
