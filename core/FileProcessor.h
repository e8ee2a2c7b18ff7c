#pragma once

#include "core/FileEvent.h"
#include "core/FileEventStream.h"
#include "core/Lifetime.h"
#include "core/TrackedFileStore.h"
#include "platform/Time.h"

#include <QByteArray>
#include <QHash>

#include <functional>
#include <memory>
#include <unordered_set>

namespace dowsel {

class Executor;

// Turns the monitor's file events into tracked files: announces every new download exactly
// once, follows renames, lets a safe save (new file renamed over the old one) keep its
// record, skips partial downloads, hidden files and sandboxed apps' temporary saves, and
// forgets items that left Downloads. An item's identity is its inode, never its path.
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

    // A removal waits this long on the continuous clock, so that the new file of a safe save
    // can take the record over first.
    static constexpr Seconds removalDelay = 1.5;

    FileProcessor(TrackedFileActor &store, QByteArray downloadsPath, Scheduler &scheduler, Executor &executor,
                  NewFileCallback onNewFile);
    ~FileProcessor();
    FileProcessor(const FileProcessor &) = delete;
    FileProcessor &operator=(const FileProcessor &) = delete;

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
        std::uint64_t inode = 0;
        Scheduler::TimerId task = Scheduler::invalidTimer;
    };

    void handleNewItem(const FileEvent &event, const QByteArray &name);
    void handleKnownItem(const FileEvent &event, const QByteArray &name);
    void insertOrReplace(std::uint64_t inode, const QByteArray &path, const QByteArray &name, std::int64_t size,
                         bool isFolder);
    void handleRemoved(std::uint64_t inode);
    void commitRemoval(std::uint64_t inode, const QByteArray &path);
    void insertRetroactiveFolder(const QByteArray &folder);
    void rescan();
    std::optional<QByteArray> findPath(std::uint64_t inode) const;
    static bool holdsOnlyPlaceholders(const QByteArray &folder);
    void announce(RecordId id);

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
    Lifetime m_lifetime;
};

} // namespace dowsel
