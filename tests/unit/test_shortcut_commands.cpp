#include "app/PermissionsManager.h"
#include "app/ShortcutCommands.h"
#include "core/Session.h"
#include "platform/fake/MemoryPreferences.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace dowsel;

namespace {

Session waylandSession()
{
    Session session;
    session.type = SessionType::wayland;
    session.desktop = QStringLiteral("GNOME");
    return session;
}

struct WaylandPermissions {
    WaylandPermissions()
    {
        permissions.setSession(waylandSession());
        // The Xwayland grabs succeed; they must never count on Wayland.
        permissions.setAccessibilityCheck([] { return true; });
        permissions.setPortalCheck([this] { return portal; });
    }
    MemoryPreferences prefs;
    PortalStatus portal{PortalAnswer::missing, QStringLiteral("no portal")};
    PermissionsManager permissions{prefs, "/nonexistent-downloads"};
};

TEST(ShortcutsGrant, OnWaylandOnlyThePortalsKeysOrTheBoundCommandsCount)
{
    struct Case {
        PortalAnswer answer;
        bool granted;
        ShortcutRoute route;
        bool offersCommands;
        const char *reasonSays;
    };
    const Case cases[] = {
        {PortalAnswer::waiting, false, ShortcutRoute::portal, false, "Waiting"},
        {PortalAnswer::bound, true, ShortcutRoute::portal, false, ""},
        {PortalAnswer::unassigned, false, ShortcutRoute::commands, true, "no keys"},
        {PortalAnswer::missing, false, ShortcutRoute::commands, true, "no global shortcuts portal"},
        {PortalAnswer::declined, false, ShortcutRoute::commands, true, "declined"},
    };
    for (const Case &c : cases) {
        WaylandPermissions w;
        w.portal.answer = c.answer;
        const ShortcutsGrant grant = w.permissions.shortcutsGrant();
        const auto name = std::to_string(int(c.answer));
        EXPECT_EQ(grant.granted, c.granted) << name;
        EXPECT_EQ(w.permissions.refresh().first, c.granted) << name;
        EXPECT_EQ(grant.route, c.route) << name;
        EXPECT_EQ(grant.offersCommands, c.offersCommands) << name;
        EXPECT_TRUE(grant.reason.contains(QLatin1String(c.reasonSays))) << name << ": " << grant.reason.toStdString();
        EXPECT_EQ(grant.reason.isEmpty(), c.granted) << name << ": a refusal always says why";
        EXPECT_EQ(w.permissions.shortcutsUnavailableReason(), grant.reason) << name;
    }
}

TEST(ShortcutsGrant, TheUsersWordIsKeptAndTakenBack)
{
    WaylandPermissions w;
    int changes = 0;
    QObject::connect(&w.permissions, &PermissionsManager::changed, [&changes] { ++changes; });
    w.permissions.refresh();
    changes = 0;

    w.permissions.setCommandsConfirmed(true);
    EXPECT_TRUE(w.permissions.hasAccessibility());
    EXPECT_EQ(changes, 1);
    const ShortcutsGrant grant = w.permissions.shortcutsGrant();
    EXPECT_EQ(grant.route, ShortcutRoute::commands);
    EXPECT_TRUE(grant.how.contains(QStringLiteral("you said"))) << grant.how.toStdString();
    EXPECT_TRUE(grant.offersCommands) << "the list stays, so the user can see and untick it";

    // Kept in the preferences: the next start knows it.
    PermissionsManager restarted(w.prefs, "/nonexistent-downloads");
    restarted.setSession(waylandSession());
    restarted.setPortalCheck([] { return PortalStatus{PortalAnswer::declined, {}}; });
    EXPECT_TRUE(restarted.refresh().first);

    w.permissions.setCommandsConfirmed(false);
    EXPECT_FALSE(w.permissions.hasAccessibility());
    EXPECT_EQ(changes, 2);
    EXPECT_FALSE(w.prefs.value(prefkeys::shortcutCommandsBound).has_value());
}

TEST(ShortcutsGrant, ACommandFromAKeyBindingIsProofAndIsNamed)
{
    WaylandPermissions w;
    w.permissions.refresh();
    w.permissions.noteCommandFromKeyBinding(QStringLiteral("keep"));
    w.permissions.noteCommandFromKeyBinding(QStringLiteral("dismiss"));
    w.permissions.noteCommandFromKeyBinding(QStringLiteral("keep"));
    EXPECT_TRUE(w.permissions.hasAccessibility());
    EXPECT_EQ(w.permissions.commandsSeen(), (QStringList{QStringLiteral("keep"), QStringLiteral("dismiss")}));
    const QString how = w.permissions.shortcutsGrant().how;
    EXPECT_TRUE(how.contains(QStringLiteral("dowsel toast keep")) && how.contains(QStringLiteral("dowsel toast dismiss")))
        << how.toStdString();
    EXPECT_FALSE(w.permissions.commandsConfirmed()) << "seeing a command is not the user's word";

    // Unticking "I have bound these commands" forgets what was seen too.
    w.permissions.setCommandsConfirmed(false);
    EXPECT_TRUE(w.permissions.commandsSeen().isEmpty());
    EXPECT_FALSE(w.permissions.hasAccessibility());

    // With the portal's keys the commands are not what grants them.
    w.permissions.noteCommandFromKeyBinding(QStringLiteral("move"));
    w.portal.answer = PortalAnswer::bound;
    EXPECT_EQ(w.permissions.shortcutsGrant().route, ShortcutRoute::portal);
}

TEST(ShortcutsGrant, OnX11TheGrabsAloneDecide)
{
    MemoryPreferences prefs;
    PermissionsManager permissions(prefs, "/nonexistent-downloads");
    Session x11;
    x11.type = SessionType::x11;
    permissions.setSession(x11);
    bool grabbed = false;
    permissions.setAccessibilityCheck([&grabbed] { return grabbed; });
    permissions.setCommandsConfirmed(true);
    permissions.noteCommandFromKeyBinding(QStringLiteral("keep"));
    EXPECT_FALSE(permissions.refresh().first) << "a bound command does not make the grabs work";
    grabbed = true;
    EXPECT_TRUE(permissions.refresh().first);
    const ShortcutsGrant grant = permissions.shortcutsGrant();
    EXPECT_EQ(grant.route, ShortcutRoute::keyGrabs);
    EXPECT_FALSE(grant.offersCommands);
    EXPECT_TRUE(permissions.shortcutsUnavailableReason().isEmpty());
}

TEST(ShortcutCommands, TheProgramIsDowselWhenThePathFindsThisVeryFileElseItsPath)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString real = dir.filePath(QStringLiteral("real-dowsel"));
    QFile file(real);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const QString link = dir.filePath(QStringLiteral("dowsel"));
    ASSERT_TRUE(QFile::link(real, link));
    EXPECT_EQ(commandProgram(real, link), QStringLiteral("dowsel")) << "the path's dowsel is a link to this file";
    EXPECT_EQ(commandProgram(real, QString()), real);
    EXPECT_EQ(commandProgram(real, QStringLiteral("/usr/bin/dowsel-elsewhere")), real);

    const QString spaced = dir.filePath(QStringLiteral("my build/it's dowsel"));
    ASSERT_TRUE(QDir().mkpath(QFileInfo(spaced).absolutePath()));
    EXPECT_EQ(commandProgram(spaced, link), QStringLiteral("'") + dir.path() + QStringLiteral("/my build/it'\\''s dowsel'"));

    const std::vector<ToastCommand> commands = toastCommands();
    ASSERT_EQ(commands.size(), 11u) << "one command for each action of the toast, Escape's included";
    EXPECT_EQ(toastCommandLine(QStringLiteral("dowsel"), commands.front()), QStringLiteral("dowsel toast keep"));
    for (const ToastCommand &command : commands)
        EXPECT_TRUE(command.arguments.startsWith(QStringLiteral("toast ") + command.action)) << command.arguments.toStdString();
}

TEST(ShortcutCommands, ThePlaceToBindThemFollowsTheDesktop)
{
    const QString gnome = commandBindingPlace(QStringLiteral("ubuntu:GNOME"));
    EXPECT_TRUE(gnome.contains(QStringLiteral("Custom Shortcuts"))) << gnome.toStdString();
    EXPECT_EQ(commandBindingPlace(QStringLiteral("GNOME-Classic:GNOME")), gnome);
    EXPECT_TRUE(commandBindingPlace(QStringLiteral("KDE")).contains(QStringLiteral("System Settings → Shortcuts")));
    EXPECT_TRUE(commandBindingPlace(QStringLiteral("sway")).contains(QStringLiteral("bindsym")));
    const QString generic = commandBindingPlace(QStringLiteral("XFCE"));
    EXPECT_EQ(commandBindingPlace(QString()), generic);
    EXPECT_NE(generic, gnome);
    EXPECT_EQ(commandBindingPlace(QStringLiteral("gnomish")), generic) << "only whole desktop names count";
}

// A child in a session of its own, with or without a terminal of its own.
pid_t startChild(bool withTerminal)
{
    int ready[2];
    if (::pipe(ready) != 0)
        return -1;
    const int master = withTerminal ? ::posix_openpt(O_RDWR | O_NOCTTY) : -1;
    if (withTerminal && (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0))
        return -1;
    const char *slave = withTerminal ? ::ptsname(master) : nullptr;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::setsid();
        // A session leader that opens a terminal without O_NOCTTY makes it its own.
        if (slave)
            ::open(slave, O_RDWR);
        const char byte = 1;
        (void)::write(ready[1], &byte, 1);
        ::pause();
        ::_exit(0);
    }
    char byte = 0;
    (void)::read(ready[0], &byte, 1);
    ::close(ready[0]);
    ::close(ready[1]);
    if (master >= 0)
        ::close(master);
    return pid;
}

TEST(ShortcutCommands, AProcessWithoutATerminalIsToldFromOneWithIt)
{
    const int probe = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (probe < 0)
        GTEST_SKIP() << "no pseudo-terminals here";
    ::close(probe);
    for (const bool withTerminal : {false, true}) {
        const pid_t pid = startChild(withTerminal);
        ASSERT_GT(pid, 0);
        EXPECT_EQ(processHasTerminal(pid), std::optional<bool>(withTerminal));
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    EXPECT_EQ(processHasTerminal(0), std::nullopt);
    EXPECT_EQ(processHasTerminal(999999999), std::nullopt) << "no such process";
}

} // namespace
