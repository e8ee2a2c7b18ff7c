#include "expiry/CleanupService.h"

#include "core/Logging.h"
#include "core/OpenFiles.h"
#include "core/PosixFiles.h"
#include "platform/Trash.h"

#include <algorithm>

namespace dowsel {

CleanupService::CleanupService(TrackedFileActor &store, Trash &trash, Clock &clock, Scheduler &scheduler,
                               Executor &executor)
    : m_store(store), m_trash(trash), m_clock(clock), m_scheduler(scheduler), m_executor(executor),
      m_scanOpenFiles([] { return OpenWriters::scan(OpenAccess::any); })
{
    m_openBy = [this](const QByteArray &path) {
        const Date now = m_clock.now();
        if (!m_openFiles || now < m_openFilesAt || now - m_openFilesAt >= openFilesReuse) {
            m_openFiles = m_scanOpenFiles();
            m_openFilesAt = now;
        }
        return m_openFiles->holderOf(path);
    };
}

void CleanupService::setOpenFilesScan(std::function<OpenWriters()> scan)
{
    m_scanOpenFiles = std::move(scan);
    m_openFiles.reset();
}

void CleanupService::setOpenFileCheck(std::function<std::optional<QString>(const QByteArray &)> check)
{
    m_openBy = std::move(check);
}

void CleanupService::setInUseObserver(std::function<void()> observer)
{
    std::lock_guard lock(m_inUseMutex);
    m_inUseChanged = std::move(observer);
}

std::vector<RecordId> CleanupService::filesInUse() const
{
    std::lock_guard lock(m_inUseMutex);
    return {m_inUse.begin(), m_inUse.end()};
}

void CleanupService::setInUse(RecordId id, bool inUse)
{
    // The observer runs under the lock, so once it is replaced the old one is never called.
    std::lock_guard lock(m_inUseMutex);
    const bool changed = inUse ? m_inUse.insert(id).second : m_inUse.erase(id) > 0;
    if (changed && m_inUseChanged)
        m_inUseChanged();
}

bool CleanupService::postponeIfInUse(const TrackedFileStore::ExpiredRecord &entry)
{
    const Date now = m_clock.now();
    const Date limit = entry.expiresAt + inUseLimit;
    if (!m_openBy || identityAt(entry.path) != entry.identity)
        return false;
    const auto holder = m_openBy(entry.path);
    if (!holder)
        return false;
    const QString name = displayText(fileNameOf(entry.path));
    if (now >= limit) {
        qCDebug(lcCleanup).noquote() << name + " is still open in " + *holder
                + " a day after its expiry: trashing it anyway";
        return false;
    }
    qCDebug(lcCleanup).noquote() << "Expiry of " + name + " postponed: open in " + *holder;
    setInUse(entry.id, true);
    scheduleOnExecutor(entry.id, std::min(now + inUseRetryInterval, limit));
    return true;
}

CleanupService::~CleanupService()
{
    m_lifetime.reset();
    for (const auto &[id, task] : m_scheduledTasks)
        m_scheduler.cancel(task.timer);
    m_scheduler.cancel(m_staleRecordTask);
}

std::function<void()> CleanupService::guarded(std::function<void()> task)
{
    return [alive = std::weak_ptr<int>(m_lifetime), task = std::move(task)] {
        if (!alive.expired())
            task();
    };
}

void CleanupService::schedule(RecordId id, Date at)
{
    m_executor.post(guarded([this, id, at] {
        setInUse(id, false); // a new expiry starts afresh
        scheduleOnExecutor(id, at);
    }));
}

void CleanupService::scheduleOnExecutor(RecordId id, Date at)
{
    if (const auto existing = m_scheduledTasks.find(id); existing != m_scheduledTasks.end())
        m_scheduler.cancel(existing->second.timer);
    const Seconds delay = std::max(0.0, at - m_clock.now());
    const std::uint64_t ticket = m_nextTicket++;
    const auto timer = m_scheduler.scheduleAfter(delay, m_executor, guarded([this, id, ticket] { fire(id, ticket); }));
    m_scheduledTasks[id] = {timer, ticket};
}

void CleanupService::fire(RecordId id, std::uint64_t ticket)
{
    // A timer cancelled after it had already fired may still arrive here: only the current
    // timer of the record acts.
    const auto entry = m_scheduledTasks.find(id);
    if (entry == m_scheduledTasks.end() || entry->second.ticket != ticket)
        return;
    m_scheduledTasks.erase(entry);
    trashIfExpired(id);
}

void CleanupService::trashIfExpired(RecordId id)
{
    const auto expired = m_store.call([](TrackedFileStore &store) { return store.fetchExpired(); }).get();
    const auto entry = std::find_if(expired.begin(), expired.end(), [id](const auto &e) { return e.id == id; });
    if (entry == expired.end()) {
        setInUse(id, false);
        return; // kept, moved, dismissed, deleted or pushed back meanwhile
    }
    if (postponeIfInUse(*entry))
        return;
    if (const auto failure = trashExpired(*entry, QStringLiteral("Failed to trash ")))
        reportFailures({*failure});
}

std::optional<TrashFailure> CleanupService::trashExpired(const TrackedFileStore::ExpiredRecord &entry,
                                                         const QString &failureLead)
{
    // Only the file that was marked goes: a missing file, or another file that took its
    // name, is left alone and the record is forgotten.
    std::optional<TrashFailure> failure;
    TrashEntry trashed;
    if (identityAt(entry.path) == entry.identity) {
        const QString name = displayText(fileNameOf(entry.path));
        if (auto error = m_trash.trashItem(entry.path, &trashed)) {
            printFailure(failureLead + name + QStringLiteral(": ") + *error);
            failure = TrashFailure{entry.path, std::move(*error)};
        } else {
            qCDebug(lcCleanup).noquote() << "Trashed expired file: " + name;
        }
    }
    // A file that could not be trashed is no longer tracked either: it stays where it is,
    // without its tag.
    m_store.call([entry, trashed](TrackedFileStore &store) {
        store.recordTrashed(entry.path, trashed, entry.identity, entry.fileSize);
        store.removeRecord(entry.id);
    }).get();
    setInUse(entry.id, false);
    return failure;
}

void CleanupService::setTrashFailureHandler(std::function<void(const std::vector<TrashFailure> &)> handler)
{
    m_trashFailed = std::move(handler);
}

void CleanupService::reportFailures(const std::vector<TrashFailure> &failures)
{
    if (m_trashFailed && !failures.empty())
        m_trashFailed(failures);
}

void CleanupService::rehydrate(std::function<void()> done)
{
    m_executor.post(guarded([this, done = std::move(done)] {
        const auto expired = m_store.call([](TrackedFileStore &store) { return store.fetchExpired(); }).get();
        std::vector<TrashFailure> failures;
        for (const auto &entry : expired) {
            if (postponeIfInUse(entry))
                continue;
            if (auto failure = trashExpired(entry, QStringLiteral("Rehydrate: failed to trash ")))
                failures.push_back(std::move(*failure));
        }
        reportFailures(failures);
        if (!expired.empty()) {
            qCDebug(lcCleanup).noquote()
                << QStringLiteral("Rehydrate: trashed %1 file(s) that expired while offline").arg(expired.size());
        }

        const auto pending = m_store.call([](TrackedFileStore &store) { return store.temporaryExpiries(); }).get();
        const auto inUse = filesInUse();
        for (const auto &expiry : pending) {
            if (std::find(inUse.begin(), inUse.end(), expiry.id) == inUse.end())
                scheduleOnExecutor(expiry.id, expiry.expiresAt);
        }
        if (!pending.empty()) {
            qCDebug(lcCleanup).noquote()
                << QStringLiteral("Rehydrate: scheduled %1 pending file(s)").arg(pending.size());
        }
        if (done)
            done();
    }));
}

void CleanupService::startStaleRecordPruning()
{
    m_executor.post(guarded([this] {
        m_scheduler.cancel(m_staleRecordTask); // one pruning loop, however often this is called
        schedulePruningPass();
    }));
}

void CleanupService::schedulePruningPass()
{
    m_staleRecordTask = m_scheduler.scheduleAfter(pruningInterval, m_executor, guarded([this] {
                                                      pruneStaleRecords();
                                                      schedulePruningPass();
                                                  }));
}

void CleanupService::pruneStaleRecords()
{
    const auto records = m_store.call([](TrackedFileStore &store) { return store.allRecords(); }).get();
    for (const auto &record : records) {
        if (record.path.isEmpty() || identityAt(record.path) == record.identity)
            continue;
        m_store.call([id = record.id](TrackedFileStore &store) { store.forgetRecord(id); }).get();
        setInUse(record.id, false);
        if (const auto task = m_scheduledTasks.find(record.id); task != m_scheduledTasks.end()) {
            m_scheduler.cancel(task->second.timer);
            m_scheduledTasks.erase(task);
        }
        qCDebug(lcCleanup).noquote() << "Cleaned up stale record: " + displayText(fileNameOf(record.path));
    }
}

} // namespace dowsel
