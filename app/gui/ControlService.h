#pragma once

#include "core/TrackedFileStore.h"
#include "toast/GlobalShortcuts.h"

#include <QDBusContext>
#include <QJsonObject>
#include <QObject>

#include <functional>
#include <optional>

namespace dowsel {

class CleanupService;
class Clock;
class Preferences;

inline constexpr auto dbusServiceName = "app.dowsel.Dowsel";
inline constexpr auto dbusObjectPath = "/app/dowsel/Dowsel";
inline constexpr auto dbusInterfaceName = "app.dowsel.Dowsel1";

enum class BusClaim { claimed, heldByAnother, noBus };
// Claims Dowsel's name on the session bus: the one-instance-per-session lock.
BusClaim claimSessionBusName(QString *detail);
// Asks the Dowsel that holds the name to show its popover.
bool askRunningInstanceToShowPopover();

// The scripting surface on the session bus. Paths travel as byte arrays, so any file name
// works; replies are sent when the store has answered, the main thread never waits.
class ControlService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.dowsel.Dowsel1")
public:
    ControlService(TrackedFileActor &store, CleanupService &cleanup, const Clock &clock, Executor &mainExecutor,
                   QObject *parent = nullptr);

    // Exports the object on the session bus (after the name was claimed).
    bool exportOnSessionBus();

    // What Toast() runs: an action on the toast that is up, as its key would, with the
    // activation token the caller was given (empty when none).
    std::function<std::optional<CommandRefusal>(ShortcutAction, std::optional<Seconds>, const QString &activationToken)>
        runToastCommand;
    // What Status() reports.
    std::function<QJsonObject()> status;
    // A Toast() whose caller has no terminal, as a desktop's key binding runs it: `action`
    // is the command's action ("keep").
    std::function<void(const QString &action)> onCommandFromKeyBinding;

public Q_SLOTS:
    // JSON array of every tracked file: path, name, state, size and dates (ISO 8601).
    QString ListFiles();
    // Marks the tracked item at `path` temporary, for `duration` ("2h") or the default
    // expiry when empty. Returns the expiry date (ISO 8601).
    QString Keep(const QByteArray &path, const QString &duration);
    void Dismiss(const QByteArray &path);
    // Moves the tracked item at `path` to the Trash now; an error, and the item still
    // tracked, when the Trash refuses it.
    void Trash(const QByteArray &path);
    // Puts back an item Dowsel moved to the Trash, named by its original path or its name;
    // under a free name beside it when another item has its path. Returns where it is now.
    QByteArray Restore(const QByteArray &file);
    // Acts on the toast that is up: "keep", "keep-for" (with `duration`), "time", "move",
    // "more", "open", "copy", "share", "delete", "dismiss". An error when no toast is showing.
    void Toast(const QString &action, const QString &duration);
    // Toast(), for a caller that a desktop started with an activation token
    // (XDG_ACTIVATION_TOKEN or DESKTOP_STARTUP_ID): the input or menu that opens takes the
    // focus with it. An empty token is none.
    void ToastWithActivation(const QString &action, const QString &duration, const QString &activationToken);
    // JSON object: the session, whether the shortcuts work and why not, the combinations
    // another program holds, autostart, Downloads access.
    QString Status();
    void ShowPopover();
    void Quit();

Q_SIGNALS:
    void showPopoverRequested();
    void quitRequested();

private:
    // What a request came to: a value (or none) to reply with, or a D-Bus error.
    struct Answer {
        QVariant value;
        QString errorName;
        QString errorMessage;
    };

    // Finds the record of the item that `path` names, exactly, on the store's worker and runs
    // `then` there with its id; replies with an error when there is none.
    void withRecord(const QByteArray &path, std::function<Answer(TrackedFileStore &, RecordId)> then);
    void noteCaller(const QString &action);
    void runToast(const QString &action, const QString &duration, const QString &activationToken);

    TrackedFileActor &m_store;
    CleanupService &m_cleanup;
    const Clock &m_clock;
    Executor &m_main;
};

} // namespace dowsel
