#pragma once

#include "app/ShortcutCommands.h"
#include "core/Session.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <optional>

namespace dowsel {

class Preferences;

struct PortalStatus {
    PortalAnswer answer = PortalAnswer::missing;
    QString detail; // what the portal said, for `dowsel status`
};

// Whether the shortcuts work, by which route, and in words why or why not.
struct ShortcutsGrant {
    bool granted = false;
    ShortcutRoute route = ShortcutRoute::keyGrabs;
    // Why they do not work and what to do; empty when granted or when the key grabs alone
    // decide (X11).
    QString reason;
    // How they work when granted: "the desktop's shortcuts portal bound them", ...
    QString how;
    // The `dowsel toast` commands are what the user can bind (Wayland, no keys from the portal).
    bool offersCommands = false;
};

// What Dowsel may do on this desktop. Downloads access: the folder can be listed. Shortcuts
// ("accessibility"): on X11, the global key grabs can be made (`setAccessibilityCheck`); on
// Wayland, the desktop's portal bound them, or the user bound the `dowsel toast` commands
// (said so, or one arrived from a key binding).
class PermissionsManager final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool hasAccessibility READ hasAccessibility NOTIFY changed)
    Q_PROPERTY(bool hasDownloadsAccess READ hasDownloadsAccess NOTIFY changed)
public:
    enum class Permission { downloads, shortcuts };

    PermissionsManager(Preferences &prefs, QByteArray downloadsPath, QObject *parent = nullptr);

    bool hasAccessibility() const { return m_hasAccessibility; }
    bool hasDownloadsAccess() const { return m_hasDownloadsAccess; }

    void setAccessibilityCheck(std::function<bool()> check);
    // The session the grabs are made in: on Wayland they reach X11 windows only, so they
    // never count as granted there. Unset: the grabs decide alone.
    void setSession(const Session &session);
    std::optional<Session> session() const { return m_session; }
    // How the desktop's portal answered; unset on Wayland: there is none.
    void setPortalCheck(std::function<PortalStatus()> check);
    std::optional<PortalStatus> portalStatus() const;
    // The shortcuts on the current session, read afresh.
    ShortcutsGrant shortcutsGrant() const;
    // Why the shortcuts are not granted on this session, for the settings and `dowsel
    // status`; empty when the session allows them or the key grabs alone decide.
    QString shortcutsUnavailableReason() const;

    // The user's word that the `dowsel toast` commands are bound. Clearing it also forgets
    // the commands seen from key bindings. Refreshes.
    bool commandsConfirmed() const;
    void setCommandsConfirmed(bool confirmed);
    // A `dowsel toast ACTION` that came from outside a terminal, as a key binding sends it:
    // remembered, and proof that the commands are bound. Refreshes.
    void noteCommandFromKeyBinding(const QString &action);
    QStringList commandsSeen() const;
    // Re-reads both; the Downloads check runs only once onboarding is complete, so a first
    // launch never touches the folder before the user is asked.
    std::pair<bool, bool> refresh();
    bool checkDownloadsAccess() const;
    // Opens the desktop's own place for the permission: the keyboard settings for the
    // shortcuts; for Downloads, the folder shown in the file manager, where its owner and
    // permissions can be changed.
    void openSystemSettings(Permission permission) const;
    // Whether this desktop has such a place (no keyboard settings program: no button).
    bool canOpenSystemSettings(Permission permission) const;
    // How the file manager shows an item; without it the folder's parent is opened.
    void setFileManagerReveal(std::function<void(const QByteArray &)> reveal);

Q_SIGNALS:
    void changed();

private:
    Preferences &m_prefs;
    QByteArray m_downloadsPath;
    std::function<bool()> m_accessibilityCheck;
    std::optional<Session> m_session;
    std::function<PortalStatus()> m_portalCheck;
    std::function<void(const QByteArray &)> m_reveal;
    bool m_hasAccessibility = false;
    bool m_hasDownloadsAccess = false;
    QString m_grantSignature; // what the shortcuts grant said at the last refresh
};

} // namespace dowsel
