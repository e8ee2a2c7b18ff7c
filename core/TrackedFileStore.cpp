#include "core/TrackedFileStore.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"
#include "core/Sqlite.h"
#include "core/Tags.h"
#include "expiry/ExpirySettings.h"
#include "platform/Trash.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>
#include <sys/stat.h>

namespace dowsel {

namespace {

// AUTOINCREMENT: a record's id is never handed out again after the record is deleted, so a
// timer or a toast still holding an old id can never reach a newer record. A file is named
// by its inode and the guard against the inode's reuse (FileIdentity).
#define DOWSEL_TRACKED_FILE_COLUMNS \
    "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n" \
    "    inode INTEGER NOT NULL,\n" \
    "    file_path TEXT NOT NULL,\n" \
    "    file_name TEXT NOT NULL,\n" \
    "    state TEXT NOT NULL DEFAULT 'unprocessed',\n" \
    "    detected_at REAL NOT NULL,\n" \
    "    marked_temporary_at REAL,\n" \
    "    expires_at REAL,\n" \
    "    file_size INTEGER NOT NULL DEFAULT 0,\n" \
    "    identity_guard INTEGER NOT NULL DEFAULT 0,\n" \
    "    UNIQUE (inode, identity_guard)\n"

// What Dowsel moved to the Trash: where the item was, which Trash entry it became, and the
// identity that tells it from another item given the same entry name later.
#define DOWSEL_TRASHED_FILE_TABLE \
    "CREATE TABLE trashed_file (\n" \
    "    id INTEGER PRIMARY KEY AUTOINCREMENT,\n" \
    "    original_path TEXT NOT NULL,\n" \
    "    trash_dir TEXT NOT NULL,\n" \
    "    trash_name TEXT NOT NULL,\n" \
    "    inode INTEGER NOT NULL,\n" \
    "    identity_guard INTEGER NOT NULL DEFAULT 0,\n" \
    "    file_size INTEGER NOT NULL DEFAULT 0,\n" \
    "    trashed_at REAL NOT NULL\n" \
    ");\n"

constexpr char createSchema[] = "CREATE TABLE tracked_file (\n" DOWSEL_TRACKED_FILE_COLUMNS ");\n"
                                DOWSEL_TRASHED_FILE_TABLE "PRAGMA user_version = 3;";

// Version 2 had no record of what went to the Trash.
constexpr char migrateFromVersion2[] = DOWSEL_TRASHED_FILE_TABLE "PRAGMA user_version = 3;";
#undef DOWSEL_TRASHED_FILE_TABLE

// Version 1 knew a file by its inode alone, unique in the table. The rows move to a table
// whose uniqueness is on the pair; each guard is read from the file still at the row's path
// with the row's inode, and stays 0 (matching no file that has a guard) where none is.
constexpr char migrateFromVersion1[] =
    "CREATE TABLE tracked_file_v2 (\n" DOWSEL_TRACKED_FILE_COLUMNS ");\n"
    "INSERT INTO tracked_file_v2 (id, inode, file_path, file_name, state, detected_at, marked_temporary_at, "
    "expires_at, file_size) SELECT id, inode, file_path, file_name, state, detected_at, marked_temporary_at, "
    "expires_at, file_size FROM tracked_file;\n"
    "CREATE TEMP TABLE old_sequence AS SELECT seq FROM sqlite_sequence WHERE name = 'tracked_file';\n"
    "DROP TABLE tracked_file;\n"
    "ALTER TABLE tracked_file_v2 RENAME TO tracked_file;\n"
    "UPDATE sqlite_sequence SET seq = max(seq, coalesce((SELECT seq FROM old_sequence), 0)) "
    "WHERE name = 'tracked_file';\n"
    "DROP TABLE old_sequence;\n"
    "PRAGMA user_version = 2;";
#undef DOWSEL_TRACKED_FILE_COLUMNS

#define DOWSEL_SELECT_RECORD                                                                                       \
    "SELECT id, inode, file_path, file_name, state, detected_at, marked_temporary_at, expires_at, file_size, "     \
    "identity_guard FROM tracked_file "

constexpr char selectAll[] = DOWSEL_SELECT_RECORD "ORDER BY id";

// Inodes are unsigned 64-bit; SQLite integers are signed. The bit pattern is stored.
std::int64_t toColumn(std::uint64_t inode)
{
    return static_cast<std::int64_t>(inode);
}

std::uint64_t inodeFrom(std::int64_t column)
{
    return static_cast<std::uint64_t>(column);
}

QString dateDescription(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(date * 1000), Qt::UTC)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
}

bool adoptGuards(sqlite::Database &db)
{
    std::vector<std::pair<std::int64_t, std::int64_t>> guards; // id, guard
    auto rows = db.query("SELECT id, inode, file_path FROM tracked_file");
    while (rows.step()) {
        const auto identity = identityAt(rows.bytes(2));
        if (identity && identity->inode == inodeFrom(rows.int64(1)) && identity->guard != 0)
            guards.emplace_back(rows.int64(0), identity->guard);
    }
    if (!rows.ok())
        return false;
    for (const auto &[id, guard] : guards) {
        auto update = db.query("UPDATE tracked_file SET identity_guard = ? WHERE id = ?");
        if (!update.bind(1, guard).bind(2, id).run())
            return false;
    }
    return true;
}

std::optional<QString> checkSchema(sqlite::Database &db)
{
    const auto version = db.scalar("PRAGMA user_version");
    if (!version)
        return db.lastError();
    if (*version == 1) {
        sqlite::Transaction transaction(db);
        if (!db.exec(migrateFromVersion1) || !adoptGuards(db) || !transaction.commit())
            return QStringLiteral("cannot upgrade the database: ") + db.lastError();
        qCDebug(lcStore).noquote() << "upgraded the database to schema version 2";
    }
    if (db.scalar("PRAGMA user_version") == 2) {
        sqlite::Transaction transaction(db);
        if (!db.exec(migrateFromVersion2) || !transaction.commit())
            return QStringLiteral("cannot upgrade the database: ") + db.lastError();
        qCDebug(lcStore).noquote() << "upgraded the database to schema version 3";
    }
    if (db.scalar("PRAGMA user_version") == TrackedFileStore::schemaVersion) {
        if (db.scalar("SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name IN ('tracked_file', "
                      "'trashed_file')") == 2)
            return std::nullopt;
        return QStringLiteral("the database lacks the tracked_file or trashed_file table");
    }
    if (*version != 0 && *version != 1 && *version != 2)
        return QStringLiteral("unsupported schema version %1").arg(*version);
    // Version 0 is a database nobody set up yet; one that already holds tables belongs to
    // something else and is left alone.
    if (db.scalar("SELECT count(*) FROM sqlite_master") != 0)
        return QStringLiteral("the file holds another database");
    sqlite::Transaction transaction(db);
    if (!db.exec(createSchema) || !transaction.commit())
        return db.lastError();
    return std::nullopt;
}

} // namespace

std::unique_ptr<TrackedFileStore> TrackedFileStore::open(const QString &path, const Clock &clock,
                                                         const Preferences &prefs, Trash &trash, QString *error)
{
    const auto fail = [&](const QString &reason) {
        if (error)
            *error = path + QStringLiteral(": ") + reason;
        return nullptr;
    };
    const bool exists = QFileInfo::exists(path);
    if (!exists && !QDir().mkpath(QFileInfo(path).absolutePath()))
        return fail(QStringLiteral("cannot create the folder"));

    QString reason;
    auto db = sqlite::Database::open(path, !exists, &reason);
    if (!db)
        return fail(reason);
    if (db->isReadOnly())
        return fail(QStringLiteral("the database is read-only"));
    // WAL with synchronous=NORMAL: a committed change survives the process being killed at
    // any point; only a power cut can lose the last few, and never corrupts the file. FULL
    // would cost an fsync per download event, which a burst of thousands of files can't pay.
    if (!db->exec("PRAGMA busy_timeout = 2000; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL"))
        return fail(db->lastError());
    if (const auto schemaError = checkSchema(*db))
        return fail(*schemaError);
    // Lookups by path (every new download asks whether its path is already tracked) would
    // otherwise scan the whole table. The index does not change any result.
    if (!db->exec("CREATE INDEX IF NOT EXISTS tracked_file_path ON tracked_file (file_path)"))
        return fail(db->lastError());
    return std::unique_ptr<TrackedFileStore>(new TrackedFileStore(std::move(db), clock, prefs, trash));
}

QString TrackedFileStore::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
        + QStringLiteral("/dowsel/Sivra.sqlite");
}

TrackedFileStore::TrackedFileStore(std::unique_ptr<sqlite::Database> db, const Clock &clock, const Preferences &prefs,
                                   Trash &trash)
    : m_db(std::move(db)), m_clock(clock), m_prefs(prefs), m_trash(trash)
{
}

TrackedFileStore::~TrackedFileStore() = default;

std::vector<TrackedFile> TrackedFileStore::fetch(sqlite::Query &query)
{
    std::vector<TrackedFile> records;
    while (query.step()) {
        const QByteArray rawState = query.bytes(4);
        const auto state = fileStateFromRaw(QString::fromUtf8(rawState));
        if (!state) {
            qCDebug(lcStore).noquote() << "skipping record" << query.int64(0) << "with unknown state" << rawState;
            continue;
        }
        TrackedFile file;
        file.id = query.int64(0);
        file.inode = inodeFrom(query.int64(1));
        file.filePath = query.bytes(2);
        file.fileName = query.bytes(3);
        file.state = *state;
        file.detectedAt = query.real(5);
        file.markedTemporaryAt = query.optionalReal(6);
        file.expiresAt = query.optionalReal(7);
        file.fileSize = query.int64(8);
        file.identityGuard = query.int64(9);
        records.push_back(std::move(file));
    }
    if (!query.ok()) {
        qCDebug(lcStore).noquote() << "fetch failed:" << m_db->lastError();
        return {};
    }
    return records;
}

std::optional<TrackedFile> TrackedFileStore::recordForInode(std::uint64_t inode)
{
    auto query = m_db->query(DOWSEL_SELECT_RECORD "WHERE inode = ? ORDER BY id");
    query.bind(1, toColumn(inode));
    auto records = fetch(query);
    if (records.empty())
        return std::nullopt;
    return std::move(records.front());
}

std::optional<TrackedFile> TrackedFileStore::recordFor(const FileIdentity &identity)
{
    auto query = m_db->query(DOWSEL_SELECT_RECORD "WHERE inode = ? AND identity_guard = ?");
    query.bind(1, toColumn(identity.inode)).bind(2, identity.guard);
    auto records = fetch(query);
    if (records.empty())
        return std::nullopt;
    return std::move(records.front());
}

std::optional<TrackedFile> TrackedFileStore::record(RecordId id)
{
    auto query = m_db->query(DOWSEL_SELECT_RECORD "WHERE id = ?");
    query.bind(1, std::int64_t(id));
    auto records = fetch(query);
    if (records.empty())
        return std::nullopt;
    return std::move(records.front());
}

bool TrackedFileStore::isTracked(const FileIdentity &identity)
{
    return recordFor(identity).has_value();
}

std::optional<FileIdentity> TrackedFileStore::activeIdentity(const QByteArray &path)
{
    auto query = m_db->query(DOWSEL_SELECT_RECORD "WHERE file_path = ? ORDER BY id");
    query.bind(1, path);
    for (const TrackedFile &file : fetch(query)) {
        if (file.state != FileState::dismissed)
            return file.identity();
    }
    return std::nullopt;
}

std::optional<TrackedFileStore::FileInfo> TrackedFileStore::fileInfo(RecordId id)
{
    const auto file = record(id);
    if (!file)
        return std::nullopt;
    return FileInfo{file->fileName, file->filePath, file->fileSize};
}

std::vector<TrackedFileStore::Expiry> TrackedFileStore::temporaryExpiries()
{
    auto query = m_db->query(
        "SELECT id, expires_at FROM tracked_file WHERE state = 'temporary' AND expires_at IS NOT NULL ORDER BY id");
    std::vector<Expiry> expiries;
    while (query.step())
        expiries.push_back({query.int64(0), query.real(1)});
    return query.ok() ? expiries : std::vector<Expiry>{};
}

std::vector<TrackedFileStore::ExpiredRecord> TrackedFileStore::fetchExpired()
{
    const Date now = m_clock.now();
    auto query = m_db->query("SELECT file_path, inode, identity_guard, id, expires_at, file_size FROM tracked_file "
                             "WHERE state = 'temporary' AND expires_at IS NOT NULL AND expires_at <= ? ORDER BY id");
    query.bind(1, now);
    std::vector<ExpiredRecord> expired;
    while (query.step()) {
        expired.push_back({query.bytes(0), {inodeFrom(query.int64(1)), query.int64(2)}, query.int64(3),
                           query.real(4), query.int64(5)});
    }
    if (!query.ok()) {
        qCDebug(lcStore).noquote() << "fetchExpired FAILED: " + m_db->lastError();
        return {};
    }
    return expired;
}

std::vector<TrackedFileStore::RecordSummary> TrackedFileStore::allRecords()
{
    std::vector<RecordSummary> summaries;
    for (TrackedFile &file : allTrackedFiles())
        summaries.push_back({std::move(file.filePath), file.identity(), file.state, file.id});
    return summaries;
}

std::vector<TrackedFile> TrackedFileStore::allTrackedFiles()
{
    auto query = m_db->query(selectAll);
    return fetch(query);
}

bool TrackedFileStore::dropStaleRecords(const FileIdentity &identity)
{
    // Rows with a state this code does not know are never read, so they may not hold an
    // inode either.
    auto query = m_db->query("DELETE FROM tracked_file WHERE inode = ? AND (identity_guard != ? "
                             "OR state NOT IN ('unprocessed', 'temporary', 'dismissed'))");
    if (!query.bind(1, toColumn(identity.inode)).bind(2, identity.guard).run())
        return false;
    if (m_db->changes() > 0) {
        qCDebug(lcStore).noquote() << QStringLiteral("dropped %1 stale record(s) of inode %2")
                                          .arg(m_db->changes())
                                          .arg(identity.inode);
    }
    return true;
}

RecordId TrackedFileStore::insertNew(const FileIdentity &identity, const QByteArray &path, const QByteArray &name,
                                     std::int64_t size)
{
    // The inode may have belonged to a file that is gone: that file's record goes, and the
    // tag on whatever is there now is left alone.
    sqlite::Transaction transaction(*m_db);
    auto query = m_db->query("INSERT INTO tracked_file (inode, identity_guard, file_path, file_name, state, "
                             "detected_at, file_size) VALUES (?, ?, ?, ?, 'unprocessed', ?, ?)");
    query.bind(1, toColumn(identity.inode)).bind(2, identity.guard).bind(3, path).bind(4, name);
    query.bind(5, m_clock.now()).bind(6, size);
    if (!dropStaleRecords(identity) || !query.run() || !transaction.commit()) {
        qCDebug(lcStore).noquote() << "insertNew: save failed for" << displayText(name) << ":" << m_db->lastError();
        return 0;
    }
    const RecordId id = m_db->lastInsertRowId();
    notifyChanged();
    return id;
}

void TrackedFileStore::replaceIdentity(const FileIdentity &old, const FileIdentity &replacement,
                                       const QByteArray &path, const QByteArray &name, std::int64_t size)
{
    const auto file = recordFor(old);
    if (!file)
        return;
    sqlite::Transaction transaction(*m_db);
    auto query = m_db->query("UPDATE tracked_file SET inode = ?, identity_guard = ?, file_path = ?, file_name = ?, "
                             "file_size = ? WHERE id = ?");
    query.bind(1, toColumn(replacement.inode)).bind(2, replacement.guard).bind(3, path).bind(4, name);
    query.bind(5, size).bind(6, std::int64_t(file->id));
    if (!dropStaleRecords(replacement) || !query.run() || !transaction.commit()) {
        qCDebug(lcStore).noquote() << QStringLiteral("replaceInode: save FAILED for inode %1 → %2: %3")
                                          .arg(old.inode)
                                          .arg(replacement.inode)
                                          .arg(m_db->lastError());
        return;
    }
    notifyChanged();
}

void TrackedFileStore::updatePath(const FileIdentity &identity, const QByteArray &path, const QByteArray &name)
{
    auto query = m_db->query("UPDATE tracked_file SET file_path = ?, file_name = ? WHERE inode = ? "
                             "AND identity_guard = ?");
    query.bind(1, path).bind(2, name).bind(3, toColumn(identity.inode)).bind(4, identity.guard);
    if (query.run() && m_db->changes() > 0)
        notifyChanged();
}

void TrackedFileStore::updateSize(const FileIdentity &identity, std::int64_t size)
{
    auto query = m_db->query("UPDATE tracked_file SET file_size = ? WHERE inode = ? AND identity_guard = ? "
                             "AND file_size != ?");
    query.bind(1, size).bind(2, toColumn(identity.inode)).bind(3, identity.guard).bind(4, size);
    if (query.run() && m_db->changes() > 0)
        notifyChanged();
}

void TrackedFileStore::dismissExisting(const std::vector<DownloadFileSnapshot> &snapshots)
{
    sqlite::Transaction transaction(*m_db);
    for (const DownloadFileSnapshot &snapshot : snapshots) {
        const FileIdentity &identity = snapshot.identity;
        if (recordFor(identity)) {
            auto update = m_db->query("UPDATE tracked_file SET file_path = ?, file_name = ?, file_size = ?, "
                                      "state = CASE state WHEN 'unprocessed' THEN 'dismissed' ELSE state END "
                                      "WHERE inode = ? AND identity_guard = ?");
            update.bind(1, snapshot.filePath).bind(2, snapshot.fileName).bind(3, snapshot.fileSize);
            update.bind(4, toColumn(identity.inode)).bind(5, identity.guard).run();
        } else {
            // A record of another file that had this inode number is stale: the file found
            // here is new to Dowsel, and was here at launch, so it is dismissed.
            dropStaleRecords(identity);
            auto insert = m_db->query("INSERT INTO tracked_file (inode, identity_guard, file_path, file_name, "
                                      "state, detected_at, file_size) VALUES (?, ?, ?, ?, 'dismissed', ?, ?)");
            insert.bind(1, toColumn(identity.inode)).bind(2, identity.guard).bind(3, snapshot.filePath);
            insert.bind(4, snapshot.fileName).bind(5, m_clock.now()).bind(6, snapshot.fileSize).run();
        }
    }
    if (transaction.commit())
        notifyChanged();
    else
        qCDebug(lcStore).noquote() << "dismissExisting: save failed:" << m_db->lastError();
}

std::optional<Date> TrackedFileStore::markTemporary(RecordId id, std::optional<Seconds> duration)
{
    const auto file = record(id);
    if (!file) {
        qCDebug(lcStore).noquote() << "markTemporary: NO RECORD for id=" + QString::number(id);
        return std::nullopt;
    }
    const FileState prior = file->state;
    const Date markedAt = m_clock.now();
    const Seconds interval = duration ? *duration : defaultExpiryInterval(m_prefs);
    const Date expiresAt = std::min(m_clock.now() + interval, latestExpiryDate);

    auto query = m_db->query("UPDATE tracked_file SET state = 'temporary', marked_temporary_at = ?, expires_at = ? "
                             "WHERE id = ?");
    query.bind(1, markedAt).bind(2, expiresAt).bind(3, std::int64_t(id));
    const bool saved = query.run();
    qCDebug(lcStore).noquote() << "markTemporary: " + displayText(file->fileName) + " prior=" + rawValue(prior)
                                      + " -> temporary, expires=" + dateDescription(expiresAt) + ", save="
                                      + (saved ? QStringLiteral("ok") : "FAIL: " + m_db->lastError());
    if (!saved)
        return std::nullopt; // not kept: the caller says so, and the file gets no tag
    if (identityAt(file->filePath) == file->identity())
        addTemporaryTag(file->filePath);
    notifyChanged();
    return expiresAt;
}

bool TrackedFileStore::markDismissed(RecordId id)
{
    const auto file = record(id);
    if (!file)
        return false;
    auto query = m_db->query("UPDATE tracked_file SET state = 'dismissed' WHERE id = ?");
    if (!query.bind(1, std::int64_t(id)).run()) {
        qCDebug(lcStore).noquote() << "markDismissed: save FAILED for id=" + QString::number(id) + ": "
                                          + m_db->lastError();
        return false;
    }
    if (identityAt(file->filePath) == file->identity())
        removeTemporaryTag(file->filePath);
    notifyChanged();
    return true;
}

bool TrackedFileStore::deleteRow(RecordId id)
{
    auto query = m_db->query("DELETE FROM tracked_file WHERE id = ?");
    return query.bind(1, std::int64_t(id)).run();
}

void TrackedFileStore::removeRecordFor(const FileIdentity &identity)
{
    if (const auto file = recordFor(identity))
        removeRecord(file->id);
}

void TrackedFileStore::removeRecord(RecordId id)
{
    removeRecordAndTag(id);
}

std::optional<TrackedFile> TrackedFileStore::removeRecordAndTag(RecordId id)
{
    auto file = record(id);
    if (!file)
        return std::nullopt;
    if (identityAt(file->filePath) == file->identity())
        removeTemporaryTag(file->filePath); // never from another file that took the name
    if (deleteRow(id))
        notifyChanged();
    return file;
}

void TrackedFileStore::forgetRecord(RecordId id)
{
    if (record(id) && deleteRow(id))
        notifyChanged();
}

std::optional<QString> TrackedFileStore::deleteNow(RecordId id)
{
    const auto file = record(id);
    if (!file)
        return std::nullopt;
    // Only the record's own file goes: another file that took the name stays, and the record
    // of a file that is gone is forgotten.
    if (identityAt(file->filePath) != file->identity()) {
        removeRecordAndTag(id);
        return std::nullopt;
    }
    // The store's worker runs this to its end before the processor can ask about the events
    // that the move causes, so they still find no record.
    removeTemporaryTag(file->filePath);
    TrashEntry entry;
    if (auto error = m_trash.trashItem(file->filePath, &entry)) {
        qCDebug(lcStore).noquote() << "deleteNow: recycle failed for " + displayText(fileNameOf(file->filePath)) + ": "
                                          + *error;
        if (file->state == FileState::temporary)
            addTemporaryTag(file->filePath);
        return error;
    }
    recordTrashed(file->filePath, entry, file->identity(), file->fileSize);
    if (deleteRow(id))
        notifyChanged();
    return std::nullopt;
}

std::optional<Date> TrackedFileStore::inheritArchiveExpiry(RecordId id)
{
    // Only a real folder inherits: an empty file beside an archive ("notes" by "notes.gz")
    // has the size of a folder but is none.
    const auto folder = record(id);
    if (!folder || !folder->isFolderLike())
        return std::nullopt;
    if (const auto status = statPath(folder->filePath);
        !status || !status->isDirectory || status->identity() != folder->identity())
        return std::nullopt;
    const QByteArray parent = parentPath(folder->filePath);
    const QByteArray &name = folder->fileName;

    auto query = m_db->query(DOWSEL_SELECT_RECORD "WHERE state = 'temporary' AND expires_at IS NOT NULL ORDER BY id");
    std::vector<TrackedFile> candidates = fetch(query);
    std::erase_if(candidates, [&](const TrackedFile &archive) {
        return !isArchiveName(archive.fileName) || parentPath(archive.filePath) != parent
            || !matchesArchive(name, archive.fileName);
    });
    if (candidates.empty())
        return std::nullopt;
    auto chosen = std::find_if(candidates.begin(), candidates.end(),
                               [&](const TrackedFile &archive) { return archiveBaseName(archive.fileName) == name; });
    if (chosen == candidates.end())
        chosen = candidates.begin();

    const Date expiry = *chosen->expiresAt;
    auto update = m_db->query("UPDATE tracked_file SET state = 'temporary', marked_temporary_at = ?, expires_at = ? "
                              "WHERE id = ?");
    update.bind(1, chosen->markedTemporaryAt.value_or(m_clock.now())).bind(2, expiry).bind(3, std::int64_t(id));
    if (update.run())
        notifyChanged();
    addTemporaryTag(folder->filePath);
    qCDebug(lcStore).noquote() << "inheritArchiveExpiry: " + displayText(name) + " inherits expiry "
                                      + dateDescription(expiry) + " from " + displayText(chosen->fileName);
    return expiry;
}

void TrackedFileStore::setDamageObserver(std::function<void(const QString &)> observer)
{
    m_damaged = std::move(observer);
    m_db->setDamageHandler([this](const QString &reason) {
        if (m_damaged)
            m_damaged(reason);
    });
}

void TrackedFileStore::replaceDatabase(const std::function<std::unique_ptr<TrackedFileStore>()> &reopen)
{
    const auto lastId = m_db->scalar("SELECT seq FROM sqlite_sequence WHERE name = 'tracked_file'");
    m_db.reset();
    m_db = std::move(reopen()->m_db);
    if (lastId && *lastId > 0) {
        auto seed = m_db->query("INSERT INTO sqlite_sequence (name, seq) SELECT 'tracked_file', ? "
                                "WHERE NOT EXISTS (SELECT 1 FROM tracked_file)");
        seed.bind(1, *lastId).run();
    }
    setDamageObserver(std::move(m_damaged));
    notifyChanged();
}

void TrackedFileStore::notifyChanged()
{
    if (m_changed)
        m_changed();
}

} // namespace dowsel
