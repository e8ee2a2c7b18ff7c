#include "FakePortal.h"
#include "PrivateBus.h"
#include "platform/fake/Executors.h"
#include "platform/linux/gui/PortalKeyGrabber.h"
#include "toast/GlobalShortcuts.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QGuiApplication>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

using namespace fakeportal;

// A private session bus, a fake portal on it (unless the test leaves it out) and the client.
class PortalShortcutsTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qDBusRegisterMetaType<Shortcut>();
        qDBusRegisterMetaType<QList<Shortcut>>();
        // A portal installed on the machine must not answer for a missing one.
        QString problem;
        m_address = m_bus.start(&problem);
        ASSERT_FALSE(m_address.isEmpty()) << problem.toStdString();
    }

    void TearDown() override
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("portal-client"));
        QDBusConnection::disconnectFromBus(QStringLiteral("portal-fake"));
    }

    void startPortal()
    {
        QDBusConnection bus = QDBusConnection::connectToBus(m_address, QStringLiteral("portal-fake"));
        ASSERT_TRUE(bus.isConnected());
        portal = std::make_unique<FakePortal>(bus);
        ASSERT_TRUE(bus.registerVirtualObject(portalPath, portal.get()));
        ASSERT_TRUE(bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
    }

    void startClient()
    {
        client = std::make_unique<PortalKeyGrabber>(QDBusConnection::connectToBus(m_address, QStringLiteral("portal-client")));
        client->onAvailabilityChanged = [this] { ++stateChanges; };
        client->onPressed = [this](KeyCombination combination, const QString &) { pressed.push_back(combination); };
        client->start();
        ASSERT_TRUE(QTest::qWaitFor([this] { return stateChanges > 0; }, 10000)) << "the client never settled";
    }

    // Lets signals in flight arrive.
    static void settle() { QTest::qWait(200); }

    std::unique_ptr<FakePortal> portal;
    std::unique_ptr<PortalKeyGrabber> client;
    int stateChanges = 0;
    std::vector<KeyCombination> pressed;

private:
    dowsel::testing::PrivateBus m_bus;
    QString m_address;
};

constexpr KeyCombination keepKeys{ShortcutKey::T, SuperModifier | ShiftModifier};
constexpr KeyCombination escapeKeys{ShortcutKey::Escape, NoModifier};

TEST_F(PortalShortcutsTest, OneSessionBindsDowselsCombinationsAsPreferredTriggers)
{
    startPortal();
    startClient();
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::bound) << client->detail().toStdString();
    EXPECT_TRUE(client->isAvailable());
    EXPECT_EQ(portal->sessionsCreated, 1);
    EXPECT_EQ(portal->bindCalls, 1);
    EXPECT_EQ(portal->boundSession, portal->session);
    EXPECT_EQ(portal->requested.size(), 10);
    EXPECT_EQ(portal->preferredTrigger(QStringLiteral("keep")), QStringLiteral("LOGO+SHIFT+t"));
    EXPECT_EQ(portal->preferredTrigger(QStringLiteral("keep-for")), QStringLiteral("LOGO+SHIFT+ALT+t"));
    EXPECT_EQ(portal->preferredTrigger(QStringLiteral("trash-copy")), QStringLiteral("LOGO+SHIFT+ALT+BackSpace"));
    EXPECT_EQ(portal->preferredTrigger(QStringLiteral("dismiss")), QStringLiteral("LOGO+SHIFT+Escape"))
        << "Escape alone would be taken from every application for good";
    client->start();
    settle();
    EXPECT_EQ(portal->sessionsCreated, 1) << "a second start must not create another session";
}

TEST_F(PortalShortcutsTest, DowselNamesItselfFirstAndDescribesEachShortcutInWords)
{
    startPortal();
    QGuiApplication::setDesktopFileName(QStringLiteral("app.dowsel.Dowsel"));
    startClient();
    QGuiApplication::setDesktopFileName(QString());
    ASSERT_FALSE(portal->calls.isEmpty());
    EXPECT_EQ(portal->calls.first(), QStringLiteral("Register")) << "the registry must come before any other call";
    EXPECT_EQ(portal->registeredAppId, QStringLiteral("app.dowsel.Dowsel"));
    ASSERT_EQ(portal->requested.size(), 10);
    for (const Shortcut &shortcut : portal->requested) {
        const QString description = shortcut.properties.value(QStringLiteral("description")).toString();
        EXPECT_TRUE(description.contains(QLatin1Char(' '))) << shortcut.id.toStdString() << ": " << description.toStdString();
    }
}

TEST_F(PortalShortcutsTest, APortalWithoutTheRegistryOrTheListStillBinds)
{
    startPortal();
    portal->hasRegistry = false;
    QGuiApplication::setDesktopFileName(QStringLiteral("app.dowsel.Dowsel"));
    startClient();
    QGuiApplication::setDesktopFileName(QString());
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::bound) << client->detail().toStdString();
    EXPECT_EQ(portal->bindCalls, 1);
}

TEST_F(PortalShortcutsTest, ShortcutsTheDesktopKeptFromAnEarlierStartAreNotBoundAgain)
{
    startPortal();
    for (const auto &[id, binding] : PortalKeyGrabber::shortcuts())
        portal->remembered.append({id, {{QStringLiteral("trigger_description"), binding.second}}});
    startClient();
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::bound) << client->detail().toStdString();
    EXPECT_EQ(portal->bindCalls, 0) << "binding again would ask the user again at every start";
    client->grab({keepKeys});
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("keep"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !pressed.empty(); }, 5000)) << "the kept shortcuts act";
}

TEST_F(PortalShortcutsTest, KeptShortcutsWithoutKeysWaitForTheUserToAssignThem)
{
    startPortal();
    for (const auto &[id, binding] : PortalKeyGrabber::shortcuts())
        portal->remembered.append({id, {{QStringLiteral("trigger_description"), QString()}}});
    startClient();
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::unassigned);
    EXPECT_EQ(portal->bindCalls, 0);
}

TEST_F(PortalShortcutsTest, ADesktopHoldingOnlySomeOfTheShortcutsIsAskedForAll)
{
    startPortal();
    portal->remembered.append({QStringLiteral("keep"), {{QStringLiteral("trigger_description"), QStringLiteral("Meta+Shift+T")}}});
    startClient();
    EXPECT_EQ(portal->bindCalls, 1) << "a newer Dowsel's shortcut the desktop does not know yet";
    EXPECT_EQ(portal->requested.size(), 10);
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::bound);
}

TEST_F(PortalShortcutsTest, ASessionHandedAsAnObjectPathIsFollowedToo)
{
    startPortal();
    portal->sessionHandleAsObjectPath = true;
    startClient();
    ASSERT_TRUE(client->isAvailable()) << client->detail().toStdString();
    EXPECT_EQ(portal->boundSession, portal->session);
    client->grab({keepKeys});
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("keep"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !pressed.empty(); }, 5000));
}

TEST_F(PortalShortcutsTest, ActivationsCountOnlyWhileTheirKeysAreWanted)
{
    startPortal();
    startClient();
    ASSERT_TRUE(client->isAvailable());
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("keep"));
    settle();
    EXPECT_TRUE(pressed.empty()) << "no toast is up: nothing is grabbed";

    client->grab({keepKeys, escapeKeys});
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("keep"));
    portal->emitSignal(QStringLiteral("Deactivated"), portal->session, QStringLiteral("keep"));
    portal->emitSignal(QStringLiteral("Activated"), QStringLiteral("/org/freedesktop/portal/desktop/session/other/x"),
                       QStringLiteral("dismiss"));
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("unknown"));
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("dismiss"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return pressed.size() >= 2; }, 5000));
    settle();
    EXPECT_EQ(pressed, (std::vector<KeyCombination>{keepKeys, escapeKeys}))
        << "a release, another session's shortcut and an unknown id count for nothing";

    client->ungrabAll();
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("keep"));
    settle();
    EXPECT_EQ(pressed.size(), 2u);
}

TEST_F(PortalShortcutsTest, ThroughTheShortcutsAnActivationRunsTheToastsActionWithItsActivationToken)
{
    startPortal();
    startClient();
    ManualExecutor main;
    GlobalShortcuts shortcuts(*client, main);
    std::vector<std::pair<ShortcutAction, QString>> actions;
    shortcuts.onAction = [&actions](ShortcutAction action, const QString &activationToken) {
        actions.emplace_back(action, activationToken);
    };
    ASSERT_TRUE(shortcuts.installEventTap());
    EXPECT_TRUE(shortcuts.blockedShortcuts().isEmpty());
    shortcuts.update({.isOnboardingActive = false, .isToastShown = true, .isSecondarySurfaceOpen = false});
    const QString token = QStringLiteral("kwin-3f0c2d1e-activation");
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("move"),
                       {{QStringLiteral("activation_token"), token}});
    ASSERT_TRUE(QTest::qWaitFor([&main] { return main.queued() > 0; }, 5000));
    main.runAll();
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("keep-for"));
    ASSERT_TRUE(QTest::qWaitFor([&main] { return main.queued() > 0; }, 5000));
    main.runAll();
    const std::vector<std::pair<ShortcutAction, QString>> expected{{ShortcutAction::move, token},
                                                                   {ShortcutAction::customTime, QString()}};
    EXPECT_EQ(actions, expected) << "an activation without a token carries none, not the last one";

    shortcuts.update({});
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("move"),
                       {{QStringLiteral("activation_token"), token}});
    settle();
    main.runAll();
    EXPECT_EQ(actions.size(), 2u) << "with the toast gone the activation is ignored";
}

TEST_F(PortalShortcutsTest, AMissingPortalOrADecliningUserLeavesTheShortcutsUnavailable)
{
    startClient();
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::missing);
    EXPECT_FALSE(client->isAvailable());
    EXPECT_FALSE(client->detail().isEmpty());

    client.reset();
    stateChanges = 0;
    startPortal();
    portal->userDeclines = true;
    startClient();
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::declined);
    EXPECT_FALSE(client->isAvailable());
    EXPECT_EQ(portal->bindCalls, 1);
}

TEST_F(PortalShortcutsTest, ShortcutsTakenWithoutKeysWaitForTheUserToAssignThem)
{
    startPortal();
    portal->assignsKeysLater = true;
    startClient();
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::unassigned);
    EXPECT_FALSE(client->isAvailable()) << "a success with no shortcuts binds no key";
    client->grab({keepKeys});
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("keep"));
    settle();
    EXPECT_TRUE(pressed.empty());

    const int before = stateChanges;
    portal->emitShortcutsChanged(true);
    ASSERT_TRUE(QTest::qWaitFor([this] { return client->isAvailable(); }, 5000)) << "the keys the user assigned";
    EXPECT_EQ(stateChanges, before + 1);
    portal->emitSignal(QStringLiteral("Activated"), portal->session, QStringLiteral("keep"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !pressed.empty(); }, 5000));

    portal->emitShortcutsChanged(false);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !client->isAvailable(); }, 5000)) << "the user took the keys away";
    EXPECT_EQ(client->state(), PortalKeyGrabber::State::unassigned);
}

} // namespace
