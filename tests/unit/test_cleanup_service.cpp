#include "DownloadsTestSupport.h"
#include "StoreTestSupport.h"

#include "core/Tags.h"
#include "core/WorkerThread.h"
#include "app/DownloadsFolder.h"
#include "expiry/CleanupService.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QFile>

#include <atomic>
#include <sys/xattr.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

// The service and the store each on a worker of their own, as in the app, on virtual time,
// with a real store file and the real Trash under a temporary $XDG_DATA_HOME.
class CleanupServiceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        root = QFile::encodeName(dir.path());
        downloads = root + "/Downloads";
        ASSERT_EQ(::mkdir(downloads.constData(), 0755), 0);
        previousDataHome = qgetenv("XDG_DATA_HOME");
        qputenv("XDG_DATA_HOME", root + "/data");
        realTrash = std::make_unique<FreedesktopTrash>();
        launch(*realTrash);
    }
    void TearDown() override
    {
        settle();
        service.reset();
        if (previousDataHome.isEmpty())
            qunsetenv("XDG_DATA_HOME");
        else
            qputenv("XDG_DATA_HOME", previousDataHome);
    }

    // Opens the store and starts a fresh service on it, as a launch of the app does.
    void launch(Trash &trash)
    {
        service.reset();
        actor.reset();
        QString error;
        auto store = TrackedFileStore::open(dir.path() + QStringLiteral("/Sivra.sqlite"), clock, prefs, trash, &error);
        ASSERT_TRUE(store) << error.toStdString();
        actor = std::make_unique<TrackedFileActor>(storeWorker, std::move(store));
        service = std::make_unique<CleanupService>(*actor, trash, clock, clock, cleanupWorker);
    }

    // Waits until the service and the store have nothing left to do.
    void settle()
    {
        cleanupWorker.drain();
        storeWorker.drain();
    }
    void advance(Seconds by)
    {
        clock.advance(by);
        settle();
    }

    template <class F>
    auto onStore(F work)
    {
        return actor->call(std::move(work)).get();
    }
    std::optional<TrackedFile> record(RecordId id)
    {
        return onStore([id](TrackedFileStore &store) { return store.record(id); });
    }

    QByteArray download(const QByteArray &name) const { return downloads + '/' + name; }
    QByteArray trashed(const QByteArray &name) const { return root + "/data/Trash/files/" + name; }

    // What a file manager's Restore does.
    void restoreFromTrash(const QByteArray &name)
    {
        ASSERT_EQ(::rename(trashed(name).constData(), download(name).constData()), 0);
        ASSERT_EQ(::unlink((root + "/data/Trash/info/" + name + ".trashinfo").constData()), 0);
    }

    RecordId track(const QByteArray &name)
    {
        const QByteArray path = download(name);
        const std::uint64_t inode = writeFile(path, name);
        EXPECT_NE(inode, 0u);
        return onStore(
            [=, identity = identityOf(path)](TrackedFileStore &store) { return store.insertNew(identity, path, name, name.size()); });
    }
    // Marks the record temporary for `duration` and schedules it, as the toast's Keep does.
    Date keep(RecordId id, Seconds duration)
    {
        const auto expiry = onStore([=](TrackedFileStore &store) { return store.markTemporary(id, duration); });
        EXPECT_TRUE(expiry);
        service->schedule(id, *expiry);
        settle();
        return *expiry;
    }

    QTemporaryDir dir;
    QByteArray root;
    QByteArray downloads;
    QByteArray previousDataHome;
    VirtualClock clock;
    MemoryPreferences prefs;
    WorkerThread storeWorker{"test-store"};
    WorkerThread cleanupWorker{"test-cleanup"};
    std::unique_ptr<FreedesktopTrash> realTrash;
    RecordingTrash failing;
    std::unique_ptr<TrackedFileActor> actor;
    std::unique_ptr<CleanupService> service;
};

TEST_F(CleanupServiceTest, AnExpiredFileGoesToTheTrashAtItsTimeAndItsRecordWithIt)
{
    LogCapture log(QStringLiteral("dowsel.cleanup.debug=true"));
    const RecordId id = track("a b.pdf");
    keep(id, 60);
    EXPECT_EQ(readTags(download("a b.pdf")), QByteArrayList{temporaryTag});

    advance(59.5);
    EXPECT_TRUE(exists(download("a b.pdf")));
    EXPECT_TRUE(record(id));

    advance(0.5);
    EXPECT_FALSE(exists(download("a b.pdf")));
    EXPECT_TRUE(exists(trashed("a b.pdf")));
    EXPECT_FALSE(record(id));
    EXPECT_EQ(clock.pendingCount(), 0u);
    EXPECT_TRUE(log.lines().contains(QStringLiteral("Trashed expired file: a b.pdf")));
}

TEST_F(CleanupServiceTest, MarkingAgainMovesTheTrashToTheLaterTime)
{
    const RecordId id = track("report.pdf");
    keep(id, 60);
    advance(30);
    keep(id, 120); // due 150 seconds after the first mark
    EXPECT_EQ(clock.pendingCount(), 1u);

    advance(31);
    EXPECT_TRUE(exists(download("report.pdf")));
    advance(88);
    EXPECT_TRUE(exists(download("report.pdf")));
    advance(1);
    EXPECT_TRUE(exists(trashed("report.pdf")));

    // Scheduling an expiry already passed fires at once.
    const RecordId late = track("late.pdf");
    const auto expiry = onStore([=](TrackedFileStore &store) { return store.markTemporary(late, 5); });
    clock.setWallClock(*expiry + 100);
    service->schedule(late, *expiry);
    settle();
    advance(0);
    EXPECT_TRUE(exists(trashed("late.pdf")));
}

TEST_F(CleanupServiceTest, FilesKeptMovedOrReplacedBeforeExpiryAreNotTrashed)
{
    const RecordId kept = track("kept.pdf");
    const RecordId moved = track("moved.pdf");
    const RecordId replaced = track("replaced.pdf");
    keep(kept, 60);
    keep(moved, 60);
    keep(replaced, 60);

    onStore([=](TrackedFileStore &store) { store.markDismissed(kept); });
    ASSERT_EQ(::rename(download("moved.pdf").constData(), (root + "/moved.pdf").constData()), 0);
    ASSERT_EQ(::rename(download("replaced.pdf").constData(), (root + "/old.pdf").constData()), 0);
    ASSERT_NE(writeFile(download("replaced.pdf"), "a new file of the same name"), 0u);

    advance(60);
    EXPECT_TRUE(exists(download("kept.pdf")));
    EXPECT_TRUE(exists(root + "/moved.pdf"));
    EXPECT_TRUE(exists(root + "/old.pdf"));
    EXPECT_TRUE(exists(download("replaced.pdf")));
    EXPECT_FALSE(exists(root + "/data/Trash/files/kept.pdf"));
    EXPECT_FALSE(exists(trashed("moved.pdf")));
    EXPECT_FALSE(exists(trashed("replaced.pdf")));

    EXPECT_EQ(record(kept)->state, FileState::dismissed);
    EXPECT_FALSE(record(moved));
    EXPECT_FALSE(record(replaced));
}

TEST_F(CleanupServiceTest, AFileRestoredFromTheTrashIsNotTrashedAgainByAnOldTimer)
{
    const RecordId id = track("undo.pdf");
    const std::uint64_t inode = inodeOf(download("undo.pdf"));
    keep(id, 60);

    // The user deletes it from the toast, then restores it from the Trash; it comes back
    // with its old inode and gets a new, undecided record.
    onStore([=](TrackedFileStore &store) { store.deleteNow(id); });
    restoreFromTrash("undo.pdf");
    const QByteArray path = download("undo.pdf");
    const RecordId again =
        onStore([=, identity = identityOf(path)](TrackedFileStore &store) { return store.insertNew(identity, path, "undo.pdf", 8); });
    ASSERT_NE(again, id);

    advance(3600);
    EXPECT_TRUE(exists(download("undo.pdf")));
    EXPECT_EQ(record(again)->state, FileState::unprocessed);

    // The same after a trash by expiry: the record is gone, so nothing is left to fire.
    keep(again, 60);
    service->schedule(again, clock.now() + 60); // a second caller for the same record
    settle();
    advance(60);
    restoreFromTrash("undo.pdf");
    advance(3600);
    EXPECT_TRUE(exists(download("undo.pdf")));
    EXPECT_EQ(clock.pendingCount(), 0u);
}

TEST_F(CleanupServiceTest, AFileThatTookTheInodeOfAnExpiredOneIsNotTrashedAtLaunch)
{
    // report.pdf was kept for 30 s; Dowsel quit; the user deleted report.pdf and saved
    // another file, which the kernel gave report.pdf's inode number; Dowsel starts.
    const RecordId report = track("report.pdf");
    onStore([=](TrackedFileStore &store) { store.markTemporary(report, 30); });
    const std::uint64_t inode = record(report)->inode;
    service.reset();
    ASSERT_EQ(::unlink(download("report.pdf").constData()), 0);
    const auto newcomer = fileReusingInode(downloads, inode);
    if (!newcomer)
        GTEST_SKIP() << "this file system did not hand inode " << inode << " out again in 500 tries";
    clock.advance(3600);

    launch(*realTrash);
    // What a launch does first: every item in Downloads is recorded as dismissed.
    const auto listing = listDownloads(downloads);
    onStore([&](TrackedFileStore &store) { store.dismissExisting(listing.snapshots); });
    std::atomic<bool> done = false;
    service->rehydrate([&] { done = true; });
    settle();
    ASSERT_TRUE(done);

    EXPECT_TRUE(exists(*newcomer));
    EXPECT_FALSE(exists(trashed(fileNameOf(*newcomer))));
    EXPECT_FALSE(record(report));
    const auto kept = onStore([&](TrackedFileStore &store) { return store.recordFor(identityOf(*newcomer)); });
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->state, FileState::dismissed);
    EXPECT_EQ(kept->filePath, *newcomer);
}

TEST_F(CleanupServiceTest, LaunchTrashesWhatExpiredOfflineAndSchedulesTheRest)
{
    const RecordId first = track("first.pdf");
    const RecordId second = track("second.pdf");
    const RecordId pending = track("pending.pdf");
    onStore([=](TrackedFileStore &store) {
        store.markTemporary(first, 60);
        store.markTemporary(second, 120);
        store.markTemporary(pending, 7200);
    });
    clock.advance(3600); // Dowsel was not running: no timers

    launch(*realTrash);
    LogCapture log(QStringLiteral("dowsel.cleanup.debug=true"));
    std::atomic<bool> done = false;
    service->rehydrate([&] { done = true; });
    settle();
    ASSERT_TRUE(done);

    EXPECT_TRUE(exists(trashed("first.pdf")));
    EXPECT_TRUE(exists(trashed("second.pdf")));
    EXPECT_FALSE(record(first));
    EXPECT_FALSE(record(second));
    EXPECT_TRUE(exists(download("pending.pdf")));
    EXPECT_TRUE(log.lines().contains(QStringLiteral("Rehydrate: trashed 2 file(s) that expired while offline")));
    EXPECT_TRUE(log.lines().contains(QStringLiteral("Rehydrate: scheduled 1 pending file(s)")));
    EXPECT_EQ(clock.pendingCount(), 1u);

    advance(3599);
    EXPECT_TRUE(exists(download("pending.pdf")));
    advance(1);
    EXPECT_TRUE(exists(trashed("pending.pdf")));

    // Nothing to do: no messages at all.
    const auto linesBefore = log.lines().size();
    service->rehydrate();
    settle();
    EXPECT_EQ(log.lines().size(), linesBefore);
}

TEST_F(CleanupServiceTest, FailedTrashesArePrintedReportedAndTheFilesStayUntracked)
{
    failing.failWith(QStringLiteral("Operation not permitted"));
    launch(failing);
    LogCapture log(QStringLiteral("dowsel.cleanup.debug=true"));
    std::mutex reportsMutex;
    std::vector<QByteArrayList> reports; // one entry per report, the paths in it
    service->setTrashFailureHandler([&](const std::vector<TrashFailure> &failures) {
        QByteArrayList paths;
        for (const TrashFailure &failure : failures) {
            EXPECT_EQ(failure.error, QStringLiteral("Operation not permitted"));
            paths.append(failure.path);
        }
        std::lock_guard lock(reportsMutex);
        reports.push_back(paths);
    });

    const RecordId offline = track("offline.pdf");
    const RecordId missing = track("missing.pdf");
    onStore([=](TrackedFileStore &store) {
        store.markTemporary(offline, 10);
        store.markTemporary(missing, 10);
    });
    ASSERT_EQ(::unlink(download("missing.pdf").constData()), 0);
    clock.advance(20);

    ::testing::internal::CaptureStdout();
    service->rehydrate();
    settle();
    const RecordId live = track("line\nbreak.pdf");
    keep(live, 30);
    advance(30);
    const std::string printed = ::testing::internal::GetCapturedStdout();

    EXPECT_EQ(printed, "Rehydrate: failed to trash offline.pdf: Operation not permitted\n"
                       "Failed to trash line\\nbreak.pdf: Operation not permitted\n");
    // The missing file counts among the expired ones but was never handed to the Trash.
    EXPECT_TRUE(log.lines().contains(QStringLiteral("Rehydrate: trashed 2 file(s) that expired while offline")));
    EXPECT_EQ(failing.paths(), (QByteArrayList{download("offline.pdf"), download("line\nbreak.pdf")}));
    // The user hears of each: the launch catch-up in one report, a timer's failure on its own.
    {
        std::lock_guard lock(reportsMutex);
        EXPECT_EQ(reports, (std::vector<QByteArrayList>{{download("offline.pdf")}, {download("line\nbreak.pdf")}}));
    }
    EXPECT_TRUE(exists(download("offline.pdf")));
    EXPECT_TRUE(readTags(download("offline.pdf")).isEmpty());
    EXPECT_TRUE(onStore([](TrackedFileStore &store) { return store.allRecords(); }).empty());
}

TEST_F(CleanupServiceTest, RecordsOfVanishedFilesAreForgottenEveryFifteenMinutes)
{
    LogCapture log(QStringLiteral("dowsel.cleanup.debug=true"));
    const RecordId present = track("present.pdf");
    const RecordId deleted = track("deleted.pdf");
    const RecordId temporary = track("temporary.pdf");
    const RecordId replaced = track("replaced.pdf");
    const RecordId later = track("later.pdf");
    keep(temporary, 7200);
    ASSERT_EQ(::unlink(download("deleted.pdf").constData()), 0);
    ASSERT_EQ(::unlink(download("temporary.pdf").constData()), 0);
    // Saved over by another program: a new file renamed onto the name, so a new inode.
    ASSERT_NE(writeFile(download("replaced.tmp"), "other"), 0u);
    const QByteArray tags = "Work,Dowsel: Temporary";
    ASSERT_EQ(::setxattr(download("replaced.tmp").constData(), "user.xdg.tags", tags.constData(), size_t(tags.size()), 0),
              0);
    keep(replaced, 7200);
    ASSERT_EQ(::rename(download("replaced.tmp").constData(), download("replaced.pdf").constData()), 0);

    service->startStaleRecordPruning();
    service->startStaleRecordPruning(); // still one loop
    settle();
    advance(899);
    EXPECT_TRUE(record(deleted));

    advance(1);
    EXPECT_TRUE(record(present));
    EXPECT_TRUE(record(later));
    EXPECT_FALSE(record(deleted));
    EXPECT_FALSE(record(temporary));
    EXPECT_FALSE(record(replaced));
    EXPECT_EQ(clock.pendingCount(), 1u) << "the deleted temporary file's timer is cancelled; the loop goes on";
    EXPECT_TRUE(log.lines().contains(QStringLiteral("Cleaned up stale record: deleted.pdf")));
    EXPECT_EQ(log.lines().count(QStringLiteral("Cleaned up stale record: replaced.pdf")), 1);
    // Forgetting a record touches no file: the tags of the file that took the name stay.
    EXPECT_EQ(readTags(download("replaced.pdf")), (QByteArrayList{"Work", "Dowsel: Temporary"}));

    ASSERT_EQ(::unlink(download("later.pdf").constData()), 0);
    advance(899);
    EXPECT_TRUE(record(later));
    advance(1);
    EXPECT_FALSE(record(later));
    EXPECT_TRUE(record(present));
}

} // namespace
