#include "ui/SettingsPage.h"

#include "app/LoginItem.h"
#include "app/PermissionsManager.h"
#include "platform/Preferences.h"
#include "ui/PermissionRow.h"
#include "ui/PopoverStyle.h"
#include "ui/ShortcutCommandsList.h"
#include "ui/model/HelpDocuments.h"
#include "ui/model/SettingsTexts.h"
#include "ui/model/SupportMail.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace dowsel {

namespace {

QString helpObjectName(HelpDocument document)
{
    switch (document) {
    case HelpDocument::readme:
        return QStringLiteral("helpReadme");
    case HelpDocument::privacy:
        return QStringLiteral("helpPrivacy");
    case HelpDocument::licence:
        return QStringLiteral("helpLicence");
    case HelpDocument::acknowledgements:
        return QStringLiteral("helpAcknowledgements");
    }
    return {};
}

QLabel *caption(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setFont(popoverstyle::captionFont(parent->font()));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, popoverstyle::secondaryText(parent->palette()));
    label->setPalette(palette);
    return label;
}

QLabel *sectionTitle(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setFont(popoverstyle::headlineFont(parent->font()));
    return label;
}

QFrame *divider(QWidget *parent)
{
    auto *line = new QFrame(parent);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Plain);
    QPalette palette = line->palette();
    palette.setColor(QPalette::WindowText, popoverstyle::divider(parent->palette()));
    line->setPalette(palette);
    return line;
}

QPushButton *linkButton(const QString &text, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setFlat(true);
    button->setCursor(Qt::PointingHandCursor);
    button->setStyleSheet(QStringLiteral("QPushButton { text-align: left; padding: 2px 0; color: %1; }")
                              .arg(popoverstyle::tint(parent->palette()).name()));
    return button;
}

QToolButton *stepperButton(Qt::ArrowType arrow, const QString &name, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(name);
    button->setArrowType(arrow);
    button->setFixedSize(18, 12);
    button->setAutoRepeat(true);
    return button;
}

} // namespace

SettingsPage::SettingsPage(Preferences &prefs, PermissionsManager &permissions,
                           std::function<QStringList()> blockedShortcuts, LoginItem *loginItem, QWidget *parent)
    : QWidget(parent),
      m_prefs(prefs),
      m_permissions(permissions),
      m_blockedShortcuts(std::move(blockedShortcuts)),
      m_loginItem(loginItem)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 12, 16, 16);
    layout->setSpacing(12);
    layout->addWidget(buildExpirySection());
    layout->addWidget(divider(this));
    layout->addWidget(buildArchiveSection());
    layout->addWidget(divider(this));
    if (m_loginItem) {
        layout->addWidget(buildLoginSection());
        layout->addWidget(divider(this));
    }
    layout->addWidget(buildPermissionsSection());
    layout->addWidget(divider(this));
    layout->addWidget(buildHelpSection());
    layout->addWidget(divider(this));
    auto *quit = new QPushButton(tr("Quit Dowsel"), this);
    quit->setObjectName(QStringLiteral("quitButton"));
    connect(quit, &QPushButton::clicked, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    layout->addWidget(quit, 0, Qt::AlignLeft);
    layout->addStretch(1);

    connect(&m_permissions, &PermissionsManager::changed, this, &SettingsPage::updatePermissions);
    reload();
}

QWidget *SettingsPage::buildExpirySection()
{
    auto *section = new QWidget(this);
    auto *layout = new QVBoxLayout(section);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(new QLabel(tr("Auto-delete temporary files after"), section));

    m_valueField = new QLineEdit(section);
    m_valueField->setObjectName(QStringLiteral("expiryValueField"));
    m_valueField->setFixedWidth(64);
    // Any whole number; only the stepper keeps to 1...999, and readers clamp.
    m_valueField->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("-?[0-9]{0,15}")), m_valueField));
    connect(m_valueField, &QLineEdit::textEdited, this, &SettingsPage::storeTypedValue);

    auto *stepper = new QWidget(section);
    auto *stepperLayout = new QVBoxLayout(stepper);
    stepperLayout->setContentsMargins(0, 0, 0, 0);
    stepperLayout->setSpacing(0);
    m_stepUp = stepperButton(Qt::UpArrow, QStringLiteral("stepUp"), stepper);
    m_stepDown = stepperButton(Qt::DownArrow, QStringLiteral("stepDown"), stepper);
    stepperLayout->addWidget(m_stepUp);
    stepperLayout->addWidget(m_stepDown);
    connect(m_stepUp, &QToolButton::clicked, this, [this] { step(+1); });
    connect(m_stepDown, &QToolButton::clicked, this, [this] { step(-1); });

    m_unitPicker = new QComboBox(section);
    m_unitPicker->setObjectName(QStringLiteral("expiryUnitPicker"));
    m_unitPicker->setMinimumWidth(110);
    for (ExpiryUnit unit : allExpiryUnits)
        m_unitPicker->addItem(QString(), rawValue(unit));
    connect(m_unitPicker, &QComboBox::activated, this, [this](int index) {
        m_prefs.setValue(prefkeys::expiryUnit, m_unitPicker->itemData(index).toString());
        updateExpiryTexts();
    });

    auto *row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_valueField);
    row->addWidget(stepper);
    row->addWidget(m_unitPicker);
    row->addStretch(1);
    layout->addLayout(row);

    m_footer = caption(QString(), section);
    m_footer->setObjectName(QStringLiteral("expiryFooter"));
    layout->addWidget(m_footer);
    return section;
}

QWidget *SettingsPage::buildArchiveSection()
{
    auto *section = new QWidget(this);
    auto *layout = new QVBoxLayout(section);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    m_autoZip = new QCheckBox(tr("Apply expiry to extracted archives"), section);
    m_autoZip->setObjectName(QStringLiteral("autoZipToggle"));
    connect(m_autoZip, &QCheckBox::toggled, this,
            [this](bool checked) { m_prefs.setValue(prefkeys::autoZipApply, checked); });
    layout->addWidget(m_autoZip);
    layout->addWidget(caption(tr("When you unzip a temporary archive, the extracted folder inherits the archive's "
                                 "expiry without prompting again."),
                              section));
    return section;
}

QWidget *SettingsPage::buildLoginSection()
{
    auto *section = new QWidget(this);
    auto *layout = new QVBoxLayout(section);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    m_startAtLogin = new QCheckBox(tr("Start Dowsel at login"), section);
    m_startAtLogin->setObjectName(QStringLiteral("startAtLoginToggle"));
    connect(m_startAtLogin, &QCheckBox::toggled, this, &SettingsPage::setStartAtLogin);
    layout->addWidget(m_startAtLogin);
    layout->addWidget(caption(tr("Dowsel is listed in your desktop's startup applications; turning it off there "
                                 "works too, and Dowsel never turns it back on by itself."),
                              section));
    m_loginError = caption(QString(), section);
    m_loginError->setObjectName(QStringLiteral("startAtLoginError"));
    m_loginError->hide();
    layout->addWidget(m_loginError);
    return section;
}

void SettingsPage::setStartAtLogin(bool enabled)
{
    const auto error = m_loginItem->setEnabled(enabled);
    m_loginError->setVisible(error.has_value());
    if (!error)
        return;
    m_loginError->setText(tr("Could not change the startup entry: %1").arg(*error));
    const QSignalBlocker blocker(m_startAtLogin);
    m_startAtLogin->setChecked(m_loginItem->isEnabled());
}

QWidget *SettingsPage::buildPermissionsSection()
{
    auto *section = new QWidget(this);
    auto *layout = new QVBoxLayout(section);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);
    layout->addWidget(sectionTitle(tr("Permissions"), section));

    m_downloadsRow = new PermissionRow(tr("Downloads access"), section);
    m_downloadsRow->setObjectName(QStringLiteral("downloadsPermission"));
    // The same words as the onboarding's Downloads step: it shows the folder in the file manager.
    m_downloadsRow->setActionTitle(tr("Open File Manager"));
    connect(m_downloadsRow, &PermissionRow::openSettingsClicked, this,
            [this] { m_permissions.openSystemSettings(PermissionsManager::Permission::downloads); });
    m_shortcutsRow = new PermissionRow(tr("Keyboard shortcuts"), section);
    m_shortcutsRow->setObjectName(QStringLiteral("shortcutsPermission"));
    connect(m_shortcutsRow, &PermissionRow::openSettingsClicked, this,
            [this] { m_permissions.openSystemSettings(PermissionsManager::Permission::shortcuts); });
    layout->addWidget(m_downloadsRow);
    layout->addWidget(m_shortcutsRow);
    m_commandsHolder = new QWidget(section);
    m_commandsHolder->setObjectName(QStringLiteral("shortcutCommands"));
    auto *commandsLayout = new QVBoxLayout(m_commandsHolder);
    commandsLayout->setContentsMargins(28, 0, 0, 4);
    m_commandsHolder->hide();
    layout->addWidget(m_commandsHolder);

    auto *replay = new QPushButton(tr("Replay Onboarding"), section);
    replay->setObjectName(QStringLiteral("replayOnboarding"));
    connect(replay, &QPushButton::clicked, this, &SettingsPage::replayOnboardingRequested);
    auto *practice = new QPushButton(tr("Drop a practice file"), section);
    practice->setObjectName(QStringLiteral("dropPracticeFile"));
    connect(practice, &QPushButton::clicked, this, &SettingsPage::practiceFileRequested);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addWidget(replay);
    buttons->addWidget(practice);
    buttons->addStretch(1);
    layout->addLayout(buttons);
    layout->addWidget(caption(
        tr("Drops a harmless practice file in your Downloads so you can rehearse the shortcuts on a real toast."),
        section));
    return section;
}

QWidget *SettingsPage::buildHelpSection()
{
    auto *section = new QWidget(this);
    auto *layout = new QVBoxLayout(section);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(sectionTitle(tr("Help & legal"), section));
    // The documents that ship with Dowsel, opened in the desktop's viewer for them.
    const QString applicationDir = QCoreApplication::applicationDirPath();
    for (HelpDocument document : allHelpDocuments) {
        auto *button = linkButton(helpDocumentTitle(document), section);
        button->setObjectName(helpObjectName(document));
        const QString path = findHelpDocument(document, applicationDir);
        button->setEnabled(!path.isEmpty());
        button->setToolTip(path);
        connect(button, &QPushButton::clicked, this, [path] { QDesktopServices::openUrl(QUrl::fromLocalFile(path)); });
        layout->addWidget(button, 0, Qt::AlignLeft);
    }
    auto *contact = linkButton(tr("Contact"), section);
    contact->setObjectName(QStringLiteral("contact"));
    connect(contact, &QPushButton::clicked, this, &SettingsPage::composeSupportMail);
    layout->addWidget(contact, 0, Qt::AlignLeft);
    return section;
}

void SettingsPage::reload()
{
    m_valueField->setText(QString::number(storedExpiryValue(m_prefs)));
    m_unitPicker->setCurrentIndex(m_unitPicker->findData(rawValue(currentExpiryUnit(m_prefs))));
    {
        const QSignalBlocker blocker(m_autoZip);
        m_autoZip->setChecked(autoZipApplyEnabled(m_prefs));
    }
    if (m_startAtLogin) {
        const QSignalBlocker blocker(m_startAtLogin);
        m_startAtLogin->setChecked(m_loginItem->isEnabled()); // the desktop's settings may have changed it
        m_loginError->hide();
    }
    updateExpiryTexts();
    m_permissions.refresh();
    updatePermissions();
}

void SettingsPage::step(int delta)
{
    const qint64 value = steppedExpiryValue(storedExpiryValue(m_prefs), delta);
    m_prefs.setValue(prefkeys::expiryValue, value);
    m_valueField->setText(QString::number(value));
    updateExpiryTexts();
}

void SettingsPage::storeTypedValue(const QString &text)
{
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    if (!isNumber)
        return; // "" or "-" while typing: keep what is stored
    m_prefs.setValue(prefkeys::expiryValue, value);
    updateExpiryTexts();
}

void SettingsPage::updateExpiryTexts()
{
    const qint64 value = storedExpiryValue(m_prefs);
    for (int i = 0; i < m_unitPicker->count(); ++i) {
        const auto unit = expiryUnitFromRaw(m_unitPicker->itemData(i).toString());
        m_unitPicker->setItemText(i, unitPickerLabel(unit.value_or(ExpiryUnit::hours), value));
    }
    m_footer->setText(expiryFooterText(m_prefs));
    m_stepUp->setEnabled(value < maximumStepperValue);
    m_stepDown->setEnabled(value > minimumStepperValue);
}

void SettingsPage::updatePermissions()
{
    m_downloadsRow->setState(m_permissions.hasDownloadsAccess(),
                             tr("Lets Dowsel see new files in your Downloads folder."));
    const bool shortcuts = m_permissions.hasAccessibility();
    const ShortcutsGrant grant = m_permissions.shortcutsGrant();
    QString shortcutsDetail = shortcuts
        ? tr("The global shortcuts let you keep, move or clean a download without reaching for the mouse.")
        : tr("The global shortcuts let you keep, move or clean a download without reaching for the mouse. "
             "Free Dowsel's key combinations in your desktop's keyboard settings to turn them on; the "
             "toast's buttons work meanwhile.");
    const QString unavailable = m_permissions.shortcutsUnavailableReason();
    if (!shortcuts && !unavailable.isEmpty())
        shortcutsDetail = unavailable;
    if (shortcuts && !grant.how.isEmpty())
        shortcutsDetail += QLatin1Char('\n') + tr("Working: %1.").arg(grant.how);
    const QStringList blocked = m_blockedShortcuts ? m_blockedShortcuts() : QStringList();
    if (!blocked.isEmpty() && grant.route == ShortcutRoute::keyGrabs)
        shortcutsDetail += QLatin1Char('\n') + tr("Taken by another program: %1").arg(blocked.join(QStringLiteral(", ")));
    m_shortcutsRow->setActionAvailable(m_permissions.canOpenSystemSettings(PermissionsManager::Permission::shortcuts));
    m_shortcutsRow->setState(shortcuts, shortcutsDetail);

    if (grant.offersCommands && !m_commands) {
        const QString desktop = m_permissions.session() ? m_permissions.session()->desktop : QString();
        m_commands = new ShortcutCommandsList(currentCommandProgram(), desktop, ShortcutCommandsList::Look::page,
                                              m_commandsHolder);
        m_commandsHolder->layout()->addWidget(m_commands);
        connect(m_commands, &ShortcutCommandsList::confirmedChanged, this,
                [this](bool confirmed) { m_permissions.setCommandsConfirmed(confirmed); });
    }
    if (m_commands) {
        const QStringList seen = m_permissions.commandsSeen();
        m_commands->setConfirmed(m_permissions.commandsConfirmed() || !seen.isEmpty());
        m_commands->setSeen(seen);
    }
    m_commandsHolder->setVisible(grant.offersCommands);
}

void SettingsPage::composeSupportMail()
{
    const QString body = supportMailBody(applicationVersionText(), applicationBuildText(), currentSystemDescription());
    QDesktopServices::openUrl(supportMailUrl(body));
}

} // namespace dowsel
