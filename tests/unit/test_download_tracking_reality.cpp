#include "DownloadsTestSupport.h"
#include "StoreTestSupport.h"

#include "core/DownloadTracker.h"
#include "platform/fake/MemoryPreferences.h"
#include "platform/fake/RecordingTrash.h"
#include "platform/linux/SystemClock.h"

#include <gtest/gtest.h>

#include <set>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

// The whole road of a download on real files: inotify, the monitor's queue, the processor's
// worker, the store's worker and a real SQLite file, in real time. Tests wait for conditions
// with a generous deadline and never look at how long anything took. The database sits in
// memory-backed /dev/shm where there is one: it is the same SQLite file, without the disk
// flush after every insert that would make the 10,000-file test crawl under sanitizers.
class DownloadTrackingReality : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(databaseDir.isValid());
        QString error;
        auto store = TrackedFileStore::open(databaseDir.path() + QStringLiteral("/Sivra.sqlite"), systemClock, prefs,
                                            trash, &error);
        ASSERT_TRUE(store) << error.toStdString();
        actor = std::make_unique<TrackedFileActor>(storeWorker, std::move(store));
        tracker
            = std::make_unique<DownloadTracker>(downloads.path(), *actor, systemClock, scheduler, [this](RecordId id) {
                  std::lock_guard lock(mutex);
                  announced.push_back(id);
              });
        tracker->start();
        ASSERT_TRUE(waitUntil([&] { return tracker->isWatching(); }));
    }

    void TearDown() override { tracker.reset(); }

    template <class F> auto ask(F work) { return actor->call(std::move(work)).get(); }

    std::vector<RecordId> announcements()
    {
        std::lock_guard lock(mutex);
        return announced;
    }
    std::vector<QByteArray> announcedPaths()
    {
        std::vector<QByteArray> paths;
        for (RecordId id : announcements()) {
            const auto record = ask([id](TrackedFileStore &s) { return s.record(id); });
            paths.push_back(record ? record->filePath : QByteArray());
        }
        return paths;
    }
    int timesAnnounced(const QByteArray &path)
    {
        const auto paths = announcedPaths();
        return int(std::count(paths.begin(), paths.end(), path));
    }
    bool waitForAnnouncement(const QByteArray &path)
    {
        return waitUntil([&] { return timesAnnounced(path) > 0; });
    }
    // Events are handled in order: once a fresh marker file is announced, every event that
    // happened before it has been handled too.
    void settle()
    {
        const QByteArray marker = download("marker " + QByteArray::number(++markers));
        writeFile(marker);
        ASSERT_TRUE(waitForAnnouncement(marker));
    }
    QByteArray download(const QByteArray &name) const { return downloads / name; }
    std::optional<TrackedFile> recordAt(const QByteArray &path)
    {
        const FileIdentity identity = identityOf(path);
        return ask([identity](TrackedFileStore &s) { return s.recordFor(identity); });
    }

    static QTemporaryDir makeDatabaseDir()
    {
        QTemporaryDir inMemory(QStringLiteral("/dev/shm/dowsel-test-XXXXXX"));
        return inMemory.isValid() ? std::move(inMemory) : QTemporaryDir();
    }

    TemporaryDownloads downloads;
    QTemporaryDir databaseDir = makeDatabaseDir();
    MemoryPreferences prefs;
    RecordingTrash trash;
    WorkerThread storeWorker{"test-store"};
    SystemClock systemClock;
    BootTimeScheduler scheduler;
    std::unique_ptr<TrackedFileActor> actor;
    std::unique_ptr<DownloadTracker> tracker;
    std::mutex mutex;
    std::vector<RecordId> announced;
    int markers = 0;
};

TEST_F(DownloadTrackingReality, BrowserStyleDownloadsAreAnnouncedOnce)
{
    // Chromium: the data goes to x.pdf.crdownload, which is renamed when complete.
    const QByteArray partial = download("x.pdf.crdownload");
    writeFile(partial, QByteArray(64 * 1024, 'x'));
    writeFile(partial, QByteArray(128 * 1024, 'x'));
    renameItem(partial, download("x.pdf"));

    // Firefox: an empty placeholder under the final name, the data in x.zip.part beside it,
    // renamed over the placeholder when complete.
    writeFile(download("y.zip"), "");
    writeFile(download("y.zip.part"), QByteArray(1000, 'y'));
    renameItem(download("y.zip.part"), download("y.zip"));

    ASSERT_TRUE(waitForAnnouncement(download("x.pdf")));
    ASSERT_TRUE(waitForAnnouncement(download("y.zip")));
    settle();
    EXPECT_EQ(timesAnnounced(download("x.pdf")), 1);
    EXPECT_EQ(timesAnnounced(download("y.zip")), 1);
    EXPECT_EQ(timesAnnounced(partial), 0);
    EXPECT_EQ(recordAt(download("x.pdf"))->fileSize, 128 * 1024);
    // The y.zip record follows the final file, whichever event announced it.
    ASSERT_TRUE(recordAt(download("y.zip")));
    EXPECT_EQ(recordAt(download("y.zip"))->filePath, download("y.zip"));
}

TEST_F(DownloadTrackingReality, SafeSaveOverATemporaryFileKeepsItsRecord)
{
    const QByteArray path = download("draft.odt");
    writeFile(path, "v1");
    ASSERT_TRUE(waitForAnnouncement(path));
    const RecordId id = announcements().front();
    const auto expiry = ask([id](TrackedFileStore &s) { return s.markTemporary(id, 3600); });
    ASSERT_TRUE(expiry);

    // An editor's safe save: the new version is written aside and renamed over the old one.
    writeFile(download(".~draft.odt.new"), "version two");
    const std::uint64_t newInode = inodeOf(download(".~draft.odt.new"));
    renameItem(download(".~draft.odt.new"), path);
    ASSERT_TRUE(waitUntil([&] { return ask([id](TrackedFileStore &s) { return s.record(id); })->inode == newInode; }));

    // Well past the removal delay, the record is still there, unchanged but for the inode.
    std::this_thread::sleep_for(std::chrono::milliseconds(int(FileProcessor::removalDelay * 1000) + 500));
    settle();
    const auto record = ask([id](TrackedFileStore &s) { return s.record(id); });
    ASSERT_TRUE(record);
    EXPECT_EQ(record->state, FileState::temporary);
    EXPECT_EQ(record->expiresAt, expiry);
    EXPECT_EQ(record->fileSize, 11);
    EXPECT_EQ(timesAnnounced(path), 1);
}

TEST_F(DownloadTrackingReality, FoldersAreAnnouncedWhenTheyHaveContent)
{
    makeFolder(download("New Folder"));
    settle();
    EXPECT_EQ(timesAnnounced(download("New Folder")), 0);
    writeFile(download("New Folder/copied in.txt"));
    ASSERT_TRUE(waitForAnnouncement(download("New Folder")));
    writeFile(download("New Folder/second.txt"));

    // A finished extraction arrives with its content.
    QTemporaryDir elsewhere;
    const QByteArray outside = QFile::encodeName(elsewhere.path()) + "/extracted";
    makeFolder(outside);
    writeFile(outside + "/a.txt");
    renameItem(outside, download("extracted"));
    ASSERT_TRUE(waitForAnnouncement(download("extracted")));
    settle();
    EXPECT_EQ(timesAnnounced(download("New Folder")), 1);
    EXPECT_EQ(timesAnnounced(download("extracted")), 1);
    EXPECT_EQ(recordAt(download("extracted"))->fileSize, 0);
}

TEST_F(DownloadTrackingReality, OddNamesAreTrackedByTheirExactBytes)
{
    const std::vector<QByteArray> names{
        "line\nbreak.txt",
        "bad \xff\xfe utf8.bin",
        "-rf --no-preserve-root",
        "spaces and \"quotes\" 'too'.pdf",
        QByteArray(251, 'n') + ".txt", // 255 bytes, the longest name there is
    };
    for (const QByteArray &name : names)
        writeFile(download(name));
    for (const QByteArray &name : names) {
        ASSERT_TRUE(waitForAnnouncement(download(name))) << name.toHex().constData();
        const auto record = recordAt(download(name));
        ASSERT_TRUE(record);
        EXPECT_EQ(record->fileName, name);
        EXPECT_EQ(record->filePath, download(name));
    }
}

TEST_F(DownloadTrackingReality, ANewDownloadWithTheNumberOfAFileJustDeletedIsOffered)
{
    // kept.pdf is temporary; the user deletes it and, within the removal hold-back, a new
    // download gets its inode number. The newcomer is a new file: offered, not temporary.
    const QByteArray kept = download("kept.pdf");
    writeFile(kept, "kept");
    ASSERT_TRUE(waitForAnnouncement(kept));
    const RecordId keptId = recordAt(kept)->id;
    ASSERT_TRUE(ask([keptId](TrackedFileStore &s) { return s.markTemporary(keptId, 3600); }));
    const std::uint64_t inode = inodeOf(kept);
    ASSERT_EQ(::unlink(kept.constData()), 0);
    const auto newcomer = fileReusingInode(downloads.path(), inode);
    if (!newcomer)
        GTEST_SKIP() << "this file system did not hand inode " << inode << " out again in 500 tries";

    ASSERT_TRUE(waitForAnnouncement(*newcomer));
    settle();
    EXPECT_EQ(timesAnnounced(*newcomer), 1);
    const auto record = recordAt(*newcomer);
    ASSERT_TRUE(record);
    EXPECT_NE(record->id, keptId);
    EXPECT_EQ(record->state, FileState::unprocessed);
    EXPECT_TRUE(waitUntil([&] { return !ask([keptId](TrackedFileStore &s) { return s.record(keptId); }); }));
    EXPECT_TRUE(recordAt(*newcomer)); // the held-back removal took only the old record
}

TEST_F(DownloadTrackingReality, TenThousandFilesAllEndInTheStoreOnce)
{
    constexpr int count = 10'000;
    for (int i = 0; i < count; ++i)
        writeFile(download("burst-" + QByteArray::number(i)), "x");
    ASSERT_TRUE(waitUntil([&] { return announcements().size() >= count; }, {}, std::chrono::seconds(100)))
        << announcements().size();
    settle();

    const auto records = ask([](TrackedFileStore &s) { return s.allRecords(); });
    std::set<QByteArray> paths;
    for (const auto &record : records)
        paths.insert(record.path);
    EXPECT_EQ(records.size(), size_t(count + markers));
    EXPECT_EQ(paths.size(), records.size());
    const auto ids = announcements();
    EXPECT_EQ(std::set<RecordId>(ids.begin(), ids.end()).size(), ids.size());
    EXPECT_EQ(ids.size(), size_t(count + markers));
}

} // namespace
