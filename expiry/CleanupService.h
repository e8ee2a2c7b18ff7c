#pragma once

#include "core/OpenFiles.h"
#include "core/TrackedFileStore.h"
#include "platform/Time.h"

#include <QString>

#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <unordered_map>
#include <vector>

namespace dowsel {

class Trash;

// An expired file that stayed because the Trash refused it.
struct TrashFailure {
    QByteArray path;
    QString error;
};

// Moves temporary files to the Trash when their expiry passes. One timer per temporary file,
// all on the scheduler's continuous clock; the store is asked again before anything is
// touched, and the path must still hold the marked inode. Runs on its own executor: the
// public calls may come from any thread and return at once.
//
// A file that one of the user's programs still holds open (reading or writing) when its
// expiry passes is left where it is and tried again every inUseRetryInterval, until
// inUseLimit after its expiry: then it goes to the Trash all the same (a program that keeps
// a file open for a day is most likely a file-sharing or indexing program that will not
// close it). Each item Dowsel trashes is recorded in the store, so it can be put back.
//
// The service waits for the store's answers on its executor, so the two must not share one.
// Timers hold the service weakly: once it is destroyed (on its executor, or after the
// executor ran its last task) pending timers end without effect.
class CleanupService {
public:
    CleanupService(TrackedFileActor &store, Trash &trash, Clock &clock, Scheduler &scheduler, Executor &executor);
    ~CleanupService();
    CleanupService(const CleanupService &) = delete;
    CleanupService &operator=(const CleanupService &) = delete;

    // (Re)arms the timer of one record; an earlier timer for the same record is cancelled.
    void schedule(RecordId id, Date at);
    // Launch catch-up: trash what expired while Dowsel was not running, schedule the rest.
    // `done` runs on the service's executor when the pass is over.
    void rehydrate(std::function<void()> done = {});
    // Every 15 minutes from now, forget records whose file is gone.
    void startStaleRecordPruning();
    // Told, on the service's executor, of expired files that the Trash refused: one at a
    // time as timers fire, all of the launch catch-up at once. Set it before the first call.
    void setTrashFailureHandler(std::function<void(const std::vector<TrashFailure> &)> handler);

    // Which program holds the file at a path open, if any; by default a look at /proc.
    void setOpenFileCheck(std::function<std::optional<QString>(const QByteArray &)> check);
    // The look at /proc behind the default check. One look answers for every file that falls
    // due within openFilesReuse of it: files made temporary together expire together, and a
    // look costs a stat of every descriptor of every program.
    void setOpenFilesScan(std::function<OpenWriters()> scan);
    // Told, on the service's executor, whenever the set of files in use changes. It runs
    // under the service's lock: it must only post work elsewhere, never call back in.
    void setInUseObserver(std::function<void()> observer);
    // The temporary records whose expiry waits for a program to close the file. Any thread.
    std::vector<RecordId> filesInUse() const;

    static constexpr Seconds pruningInterval = 900;
    static constexpr Seconds inUseRetryInterval = 600;
    static constexpr Seconds inUseLimit = 24 * 3600;
    static constexpr Seconds openFilesReuse = 2;

private:
    struct ScheduledTask {
        Scheduler::TimerId timer;
        std::uint64_t ticket; // tells a replaced timer that fired late from the current one
    };

    // Runs `task` on the executor unless the service is gone by then.
    std::function<void()> guarded(std::function<void()> task);
    void scheduleOnExecutor(RecordId id, Date at);
    void fire(RecordId id, std::uint64_t ticket);
    void trashIfExpired(RecordId id);
    // Trashes one expired entry if its path still holds the marked file, then forgets the
    // record whatever happened. `failureLead` starts the printed line of a failed trash.
    std::optional<TrashFailure> trashExpired(const TrackedFileStore::ExpiredRecord &entry, const QString &failureLead);
    void reportFailures(const std::vector<TrashFailure> &failures);
    // Leaves an expired file that a program holds open for later; false when it is to go now.
    bool postponeIfInUse(const TrackedFileStore::ExpiredRecord &entry);
    void setInUse(RecordId id, bool inUse);
    void pruneStaleRecords();
    void schedulePruningPass();

    TrackedFileActor &m_store;
    Trash &m_trash;
    Clock &m_clock;
    Scheduler &m_scheduler;
    Executor &m_executor;
    std::unordered_map<RecordId, ScheduledTask> m_scheduledTasks; // executor only
    std::uint64_t m_nextTicket = 1;                               // executor only
    Scheduler::TimerId m_staleRecordTask = Scheduler::invalidTimer;
    std::function<void(const std::vector<TrashFailure> &)> m_trashFailed;
    std::function<std::optional<QString>(const QByteArray &)> m_openBy;
    std::function<OpenWriters()> m_scanOpenFiles;
    std::optional<OpenWriters> m_openFiles; // executor only, the last look
    Date m_openFilesAt = 0;                 // executor only
    mutable std::mutex m_inUseMutex;
    std::function<void()> m_inUseChanged; // under m_inUseMutex
    std::set<RecordId> m_inUse; // under m_inUseMutex
    std::shared_ptr<int> m_lifetime = std::make_shared<int>(0);
};

} // namespace dowsel
