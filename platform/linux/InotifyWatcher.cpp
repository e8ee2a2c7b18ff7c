#include "platform/linux/InotifyWatcher.h"

#include <cerrno>
#include <pthread.h>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace dowsel {

std::unique_ptr<InotifyWatcher> InotifyWatcher::create(BatchHandler onBatch)
{
    const int inotifyFd = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (inotifyFd < 0)
        return nullptr;
    const int wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd < 0) {
        ::close(inotifyFd);
        return nullptr;
    }
    return std::unique_ptr<InotifyWatcher>(new InotifyWatcher(inotifyFd, wakeFd, std::move(onBatch)));
}

InotifyWatcher::InotifyWatcher(int inotifyFd, int wakeFd, BatchHandler onBatch)
    : m_inotifyFd(inotifyFd), m_wakeFd(wakeFd), m_onBatch(std::move(onBatch)), m_thread([this] { run(); })
{
}

InotifyWatcher::~InotifyWatcher()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] auto written = ::write(m_wakeFd, &one, sizeof one);
    m_thread.join();
    ::close(m_inotifyFd);
    ::close(m_wakeFd);
}

int InotifyWatcher::addWatch(const QByteArray &path, std::uint32_t mask)
{
    return inotify_add_watch(m_inotifyFd, path.constData(), mask);
}

void InotifyWatcher::removeWatch(int watch)
{
    inotify_rm_watch(m_inotifyFd, watch);
}

void InotifyWatcher::run()
{
    pthread_setname_np(pthread_self(), "dowsel-inotify");
    // Large enough for a few thousand records per read, so a burst costs few wake-ups.
    std::vector<char> buffer(256 * 1024);
    pollfd fds[2] = {{m_inotifyFd, POLLIN, 0}, {m_wakeFd, POLLIN, 0}};
    for (;;) {
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            std::perror("inotify poll");
            return;
        }
        if (fds[1].revents)
            return;
        const ssize_t length = ::read(m_inotifyFd, buffer.data(), buffer.size());
        if (length <= 0)
            continue;
        std::vector<InotifyEvent> batch;
        for (ssize_t offset = 0; offset < length;) {
            inotify_event header;
            std::memcpy(&header, buffer.data() + offset, sizeof header);
            const char *name = buffer.data() + offset + sizeof header;
            // The name is NUL-padded to an alignment boundary.
            batch.push_back({header.wd, header.mask, header.cookie, QByteArray(name, qstrnlen(name, header.len))});
            offset += ssize_t(sizeof header + header.len);
        }
        m_onBatch(std::move(batch));
    }
}

} // namespace dowsel
