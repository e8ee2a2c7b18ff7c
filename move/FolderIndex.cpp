#include "move/FolderIndex.h"

#include "core/Logging.h"
#include "move/FolderCrawler.h"
#include "platform/Executor.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <mutex>
#include <optional>

namespace dowsel {

namespace {

QByteArray parentOf(const QByteArray &path)
{
    return path.left(path.lastIndexOf('/'));
}

QByteArray nameOf(const QByteArray &path)
{
    return path.sliced(path.lastIndexOf('/') + 1);
}

} // namespace

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
        hooks.beforeListing = [this](const QByteArray &path) { watch(path); };
        hooks.pruned = [this](const QByteArray &path, std::uint64_t inode) {
            this->watcher->unwatch(path);
            prunedDuringCrawl.push_back({path, inode});
        };
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

    // Watcher news: the first opens a batch that is handled half a second later.
    void changesArrived(std::vector<FolderChange> changes)
    {
        pendingChanges.insert(pendingChanges.end(), changes.begin(), changes.end());
        if (batchPending)
            return;
        batchPending = true;
        scheduler.scheduleAfter(batchingInterval, workQueue, onQueue([](State &self) {
                                    self.batchPending = false;
                                    self.handleBatch();
                                }));
    }

    void handleBatch()
    {
        std::vector<FolderChange> changes;
        changes.swap(pendingChanges);
        if (!started || pendingRebuild)
            return; // the coming crawl sees everything
        const bool overflowed = std::any_of(changes.begin(), changes.end(), [](const FolderChange &change) {
            return change.kind == FolderChange::Kind::overflow;
        });
        if (overflowed) {
            qCDebug(lcFolderIndex).noquote() << "FolderIndex: the system dropped news; crawling again";
            scheduleRebuild();
            return;
        }
        update(changes);
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

    // A full crawl: everything found is watched (before it is read) and replaces the index.
    void rebuild()
    {
        lastRebuild = clock.continuousNow();
        QHash<QByteArray, Node> previous;
        previous.swap(nodes);
        prunedDuringCrawl.clear();
        const std::vector<FolderEntry> found = crawlFolders(homePath, &hooks);

        nodes.reserve(qsizetype(found.size()) + 1);
        nodes.insert(homePath, Node{});
        chunks.clear();
        touched.clear();
        for (const FolderEntry &entry : found)
            addNode(entry);
        for (const auto &[path, inode] : prunedDuringCrawl)
            linkToParent(path, inode, false);
        for (auto it = previous.cbegin(); it != previous.cend(); ++it) {
            if (!nodes.contains(it.key()))
                watcher->unwatch(it.key());
        }
        qCDebug(lcFolderIndex).noquote() << "FolderIndex.rebuild:" << found.size() << "folders";
        publish();
    }

    // Reads again only the folders the news name.
    void update(const std::vector<FolderChange> &changes)
    {
        QSet<QByteArray> toRead;
        const qsizetype before = nodes.size();
        qsizetype dropped = 0;
        for (const FolderChange &change : changes) {
            switch (change.kind) {
            case FolderChange::Kind::children:
                toRead.insert(change.folder);
                break;
            case FolderChange::Kind::gone:
            case FolderChange::Kind::marker:
                // Gone: perhaps made again under the same name. Marker: it may now be a cache,
                // or no longer be one. Either way its parent decides afresh.
                if (change.folder != homePath && nodes.contains(change.folder)) {
                    dropped += dropFolder(change.folder);
                    toRead.insert(parentOf(change.folder));
                }
                break;
            case FolderChange::Kind::overflow:
                break;
            }
        }
        // Parents first: a folder dropped or crawled whole needs no reading of its own.
        std::vector<QByteArray> order(toRead.begin(), toRead.end());
        std::sort(order.begin(), order.end(), [](const QByteArray &a, const QByteArray &b) {
            const qsizetype depthA = a.count('/');
            const qsizetype depthB = b.count('/');
            return depthA != depthB ? depthA < depthB : a < b;
        });
        for (const QByteArray &folder : order)
            dropped += readAgain(folder);
        qCDebug(lcFolderIndex).noquote() << "FolderIndex.update:" << (nodes.size() - before + dropped) << "added,"
                                         << dropped << "removed," << (nodes.size() - 1) << "folders";
        publish();
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

    // A folder below home: where its path sits in the snapshot, and what is inside it.
    struct Child {
        QByteArray name;
        std::uint64_t inode = 0;
        bool kept = true; // false: a cache or environment, left out
    };
    struct Node {
        std::uint64_t inode = 0;
        bool listed = true;
        std::uint32_t chunk = 0;
        std::uint32_t slot = 0;
        std::vector<Child> children;
    };

    void watch(const QByteArray &path)
    {
        if (watchLimitReached)
            return;
        if (watcher->watch(path) == FolderWatcher::WatchResult::limitReached) {
            watchLimitReached = true;
            fallBackToRescans();
        }
    }

    // Adds a folder the crawl found (its parent is already in) to the snapshot.
    void addNode(const FolderEntry &entry)
    {
        Node node;
        node.inode = entry.inode;
        node.listed = entry.listed;
        if (chunks.empty() || chunks.back()->paths.size() == FolderChunk::capacity) {
            chunks.push_back(std::make_shared<FolderChunk>());
            chunks.back()->paths.reserve(FolderChunk::capacity);
            chunks.back()->masks.reserve(FolderChunk::capacity);
            touched.push_back(true);
        }
        node.chunk = std::uint32_t(chunks.size() - 1);
        node.slot = std::uint32_t(chunks.back()->paths.size());
        mutableChunk(node.chunk).append(entry.path);
        nodes.insert(entry.path, std::move(node));
        linkToParent(entry.path, entry.inode, true);
    }

    void linkToParent(const QByteArray &path, std::uint64_t inode, bool kept)
    {
        const auto parent = nodes.find(parentOf(path));
        if (parent != nodes.end())
            parent->children.push_back({nameOf(path), inode, kept});
    }

    // Drops `path` and everything below it; returns how many folders went.
    qsizetype dropFolder(const QByteArray &path)
    {
        const auto parent = nodes.find(parentOf(path));
        if (parent != nodes.end()) {
            const QByteArray name = nameOf(path);
            std::erase_if(parent->children, [&name](const Child &child) { return child.name == name; });
        }
        qsizetype count = 0;
        std::vector<QByteArray> stack{path};
        while (!stack.empty()) {
            const QByteArray folder = std::move(stack.back());
            stack.pop_back();
            const auto found = nodes.find(folder);
            if (found == nodes.end())
                continue;
            const Node node = std::move(found.value());
            nodes.erase(found);
            watcher->unwatch(folder);
            removeFromSnapshot(node);
            ++count;
            for (const Child &child : node.children) {
                if (child.kept)
                    stack.push_back(folder + '/' + child.name);
            }
        }
        return count;
    }

    // Lists `folder` again: children that vanished or were replaced are dropped, new ones
    // crawled. Returns how many folders were dropped.
    qsizetype readAgain(const QByteArray &folder)
    {
        const auto node = nodes.constFind(folder);
        if (node == nodes.constEnd() || !node->listed)
            return 0;
        const std::optional<std::vector<ChildFolder>> listing = listChildFolders(homePath, folder);
        if (!listing)
            return 0; // gone itself: its parent's news drop it
        std::vector<Child> known = node->children;
        qsizetype dropped = 0;
        for (const Child &child : known) {
            // A folder left out is looked at again: unwatched, it may have been replaced by
            // another one under the same name and inode number, or lost its marker.
            const bool stillThere = child.kept && std::any_of(listing->begin(), listing->end(), [&child](const ChildFolder &now) {
                return now.name == child.name && now.inode == child.inode;
            });
            if (stillThere)
                continue;
            const QByteArray path = folder + '/' + child.name;
            if (child.kept) {
                dropped += dropFolder(path);
            } else {
                auto &children = nodes[folder].children;
                std::erase_if(children, [&child](const Child &c) { return c.name == child.name; });
            }
        }
        for (const ChildFolder &now : *listing) {
            const auto &children = nodes[folder].children;
            const bool known = std::any_of(children.begin(), children.end(),
                                           [&now](const Child &child) { return child.name == now.name; });
            if (known)
                continue;
            prunedDuringCrawl.clear();
            std::vector<FolderEntry> found;
            crawlFolder(homePath, folder, now.name, found, &hooks);
            for (const FolderEntry &entry : found)
                addNode(entry);
            if (found.empty() || found.front().path != folder + '/' + now.name)
                nodes[folder].children.push_back({now.name, now.inode, false});
            for (const auto &[path, inode] : prunedDuringCrawl) {
                if (parentOf(path) != folder)
                    linkToParent(path, inode, false);
            }
        }
        return dropped;
    }

    FolderChunk &mutableChunk(std::uint32_t index)
    {
        if (!touched[index]) {
            // Readers may hold the published chunk: change a copy.
            chunks[index] = std::make_shared<FolderChunk>(*chunks[index]);
            touched[index] = true;
        }
        return *chunks[index];
    }

    void removeFromSnapshot(const Node &node)
    {
        FolderChunk &chunk = mutableChunk(node.chunk);
        const std::size_t last = chunk.paths.size() - 1;
        if (node.slot != last) {
            if (const auto moved = nodes.find(chunk.paths[last]); moved != nodes.end())
                moved->slot = node.slot;
        }
        chunk.removeAt(node.slot);
    }

    void publish()
    {
        FolderPaths::Chunks shared(chunks.begin(), chunks.end());
        std::fill(touched.begin(), touched.end(), false);
        touched.resize(chunks.size(), false);
        FolderPaths snapshot(std::move(shared));
        std::lock_guard guard(lock);
        paths = std::move(snapshot);
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
    bool watchLimitReached = false;
    std::optional<Seconds> lastRebuild; // none: the first crawl may start at once
    std::vector<FolderChange> pendingChanges;
    QHash<QByteArray, Node> nodes; // home and every kept folder
    std::vector<std::shared_ptr<FolderChunk>> chunks;
    std::vector<bool> touched; // chunks copied since the last publish
    CrawlHooks hooks;
    std::vector<std::pair<QByteArray, std::uint64_t>> prunedDuringCrawl;
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
    m_state->watcher->setMarkerNames({"CACHEDIR.TAG", "pyvenv.cfg"});
    m_state->watcher->setChangeHandler(
        [&workQueue, weak = std::weak_ptr<State>(m_state)](std::vector<FolderChange> changes) {
            workQueue.post([weak, changes = std::move(changes)]() mutable {
                if (const auto self = weak.lock())
                    self->changesArrived(std::move(changes));
            });
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
