#pragma once

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace dowsel {

// One raw inotify record. `name` is empty for events about a watched folder itself.
struct InotifyEvent {
    int watch = -1;
    std::uint32_t mask = 0;
    std::uint32_t cookie = 0;
    QByteArray name;
};

// An inotify instance with a reading thread. The thread only reads: each read's records go,
// in order, to `onBatch`, which must hand them on quickly (post them to a queue) and must not
// destroy the watcher. Watches can be added and removed from any thread.
class InotifyWatcher {
public:
    using BatchHandler = std::function<void(std::vector<InotifyEvent>)>;

    // Null when the kernel refuses a new inotify instance (the per-user limit).
    static std::unique_ptr<InotifyWatcher> create(BatchHandler onBatch);
    ~InotifyWatcher();
    InotifyWatcher(const InotifyWatcher &) = delete;
    InotifyWatcher &operator=(const InotifyWatcher &) = delete;

    // The watch descriptor, or -1 with errno set. Watching the same folder again returns the
    // same descriptor.
    int addWatch(const QByteArray &path, std::uint32_t mask);
    void removeWatch(int watch);

private:
    InotifyWatcher(int inotifyFd, int wakeFd, BatchHandler onBatch);
    void run();

    int m_inotifyFd;
    int m_wakeFd;
    BatchHandler m_onBatch;
    std::thread m_thread;
};

} // namespace dowsel
