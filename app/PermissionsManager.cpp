#include "app/PermissionsManager.h"

#include "platform/Preferences.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

#include <dirent.h>

namespace dowsel {

PermissionsManager::PermissionsManager(const Preferences &prefs, QByteArray downloadsPath, QObject *parent)
    : QObject(parent), m_prefs(prefs), m_downloadsPath(std::move(downloadsPath))
{
    if (m_prefs.boolean(QStringLiteral("hasCompletedOnboarding")).value_or(false))
        m_hasDownloadsAccess = checkDownloadsAccess();
}

void PermissionsManager::setAccessibilityCheck(std::function<bool()> check)
{
    m_accessibilityCheck = std::move(check);
}

void PermissionsManager::setSession(const Session &session)
{
    m_session = session;
}

void PermissionsManager::setDesktopWideCheck(std::function<bool()> check)
{
    m_desktopWideCheck = std::move(check);
}

QString PermissionsManager::shortcutsUnavailableReason() const
{
    if (!m_session || m_session->keyGrabsReachAllWindows() || m_session->type != SessionType::wayland)
        return {};
    if (m_desktopWideCheck && m_desktopWideCheck())
        return {};
    return tr("Global shortcuts are not available on this session: on Wayland, Dowsel's key combinations reach it "
              "only while an X11 window has the focus. Bind the commands \"dowsel toast keep\", \"dowsel toast "
              "move\" and \"dowsel toast dismiss\" in your desktop's keyboard settings; the toast's buttons work "
              "meanwhile.");
}

bool PermissionsManager::checkDownloadsAccess() const
{
    DIR *dir = ::opendir(m_downloadsPath.constData());
    if (!dir)
        return false;
    ::closedir(dir);
    return true;
}

std::pair<bool, bool> PermissionsManager::refresh()
{
    bool changedAny = false;
    const bool sessionAllows = shortcutsUnavailableReason().isEmpty();
    const bool accessibility = sessionAllows && m_accessibilityCheck && m_accessibilityCheck();
    if (accessibility != m_hasAccessibility) {
        m_hasAccessibility = accessibility;
        changedAny = true;
    }
    if (m_prefs.boolean(QStringLiteral("hasCompletedOnboarding")).value_or(false)) {
        const bool downloads = checkDownloadsAccess();
        if (downloads != m_hasDownloadsAccess) {
            m_hasDownloadsAccess = downloads;
            changedAny = true;
        }
    }
    if (changedAny)
        Q_EMIT changed();
    return {m_hasAccessibility, m_hasDownloadsAccess};
}

namespace {

struct SettingsProgram {
    const char *program;
    QStringList arguments;
};

// The keyboard settings of the common desktops; the first one installed wins.
QList<SettingsProgram> keyboardSettingsPrograms()
{
    return {{"gnome-control-center", {QStringLiteral("keyboard")}},
            {"systemsettings", {QStringLiteral("kcm_keys")}},
            {"xfce4-keyboard-settings", {}},
            {"mate-keybinding-properties", {}},
            {"cinnamon-settings", {QStringLiteral("keyboard")}}};
}

} // namespace

void PermissionsManager::setFileManagerReveal(std::function<void(const QByteArray &)> reveal)
{
    m_reveal = std::move(reveal);
}

bool PermissionsManager::canOpenSystemSettings(Permission permission) const
{
    if (permission == Permission::downloads)
        return true;
    for (const SettingsProgram &candidate : keyboardSettingsPrograms()) {
        if (!QStandardPaths::findExecutable(QString::fromLatin1(candidate.program)).isEmpty())
            return true;
    }
    return false;
}

void PermissionsManager::openSystemSettings(Permission permission) const
{
    // Arguments never pass through a shell.
    if (permission == Permission::downloads) {
        // No folder consent on Linux: the folder itself, selected in the file manager.
        if (m_reveal) {
            m_reveal(m_downloadsPath);
            return;
        }
        const QString parent = QFileInfo(QFile::decodeName(m_downloadsPath)).absolutePath();
        const QString open = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
        if (!open.isEmpty())
            QProcess::startDetached(open, {parent});
        return;
    }
    for (const SettingsProgram &candidate : keyboardSettingsPrograms()) {
        const QString program = QStandardPaths::findExecutable(QString::fromLatin1(candidate.program));
        if (!program.isEmpty() && QProcess::startDetached(program, candidate.arguments))
            return;
    }
}

} // namespace dowsel
