#pragma once

#include "core/TrackedFileStore.h"
#include "platform/Time.h"

#include <functional>
#include <unordered_map>

namespace dowsel {

class Trash;

// Moves temporary files to the Trash when their expiry passes. One timer per temporary file,
// all on the scheduler's continuous clock; the store is asked again before anything is
// touched, and the path must still hold the marked inode. Runs on its own executor: the
// public calls may come from any thread and return at once.
class CleanupService {
public:
    CleanupService(TrackedFileActor &store, Trash &trash, Clock &clock, Scheduler &scheduler, Executor &executor);
    ~CleanupService();

    // (Re)arms the timer of one record; an earlier timer for the same record is cancelled.
    void schedule(RecordId id, Date at);
    // Launch catch-up: trash what expired while Dowsel was not running, schedule the rest.
    // `done` runs on the service's executor when the pass is over.
    void rehydrate(std::function<void()> done = {});
    // Every 15 minutes from now, forget records whose file is gone.
    void startStaleRecordPruning();

    static constexpr Seconds pruningInterval = 900;

private:
    void scheduleOnExecutor(RecordId id, Date at);
    void trashIfExpired(RecordId id);
    void pruneStaleRecords();
    void schedulePruningPass();

    TrackedFileActor &m_store;
    Trash &m_trash;
    Clock &m_clock;
    Scheduler &m_scheduler;
    Executor &m_executor;
    std::unordered_map<RecordId, Scheduler::TimerId> m_scheduledTasks; // executor only
    Scheduler::TimerId m_staleRecordTask = Scheduler::invalidTimer;
};

} // namespace dowsel
