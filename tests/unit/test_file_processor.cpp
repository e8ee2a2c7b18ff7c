#include "DownloadsTestSupport.h"
#include "StoreTestSupport.h"
#include "TraceCapture.h"

#include "core/DownloadCompletion.h"
#include "core/FileProcessor.h"
#include "platform/fake/Executors.h"

#include <gtest/gtest.h>

#include <sqlite3.h>
#include <sys/mount.h>

#include <cstring>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

using F = FSEventFlags;

// The processor on a real store in a temporary folder, with every "thread" inline and virtual
// time, so each test decides exactly which events arrive and when the removal delay passes.
class FileProcessorTest : public StoreFixture {
protected:
    void SetUp() override
    {
        StoreFixture::SetUp();
        actor = std::make_unique<TrackedFileActor>(inline_, std::move(store));
        processor = std::make_unique<FileProcessor>(*actor, downloads, clock, inline_,
                                                    [this](RecordId id) { announced.push_back(id); });
    }

    TrackedFileStore &db() { return actor->unsafeState(); }
    void event(const QByteArray &path, FSEventFlags flags, std::uint64_t inode)
    {
        processor->handle(FileEvent{path, inode, flags});
    }
    void event(const QByteArray &path, FSEventFlags flags) { event(path, flags, inodeOf(path)); }
    // A file written in place whose writer closed it, and the quiet period after.
    void finished(const QByteArray &path)
    {
        event(path, {F::created, F::modified, F::closedAfterWrite, F::isFile});
        clock.advance(completion::quietPeriod);
    }

    // A file that Dowsel saw arrive and the user kept as temporary.
    RecordId temporaryDownload(const QByteArray &name)
    {
        writeFile(download(name), "first version");
        finished(download(name));
        EXPECT_FALSE(announced.empty());
        const RecordId id = announced.back();
        EXPECT_TRUE(db().markTemporary(id, 3600).has_value());
        return id;
    }

    TraceCapture traces{"dowsel.processor"};
    InlineExecutor inline_;
    std::unique_ptr<TrackedFileActor> actor;
    std::unique_ptr<FileProcessor> processor;
    std::vector<RecordId> announced;
};

TEST(FileProcessorNames, IgnorableAndSandboxTemporaryNames)
{
    for (const char *name :
         {".hidden", ".DS_Store", ".localized", "x.pdf.crdownload", "X.PDF.PART", "bundle.download", ".part"})
        EXPECT_TRUE(FileProcessor::isIgnorableName(name)) << name;
    for (const char *name : {"report.pdf", "part", "download", "report.part.pdf", "file.", "-rf", "a\nb.crdownloads"})
        EXPECT_FALSE(FileProcessor::isIgnorableName(name)) << name;

    for (const char *name : {"report.pdf.sb-5a3b8c21-Qx9Tz1", "x.sb-F-0", "a.sb-zz.sb-1f-Z9"})
        EXPECT_TRUE(FileProcessor::isSandboxTempName(name)) << name;
    for (const char *name : {"x.sb-12-", "x.sb--ab", "x.sb-xyz-ab", "x.sb-12-ab.txt", "x.sb-1f-a_b", "x.sb-1f-a-b",
                             "xsb-12-ab", "report.pdf"})
        EXPECT_FALSE(FileProcessor::isSandboxTempName(name)) << name;
}

TEST_F(FileProcessorTest, BrowserDownloadIsAnnouncedOnceWhenItGetsItsFinalName)
{
    const QByteArray partial = download("x.pdf.crdownload");
    writeFile(partial, "half");
    const std::uint64_t inode = inodeOf(partial);
    event(partial, {F::created, F::isFile});
    event(partial, {F::modified, F::isFile});
    renameItem(partial, download("x.pdf"));
    event(partial, {F::renamed, F::isFile}, inode);
    event(download("x.pdf"), {F::renamed, F::isFile});
    event(download("x.pdf"), {F::modified, F::isFile});

    ASSERT_EQ(announced.size(), 1u);
    const auto record = db().record(announced[0]);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->inode, inode);
    EXPECT_EQ(record->filePath, download("x.pdf"));
    EXPECT_EQ(record->fileName, "x.pdf");
    EXPECT_EQ(record->fileSize, 4);
    EXPECT_EQ(record->state, FileState::unprocessed);
    EXPECT_EQ(traces.countStartingWith("  SKIP: ignored name x.pdf.crdownload"), 3);
    EXPECT_TRUE(traces.contains("  INSERTED: x.pdf (4 bytes)"));
    EXPECT_TRUE(traces.contains(QStringLiteral("  SKIP: already tracked (inode %1)").arg(inode)));
    EXPECT_TRUE(traces.contains(QStringLiteral("EVENT: x.pdf inode=%1 flags=[renamed, isFile] path=%2")
                                    .arg(inode)
                                    .arg(QString::fromUtf8(download("x.pdf")))));
}

TEST_F(FileProcessorTest, FileWrittenInPlaceIsOfferedWhenItsWriterIsDone)
{
    // curl -O, wget and cp create the file empty, then write it: recorded at once, offered
    // once the writer closed it and left it alone for the quiet period, with its final size.
    const QByteArray path = download("report.pdf");
    writeFile(path, "");
    event(path, {F::created, F::isFile});
    const auto record = db().recordFor(identityOf(path));
    ASSERT_TRUE(record);
    writeFile(path, "twelve");
    event(path, {F::modified, F::isFile});
    clock.advance(FileProcessor::stalledWriterWait / 2);
    EXPECT_TRUE(announced.empty());
    EXPECT_EQ(db().record(record->id)->fileSize, 6);

    // Closed, then opened and written again before the quiet period ended: not yet.
    event(path, {F::modified, F::closedAfterWrite, F::isFile});
    clock.advance(completion::quietPeriod / 2);
    writeFile(path, "twelve bytes");
    event(path, {F::modified, F::isFile});
    clock.advance(completion::quietPeriod * 4);
    EXPECT_TRUE(announced.empty());

    event(path, {F::modified, F::closedAfterWrite, F::isFile});
    clock.advance(completion::quietPeriod);
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_EQ(announced[0], record->id);
    EXPECT_EQ(db().record(announced[0])->fileSize, 12);
    EXPECT_FALSE(db().record(announced[0])->isFolderLike());

    // A writer never seen closing its file (the close came before the watch): offered
    // after a long while without writes.
    const QByteArray quiet = download("quiet.bin");
    writeFile(quiet, "data");
    event(quiet, {F::created, F::modified, F::isFile});
    clock.advance(FileProcessor::stalledWriterWait - 0.01);
    EXPECT_EQ(announced.size(), 1u);
    clock.advance(0.01);
    EXPECT_EQ(announced.size(), 2u);
}

TEST_F(FileProcessorTest, AFileKeptWhileItWasStillWrittenIsNotOfferedAgain)
{
    // `dowsel keep` (or the popover) on a download still being written: the user has decided,
    // so the finished file gets no toast that would undo it.
    const QByteArray path = download("early.iso");
    writeFile(path, "part");
    event(path, {F::created, F::modified, F::isFile});
    const RecordId id = db().recordFor(identityOf(path))->id;
    ASSERT_TRUE(db().markTemporary(id, 86400));
    writeFile(path, "the whole file");
    event(path, {F::modified, F::closedAfterWrite, F::isFile});
    clock.advance(completion::quietPeriod);
    EXPECT_TRUE(announced.empty());
    EXPECT_EQ(db().record(id)->state, FileState::temporary);
    EXPECT_EQ(db().record(id)->fileSize, 14);
}

TEST_F(FileProcessorTest, FirefoxPlaceholderIsOfferedOnceWithTheFinishedFile)
{
    // Firefox: an empty placeholder under the final name, the data in "Xy12.zip.part"
    // beside it, renamed over the placeholder at the end.
    for (const Seconds downloadTime : {0.2, 20.0}) {
        const QByteArray name = "y" + QByteArray::number(downloadTime) + ".zip";
        const QByteArray path = download(name);
        const QByteArray part = download("Xy12" + QByteArray::number(downloadTime) + ".zip.part");
        writeFile(path, "");
        event(path, {F::created, F::modified, F::closedAfterWrite, F::isFile});
        writeFile(part, "partial");
        event(part, {F::created, F::modified, F::isFile});
        clock.advance(downloadTime);
        EXPECT_TRUE(announced.empty()) << downloadTime;

        writeFile(part, QByteArray(1000, 'y'));
        const std::uint64_t finalInode = inodeOf(part);
        renameItem(part, path);
        event(part, {F::renamed, F::isFile}, finalInode);
        event(path, {F::renamed, F::isFile});
        ASSERT_EQ(announced.size(), 1u) << downloadTime;
        const auto record = db().record(announced[0]);
        EXPECT_EQ(record->filePath, path);
        EXPECT_EQ(record->identity(), identityOf(path));
        EXPECT_EQ(record->fileSize, 1000);
        clock.advance(FileProcessor::stalledWriterWait * 2);
        EXPECT_EQ(announced.size(), 1u);
        EXPECT_EQ(db().allRecords().size(), 1u);
        db().forgetRecord(announced[0]);
        announced.clear();
    }
}

TEST_F(FileProcessorTest, Aria2DownloadWaitsForItsControlFile)
{
    const QByteArray path = download("disk.iso");
    writeFile(path, QByteArray(4096, '\0')); // aria2 allocates the whole file first
    writeFile(path + ".aria2", "control");
    event(path + ".aria2", {F::created, F::modified, F::closedAfterWrite, F::isFile});
    event(path, {F::created, F::modified, F::closedAfterWrite, F::isFile});
    clock.advance(FileProcessor::stalledWriterWait * 2);
    EXPECT_TRUE(announced.empty());
    EXPECT_TRUE(traces.contains("  HELD: disk.iso until disk.iso.aria2 is gone"));

    ASSERT_EQ(::unlink((path + ".aria2").constData()), 0);
    event(path + ".aria2", {F::removed, F::isFile}, 77);
    clock.advance(completion::quietPeriod);
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_EQ(db().record(announced[0])->filePath, path);
    EXPECT_EQ(db().allRecords().size(), 1u);
}

TEST_F(FileProcessorTest, AnInodeNumberReusedByAnotherFileNamesANewFile)
{
    // The record of a file that is gone holds the number the kernel gave to a new one: the
    // guard tells them apart. The old record goes, untouched tags and all; the new file is
    // offered.
    const QByteArray path = download("thesis.pdf");
    writeFile(path, "new file");
    const FileIdentity now = identityOf(path);
    ASSERT_NE(now.guard, 0) << "this file system gives no guard";
    const FileIdentity earlier{now.inode, now.guard - 1};
    const RecordId stale = db().insertNew(earlier, download("report.pdf"), "report.pdf", 3);
    db().markTemporary(stale, 30);

    // Its removal is still held back when the newcomer arrives.
    event(download("report.pdf"), {F::removed, F::isFile}, earlier.inode);
    finished(path);
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_NE(announced[0], stale);
    EXPECT_FALSE(db().record(stale));
    clock.advance(FileProcessor::removalDelay);
    ASSERT_TRUE(db().record(announced[0]));
    EXPECT_EQ(db().record(announced[0])->identity(), now);

    // The same at the same path, for a record left alone (dismissed): a new file, offered.
    writeFile(download("same.txt"), "second");
    const FileIdentity second = identityOf(download("same.txt"));
    const RecordId dismissed = db().insertNew({second.inode, second.guard + 1}, download("same.txt"), "same.txt", 1);
    db().markDismissed(dismissed);
    finished(download("same.txt"));
    ASSERT_EQ(announced.size(), 2u);
    EXPECT_FALSE(db().record(dismissed));

    // A removal event of the earlier file does not touch the newcomer's record.
    FileEvent removal{path, now.inode, {F::removed, F::isFile}};
    removal.guard = now.guard + 7;
    processor->handle(removal);
    clock.advance(FileProcessor::removalDelay);
    EXPECT_TRUE(db().record(announced[0]));
}

TEST_F(FileProcessorTest, SafeSaveKeepsTheRecordItsStateAndExpiry)
{
    const RecordId id = temporaryDownload("notes.txt");
    const auto before = db().record(id);
    const QByteArray path = download("notes.txt");

    // The editor writes a sandbox temporary file and renames it over the original.
    const QByteArray temp = download("notes.txt.sb-5a3b8c21-Qx9Tz1");
    writeFile(temp, "second, longer version");
    const std::uint64_t newInode = inodeOf(temp);
    event(temp, {F::created, F::isFile});
    event(path, {F::removed, F::isFile}, before->inode);
    renameItem(temp, path);
    event(temp, {F::renamed, F::isFile}, newInode);
    event(path, {F::renamed, F::isFile}, newInode);

    EXPECT_TRUE(traces.contains("  SKIP: sandbox-save temp file notes.txt.sb-5a3b8c21-Qx9Tz1"));
    EXPECT_TRUE(
        traces.contains(QStringLiteral("  REPLACED: notes.txt inode %1 → %2").arg(before->inode).arg(newInode)));
    clock.advance(FileProcessor::removalDelay * 2);
    EXPECT_EQ(traces.countStartingWith("  Committing"), 0);
    const auto after = db().record(id);
    ASSERT_TRUE(after);
    EXPECT_EQ(after->inode, newInode);
    EXPECT_EQ(after->state, FileState::temporary);
    EXPECT_EQ(after->expiresAt, before->expiresAt);
    EXPECT_EQ(after->fileSize, 22);
    EXPECT_EQ(announced.size(), 1u);
}

TEST_F(FileProcessorTest, RemovalWaitsOutTheDelayThenForgetsTheRecord)
{
    const RecordId id = temporaryDownload("gone.zip");
    const std::uint64_t inode = db().record(id)->inode;
    ASSERT_EQ(::unlink(download("gone.zip").constData()), 0);
    event(download("gone.zip"), {F::removed, F::isFile}, inode);
    EXPECT_TRUE(traces.contains(QStringLiteral("  REMOVED: deferring cleanup for inode %1 at %2")
                                    .arg(inode)
                                    .arg(QString(download("gone.zip")))));

    clock.advance(FileProcessor::removalDelay - 0.01);
    EXPECT_TRUE(db().record(id));
    clock.advance(0.01);
    EXPECT_FALSE(db().record(id));
    EXPECT_TRUE(traces.contains(QStringLiteral("  Committing deferred removal for inode %1").arg(inode)));

    // Created and deleted within one batch: never tracked, never announced.
    writeFile(download("flash.tmp"));
    const std::uint64_t flash = inodeOf(download("flash.tmp"));
    ASSERT_EQ(::unlink(download("flash.tmp").constData()), 0);
    event(download("flash.tmp"), {F::created, F::removed, F::isFile}, flash);
    EXPECT_TRUE(traces.contains(QStringLiteral("  REMOVED: untracked inode %1, ignoring").arg(flash)));
    EXPECT_EQ(announced.size(), 1u);
}

TEST_F(FileProcessorTest, DismissedRecordAtAPathDoesNotMakeANewFileAReplacement)
{
    writeFile(download("report.pdf"), "old");
    const FileIdentity old = identityOf(download("report.pdf"));
    db().dismissExisting({{old, download("report.pdf"), "report.pdf", 3}});
    const RecordId oldId = db().recordFor(old)->id;

    renameItem(download("report.pdf"), download("aside"));
    writeFile(download("report.pdf"), "new one");
    const std::uint64_t newInode = inodeOf(download("report.pdf"));
    finished(download("report.pdf"));
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_NE(announced[0], oldId);
    EXPECT_EQ(db().record(oldId)->inode, old.inode);

    // Both records now share the path. The second removal there drops the first at once.
    event(download("report.pdf"), {F::removed, F::isFile}, old.inode);
    event(download("report.pdf"), {F::removed, F::isFile}, newInode);
    EXPECT_FALSE(db().record(oldId));
    EXPECT_TRUE(db().record(announced[0]));
    clock.advance(FileProcessor::removalDelay);
    EXPECT_FALSE(db().record(announced[0]));
}

TEST_F(FileProcessorTest, EmptyFolderIsAnnouncedWhenContentArrivesOnlyOnce)
{
    const QByteArray folder = download("New Folder");
    makeFolder(folder);
    writeFile(folder + "/.DS_Store");
    writeFile(folder + "/still.part");
    event(folder, {F::created, F::isDir});
    EXPECT_TRUE(announced.empty());
    EXPECT_FALSE(db().isTracked(identityOf(folder)));

    writeFile(folder + "/first.txt");
    event(folder + "/first.txt", {F::created, F::isFile});
    EXPECT_TRUE(announced.empty()); // offered once it is quiet
    clock.advance(completion::quietPeriod);
    ASSERT_EQ(announced.size(), 1u);
    const auto record = db().record(announced[0]);
    EXPECT_EQ(record->fileSize, 0);
    EXPECT_EQ(record->filePath, folder);
    EXPECT_TRUE(traces.contains("  INSERTED (retroactive): New Folder (folder, had children arrive)"));

    writeFile(folder + "/second.txt");
    event(folder + "/second.txt", {F::created, F::isFile});
    event(folder, {F::modified, F::isDir});
    clock.advance(completion::quietPeriod);
    EXPECT_EQ(announced.size(), 1u);

    // Two levels down is none of our business, even for a held-back folder.
    makeFolder(download("outer"));
    event(download("outer"), {F::created, F::isDir});
    makeFolder(download("outer/inner"));
    writeFile(download("outer/inner/deep.txt"));
    event(download("outer/inner/deep.txt"), {F::created, F::isFile});
    clock.advance(completion::quietPeriod);
    EXPECT_EQ(announced.size(), 1u);
}

TEST_F(FileProcessorTest, ExtractionIsAnnouncedAsAFolderWhenItIsQuiet)
{
    makeFolder(download("photos"));
    writeFile(download("photos/1.jpg"));
    event(download("photos"), {F::created, F::isDir});
    clock.advance(completion::quietPeriod / 2);
    writeFile(download("photos/2.jpg"));
    event(download("photos/2.jpg"), {F::created, F::isFile});
    clock.advance(completion::quietPeriod / 2);
    EXPECT_TRUE(announced.empty()); // still being filled
    clock.advance(completion::quietPeriod / 2);
    ASSERT_EQ(announced.size(), 1u);
    EXPECT_EQ(db().record(announced[0])->fileSize, 0);
    EXPECT_TRUE(traces.contains("  INSERTED: photos (folder)"));

    // A removed held-back folder is forgotten: a later folder with its inode starts afresh.
    makeFolder(download("empty"));
    const std::uint64_t emptyInode = inodeOf(download("empty"));
    event(download("empty"), {F::created, F::isDir});
    event(download("empty"), {F::removed, F::isDir}, emptyInode);
    writeFile(download("empty/late.txt"));
    event(download("empty/late.txt"), {F::created, F::isFile});
    clock.advance(completion::quietPeriod);
    EXPECT_EQ(announced.size(), 1u);
}

TEST_F(FileProcessorTest, RenamesFollowTheItem)
{
    const RecordId id = temporaryDownload("a.pdf");
    const std::uint64_t inode = db().record(id)->inode;

    // Within Downloads: the event for the old name finds the item by its inode.
    renameItem(download("a.pdf"), download("b.pdf"));
    event(download("a.pdf"), {F::renamed, F::isFile}, inode);
    EXPECT_EQ(db().record(id)->filePath, download("b.pdf"));
    event(download("b.pdf"), {F::renamed, F::isFile});
    EXPECT_EQ(db().record(id)->fileName, "b.pdf");

    // To a sandbox temporary name: the record keeps its path.
    renameItem(download("b.pdf"), download("b.pdf.sb-ab12-Z"));
    event(download("b.pdf.sb-ab12-Z"), {F::renamed, F::isFile}, inode);
    EXPECT_EQ(db().record(id)->filePath, download("b.pdf"));
    EXPECT_TRUE(traces.contains("  TRACKED+RENAMED to sandbox temp b.pdf.sb-ab12-Z — keeping original path"));

    // Out of Downloads: removed after the delay.
    renameItem(download("b.pdf.sb-ab12-Z"), QFile::encodeName(dir.path()) + "/elsewhere.pdf");
    event(download("b.pdf.sb-ab12-Z"), {F::renamed, F::isFile}, inode);
    EXPECT_TRUE(traces.contains("  TRACKED+RENAMED, no longer in Downloads — deferring: b.pdf.sb-ab12-Z"));
    EXPECT_TRUE(db().record(id));
    clock.advance(FileProcessor::removalDelay);
    EXPECT_FALSE(db().record(id));
    EXPECT_EQ(announced.size(), 1u);
}

TEST_F(FileProcessorTest, RenamingToAHiddenNameForgetsTheRecordAtOnce)
{
    const RecordId id = temporaryDownload("secret.txt");
    renameItem(download("secret.txt"), download(".secret.txt"));
    event(download(".secret.txt"), {F::renamed, F::isFile});
    EXPECT_FALSE(db().record(id));
    EXPECT_EQ(clock.pendingCount(), 0u);
    EXPECT_TRUE(traces.contains("  TRACKED+RENAMED to ignored name, removing: .secret.txt"));
}

TEST_F(FileProcessorTest, StaleAndIncompleteEventsChangeNothing)
{
    writeFile(download("now.txt"));
    const std::uint64_t current = inodeOf(download("now.txt"));
    event(download("now.txt"), {F::created, F::isFile}, current + 1000);
    EXPECT_TRUE(traces.contains(QStringLiteral("  SKIP: stale event (path now has inode %1, event was for %2)")
                                    .arg(current)
                                    .arg(current + 1000)));
    event(download("vanished.txt"), {F::created, F::isFile}, 4242);
    EXPECT_TRUE(traces.contains("  SKIP: lstat failed for " + QString(download("vanished.txt"))));
    event(download("now.txt"), F::isFile); // no change flag
    event(download("now.txt"), F::created); // no item flag
    event(download("now.txt"), {F::created, F::isFile}, 0); // no inode
    event("", {F::created, F::isFile}, current); // no path
    event(downloads, {F::created, F::isDir}); // Downloads itself
    EXPECT_TRUE(announced.empty());
    EXPECT_TRUE(db().allRecords().empty());
}

TEST_F(FileProcessorTest, RescanPicksUpWhatArrivedUnseen)
{
    writeFile(download("known.txt"));
    finished(download("known.txt"));
    writeFile(download("missed.txt"), "12345");
    makeFolder(download("missed folder"));
    writeFile(download(".hidden"));
    writeFile(download("half.crdownload"));
    ASSERT_EQ(::symlink("missed.txt", download("link").constData()), 0);
    ASSERT_EQ(announced.size(), 1u);

    event(downloads + "/.", F::mustScan, inodeOf(downloads)); // no item flag: dropped
    EXPECT_EQ(announced.size(), 1u);
    event(downloads + "/.", {F::mustScan, F::isDir}, inodeOf(downloads));
    clock.advance(completion::quietPeriod);
    ASSERT_EQ(announced.size(), 3u);
    EXPECT_TRUE(traces.contains("Tracked (rescan): missed.txt"));
    EXPECT_TRUE(traces.contains("Tracked (rescan): missed folder"));
    EXPECT_EQ(db().recordFor(identityOf(download("missed.txt")))->fileSize, 5);
    EXPECT_EQ(db().recordFor(identityOf(download("missed folder")))->fileSize, 0);
    EXPECT_EQ(db().allRecords().size(), 3u);
}

} // namespace

namespace {

TEST_F(FileProcessorTest, ArrivalsWhileTheStoreIsLockedAreSavedAfterwardsInOrderAndOnce)
{
    // Another program holds the database (sqlite3 with BEGIN EXCLUSIVE): the downloads that
    // arrive meanwhile wait in memory and are saved, and offered, once it lets go.
    sqlite3 *other = nullptr;
    ASSERT_EQ(sqlite3_open(databasePath().toUtf8().constData(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    const std::vector<QByteArray> names{"c first.txt", "a second.txt", "b third.txt"};
    for (const QByteArray &name : names) {
        writeFile(download(name), name);
        event(download(name), {F::created, F::modified, F::closedAfterWrite, F::isFile});
    }
    clock.advance(1); // one more try, still locked
    EXPECT_TRUE(announced.empty());
    EXPECT_TRUE(traces.contains("  NOT SAVED: c first.txt, kept until the store accepts it"));

    ASSERT_EQ(sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(other);
    clock.advance(2 + completion::quietPeriod);
    ASSERT_EQ(announced.size(), names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(db().record(announced[i])->fileName, names[i]);
    clock.advance(60);
    EXPECT_EQ(announced.size(), names.size());
    EXPECT_EQ(db().allRecords().size(), names.size());
}

} // namespace

namespace {

// The store on a small file system of its own that fills up, where the test may mount one.
TEST(FileProcessorOnAFullDisk, DownloadsArrivingWhileTheDiskIsFullAreRecordedWhenSpaceComesBack)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QByteArray volume = QFile::encodeName(dir.path()) + "/volume";
    const QByteArray downloads = QFile::encodeName(dir.path()) + "/Downloads";
    ASSERT_EQ(::mkdir(volume.constData(), 0755), 0);
    ASSERT_EQ(::mkdir(downloads.constData(), 0755), 0);
    if (::mount("tmpfs", volume.constData(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "cannot mount a small tmpfs here (" << std::strerror(errno) << "); needs root";
    struct Unmount {
        QByteArray path;
        ~Unmount() { ::umount2(path.constData(), MNT_DETACH); }
    } unmount{volume};

    VirtualClock clock;
    MemoryPreferences prefs;
    RecordingTrash trash;
    QString error;
    auto store = TrackedFileStore::open(QFile::decodeName(volume) + QStringLiteral("/Sivra.sqlite"), clock, prefs,
                                        trash, &error);
    ASSERT_TRUE(store) << error.toStdString();
    InlineExecutor inline_;
    TrackedFileActor actor(inline_, std::move(store));
    std::vector<RecordId> announced;
    FileProcessor processor(actor, downloads, clock, inline_, [&](RecordId id) { announced.push_back(id); });
    int trouble = -1;
    processor.setStoreTroubleCallback([&](int waiting) { trouble = waiting; });

    // Fill the volume to the last byte.
    const QByteArray filler = volume + "/filler";
    {
        const int fd = ::open(filler.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        ASSERT_GE(fd, 0);
        const QByteArray block(4096, 'f');
        while (::write(fd, block.constData(), size_t(block.size())) > 0) {
        }
        ::close(fd);
    }
    constexpr int count = 100;
    for (int i = 0; i < count; ++i) {
        const QByteArray path = downloads + "/download " + QByteArray::number(i) + ".bin";
        writeFile(path, "data");
        processor.handle(FileEvent{path, inodeOf(path), {F::created, F::modified, F::closedAfterWrite, F::isFile}});
    }
    // The first few may still fit in the space SQLite's journal already holds.
    clock.advance(1 + 2 + 4 + 8 + completion::quietPeriod);
    ASSERT_LT(announced.size(), size_t(count));
    EXPECT_EQ(size_t(trouble), count - announced.size()) << "the user is told once the writes keep failing";

    ASSERT_EQ(::unlink(filler.constData()), 0);
    clock.advance(30 + completion::quietPeriod);
    ASSERT_EQ(announced.size(), size_t(count));
    EXPECT_EQ(trouble, 0);
    const auto records = actor.unsafeState().allTrackedFiles();
    ASSERT_EQ(records.size(), size_t(count));
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(actor.unsafeState().record(announced[size_t(i)])->fileName,
                  "download " + QByteArray::number(i) + ".bin");
}

} // namespace
