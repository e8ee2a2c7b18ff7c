#include "StoreTestSupport.h"

#include "app/UserNotices.h"
#include "core/StoreRecovery.h"

#include <QDir>
#include <QFile>

#include <sqlite3.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Real stores in a temporary folder, damaged the way a failing disk or a stray writer
// damages them: whole pages overwritten.
class StoreDamageTest : public StoreFixture {
protected:
    // Fills the table over many pages, closes the store and overwrites the table's root
    // page, which every read of the table passes. Returns the number of records written.
    int fillAndDamage()
    {
        for (int i = 0; i < 400; ++i) {
            const QByteArray name = "download-" + QByteArray::number(i).rightJustified(4, '0') + ".pdf";
            EXPECT_GT(store->insertNew(FileIdentity{std::uint64_t(1000 + i)}, download(name), name, i), 0);
        }
        store.reset(); // checkpoints the journal into the file
        sqlite3 *raw = nullptr;
        sqlite3_stmt *query = nullptr;
        int root = 0, pageSize = 0;
        sqlite3_open(databasePath().toUtf8().constData(), &raw);
        sqlite3_prepare_v2(raw, "SELECT rootpage, (SELECT page_size FROM pragma_page_size) FROM sqlite_master "
                                "WHERE name = 'tracked_file'", -1, &query, nullptr);
        if (sqlite3_step(query) == SQLITE_ROW) {
            root = sqlite3_column_int(query, 0);
            pageSize = sqlite3_column_int(query, 1);
        }
        sqlite3_finalize(query);
        sqlite3_close(raw);
        EXPECT_GT(root, 1);
        EXPECT_GT(pageSize, 0);
        QFile file(databasePath());
        EXPECT_TRUE(file.open(QIODevice::ReadWrite));
        EXPECT_TRUE(file.seek(qint64(root - 1) * pageSize));
        file.write(QByteArray(pageSize, char(0xA5)));
        return 400;
    }

    QStringList setAsideFiles() const
    {
        return QDir(dir.path() + QStringLiteral("/data")).entryList({QStringLiteral("*.damaged-*")}, QDir::Files, QDir::Name);
    }
};

TEST_F(StoreDamageTest, DamagedPagesFoundAtStartAreSetAsideAndAFreshStoreOpens)
{
    fillAndDamage();
    const QByteArray damagedBytes = readAll(databasePath());
    ASSERT_EQ(checkStoreFile(databasePath()).health, StoreCheck::Health::damaged);

    OpenedStore opened = openCheckedStore(databasePath(), clock, prefs, trash);
    ASSERT_TRUE(opened.store) << opened.error.toStdString();
    EXPECT_FALSE(opened.damage.isEmpty());
    // The old file is whole, byte for byte, under a dated name next to the new one.
    const QDateTime when = QDateTime::fromMSecsSinceEpoch(qint64(clock.now() * 1000));
    EXPECT_EQ(opened.setAsidePath, dir.path() + QStringLiteral("/data/Sivra.damaged-")
                                       + when.toString(QStringLiteral("yyyy-MM-dd-HHmmss")) + QStringLiteral(".sqlite"));
    EXPECT_EQ(readAll(opened.setAsidePath), damagedBytes);
    // The fresh store works and is the one at the usual place.
    store = std::move(opened.store);
    EXPECT_TRUE(store->allTrackedFiles().empty());
    EXPECT_GT(track("after.pdf"), 0);
    store.reset();
    EXPECT_EQ(checkStoreFile(databasePath()).health, StoreCheck::Health::healthy);
}

TEST_F(StoreDamageTest, AGarbageFileIsRefusedAndLeftExactlyAsItWas)
{
    store.reset();
    QFile::remove(databasePath());
    QByteArray garbage;
    for (int i = 0; i < 8192; ++i)
        garbage.append(char(i * 7 + 3));
    {
        QFile file(databasePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(garbage);
    }
    const QStringList before = QDir(dir.path() + QStringLiteral("/data")).entryList(QDir::Files);

    EXPECT_EQ(checkStoreFile(databasePath()).health, StoreCheck::Health::notADatabase);
    OpenedStore opened = openCheckedStore(databasePath(), clock, prefs, trash);
    EXPECT_FALSE(opened.store);
    EXPECT_TRUE(opened.error.startsWith(databasePath())) << opened.error.toStdString();
    EXPECT_TRUE(opened.error.contains(QStringLiteral("not a database"))) << opened.error.toStdString();
    EXPECT_EQ(readAll(databasePath()), garbage);
    EXPECT_EQ(QDir(dir.path() + QStringLiteral("/data")).entryList(QDir::Files), before); // no -wal, no set-aside

    const Notice notice = UserNotices::storeCannotOpen(opened.error);
    EXPECT_EQ(notice.urgency, Notice::Urgency::critical);
    EXPECT_TRUE(notice.body.contains(opened.error));
}

TEST_F(StoreDamageTest, SettingAsideMovesTheJournalAlongAndNeverReplacesAnOlderCopy)
{
    store.reset();
    const QString path = databasePath();
    // A journal and an index beside the main file, as a store that was not closed leaves them.
    for (const char *suffix : {"-wal", "-shm"}) {
        QFile companion(path + QLatin1String(suffix));
        ASSERT_TRUE(companion.open(QIODevice::WriteOnly));
        companion.write(QByteArray("journal ") + suffix);
    }
    const QByteArray first = readAll(path);

    QString error;
    const auto moved = setAsideDamagedStore(path, clock.now(), &error);
    ASSERT_TRUE(moved) << error.toStdString();
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_EQ(readAll(*moved), first);
    EXPECT_EQ(readAll(*moved + QStringLiteral("-wal")), "journal -wal");
    EXPECT_EQ(readAll(*moved + QStringLiteral("-shm")), "journal -shm");

    // A second damaged store in the same second gets a name of its own.
    {
        QFile again(path);
        ASSERT_TRUE(again.open(QIODevice::WriteOnly));
        again.write("second");
    }
    const auto second = setAsideDamagedStore(path, clock.now(), &error);
    ASSERT_TRUE(second) << error.toStdString();
    EXPECT_NE(*second, *moved);
    EXPECT_TRUE(second->endsWith(QStringLiteral("-2.sqlite"))) << second->toStdString();
    EXPECT_EQ(readAll(*second), "second");
    EXPECT_EQ(readAll(*moved), first);
    EXPECT_EQ(setAsideFiles().size(), 4); // two stores, one journal pair
}

TEST_F(StoreDamageTest, DamageFoundWhileRunningIsReportedOnceAndTheStoreStartsAfresh)
{
    const int written = fillAndDamage();
    // Opened without the start-up check, as a store that goes bad under a running Dowsel.
    QString error;
    store = TrackedFileStore::open(databasePath(), clock, prefs, trash, &error);
    ASSERT_TRUE(store) << error.toStdString();
    QStringList reports;
    store->setDamageObserver([&](const QString &reason) { reports.append(reason); });

    EXPECT_LT(int(store->allTrackedFiles().size()), written); // a failed fetch reads as nothing
    store->allTrackedFiles();
    ASSERT_EQ(reports.size(), 1);
    EXPECT_TRUE(reports.front().contains(QStringLiteral("malformed"))) << reports.front().toStdString();
    const QByteArray damagedBytes = readAll(databasePath());

    int changes = 0;
    store->setChangeObserver([&] { ++changes; });
    const StoreReplacement replaced = replaceDamagedStore(*store, databasePath(), clock, prefs, trash);
    EXPECT_FALSE(replaced.inMemory) << replaced.error.toStdString();
    EXPECT_EQ(readAll(replaced.setAsidePath), damagedBytes);
    EXPECT_GE(changes, 1); // views read the (now empty) store again
    EXPECT_TRUE(store->allTrackedFiles().empty());

    // New ids go on after the old ones: a toast or a timer holding an old id finds nothing.
    const RecordId fresh = track("fresh.pdf");
    EXPECT_GT(fresh, written);
    // The new file is the store now, and a later damage is reported again.
    store.reset();
    EXPECT_EQ(checkStoreFile(databasePath()).health, StoreCheck::Health::healthy);
    // The damaged connection closed without folding its journal into the file: the journal
    // went aside with it.
    const QString aside = QFileInfo(replaced.setAsidePath).fileName();
    EXPECT_EQ(setAsideFiles(), (QStringList{aside, aside + QStringLiteral("-shm"), aside + QStringLiteral("-wal")}));
}

TEST_F(StoreDamageTest, WithoutAPlaceForAFreshFileTheStoreGoesOnInMemory)
{
    fillAndDamage();
    QString error;
    store = TrackedFileStore::open(databasePath(), clock, prefs, trash, &error);
    ASSERT_TRUE(store) << error.toStdString();
    // The folder vanishes (an unmounted disk): nothing can be moved or created there.
    const QString data = dir.path() + QStringLiteral("/data");
    ASSERT_TRUE(QDir().rename(data, dir.path() + QStringLiteral("/elsewhere")));

    const StoreReplacement replaced = replaceDamagedStore(*store, databasePath(), clock, prefs, trash);
    EXPECT_TRUE(replaced.inMemory);
    EXPECT_FALSE(replaced.error.isEmpty());
    EXPECT_FALSE(QFile::exists(data));
    EXPECT_GT(track("kept-in-memory.pdf"), 0);
    EXPECT_EQ(store->allTrackedFiles().size(), 1u);
}

} // namespace
