// The store's record of what Dowsel sent to the Trash, and putting it back.

#include "core/TrackedFileStore.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"
#include "core/Sqlite.h"
#include "core/Tags.h"

#include <QCoreApplication>

#include <sys/stat.h>

namespace dowsel {

namespace {

constexpr int maxFreeNameAttempts = 1000;
constexpr qsizetype nameMax = 255;

bool pathExists(const QByteArray &path)
{
    struct stat status {};
    return ::lstat(path.constData(), &status) == 0;
}

bool isFolder(const QByteArray &path)
{
    struct stat status {};
    return ::stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Whether the Trash holding `entry` is there at all: a drive's own Trash is not while the
// drive is not mounted, and its items come back with it.
bool trashIsThere(const TrashEntry &entry)
{
    return isFolder(entry.directory + "/info");
}

// Cuts at a character boundary so a long UTF-8 name stays valid.
QByteArray cutAtCharacter(const QByteArray &bytes, qsizetype length)
{
    if (bytes.size() <= length)
        return bytes;
    while (length > 0 && (uchar(bytes.at(length)) & 0xC0) == 0x80)
        --length;
    return bytes.left(length);
}

// Creates the folders of `folder` that are missing; false and errno set when one cannot be.
bool makeFolders(const QByteArray &folder)
{
    QByteArray partial;
    for (const QByteArray &component : folder.split('/')) {
        if (component.isEmpty())
            continue;
        partial += '/' + component;
        if (::mkdir(partial.constData(), 0755) != 0 && errno != EEXIST)
            return false;
    }
    return isFolder(folder);
}

TrackedFileStore::TrashedFile trashedFrom(const sqlite::Query &query)
{
    TrackedFileStore::TrashedFile file;
    file.id = query.int64(0);
    file.originalPath = query.bytes(1);
    file.entry = TrashEntry{query.bytes(2), query.bytes(3)};
    file.identity = FileIdentity{std::uint64_t(query.int64(4)), query.int64(5)};
    file.fileSize = query.int64(6);
    file.trashedAt = query.real(7);
    return file;
}

#define DOWSEL_SELECT_TRASHED \
    "SELECT id, original_path, trash_dir, trash_name, inode, identity_guard, file_size, trashed_at FROM trashed_file "

} // namespace

// "report (restored).pdf", then "report (restored 2).pdf"...
QByteArray restoredName(const QByteArray &name, int attempt)
{
    const qsizetype dot = name.lastIndexOf('.');
    const bool hasExtension = dot > 0 && dot < name.size() - 1;
    const QByteArray base = hasExtension ? name.left(dot) : name;
    const QByteArray suffix = (attempt <= 1 ? QByteArray(" (restored)") : " (restored " + QByteArray::number(attempt) + ')')
        + (hasExtension ? name.mid(dot) : QByteArray());
    return cutAtCharacter(base, nameMax - suffix.size()) + suffix;
}

void TrackedFileStore::recordTrashed(const QByteArray &originalPath, const TrashEntry &entry,
                                     const FileIdentity &identity, std::int64_t size)
{
    if (!entry.isValid())
        return;
    auto query = m_db->query("INSERT INTO trashed_file (original_path, trash_dir, trash_name, inode, identity_guard, "
                             "file_size, trashed_at) VALUES (?, ?, ?, ?, ?, ?, ?)");
    query.bind(1, originalPath).bind(2, entry.directory).bind(3, entry.name);
    query.bind(4, std::int64_t(identity.inode)).bind(5, identity.guard).bind(6, size).bind(7, m_clock.now());
    if (query.run())
        notifyChanged();
    else
        qCDebug(lcStore).noquote() << "recordTrashed: save failed for" << displayText(originalPath) << ":"
                                   << m_db->lastError();
}

std::optional<TrackedFileStore::TrashedFile> TrackedFileStore::trashedRow(std::int64_t id)
{
    auto query = m_db->query(DOWSEL_SELECT_TRASHED "WHERE id = ?");
    query.bind(1, id);
    if (query.step())
        return trashedFrom(query);
    return std::nullopt;
}

void TrackedFileStore::forgetTrashed(std::int64_t id)
{
    auto query = m_db->query("DELETE FROM trashed_file WHERE id = ?");
    if (query.bind(1, id).run() && m_db->changes() > 0)
        notifyChanged();
}

std::vector<TrackedFileStore::TrashedFile> TrackedFileStore::trashedFiles(std::optional<Date> since)
{
    std::vector<TrashedFile> rows;
    {
        auto query = m_db->query(DOWSEL_SELECT_TRASHED "WHERE trashed_at >= ? ORDER BY trashed_at DESC, id DESC");
        query.bind(1, since.value_or(-1e300));
        while (query.step())
            rows.push_back(trashedFrom(query));
        if (!query.ok())
            return {};
    }
    std::vector<TrashedFile> present;
    for (TrashedFile &row : rows) {
        // Still there as Dowsel left it: the entry's information and the same item.
        if (m_trash.originalPath(row.entry) && identityAt(row.entry.itemPath()) == row.identity) {
            present.push_back(std::move(row));
        } else if (!trashIsThere(row.entry)) {
            continue;
        } else {
            qCDebug(lcStore).noquote() << "forgetting" << displayText(row.originalPath)
                                       << ": no longer in the Trash as it was left";
            forgetTrashed(row.id);
        }
    }
    return present;
}

std::optional<TrackedFileStore::TrashedFile> TrackedFileStore::findTrashed(const QByteArray &pathOrName)
{
    const bool byName = !pathOrName.contains('/');
    for (TrashedFile &file : trashedFiles()) {
        if (byName ? fileNameOf(file.originalPath) == pathOrName : namesSameItem(pathOrName, file.originalPath))
            return std::move(file);
    }
    return std::nullopt;
}

TrackedFileStore::PutBack TrackedFileStore::putBack(std::int64_t trashedId)
{
    PutBack outcome;
    const auto row = trashedRow(trashedId);
    if (!row) {
        outcome.error = QStringLiteral("Dowsel has no record of it in the Trash");
        return outcome;
    }
    const auto infoPath = m_trash.originalPath(row->entry);
    if (!infoPath || identityAt(row->entry.itemPath()) != row->identity) {
        if (!trashIsThere(row->entry)) {
            outcome.error = QCoreApplication::translate("TrackedFileStore", "the Trash that holds it, %1, is not "
                                                                            "there (a drive that is not connected?)")
                                .arg(displayText(row->entry.directory));
            return outcome;
        }
        forgetTrashed(row->id);
        outcome.error = QStringLiteral("it is no longer in the Trash (emptied or restored elsewhere)");
        return outcome;
    }
    // It goes back where Dowsel took it from. The information file only says the entry is still
    // there: anyone can rewrite its Path, and it must not choose where folders get made.
    const QByteArray &original = row->originalPath;
    if (*infoPath != original) {
        qCDebug(lcStore).noquote() << "putBack: the Trash information names" << displayText(*infoPath)
                                   << "; going back to" << displayText(original) << "as recorded";
    }
    const QByteArray folder = parentPath(original);
    const QByteArray name = fileNameOf(original);
    if (!pathExists(folder)) {
        if (!makeFolders(folder)) {
            outcome.error = QStringLiteral("its folder %1 is gone and cannot be made again: %2")
                                .arg(displayText(folder), errnoText());
            return outcome;
        }
        outcome.folderRecreated = true;
    }

    for (int attempt = 0; attempt <= maxFreeNameAttempts; ++attempt) {
        const QByteArray target = attempt == 0 ? original : joinPath(folder, restoredName(name, attempt));
        if (pathExists(target))
            continue;
        // Known and kept before it arrives: the events of the rename then find a record.
        sqlite::Transaction transaction(*m_db);
        auto insert = m_db->query("INSERT INTO tracked_file (inode, identity_guard, file_path, file_name, state, "
                                  "detected_at, file_size) VALUES (?, ?, ?, ?, 'dismissed', ?, ?)");
        insert.bind(1, std::int64_t(row->identity.inode)).bind(2, row->identity.guard).bind(3, target);
        insert.bind(4, fileNameOf(target)).bind(5, m_clock.now()).bind(6, row->fileSize);
        if (!dropStaleRecords(row->identity) || !insert.run() || !transaction.commit()) {
            outcome.error = QStringLiteral("Dowsel's list of files could not be written (locked by another program, "
                                           "or a full disk)");
            return outcome;
        }
        const RecordId kept = m_db->lastInsertRowId();
        bool clash = false;
        if (const auto refused = m_trash.restore(row->entry, target, &clash)) {
            deleteRow(kept);
            if (clash)
                continue; // another item took the name meanwhile
            outcome.error = *refused;
            return outcome;
        }
        removeTemporaryTag(target);
        forgetTrashed(row->id);
        notifyChanged();
        outcome.path = target;
        outcome.otherName = attempt > 0;
        qCDebug(lcStore).noquote() << "put back" << displayText(original) << "as" << displayText(target);
        return outcome;
    }
    outcome.error = QStringLiteral("no free name is left beside %1").arg(displayText(original));
    return outcome;
}

} // namespace dowsel
