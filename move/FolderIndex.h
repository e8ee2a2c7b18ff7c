#pragma once

#include "move/FolderPaths.h"
#include "platform/FolderWatcher.h"
#include "platform/Time.h"

#include <QByteArray>

#include <memory>

namespace dowsel {

class Executor;

// The folders under the home folder that a download could be moved into, kept in memory so
// that the move input can search them on every key press. A crawl of the home folder fills
// it and watches every folder it keeps. The watcher's news are batched for half a second;
// then only what changed is read again: the folders that appeared are crawled and watched,
// those that vanished are dropped with everything below them, and a rename is both. A full
// crawl happens only at the start, after the system dropped news (at most once every three
// seconds, start to start), and periodically once the system has run out of watches.
//
// Crawls, updates and their timers run on `workQueue` (a low-priority worker); the snapshot
// can be read from any thread, and an update replaces only the chunks of it that changed.
class FolderIndex {
public:
    FolderIndex(QByteArray homePath, std::unique_ptr<FolderWatcher> watcher, Clock &clock, Scheduler &scheduler,
                Executor &workQueue);
    ~FolderIndex();
    FolderIndex(const FolderIndex &) = delete;
    FolderIndex &operator=(const FolderIndex &) = delete;

    // Starts the first crawl; later calls do nothing.
    void start();

    // The current snapshot (empty until the first crawl is over); copying it is cheap.
    FolderPaths paths() const;
    bool hasGathered() const;

    // Whether `path` is a folder the index keeps: under home, not home itself, not in
    // ~/Library, and no component hidden, a dependency or build tree, or a package.
    bool shouldInclude(const QByteArray &path) const;
    const QByteArray &homePath() const;

    static constexpr Seconds batchingInterval = 0.5;
    static constexpr Seconds rebuildSpacing = 3.0;
    static constexpr Seconds fallbackRescanInterval = 60.0;

private:
    class State;
    std::shared_ptr<State> m_state;
};

} // namespace dowsel
