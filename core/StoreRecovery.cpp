#include "core/StoreRecovery.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"
#include "core/Sqlite.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <fcntl.h>
#include <sqlite3.h>
#include <stdio.h>
#include <sys/stat.h>

namespace dowsel {

namespace {

bool existsAt(const QByteArray &path)
{
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0;
}

// rename() that never replaces an existing entry; 0 or -1 with errno.
int renameNoReplace(const QByteArray &from, const QByteArray &to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    // A file system without RENAME_NOREPLACE: check, then rename.
    if (existsAt(to)) {
        errno = EEXIST;
        return -1;
    }
    return ::rename(from.constData(), to.constData());
}

constexpr const char *companions[] = {"-wal", "-shm"};

} // namespace

StoreCheck checkStoreFile(const QString &path)
{
    if (!QFileInfo::exists(path))
        return {};
    QString error;
    auto db = sqlite::Database::openReadOnly(path, &error);
    if (!db)
        return {StoreCheck::Health::unreadable, error};
    db->exec("PRAGMA busy_timeout = 2000");
    QStringList problems;
    bool finished = false;
    int code = SQLITE_OK;
    QString message;
    {
        auto check = db->query("PRAGMA quick_check");
        while (check.step()) {
            const QString line = QString::fromUtf8(check.bytes(0));
            if (line != u"ok" && problems.size() < 3)
                problems.append(line);
        }
        finished = check.ok();
        if (!finished) {
            code = db->lastErrorCode();
            message = db->lastError();
        }
    }
    if (finished)
        return problems.isEmpty() ? StoreCheck{} : StoreCheck{StoreCheck::Health::damaged, problems.join(u"; ")};
    if (code == SQLITE_NOTADB)
        return {StoreCheck::Health::notADatabase, message};
    if (code == SQLITE_CORRUPT)
        return {StoreCheck::Health::damaged, message};
    return {StoreCheck::Health::unreadable, message};
}

std::optional<QString> setAsideDamagedStore(const QString &path, Date when, QString *error)
{
    const QFileInfo info(path);
    const QString stamp =
        QDateTime::fromMSecsSinceEpoch(qint64(when * 1000)).toString(QStringLiteral("yyyy-MM-dd-HHmmss"));
    const QString stem = info.absolutePath() + QLatin1Char('/') + info.completeBaseName() + QStringLiteral(".damaged-")
        + stamp;
    const QString suffix = info.suffix().isEmpty() ? QString() : QLatin1Char('.') + info.suffix();
    const QByteArray from = QFile::encodeName(path);

    for (int attempt = 1; attempt <= 100; ++attempt) {
        const QString target = stem + (attempt == 1 ? QString() : QStringLiteral("-%1").arg(attempt)) + suffix;
        const QByteArray to = QFile::encodeName(target);
        // The companions must not land on those of an older set-aside file either.
        if (existsAt(to + companions[0]) || existsAt(to + companions[1]))
            continue;
        if (renameNoReplace(from, to) != 0) {
            if (errno == EEXIST)
                continue;
            if (error)
                *error = QStringLiteral("cannot move %1 aside: %2").arg(path, errnoText());
            return std::nullopt;
        }
        for (const char *companion : companions) {
            if (existsAt(from + companion) && renameNoReplace(from + companion, to + companion) != 0) {
                // The main file is already away; a stray companion would be taken for the
                // new store's, so say so loudly. SQLite ignores a -shm without its database
                // and a -wal whose salt does not match.
                qCWarning(lcStore).noquote() << "cannot move" << QFile::decodeName(from + companion) << "aside:"
                                             << errnoText();
            }
        }
        syncDirectory(QFile::encodeName(info.absolutePath()));
        return target;
    }
    if (error)
        *error = QStringLiteral("cannot move %1 aside: too many damaged stores in its folder").arg(path);
    return std::nullopt;
}

OpenedStore openCheckedStore(const QString &path, const Clock &clock, const Preferences &prefs, Trash &trash)
{
    OpenedStore opened;
    const StoreCheck check = checkStoreFile(path);
    switch (check.health) {
    case StoreCheck::Health::notADatabase:
        opened.error = path + QStringLiteral(": ") + check.detail;
        return opened;
    case StoreCheck::Health::damaged: {
        QString error;
        const auto moved = setAsideDamagedStore(path, clock.now(), &error);
        if (!moved) {
            opened.error = path + QStringLiteral(": ") + check.detail + QStringLiteral(" (") + error
                + QLatin1Char(')');
            return opened;
        }
        opened.damage = check.detail;
        opened.setAsidePath = *moved;
        printFailure(QStringLiteral("Damaged store ") + path + QStringLiteral(" moved to ") + *moved
                     + QStringLiteral(": ") + check.detail);
        break;
    }
    case StoreCheck::Health::healthy:
    case StoreCheck::Health::unreadable:
        break;
    }
    opened.store = TrackedFileStore::open(path, clock, prefs, trash, &opened.error);
    return opened;
}

StoreReplacement replaceDamagedStore(TrackedFileStore &store, const QString &path, const Clock &clock,
                                     const Preferences &prefs, Trash &trash)
{
    StoreReplacement outcome;
    store.replaceDatabase([&]() -> std::unique_ptr<TrackedFileStore> {
        // The damaged connection is closed by now: nothing of it can reach the new files.
        QString error;
        if (const auto moved = setAsideDamagedStore(path, clock.now(), &error)) {
            outcome.setAsidePath = *moved;
            if (auto fresh = TrackedFileStore::open(path, clock, prefs, trash, &error))
                return fresh;
        }
        outcome.error = error;
        outcome.inMemory = true;
        QString memoryError;
        return TrackedFileStore::open(QStringLiteral(":memory:"), clock, prefs, trash, &memoryError);
    });
    return outcome;
}

} // namespace dowsel
