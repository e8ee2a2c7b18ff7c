#pragma once

#include "platform/KeyGrabber.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>
#include <QVariantMap>

#include <functional>
#include <map>

namespace dowsel {

// Global shortcuts through the desktop's org.freedesktop.portal.GlobalShortcuts (KDE Plasma,
// GNOME 48 and later, Hyprland): Dowsel names itself to the portal (its desktop entry), creates
// one session at start and binds its shortcuts with its default combinations as preferred
// triggers, unless the desktop still holds them from an earlier start. The portal owns the keys for good, so
// "grabbing" only chooses which activations reach Dowsel: none while no toast is up.
class PortalKeyGrabber final : public QObject, public KeyGrabber {
    Q_OBJECT
public:
    // `unassigned`: the portal took the shortcuts but has no keys for them yet (KDE Plasma asks
    // the user to assign them in its settings); ShortcutsChanged later brings them.
    enum class State { idle, connecting, bound, unassigned, missing, declined };

    explicit PortalKeyGrabber(QDBusConnection bus, QObject *parent = nullptr);

    // Creates the session and binds the shortcuts; onAvailabilityChanged tells how it went.
    void start();
    State state() const { return m_state; }
    // What the portal or the user said when it is missing or declined.
    QString detail() const { return m_detail; }

    bool isAvailable() const override { return m_state == State::bound; }
    bool isDesktopWide() const override { return true; }
    // Nothing is ever held by another program here: the portal settles conflicts with the user.
    std::vector<KeyCombination> grab(const std::vector<KeyCombination> &combinations) override;
    void ungrabAll() override;

    // The shortcut ids Dowsel binds and the preferred trigger of each, as the portal spells it.
    static const std::map<QString, std::pair<KeyCombination, QString>> &shortcuts();

private Q_SLOTS:
    void onCreateSessionResponse(uint response, const QVariantMap &results);
    void onListResponse(uint response, const QVariantMap &results);
    void onBindResponse(uint response, const QVariantMap &results);
    void onActivated(const QDBusObjectPath &session, const QString &shortcutId, qulonglong timestamp,
                     const QVariantMap &options);
    void onShortcutsChanged(const QDBusMessage &message);

private:
    void registerApp();
    void createSession();
    void bind();
    QString requestPath(const QString &token) const;
    bool awaitResponse(const QString &token, const char *slot);
    // Calls `method`, whose answer comes in a Response to `slot`; an error reply goes to
    // `onError`, by default the portal counting as missing.
    void call(const QString &method, const QVariantList &arguments, const QString &token, const char *slot,
              std::function<void(const QString &)> onError = {});
    void finish(State state, const QString &detail = {});
    void setState(State state, const QString &detail);

    QDBusConnection m_bus;
    State m_state = State::idle;
    QString m_detail;
    QString m_session;
    QString m_pendingRequest;
    std::vector<KeyCombination> m_active;
};

} // namespace dowsel
