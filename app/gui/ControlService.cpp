#include "app/gui/ControlService.h"

#include "app/ShortcutCommands.h"
#include "core/PosixFiles.h"
#include "core/Tags.h"
#include "expiry/CleanupService.h"
#include "expiry/DurationParser.h"
#include "core/ExpirySettings.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace dowsel {

namespace {

const QString errorNoSuchFile = QStringLiteral("app.dowsel.Error.NoSuchFile");
const QString errorNotTracked = QStringLiteral("app.dowsel.Error.NotTracked");
const QString errorBadDuration = QStringLiteral("app.dowsel.Error.InvalidDuration");
const QString errorBadPath = QStringLiteral("app.dowsel.Error.InvalidPath");

// A change the store did not save: the file is as it was.
QString notSavedText()
{
    return QStringLiteral("not done: Dowsel's list of files could not be written (locked by another program, a full "
                          "disk, or the record went away); nothing changed");
}
const QString errorTrashRefused = QStringLiteral("app.dowsel.Error.TrashRefused");
const QString errorNotDone = QStringLiteral("app.dowsel.Error.NotDone");

const QString errorNotInTrash = QStringLiteral("app.dowsel.Error.NotInTrash");
const QString errorRestoreFailed = QStringLiteral("app.dowsel.Error.RestoreFailed");

const QString errorNoToast = QStringLiteral("app.dowsel.Error.NoToast");
const QString errorToastBusy = QStringLiteral("app.dowsel.Error.ToastBusy");
const QString errorUnknownAction = QStringLiteral("app.dowsel.Error.UnknownAction");
const QString errorNoCopy = QStringLiteral("app.dowsel.Error.NoCopy");

std::optional<ShortcutAction> toastAction(const QString &name)
{
    static const std::pair<const char *, ShortcutAction> actions[] = {
        {"keep", ShortcutAction::markTemporary}, {"keep-for", ShortcutAction::markTemporary},
        {"time", ShortcutAction::customTime},    {"move", ShortcutAction::move},
        {"more", ShortcutAction::more},          {"open", ShortcutAction::open},
        {"copy", ShortcutAction::copy},          {"share", ShortcutAction::share},
        {"delete", ShortcutAction::deleteNow},   {"dismiss", ShortcutAction::dismiss},
        {"trash-copy", ShortcutAction::trashCopies},
    };
    for (const auto &[text, action] : actions) {
        if (name == QLatin1String(text))
            return action;
    }
    return std::nullopt;
}

QJsonValue isoDate(std::optional<Date> date)
{
    if (!date)
        return QJsonValue::Null;
    return QDateTime::fromMSecsSinceEpoch(qint64(*date * 1000)).toString(Qt::ISODate);
}

} // namespace

ControlService::ControlService(TrackedFileActor &store, CleanupService &cleanup, const Clock &clock,
                               Executor &mainExecutor, QObject *parent)
    : QObject(parent), m_store(store), m_cleanup(cleanup), m_clock(clock), m_main(mainExecutor)
{
}

BusClaim claimSessionBusName(QString *detail)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        *detail = bus.lastError().message();
        return BusClaim::noBus;
    }
    const auto reply = bus.interface()->registerService(QString::fromLatin1(dbusServiceName),
                                                        QDBusConnectionInterface::DontQueueService,
                                                        QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return BusClaim::claimed;
    *detail = reply.isValid() ? QStringLiteral("%1 is taken").arg(QString::fromLatin1(dbusServiceName))
                              : reply.error().message();
    return BusClaim::heldByAnother;
}

bool askRunningInstanceToShowPopover()
{
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(dbusServiceName), QString::fromLatin1(dbusObjectPath),
                                                       QString::fromLatin1(dbusInterfaceName), QStringLiteral("ShowPopover"));
    return QDBusConnection::sessionBus().call(call, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage;
}

bool ControlService::exportOnSessionBus()
{
    return QDBusConnection::sessionBus().registerObject(QString::fromLatin1(dbusObjectPath), this,
                                                        QDBusConnection::ExportAllSlots);
}

QString ControlService::ListFiles()
{
    setDelayedReply(true);
    const QDBusMessage request = message();
    m_store.call([](TrackedFileStore &store) { return store.allTrackedFiles(); }, m_main,
                 [request](std::vector<TrackedFile> files) {
                     QJsonArray list;
                     for (const TrackedFile &file : files) {
                         list.append(QJsonObject{
                             {QStringLiteral("id"), qint64(file.id)},
                             {QStringLiteral("path"), displayText(file.filePath)},
                             {QStringLiteral("name"), displayText(file.fileName)},
                             {QStringLiteral("state"), rawValue(file.state)},
                             {QStringLiteral("size"), qint64(file.fileSize)},
                             {QStringLiteral("detectedAt"), isoDate(file.detectedAt)},
                             {QStringLiteral("markedTemporaryAt"), isoDate(file.markedTemporaryAt)},
                             {QStringLiteral("expiresAt"), isoDate(file.expiresAt)},
                         });
                     }
                     QDBusConnection::sessionBus().send(request.createReply(
                         QString::fromUtf8(QJsonDocument(list).toJson(QJsonDocument::Compact))));
                 });
    return {};
}

void ControlService::withRecord(const QByteArray &path, std::function<Answer(TrackedFileStore &, RecordId)> then)
{
    setDelayedReply(true);
    const QDBusMessage request = message();
    // A NUL ends a path for the kernel: what follows it would be dropped without a word.
    if (path.contains('\0')) {
        const QByteArray shown = path.left(path.indexOf('\0'));
        sendErrorReply(errorBadPath, QStringLiteral("%1: a path cannot hold a NUL byte").arg(displayText(shown)));
        return;
    }
    if (!path.startsWith('/')) {
        sendErrorReply(errorBadPath, QStringLiteral("%1: not an absolute path").arg(displayText(path)));
        return;
    }
    const auto status = statPath(path);
    if (!status) {
        sendErrorReply(errorNoSuchFile, QStringLiteral("%1: %2").arg(displayText(path), errnoText()));
        return;
    }
    const FileIdentity identity = status->identity();
    struct Outcome {
        bool found = false;
        Answer answer;
    };
    m_store.call(
        [identity, path, then = std::move(then)](TrackedFileStore &store) {
            const auto record = store.recordFor(identity);
            if (!record || !namesSameItem(path, record->filePath))
                return Outcome{};
            return Outcome{true, then(store, record->id)};
        },
        m_main,
        [request, path](Outcome outcome) {
            QDBusConnection bus = QDBusConnection::sessionBus();
            if (!outcome.found) {
                bus.send(request.createErrorReply(
                    errorNotTracked,
                    QStringLiteral("%1 is not tracked: Dowsel only handles items in the Downloads folder").arg(displayText(path))));
            } else if (!outcome.answer.errorName.isEmpty()) {
                bus.send(request.createErrorReply(outcome.answer.errorName, outcome.answer.errorMessage));
            } else if (outcome.answer.value.isValid()) {
                bus.send(request.createReply(outcome.answer.value));
            } else {
                bus.send(request.createReply());
            }
        });
}

QString ControlService::Keep(const QByteArray &path, const QString &duration)
{
    std::optional<Seconds> interval;
    if (!duration.trimmed().isEmpty()) {
        const auto parsed = DurationParser::parse(duration);
        if (!parsed) {
            sendErrorReply(errorBadDuration,
                           QStringLiteral("cannot read \"%1\" as a duration; try \"2h\", \"30 min\" or \"1d 4h\"").arg(duration));
            return {};
        }
        if (!expiryFits(parsed->interval, m_clock.now())) {
            sendErrorReply(errorBadDuration,
                           QStringLiteral("\"%1\" is too long: a keep must end by the year 9999").arg(duration));
            return {};
        }
        interval = parsed->interval;
    }
    CleanupService &cleanup = m_cleanup;
    withRecord(path, [interval, &cleanup](TrackedFileStore &store, RecordId id) -> Answer {
        const auto expiry = store.markTemporary(id, interval);
        if (!expiry)
            return {{}, errorNotDone, notSavedText()};
        cleanup.schedule(id, *expiry);
        return {isoDate(expiry).toString(), {}, {}};
    });
    return {};
}

void ControlService::Dismiss(const QByteArray &path)
{
    withRecord(path, [](TrackedFileStore &store, RecordId id) {
        if (!store.markDismissed(id))
            return Answer{{}, errorNotDone, notSavedText()};
        return Answer{};
    });
}

void ControlService::Trash(const QByteArray &path)
{
    withRecord(path, [path](TrackedFileStore &store, RecordId id) {
        if (const auto refused = store.deleteNow(id)) {
            return Answer{{}, errorTrashRefused,
                          QStringLiteral("cannot move %1 to the Trash: %2; it stays where it is, still tracked")
                              .arg(displayText(fileNameOf(path)), *refused)};
        }
        return Answer{};
    });
}

QByteArray ControlService::Restore(const QByteArray &file)
{
    if (file.isEmpty() || file.contains('\0')) {
        sendErrorReply(errorBadPath, QStringLiteral("%1: not a file name").arg(displayText(file.left(file.indexOf('\0')))));
        return {};
    }
    setDelayedReply(true);
    const QDBusMessage request = message();
    struct Outcome {
        bool found = false;
        TrackedFileStore::PutBack putBack;
    };
    m_store.call(
        [file](TrackedFileStore &store) {
            const auto trashed = store.findTrashed(file);
            if (!trashed)
                return Outcome{};
            return Outcome{true, store.putBack(trashed->id)};
        },
        m_main,
        [request, file](const Outcome &outcome) {
            QDBusConnection bus = QDBusConnection::sessionBus();
            if (!outcome.found) {
                bus.send(request.createErrorReply(
                    errorNotInTrash, QStringLiteral("%1: Dowsel moved nothing by that name to the Trash that is still "
                                                    "there (it may have been emptied, restored, or trashed by "
                                                    "another program)")
                                         .arg(displayText(file))));
            } else if (!outcome.putBack.error.isEmpty()) {
                bus.send(request.createErrorReply(
                    errorRestoreFailed, QStringLiteral("cannot put back %1: %2; it stays in the Trash")
                                            .arg(displayText(fileNameOf(file)), outcome.putBack.error)));
            } else {
                bus.send(request.createReply(QVariant(outcome.putBack.path)));
            }
        });
    return {};
}

void ControlService::Toast(const QString &action, const QString &duration)
{
    runToast(action, duration, {});
}

void ControlService::ToastWithActivation(const QString &action, const QString &duration, const QString &activationToken)
{
    runToast(action, duration, activationToken);
}

void ControlService::runToast(const QString &action, const QString &duration, const QString &activationToken)
{
    const auto shortcut = toastAction(action);
    if (!shortcut) {
        sendErrorReply(errorUnknownAction,
                       QStringLiteral("unknown toast action \"%1\"; try keep, keep-for, time, move, more, open, copy, "
                                      "share, delete, trash-copy or dismiss")
                           .arg(action));
        return;
    }
    std::optional<Seconds> interval;
    if (action == u"keep-for") {
        const auto parsed = DurationParser::parse(duration);
        if (!parsed || !expiryFits(parsed->interval, m_clock.now())) {
            sendErrorReply(errorBadDuration,
                           QStringLiteral("cannot keep for \"%1\"; try \"2h\", \"30 min\" or \"1d 4h\"").arg(duration));
            return;
        }
        interval = parsed->interval;
    }
    noteCaller(action);
    if (!runToastCommand) {
        sendErrorReply(errorNoToast, QStringLiteral("no toast is showing"));
        return;
    }
    const auto refusal = runToastCommand(*shortcut, interval, activationToken);
    if (!refusal)
        return;
    switch (*refusal) {
    case CommandRefusal::noToast:
        sendErrorReply(errorNoToast, QStringLiteral("no toast is showing"));
        return;
    case CommandRefusal::inputOpen:
        sendErrorReply(errorToastBusy, QStringLiteral("the toast has an input open; finish or close it first"));
        return;
    case CommandRefusal::onboarding:
        sendErrorReply(errorToastBusy, QStringLiteral("the onboarding is showing; finish it first"));
        return;
    case CommandRefusal::noCopy:
        sendErrorReply(errorNoCopy, QStringLiteral("the toast shows no copy of a file already in Downloads"));
        return;
    }
}

void ControlService::noteCaller(const QString &action)
{
    if (!onCommandFromKeyBinding || !calledFromDBus())
        return;
    // A command typed in a terminal proves nothing about the desktop's key bindings; one that
    // comes without a terminal is what a desktop runs for a key.
    const QDBusReply<uint> pid = connection().interface()->servicePid(message().service());
    if (!pid.isValid())
        return;
    if (processHasTerminal(qint64(pid.value())) == false)
        onCommandFromKeyBinding(action);
}

QString ControlService::Status()
{
    const QJsonObject object = status ? status() : QJsonObject();
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

void ControlService::ShowPopover()
{
    Q_EMIT showPopoverRequested();
}

void ControlService::Quit()
{
    Q_EMIT quitRequested();
}

} // namespace dowsel
