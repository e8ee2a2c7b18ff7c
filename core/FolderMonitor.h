#pragma once

#include "core/EventCoalescer.h"
#include "core/FileEventStream.h"
#include "core/FileIdentity.h"
#include "core/Lifetime.h"
#include "platform/Time.h"

#include <QByteArray>
#include <QHash>

#include <atomic>
#include <memory>

namespace dowsel {

class Executor;
class InotifyWatcher;
struct InotifyEvent;

// Watches one folder (Downloads) and its direct subfolders with inotify and turns every
// change into a FileEvent for the stream set as `continuation`. It decides nothing about
// files; that is the processor's job. Inotify's reading thread only reads and posts to the
// monitor's queue; everything else (paths, inodes, batching, the retry timer) runs on that
// queue, a serial executor that is not the reading thread.
//
// Deletions and moves carry the inode the item had: the monitor remembers the inode of every
// top-level item. Events one folder down are reported too, for the "folder got content"
// rule. A queue overflow is reported as one event on the folder's own "." entry with
// isDir | mustScan, which makes the consumer rescan. When the folder cannot be watched
// (missing, for example) the monitor tries again every 5 seconds, and after watching resumes
// it asks for a rescan, since events were missed meanwhile.
//
// Destroy it on its queue (tasks still queued for it then do nothing), or after the queue
// has stopped.
class FolderMonitor {
public:
    static constexpr Seconds retryInterval = 5.0;

    FolderMonitor(QByteArray path, const Clock &clock, Scheduler &scheduler, Executor &queue);
    ~FolderMonitor();
    FolderMonitor(const FolderMonitor &) = delete;
    FolderMonitor &operator=(const FolderMonitor &) = delete;

    const QByteArray &path() const { return m_path; }
    // Where events go; set before start(). Without one, events are dropped. Destroying the
    // monitor finishes the stream.
    void setContinuation(std::shared_ptr<FileEventStream> continuation);
    // Starts watching (on the queue); failures retry by themselves.
    void start();
    bool isWatching() const { return m_isWatching; }

private:
    void startOnQueue();
    void stopWatching();
    void scheduleRetry();
    void handleBatch(std::uint64_t generation, const std::vector<InotifyEvent> &batch);
    std::optional<FileEvent> translate(const InotifyEvent &raw);
    static void setIdentity(FileEvent &event, const FileIdentity &identity);
    void rememberTopLevel();
    void watchSubfolder(const QByteArray &folder);
    void unwatchSubfolder(const QByteArray &folder);
    FileEvent rescanEvent() const;
    void deliver(std::vector<FileEvent> events);

    const QByteArray m_path;
    const Clock &m_clock;
    Scheduler &m_scheduler;
    Executor &m_queue;
    std::shared_ptr<FileEventStream> m_continuation;
    EventCoalescer m_coalescer;

    // Queue only.
    std::unique_ptr<InotifyWatcher> m_watcher;
    std::uint64_t m_generation = 0; // batches of a replaced watcher are stale
    int m_rootWatch = -1;
    QHash<int, QByteArray> m_folderOfWatch;
    QHash<QByteArray, int> m_watchOfFolder;
    QHash<QByteArray, FileIdentity> m_identityOfItem; // top-level items
    Scheduler::TimerId m_retryTimer = Scheduler::invalidTimer;
    bool m_missedEvents = false;

    std::atomic<bool> m_isWatching = false;
    Lifetime m_lifetime;
};

} // namespace dowsel
