#include "StoreTestSupport.h"

#include "core/Tags.h"
#include "expiry/ExpirySettings.h"

#include <QFile>

#include <csignal>
#include <sqlite3.h>
#include <sys/wait.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

// A second connection, as another tool reading or editing the database would have.
class RawConnection {
public:
    explicit RawConnection(const QString &path) { sqlite3_open(path.toUtf8().constData(), &m_db); }
    ~RawConnection() { sqlite3_close(m_db); }
    bool exec(const char *sql) { return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }
    QByteArray text(const char *sql)
    {
        sqlite3_stmt *statement = nullptr;
        QByteArray result;
        if (sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr) == SQLITE_OK
            && sqlite3_step(statement) == SQLITE_ROW)
            result = QByteArray(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
        sqlite3_finalize(statement);
        return result;
    }

private:
    sqlite3 *m_db = nullptr;
};

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

using TrackedFileStoreTest = StoreFixture;

TEST_F(TrackedFileStoreTest, RecordsSurviveReopeningWithExactBytesAndFullInodeRange)
{
    const QByteArray oddName("r\xe9sum\xe9\n\"-x 'q'.pdf"); // Latin-1 bytes: not valid UTF-8
    const std::uint64_t bigInode = 0xFFFF'FFFF'FFFF'FFF0ull;
    const RecordId id = store->insertNew(FileIdentity{bigInode}, download(oddName), oddName, 1234);
    ASSERT_GT(id, 0);
    const auto expiry = store->markTemporary(id, 90);
    store.reset();

    QString error;
    store = TrackedFileStore::open(databasePath(), clock, prefs, trash, &error);
    ASSERT_TRUE(store) << error.toStdString();
    const auto file = store->recordForInode(bigInode);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->id, id);
    EXPECT_EQ(file->filePath, download(oddName));
    EXPECT_EQ(file->fileName, oddName);
    EXPECT_EQ(file->fileSize, 1234);
    EXPECT_EQ(file->state, FileState::temporary);
    EXPECT_EQ(file->expiresAt, expiry);
    EXPECT_EQ(store->activeIdentity(download(oddName)), FileIdentity{bigInode});

    RawConnection raw(databasePath());
    EXPECT_EQ(raw.text("PRAGMA user_version"), "3");
    EXPECT_EQ(raw.text("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(raw.text("SELECT state FROM tracked_file"), "temporary");
}

TEST_F(TrackedFileStoreTest, AKilledProcessLosesNothingItCommitted)
{
    store.reset();
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The child writes through its own store and dies without closing anything.
        auto doomed = TrackedFileStore::open(databasePath(), clock, prefs, trash, nullptr);
        const RecordId id = doomed ? doomed->insertNew(FileIdentity{77}, download("kept.pdf"), "kept.pdf", 5) : 0;
        if (id > 0)
            doomed->markTemporary(id, 600);
        ::raise(SIGKILL);
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));

    QString error;
    store = TrackedFileStore::open(databasePath(), clock, prefs, trash, &error);
    ASSERT_TRUE(store) << error.toStdString();
    const auto file = store->recordForInode(77);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->state, FileState::temporary);
    EXPECT_EQ(file->expiresAt, clock.now() + 600);
}

TEST_F(TrackedFileStoreTest, OpenRefusesFilesItCannotUseAndLeavesThemUntouched)
{
    const QString garbage = dir.path() + QStringLiteral("/garbage.sqlite");
    {
        QFile file(garbage);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(4096, 'x'));
    }
    QString error;
    EXPECT_FALSE(TrackedFileStore::open(garbage, clock, prefs, trash, &error));
    EXPECT_TRUE(error.startsWith(garbage)) << error.toStdString();
    EXPECT_EQ(readAll(garbage), QByteArray(4096, 'x'));

    const QString foreign = dir.path() + QStringLiteral("/foreign.sqlite");
    {
        RawConnection raw(foreign);
        ASSERT_TRUE(raw.exec("CREATE TABLE notes (body TEXT); INSERT INTO notes VALUES ('keep me')"));
    }
    error.clear();
    EXPECT_FALSE(TrackedFileStore::open(foreign, clock, prefs, trash, &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(RawConnection(foreign).text("SELECT body FROM notes"), "keep me");

    const QString newer = dir.path() + QStringLiteral("/newer.sqlite");
    ASSERT_TRUE(RawConnection(newer).exec("PRAGMA user_version = 4"));
    error.clear();
    EXPECT_FALSE(TrackedFileStore::open(newer, clock, prefs, trash, &error));
    EXPECT_TRUE(error.contains(QStringLiteral("schema version 4"))) << error.toStdString();
}

TEST_F(TrackedFileStoreTest, AnOlderStoreIsUpgradedInPlaceAndAReusedInodeIsNotTrashedAtLaunch)
{
    // A store of the first version, which knew files by their inode alone: "kept.pdf" is
    // still there; "report.pdf" was deleted while Dowsel was not running and "thesis.pdf",
    // never shown to the user, got its inode number.
    store.reset();
    const QString oldStore = dir.path() + QStringLiteral("/first version.sqlite");
    writeFile(download("kept.pdf"), "kept");
    writeFile(download("thesis.pdf"), "thesis");
    const FileIdentity kept = identityOf(download("kept.pdf"));
    const FileIdentity thesis = identityOf(download("thesis.pdf"));
    {
        RawConnection raw(oldStore);
        ASSERT_TRUE(raw.exec("CREATE TABLE tracked_file (id INTEGER PRIMARY KEY AUTOINCREMENT, inode INTEGER UNIQUE "
                             "NOT NULL, file_path TEXT NOT NULL, file_name TEXT NOT NULL, state TEXT NOT NULL DEFAULT "
                             "'unprocessed', detected_at REAL NOT NULL, marked_temporary_at REAL, expires_at REAL, "
                             "file_size INTEGER NOT NULL DEFAULT 0); PRAGMA user_version = 1;"));
        const QString insert = QStringLiteral("INSERT INTO tracked_file (id, inode, file_path, file_name, state, "
                                              "detected_at, marked_temporary_at, expires_at, file_size) VALUES "
                                              "(%1, %2, '%3', '%4', 'temporary', 1, 1, 2, 4)");
        ASSERT_TRUE(raw.exec(insert.arg(7).arg(kept.inode).arg(QString(download("kept.pdf")), "kept.pdf").toUtf8().constData()));
        ASSERT_TRUE(raw.exec(insert.arg(9).arg(thesis.inode).arg(QString(download("report.pdf")), "report.pdf")
                                 .toUtf8().constData()));
        ASSERT_TRUE(raw.exec("UPDATE sqlite_sequence SET seq = 40"));
    }
    QString error;
    store = TrackedFileStore::open(oldStore, clock, prefs, trash, &error);
    ASSERT_TRUE(store) << error.toStdString();
    EXPECT_EQ(RawConnection(oldStore).text("PRAGMA user_version"), "3");
    EXPECT_EQ(store->record(7)->identity(), kept); // its guard read from the file itself
    EXPECT_EQ(store->record(7)->state, FileState::temporary);
    EXPECT_EQ(store->record(9)->identityGuard, 0);

    // Launch: what is in Downloads is recorded; thesis.pdf is new to Dowsel, so it is
    // dismissed, and the stale record of report.pdf goes instead of sending it to the Trash.
    store->dismissExisting({{kept, download("kept.pdf"), "kept.pdf", 4},
                            {thesis, download("thesis.pdf"), "thesis.pdf", 6}});
    EXPECT_FALSE(store->record(9));
    ASSERT_TRUE(store->recordFor(thesis));
    EXPECT_EQ(store->recordFor(thesis)->state, FileState::dismissed);
    const auto expired = store->fetchExpired();
    ASSERT_EQ(expired.size(), 1u);
    EXPECT_EQ(expired[0].id, 7);
    EXPECT_GT(store->insertNew({12345}, download("x"), "x", 1), 40); // ids are never handed out again

    // A row with a state this version does not know never holds an inode.
    ASSERT_TRUE(RawConnection(oldStore).exec("UPDATE tracked_file SET state = 'archived' WHERE inode = 12345"));
    EXPECT_FALSE(store->isTracked({12345}));
    EXPECT_GT(store->insertNew({12345}, download("x"), "x", 1), 0);
}

TEST_F(TrackedFileStoreTest, NewRecordsStartUnprocessedAndIdsAreNeverReused)
{
    const RecordId first = track("a.pdf");
    const auto file = store->record(first);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->state, FileState::unprocessed);
    EXPECT_EQ(file->detectedAt, clock.now());
    EXPECT_FALSE(file->markedTemporaryAt);
    EXPECT_FALSE(file->expiresAt);
    EXPECT_TRUE(store->isTracked(file->identity()));

    // A second record for an inode already present is refused by the unique constraint.
    EXPECT_EQ(store->insertNew(file->identity(), download("other"), "other", 1), 0);

    const RecordId second = track("b.pdf");
    store->removeRecord(second);
    const RecordId third = track("c.pdf");
    EXPECT_GT(third, second) << "a deleted record's id must not name a new record";
    EXPECT_FALSE(store->record(second));
}

TEST_F(TrackedFileStoreTest, MarkTemporaryUsesTheDefaultExpiryAndRestartsTheTime)
{
    prefs.setValue(prefkeys::expiryValue, 2);
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("days"));
    const RecordId id = track("report.pdf");
    store->markDismissed(id);

    const Date start = clock.now();
    EXPECT_EQ(store->markTemporary(id), start + 172800);
    auto file = store->record(id);
    EXPECT_EQ(file->state, FileState::temporary);
    EXPECT_EQ(file->markedTemporaryAt, start);
    EXPECT_EQ(readTags(download("report.pdf")), QByteArrayList{temporaryTag});

    clock.advance(100);
    EXPECT_EQ(store->markTemporary(id, 90), start + 190); // a typed duration, not clamped
    file = store->record(id);
    EXPECT_EQ(file->markedTemporaryAt, start + 100);
    EXPECT_EQ(file->expiresAt, start + 190);
    EXPECT_EQ(readTags(download("report.pdf")), QByteArrayList{temporaryTag});

    const auto before = store->allTrackedFiles();
    EXPECT_FALSE(store->markTemporary(id + 100));
    EXPECT_EQ(store->allTrackedFiles().size(), before.size());
}

TEST_F(TrackedFileStoreTest, MarkTemporaryNeverStoresADatePastTheLastOneDowselWrites)
{
    const RecordId id = track("forever.pdf");
    EXPECT_EQ(store->markTemporary(id, 999999999.0 * 604800), latestExpiryDate);
    EXPECT_EQ(store->record(id)->expiresAt, latestExpiryDate);
    EXPECT_EQ(store->markTemporary(id, 60), clock.now() + 60);
}

TEST_F(TrackedFileStoreTest, ActiveInodeSkipsDismissedRecordsAtThePath)
{
    const QByteArray path = download("a.zip");
    store->dismissExisting({{{11}, path, "a.zip", 5}});
    EXPECT_FALSE(store->activeIdentity(path));

    const RecordId newer = store->insertNew(FileIdentity{12}, path, "a.zip", 6);
    store->markTemporary(newer);
    EXPECT_EQ(store->activeIdentity(path), FileIdentity{12});
    EXPECT_FALSE(store->activeIdentity(download("b.zip")));
}

TEST_F(TrackedFileStoreTest, DismissExistingUpdatesPlacesAndOnlyDismissesUndecidedRecords)
{
    const RecordId pending = store->insertNew(FileIdentity{1}, download("old1"), "old1", 1);
    const RecordId temporary = store->insertNew(FileIdentity{2}, download("old2"), "old2", 2);
    store->markTemporary(temporary, 600);

    store->dismissExisting({
        {{1}, download("new1"), "new1", 10},
        {{2}, download("new2"), "new2", 20},
        {{3}, download("found"), "found", 30},
    });

    auto file = store->record(pending);
    EXPECT_EQ(file->state, FileState::dismissed);
    EXPECT_EQ(file->filePath, download("new1"));
    EXPECT_EQ(file->fileSize, 10);
    file = store->record(temporary);
    EXPECT_EQ(file->state, FileState::temporary);
    EXPECT_EQ(file->fileName, "new2");
    file = store->recordForInode(3);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->state, FileState::dismissed);
    EXPECT_EQ(file->filePath, download("found"));
}

TEST_F(TrackedFileStoreTest, ReplacedAndRenamedFilesKeepTheirDecision)
{
    const RecordId id = store->insertNew(FileIdentity{1}, download("a.txt"), "a.txt", 3);
    const auto expiry = store->markTemporary(id, 3600);

    store->replaceIdentity({1}, {2}, download("a.txt"), "a.txt", 4);
    store->updatePath({2}, download("b.txt"), "b.txt");
    store->replaceIdentity({99}, {100}, download("x"), "x", 1); // unknown: nothing happens

    const auto file = store->record(id);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->inode, 2u);
    EXPECT_EQ(file->filePath, download("b.txt"));
    EXPECT_EQ(file->fileName, "b.txt");
    EXPECT_EQ(file->fileSize, 4);
    EXPECT_EQ(file->state, FileState::temporary);
    EXPECT_EQ(file->expiresAt, expiry);
    EXPECT_FALSE(store->isTracked({1}));
    EXPECT_FALSE(store->isTracked({100}));
    EXPECT_EQ(store->allRecords().size(), 1u);
}

TEST_F(TrackedFileStoreTest, ExpiredMeansTemporaryWithADatePassedOrDueNow)
{
    const RecordId due = store->insertNew(FileIdentity{1}, download("due"), "due", 1);
    const RecordId later = store->insertNew(FileIdentity{2}, download("later"), "later", 1);
    const RecordId kept = store->insertNew(FileIdentity{3}, download("kept"), "kept", 1);
    store->insertNew(FileIdentity{4}, download("undated"), "undated", 1);
    store->markTemporary(due, 60);
    store->markTemporary(later, 61);
    store->markTemporary(kept, 10);
    store->markDismissed(kept);
    {
        // Another tool may leave a temporary record without a date: it never expires.
        RawConnection raw(databasePath());
        ASSERT_TRUE(raw.exec("UPDATE tracked_file SET state = 'temporary' WHERE inode = 4"));
    }

    clock.advance(60);
    const auto expired = store->fetchExpired();
    ASSERT_EQ(expired.size(), 1u);
    EXPECT_EQ(expired[0].id, due);
    EXPECT_EQ(expired[0].identity.inode, 1u);
    EXPECT_EQ(expired[0].path, download("due"));

    const auto expiries = store->temporaryExpiries();
    ASSERT_EQ(expiries.size(), 2u);
    EXPECT_EQ(expiries[0].id, due);
    EXPECT_EQ(expiries[1].id, later);
    EXPECT_EQ(expiries[1].expiresAt, clock.now() + 1);
}

TEST_F(TrackedFileStoreTest, DismissingAndRemovingTakeTheTagOffButLeaveTheFile)
{
    const RecordId kept = track("kept.pdf");
    const RecordId removed = track("removed.pdf");
    const auto expiry = store->markTemporary(kept, 60);
    store->markTemporary(removed, 60);

    store->markDismissed(kept);
    auto file = store->record(kept);
    EXPECT_EQ(file->state, FileState::dismissed);
    EXPECT_EQ(file->expiresAt, expiry);
    EXPECT_TRUE(readTags(download("kept.pdf")).isEmpty());

    store->removeRecordFor(identityOf(download("removed.pdf")));
    EXPECT_FALSE(store->record(removed));
    EXPECT_TRUE(readTags(download("removed.pdf")).isEmpty());
    EXPECT_TRUE(exists(download("removed.pdf")));
    EXPECT_TRUE(trash.paths().isEmpty());
}

TEST_F(TrackedFileStoreTest, DeleteNowTrashesWhatIsThereAndKeepsTheRecordWhenTheTrashRefuses)
{
    const RecordId present = track("present.pdf");
    const RecordId gone = track("gone.pdf");
    store->markTemporary(present, 60);
    ASSERT_EQ(::unlink(download("gone.pdf").constData()), 0);

    int changes = 0;
    store->setChangeObserver([&] { ++changes; });
    EXPECT_EQ(store->deleteNow(gone), std::nullopt);
    EXPECT_FALSE(store->record(gone));
    EXPECT_TRUE(trash.paths().isEmpty());
    EXPECT_EQ(changes, 1);

    trash.failWith(QStringLiteral("Read-only file system"));
    EXPECT_EQ(store->deleteNow(present), QStringLiteral("Read-only file system"));
    EXPECT_EQ(trash.paths(), QByteArrayList{download("present.pdf")});
    // Nothing was done, so nothing changed: still tracked, still temporary, still tagged.
    const auto kept = store->record(present);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->state, FileState::temporary);
    EXPECT_TRUE(exists(download("present.pdf")));
    EXPECT_EQ(readTags(download("present.pdf")), QByteArrayList{temporaryTag});
    EXPECT_EQ(changes, 1);

    trash.failWith(std::nullopt);
    EXPECT_EQ(store->deleteNow(present), std::nullopt);
    EXPECT_FALSE(store->record(present));
    EXPECT_EQ(trash.paths().size(), 2);
    EXPECT_TRUE(readTags(download("present.pdf")).isEmpty()); // the tag went before the file
    EXPECT_EQ(changes, 2);

    store->deleteNow(present); // already gone: nothing more
    EXPECT_EQ(trash.paths().size(), 2);
}

class ArchiveInheritanceTest : public StoreFixture {
protected:
    RecordId temporaryArchive(const QByteArray &name, Seconds duration, const QByteArray &folder = {})
    {
        const QByteArray path = (folder.isEmpty() ? downloads : folder) + '/' + name;
        const RecordId id = (writeFile(path), store->insertNew(identityOf(path), path, name, 100));
        store->markTemporary(id, duration);
        clock.advance(1);
        return id;
    }
    RecordId extractedFolder(const QByteArray &name)
    {
        const QByteArray path = download(name);
        EXPECT_EQ(::mkdir(path.constData(), 0755), 0);
        return store->insertNew(identityOf(path), path, name, 0);
    }
};

TEST_F(ArchiveInheritanceTest, AFolderTakesTheDeadlineOfItsArchive)
{
    const RecordId zip = temporaryArchive("photos.zip", 3600);
    temporaryArchive("photos.tar.gz", 7200);
    const auto archive = store->record(zip);

    const RecordId folder = extractedFolder("photos");
    EXPECT_EQ(store->inheritArchiveExpiry(folder), archive->expiresAt);
    const auto file = store->record(folder);
    EXPECT_EQ(file->state, FileState::temporary);
    EXPECT_EQ(file->expiresAt, archive->expiresAt);
    EXPECT_EQ(file->markedTemporaryAt, archive->markedTemporaryAt);
    EXPECT_EQ(readTags(download("photos")), QByteArrayList{temporaryTag});
}

TEST_F(ArchiveInheritanceTest, NumberedCopiesPreferAnExactBaseAndOnlyFoldersInherit)
{
    const RecordId first = temporaryArchive("photos.zip", 100);
    const RecordId exact = temporaryArchive("photos 2.zip", 200);
    EXPECT_EQ(store->inheritArchiveExpiry(extractedFolder("photos 2")), store->record(exact)->expiresAt);
    EXPECT_EQ(store->inheritArchiveExpiry(extractedFolder("photos 3")), store->record(first)->expiresAt);

    const QByteArray filePath = download("photos 4");
    const RecordId file = (writeFile(filePath, "data"), store->insertNew(identityOf(filePath), filePath, "photos 4", 4));
    EXPECT_FALSE(store->inheritArchiveExpiry(file));
    EXPECT_EQ(store->record(file)->state, FileState::unprocessed);
    EXPECT_FALSE(store->inheritArchiveExpiry(first + 1000));
}

TEST_F(ArchiveInheritanceTest, OnlyTemporaryArchivesInTheSameFolderCount)
{
    const QByteArray elsewhere = QFile::encodeName(dir.path()) + "/elsewhere";
    ASSERT_EQ(::mkdir(elsewhere.constData(), 0755), 0);
    temporaryArchive("docs.zip", 100, elsewhere);
    const RecordId dismissed = temporaryArchive("docs.tgz", 100);
    store->markDismissed(dismissed);
    temporaryArchive("docs.pdf", 100); // temporary, but not an archive

    const RecordId folder = extractedFolder("docs");
    EXPECT_FALSE(store->inheritArchiveExpiry(folder));
    const auto file = store->record(folder);
    EXPECT_EQ(file->state, FileState::unprocessed);
    EXPECT_FALSE(file->expiresAt);
    EXPECT_TRUE(readTags(download("docs")).isEmpty());
}

} // namespace
