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
const std::array<QByteArray, 3> partialDownloadExtensions{"crdownload", "part", "download"};

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
      m_onNewFile(std::move(onNewFile))
{
}

FileProcessor::~FileProcessor()
{
    if (m_events)
        m_events->setConsumer(nullptr, {});
    for (const PendingRemoval &pending : std::as_const(m_pendingRemovals))
        m_scheduler.cancel(pending.task);
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
        // download. Anything deeper is none of our business.
        if (parentPath(parent) == m_downloadsPath)
            insertRetroactiveFolder(parent);
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
        handleRemoved(event.inode);
        return;
    }
    const std::uint64_t inode = event.inode;
    if (ask([inode](TrackedFileStore &store) { return store.isTracked(inode); }))
        handleKnownItem(event, name);
    else
        handleNewItem(event, name);
}

void FileProcessor::handleNewItem(const FileEvent &event, const QByteArray &name)
{
    if (isIgnorableName(name)) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  SKIP: ignored name ") + displayText(name);
        return;
    }
    const auto status = statPath(event.path);
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
    insertOrReplace(event.inode, event.path, name, size, status->isDirectory);
}

void FileProcessor::insertOrReplace(std::uint64_t inode, const QByteArray &path, const QByteArray &name,
                                    std::int64_t size, bool isFolder)
{
    const auto active = ask([path](TrackedFileStore &store) { return store.activeInode(path); });
    if (active && *active != inode) {
        // Replaced in place, as a safe save does: the record moves to the new inode and keeps
        // its state and expiry. It was announced before, so no callback.
        const std::uint64_t oldInode = *active;
        if (const auto pending = m_pendingRemovals.constFind(path); pending != m_pendingRemovals.constEnd()) {
            m_scheduler.cancel(pending->task);
            m_pendingRemovals.erase(pending);
        }
        ask([=](TrackedFileStore &store) { store.replaceInode(oldInode, inode, path, name, size); });
        qCDebug(lcProcessor).noquote() << QStringLiteral("  REPLACED: ") + displayText(name)
                + QStringLiteral(" inode %1 → %2").arg(number(oldInode), number(inode));
        return;
    }
    const RecordId id = ask([=](TrackedFileStore &store) { return store.insertNew(inode, path, name, size); });
    qCDebug(lcProcessor).noquote() << QStringLiteral("  INSERTED: ") + displayText(name) + QStringLiteral(" (")
            + (isFolder ? QStringLiteral("folder") : formatByteCount(size)) + QStringLiteral(")");
    announce(id);
}

bool FileProcessor::holdsOnlyPlaceholders(const QByteArray &folder)
{
    const auto names = listDirectory(folder);
    return !names || std::all_of(names->begin(), names->end(), isIgnorableName);
}

void FileProcessor::handleKnownItem(const FileEvent &event, const QByteArray &name)
{
    const std::uint64_t inode = event.inode;
    if (!event.flags.contains(FSEventFlags::renamed)) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  SKIP: already tracked (inode %1)").arg(number(inode));
        if (const auto status = statPath(event.path); status && status->inode == inode && status->isRegularFile)
            m_store.send([inode, size = status->size](TrackedFileStore &store) { store.updateSize(inode, size); });
        return;
    }
    QByteArray newPath;
    if (const auto status = statPath(event.path); status && status->inode == inode) {
        newPath = event.path;
    } else if (auto found = findPath(inode)) {
        newPath = std::move(*found);
    } else {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  TRACKED+RENAMED, no longer in Downloads — deferring: ")
                + displayText(name);
        handleRemoved(inode);
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
        ask([inode](TrackedFileStore &store) { store.removeRecordForInode(inode); });
        return;
    }
    qCDebug(lcProcessor).noquote() << QStringLiteral("  TRACKED+RENAMED, updating path: ") + displayText(newName);
    ask([=](TrackedFileStore &store) { store.updatePath(inode, newPath, newName); });
}

std::optional<QByteArray> FileProcessor::findPath(std::uint64_t inode) const
{
    const auto names = listDirectory(m_downloadsPath);
    if (!names)
        return std::nullopt;
    for (const QByteArray &name : *names) {
        QByteArray candidate = joinPath(m_downloadsPath, name);
        if (const auto status = statPath(candidate); status && status->inode == inode)
            return candidate;
    }
    return std::nullopt;
}

void FileProcessor::handleRemoved(std::uint64_t inode)
{
    const auto record = ask([inode](TrackedFileStore &store) { return store.recordForInode(inode); });
    if (!record) {
        qCDebug(lcProcessor).noquote() << QStringLiteral("  REMOVED: untracked inode %1, ignoring").arg(number(inode));
        return;
    }
    const QByteArray path = record->filePath;
    if (const auto older = m_pendingRemovals.constFind(path); older != m_pendingRemovals.constEnd()) {
        m_scheduler.cancel(older->task);
        if (const std::uint64_t olderInode = older->inode; olderInode != inode)
            ask([olderInode](TrackedFileStore &store) { store.removeRecordForInode(olderInode); });
    }
    qCDebug(lcProcessor).noquote() << QStringLiteral("  REMOVED: deferring cleanup for inode %1 at ").arg(number(inode))
            + displayText(path);
    const auto task = m_scheduler.scheduleAfter(removalDelay, m_executor,
                                                m_lifetime.guard([this, inode, path] { commitRemoval(inode, path); }));
    m_pendingRemovals.insert(path, PendingRemoval{inode, task});
}

void FileProcessor::commitRemoval(std::uint64_t inode, const QByteArray &path)
{
    const auto pending = m_pendingRemovals.constFind(path);
    if (pending == m_pendingRemovals.constEnd() || pending->inode != inode)
        return; // superseded by a replacement or a newer removal
    m_pendingRemovals.erase(pending);
    qCDebug(lcProcessor).noquote() << QStringLiteral("  Committing deferred removal for inode %1").arg(number(inode));
    ask([inode](TrackedFileStore &store) { store.removeRecordForInode(inode); });
}

void FileProcessor::insertRetroactiveFolder(const QByteArray &folder)
{
    const auto status = statPath(folder);
    if (!status || !status->isDirectory)
        return;
    const std::uint64_t inode = status->inode;
    if (m_locallyCreatedDirs.erase(inode) == 0)
        return; // only folders that were held back as empty
    if (ask([inode](TrackedFileStore &store) { return store.isTracked(inode); }))
        return;
    const QByteArray name = fileNameOf(folder);
    if (isIgnorableName(name))
        return;
    const RecordId id = ask([=](TrackedFileStore &store) { return store.insertNew(inode, folder, name, 0); });
    qCDebug(lcProcessor).noquote() << QStringLiteral("  INSERTED (retroactive): ") + displayText(name)
            + QStringLiteral(" (folder, had children arrive)");
    announce(id);
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
        const std::uint64_t inode = status->inode;
        if (ask([inode](TrackedFileStore &store) { return store.isTracked(inode); }))
            continue;
        const std::int64_t size = status->isDirectory ? 0 : status->size;
        const RecordId id = ask([=](TrackedFileStore &store) { return store.insertNew(inode, path, name, size); });
        qCDebug(lcProcessor).noquote() << QStringLiteral("Tracked (rescan): ") + displayText(name);
        announce(id);
    }
}

void FileProcessor::announce(RecordId id)
{
    // A failed insert has no record to show.
    if (id != 0 && m_onNewFile)
        m_onNewFile(id);
}

} // namespace dowsel
