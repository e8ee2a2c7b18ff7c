#include "core/FolderMonitor.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"
#include "core/TrackedFile.h"
#include "platform/Executor.h"
#include "platform/linux/InotifyWatcher.h"

#include <sys/inotify.h>

namespace dowsel {

namespace {

constexpr std::uint32_t rootMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_MODIFY | IN_CLOSE_WRITE
    | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;
// One level down only arrivals matter: they are what makes a held-back empty folder a download.
constexpr std::uint32_t subfolderMask = IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ONLYDIR | IN_EXCL_UNLINK;

QByteArray withoutTrailingSlashes(QByteArray path)
{
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    return path;
}

} // namespace

FolderMonitor::FolderMonitor(QByteArray path, const Clock &clock, Scheduler &scheduler, Executor &queue)
    : m_path(withoutTrailingSlashes(std::move(path))),
      m_clock(clock),
      m_scheduler(scheduler),
      m_queue(queue),
      m_coalescer(clock, scheduler, queue, [this](std::vector<FileEvent> events) { deliver(std::move(events)); })
{
}

FolderMonitor::~FolderMonitor()
{
    m_watcher.reset(); // joins the reading thread: nothing is posted after this
    m_scheduler.cancel(m_retryTimer);
    if (m_continuation)
        m_continuation->finish();
}

void FolderMonitor::setContinuation(std::shared_ptr<FileEventStream> continuation)
{
    m_continuation = std::move(continuation);
}

void FolderMonitor::start()
{
    m_queue.post(m_lifetime.guard([this] { startOnQueue(); }));
}

void FolderMonitor::startOnQueue()
{
    m_scheduler.cancel(m_retryTimer); // a second start() must not begin a second retry chain
    m_retryTimer = Scheduler::invalidTimer;
    if (m_watcher)
        return;
    const std::uint64_t generation = ++m_generation;
    auto watcher = InotifyWatcher::create([this, generation](std::vector<InotifyEvent> batch) {
        m_queue.post(
            m_lifetime.guard([this, generation, batch = std::move(batch)] { handleBatch(generation, batch); }));
    });
    const int rootWatch = watcher ? watcher->addWatch(m_path, rootMask) : -1;
    if (rootWatch < 0) {
        scheduleRetry();
        return;
    }
    m_watcher = std::move(watcher);
    m_rootWatch = rootWatch;
    m_folderOfWatch.insert(rootWatch, m_path);
    rememberTopLevel();
    m_isWatching = true;
    qCDebug(lcMonitor).noquote() << QStringLiteral("FSEventsMonitor started watching: ") + displayText(m_path);
    if (m_missedEvents) {
        m_missedEvents = false;
        m_coalescer.add({rescanEvent()});
    }
}

void FolderMonitor::stopWatching()
{
    m_watcher.reset();
    m_rootWatch = -1;
    m_folderOfWatch.clear();
    m_watchOfFolder.clear();
    m_identityOfItem.clear();
    m_isWatching = false;
    m_missedEvents = true;
}

void FolderMonitor::scheduleRetry()
{
    m_missedEvents = true;
    m_retryTimer = m_scheduler.scheduleAfter(retryInterval, m_queue, m_lifetime.guard([this] { startOnQueue(); }));
}

void FolderMonitor::handleBatch(std::uint64_t generation, const std::vector<InotifyEvent> &batch)
{
    if (generation != m_generation || !m_watcher)
        return;
    std::vector<FileEvent> events;
    events.reserve(batch.size());
    for (const InotifyEvent &raw : batch) {
        if (raw.mask & IN_Q_OVERFLOW) {
            rememberTopLevel();
            events.push_back(rescanEvent());
            continue;
        }
        if (raw.watch == m_rootWatch && (raw.mask & (IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT))) {
            // The folder itself went away or moved: what is left of this batch describes the
            // old folder. Watch the path again (it may already be back), else retry later.
            m_coalescer.add(std::move(events));
            stopWatching();
            startOnQueue();
            return;
        }
        if (raw.mask & IN_IGNORED) {
            m_watchOfFolder.remove(m_folderOfWatch.take(raw.watch));
            continue;
        }
        if (auto event = translate(raw))
            events.push_back(std::move(*event));
    }
    m_coalescer.add(std::move(events));
}

void FolderMonitor::setIdentity(FileEvent &event, const FileIdentity &identity)
{
    event.inode = identity.inode;
    event.guard = identity.guard;
}

std::optional<FileEvent> FolderMonitor::translate(const InotifyEvent &raw)
{
    const auto folder = m_folderOfWatch.constFind(raw.watch);
    if (folder == m_folderOfWatch.constEnd() || raw.name.isEmpty())
        return std::nullopt;
    const bool topLevel = raw.watch == m_rootWatch;
    FileEvent event;
    event.path = joinPath(*folder, raw.name);
    event.flags = (raw.mask & IN_ISDIR) ? FSEventFlags::isDir : FSEventFlags::isFile;
    if (raw.mask & IN_CREATE)
        event.flags |= FSEventFlags::created;
    if (raw.mask & IN_DELETE)
        event.flags |= FSEventFlags::removed;
    // A move away is a rename too: the consumer looks for the item and, if it left the folder,
    // treats it as removed. Calling it "removed" here would lose renames within the folder.
    if (raw.mask & (IN_MOVED_FROM | IN_MOVED_TO))
        event.flags |= FSEventFlags::renamed;
    if (raw.mask & (IN_MODIFY | IN_CLOSE_WRITE))
        event.flags |= FSEventFlags::modified;
    if (raw.mask & IN_CLOSE_WRITE)
        event.flags |= FSEventFlags::closedAfterWrite;
    if (raw.mask & IN_ATTRIB)
        event.flags |= FSEventFlags::metadataChanged;

    if (raw.mask & (IN_DELETE | IN_MOVED_FROM)) {
        if (topLevel) {
            setIdentity(event, m_identityOfItem.take(event.path));
            if (raw.mask & IN_ISDIR)
                unwatchSubfolder(event.path);
        }
    } else if (const auto status = statPath(event.path)) {
        setIdentity(event, status->identity());
        if (topLevel) {
            m_identityOfItem.insert(event.path, status->identity());
            if (status->isDirectory && (raw.mask & (IN_CREATE | IN_MOVED_TO)))
                watchSubfolder(event.path);
        }
    } else if (topLevel) {
        setIdentity(event, m_identityOfItem.value(event.path));
    }
    return event;
}

void FolderMonitor::rememberTopLevel()
{
    const auto names = listDirectory(m_path);
    if (!names)
        return;
    for (const QByteArray &name : *names) {
        const QByteArray item = joinPath(m_path, name);
        if (const auto status = statPath(item)) {
            m_identityOfItem.insert(item, status->identity());
            if (status->isDirectory)
                watchSubfolder(item);
        }
    }
}

void FolderMonitor::watchSubfolder(const QByteArray &folder)
{
    const int watch = m_watcher->addWatch(folder, subfolderMask);
    if (watch < 0)
        return; // out of watches, or gone already: only the held-back folder rule loses out
    m_watchOfFolder.remove(m_folderOfWatch.value(watch));
    m_folderOfWatch.insert(watch, folder);
    m_watchOfFolder.insert(folder, watch);
}

void FolderMonitor::unwatchSubfolder(const QByteArray &folder)
{
    const auto watch = m_watchOfFolder.constFind(folder);
    if (watch == m_watchOfFolder.constEnd())
        return;
    m_watcher->removeWatch(*watch);
    m_folderOfWatch.remove(*watch);
    m_watchOfFolder.erase(watch);
}

FileEvent FolderMonitor::rescanEvent() const
{
    const auto status = statPath(m_path);
    return FileEvent{joinPath(m_path, "."), status ? status->inode : 0, {FSEventFlags::isDir, FSEventFlags::mustScan}};
}

void FolderMonitor::deliver(std::vector<FileEvent> events)
{
    if (m_continuation)
        m_continuation->yield(std::move(events));
}

} // namespace dowsel
