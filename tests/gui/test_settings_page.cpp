#include "PopoverTestSupport.h"

#include "expiry/ExpirySettings.h"
#include "ui/PermissionRow.h"
#include "ui/SettingsPage.h"
#include "toast/gui/DynamicIslandToastView.h"
#include "ui/Translations.h"
#include "ui/model/SettingsTexts.h"

#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QTranslator>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

class SettingsPageTest : public PopoverFixture {
protected:
    template <class T>
    T *child(const char *name)
    {
        T *found = popover->findChild<T *>(QString::fromLatin1(name));
        EXPECT_TRUE(found) << name;
        return found;
    }
    QString footer() { return child<QLabel>("expiryFooter")->text(); }
    QStringList pickerTexts()
    {
        auto *picker = child<QComboBox>("expiryUnitPicker");
        QStringList texts;
        for (int i = 0; i < picker->count(); ++i)
            texts.append(picker->itemText(i));
        return texts;
    }
    // Replaces the field's text the way typing does.
    void type(const QString &text)
    {
        auto *field = child<QLineEdit>("expiryValueField");
        field->selectAll();
        for (QChar c : text) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
            QApplication::sendEvent(field, &press);
        }
    }
    void clickButton(const char *name) { child<QAbstractButton>(name)->click(); }
};

const QString footerLead = QStringLiteral("Files you mark as temporary will be moved to the Trash ");
const QString footerTail = QStringLiteral(" after you mark them.");

TEST_F(SettingsPageTest, TheGearOpensTheSettingsAndBackReturns)
{
    openPopover();
    EXPECT_EQ(popover->currentPage(), PopoverWindow::Page::files);
    clickButton("settingsButton");
    EXPECT_EQ(popover->currentPage(), PopoverWindow::Page::settings);
    clickButton("backButton");
    EXPECT_EQ(popover->currentPage(), PopoverWindow::Page::files);

    // Each opening starts on the lists unless the settings are asked for.
    clickButton("settingsButton");
    popover->hide();
    openPopover();
    EXPECT_EQ(popover->currentPage(), PopoverWindow::Page::files);
    popover->hide();
    openPopover(PopoverWindow::Page::settings);
    EXPECT_EQ(popover->currentPage(), PopoverWindow::Page::settings);
}

TEST_F(SettingsPageTest, EmptyPreferencesShowOneHourAndTheArchiveRuleOn)
{
    openPopover(PopoverWindow::Page::settings);
    EXPECT_EQ(child<QLineEdit>("expiryValueField")->text(), QStringLiteral("1"));
    EXPECT_EQ(child<QComboBox>("expiryUnitPicker")->currentText(), QStringLiteral("Hour"));
    EXPECT_EQ(pickerTexts(), (QStringList{"Minute", "Hour", "Day"}));
    EXPECT_TRUE(child<QCheckBox>("autoZipToggle")->isChecked());
    EXPECT_EQ(footer(), footerLead + "1 hour" + footerTail);
    EXPECT_FALSE(child<QToolButton>("stepDown")->isEnabled());
}

TEST_F(SettingsPageTest, TypingStoresAnyWholeNumberWhileTheStepperKeepsToItsRange)
{
    openPopover(PopoverWindow::Page::settings);
    type(QStringLiteral("0"));
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 0);
    EXPECT_EQ(footer(), footerLead + "0 hours" + footerTail);
    EXPECT_EQ(pickerTexts(), (QStringList{"Minutes", "Hours", "Days"}));
    EXPECT_EQ(defaultExpiryInterval(prefs), 3600); // what the clean-up uses

    EXPECT_FALSE(child<QToolButton>("stepDown")->isEnabled());
    clickButton("stepUp");
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 1);
    EXPECT_EQ(child<QLineEdit>("expiryValueField")->text(), QStringLiteral("1"));
    clickButton("stepUp");
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 2);
    clickButton("stepDown");
    clickButton("stepDown");
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 1);

    type(QStringLiteral("999"));
    EXPECT_FALSE(child<QToolButton>("stepUp")->isEnabled());
    type(QStringLiteral("5000"));
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 5000);
    clickButton("stepDown");
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 999);

    type(QStringLiteral("abc")); // refused by the field
    EXPECT_EQ(prefs.integer(prefkeys::expiryValue), 999);

    auto *picker = child<QComboBox>("expiryUnitPicker");
    picker->setCurrentIndex(2);
    Q_EMIT picker->activated(2);
    EXPECT_EQ(prefs.text(prefkeys::expiryUnit), QStringLiteral("days"));
    EXPECT_EQ(footer(), footerLead + "999 days" + footerTail);

    child<QCheckBox>("autoZipToggle")->click();
    EXPECT_EQ(prefs.boolean(prefkeys::autoZipApply), false);
}

TEST_F(SettingsPageTest, ShowingThePageReadsPreferencesAndPermissionsAfresh)
{
    openPopover(PopoverWindow::Page::settings);
    auto *downloadsRow = child<PermissionRow>("downloadsPermission");
    auto *shortcutsRow = child<PermissionRow>("shortcutsPermission");
    EXPECT_TRUE(downloadsRow->isGranted());
    EXPECT_TRUE(downloadsRow->findChild<QPushButton *>(QStringLiteral("openSettings"))->isHidden());
    EXPECT_FALSE(shortcutsRow->isGranted());
    EXPECT_FALSE(shortcutsRow->findChild<QPushButton *>(QStringLiteral("openSettings"))->isHidden());
    EXPECT_TRUE(shortcutsRow->detail().contains(QStringLiteral("Taken by another program: Super+Shift+T")));

    // Changed elsewhere while the page was closed.
    popover->hide();
    prefs.setValue(prefkeys::expiryValue, 45);
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("minutes"));
    prefs.setValue(prefkeys::autoZipApply, false);
    permissions->setAccessibilityCheck([] { return true; });
    openPopover(PopoverWindow::Page::settings);
    EXPECT_EQ(child<QLineEdit>("expiryValueField")->text(), QStringLiteral("45"));
    EXPECT_EQ(child<QComboBox>("expiryUnitPicker")->currentText(), QStringLiteral("Minutes"));
    EXPECT_FALSE(child<QCheckBox>("autoZipToggle")->isChecked());
    EXPECT_TRUE(shortcutsRow->isGranted());
    EXPECT_TRUE(shortcutsRow->findChild<QPushButton *>(QStringLiteral("openSettings"))->isHidden());
}

TEST_F(SettingsPageTest, OnboardingButtonsAskTheApp)
{
    openPopover(PopoverWindow::Page::settings);
    int replays = 0;
    int practiceFiles = 0;
    QObject::connect(popover.get(), &PopoverWindow::replayOnboardingRequested, [&] { ++replays; });
    QObject::connect(popover.get(), &PopoverWindow::practiceFileRequested, [&] { ++practiceFiles; });
    clickButton("replayOnboarding");
    clickButton("dropPracticeFile");
    clickButton("dropPracticeFile");
    EXPECT_EQ(replays, 1);
    EXPECT_EQ(practiceFiles, 2);
}

TEST(Translations, SpanishTextsAreEmbeddedAndEnglishNeedsNone)
{
    auto &app = *QCoreApplication::instance();
    EXPECT_FALSE(installTranslations(app, QLocale(QLocale::English, QLocale::UnitedStates)));
    ASSERT_TRUE(installTranslations(app, QLocale(QLocale::Spanish, QLocale::Spain)));
    EXPECT_EQ(QCoreApplication::translate("dowsel::PopoverItemDelegate", "Keep All"), QStringLiteral("Conservar todo"));
    EXPECT_EQ(displayName(ExpiryUnit::hours, 2), QStringLiteral("horas"));
    EXPECT_EQ(unitPickerLabel(ExpiryUnit::days, 1), QStringLiteral("Día"));
    // The island's badges speak the same language as the rest.
    EXPECT_EQ(DynamicIslandToastView::tr("Mark temporary"), QStringLiteral("Marcar temporal"));
    EXPECT_EQ(DynamicIslandToastView::tr("Custom time…"), QStringLiteral("Otro plazo…"));
    qDeleteAll(app.findChildren<QTranslator *>());
    EXPECT_EQ(displayName(ExpiryUnit::hours, 2), QStringLiteral("hours"));
}

} // namespace
