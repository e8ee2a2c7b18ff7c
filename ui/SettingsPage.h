#pragma once

#include <QWidget>

#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QToolButton;

namespace dowsel {

class LoginItem;
class PermissionRow;
class ShortcutCommandsList;
class PermissionsManager;
class Preferences;

// The popover's settings: default expiry, the archive rule, start at login, the two
// permissions, onboarding replay and practice file, help and legal documents, support mail
// and quit. The expiry field, its stepper, the unit picker and the archive toggle write
// straight to the preferences; the login toggle writes the autostart entry.
class SettingsPage final : public QWidget {
    Q_OBJECT
public:
    // `blockedShortcuts` lists the key combinations another program holds ("Super+Shift+T").
    // Without a `loginItem` the login toggle is left out.
    SettingsPage(Preferences &prefs, PermissionsManager &permissions, std::function<QStringList()> blockedShortcuts,
                 LoginItem *loginItem = nullptr, QWidget *parent = nullptr);

    // Reads the preferences and the permission state afresh; run each time the page is shown.
    void reload();
    // The `dowsel toast` commands to bind; null until a Wayland session without the portal's
    // keys first shows them.
    ShortcutCommandsList *shortcutCommands() const { return m_commands; }

Q_SIGNALS:
    void replayOnboardingRequested();
    void practiceFileRequested();

private:
    QWidget *buildExpirySection();
    QWidget *buildArchiveSection();
    QWidget *buildLoginSection();
    void setStartAtLogin(bool enabled);
    QWidget *buildPermissionsSection();
    QWidget *buildHelpSection();
    void step(int delta);
    void storeTypedValue(const QString &text);
    void updateExpiryTexts();
    void updatePermissions();
    void composeSupportMail();

    Preferences &m_prefs;
    PermissionsManager &m_permissions;
    std::function<QStringList()> m_blockedShortcuts;
    QLineEdit *m_valueField = nullptr;
    QToolButton *m_stepUp = nullptr;
    QToolButton *m_stepDown = nullptr;
    QComboBox *m_unitPicker = nullptr;
    QLabel *m_footer = nullptr;
    QCheckBox *m_autoZip = nullptr;
    LoginItem *m_loginItem = nullptr;
    QCheckBox *m_startAtLogin = nullptr;
    QLabel *m_loginError = nullptr;
    PermissionRow *m_downloadsRow = nullptr;
    PermissionRow *m_shortcutsRow = nullptr;
    QWidget *m_commandsHolder = nullptr;
    // Made the first time the commands are offered (a Wayland session without the portal's keys).
    ShortcutCommandsList *m_commands = nullptr;
};

} // namespace dowsel
