#include "StoreTestSupport.h"

#include "core/Sqlite.h"
#include "core/Tags.h"
#include "core/WorkerThread.h"
#include "expiry/CleanupService.h"
#include "platform/linux/FreedesktopTrash.h"

#include <QFile>
#include <QProcess>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

QByteArray contentOf(const QByteArray &path)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// The store and the clean-up on workers of their own, as in the app, on virtual time, with a
// real store file and the real Trash under a temporary $XDG_DATA_HOME.
class PutBackTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        root = QFile::encodeName(dir.path());
        downloads = root + "/Downloads";
        ASSERT_EQ(::mkdir(downloads.constData(), 0755), 0);
        QString error;
        auto opened = TrackedFileStore::open(dir.path() + QStringLiteral("/Sivra.sqlite"), clock, prefs, trash, &error);
        ASSERT_TRUE(opened) << error.toStdString();
        actor = std::make_unique<TrackedFileActor>(storeWorker, std::move(opened));
        service = std::make_unique<CleanupService>(*actor, trash, clock, clock, cleanupWorker);
    }
    void TearDown() override
    {
        settle();
        service.reset();
    }
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

    QByteArray download(const QByteArray &name) const { return downloads + '/' + name; }
    QByteArray homeTrash() const { return root + "/data/Trash"; }

    // A download kept as temporary for `duration`, as the island's Keep does.
    RecordId keep(const QByteArray &name, Seconds duration, const QByteArray &content = {})
    {
        const QByteArray path = download(name);
        EXPECT_NE(writeFile(path, content.isEmpty() ? name : content), 0u);
        const RecordId id = onStore([=, identity = identityOf(path)](TrackedFileStore &store) {
            return store.insertNew(identity, path, name, name.size());
        });
        const auto expiry = onStore([=](TrackedFileStore &store) { return store.markTemporary(id, duration); });
        EXPECT_TRUE(expiry);
        service->schedule(id, *expiry);
        settle();
        return id;
    }
    std::vector<TrackedFileStore::TrashedFile> recentlyTrashed()
    {
        return onStore([](TrackedFileStore &store) { return store.trashedFiles(); });
    }
    TrackedFileStore::PutBack putBack(std::int64_t trashedId)
    {
        return onStore([=](TrackedFileStore &store) { return store.putBack(trashedId); });
    }

    QTemporaryDir dir;
    QByteArray root;
    QByteArray downloads;
    VirtualClock clock;
    MemoryPreferences prefs;
    WorkerThread storeWorker{"test-store"};
    WorkerThread cleanupWorker{"test-cleanup"};
    FreedesktopTrash trash{QFile::encodeName(dir.path()) + "/data"};
    std::unique_ptr<TrackedFileActor> actor;
    std::unique_ptr<CleanupService> service;
};

TEST_F(PutBackTest, AnExpiredFileComesBackToItsPathAndItsTrashEntryGoes)
{
    keep("report.pdf", 60, "quarterly figures");
    const FileIdentity identity = identityOf(download("report.pdf"));
    advance(61);
    ASSERT_FALSE(exists(download("report.pdf")));

    const auto trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 1u);
    EXPECT_EQ(trashed[0].originalPath, download("report.pdf"));
    EXPECT_EQ(trashed[0].identity, identity);
    const TrashEntry entry = trashed[0].entry;
    EXPECT_EQ(entry.directory, homeTrash());
    EXPECT_TRUE(exists(entry.itemPath()));
    EXPECT_TRUE(exists(entry.infoPath()));

    const auto outcome = putBack(trashed[0].id);
    EXPECT_TRUE(outcome.error.isEmpty()) << outcome.error.toStdString();
    EXPECT_EQ(outcome.path, download("report.pdf"));
    EXPECT_FALSE(outcome.otherName);
    EXPECT_EQ(contentOf(download("report.pdf")), "quarterly figures");
    EXPECT_EQ(identityOf(download("report.pdf")), identity);
    EXPECT_FALSE(exists(entry.itemPath()));
    EXPECT_FALSE(exists(entry.infoPath()));
    EXPECT_TRUE(recentlyTrashed().empty());
    // Known and kept for good: its arrival is no new download, and it carries no temporary tag.
    const auto record = onStore([=](TrackedFileStore &store) { return store.recordFor(identity); });
    ASSERT_TRUE(record);
    EXPECT_EQ(record->state, FileState::dismissed);
    EXPECT_EQ(record->filePath, download("report.pdf"));
    EXPECT_TRUE(readTags(download("report.pdf")).isEmpty());
    // Nothing left to put back twice.
    EXPECT_FALSE(putBack(trashed[0].id).error.isEmpty());
}

TEST_F(PutBackTest, ATakenPathGivesAFreeNameAndTheOtherFileIsLeftAlone)
{
    keep("notes.txt", 60, "first notes");
    keep("notes.txt.bak", 60);
    advance(61);
    ASSERT_EQ(writeFile(download("notes.txt"), "new notes") != 0, true);
    ASSERT_NE(writeFile(download("notes (restored).txt"), "older restore"), 0u);

    auto trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 2u);
    const auto notes = std::find_if(trashed.begin(), trashed.end(),
                                    [&](const auto &file) { return file.originalPath == download("notes.txt"); });
    ASSERT_NE(notes, trashed.end());
    const auto outcome = putBack(notes->id);
    EXPECT_TRUE(outcome.error.isEmpty()) << outcome.error.toStdString();
    EXPECT_TRUE(outcome.otherName);
    EXPECT_EQ(outcome.path, download("notes (restored 2).txt"));
    EXPECT_EQ(contentOf(download("notes (restored 2).txt")), "first notes");
    EXPECT_EQ(contentOf(download("notes.txt")), "new notes");
    EXPECT_EQ(contentOf(download("notes (restored).txt")), "older restore");
    EXPECT_FALSE(exists(notes->entry.infoPath()));
    EXPECT_EQ(recentlyTrashed().size(), 1u);

    EXPECT_EQ(restoredName("archive.tar.gz", 1), "archive.tar (restored).gz");
    EXPECT_EQ(restoredName("README", 3), "README (restored 3)");
    EXPECT_EQ(restoredName(".bashrc", 1), ".bashrc (restored)");
    EXPECT_LE(restoredName(QByteArray(300, 'x') + ".pdf", 12).size(), 255);
}

TEST_F(PutBackTest, EntriesEmptiedRestoredOrReplacedElsewhereLeaveTheList)
{
    keep("emptied.zip", 60);
    keep("restored.zip", 60);
    keep("replaced.zip", 60);
    keep("kept.zip", 60);
    advance(61);
    auto trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 4u);
    const auto entryOf = [&](const QByteArray &name) {
        for (const auto &file : trashed)
            if (fileNameOf(file.originalPath) == name)
                return file.entry;
        return TrashEntry{};
    };
    // Emptied from a file manager: item and information both gone.
    ASSERT_EQ(::unlink(entryOf("emptied.zip").itemPath().constData()), 0);
    ASSERT_EQ(::unlink(entryOf("emptied.zip").infoPath().constData()), 0);
    // Restored by a file manager.
    ASSERT_EQ(::rename(entryOf("restored.zip").itemPath().constData(), download("restored.zip").constData()), 0);
    ASSERT_EQ(::unlink(entryOf("restored.zip").infoPath().constData()), 0);
    // Emptied, then another item trashed under the same entry name.
    ASSERT_EQ(::unlink(entryOf("replaced.zip").itemPath().constData()), 0);
    ASSERT_NE(writeFile(entryOf("replaced.zip").itemPath(), "someone else's"), 0u);

    const TrashEntry replaced = entryOf("replaced.zip");
    trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 1u);
    EXPECT_EQ(trashed[0].originalPath, download("kept.zip"));
    EXPECT_FALSE(onStore([](TrackedFileStore &store) { return store.findTrashed("replaced.zip"); }));
    EXPECT_EQ(contentOf(replaced.itemPath()), "someone else's");
}

TEST_F(PutBackTest, TheListIsNewestFirstAndLimitedToTheWindowAskedFor)
{
    keep("old.iso", 60);
    advance(61);
    advance(8 * 86400);
    keep("new.iso", 60);
    advance(61);
    const auto all = recentlyTrashed();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(fileNameOf(all[0].originalPath), "new.iso");
    const Date weekAgo = clock.now() - 7 * 86400;
    const auto recent = onStore([=](TrackedFileStore &store) { return store.trashedFiles(weekAgo); });
    ASSERT_EQ(recent.size(), 1u);
    EXPECT_EQ(fileNameOf(recent[0].originalPath), "new.iso");
    // By path or by bare name, the newest match.
    EXPECT_EQ(onStore([&](TrackedFileStore &store) { return store.findTrashed(download("old.iso")); })->id, all[1].id);
    EXPECT_EQ(onStore([](TrackedFileStore &store) { return store.findTrashed("old.iso"); })->id, all[1].id);
    EXPECT_FALSE(onStore([](TrackedFileStore &store) { return store.findTrashed("other.iso"); }));
}

TEST_F(PutBackTest, APathReachedThroughDotsOrALinkedFolderFindsWhatWasTrashedThere)
{
    keep("slides.odp", 60);
    advance(61);
    const auto trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 1u);
    const auto find = [&](const QByteArray &path) {
        const auto found = onStore([=](TrackedFileStore &store) { return store.findTrashed(path); });
        return found ? found->id : -1;
    };
    // What "dowsel restore ./slides.odp" sends from inside Downloads, and the folder by a link.
    EXPECT_EQ(find(downloads + "/./slides.odp"), trashed[0].id);
    EXPECT_EQ(find(root + "/Downloads/../Downloads/slides.odp"), trashed[0].id);
    ASSERT_EQ(::symlink(downloads.constData(), (root + "/dl").constData()), 0);
    EXPECT_EQ(find(root + "/dl/slides.odp"), trashed[0].id);
    // The same name in another folder is another file.
    ASSERT_EQ(::mkdir((root + "/other").constData(), 0755), 0);
    EXPECT_EQ(find(root + "/other/slides.odp"), -1);
    EXPECT_EQ(find(downloads + "/./slides.odt"), -1);
}

TEST_F(PutBackTest, AGoneFolderIsMadeAgainAndADeletedFileIsRecordedToo)
{
    ASSERT_EQ(::mkdir(download("album").constData(), 0755), 0);
    ASSERT_NE(writeFile(download("album/cover.jpg"), "jpeg"), 0u);
    const FileIdentity identity = identityOf(download("album/cover.jpg"));
    const RecordId id = onStore([&](TrackedFileStore &store) {
        return store.insertNew(identity, download("album/cover.jpg"), "cover.jpg", 4);
    });
    EXPECT_EQ(onStore([=](TrackedFileStore &store) { return store.deleteNow(id); }), std::nullopt);
    ASSERT_EQ(::rmdir(download("album").constData()), 0);

    const auto trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 1u);
    const auto outcome = putBack(trashed[0].id);
    EXPECT_TRUE(outcome.error.isEmpty()) << outcome.error.toStdString();
    EXPECT_TRUE(outcome.folderRecreated);
    EXPECT_EQ(contentOf(download("album/cover.jpg")), "jpeg");
}

TEST_F(PutBackTest, AnEditedTrashInformationDoesNotChooseWhereItGoes)
{
    keep("invoice.pdf", 60, "amount due");
    advance(61);
    const auto trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 1u);
    // Someone rewrote the entry's Path to a folder that does not exist.
    const QByteArray elsewhere = root + "/elsewhere/deep/invoice.pdf";
    QFile info(QFile::decodeName(trashed[0].entry.infoPath()));
    ASSERT_TRUE(info.open(QIODevice::WriteOnly | QIODevice::Truncate));
    info.write("[Trash Info]\nPath=" + elsewhere + "\nDeletionDate=2024-01-01T00:00:00\n");
    info.close();

    const auto outcome = putBack(trashed[0].id);
    EXPECT_TRUE(outcome.error.isEmpty()) << outcome.error.toStdString();
    EXPECT_EQ(outcome.path, download("invoice.pdf"));
    EXPECT_FALSE(outcome.folderRecreated);
    EXPECT_EQ(contentOf(download("invoice.pdf")), "amount due");
    EXPECT_FALSE(exists(root + "/elsewhere")) << "no folder is made where the information points";
    EXPECT_FALSE(exists(trashed[0].entry.infoPath()));
}

TEST_F(PutBackTest, AFolderThatCannotTakeItBackLeavesTheFileInTheTrash)
{
    // Its folder is now a file: nothing can go in it, whoever runs this.
    ASSERT_EQ(::mkdir(download("drafts").constData(), 0755), 0);
    keep("drafts/letter.odt", 60, "dear");
    advance(61);
    ASSERT_EQ(::rmdir(download("drafts").constData()), 0);
    ASSERT_NE(writeFile(download("drafts"), "not a folder"), 0u);
    const auto trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 1u);
    const auto outcome = putBack(trashed[0].id);
    EXPECT_FALSE(outcome.error.isEmpty());
    EXPECT_TRUE(outcome.path.isEmpty());
    EXPECT_EQ(contentOf(trashed[0].entry.itemPath()), "dear");
    EXPECT_TRUE(exists(trashed[0].entry.infoPath()));
    EXPECT_EQ(recentlyTrashed().size(), 1u);
    // No record was left behind for a file that did not arrive.
    EXPECT_FALSE(onStore([&](TrackedFileStore &store) { return store.recordFor(trashed[0].identity); }));
}

TEST_F(PutBackTest, AVolumeTrashNamesItsItemsRelativeToTheVolume)
{
    // A volume's own Trash writes Path= relative to the mount point.
    const QByteArray topdir = root + "/volume";
    ASSERT_EQ(::mkdir(topdir.constData(), 0755), 0);
    ASSERT_EQ(::mkdir((topdir + "/films").constData(), 0755), 0);
    ASSERT_NE(writeFile(topdir + "/films/clip.mkv", "frames"), 0u);
    QString error;
    const auto location = FreedesktopTrash::topdirTrash(topdir, &error);
    ASSERT_TRUE(location) << error.toStdString();
    TrashEntry entry;
    ASSERT_EQ(FreedesktopTrash::moveInto(*location, topdir + "/films/clip.mkv", &entry), std::nullopt);
    EXPECT_TRUE(contentOf(entry.infoPath()).contains("Path=films/clip.mkv\n"));
    EXPECT_EQ(trash.originalPath(entry), topdir + "/films/clip.mkv");

    bool clash = true;
    EXPECT_EQ(trash.restore(entry, topdir + "/films/clip.mkv", &clash), std::nullopt);
    EXPECT_FALSE(clash);
    EXPECT_EQ(contentOf(topdir + "/films/clip.mkv"), "frames");
    EXPECT_FALSE(trash.originalPath(entry));
}

TEST_F(PutBackTest, AnItemInTheTrashOfADriveNotMountedNowComesBackWithTheDrive)
{
    const QByteArray topdir = root + "/usb";
    ASSERT_EQ(::mkdir(topdir.constData(), 0755), 0);
    ASSERT_NE(writeFile(topdir + "/scan.pdf", "pages"), 0u);
    const FileIdentity identity = identityOf(topdir + "/scan.pdf");
    QString error;
    const auto location = FreedesktopTrash::topdirTrash(topdir, &error);
    ASSERT_TRUE(location) << error.toStdString();
    TrashEntry entry;
    ASSERT_EQ(FreedesktopTrash::moveInto(*location, topdir + "/scan.pdf", &entry), std::nullopt);
    onStore([=](TrackedFileStore &store) { store.recordTrashed(topdir + "/scan.pdf", entry, identity, 5); });
    const auto listed = recentlyTrashed();
    ASSERT_EQ(listed.size(), 1u);

    // Unplugged: its mount point stays behind, empty.
    ASSERT_EQ(::rename(topdir.constData(), (root + "/usb-away").constData()), 0);
    ASSERT_EQ(::mkdir(topdir.constData(), 0755), 0);
    EXPECT_TRUE(recentlyTrashed().empty());
    const auto trashedId = [&] {
        const auto found = onStore([](TrackedFileStore &store) { return store.findTrashed("scan.pdf"); });
        return found ? found->id : -1;
    };
    EXPECT_EQ(trashedId(), -1);
    // Put back from a list shown just before.
    const auto refused = putBack(listed[0].id);
    EXPECT_FALSE(refused.error.isEmpty());
    EXPECT_TRUE(refused.path.isEmpty());

    // Plugged in again.
    ASSERT_EQ(::rmdir(topdir.constData()), 0);
    ASSERT_EQ(::rename((root + "/usb-away").constData(), topdir.constData()), 0);
    const auto trashed = recentlyTrashed();
    ASSERT_EQ(trashed.size(), 1u);
    const auto outcome = putBack(trashed[0].id);
    EXPECT_TRUE(outcome.error.isEmpty()) << outcome.error.toStdString();
    EXPECT_EQ(contentOf(topdir + "/scan.pdf"), "pages");
}

// A program that holds `path` open for reading until it is stopped.
class Holder {
public:
    explicit Holder(const QByteArray &path)
    {
        m_process.setStandardInputFile(QFile::decodeName(path));
        m_process.start(QStringLiteral("sleep"), {QStringLiteral("600")});
        m_started = m_process.waitForStarted(5000);
    }
    ~Holder() { stop(); }
    bool started() const { return m_started; }
    void stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }

private:
    QProcess m_process;
    bool m_started = false;
};

TEST_F(PutBackTest, AFileHeldOpenWaitsPastItsExpiryAndGoesOnceClosed)
{
    LogCapture log(QStringLiteral("dowsel.cleanup.debug=true"));
    const RecordId id = keep("movie.mp4", 60);
    Holder player(download("movie.mp4"));
    ASSERT_TRUE(player.started());

    advance(61);
    EXPECT_TRUE(exists(download("movie.mp4")));
    EXPECT_EQ(service->filesInUse(), std::vector<RecordId>{id});
    EXPECT_TRUE(log.lines().contains(QStringLiteral("Expiry of movie.mp4 postponed: open in sleep")));
    advance(CleanupService::inUseRetryInterval);
    EXPECT_TRUE(exists(download("movie.mp4")));

    player.stop();
    advance(CleanupService::inUseRetryInterval);
    EXPECT_FALSE(exists(download("movie.mp4")));
    EXPECT_TRUE(service->filesInUse().empty());
    EXPECT_EQ(recentlyTrashed().size(), 1u);
}

TEST_F(PutBackTest, FilesThatExpireTogetherShareOneLookAtTheOpenFiles)
{
    // As after "Make all temporary" on the old files: many expiries at one moment.
    std::atomic<int> scans{0};
    service->setOpenFilesScan([&] {
        ++scans;
        return OpenWriters::scan(OpenAccess::any);
    });
    for (int i = 0; i < 30; ++i)
        keep("old-" + QByteArray::number(i) + ".txt", 60);
    Holder reader(download("old-7.txt"));
    ASSERT_TRUE(reader.started());

    advance(61);
    EXPECT_EQ(scans.load(), 1);
    EXPECT_FALSE(exists(download("old-0.txt")));
    EXPECT_FALSE(exists(download("old-29.txt")));
    EXPECT_TRUE(exists(download("old-7.txt"))) << "the one still open waits";

    reader.stop();
    advance(CleanupService::inUseRetryInterval);
    EXPECT_FALSE(exists(download("old-7.txt"))) << "a later expiry looks again";
    EXPECT_EQ(scans.load(), 2);
}

TEST_F(PutBackTest, AFileHeldOpenForADayAfterItsExpiryGoesAllTheSame)
{
    // The check is the real /proc scan; only the holder is pretended, so a day costs nothing.
    std::atomic<int> looks{0};
    service->setOpenFileCheck([&](const QByteArray &) {
        ++looks;
        return std::optional<QString>(QStringLiteral("seeder"));
    });
    const RecordId id = keep("distro.iso", 60);
    advance(61);
    EXPECT_EQ(service->filesInUse(), std::vector<RecordId>{id});
    advance(CleanupService::inUseLimit - 120);
    EXPECT_TRUE(exists(download("distro.iso")));
    advance(120);
    EXPECT_FALSE(exists(download("distro.iso")));
    EXPECT_TRUE(service->filesInUse().empty());
    // One look at the expiry, then one every retry interval: no busy loop.
    EXPECT_LE(looks.load(), int(CleanupService::inUseLimit / CleanupService::inUseRetryInterval) + 2);

    // Kept again meanwhile: it leaves the list of files in use.
    const RecordId other = keep("other.iso", 60);
    advance(61);
    EXPECT_EQ(service->filesInUse(), std::vector<RecordId>{other});
    const auto expiry = onStore([=](TrackedFileStore &store) { return store.markTemporary(other, 3600); });
    service->schedule(other, *expiry);
    settle();
    EXPECT_TRUE(service->filesInUse().empty());
}

TEST(StoreSchema, AVersion2StoreGainsTheTrashTableInPlace)
{
    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/Sivra.sqlite");
    {
        QString error;
        auto db = sqlite::Database::open(path, true, &error);
        ASSERT_TRUE(db) << error.toStdString();
        ASSERT_TRUE(db->exec(
            "CREATE TABLE tracked_file (id INTEGER PRIMARY KEY AUTOINCREMENT, inode INTEGER NOT NULL, file_path TEXT "
            "NOT NULL, file_name TEXT NOT NULL, state TEXT NOT NULL DEFAULT 'unprocessed', detected_at REAL NOT NULL, "
            "marked_temporary_at REAL, expires_at REAL, file_size INTEGER NOT NULL DEFAULT 0, identity_guard INTEGER "
            "NOT NULL DEFAULT 0, UNIQUE (inode, identity_guard));"
            "INSERT INTO tracked_file (id, inode, file_path, file_name, state, detected_at, marked_temporary_at, "
            "expires_at, file_size, identity_guard) VALUES (12, 99, '/d/a.pdf', 'a.pdf', 'temporary', 1, 2, 3, 4, 5);"
            "PRAGMA user_version = 2;"));
    }
    VirtualClock clock;
    MemoryPreferences prefs;
    RecordingTrash trash;
    QString error;
    auto store = TrackedFileStore::open(path, clock, prefs, trash, &error);
    ASSERT_TRUE(store) << error.toStdString();
    const auto record = store->record(12);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->identity(), (FileIdentity{99, 5}));
    EXPECT_EQ(record->state, FileState::temporary);
    EXPECT_EQ(record->expiresAt, 3.0);
    store->recordTrashed("/d/b.pdf", TrashEntry{"/t", "b.pdf"}, FileIdentity{7, 8}, 10);
    store.reset();

    auto db = sqlite::Database::open(path, false, &error);
    ASSERT_TRUE(db);
    EXPECT_EQ(db->scalar("PRAGMA user_version"), TrackedFileStore::schemaVersion);
    EXPECT_EQ(db->scalar("SELECT count(*) FROM trashed_file WHERE trash_name = 'b.pdf' AND inode = 7"), 1);
    EXPECT_EQ(db->scalar("SELECT count(*) FROM tracked_file"), 1);
}

} // namespace
