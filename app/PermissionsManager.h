#pragma once

#include "core/Session.h"

#include <QObject>

#include <functional>
#include <optional>

namespace dowsel {

class Preferences;

// What Dowsel may do on this desktop. Downloads access: the folder can be listed. Shortcuts
// ("accessibility"): the global key grabs can be made; the keyboard layer reports that
// through `setAccessibilityCheck`.
class PermissionsManager final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool hasAccessibility READ hasAccessibility NOTIFY changed)
    Q_PROPERTY(bool hasDownloadsAccess READ hasDownloadsAccess NOTIFY changed)
public:
    enum class Permission { downloads, shortcuts };

    PermissionsManager(const Preferences &prefs, QByteArray downloadsPath, QObject *parent = nullptr);

    bool hasAccessibility() const { return m_hasAccessibility; }
    bool hasDownloadsAccess() const { return m_hasDownloadsAccess; }

    void setAccessibilityCheck(std::function<bool()> check);
    // The session the grabs are made in: on Wayland they reach X11 windows only, so they
    // never count as granted there. Unset: the grabs decide alone.
    void setSession(const Session &session);
    std::optional<Session> session() const { return m_session; }
    // Whether the keys reach Dowsel on any session (bound through the desktop's portal).
    void setDesktopWideCheck(std::function<bool()> check);
    // Why the shortcuts cannot be granted on this session, for the settings and `dowsel
    // status`; empty when the session allows them.
    QString shortcutsUnavailableReason() const;
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
    const Preferences &m_prefs;
    QByteArray m_downloadsPath;
    std::function<bool()> m_accessibilityCheck;
    std::optional<Session> m_session;
    std::function<bool()> m_desktopWideCheck;
    std::function<void(const QByteArray &)> m_reveal;
    bool m_hasAccessibility = false;
    bool m_hasDownloadsAccess = false;
};

} // namespace dowsel
