#include "platform/linux/InotifyFolderWatcher.h"

#include "core/Logging.h"

#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace dowsel {

namespace {

constexpr std::uint32_t watchMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR | IN_DONT_FOLLOW;
constexpr std::uint32_t entryEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;

} // namespace

InotifyFolderWatcher::InotifyFolderWatcher()
    : m_inotifyFd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)), m_wakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (m_inotifyFd < 0)
        qCWarning(lcFolderIndex).noquote() << "FolderIndex: inotify unavailable:" << std::strerror(errno);
    m_thread = std::thread([this] { run(); });
}

InotifyFolderWatcher::~InotifyFolderWatcher()
{
    const std::uint64_t one = 1;
    if (::write(m_wakeFd, &one, sizeof one) < 0)
        qCWarning(lcFolderIndex) << "FolderIndex: cannot wake the watcher thread";
    m_thread.join();
    if (m_inotifyFd >= 0)
        ::close(m_inotifyFd);
    ::close(m_wakeFd);
}

void InotifyFolderWatcher::setChangeHandler(std::function<void(std::vector<FolderChange>)> onChanges)
{
    std::lock_guard lock(m_handlerMutex);
    m_onChanges = std::move(onChanges);
}

void InotifyFolderWatcher::setMarkerNames(std::vector<QByteArray> names)
{
    std::lock_guard lock(m_mutex);
    m_markerNames = std::move(names);
}

FolderWatcher::WatchResult InotifyFolderWatcher::watch(const QByteArray &path)
{
    if (m_inotifyFd < 0)
        return WatchResult::failed;
    const int descriptor = inotify_add_watch(m_inotifyFd, path.constData(), watchMask);
    if (descriptor < 0)
        return errno == ENOSPC ? WatchResult::limitReached : WatchResult::failed;
    std::lock_guard lock(m_mutex);
    // The same folder under an older path (it was renamed): the watch now goes by this one.
    if (const auto older = m_pathOf.constFind(descriptor); older != m_pathOf.constEnd() && *older != path)
        m_watchOf.remove(*older);
    // Another folder under this path before (deleted, or moved away): its watch is of no use.
    if (const auto previous = m_watchOf.constFind(path); previous != m_watchOf.constEnd() && *previous != descriptor) {
        inotify_rm_watch(m_inotifyFd, *previous);
        m_pathOf.remove(*previous);
    }
    m_pathOf.insert(descriptor, path);
    m_watchOf.insert(path, descriptor);
    return WatchResult::watched;
}

void InotifyFolderWatcher::unwatch(const QByteArray &path)
{
    std::lock_guard lock(m_mutex);
    const auto found = m_watchOf.constFind(path);
    if (found == m_watchOf.constEnd())
        return;
    const int descriptor = *found;
    m_watchOf.erase(found);
    m_pathOf.remove(descriptor);
    inotify_rm_watch(m_inotifyFd, descriptor);
}

std::size_t InotifyFolderWatcher::watchCount() const
{
    std::lock_guard lock(m_mutex);
    return std::size_t(m_watchOf.size());
}

std::vector<FolderChange> InotifyFolderWatcher::changesIn(const char *buffer, std::size_t length)
{
    std::vector<FolderChange> changes;
    QSet<QByteArray> seen[4];
    const auto add = [&](FolderChange::Kind kind, const QByteArray &folder) {
        if (!seen[int(kind)].contains(folder)) {
            seen[int(kind)].insert(folder);
            changes.push_back({kind, folder});
        }
    };
    std::lock_guard lock(m_mutex);
    for (std::size_t offset = 0; offset < length;) {
        inotify_event event;
        std::memcpy(&event, buffer + offset, sizeof event);
        const char *name = buffer + offset + sizeof event;
        const QByteArrayView nameView(name, qstrnlen(name, event.len));
        offset += sizeof event + event.len;
        if (event.mask & IN_Q_OVERFLOW) {
            add(FolderChange::Kind::overflow, {});
            continue;
        }
        const auto folder = m_pathOf.constFind(event.wd);
        if (folder == m_pathOf.constEnd())
            continue; // a watch given up since
        if (event.mask & IN_IGNORED) {
            const QByteArray path = *folder;
            m_pathOf.erase(folder);
            if (m_watchOf.value(path, -1) == event.wd)
                m_watchOf.remove(path);
            add(FolderChange::Kind::gone, path);
        } else if ((event.mask & entryEvents) && (event.mask & IN_ISDIR)) {
            add(FolderChange::Kind::children, *folder);
        } else if ((event.mask & entryEvents)
                   && std::find(m_markerNames.begin(), m_markerNames.end(), nameView) != m_markerNames.end()) {
            add(FolderChange::Kind::marker, *folder);
        }
    }
    return changes;
}

void InotifyFolderWatcher::run()
{
    pthread_setname_np(pthread_self(), "dowsel-folders");
    std::vector<char> buffer(64 * 1024);
    pollfd fds[2] = {{m_wakeFd, POLLIN, 0}, {m_inotifyFd, POLLIN, 0}};
    const nfds_t count = m_inotifyFd >= 0 ? 2 : 1;
    for (;;) {
        if (::poll(fds, count, -1) < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (fds[0].revents)
            return;
        std::vector<FolderChange> changes;
        for (;;) {
            const ssize_t length = ::read(m_inotifyFd, buffer.data(), buffer.size());
            if (length <= 0)
                break;
            std::vector<FolderChange> more = changesIn(buffer.data(), std::size_t(length));
            changes.insert(changes.end(), more.begin(), more.end());
        }
        if (changes.empty())
            continue;
        std::lock_guard lock(m_handlerMutex);
        if (m_onChanges)
            m_onChanges(std::move(changes));
    }
}

} // namespace dowsel
