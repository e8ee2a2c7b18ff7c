#include "PopoverTestSupport.h"

#include "platform/linux/FreedesktopTrash.h"
#include "ui/BacklogPage.h"
#include "ui/PopoverItemDelegate.h"
#include "ui/PopoverListModel.h"
#include "ui/model/PopoverLists.h"

#include <QLabel>
#include <QListView>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>

#include <sys/stat.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

using RowKind = PopoverListModel::RowKind;
constexpr Seconds day = 86400;

// The popover on a store that trashes into a real Trash under the test's folder.
class PopoverTrashTest : public PopoverFixture {
protected:
    PopoverTrashTest() { storeTrash = &realTrash; }

    QListView *list() { return popover->findChild<QListView *>(QStringLiteral("fileList")); }
    QLabel *messageLine() { return popover->findChild<QLabel *>(QStringLiteral("failureLine")); }
    QRect rowRect(int row) { return list()->visualRect(popover->model().index(row)); }
    int rowOf(RowKind kind)
    {
        for (int row = 0; row < popover->model().rowCount(); ++row) {
            if (popover->model().kindAt(row) == kind)
                return row;
        }
        return -1;
    }
    bool nextUpdate(const std::function<void()> &change)
    {
        int updates = 0;
        const auto connection = QObject::connect(popover.get(), &PopoverWindow::listsUpdated, [&] { ++updates; });
        change();
        const bool updated = settle([&] { return updates > 0; });
        QObject::disconnect(connection);
        settle();
        return updated;
    }
    // The file goes to the Trash as the row menu's Delete sends it.
    TrashEntry trashNow(RecordId id)
    {
        EXPECT_EQ(actor->call([id](TrackedFileStore &s) { return s.deleteNow(id); }).get(), std::nullopt);
        const auto trashed = actor->call([](TrackedFileStore &s) { return s.trashedFiles(); }).get();
        return trashed.empty() ? TrashEntry{} : trashed.front().entry;
    }
    void clickPutBack(int row)
    {
        click(list()->viewport(), PopoverItemDelegate::putBackButtonRect(rowRect(row), list()->font()).center());
    }

    FreedesktopTrash realTrash{QFile::encodeName(dir.path()) + "/data"};
};

TEST_F(PopoverTrashTest, PutBackReturnsTheFileAndTheSectionFollowsTheTrash)
{
    const RecordId id = addFile("report.pdf", FileState::temporary);
    const TrashEntry entry = trashNow(id);
    ASSERT_TRUE(entry.isValid());
    const RecordId other = addFile("slides.odp", FileState::temporary);
    const TrashEntry otherEntry = trashNow(other);
    openPopover();

    PopoverListModel &model = popover->model();
    ASSERT_EQ(model.rowCount(), 3);
    EXPECT_EQ(model.kindAt(0), RowKind::trashedHeader);
    EXPECT_EQ(model.index(0).data().toString(), QStringLiteral("Recently moved to the Trash"));
    // Newest first.
    EXPECT_EQ(model.index(1).data().toString(), QStringLiteral("slides.odp"));
    EXPECT_EQ(model.index(2).data().toString(), QStringLiteral("report.pdf"));

    ASSERT_TRUE(nextUpdate([&] { clickPutBack(2); }));
    EXPECT_TRUE(exists(downloads + "/report.pdf"));
    EXPECT_FALSE(exists(entry.itemPath()));
    EXPECT_FALSE(exists(entry.infoPath()));
    EXPECT_FALSE(messageLine()->isVisible());
    // Back among the files left alone, and only slides.odp is left to put back.
    ASSERT_EQ(rowOf(RowKind::trashedFile), 1);
    EXPECT_EQ(model.index(1).data().toString(), QStringLiteral("slides.odp"));
    EXPECT_EQ(model.index(rowOf(RowKind::ignoredHeader)).data(PopoverListModel::IgnoredCountRole).toInt(), 1);

    // Emptied from a file manager while the popover was closed: gone at the next opening.
    popover->hide();
    ASSERT_EQ(::unlink(otherEntry.itemPath().constData()), 0);
    ASSERT_EQ(::unlink(otherEntry.infoPath().constData()), 0);
    openPopover();
    EXPECT_EQ(rowOf(RowKind::trashedHeader), -1);
    EXPECT_EQ(rowOf(RowKind::trashedFile), -1);
}

TEST_F(PopoverTrashTest, PuttingBackOverATakenNameSaysWhichNameItGot)
{
    const RecordId id = addFile("notes.txt", FileState::temporary);
    trashNow(id);
    ASSERT_NE(writeFile(downloads + "/notes.txt", "a newer file"), 0u);
    openPopover();
    const int row = rowOf(RowKind::trashedFile);
    ASSERT_GE(row, 0);
    ASSERT_TRUE(nextUpdate([&] { clickPutBack(row); }));
    EXPECT_TRUE(exists(downloads + "/notes (restored).txt"));
    EXPECT_TRUE(messageLine()->isVisible());
    EXPECT_TRUE(messageLine()->text().contains(QStringLiteral("notes (restored).txt"))) << messageLine()->text().toStdString();
}

TEST_F(PopoverTrashTest, ATemporaryFileWhoseExpiryWaitsSaysItIsInUse)
{
    const RecordId waiting = addFile("movie.mp4", FileState::temporary);
    addFile("song.ogg", FileState::temporary);
    {
        std::lock_guard lock(mutex);
        inUse = {waiting};
    }
    openPopover();
    PopoverListModel &model = popover->model();
    ASSERT_EQ(model.rowCount(), 3);
    for (int row = 1; row < 3; ++row) {
        const bool isMovie = model.index(row).data().toString() == QStringLiteral("movie.mp4");
        EXPECT_EQ(model.index(row).data(PopoverListModel::InUseRole).toBool(), isMovie);
        EXPECT_EQ(model.index(row).data(PopoverListModel::CountdownTextRole).toString() == QStringLiteral("in use"),
                  isMovie);
    }
}

TEST_F(PopoverTrashTest, TheBacklogMakesOnlyTheOldFilesTemporaryAndCanBeReviewed)
{
    const RecordId old = addFile("old.iso", FileState::dismissed);
    const RecordId older = addFile("older.zip", FileState::dismissed);
    clock.advance(45 * day); // they were born 45 days ago
    const RecordId fresh = addFile("fresh.pdf", FileState::dismissed);
    const struct timespec now[2] = {{std::time_t(clock.now()), 0}, {std::time_t(clock.now()), 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (downloads + "/fresh.pdf").constData(), now, 0), 0);
    openPopover();

    PopoverListModel &model = popover->model();
    const int backlogRow = rowOf(RowKind::backlog);
    ASSERT_EQ(backlogRow, rowOf(RowKind::ignoredHeader) + 1);
    EXPECT_TRUE(model.index(backlogRow).data(PopoverListModel::BacklogTextRole).toString().startsWith(
        QStringLiteral("2 file(s) older than 30 days")));

    // The review lists the two, all checked; unchecking one leaves it out.
    click(list()->viewport(),
          PopoverItemDelegate::backlogReviewRect(rowRect(backlogRow), list()->font()).center());
    EXPECT_EQ(popover->currentPage(), PopoverWindow::Page::backlog);
    QListWidget &review = popover->backlogPage().list();
    ASSERT_EQ(review.count(), 2);
    review.item(0)->setCheckState(Qt::Unchecked);
    auto *total = popover->findChild<QLabel *>(QStringLiteral("backlogTotal"));
    EXPECT_TRUE(total->text().startsWith(QStringLiteral("1 file(s) selected"))) << total->text().toStdString();
    ASSERT_TRUE(nextUpdate([&] {
        popover->findChild<QPushButton *>(QStringLiteral("backlogMakeTemporary"))->click();
    }));
    EXPECT_EQ(popover->currentPage(), PopoverWindow::Page::files);
    const int temporaryCount = int(record(old)->state == FileState::temporary)
        + int(record(older)->state == FileState::temporary);
    EXPECT_EQ(temporaryCount, 1);
    EXPECT_EQ(record(fresh)->state, FileState::dismissed);

    // The one action on the row takes the rest.
    const int row = rowOf(RowKind::backlog);
    ASSERT_GE(row, 0);
    ASSERT_TRUE(nextUpdate([&] {
        click(list()->viewport(), PopoverItemDelegate::backlogMakeTemporaryRect(rowRect(row), list()->font()).center());
    }));
    EXPECT_EQ(record(old)->state, FileState::temporary);
    EXPECT_EQ(record(older)->state, FileState::temporary);
    EXPECT_EQ(record(old)->expiresAt, clock.now() + 3600);
    EXPECT_EQ(record(fresh)->state, FileState::dismissed);
    EXPECT_EQ(rowOf(RowKind::backlog), -1);
    std::lock_guard lock(mutex);
    EXPECT_EQ(scheduled.size(), 2u);
}

TEST_F(PopoverTrashTest, TheAgeIsChosenFromTheRowAndKept)
{
    addFile("old.iso", FileState::dismissed);
    clock.advance(45 * day);
    openPopover();
    const int row = rowOf(RowKind::backlog);
    ASSERT_GE(row, 0);
    click(list()->viewport(), PopoverItemDelegate::backlogTextRect(rowRect(row), list()->font()).center());
    auto *menu = popover->findChild<QMenu *>(QStringLiteral("backlogAgeMenu"));
    ASSERT_TRUE(menu);
    QAction *ninety = nullptr;
    for (QAction *action : menu->actions()) {
        if (action->text() == QStringLiteral("Older than 90 days"))
            ninety = action;
    }
    ASSERT_TRUE(ninety);
    ASSERT_TRUE(nextUpdate([&] { ninety->trigger(); }));
    menu->close();
    EXPECT_EQ(prefs.integer(backlogAgeKey), 90);
    EXPECT_EQ(rowOf(RowKind::backlog), -1);
}

} // namespace
