#include "app/PermissionsManager.h"
#include "core/Session.h"
#include "platform/fake/MemoryPreferences.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

using namespace dowsel;

namespace {

Session sessionOf(const std::map<std::string, QByteArray> &variables)
{
    return detectSession([&variables](const char *name) {
        const auto found = variables.find(name);
        return found == variables.end() ? QByteArray() : found->second;
    });
}

TEST(Session, TheDeclaredTypeWinsAndTheDisplaysDecideWithoutOne)
{
    // A Wayland session still has DISPLAY for Xwayland; an X11 one may inherit a stray WAYLAND_DISPLAY.
    EXPECT_EQ(sessionOf({{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}}).type, SessionType::wayland);
    EXPECT_EQ(sessionOf({{"XDG_SESSION_TYPE", "x11"}, {"WAYLAND_DISPLAY", "wayland-0"}}).type, SessionType::x11);
    EXPECT_EQ(sessionOf({{"XDG_SESSION_TYPE", " Wayland\n"}}).type, SessionType::wayland);
    // "tty" or unset: a session started by hand from a console or a script.
    EXPECT_EQ(sessionOf({{"XDG_SESSION_TYPE", "tty"}, {"WAYLAND_DISPLAY", "wayland-1"}, {"DISPLAY", ":0"}}).type,
              SessionType::wayland);
    EXPECT_EQ(sessionOf({{"DISPLAY", ":99"}}).type, SessionType::x11);
    EXPECT_EQ(sessionOf({{"QT_QPA_PLATFORM", "wayland;xcb"}}).type, SessionType::wayland);
    EXPECT_EQ(sessionOf({{"QT_QPA_PLATFORM", "xcb"}, {"DISPLAY", ":0"}}).type, SessionType::x11);
    EXPECT_EQ(sessionOf({}).type, SessionType::unknown);
    EXPECT_EQ(sessionOf({{"XDG_SESSION_TYPE", "x11"}, {"WAYLAND_DISPLAY", "w"}}).keyGrabsReachAllWindows(), true);
    EXPECT_EQ(sessionOf({{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}}).keyGrabsReachAllWindows(), false);
}

TEST(Session, DesktopAndQtPlatformAreKept)
{
    const Session gnome = sessionOf({{"XDG_SESSION_TYPE", "wayland"}, {"XDG_CURRENT_DESKTOP", "ubuntu:GNOME"}});
    EXPECT_EQ(gnome.desktop, QStringLiteral("ubuntu:GNOME"));
    EXPECT_FALSE(gnome.nativeWaylandWindows) << "without QT_QPA_PLATFORM Dowsel runs through Xwayland";
    EXPECT_TRUE(sessionOf({{"QT_QPA_PLATFORM", "Wayland-EGL"}}).nativeWaylandWindows);
    EXPECT_EQ(sessionTypeName(SessionType::wayland), QStringLiteral("wayland"));
    EXPECT_EQ(sessionTypeName(SessionType::unknown), QStringLiteral("unknown"));
}

TEST(Session, GrabsOnAWaylandSessionAreNeverReportedAsGranted)
{
    MemoryPreferences prefs;
    PermissionsManager permissions(prefs, "/nonexistent-downloads");
    permissions.setAccessibilityCheck([] { return true; });
    EXPECT_TRUE(permissions.refresh().first) << "without a session the grabs decide alone";
    EXPECT_TRUE(permissions.shortcutsUnavailableReason().isEmpty());

    permissions.setSession(sessionOf({{"XDG_SESSION_TYPE", "x11"}, {"DISPLAY", ":0"}}));
    EXPECT_TRUE(permissions.refresh().first);
    EXPECT_TRUE(permissions.shortcutsUnavailableReason().isEmpty());

    int changes = 0;
    QObject::connect(&permissions, &PermissionsManager::changed, [&changes] { ++changes; });
    permissions.setSession(sessionOf({{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}}));
    EXPECT_FALSE(permissions.refresh().first) << "the Xwayland grabs succeeded but reach X11 windows only";
    EXPECT_FALSE(permissions.hasAccessibility());
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(permissions.shortcutsUnavailableReason().contains(QStringLiteral("no global shortcuts portal")));
    EXPECT_TRUE(permissions.shortcutsUnavailableReason().contains(QStringLiteral("dowsel toast")));

    // Keys bound through the desktop's portal reach Dowsel whatever window has the focus.
    PortalStatus portal{PortalAnswer::waiting, {}};
    permissions.setPortalCheck([&portal] { return portal; });
    EXPECT_FALSE(permissions.refresh().first);
    EXPECT_EQ(changes, 2) << "the reason changed from no portal to waiting for one";
    portal.answer = PortalAnswer::bound;
    EXPECT_TRUE(permissions.refresh().first);
    EXPECT_TRUE(permissions.shortcutsUnavailableReason().isEmpty());
    EXPECT_EQ(changes, 3);
    EXPECT_TRUE(permissions.refresh().first);
    EXPECT_EQ(changes, 3) << "nothing changed, nobody is told";
}

} // namespace
