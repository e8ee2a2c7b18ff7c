#pragma once

#include "platform/FolderWatcher.h"

#include <QHash>

#include <mutex>
#include <thread>

namespace dowsel {

// One inotify instance with a watch per folder, read by a thread of its own that sleeps in
// poll() until the kernel has events. The thread turns each read into news about folders,
// by the path each watch was last given.
class InotifyFolderWatcher final : public FolderWatcher {
public:
    InotifyFolderWatcher();
    ~InotifyFolderWatcher() override;
    InotifyFolderWatcher(const InotifyFolderWatcher &) = delete;
    InotifyFolderWatcher &operator=(const InotifyFolderWatcher &) = delete;

    void setChangeHandler(std::function<void(std::vector<FolderChange>)> onChanges) override;
    void setMarkerNames(std::vector<QByteArray> names) override;
    WatchResult watch(const QByteArray &path) override;
    void unwatch(const QByteArray &path) override;
    std::size_t watchCount() const override;

private:
    void run();
    std::vector<FolderChange> changesIn(const char *buffer, std::size_t length);

    int m_inotifyFd = -1;
    int m_wakeFd = -1;
    std::mutex m_handlerMutex;
    std::function<void(std::vector<FolderChange>)> m_onChanges;
    // Guards the maps and the marker names; the reading thread looks paths up in them.
    mutable std::mutex m_mutex;
    QHash<int, QByteArray> m_pathOf;
    QHash<QByteArray, int> m_watchOf;
    std::vector<QByteArray> m_markerNames;
    std::thread m_thread;
};

} // namespace dowsel
