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
};

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
          "/home/ux", "/media/disk/Projects", "/home/u/a/dist/b"}) {
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
        makeFolder("Documents");
        index = std::make_unique<FolderIndex>(home(), std::unique_ptr<FolderWatcher>(watcher), clock, clock, queue);
    }
    int rebuilds() const { return watcher->watchCalls(); }
};

TEST_F(FolderIndexUpdates, IsEmptyUntilTheFirstCrawlThenWatchesHomeAndEveryKeptFolder)
{
    EXPECT_FALSE(index->hasGathered());
    EXPECT_EQ(index->paths().size(), 0);
    index->start();
    index->start();
    EXPECT_TRUE(index->hasGathered());
    EXPECT_EQ(rebuilds(), 1);
    EXPECT_EQ(index->paths().list(), QList<QByteArray>{home() + "/Documents"});
    const auto watched = watcher->watched();
    ASSERT_EQ(watched.size(), 2u);
    EXPECT_EQ(watched[0].path, home());
    EXPECT_EQ(watched[1].path, home() + "/Documents");
}

TEST_F(FolderIndexUpdates, ChangesAreBatchedThenRebuildAtMostEveryThreeSeconds)
{
    index->start(); // first rebuild at t = 0
    const FolderPaths before = index->paths();
    makeFolder("Invoices");

    clock.advance(1.0);
    watcher->change();
    watcher->change(); // same batch
    clock.advance(0.5);  // batch handed on at t = 1.5: too soon after the first rebuild
    watcher->change();
    clock.advance(0.5);  // second batch at t = 2.0 joins the pending rebuild
    clock.advance(0.99);
    EXPECT_EQ(rebuilds(), 1);
    EXPECT_FALSE(index->paths().list().contains(home() + "/Invoices"));

    clock.advance(0.01); // t = 3.0, three seconds after the first rebuild started
    EXPECT_EQ(rebuilds(), 2);
    EXPECT_TRUE(index->paths().list().contains(home() + "/Invoices"));
    EXPECT_EQ(before.size(), 1) << "a snapshot taken earlier never changes";
    clock.advance(30);
    EXPECT_EQ(rebuilds(), 2);

    // Long after the last rebuild, a change rebuilds as soon as its batch closes.
    removeFolder("Invoices");
    watcher->change();
    clock.advance(0.49);
    EXPECT_EQ(rebuilds(), 2);
    clock.advance(0.01);
    EXPECT_EQ(rebuilds(), 3);
    EXPECT_EQ(index->paths().list(), QList<QByteArray>{home() + "/Documents"});
}

TEST_F(FolderIndexUpdates, RunningOutOfWatchesFallsBackToPeriodicRescans)
{
    watcher->setWatchLimit(1);
    index->start();
    EXPECT_EQ(rebuilds(), 1);
    makeFolder("New");
    clock.advance(FolderIndex::fallbackRescanInterval);
    EXPECT_EQ(rebuilds(), 2);
    EXPECT_TRUE(index->paths().list().contains(home() + "/New"));
    clock.advance(FolderIndex::fallbackRescanInterval);
    EXPECT_EQ(rebuilds(), 3);
    EXPECT_EQ(clock.pendingCount(), 1u) << "one rescan timer, however often the limit is hit";
}

TEST_F(FolderIndexUpdates, TimersOutlivingTheIndexDoNothing)
{
    index->start();
    watcher->change();
    clock.advance(0.5);
    watcher->change();
    index.reset();
    clock.advance(10);
    EXPECT_EQ(clock.pendingCount(), 0u);
}

// The real pieces together: inotify news, a low-priority worker, timers on virtual time.
class InotifyFolderIndex : public FolderTree {
protected:
    VirtualClock clock;
    WorkerThread worker{"FolderIndexTest", true};

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
};

TEST_F(InotifyFolderIndex, FollowsFoldersCreatedAndRecreatedUnderHome)
{
    makeFolder("Documents");
    FolderIndex index(home(), std::make_unique<InotifyFolderWatcher>(), clock, clock, worker);
    index.start();
    worker.drain();
    ASSERT_TRUE(index.hasGathered());
    const auto has = [&index, this](const char *relative) {
        return index.paths().list().contains(home() + '/' + relative);
    };

    std::ofstream(std::string((home() + "/Documents/file.txt").constData())) << "x";
    makeFolder("Documents/Invoices");
    ASSERT_TRUE(settleUntil([&] { return has("Documents/Invoices"); }));

    // Deleted and created again under the same name (perhaps with the same inode number): the
    // new folder must be watched too.
    removeFolder("Documents/Invoices");
    makeFolder("Documents/Invoices");
    makeFolder("Documents/Marker");
    ASSERT_TRUE(settleUntil([&] { return has("Documents/Marker"); }));
    makeFolder("Documents/Invoices/2024");
    EXPECT_TRUE(settleUntil([&] { return has("Documents/Invoices/2024"); }));

    removeFolder("Documents/Invoices");
    EXPECT_TRUE(settleUntil([&] { return !has("Documents/Invoices/2024") && !has("Documents/Invoices"); }));
}

} // namespace
