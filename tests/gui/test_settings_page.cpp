#include "PopoverTestSupport.h"

#include "core/ExpirySettings.h"
#include "ui/PermissionRow.h"
#include "ui/SettingsPage.h"
#include "toast/gui/DynamicIslandToastView.h"
#include "ui/Translations.h"
#include "ui/model/HelpDocuments.h"
#include "ui/model/SettingsTexts.h"
#include "ui/model/SupportMail.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QUrlQuery>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QTranslator>

using namespace dowsel;
using namespace dowsel::testing;

// Stands in for the desktop: records what QDesktopServices would open.
class UrlRecorder : public QObject {
    Q_OBJECT
public:
    QList<QUrl> opened;
public Q_SLOTS:
    void open(const QUrl &url) { opened.append(url); }
};

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
    // The button only where the desktop has keyboard settings to open.
    EXPECT_EQ(shortcutsRow->findChild<QPushButton *>(QStringLiteral("openSettings"))->isHidden(),
              !permissions->canOpenSystemSettings(PermissionsManager::Permission::shortcuts));
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

TEST_F(SettingsPageTest, StartAtLoginFollowsTheAutostartEntryAndTurnsItOnAndOff)
{
    openPopover(PopoverWindow::Page::settings);
    auto *toggle = child<QCheckBox>("startAtLoginToggle");
    EXPECT_EQ(toggle->text(), QStringLiteral("Start Dowsel at login"));
    EXPECT_FALSE(toggle->isChecked()); // no entry yet

    toggle->click();
    EXPECT_EQ(loginItem->state(), LoginItem::State::enabled);
    QFile entry(autostartEntry());
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    EXPECT_TRUE(entry.readAll().contains("\nExec=\"/usr/bin/dowsel\"\n"));
    entry.close();

    toggle->click();
    EXPECT_EQ(loginItem->state(), LoginItem::State::disabled);
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    EXPECT_TRUE(entry.readAll().contains("\nHidden=true\n"));
    entry.close();
    EXPECT_TRUE(loginItem->registerAtStart() == std::nullopt);
    EXPECT_EQ(loginItem->state(), LoginItem::State::disabled); // a restart keeps it off

    // Turned on, then off again in the desktop's own startup settings: the page shows it.
    toggle->click();
    popover->hide();
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    QByteArray text = entry.readAll();
    entry.close();
    ASSERT_TRUE(entry.open(QIODevice::WriteOnly | QIODevice::Truncate));
    entry.write(text.replace("X-GNOME-Autostart-enabled=true", "X-GNOME-Autostart-enabled=false"));
    entry.close();
    openPopover(PopoverWindow::Page::settings);
    EXPECT_FALSE(toggle->isChecked());

    // A write that cannot happen is said, and the toggle shows what is true.
    ASSERT_TRUE(QFile::remove(autostartEntry()));
    ASSERT_TRUE(QDir(dir.path()).rmdir(QStringLiteral("autostart")));
    QFile blocker(dir.path() + QStringLiteral("/autostart"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    toggle->click();
    EXPECT_FALSE(toggle->isChecked());
    auto *error = child<QLabel>("startAtLoginError");
    EXPECT_FALSE(error->isHidden());
    EXPECT_TRUE(error->text().startsWith(QStringLiteral("Could not change the startup entry: ")));
}

TEST_F(SettingsPageTest, PermissionRowsNameTheirActionAndSayWhatToDo)
{
    openPopover(PopoverWindow::Page::settings);
    auto *downloadsRow = child<PermissionRow>("downloadsPermission");
    auto *shortcutsRow = child<PermissionRow>("shortcutsPermission");
    // The onboarding's Downloads step calls the same action "Open File Manager".
    EXPECT_EQ(downloadsRow->findChild<QPushButton *>(QStringLiteral("openSettings"))->text(),
              QStringLiteral("Open File Manager"));
    EXPECT_TRUE(shortcutsRow->detail().contains(QStringLiteral("keep, move or clean a download")));
    EXPECT_TRUE(shortcutsRow->detail().contains(QStringLiteral("keyboard settings")));

    ASSERT_EQ(::rmdir(downloads.constData()), 0);
    permissions->setAccessibilityCheck([] { return true; });
    popover->hide();
    openPopover(PopoverWindow::Page::settings);
    EXPECT_FALSE(downloadsRow->isGranted());
    EXPECT_FALSE(downloadsRow->findChild<QPushButton *>(QStringLiteral("openSettings"))->isHidden());
    EXPECT_TRUE(shortcutsRow->isGranted());
    EXPECT_FALSE(shortcutsRow->detail().contains(QStringLiteral("keyboard settings"))); // nothing to do
}

TEST_F(SettingsPageTest, HelpRowsOpenTheDocumentsThatShip)
{
    openPopover(PopoverWindow::Page::settings);
    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(QStringLiteral("file"), &recorder, "open");
    QDesktopServices::setUrlHandler(QStringLiteral("mailto"), &recorder, "open");
    const std::pair<const char *, const char *> rows[] = {{"helpReadme", "/README.md"},
                                                          {"helpPrivacy", "/PRIVACY.md"},
                                                          {"helpLicence", "/LICENSE"},
                                                          {"helpAcknowledgements", "/ACKNOWLEDGEMENTS.md"}};
    for (const auto &[name, file] : rows) {
        SCOPED_TRACE(name);
        auto *row = child<QPushButton>(name);
        ASSERT_TRUE(row->isEnabled()); // found in the sources this test was built from
        row->click();
        ASSERT_FALSE(recorder.opened.isEmpty());
        const QUrl url = recorder.opened.takeLast();
        EXPECT_TRUE(url.isLocalFile());
        EXPECT_TRUE(url.toLocalFile().endsWith(QString::fromLatin1(file)));
        EXPECT_TRUE(QFileInfo(url.toLocalFile()).isFile());
        EXPECT_FALSE(url.toString().contains(QStringLiteral("http")));
    }
    QFile privacy(findHelpDocument(HelpDocument::privacy, QCoreApplication::applicationDirPath()));
    ASSERT_TRUE(privacy.open(QIODevice::ReadOnly));
    const QByteArray statement = privacy.readAll();
    EXPECT_TRUE(statement.contains("sends nothing anywhere"));
    EXPECT_TRUE(statement.contains("settings.json") && statement.contains("Sivra.sqlite"));

    clickButton("contact");
    ASSERT_EQ(recorder.opened.size(), 1);
    const QString body = QUrlQuery(recorder.opened.first()).queryItemValue(QStringLiteral("body"), QUrl::FullyDecoded);
    EXPECT_TRUE(body.contains(QStringLiteral("Dowsel ")));
    EXPECT_TRUE(body.endsWith(currentSystemDescription())) << body.toStdString();
    EXPECT_TRUE(currentSystemDescription().contains(QStringLiteral(", Linux "))); // distribution and kernel
    QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
    QDesktopServices::unsetUrlHandler(QStringLiteral("mailto"));
}

TEST(HelpDocuments, AnInstalledCopyComesFirstAndTheLicenceFallsBackToTheSystemsCopy)
{
    QTemporaryDir prefix;
    ASSERT_TRUE(QDir(prefix.path()).mkpath(QStringLiteral("bin")));
    ASSERT_TRUE(QDir(prefix.path()).mkpath(QStringLiteral("share/dowsel")));
    QFile readme(prefix.path() + QStringLiteral("/share/dowsel/README.md"));
    ASSERT_TRUE(readme.open(QIODevice::WriteOnly));
    readme.close();
    const QString bin = prefix.path() + QStringLiteral("/bin");
    EXPECT_EQ(findHelpDocument(HelpDocument::readme, bin), readme.fileName());
    const QStringList licence = helpDocumentCandidates(HelpDocument::licence, bin);
    EXPECT_EQ(licence.first(), prefix.path() + QStringLiteral("/share/dowsel/LICENSE"));
    EXPECT_EQ(licence.last(), QStringLiteral("/usr/share/common-licenses/GPL-3"));
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

#include "test_settings_page.moc"
