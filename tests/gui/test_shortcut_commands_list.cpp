#include "PopoverTestSupport.h"

#include "app/ShortcutCommands.h"
#include "ui/PermissionRow.h"
#include "ui/ShortcutCommandsList.h"

#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

class ShortcutCommandsSettingsTest : public PopoverFixture {
protected:
    void onSession(SessionType type, PortalAnswer answer)
    {
        Session session;
        session.type = type;
        session.desktop = QStringLiteral("KDE");
        permissions->setSession(session);
        portal.answer = answer;
        permissions->setPortalCheck([this] { return portal; });
        popover->hide();
        openPopover(PopoverWindow::Page::settings);
    }
    ShortcutCommandsList *commands() { return popover->findChild<ShortcutCommandsList *>(); }
    bool commandsShown()
    {
        auto *holder = popover->findChild<QWidget *>(QStringLiteral("shortcutCommands"));
        return holder && holder->isVisibleTo(popover.get()) && commands() && commands()->isVisibleTo(popover.get());
    }
    PermissionRow *row() { return popover->findChild<PermissionRow *>(QStringLiteral("shortcutsPermission")); }

    PortalStatus portal;
};

TEST_F(ShortcutCommandsSettingsTest, TheCommandsShowWhereThePortalGivesNoKeysAndNotWhereItBound)
{
    for (const PortalAnswer answer : {PortalAnswer::missing, PortalAnswer::declined, PortalAnswer::unassigned}) {
        onSession(SessionType::wayland, answer);
        EXPECT_TRUE(commandsShown()) << int(answer);
        EXPECT_FALSE(row()->isGranted()) << int(answer);
        EXPECT_EQ(row()->detail(), permissions->shortcutsGrant().reason) << int(answer);
        EXPECT_TRUE(commands()->placeText().contains(QStringLiteral("System Settings → Shortcuts")))
            << "XDG_CURRENT_DESKTOP=KDE: " << commands()->placeText().toStdString();
    }

    onSession(SessionType::wayland, PortalAnswer::bound);
    EXPECT_FALSE(commandsShown());
    EXPECT_TRUE(row()->isGranted());
    EXPECT_TRUE(row()->detail().contains(QStringLiteral("portal bound them"))) << row()->detail().toStdString();

    onSession(SessionType::wayland, PortalAnswer::waiting);
    EXPECT_FALSE(commandsShown()) << "the portal may still bind them";
    EXPECT_FALSE(row()->isGranted());

    // X11: the grabs, as ever; no commands even when the grabs fail.
    onSession(SessionType::x11, PortalAnswer::missing);
    EXPECT_FALSE(commandsShown());
    EXPECT_FALSE(row()->isGranted());
    EXPECT_TRUE(row()->detail().contains(QStringLiteral("Taken by another program: Super+Shift+T")));
}

TEST_F(ShortcutCommandsSettingsTest, CopyPutsTheExactCommandOnTheClipboardAndSaysSo)
{
    onSession(SessionType::wayland, PortalAnswer::missing);
    ASSERT_TRUE(commandsShown());
    ShortcutCommandsList *list = commands();
    const QString program = currentCommandProgram();
    EXPECT_EQ(list->commandLines().size(), 11);
    EXPECT_NE(list->copyButton(QStringLiteral("trash-copy")), nullptr) << "the copy's own key has its command too";
    QGuiApplication::clipboard()->setText(QStringLiteral("something else"));

    QPushButton *keep = list->copyButton(QStringLiteral("keep"));
    QPushButton *keepFor = list->copyButton(QStringLiteral("keep-for"));
    QPushButton *dismiss = list->copyButton(QStringLiteral("dismiss"));
    ASSERT_TRUE(keep && keepFor && dismiss);
    EXPECT_EQ(keep->text(), QStringLiteral("Copy"));
    keep->click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), program + QStringLiteral(" toast keep"));
    EXPECT_EQ(keep->text(), QStringLiteral("Copied"));

    keepFor->click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), program + QStringLiteral(" toast keep-for 2h"));
    EXPECT_EQ(keepFor->text(), QStringLiteral("Copied"));
    EXPECT_EQ(keep->text(), QStringLiteral("Copy")) << "only the last copy says so";

    dismiss->click();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), program + QStringLiteral(" toast dismiss"));
    // What is copied is what the row names, a long path cut short on the left.
    auto *label = list->findChild<QLabel *>(QStringLiteral("command-dismiss"));
    ASSERT_TRUE(label);
    EXPECT_TRUE(label->text().endsWith(QStringLiteral(" toast dismiss"))) << label->text().toStdString();
    EXPECT_TRUE(label->toolTip().startsWith(QGuiApplication::clipboard()->text() + QLatin1Char('\n')));
}

TEST_F(ShortcutCommandsSettingsTest, TheBoxIsTheUsersWordAndACommandFromAKeyTicksIt)
{
    onSession(SessionType::wayland, PortalAnswer::declined);
    ASSERT_TRUE(commandsShown());
    QCheckBox *box = commands()->confirmBox();
    ASSERT_TRUE(box);
    EXPECT_FALSE(box->isChecked());

    box->click();
    EXPECT_TRUE(row()->isGranted());
    EXPECT_TRUE(prefs.boolean(prefkeys::shortcutCommandsBound).value_or(false));
    EXPECT_TRUE(row()->detail().contains(QStringLiteral("you said you bound"))) << row()->detail().toStdString();
    EXPECT_TRUE(commandsShown()) << "the list stays, to be looked up or unticked";

    box->click();
    EXPECT_FALSE(row()->isGranted());
    EXPECT_FALSE(prefs.value(prefkeys::shortcutCommandsBound).has_value());

    permissions->noteCommandFromKeyBinding(QStringLiteral("dismiss"));
    EXPECT_TRUE(box->isChecked());
    EXPECT_TRUE(row()->isGranted());
    auto *seen = commands()->findChild<QLabel *>(QStringLiteral("commandsSeen"));
    ASSERT_TRUE(seen);
    EXPECT_TRUE(seen->isVisibleTo(popover.get()));
    EXPECT_TRUE(seen->text().contains(QStringLiteral("“dowsel toast dismiss”"))) << seen->text().toStdString();
}

} // namespace
