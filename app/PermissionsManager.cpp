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
    const bool accessibility = m_accessibilityCheck ? m_accessibilityCheck() : false;
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

void PermissionsManager::openSystemSettings(Permission permission) const
{
    // The first settings program found wins; arguments never pass through a shell.
    struct Candidate {
        const char *program;
        QStringList arguments;
    };
    QList<Candidate> candidates;
    if (permission == Permission::shortcuts) {
        candidates = {{"gnome-control-center", {QStringLiteral("keyboard")}},
                      {"systemsettings", {QStringLiteral("kcm_keys")}},
                      {"xfce4-keyboard-settings", {}}};
    } else {
        // No folder consent on Linux: show the folder's owner and permissions in the file manager.
        const QString parent = QFileInfo(QFile::decodeName(m_downloadsPath)).absolutePath();
        candidates = {{"xdg-open", {parent}}};
    }
    for (const Candidate &candidate : candidates) {
        const QString program = QStandardPaths::findExecutable(QString::fromLatin1(candidate.program));
        if (!program.isEmpty() && QProcess::startDetached(program, candidate.arguments))
            return;
    }
}

} // namespace dowsel
