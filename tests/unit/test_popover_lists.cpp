#include "StoreTestSupport.h"

#include "core/Tags.h"
#include "ui/model/PopoverLists.h"

#include <cstdio>

#include <sys/xattr.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

using PopoverListsTest = StoreFixture;

std::vector<QByteArray> namesOf(const std::vector<TrackedFile> &files)
{
    std::vector<QByteArray> names;
    for (const TrackedFile &file : files)
        names.push_back(file.fileName);
    return names;
}

TrackedFile temporary(const char *name, std::optional<Date> expiresAt)
{
    TrackedFile file;
    file.fileName = name;
    file.filePath = QByteArray("/home/u/Downloads/") + name;
    file.state = FileState::temporary;
    file.expiresAt = expiresAt;
    return file;
}

TEST(PopoverSorting, EarliestExpiryFirstTiesKeepStoreOrderAndNoExpiryGoesLast)
{
    std::vector<TrackedFile> records{temporary("never-a", std::nullopt), temporary("late", 500),
                                     temporary("tie-1", 200),           temporary("early", 100),
                                     temporary("never-b", std::nullopt), temporary("tie-2", 200)};
    TrackedFile dismissed = temporary("dismissed", 50);
    dismissed.state = FileState::dismissed;
    records.insert(records.begin() + 2, dismissed);

    EXPECT_EQ(namesOf(sortedTemporaryFiles(records)),
              (std::vector<QByteArray>{"early", "tie-1", "tie-2", "late", "never-a", "never-b"}));
}

TEST_F(PopoverListsTest, IgnoredListShowsOnlyDismissedFilesStillInPlaceDirectlyInDownloads)
{
    // Listed: plain and odd names, as long as the same file is still there.
    const QByteArray oddNames[] = {"report final.pdf", "-rf \"quoted\".txt", "line\nbreak.txt", "bad-\xff\xfe.bin",
                                   QByteArray(255, 'n')};
    std::vector<RecordId> expected;
    for (const QByteArray &name : oddNames) {
        const RecordId id = track(name);
        store->markDismissed(id);
        expected.push_back(id);
    }

    // Not listed: moved into a sub-folder (the record follows the file there).
    const RecordId moved = track("moved.pdf");
    store->markDismissed(moved);
    ASSERT_EQ(::mkdir(download("Sub").constData(), 0755), 0);
    ASSERT_EQ(::rename(download("moved.pdf").constData(), download("Sub/moved.pdf").constData()), 0);
    store->updatePath(identityOf(download("Sub/moved.pdf")), download("Sub/moved.pdf"), "moved.pdf");

    // Not listed: another file now has the name (another inode).
    const RecordId replaced = track("replaced.pdf");
    store->markDismissed(replaced);
    ASSERT_NE(writeFile(download("replacement.tmp"), "other content"), 0u);
    ASSERT_EQ(::rename(download("replacement.tmp").constData(), download("replaced.pdf").constData()), 0);

    // Not listed: gone, hidden, unfinished, or not dismissed.
    const RecordId vanished = track("vanished.pdf");
    store->markDismissed(vanished);
    ASSERT_EQ(::unlink(download("vanished.pdf").constData()), 0);
    for (const QByteArray name : {".DS_Store", ".localized", ".hidden", "report.crdownload", "movie.PART",
                                  "page.download"}) {
        store->markDismissed(track(name));
    }
    track("unprocessed.pdf");
    store->markTemporary(track("temporary.pdf"));

    const PopoverLists lists = fetchPopoverLists(*store, downloads);
    std::vector<RecordId> listed;
    for (const TrackedFile &file : lists.ignoredFiles)
        listed.push_back(file.id);
    EXPECT_EQ(listed, expected);
    EXPECT_EQ(namesOf(lists.temporaryFiles), std::vector<QByteArray>{"temporary.pdf"});
    EXPECT_EQ(lists.recordCount, int(store->allTrackedFiles().size()));
    EXPECT_FALSE(lists.isEmpty());
}

TEST_F(PopoverListsTest, DownloadsFolderMatchesWithATrailingSlashButNotAsAPrefix)
{
    const RecordId id = track("a.pdf");
    store->markDismissed(id);
    EXPECT_EQ(fetchPopoverLists(*store, downloads + '/').ignoredFiles.size(), 1u);
    EXPECT_TRUE(fetchPopoverLists(*store, downloads.left(downloads.size() - 1)).ignoredFiles.empty());
    EXPECT_TRUE(fetchPopoverLists(*store, downloads + "/Sub").ignoredFiles.empty());
}

TEST_F(PopoverListsTest, NothingOrOnlyUnprocessedRecordsMakeAnEmptyPopover)
{
    EXPECT_TRUE(fetchPopoverLists(*store, downloads).isEmpty());
    track("new.pdf");
    const PopoverLists lists = fetchPopoverLists(*store, downloads);
    EXPECT_TRUE(lists.isEmpty());
    EXPECT_EQ(lists.recordCount, 1);
}

TEST_F(PopoverListsTest, KeepAllDismissesTheListedFilesUntagsThemAndLeavesThemInPlace)
{
    const RecordId first = track("first.pdf");
    const RecordId second = track("second.pdf");
    const RecordId notListed = track("later.pdf");
    store->markTemporary(first);
    store->markTemporary(second);
    store->markTemporary(notListed);
    const bool tagsSupported = !readTags(download("first.pdf")).isEmpty();

    int changes = 0;
    store->setChangeObserver([&changes] { ++changes; });
    keepAll(*store, {first, second});

    EXPECT_EQ(store->record(first)->state, FileState::dismissed);
    EXPECT_EQ(store->record(second)->state, FileState::dismissed);
    EXPECT_EQ(store->record(notListed)->state, FileState::temporary);
    EXPECT_GE(changes, 2);
    if (tagsSupported) {
        EXPECT_TRUE(readTags(download("first.pdf")).isEmpty());
        EXPECT_TRUE(readTags(download("second.pdf")).isEmpty());
        EXPECT_FALSE(readTags(download("later.pdf")).isEmpty());
    }
    EXPECT_TRUE(exists(download("first.pdf")));
    EXPECT_TRUE(trash.paths().isEmpty());

    const PopoverLists lists = fetchPopoverLists(*store, downloads);
    EXPECT_EQ(namesOf(lists.temporaryFiles), std::vector<QByteArray>{"later.pdf"});
    EXPECT_EQ(namesOf(lists.ignoredFiles), (std::vector<QByteArray>{"first.pdf", "second.pdf"}));
}

} // namespace

namespace {

TEST_F(PopoverListsTest, ListedFilesCarryTheSiteTheyCameFrom)
{
    const RecordId fromSite = track("tool.tar.gz");
    store->markTemporary(fromSite);
    const RecordId kept = track("paper.pdf");
    store->markDismissed(kept);
    const RecordId plain = track("notes.txt");
    store->markDismissed(plain);
    const QByteArray origin = "https://www.github.com/o/tool/archive/v1.tar.gz";
    if (::setxattr(download("tool.tar.gz").constData(), "user.xdg.origin.url", origin.constData(),
                   std::size_t(origin.size()), 0)
        != 0)
        GTEST_SKIP() << "no user extended attributes under " << downloads.constData();
    const QByteArray referrer = "https://arxiv.org/abs/2401.00001";
    ASSERT_EQ(::setxattr(download("paper.pdf").constData(), "user.xdg.referrer.url", referrer.constData(),
                         std::size_t(referrer.size()), 0),
              0);

    const PopoverLists lists = fetchPopoverLists(*store, downloads);
    ASSERT_EQ(lists.temporaryFiles.size(), 1u);
    ASSERT_EQ(lists.ignoredFiles.size(), 2u);
    EXPECT_EQ(lists.sites, (std::map<RecordId, QString>{{fromSite, QStringLiteral("github.com")},
                                                        {kept, QStringLiteral("arxiv.org")}}));
}

} // namespace
