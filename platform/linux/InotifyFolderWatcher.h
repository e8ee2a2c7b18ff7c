#pragma once

#include "platform/FolderWatcher.h"

#include <QHash>

#include <mutex>
#include <thread>

namespace dowsel {

// One inotify instance with a watch per folder, read by a thread of its own that sleeps in
// poll() until the kernel has events. watchExactly is called from one thread at a time.
class InotifyFolderWatcher final : public FolderWatcher {
public:
    InotifyFolderWatcher();
    ~InotifyFolderWatcher() override;
    InotifyFolderWatcher(const InotifyFolderWatcher &) = delete;
    InotifyFolderWatcher &operator=(const InotifyFolderWatcher &) = delete;

    void setChangeHandler(std::function<void()> onChange) override;
    bool watchExactly(const std::vector<FolderEntry> &folders) override;

private:
    struct Watch {
        int descriptor;
        std::uint64_t inode;
    };

    void run();
    void notifyChange();

    int m_inotifyFd = -1;
    int m_wakeFd = -1;
    std::mutex m_handlerMutex;
    std::function<void()> m_onChange;
    // Watches the kernel dropped because their folder was deleted; a new folder may come back
    // under the same path, even with the same inode number.
    std::mutex m_droppedMutex;
    std::vector<int> m_droppedWatches;
    QHash<QByteArray, Watch> m_watches; // the caller's thread only
    std::thread m_thread;
};

} // namespace dowsel
