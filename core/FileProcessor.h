#pragma once

#include "core/FileEvent.h"
#include "core/DownloadCompletion.h"
#include "core/FileEventStream.h"
#include "core/Lifetime.h"
#include "core/PosixFiles.h"
#include "core/TrackedFileStore.h"
#include "platform/Time.h"

#include <QByteArray>
#include <QHash>

#include <deque>
#include <functional>
#include <memory>
#include <unordered_set>

namespace dowsel {

class Executor;

// Turns the monitor's file events into tracked files: announces every new download exactly
// once, follows renames, lets a safe save (new file renamed over the old one) keep its
// record, skips partial downloads, hidden files and sandboxed apps' temporary saves, and
// forgets items that left Downloads. An item is named by its identity (inode and the guard
// against the inode's reuse), never by its path. A file is recorded when it appears and
// offered once its writer is done with it (see DownloadCompletion.h).
//
// Runs on its own serial executor (a WorkerThread in the app), one event at a time, in order.
// It waits for the store's answers there, so the store must live on another executor.
// Destroy it on that executor (tasks still queued for it then do nothing), or after the
// executor has stopped.
class FileProcessor {
public:
    // Receives the id of every record created for a new item. Runs on the processor's
    // executor; the app's callback posts to the main thread.
    using NewFileCallback = std::function<void(RecordId)>;
    // Told, on the processor's executor, when new downloads could not be saved for a while
    // (with how many wait in memory), and with 0 once they all are.
    using StoreTroubleCallback = std::function<void(int waiting)>;
    static constexpr int storeTroubleRounds = 4; // failed tries before the user hears of it

    // A removal waits this long on the continuous clock, so that the new file of a safe save
    // can take the record over first.
    static constexpr Seconds removalDelay = 1.5;
    static constexpr Seconds stalledWriterWait = PendingOffers::stalledWriterWait;

    FileProcessor(TrackedFileActor &store, QByteArray downloadsPath, Scheduler &scheduler, Executor &executor,
                  NewFileCallback onNewFile);
    ~FileProcessor();
    FileProcessor(const FileProcessor &) = delete;
    FileProcessor &operator=(const FileProcessor &) = delete;

    void setStoreTroubleCallback(StoreTroubleCallback callback) { m_onStoreTrouble = std::move(callback); }

    // Consumes `events` on the processor's executor until the stream is finished.
    void start(std::shared_ptr<FileEventStream> events);
    // Handles one event; on the processor's executor.
    void handle(const FileEvent &event);

    // Hidden names, ".DS_Store"-style names and partial downloads (.crdownload, .part,
    // .download) are never tracked.
    static bool isIgnorableName(const QByteArray &name);
    // The temporary file of a sandboxed application's save: "report.pdf.sb-5a3b8c21-Qx9Tz1".
    static bool isSandboxTempName(const QByteArray &name);

private:
    struct PendingRemoval {
        FileIdentity identity;
        Scheduler::TimerId task = Scheduler::invalidTimer;
    };

    // A new item the store could not save yet; saved later, in order, once.
    struct UnsavedArrival {
        FileIdentity identity;
        QByteArray path;
        QByteArray name;
        std::int64_t size = 0;
        FSEventFlags flags;
        bool isFolder = false;
        bool isRetroactiveFolder = false;
    };

    bool saveArrival(const UnsavedArrival &arrival);
    void scheduleSaveRetry();
    void retryUnsaved();
    std::optional<TrackedFile> knownRecord(const FileEvent &event, const std::optional<FileStatus> &status);
    void handleNewItem(const FileEvent &event, const QByteArray &name, const std::optional<FileStatus> &status);
    void handleKnownItem(const FileEvent &event, const QByteArray &name, const TrackedFile &record);
    void insertOrReplace(const FileIdentity &identity, const QByteArray &path, const QByteArray &name,
                         std::int64_t size, bool isFolder, FSEventFlags flags);
    void handleRemoved(const TrackedFile &record);
    void commitRemoval(const FileIdentity &identity, const QByteArray &path);
    void insertRetroactiveFolder(const QByteArray &folder);
    void rescan();
    std::optional<QByteArray> findPath(const FileIdentity &identity) const;
    static bool holdsOnlyPlaceholders(const QByteArray &folder);
    void announce(RecordId id);

    // A pending download is complete: offered unless the user decided about it meanwhile.
    void offerCompleted(RecordId id, const FileIdentity &identity, const QByteArray &path, const FileStatus &status);

    // Waits for the store's answer; the processor's own work stays in order.
    template <class F> auto ask(F work) { return m_store.call(std::move(work)).get(); }

    TrackedFileActor &m_store;
    const QByteArray m_downloadsPath;
    Scheduler &m_scheduler;
    Executor &m_executor;
    const NewFileCallback m_onNewFile;
    std::shared_ptr<FileEventStream> m_events;
    std::unordered_set<std::uint64_t> m_locallyCreatedDirs; // empty folders not announced yet
    QHash<QByteArray, PendingRemoval> m_pendingRemovals; // by path
    PendingOffers m_pendingOffers;
    std::deque<UnsavedArrival> m_unsaved;
    Scheduler::TimerId m_saveRetry = Scheduler::invalidTimer;
    Seconds m_saveRetryDelay = 0;
    int m_failedSaveRounds = 0;
    StoreTroubleCallback m_onStoreTrouble;
    Lifetime m_lifetime;
};

} // namespace dowsel
