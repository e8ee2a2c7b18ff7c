#pragma once

#include "core/FileProcessor.h"
#include "core/FolderMonitor.h"
#include "core/WorkerThread.h"

#include <memory>

namespace dowsel {

// Download tracking wired up: the folder monitor on its own queue, the processor on its own
// worker, and the unbounded event stream between them. The store and the time sources
// belong to the caller and must outlive the tracker.
class DownloadTracker {
public:
    DownloadTracker(QByteArray downloadsPath, TrackedFileActor &store, const Clock &clock, Scheduler &scheduler,
                    FileProcessor::NewFileCallback onNewFile);
    ~DownloadTracker();
    DownloadTracker(const DownloadTracker &) = delete;
    DownloadTracker &operator=(const DownloadTracker &) = delete;

    // Before start(): told when new downloads cannot be saved for a while (FileProcessor).
    void setStoreTroubleCallback(FileProcessor::StoreTroubleCallback callback)
    {
        m_processor->setStoreTroubleCallback(std::move(callback));
    }
    void start();
    bool isWatching() const { return m_monitor->isWatching(); }

private:
    WorkerThread m_monitorQueue{"dowsel-fsevents"};
    WorkerThread m_processorWorker{"dowsel-processor"};
    std::shared_ptr<FileEventStream> m_events = std::make_shared<FileEventStream>();
    std::unique_ptr<FolderMonitor> m_monitor;
    std::unique_ptr<FileProcessor> m_processor;
};

} // namespace dowsel
