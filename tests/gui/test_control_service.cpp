#include "../unit/StoreTestSupport.h"
#include "PrivateBus.h"

#include "app/gui/ControlService.h"
#include "expiry/CleanupService.h"
#include "platform/fake/Executors.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QTest>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

// The control object exported on a private bus, its toast commands written down instead of
// run; calls come from a second connection, as from `dowsel toast` or a script.
class ControlServiceTest : public dowsel::testing::StoreFixture {
protected:
    struct ToastCall {
        ShortcutAction action;
        std::optional<Seconds> duration;
        QString activationToken;

        friend bool operator==(const ToastCall &, const ToastCall &) = default;
    };

    void SetUp() override
    {
        StoreFixture::SetUp();
        if (HasFatalFailure())
            return;
        QString problem;
        const QString address = m_bus.start(&problem);
        ASSERT_FALSE(address.isEmpty()) << problem.toStdString();
        actor = std::make_unique<TrackedFileActor>(mainThread, std::move(store));
        cleanup = std::make_unique<CleanupService>(*actor, trash, clock, clock, mainThread);
        control = std::make_unique<ControlService>(*actor, *cleanup, clock, mainThread);
        control->runToastCommand = [this](ShortcutAction action, std::optional<Seconds> duration,
                                          const QString &activationToken) {
            calls.push_back({action, duration, activationToken});
            return refusal;
        };
        QDBusConnection server = QDBusConnection::connectToBus(address, QStringLiteral("control-server"));
        ASSERT_TRUE(server.registerObject(QString::fromLatin1(dbusObjectPath), control.get(),
                                          QDBusConnection::ExportAllSlots));
        serverName = server.baseService();
        ASSERT_TRUE(QDBusConnection::connectToBus(address, QStringLiteral("control-client")).isConnected());
    }

    void TearDown() override
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("control-client"));
        QDBusConnection::disconnectFromBus(QStringLiteral("control-server"));
    }

    // Calls `method` and waits for the answer, letting the service answer on this thread.
    QDBusMessage call(const QString &method, const QVariantList &arguments) const
    {
        QDBusConnection client(QStringLiteral("control-client"));
        QDBusMessage message = QDBusMessage::createMethodCall(
            serverName, QString::fromLatin1(dbusObjectPath), QString::fromLatin1(dbusInterfaceName), method);
        message.setArguments(arguments);
        QDBusPendingCall pending = client.asyncCall(message);
        EXPECT_TRUE(QTest::qWaitFor([&pending] { return pending.isFinished(); }, 5000)) << "no answer to " << method.toStdString();
        return pending.reply();
    }

    InlineExecutor mainThread;
    std::unique_ptr<TrackedFileActor> actor;
    std::unique_ptr<CleanupService> cleanup;
    std::unique_ptr<ControlService> control;
    std::vector<ToastCall> calls;
    std::optional<CommandRefusal> refusal;
    QString serverName;

private:
    dowsel::testing::PrivateBus m_bus;
};

TEST_F(ControlServiceTest, ToastWithActivationHandsItsTokenToTheCommandAndToastHandsNone)
{
    const QString token = QStringLiteral("startup-id_TIME1234");
    EXPECT_EQ(call(QStringLiteral("ToastWithActivation"), {QStringLiteral("time"), QString(), token}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(call(QStringLiteral("ToastWithActivation"), {QStringLiteral("keep-for"), QStringLiteral("2h"), token})
                  .type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(call(QStringLiteral("Toast"), {QStringLiteral("move"), QString()}).type(), QDBusMessage::ReplyMessage)
        << "scripts that call Toast(s, s) go on working";
    EXPECT_EQ(call(QStringLiteral("ToastWithActivation"), {QStringLiteral("more"), QString(), QString()}).type(),
              QDBusMessage::ReplyMessage);
    const std::vector<ToastCall> expected{
        {ShortcutAction::customTime, std::nullopt, token},
        {ShortcutAction::markTemporary, Seconds(7200), token},
        {ShortcutAction::move, std::nullopt, QString()},
        {ShortcutAction::more, std::nullopt, QString()},
    };
    EXPECT_EQ(calls, expected);
}

TEST_F(ControlServiceTest, ToastWithActivationIsRefusedAsToastIs)
{
    const QString token = QStringLiteral("refused-token");
    EXPECT_EQ(call(QStringLiteral("ToastWithActivation"), {QStringLiteral("frobnicate"), QString(), token}).errorName(),
              QStringLiteral("app.dowsel.Error.UnknownAction"));
    EXPECT_EQ(call(QStringLiteral("ToastWithActivation"), {QStringLiteral("keep-for"), QStringLiteral("soon"), token})
                  .errorName(),
              QStringLiteral("app.dowsel.Error.InvalidDuration"));
    EXPECT_TRUE(calls.empty()) << "nothing to run";

    refusal = CommandRefusal::inputOpen;
    EXPECT_EQ(call(QStringLiteral("ToastWithActivation"), {QStringLiteral("move"), QString(), token}).errorName(),
              QStringLiteral("app.dowsel.Error.ToastBusy"));
    refusal = CommandRefusal::noToast;
    EXPECT_EQ(call(QStringLiteral("Toast"), {QStringLiteral("time"), QString()}).errorName(),
              QStringLiteral("app.dowsel.Error.NoToast"));
    EXPECT_EQ(calls.size(), 2u);
}

} // namespace
