#include "core/FileProcessor.h"

#include "core/ByteCount.h"
#include "core/Logging.h"
#include "core/PosixFiles.h"
#include "core/Tags.h"
#include "platform/Executor.h"

#include <algorithm>
#include <array>

namespace dowsel {

namespace {

const std::array<QByteArray, 2> ignoredNames{".DS_Store", ".localized"};
// aria2's control file sits beside its download until the download is complete.
const std::array<QByteArray, 4> partialDownloadExtensions{"crdownload", "part", "download", "aria2"};

QString number(std::uint64_t value)
{
    return QString::number(value);
}

bool isAsciiHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isAsciiAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// Whether `tail` is one or more hex digits, "-", then one or more letters or digits.
bool isSandboxSuffix(const QByteArray &tail)
{
    const qsizetype dash = tail.indexOf('-');
    if (dash <= 0 || dash + 1 >= tail.size())
        return false;
    return std::all_of(tail.begin(), tail.begin() + dash, isAsciiHexDigit)
        && std::all_of(tail.begin() + dash + 1, tail.end(), isAsciiAlphanumeric);
}

QByteArray withoutTrailingSlashes(QByteArray path)
{
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    return path;
}

} // namespace

FileProcessor::FileProcessor(TrackedFileActor &store, QByteArray downloadsPath, Scheduler &scheduler,
                             Executor &executor, NewFileCallback onNewFile)
    : m_store(store),
      m_downloadsPath(withoutTrailingSlashes(std::move(downloadsPath))),
      m_scheduler(scheduler),
      m_executor(executor),
      m_onNewFile(std::move(onNewFile)),
      m_pendingOffers(scheduler, executor,
                      [this](RecordId id, const FileIdentity &identity, const QByteArray &path,
                             const FileStatus &status) { offerCompleted(id, identity, path, status); })
{
}

FileProcessor::~FileProcessor()
{
    if (m_events)
        m_events->setConsumer(nullptr, {});
    for (const PendingRemoval &pending : std::as_const(m_pendingRemovals))
        m_scheduler.cancel(pending.task);
    m_scheduler.cancel(m_saveRetry);
}

void FileProcessor::start(std::shared_ptr<FileEventStream> events)
{
    m_events = std::move(events);
    m_events->setConsumer(&m_executor, [this](const FileEvent &event) { handle(event); });
}

bool FileProcessor::isIgnorableName(const QByteArray &name)
{
    if (name.startsWith('.') || std::find(ignoredNames.begin(), ignoredNames.end(), name) != ignoredNames.end())
        return true;
    const QByteArray extension = pathExtension(name);
    return std::find(partialDownloadExtensions.begin(), partialDownloadExtensions.end(), extension)
        != partialDownloadExtensions.end();
}

bool FileProcessor::isSandboxTempName(const QByteArray &name)
{
    for (qsizetype at = name.indexOf(".sb-"); at >= 0; at = name.indexOf(".sb-", at + 1)) {
        if (isSandboxSuffix(name.mid(at + 4)))
            return true;
    }
    return false;
}

void FileProcessor::handle(const FileEvent &event)
{
    const QByteArray name = fileNameOf(event.path);
    qCDebug(lcProcessor).noquote() << QStringLiteral("EVENT: ") + displayText(name) + QStringLiteral(" inode=")
            + number(event.inode) + QStringLiteral(" flags=[") + flagDescription(event.flags)
            + QStringLiteral("] path=") + displayText(event.path);

    if ((event.flags & FSEventFlags{FSEventFlags::isFile, FSEventFlags::isDir}).isEmpty())
        return; // a bare mustScan without an item flag is dropped here on purpose
    const QByteArray parent = parentPath(event.path);
    if (parent != m_downloadsPath) {
        // Something happened inside a direct subfolder: that may make a held-back folder a
        // download, or tell that a folder being filled is not finished yet. Anything deeper
        // is none of our business.
        if (parentPath(parent) == m_downloadsPath) {
            insertRetroactiveFolder(parent);
            m_pendingOffers.noteActivity(parent, FSEventFlags{});
        }
        return;
    }
    if (event.flags.contains(FSEventFlags::mustScan)) {
        rescan();
        return;
    }
    if (event.inode == 0)
        return;
    if (event.flags.contains(FSEventFlags::removed)) {
        // Removal wins over every other flag of the same event.
        m_locallyCreatedDirs.erase(event.inode);
        if (const auto record = knownRecord(event, std::nullopt))
            handleRemoved(*record);
        else
            qCDebug(lcProcessor).noquote()
                << QStringLiteral("  REMOVED: untracked inode %1, ignoring").arg(number(event.inode));
    } else {
        const auto status = statPath(event.path);
        if (const auto record = knownRecord(event, status))
            handleKnownItem(event, name, *record);
        else
            handleNewItem(event, name, status);
    }
    if (completion::isCompanionName(name))
        m_pendingOffers.companionsChanged();
}

std::optional<TrackedFile> FileProcessor::knownRecord(const FileEvent &event, const std::optional<FileStatus> &status)
{
    if (status && status->inode == event.inode) {
        const FileIdentity identity = status->identity();
        return ask([identity](TrackedFileStore &store) { return store.recordFor(identity); });
    }
    // The item has left the path: the monitor's memory of it (the guard it had) decides.
    const std::uint64_t inode = event.inode;
    auto record = ask([inode](TrackedFileStore &store) { return store.recordForInode(inode); });
    if (record && event.guard != 0 && record->identityGuard != event.guard)
        return std::nullopt; // the record is of an earlier file with that number
    return record;
}

void FileProcessor::handleNewItem(const FileEvent &event, const QByteArray &name,
                                  const std::optional<FileStatus> &status)
{
    if (isIgnorableName(name)) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  SKIP: ignored name ") + displayText(name);
        return;
    }
    if (!status) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  SKIP: lstat failed for ") + displayText(event.path);
        return;
    }
    std::int64_t size = 0;
    if (!status->isDirectory) {
        if (status->inode != event.inode) {
            qCDebug(lcProcessor).noquote()
                << QStringLiteral("  SKIP: stale event (path now has inode %1, event was for %2)")
                       .arg(number(status->inode), number(event.inode));
            return;
        }
        if ((event.flags & FSEventFlags{FSEventFlags::created, FSEventFlags::renamed, FSEventFlags::modified})
                .isEmpty())
            return;
        if (isSandboxTempName(name)) {
            qCDebug(lcProcessor).noquote() << QStringLiteral("  SKIP: sandbox-save temp file ") + displayText(name);
            return;
        }
        size = status->size;
    } else {
        if ((event.flags & FSEventFlags{FSEventFlags::created, FSEventFlags::renamed}).isEmpty())
            return;
        if (holdsOnlyPlaceholders(event.path)) {
            // Announced later, when content arrives (see insertRetroactiveFolder).
            m_locallyCreatedDirs.insert(event.inode);
            return;
        }
        m_locallyCreatedDirs.erase(event.inode);
    }
    insertOrReplace(status->identity(), event.path, name, size, status->isDirectory, event.flags);
}

void FileProcessor::insertOrReplace(const FileIdentity &identity, const QByteArray &path, const QByteArray &name,
                                    std::int64_t size, bool isFolder, FSEventFlags flags)
{
    const auto active = ask([path](TrackedFileStore &store) { return store.activeIdentity(path); });
    if (active && *active != identity) {
        // Replaced in place, as a safe save does: the record moves to the new file and keeps
        // its state and expiry. It was announced before, so no callback; unless it was still
        // waiting for its writer (Firefox renames the finished download over its placeholder).
        const FileIdentity old = *active;
        if (const auto pending = m_pendingRemovals.constFind(path); pending != m_pendingRemovals.constEnd()) {
            m_scheduler.cancel(pending->task);
            m_pendingRemovals.erase(pending);
        }
        ask([=](TrackedFileStore &store) { store.replaceIdentity(old, identity, path, name, size); });
        qCDebug(lcProcessor).noquote() << QStringLiteral("  REPLACED: ") + displayText(name)
                + QStringLiteral(" inode %1 → %2").arg(number(old.inode), number(identity.inode));
        m_pendingOffers.replace(path, old, identity, flags);
        return;
    }
    if (isFolder)
        flags |= FSEventFlags::closedAfterWrite;
    const UnsavedArrival arrival{identity, path, name, size, flags, isFolder};
    if (!m_unsaved.empty()) {
        m_unsaved.push_back(arrival); // after those that wait already, to keep the order
        return;
    }
    if (!saveArrival(arrival)) {
        m_unsaved.push_back(arrival);
        scheduleSaveRetry();
    }
}

bool FileProcessor::saveArrival(const UnsavedArrival &arrival)
{
    const RecordId id = ask([arrival](TrackedFileStore &store) {
        return store.insertNew(arrival.identity, arrival.path, arrival.name, arrival.size);
    });
    if (id == 0) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  NOT SAVED: ") + displayText(arrival.name)
                + QStringLiteral(", kept until the store accepts it");
        return false;
    }
    if (arrival.isRetroactiveFolder) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  INSERTED (retroactive): ") + displayText(arrival.name)
                + QStringLiteral(" (folder, had children arrive)");
    } else {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  INSERTED: ") + displayText(arrival.name)
                + QStringLiteral(" (") + (arrival.isFolder ? QStringLiteral("folder") : formatByteCount(arrival.size))
                + QStringLiteral(")");
    }
    m_pendingOffers.add(id, arrival.identity, arrival.path, arrival.flags);
    return true;
}

void FileProcessor::scheduleSaveRetry()
{
    // A locked store is tried again within seconds; a full or failing one less and less
    // often, up to twice a minute, for as long as it takes.
    m_saveRetryDelay = m_saveRetryDelay == 0 ? 1 : std::min<Seconds>(m_saveRetryDelay * 2, 30);
    ++m_failedSaveRounds;
    if (m_failedSaveRounds == storeTroubleRounds && m_onStoreTrouble)
        m_onStoreTrouble(int(m_unsaved.size()));
    m_scheduler.cancel(m_saveRetry);
    m_saveRetry = m_scheduler.scheduleAfter(m_saveRetryDelay, m_executor, m_lifetime.guard([this] {
        m_saveRetry = Scheduler::invalidTimer;
        retryUnsaved();
    }));
}

void FileProcessor::retryUnsaved()
{
    while (!m_unsaved.empty()) {
        const UnsavedArrival &arrival = m_unsaved.front();
        const auto status = statPath(arrival.path);
        if (!status || status->identity() != arrival.identity) {
            m_unsaved.pop_front(); // gone meanwhile: nothing to offer
            continue;
        }
        UnsavedArrival current = arrival;
        current.size = status->isDirectory ? 0 : status->size;
        current.isRetroactiveFolder = false;
        // Its writer may have closed it while it waited: a file that stays as it is over the
        // quiet period counts as finished.
        current.flags = FSEventFlags{FSEventFlags::created, FSEventFlags::closedAfterWrite};
        if (!saveArrival(current)) {
            scheduleSaveRetry();
            return;
        }
        m_unsaved.pop_front();
    }
    if (m_failedSaveRounds >= storeTroubleRounds && m_onStoreTrouble)
        m_onStoreTrouble(0);
    m_saveRetryDelay = 0;
    m_failedSaveRounds = 0;
}

bool FileProcessor::holdsOnlyPlaceholders(const QByteArray &folder)
{
    const auto names = listDirectory(folder);
    return !names || std::all_of(names->begin(), names->end(), isIgnorableName);
}

void FileProcessor::handleKnownItem(const FileEvent &event, const QByteArray &name, const TrackedFile &record)
{
    const FileIdentity identity = record.identity();
    if (!event.flags.contains(FSEventFlags::renamed)) {
        qCDebug(lcProcessor).noquote()
            << QStringLiteral("  SKIP: already tracked (inode %1)").arg(number(identity.inode));
        if (const auto status = statPath(event.path);
            status && status->identity() == identity && status->isRegularFile) {
            m_store.send([identity, size = status->size](TrackedFileStore &store) { store.updateSize(identity, size); });
        }
        m_pendingOffers.noteActivity(event.path, event.flags);
        return;
    }
    QByteArray newPath;
    if (const auto status = statPath(event.path); status && status->identity() == identity) {
        newPath = event.path;
    } else if (auto found = findPath(identity)) {
        newPath = std::move(*found);
    } else {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  TRACKED+RENAMED, no longer in Downloads — deferring: ")
                + displayText(name);
        handleRemoved(record);
        return;
    }
    const QByteArray newName = fileNameOf(newPath);
    if (isSandboxTempName(newName)) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  TRACKED+RENAMED to sandbox temp ") + displayText(newName)
                + QStringLiteral(" — keeping original path");
        return;
    }
    if (isIgnorableName(newName)) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  TRACKED+RENAMED to ignored name, removing: ")
                + displayText(newName);
        m_pendingOffers.drop(record.filePath);
        ask([identity](TrackedFileStore &store) { store.removeRecordFor(identity); });
        return;
    }
    qCDebug(lcProcessor).noquote() << QStringLiteral("  TRACKED+RENAMED, updating path: ") + displayText(newName);
    ask([=](TrackedFileStore &store) { store.updatePath(identity, newPath, newName); });
    m_pendingOffers.rename(record.filePath, newPath);
}

std::optional<QByteArray> FileProcessor::findPath(const FileIdentity &identity) const
{
    const auto names = listDirectory(m_downloadsPath);
    if (!names)
        return std::nullopt;
    for (const QByteArray &name : *names) {
        QByteArray candidate = joinPath(m_downloadsPath, name);
        if (const auto status = statPath(candidate); status && status->identity() == identity)
            return candidate;
    }
    return std::nullopt;
}

void FileProcessor::handleRemoved(const TrackedFile &record)
{
    const FileIdentity identity = record.identity();
    const QByteArray path = record.filePath;
    if (const auto older = m_pendingRemovals.constFind(path); older != m_pendingRemovals.constEnd()) {
        m_scheduler.cancel(older->task);
        if (const FileIdentity olderIdentity = older->identity; olderIdentity != identity)
            ask([olderIdentity](TrackedFileStore &store) { store.removeRecordFor(olderIdentity); });
    }
    qCDebug(lcProcessor).noquote() << QStringLiteral("  REMOVED: deferring cleanup for inode %1 at ")
                                          .arg(number(identity.inode))
            + displayText(path);
    const auto task = m_scheduler.scheduleAfter(
        removalDelay, m_executor, m_lifetime.guard([this, identity, path] { commitRemoval(identity, path); }));
    m_pendingRemovals.insert(path, PendingRemoval{identity, task});
}

void FileProcessor::commitRemoval(const FileIdentity &identity, const QByteArray &path)
{
    const auto pending = m_pendingRemovals.constFind(path);
    if (pending == m_pendingRemovals.constEnd() || pending->identity != identity)
        return; // superseded by a replacement or a newer removal
    m_pendingRemovals.erase(pending);
    m_pendingOffers.drop(path, identity);
    qCDebug(lcProcessor).noquote()
        << QStringLiteral("  Committing deferred removal for inode %1").arg(number(identity.inode));
    ask([identity](TrackedFileStore &store) { store.removeRecordFor(identity); });
}

void FileProcessor::insertRetroactiveFolder(const QByteArray &folder)
{
    const auto status = statPath(folder);
    if (!status || !status->isDirectory)
        return;
    if (m_locallyCreatedDirs.erase(status->inode) == 0)
        return; // only folders that were held back as empty
    const FileIdentity identity = status->identity();
    if (ask([identity](TrackedFileStore &store) { return store.isTracked(identity); }))
        return;
    const QByteArray name = fileNameOf(folder);
    if (isIgnorableName(name))
        return;
    const UnsavedArrival arrival{identity, folder, name, 0, {FSEventFlags::created, FSEventFlags::closedAfterWrite},
                                 true, true};
    if (!m_unsaved.empty()) {
        m_unsaved.push_back(arrival);
    } else if (!saveArrival(arrival)) {
        m_unsaved.push_back(arrival);
        scheduleSaveRetry();
    }
}

void FileProcessor::rescan()
{
    // Picks up what arrived unseen. It neither holds back empty folders nor forgets records
    // of items that are gone.
    const auto names = listDirectory(m_downloadsPath);
    if (!names)
        return;
    for (const QByteArray &name : *names) {
        if (isIgnorableName(name))
            continue;
        const QByteArray path = joinPath(m_downloadsPath, name);
        const auto status = statPath(path);
        if (!status || !(status->isRegularFile || status->isDirectory))
            continue;
        const FileIdentity identity = status->identity();
        if (ask([identity](TrackedFileStore &store) { return store.isTracked(identity); }))
            continue;
        if (std::any_of(m_unsaved.begin(), m_unsaved.end(),
                        [&](const UnsavedArrival &waiting) { return waiting.identity == identity; }))
            continue;
        qCDebug(lcProcessor).noquote() << QStringLiteral("Tracked (rescan): ") + displayText(name);
        // Its writer's close may have been among the lost events: a file that stays as it is
        // over the quiet period counts as finished.
        insertOrReplace(identity, path, name, status->isDirectory ? 0 : status->size, status->isDirectory,
                        {FSEventFlags::created, FSEventFlags::closedAfterWrite});
    }
}

void FileProcessor::offerCompleted(RecordId id, const FileIdentity &identity, const QByteArray &path,
                                   const FileStatus &status)
{
    const auto state = ask([id, identity, size = status.size, isFile = status.isRegularFile](TrackedFileStore &store) {
        if (isFile)
            store.updateSize(identity, size);
        const auto record = store.record(id);
        return record ? std::optional<FileState>(record->state) : std::nullopt;
    });
    qCDebug(lcProcessor).noquote() << QStringLiteral("  COMPLETE: %1 (%2 bytes)")
                                          .arg(displayText(fileNameOf(path)))
                                          .arg(status.isRegularFile ? status.size : 0);
    // Kept or left alone meanwhile (`dowsel keep` while curl was still writing): the user has
    // decided already, and a toast would only undo it.
    if (state == FileState::unprocessed)
        announce(id);
}

void FileProcessor::announce(RecordId id)
{
    if (id != 0 && m_onNewFile)
        m_onNewFile(id);
}

} // namespace dowsel
