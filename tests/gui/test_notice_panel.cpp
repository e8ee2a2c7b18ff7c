#include "platform/linux/gui/FreedesktopNotifier.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QPointer>
#include <QWidget>

#include <thread>

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

QStringList labelTexts(const QWidget *panel)
{
    QStringList texts;
    for (const QLabel *label : panel->findChildren<QLabel *>())
        texts.append(label->text());
    return texts;
}

// With no notification service to answer, notices reach the user in Dowsel's own panel; one
// panel gathers them until it is closed.
TEST(NoticePanel, WithoutANotificationServiceNoticesGatherInOnePanelUntilClosed)
{
    FreedesktopNotifier notifier(QDBusConnection(QStringLiteral("dowsel-tests-no-bus")));
    notifier.notify({QStringLiteral("First"), QStringLiteral("moved to /tmp/<old>.sqlite"), Notice::Urgency::critical});
    EXPECT_EQ(notifier.panel(), nullptr); // delivered from the event loop, never inline
    QCoreApplication::processEvents();
    QPointer<QWidget> panel = notifier.panel();
    ASSERT_TRUE(panel);
    EXPECT_TRUE(panel->isVisible());

    std::thread other([&] { notifier.notify({QStringLiteral("Second"), QStringLiteral("from a worker")}); });
    other.join();
    QCoreApplication::processEvents();
    EXPECT_EQ(notifier.panel(), panel.data());
    const QStringList texts = labelTexts(panel);
    EXPECT_TRUE(texts.contains(QStringLiteral("<b>First</b>"))) << texts.join(u'|').toStdString();
    // Bodies are plain text: a path with angle brackets shows as it is.
    EXPECT_TRUE(texts.contains(QStringLiteral("moved to /tmp/<old>.sqlite")));
    EXPECT_TRUE(texts.contains(QStringLiteral("<b>Second</b>")));

    QPushButton *close = panel->findChild<QPushButton *>();
    ASSERT_NE(close, nullptr);
    QTest::mouseClick(close, Qt::LeftButton);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(panel);
    EXPECT_EQ(notifier.panel(), nullptr);

    notifier.notify({QStringLiteral("Third"), QString()});
    QCoreApplication::processEvents();
    ASSERT_TRUE(notifier.panel());
    EXPECT_FALSE(labelTexts(notifier.panel()).contains(QStringLiteral("<b>First</b>")));
}

} // namespace
