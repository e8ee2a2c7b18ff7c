#include "core/DownloadTracker.h"

#include <future>

namespace dowsel {

DownloadTracker::DownloadTracker(QByteArray downloadsPath, TrackedFileActor &store, const Clock &clock,
                                 Scheduler &scheduler, FileProcessor::NewFileCallback onNewFile)
    : m_scheduler(scheduler),
      m_monitor(std::make_unique<FolderMonitor>(downloadsPath, clock, scheduler, m_monitorQueue)),
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
    waitForTimersInFlight();
}

// A timer that fired just before its owner cancelled it may still be on its way to one of the
// workers. The scheduler hands out due timers in deadline order, so once a timer due now has
// run, those posts are done and the workers can go.
void DownloadTracker::waitForTimersInFlight()
{
    struct RunOnTimerThread final : Executor {
        void post(std::function<void()> task) override { task(); }
    } onTimerThread;
    std::promise<void> passed;
    m_scheduler.scheduleAfter(0, onTimerThread, [&passed] { passed.set_value(); });
    passed.get_future().wait();
}

void DownloadTracker::start()
{
    m_processor->start(m_events);
    m_monitor->start();
}

} // namespace dowsel
