#include "core/DownloadTracker.h"


namespace dowsel {

DownloadTracker::DownloadTracker(QByteArray downloadsPath, TrackedFileActor &store, const Clock &clock,
                                 Scheduler &scheduler, FileProcessor::NewFileCallback onNewFile)
    : m_monitor(std::make_unique<FolderMonitor>(downloadsPath, clock, scheduler, m_monitorQueue)),
      m_processor(
          std::make_unique<FileProcessor>(store, downloadsPath, scheduler, m_processorWorker, std::move(onNewFile)))
{
    m_monitor->setContinuation(m_events);
}

DownloadTracker::~DownloadTracker()
{
    // Each on its own executor, so no task of theirs runs meanwhile; tasks still queued for
    // them then do nothing.
    postWithResult(m_monitorQueue, [this] { m_monitor.reset(); }).wait();
    postWithResult(m_processorWorker, [this] { m_processor.reset(); }).wait();
    // Their destructors cancelled their timers, and a cancelled timer is never posted after
    // cancel returns, so the workers can go now.
}

void DownloadTracker::start()
{
    m_processor->start(m_events);
    m_monitor->start();
}

} // namespace dowsel
