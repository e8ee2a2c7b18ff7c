#include "platform/linux/InotifyFolderWatcher.h"

#include "core/Logging.h"

#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace dowsel {

namespace {

constexpr std::uint32_t watchMask =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

// Only folders matter: a file created or deleted leaves the list of folders as it is.
bool changesFolders(const inotify_event &event)
{
    if (event.mask & IN_Q_OVERFLOW)
        return true;
    if (event.mask & (IN_DELETE_SELF | IN_MOVE_SELF))
        return true;
    return (event.mask & IN_ISDIR) && (event.mask & (IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO));
}

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

void InotifyFolderWatcher::setChangeHandler(std::function<void()> onChange)
{
    std::lock_guard lock(m_handlerMutex);
    m_onChange = std::move(onChange);
}

bool InotifyFolderWatcher::watchExactly(const std::vector<FolderEntry> &folders)
{
    if (m_inotifyFd < 0)
        return false;
    std::vector<int> dropped;
    {
        std::lock_guard lock(m_droppedMutex);
        dropped.swap(m_droppedWatches);
    }
    m_watches.removeIf([&dropped](const auto &entry) {
        return std::find(dropped.begin(), dropped.end(), entry.value().descriptor) != dropped.end();
    });

    QHash<QByteArray, Watch> next;
    next.reserve(qsizetype(folders.size()));
    QSet<int> kept;
    bool complete = true;
    for (const FolderEntry &folder : folders) {
        const auto known = m_watches.constFind(folder.path);
        if (known != m_watches.constEnd() && known->inode == folder.inode) {
            next.insert(folder.path, *known);
            kept.insert(known->descriptor);
            continue;
        }
        if (!complete)
            continue;
        const int descriptor = inotify_add_watch(m_inotifyFd, folder.path.constData(), watchMask);
        if (descriptor >= 0) {
            next.insert(folder.path, Watch{descriptor, folder.inode});
            kept.insert(descriptor);
        } else if (errno == ENOSPC) {
            complete = false;
        }
        // Any other failure (the folder vanished, or may not be read) leaves it unwatched.
    }
    for (const Watch &old : std::as_const(m_watches)) {
        if (!kept.contains(old.descriptor))
            inotify_rm_watch(m_inotifyFd, old.descriptor);
    }
    m_watches = std::move(next);
    return complete;
}

void InotifyFolderWatcher::notifyChange()
{
    std::lock_guard lock(m_handlerMutex);
    if (m_onChange)
        m_onChange();
}

void InotifyFolderWatcher::run()
{
    alignas(inotify_event) char buffer[16 * 1024];
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
        bool changed = false;
        for (;;) {
            const ssize_t length = ::read(m_inotifyFd, buffer, sizeof buffer);
            if (length <= 0)
                break;
            for (ssize_t offset = 0; offset < length;) {
                const auto *event = reinterpret_cast<const inotify_event *>(buffer + offset);
                if (event->mask & IN_IGNORED) {
                    std::lock_guard lock(m_droppedMutex);
                    m_droppedWatches.push_back(event->wd);
                }
                changed = changed || changesFolders(*event);
                offset += ssize_t(sizeof(inotify_event) + event->len);
            }
        }
        if (changed)
            notifyChange();
    }
}

} // namespace dowsel
