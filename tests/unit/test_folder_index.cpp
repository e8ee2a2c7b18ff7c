#include "core/WorkerThread.h"
#include "move/FolderCrawler.h"
#include "move/FolderIndex.h"
#include "platform/fake/Executors.h"
#include "platform/fake/FakeFolderWatcher.h"
#include "platform/fake/VirtualClock.h"
#include "platform/linux/InotifyFolderWatcher.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>

#include <sys/stat.h>
#include <unistd.h>

using namespace dowsel;

namespace {

std::set<QByteArray> asSet(const QList<QByteArray> &paths)
{
    return {paths.begin(), paths.end()};
}

class FolderTree : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QByteArray home() const { return QFile::encodeName(dir.path()); }

    void makeFolder(const QByteArray &relative)
    {
        std::filesystem::create_directories(std::string((home() + '/' + relative).constData()));
    }
    void removeFolder(const QByteArray &relative)
    {
        std::filesystem::remove_all(std::string((home() + '/' + relative).constData()));
    }
    void writeFile(const QByteArray &relative, const std::string &text)
    {
        std::ofstream(std::string((home() + '/' + relative).constData())) << text;
    }
    void rename(const QByteArray &from, const QByteArray &to)
    {
        std::filesystem::rename(std::string((home() + '/' + from).constData()), std::string((home() + '/' + to).constData()));
    }
    std::set<QByteArray> freshCrawl() const
    {
        std::set<QByteArray> paths;
        for (const FolderEntry &entry : crawlFolders(home()))
            paths.insert(entry.path);
        return paths;
    }
};

const std::string cacheTag = "Signature: 8a477f597d28d172789f06886806bc55\n# a cache\n";

TEST(FolderIndexFilter, KeepsOnlyFoldersAPersonWouldMoveADownloadInto)
{
    VirtualClock clock;
    InlineExecutor queue;
    const FolderIndex index("/home/u/", std::make_unique<FakeFolderWatcher>(), clock, clock, queue);
    EXPECT_EQ(index.homePath(), QByteArray("/home/u"));

    for (const char *kept : {"/home/u/Projects/Build", "/home/u/Release 1.2", "/home/u/LibraryNotes", "/home/u/Notes.",
                             "/home/u/-rf", "/home/u/a\nb", "/home/u/Docs/\xff\xfe", "/home/u/x/Library"}) {
        EXPECT_TRUE(index.shouldInclude(kept)) << kept;
    }
    for (const char *excluded :
         {"/home/u", "/home/u/Library", "/home/u/Library/Mobile Documents", "/home/u/Projects/node_modules",
          "/home/u/Projects/node_modules/lib", "/home/u/Apps/Tool.APP/Contents", "/home/u/.config",
          "/home/u/.config/x", "/home/u/a/__pycache__", "/home/u/Photos.photoslibrary/x", "/home/u/Kernel.\u212Aext",
          "/home/ux", "/media/disk/Projects", "/home/u/a/dist/b", "/home/u/venv/lib/python3.11/site-packages/x"}) {
        EXPECT_FALSE(index.shouldInclude(excluded)) << excluded;
    }
}

// The crawler prunes while it walks; what it lists must be exactly what walking everything
// and filtering each path would keep.
TEST_F(FolderTree, CrawlListsWhatTheFilterKeepsAndNeverFollowsLinks)
{
    const QByteArray longName(255, 'n');
    for (const QByteArray &folder : QList<QByteArray>{
             "Documents/Invoices/2024", "Projects/node_modules/lib", "Projects/Build", "Projects/app/build/out",
             "Apps/Tool.APP/Contents", "Apps/Release 1.2", ".config/x", "Library/Mobile Documents", "LibraryNotes/a",
             "odd\nname/inner", "-dash", "quote\"s 'and' spaces", "bad\xff\xfe", longName + "/child",
             "Photos.photoslibrary/x", "Driver.\xe2\x84\xaa" "ext/y", "Notes./z", "deep/a/b/c/d/e/f/g/h"}) {
        makeFolder(folder);
    }
    std::ofstream(std::string((home() + "/Documents/file.pdf").constData())) << "x";
    ASSERT_EQ(::symlink((home() + "/Documents").constData(), (home() + "/link").constData()), 0);
    ASSERT_EQ(::symlink("/", (home() + "/Projects/root").constData()), 0);

    VirtualClock clock;
    InlineExecutor queue;
    const FolderIndex index(home(), std::make_unique<FakeFolderWatcher>(), clock, clock, queue);
    QList<QByteArray> expected;
    namespace fs = std::filesystem;
    for (auto it = fs::recursive_directory_iterator(home().constData()); it != fs::recursive_directory_iterator();
         ++it) {
        const QByteArray path = QByteArray::fromStdString(it->path().native());
        if (!it->is_symlink() && it->is_directory() && index.shouldInclude(path))
            expected.append(path);
    }

    QList<QByteArray> crawled;
    for (const FolderEntry &entry : crawlFolders(home()))
        crawled.append(entry.path);
    EXPECT_EQ(crawled.size(), qsizetype(asSet(crawled).size())) << "no folder twice";
    EXPECT_EQ(asSet(crawled), asSet(expected));
    for (const char *kept : {"/Projects/Build", "/LibraryNotes", "/odd\nname/inner", "/bad\xff\xfe", "/Notes./z"})
        EXPECT_TRUE(crawled.contains(home() + kept)) << kept;
    EXPECT_TRUE(crawled.contains(home() + '/' + longName + "/child"));
    EXPECT_FALSE(crawled.contains(home() + "/link"));
    EXPECT_FALSE(crawled.contains(home() + "/Library"));
    // Parents come before their children.
    EXPECT_LT(crawled.indexOf(home() + "/deep/a"), crawled.indexOf(home() + "/deep/a/b/c"));
}

// Caches, environments and package trees are told by what they hold, not by their names.
TEST_F(FolderTree, CrawlPrunesFoldersByTheirMarkers)
{
    for (const QByteArray &folder : QList<QByteArray>{
             "code/app/target/debug/deps", "code/app/src", "venv/lib/python3.11/site-packages/pkg", "venv/bin",
             "tools/lib/python3/site-packages/x", "go/pkg/mod/cache/download/x", "go/pkg/mod/github.com/a",
             "go/src/mod/inner", "snap/firefox/common", "snapshots/2024", "Work/snap/x", "Rust/target/notes",
             "Odd/tagged", "Writing/tag"}) {
        makeFolder(folder);
    }
    writeFile("code/app/target/CACHEDIR.TAG", cacheTag);
    writeFile("Odd/tagged/CACHEDIR.TAG", ""); // still being written
    writeFile("Writing/tag/CACHEDIR.TAG", "not the signature");
    writeFile("venv/pyvenv.cfg", "home = /usr/bin\n");
    ASSERT_EQ(::symlink("x1", (home() + "/snap/firefox/current").constData()), 0);

    const std::set<QByteArray> crawled = freshCrawl();
    for (const char *kept : {"/code/app", "/code/app/src", "/tools/lib/python3", "/go/pkg", "/go/src/mod/inner",
                             "/snapshots/2024", "/Work/snap/x", "/Rust/target/notes", "/Odd", "/Writing/tag"}) {
        EXPECT_TRUE(crawled.contains(home() + kept)) << kept;
    }
    for (const char *pruned : {"/code/app/target", "/code/app/target/debug", "/venv", "/venv/bin",
                               "/tools/lib/python3/site-packages", "/go/pkg/mod", "/go/pkg/mod/github.com",
                               "/snap", "/snap/firefox", "/Odd/tagged"}) {
        EXPECT_FALSE(crawled.contains(home() + pruned)) << pruned;
    }
}

TEST_F(FolderTree, UnreadableFoldersAreListedWithoutTheirContents)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "permissions do not apply to root";
    makeFolder("Locked/inside");
    ASSERT_EQ(::chmod((home() + "/Locked").constData(), 0), 0);
    const auto found = crawlFolders(home());
    ::chmod((home() + "/Locked").constData(), 0755);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].path, home() + "/Locked");
}

TEST(FolderCrawler, AMissingHomeFolderGivesNothing)
{
    EXPECT_TRUE(crawlFolders("/nonexistent/dowsel-home").empty());
}

class FolderIndexUpdates : public FolderTree {
protected:
    VirtualClock clock;
    InlineExecutor queue;
    FakeFolderWatcher *watcher = new FakeFolderWatcher;
    std::unique_ptr<FolderIndex> index;

    void SetUp() override
    {
        makeFolder("Documents/Old");
        index = std::make_unique<FolderIndex>(home(), std::unique_ptr<FolderWatcher>(watcher), clock, clock, queue);
    }
    void news(FolderChange::Kind kind, const QByteArray &relative = {})
    {
        watcher->change({{kind, relative.isEmpty() ? home() : home() + '/' + relative}});
    }
    std::set<QByteArray> indexed() const { return asSet(index->paths().list()); }
    std::set<QByteArray> watchedNow() const
    {
        std::set<QByteArray> expected{home()};
        for (const QByteArray &path : freshCrawl())
            expected.insert(path);
        return expected;
    }
};

TEST_F(FolderIndexUpdates, IsEmptyUntilTheFirstCrawlThenWatchesHomeAndEveryKeptFolder)
{
    EXPECT_FALSE(index->hasGathered());
    EXPECT_EQ(index->paths().size(), 0);
    index->start();
    index->start();
    EXPECT_TRUE(index->hasGathered());
    EXPECT_EQ(indexed(), (std::set<QByteArray>{home() + "/Documents", home() + "/Documents/Old"}));
    EXPECT_EQ(watcher->watched(), watchedNow());
    EXPECT_EQ(watcher->markerNames(), (std::vector<QByteArray>{"CACHEDIR.TAG", "pyvenv.cfg"}));
}

// After the first crawl, news make the index read only the folders they name.
TEST_F(FolderIndexUpdates, NewsAreBatchedThenOnlyTheNamedFoldersAreReadAgain)
{
    for (int i = 0; i < 50; ++i)
        makeFolder("Area/" + QByteArray::number(i));
    index->start();
    const FolderPaths before = index->paths();
    const int crawlWatches = watcher->watchCalls();

    makeFolder("Documents/Invoices/2024");
    news(FolderChange::Kind::children, "Documents");
    clock.advance(0.2);
    news(FolderChange::Kind::children, "Documents"); // same batch
    clock.advance(0.29);
    EXPECT_FALSE(index->paths().contains(home() + "/Documents/Invoices"));
    clock.advance(0.01);
    EXPECT_EQ(indexed(), freshCrawl());
    EXPECT_EQ(watcher->watchCalls() - crawlWatches, 2) << "only the two new folders are watched";
    EXPECT_EQ(before.size(), 53) << "a snapshot taken earlier never changes";

    // Removed with its subtree; its watches go too.
    removeFolder("Documents/Invoices");
    news(FolderChange::Kind::children, "Documents");
    news(FolderChange::Kind::gone, "Documents/Invoices/2024");
    news(FolderChange::Kind::gone, "Documents/Invoices");
    clock.advance(0.5);
    EXPECT_EQ(indexed(), freshCrawl());
    EXPECT_EQ(watcher->watched(), watchedNow());

    // Renamed: the old name goes, the new one comes with what is below it.
    rename("Documents/Old", "Documents/Older");
    makeFolder("Documents/Older/inside");
    news(FolderChange::Kind::children, "Documents");
    clock.advance(0.5);
    EXPECT_EQ(indexed(), freshCrawl());
    EXPECT_EQ(watcher->watched(), watchedNow());
    EXPECT_EQ(watcher->watchCalls() - crawlWatches, 4);

    // A folder that becomes a Python environment leaves the index, and comes back when the
    // environment is gone.
    makeFolder("Documents/Older/lib/site-packages");
    writeFile("Documents/Older/pyvenv.cfg", "x");
    news(FolderChange::Kind::marker, "Documents/Older");
    clock.advance(0.5);
    EXPECT_FALSE(index->paths().contains(home() + "/Documents/Older"));
    EXPECT_EQ(indexed(), freshCrawl());
    removeFolder("Documents/Older");
    makeFolder("Documents/Older");
    news(FolderChange::Kind::children, "Documents");
    clock.advance(0.5);
    EXPECT_EQ(indexed(), freshCrawl());
    EXPECT_EQ(watcher->watched(), watchedNow());
}

// News the system dropped: a full crawl, at most once every three seconds (start to start).
TEST_F(FolderIndexUpdates, AnOverflowCrawlsEverythingAgainAtMostEveryThreeSeconds)
{
    index->start(); // first crawl at t = 0
    const int perCrawl = watcher->watchCalls();
    makeFolder("Unannounced/a");
    removeFolder("Documents/Old");

    clock.advance(1.0);
    news(FolderChange::Kind::overflow);
    clock.advance(0.5); // batch closes at t = 1.5: too soon after the first crawl
    news(FolderChange::Kind::children, "Documents");
    clock.advance(1.49);
    EXPECT_EQ(watcher->watchCalls(), perCrawl);
    EXPECT_TRUE(index->paths().contains(home() + "/Documents/Old")) << "the pending crawl covers later news";

    clock.advance(0.01); // t = 3.0
    EXPECT_EQ(indexed(), freshCrawl());
    EXPECT_EQ(watcher->watched(), watchedNow());
    const int afterSecond = watcher->watchCalls();
    clock.advance(30);
    EXPECT_EQ(watcher->watchCalls(), afterSecond);

    // Long after the last crawl, an overflow crawls as soon as its batch closes.
    makeFolder("Later");
    news(FolderChange::Kind::overflow);
    clock.advance(0.5);
    EXPECT_EQ(indexed(), freshCrawl());
}

TEST_F(FolderIndexUpdates, RunningOutOfWatchesFallsBackToPeriodicRescans)
{
    watcher->setWatchLimit(1);
    index->start();
    EXPECT_EQ(watcher->watched().size(), 1u);
    makeFolder("New");
    clock.advance(FolderIndex::fallbackRescanInterval);
    EXPECT_TRUE(index->paths().contains(home() + "/New"));
    removeFolder("New");
    clock.advance(FolderIndex::fallbackRescanInterval);
    EXPECT_EQ(indexed(), freshCrawl());
    EXPECT_EQ(clock.pendingCount(), 1u) << "one rescan timer, however often the limit is hit";
}

TEST_F(FolderIndexUpdates, TimersOutlivingTheIndexDoNothing)
{
    index->start();
    news(FolderChange::Kind::overflow);
    clock.advance(0.5);
    news(FolderChange::Kind::children);
    index.reset();
    clock.advance(10);
    EXPECT_EQ(clock.pendingCount(), 0u);
}

// The real pieces together: inotify news, a low-priority worker, timers on virtual time.
class InotifyFolderIndex : public FolderTree {
protected:
    VirtualClock clock;
    WorkerThread worker{"FolderIndexTest", true};
    InotifyFolderWatcher *watcher = new InotifyFolderWatcher;
    FolderIndex index{home(), std::unique_ptr<FolderWatcher>(watcher), clock, clock, worker};

    // Lets every due timer fire, again and again, until `done` holds; news from the kernel may
    // take a moment, so it waits a little between rounds (it asserts nothing about time).
    template <class Done>
    bool settleUntil(Done done)
    {
        for (int round = 0; round < 500; ++round) {
            worker.drain();
            while (const auto next = clock.nextDeadline()) {
                clock.advance(*next - clock.continuousNow() + 1e-6);
                worker.drain();
            }
            if (done())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    // The index agrees with a fresh crawl, and watches exactly home and the folders it read.
    bool matchesAFreshCrawl()
    {
        return settleUntil([this] {
            std::size_t listed = 1;
            for (const FolderEntry &entry : crawlFolders(home()))
                listed += entry.listed ? 1 : 0;
            return asSet(index.paths().list()) == freshCrawl() && watcher->watchCount() == listed;
        });
    }
};

TEST_F(InotifyFolderIndex, FollowsEveryKindOfChangeAsAFreshCrawlWouldSeeIt)
{
    makeFolder("Documents/Invoices");
    index.start();
    worker.drain();
    ASSERT_TRUE(index.hasGathered());
    ASSERT_TRUE(matchesAFreshCrawl());

    writeFile("Documents/file.txt", "x");
    makeFolder("Documents/Invoices/2024/Q1");
    EXPECT_TRUE(matchesAFreshCrawl()) << "created";

    // Deleted and created again under the same name (perhaps with the same inode number): the
    // new folder must be watched too.
    removeFolder("Documents/Invoices");
    makeFolder("Documents/Invoices");
    EXPECT_TRUE(matchesAFreshCrawl()) << "re-created";
    makeFolder("Documents/Invoices/2025");
    EXPECT_TRUE(matchesAFreshCrawl()) << "inside the re-created folder";

    rename("Documents/Invoices", "Bills");
    EXPECT_TRUE(matchesAFreshCrawl()) << "renamed";
    makeFolder("Bills/2025/Dec");
    EXPECT_TRUE(matchesAFreshCrawl()) << "inside the renamed folder";

    // A subtree moved in from outside home, and one moved out.
    QTemporaryDir outside;
    std::filesystem::create_directories(outside.path().toStdString() + "/Album/Disc 1");
    std::filesystem::rename(outside.path().toStdString() + "/Album", std::string((home() + "/Music").constData()));
    EXPECT_TRUE(matchesAFreshCrawl()) << "moved in";
    std::filesystem::rename(std::string((home() + "/Bills").constData()), outside.path().toStdString() + "/Bills");
    EXPECT_TRUE(matchesAFreshCrawl()) << "moved out";
    std::filesystem::create_directories(outside.path().toStdString() + "/Bills/after");
    EXPECT_TRUE(matchesAFreshCrawl()) << "changes outside home are not followed";

    // A project that grows a build cache, and a folder that becomes an environment.
    makeFolder("Music/Disc 1/target");
    writeFile("Music/Disc 1/target/CACHEDIR.TAG", cacheTag);
    makeFolder("Music/Disc 1/target/debug");
    EXPECT_TRUE(matchesAFreshCrawl()) << "cache";
    makeFolder("Documents/env/lib");
    EXPECT_TRUE(matchesAFreshCrawl());
    writeFile("Documents/env/pyvenv.cfg", "x");
    EXPECT_TRUE(matchesAFreshCrawl()) << "environment";
    EXPECT_FALSE(index.paths().contains(home() + "/Documents/env"));

    removeFolder("Music");
    removeFolder("Documents");
    EXPECT_TRUE(matchesAFreshCrawl()) << "removed";
    EXPECT_TRUE(index.paths().isEmpty());
}

} // namespace
