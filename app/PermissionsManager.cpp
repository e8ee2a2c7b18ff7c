#include "app/PermissionsManager.h"

#include "app/ShortcutCommands.h"
#include "platform/Preferences.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

#include <dirent.h>

namespace dowsel {

namespace {

QString grantSignature(const ShortcutsGrant &grant)
{
    return QString::number(int(grant.route)) + QLatin1Char('|') + grant.reason + QLatin1Char('|') + grant.how;
}

} // namespace

PermissionsManager::PermissionsManager(Preferences &prefs, QByteArray downloadsPath, QObject *parent)
    : QObject(parent), m_prefs(prefs), m_downloadsPath(std::move(downloadsPath)), m_grantSignature(grantSignature({}))
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

void PermissionsManager::setPortalCheck(std::function<PortalStatus()> check)
{
    m_portalCheck = std::move(check);
}

std::optional<PortalStatus> PermissionsManager::portalStatus() const
{
    if (!m_portalCheck)
        return std::nullopt;
    return m_portalCheck();
}

bool PermissionsManager::commandsConfirmed() const
{
    return m_prefs.boolean(prefkeys::shortcutCommandsBound).value_or(false);
}

QStringList PermissionsManager::commandsSeen() const
{
    return m_prefs.textList(prefkeys::shortcutCommandsSeen).value_or(QStringList());
}

void PermissionsManager::setCommandsConfirmed(bool confirmed)
{
    if (confirmed) {
        m_prefs.setValue(prefkeys::shortcutCommandsBound, true);
    } else {
        m_prefs.remove(prefkeys::shortcutCommandsBound);
        m_prefs.remove(prefkeys::shortcutCommandsSeen);
    }
    refresh();
}

void PermissionsManager::noteCommandFromKeyBinding(const QString &action)
{
    QStringList seen = commandsSeen();
    if (seen.contains(action))
        return;
    seen.append(action);
    m_prefs.setValue(prefkeys::shortcutCommandsSeen, QJsonArray::fromStringList(seen));
    refresh();
}

ShortcutsGrant PermissionsManager::shortcutsGrant() const
{
    ShortcutsGrant grant;
    if (!m_session || m_session->type != SessionType::wayland) {
        grant.granted = m_accessibilityCheck && m_accessibilityCheck();
        return grant;
    }
    const PortalStatus portal = portalStatus().value_or(PortalStatus{});
    if (portal.answer == PortalAnswer::bound) {
        grant.granted = true;
        grant.route = ShortcutRoute::portal;
        grant.how = tr("the desktop's shortcuts portal bound them");
        return grant;
    }
    grant.route = ShortcutRoute::commands;
    grant.offersCommands = portal.answer != PortalAnswer::waiting;
    const QStringList seen = commandsSeen();
    if (!seen.isEmpty()) {
        grant.granted = true;
        QStringList commands;
        for (const QString &action : seen)
            commands << QStringLiteral("“dowsel toast %1”").arg(action);
        grant.how = tr("%1 came from outside a terminal, as from a key binding").arg(commands.join(QStringLiteral(", ")));
        return grant;
    }
    if (commandsConfirmed()) {
        grant.granted = true;
        grant.how = tr("you said you bound the “dowsel toast” commands");
        return grant;
    }
    const QString bindCommands =
        tr("Bind the “dowsel toast” commands (keep, move, dismiss…) in your desktop's keyboard settings and tick "
           "“I have bound these commands”; the toast's buttons work meanwhile.");
    switch (portal.answer) {
    case PortalAnswer::waiting:
        grant.route = ShortcutRoute::portal;
        grant.reason = tr("Waiting for the desktop's shortcuts portal to answer.");
        break;
    case PortalAnswer::unassigned:
        grant.reason = tr("The desktop took Dowsel's shortcuts but gave them no keys yet. Give Dowsel's entries "
                          "keys in the desktop's shortcut settings if it lists them, or bind the “dowsel toast” "
                          "commands there and tick “I have bound these commands”; the toast's buttons work "
                          "meanwhile.");
        break;
    case PortalAnswer::declined:
        grant.reason = tr("The shortcuts were declined in the desktop's dialog.") + QLatin1Char(' ') + bindCommands;
        break;
    case PortalAnswer::bound:
    case PortalAnswer::missing:
        grant.reason = tr("This desktop has no global shortcuts portal, and on Wayland Dowsel's own key "
                          "combinations reach it only while an X11 window has the focus.")
            + QLatin1Char(' ') + bindCommands;
        break;
    }
    return grant;
}

QString PermissionsManager::shortcutsUnavailableReason() const
{
    if (!m_session || m_session->type != SessionType::wayland)
        return {};
    return shortcutsGrant().reason;
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
    const ShortcutsGrant grant = shortcutsGrant();
    if (grant.granted != m_hasAccessibility) {
        m_hasAccessibility = grant.granted;
        changedAny = true;
    }
    // The route and the words change too while the answer stays "no" (a portal that answers).
    const QString signature = grantSignature(grant);
    if (signature != m_grantSignature) {
        m_grantSignature = signature;
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
