#include "StoreTestSupport.h"

#include "expiry/ExpirySettings.h"
#include "ui/model/PopoverLists.h"

#include <QFile>

#include <ctime>
#include <sys/stat.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

constexpr Seconds day = 86400;

// Downloads as a first start finds it: some files from long ago, some from yesterday. The
// clock runs 60 days ahead of the real one, so the files made now were born "60 days ago";
// a file changed yesterday counts as recent whatever its birth.
class BacklogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        downloads = QFile::encodeName(dir.path()) + "/Downloads";
        ASSERT_EQ(::mkdir(downloads.constData(), 0755), 0);
        QString error;
        store = TrackedFileStore::open(dir.path() + QStringLiteral("/Sivra.sqlite"), clock, prefs, trash, &error);
        ASSERT_TRUE(store) << error.toStdString();
    }

    QByteArray download(const QByteArray &name) const { return joinPath(downloads, name); }
    void age(const QByteArray &name, Date modified)
    {
        const struct timespec times[2] = {{std::time_t(modified), 0}, {std::time_t(modified), 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, download(name).constData(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    void add(const QByteArray &name, const QByteArray &content, Date modified)
    {
        ASSERT_NE(writeFile(download(name), content), 0u);
        age(name, modified);
    }
    // What the start-up scan hands the store: everything there is dismissed.
    void firstStart()
    {
        std::vector<DownloadFileSnapshot> snapshots;
        const auto names = listDirectory(downloads);
        ASSERT_TRUE(names);
        for (const QByteArray &name : *names) {
            const auto status = statPath(download(name));
            snapshots.push_back({status->identity(), download(name), name, status->size});
        }
        store->dismissExisting(snapshots);
    }
    PopoverLists lists(int ageDays)
    {
        return fetchPopoverLists(*store, downloads, PopoverFetch{clock.now(), ageDays * day});
    }
    static std::vector<QByteArray> namesOf(const std::vector<BacklogFile> &files)
    {
        std::vector<QByteArray> names;
        for (const BacklogFile &file : files)
            names.push_back(file.record.fileName);
        return names;
    }

    QTemporaryDir dir;
    QByteArray downloads;
    VirtualClock clock{double(std::time(nullptr)) + 60 * day};
    MemoryPreferences prefs;
    RecordingTrash trash;
    std::unique_ptr<TrackedFileStore> store;
};

TEST_F(BacklogTest, OnlyTheOldFilesAreOfferedAndOnlyTheyBecomeTemporary)
{
    const Date now = clock.now();
    add("tax-2023.pdf", QByteArray(3000, 't'), now - 50 * day);
    add("old-installer.deb", QByteArray(5000, 'd'), now - 45 * day);
    add("yesterday.png", QByteArray(700, 'p'), now - day);
    add("today.txt", "hi", now);
    ASSERT_EQ(::mkdir(download("photos").constData(), 0755), 0);
    ASSERT_NE(writeFile(download("photos/a.jpg"), QByteArray(1000, 'a')), 0u);
    ASSERT_EQ(::mkdir(download("photos/inner").constData(), 0755), 0);
    ASSERT_NE(writeFile(download("photos/inner/b.jpg"), QByteArray(250, 'b')), 0u);
    age("photos", now - 40 * day);
    firstStart();

    const PopoverLists found = lists(defaultBacklogAgeDays);
    EXPECT_EQ(found.ignoredFiles.size(), 5u);
    // Oldest first; a folder holds what is in it.
    EXPECT_EQ(namesOf(found.backlog), (std::vector<QByteArray>{"tax-2023.pdf", "old-installer.deb", "photos"}));
    EXPECT_EQ(found.backlog[2].bytes, 1250);
    EXPECT_EQ(found.backlogBytes, 3000 + 5000 + 1250);
    // A longer age leaves fewer.
    EXPECT_EQ(namesOf(lists(48).backlog), (std::vector<QByteArray>{"tax-2023.pdf"}));
    EXPECT_TRUE(lists(90).backlog.empty());

    std::vector<RecordId> ids;
    for (const BacklogFile &file : found.backlog)
        ids.push_back(file.record.id);
    std::vector<std::pair<RecordId, Date>> scheduled;
    EXPECT_EQ(makeTemporary(*store, ids, [&](RecordId id, Date at) { scheduled.emplace_back(id, at); }), 0);

    const Date expiry = now + defaultExpiryInterval(prefs);
    EXPECT_EQ(scheduled.size(), 3u);
    for (const auto &[id, at] : scheduled)
        EXPECT_EQ(at, expiry);
    const PopoverLists after = lists(defaultBacklogAgeDays);
    std::vector<QByteArray> temporary;
    for (const TrackedFile &file : after.temporaryFiles) {
        temporary.push_back(file.fileName);
        EXPECT_EQ(file.expiresAt, expiry);
    }
    std::sort(temporary.begin(), temporary.end());
    EXPECT_EQ(temporary, (std::vector<QByteArray>{"old-installer.deb", "photos", "tax-2023.pdf"}));
    std::vector<QByteArray> ignored;
    for (const TrackedFile &file : after.ignoredFiles)
        ignored.push_back(file.fileName);
    std::sort(ignored.begin(), ignored.end());
    EXPECT_EQ(ignored, (std::vector<QByteArray>{"today.txt", "yesterday.png"}));
    EXPECT_TRUE(after.backlog.empty());
}

TEST_F(BacklogTest, TheChosenAgeIsReadFromThePreferencesWithASaneFallback)
{
    EXPECT_EQ(backlogAgeDays(prefs), 30);
    prefs.setValue(backlogAgeKey, 90);
    EXPECT_EQ(backlogAgeDays(prefs), 90);
    prefs.setValue(backlogAgeKey, 0);
    EXPECT_EQ(backlogAgeDays(prefs), 30);
    prefs.setValue(backlogAgeKey, QStringLiteral("ninety"));
    EXPECT_EQ(backlogAgeDays(prefs), 30);
}

} // namespace
