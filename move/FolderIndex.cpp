#include "move/FolderIndex.h"

#include "core/Logging.h"
#include "move/FolderCrawler.h"
#include "platform/Executor.h"

#include <mutex>
#include <optional>

namespace dowsel {

// Everything the index owns. Timers and watcher news hold it weakly, so that work still
// queued when the index goes away does nothing.
class FolderIndex::State : public std::enable_shared_from_this<State> {
public:
    State(QByteArray homePath, std::unique_ptr<FolderWatcher> watcher, Clock &clock, Scheduler &scheduler,
          Executor &workQueue)
        : homePath(std::move(homePath)),
          homePathWithSlash(this->homePath + '/'),
          libraryPrefix(this->homePath + "/Library"),
          watcher(std::move(watcher)),
          clock(clock),
          scheduler(scheduler),
          workQueue(workQueue)
    {
    }

    // Runs `work` on the work queue if the index still exists by then.
    template <class Work>
    std::function<void()> onQueue(Work work)
    {
        return [weak = weak_from_this(), work = std::move(work)] {
            if (const auto self = weak.lock())
                work(*self);
        };
    }

    void start()
    {
        if (started)
            return;
        started = true;
        rebuild();
        std::lock_guard guard(lock);
        gathered = true;
    }

    // Watcher news: the first one opens a batch that is handed on half a second later.
    void folderChanged()
    {
        if (batchPending)
            return;
        batchPending = true;
        scheduler.scheduleAfter(batchingInterval, workQueue, onQueue([](State &self) {
                                    self.batchPending = false;
                                    self.scheduleRebuild();
                                }));
    }

    void scheduleRebuild()
    {
        if (pendingRebuild)
            return;
        const Seconds elapsed = lastRebuild ? clock.continuousNow() - *lastRebuild : rebuildSpacing;
        if (elapsed >= rebuildSpacing) {
            rebuild();
            return;
        }
        pendingRebuild = true;
        scheduler.scheduleAfter(rebuildSpacing - elapsed, workQueue, onQueue([](State &self) {
                                    self.pendingRebuild = false;
                                    self.rebuild();
                                }));
    }

    void rebuild()
    {
        lastRebuild = clock.continuousNow();
        std::vector<FolderEntry> folders = crawlFolders(homePath);
        QList<QByteArray> kept;
        kept.reserve(qsizetype(folders.size()));
        for (const FolderEntry &folder : folders)
            kept.append(folder.path);
        qCDebug(lcFolderIndex).noquote() << "FolderIndex.rebuild:" << kept.size() << "folders";

        // Home itself is watched too, for new folders at the top.
        folders.insert(folders.begin(), FolderEntry{homePath, 0});
        if (!watcher->watchExactly(folders))
            fallBackToRescans();

        FolderPaths snapshot(std::move(kept));
        std::lock_guard guard(lock);
        paths = std::move(snapshot);
    }

    void fallBackToRescans()
    {
        if (rescanning)
            return;
        rescanning = true;
        qCWarning(lcFolderIndex).noquote()
            << "FolderIndex: the system's limit on folder watches is reached; rescanning the home folder every"
            << fallbackRescanInterval << "seconds instead";
        scheduleRescan();
    }

    void scheduleRescan()
    {
        scheduler.scheduleAfter(fallbackRescanInterval, workQueue, onQueue([](State &self) {
                                    self.scheduleRebuild();
                                    self.scheduleRescan();
                                }));
    }

    const QByteArray homePath;
    const QByteArray homePathWithSlash;
    const QByteArray libraryPrefix;
    const std::unique_ptr<FolderWatcher> watcher;
    Clock &clock;
    Scheduler &scheduler;
    Executor &workQueue;

    // Guards the snapshot; held only to swap or copy it.
    mutable std::mutex lock;
    FolderPaths paths;
    bool gathered = false;

    // Work queue only.
    bool started = false;
    bool batchPending = false;
    bool pendingRebuild = false;
    bool rescanning = false;
    std::optional<Seconds> lastRebuild; // none: the first update rebuilds at once
};

namespace {

QByteArray withoutTrailingSlash(QByteArray path)
{
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    return path;
}

} // namespace

FolderIndex::FolderIndex(QByteArray homePath, std::unique_ptr<FolderWatcher> watcher, Clock &clock,
                         Scheduler &scheduler, Executor &workQueue)
    : m_state(std::make_shared<State>(withoutTrailingSlash(std::move(homePath)), std::move(watcher), clock, scheduler,
                                      workQueue))
{
    m_state->watcher->setChangeHandler([&workQueue, news = m_state->onQueue([](State &self) { self.folderChanged(); })] {
        workQueue.post(news);
    });
}

FolderIndex::~FolderIndex()
{
    // Stop the news first: the watcher thread must not post into a half-destroyed index.
    m_state->watcher->setChangeHandler({});
}

void FolderIndex::start()
{
    m_state->workQueue.post(m_state->onQueue([](State &self) { self.start(); }));
}

FolderPaths FolderIndex::paths() const
{
    std::lock_guard guard(m_state->lock);
    return m_state->paths;
}

bool FolderIndex::hasGathered() const
{
    std::lock_guard guard(m_state->lock);
    return m_state->gathered;
}

const QByteArray &FolderIndex::homePath() const
{
    return m_state->homePath;
}

bool FolderIndex::shouldInclude(const QByteArray &path) const
{
    const State &state = *m_state;
    if (path == state.homePath || path == state.libraryPrefix)
        return false;
    if (path.startsWith(state.libraryPrefix + '/'))
        return false;
    if (!path.startsWith(state.homePathWithSlash))
        return false;
    const QByteArrayView relative = QByteArrayView(path).sliced(state.homePathWithSlash.size());
    qsizetype start = 0;
    while (start < relative.size()) {
        qsizetype end = relative.indexOf('/', start);
        if (end < 0)
            end = relative.size();
        if (end > start && isSkippedFolderName(relative.sliced(start, end - start)))
            return false;
        start = end + 1;
    }
    return true;
}

} // namespace dowsel
