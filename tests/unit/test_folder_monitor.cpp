#include "DownloadsTestSupport.h"

#include "core/FolderMonitor.h"
#include "platform/fake/Executors.h"
#include "platform/fake/VirtualClock.h"

#include <gtest/gtest.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

// Real inotify on a temporary folder; the monitor's queue is run by the test and its time is
// virtual, so batching and retries happen exactly when the test says.
class FolderMonitorTest : public ::testing::Test {
protected:
    void startMonitor(const QByteArray &path)
    {
        monitor = std::make_unique<FolderMonitor>(path, clock, clock, queue);
        auto stream = std::make_shared<FileEventStream>();
        stream->setConsumer(&consumer, [this](const FileEvent &event) { events.push_back(event); });
        monitor->setContinuation(stream);
        monitor->start();
        queue.runAll();
    }

    // Runs the monitor until an event matching `wanted` has been delivered.
    const FileEvent *waitForEvent(const std::function<bool(const FileEvent &)> &wanted)
    {
        const FileEvent *found = nullptr;
        waitUntil(
            [&] {
                for (const FileEvent &event : events) {
                    if (wanted(event)) {
                        found = &event;
                        return true;
                    }
                }
                return false;
            },
            [&] {
                queue.runAll();
                clock.advance(EventCoalescer::latency);
                queue.runAll();
            });
        return found;
    }

    const FileEvent *waitForEvent(const QByteArray &path, FSEventFlags flags)
    {
        return waitForEvent([&](const FileEvent &e) { return e.path == path && e.flags.contains(flags); });
    }

    TemporaryDownloads downloads;
    VirtualClock clock;
    ManualExecutor queue;
    InlineExecutor consumer;
    std::vector<FileEvent> events;
    std::unique_ptr<FolderMonitor> monitor;
};

TEST_F(FolderMonitorTest, EventsCarryTheItemsInodeEvenAfterItIsGone)
{
    const QByteArray existing = downloads / "was here before.txt";
    writeFile(existing);
    const std::uint64_t existingInode = inodeOf(existing);
    startMonitor(downloads.path());
    ASSERT_TRUE(monitor->isWatching());

    const QByteArray odd = downloads / "-n\nbad\xff\xfe name";
    writeFile(odd);
    const std::uint64_t oddInode = inodeOf(odd);
    const FileEvent *created = waitForEvent(odd, {FSEventFlags::created, FSEventFlags::isFile});
    ASSERT_NE(created, nullptr);
    EXPECT_EQ(created->inode, oddInode);

    const QByteArray renamed = downloads / "renamed.txt";
    renameItem(odd, renamed);
    ASSERT_EQ(::unlink(existing.constData()), 0);

    const FileEvent *from = waitForEvent(odd, {FSEventFlags::renamed, FSEventFlags::isFile});
    ASSERT_NE(from, nullptr);
    EXPECT_EQ(from->inode, oddInode);
    EXPECT_FALSE(from->flags.contains(FSEventFlags::removed));
    const FileEvent *to = waitForEvent(renamed, {FSEventFlags::renamed, FSEventFlags::isFile});
    ASSERT_NE(to, nullptr);
    EXPECT_EQ(to->inode, oddInode);
    const FileEvent *deleted = waitForEvent(existing, {FSEventFlags::removed, FSEventFlags::isFile});
    ASSERT_NE(deleted, nullptr);
    EXPECT_EQ(deleted->inode, existingInode);
}

TEST_F(FolderMonitorTest, ReportsArrivalsOneFolderDownButNotDeeper)
{
    makeFolder(downloads / "old folder");
    startMonitor(downloads.path());

    makeFolder(downloads / "New Folder");
    const FileEvent *folder = waitForEvent(downloads / "New Folder", {FSEventFlags::created, FSEventFlags::isDir});
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(folder->inode, inodeOf(downloads / "New Folder"));

    writeFile(downloads / "New Folder/inside.txt");
    makeFolder(downloads / "old folder/deeper");
    EXPECT_NE(waitForEvent(downloads / "New Folder/inside.txt", FSEventFlags::created), nullptr);
    EXPECT_NE(waitForEvent(downloads / "old folder/deeper", FSEventFlags::created), nullptr);

    writeFile(downloads / "old folder/deeper/too deep.txt");
    writeFile(downloads / "marker");
    ASSERT_NE(waitForEvent(downloads / "marker", FSEventFlags::created), nullptr);
    for (const FileEvent &event : events)
        EXPECT_FALSE(event.path.endsWith("too deep.txt"));

    // A renamed subfolder is still watched under its new name.
    renameItem(downloads / "old folder", downloads / "renamed folder");
    ASSERT_NE(waitForEvent(downloads / "renamed folder", FSEventFlags::renamed), nullptr);
    writeFile(downloads / "renamed folder/late.txt");
    EXPECT_NE(waitForEvent(downloads / "renamed folder/late.txt", FSEventFlags::created), nullptr);
}

TEST_F(FolderMonitorTest, RetriesEveryFiveSecondsUntilTheFolderExistsThenAsksForARescan)
{
    const QByteArray later = downloads / "Downloads";
    startMonitor(later);
    EXPECT_FALSE(monitor->isWatching());
    monitor->start(); // starting again while a retry is pending does not add a second one
    queue.runAll();
    EXPECT_EQ(clock.pendingCount(), 1u);
    clock.advance(FolderMonitor::retryInterval);
    queue.runAll();
    EXPECT_FALSE(monitor->isWatching());

    makeFolder(later);
    writeFile(later + "/arrived meanwhile.pdf");
    clock.advance(FolderMonitor::retryInterval - 0.01);
    queue.runAll();
    EXPECT_FALSE(monitor->isWatching());
    clock.advance(0.01);
    queue.runAll();
    ASSERT_TRUE(monitor->isWatching());
    ASSERT_FALSE(events.empty());
    EXPECT_EQ(events.front().path, later + "/.");
    EXPECT_EQ(events.front().flags, (FSEventFlags{FSEventFlags::isDir, FSEventFlags::mustScan}));

    // The folder disappears and comes back: watching resumes by itself.
    ASSERT_EQ(::unlink((later + "/arrived meanwhile.pdf").constData()), 0);
    ASSERT_EQ(::rmdir(later.constData()), 0);
    ASSERT_TRUE(waitUntil([&] { return !monitor->isWatching(); }, [&] { queue.runAll(); }));
    makeFolder(later);
    clock.advance(FolderMonitor::retryInterval);
    queue.runAll();
    ASSERT_TRUE(monitor->isWatching());
    writeFile(later + "/after.txt");
    EXPECT_NE(waitForEvent(later + "/after.txt", FSEventFlags::created), nullptr);
}

TEST_F(FolderMonitorTest, DestroyingTheMonitorFinishesItsStreamAndStopsRetrying)
{
    auto stream = std::make_shared<FileEventStream>();
    {
        FolderMonitor missing(downloads / "nowhere", clock, clock, queue);
        missing.setContinuation(stream);
        missing.start();
        queue.runAll();
        EXPECT_EQ(clock.pendingCount(), 1u);
    }
    EXPECT_TRUE(stream->isFinished());
    EXPECT_EQ(clock.pendingCount(), 0u);
}

} // namespace
