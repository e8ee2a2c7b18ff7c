#include "PopoverTestSupport.h"

#include "ui/PopoverItemDelegate.h"
#include "ui/PopoverListModel.h"

#include <QLabel>
#include <QListView>
#include <QMenu>

#include <sqlite3.h>
#include <sys/xattr.h>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

using RowKind = PopoverListModel::RowKind;

class PopoverTest : public PopoverFixture {
protected:
    QListView *list() { return popover->findChild<QListView *>(QStringLiteral("fileList")); }
    QWidget *emptyState() { return popover->findChild<QWidget *>(QStringLiteral("emptyState")); }
    QRect rowRect(int row) { return list()->visualRect(popover->model().index(row)); }

    QStringList rowNames()
    {
        QStringList names;
        PopoverListModel &model = popover->model();
        for (int row = 0; row < model.rowCount(); ++row) {
            if (model.fileAt(row))
                names.append(model.index(row).data().toString());
        }
        return names;
    }

    // Waits for the next read of the store to reach the lists.
    bool nextUpdate(const std::function<void()> &change)
    {
        int updates = 0;
        const auto connection = QObject::connect(popover.get(), &PopoverWindow::listsUpdated, [&] { ++updates; });
        change();
        const bool updated = settle([&] { return updates > 0; });
        QObject::disconnect(connection);
        settle(); // and whatever read was queued behind it
        return updated;
    }
};

TEST_F(PopoverTest, ShowsTheEmptyStateThenARowOnceTheStoreHasATemporaryFile)
{
    addFile("still-downloading.pdf", FileState::unprocessed);
    openPopover();
    EXPECT_TRUE(emptyState()->isVisible());
    EXPECT_FALSE(list()->isVisible());
    EXPECT_EQ(popover->findChild<QLabel *>(QStringLiteral("emptyMessage"))->text(),
              QStringLiteral("Downloads folder is clean"));
    EXPECT_EQ(popover->size(), PopoverWindow::fixedSize);

    RecordId id = 0;
    ASSERT_TRUE(nextUpdate([&] { id = addFile("report final.pdf", FileState::temporary); }));
    EXPECT_FALSE(emptyState()->isVisible());
    EXPECT_TRUE(list()->isVisible());
    PopoverListModel &model = popover->model();
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.kindAt(0), RowKind::temporaryHeader);
    EXPECT_EQ(model.index(0).data().toString(), QStringLiteral("Temporary — auto-delete"));
    EXPECT_EQ(model.index(1).data().toString(), QStringLiteral("report final.pdf"));
    EXPECT_EQ(model.index(1).data(PopoverListModel::RecordIdRole).toLongLong(), id);
    EXPECT_EQ(model.index(1).data(PopoverListModel::CountdownTextRole).toString(), QStringLiteral("1h"));
    EXPECT_EQ(model.index(1).data(PopoverListModel::SizeLabelRole).toString(), QStringLiteral("7 bytes"));
}

TEST_F(PopoverTest, ARowsSecondLineNamesTheSiteTheFileCameFrom)
{
    const RecordId id = addFile("tool.tar.gz", FileState::temporary);
    const QByteArray origin = "https://www.github.com/o/tool/archive/v1.tar.gz?token=secret";
    if (::setxattr((downloads + "/tool.tar.gz").constData(), "user.xdg.origin.url", origin.constData(),
                   std::size_t(origin.size()), 0)
        != 0)
        GTEST_SKIP() << "no user extended attributes under " << downloads.constData();
    addFile("plain.txt", FileState::temporary);
    openPopover();
    ASSERT_TRUE(settle([&] { return popover->model().rowCount() == 3; }));
    PopoverListModel &model = popover->model();
    for (int row = 1; row < 3; ++row) {
        const bool isTool = model.index(row).data(PopoverListModel::RecordIdRole).toLongLong() == id;
        EXPECT_EQ(model.index(row).data(PopoverListModel::SiteRole).toString(),
                  isTool ? QStringLiteral("github.com") : QString());
    }
}

TEST_F(PopoverTest, ABurstOfChangesIsReadOnceAndEndsWithTheLatestState)
{
    openPopover();
    int updates = 0;
    QObject::connect(popover.get(), &PopoverWindow::listsUpdated, [&updates] { ++updates; });
    for (int i = 0; i < 20; ++i)
        addFile("burst-" + QByteArray::number(i) + ".zip", FileState::temporary);
    settle();
    EXPECT_EQ(updates, 1);
    EXPECT_EQ(rowNames().size(), 20);
}

TEST_F(PopoverTest, KeepAllInTheHeaderKeepsEveryTemporaryFileAndMovesThemToTheIgnoredSection)
{
    const RecordId a = addFile("a.pdf", FileState::temporary);
    clock.advance(60);
    const RecordId b = addFile("b.pdf", FileState::temporary);
    openPopover();
    EXPECT_EQ(rowNames(), (QStringList{"a.pdf", "b.pdf"}));

    ASSERT_TRUE(nextUpdate(
        [&] { click(list()->viewport(), PopoverItemDelegate::keepAllRect(rowRect(0), list()->font()).center()); }));
    EXPECT_EQ(record(a)->state, FileState::dismissed);
    EXPECT_EQ(record(b)->state, FileState::dismissed);
    PopoverListModel &model = popover->model();
    ASSERT_EQ(model.rowCount(), 1); // the folded ignored section
    EXPECT_EQ(model.kindAt(0), RowKind::ignoredHeader);
    EXPECT_EQ(model.index(0).data(PopoverListModel::IgnoredCountRole).toInt(), 2);
    EXPECT_TRUE(trash.paths().isEmpty());
}

TEST_F(PopoverTest, TheIgnoredSectionUnfoldsAndMarksAFileTemporaryWithTheDefaultExpiry)
{
    const RecordId id = addFile("left alone.txt", FileState::dismissed);
    addFile("other.txt", FileState::dismissed);
    prefs.setValue(prefkeys::expiryValue, 30);
    prefs.setValue(prefkeys::expiryUnit, QStringLiteral("minutes"));
    openPopover();
    PopoverListModel &model = popover->model();
    ASSERT_EQ(model.rowCount(), 1);
    EXPECT_FALSE(model.index(0).data(PopoverListModel::ExpandedRole).toBool());

    click(list()->viewport(), rowRect(0).center());
    ASSERT_EQ(model.rowCount(), 3);
    EXPECT_TRUE(model.isIgnoredExpanded());
    EXPECT_EQ(rowNames(), (QStringList{"left alone.txt", "other.txt"}));

    ASSERT_TRUE(nextUpdate([&] {
        click(list()->viewport(), PopoverItemDelegate::markButtonRect(rowRect(1), list()->font()).center());
    }));
    const auto marked = record(id);
    EXPECT_EQ(marked->state, FileState::temporary);
    EXPECT_EQ(marked->expiresAt, clock.now() + 30 * 60);
    {
        std::lock_guard lock(mutex);
        ASSERT_EQ(scheduled.size(), 1u);
        EXPECT_EQ(scheduled[0].first, id);
        EXPECT_EQ(scheduled[0].second, *marked->expiresAt);
    }
    EXPECT_EQ(model.kindAt(0), RowKind::temporaryHeader);
    EXPECT_EQ(model.index(1).data().toString(), QStringLiteral("left alone.txt"));
    EXPECT_EQ(model.index(2).data(PopoverListModel::IgnoredCountRole).toInt(), 1);

    // Opening the popover again starts with the section folded.
    popover->hide();
    openPopover();
    EXPECT_FALSE(model.isIgnoredExpanded());
}

TEST_F(PopoverTest, RowClicksRevealAndTheRowMenuKeepsOrDeletes)
{
    const RecordId kept = addFile("kept.pdf", FileState::temporary);
    clock.advance(1);
    const RecordId deleted = addFile("-deleted \"x\".pdf", FileState::temporary);
    openPopover();

    click(list()->viewport(), rowRect(1).topLeft() + QPoint(60, 10));
    EXPECT_EQ(revealed, QByteArrayList{downloads + "/kept.pdf"});

    const auto menuFor = [&](int row) {
        click(list()->viewport(), PopoverItemDelegate::menuButtonRect(rowRect(row)).center());
        QMenu *menu = popover->findChild<QMenu *>(QStringLiteral("rowMenu"));
        EXPECT_TRUE(menu);
        return menu;
    };
    QMenu *menu = menuFor(2);
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 2);
    EXPECT_EQ(menu->actions()[1]->text(), QStringLiteral("Delete"));
    ASSERT_TRUE(nextUpdate([&] { menu->actions()[1]->trigger(); }));
    menu->close();
    settle();
    EXPECT_FALSE(record(deleted));
    EXPECT_EQ(trash.paths(), QByteArrayList{downloads + "/-deleted \"x\".pdf"});

    menu = menuFor(1);
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->actions()[0]->text(), QStringLiteral("Keep"));
    ASSERT_TRUE(nextUpdate([&] { menu->actions()[0]->trigger(); }));
    EXPECT_EQ(record(kept)->state, FileState::dismissed);
    EXPECT_EQ(revealed.size(), 1); // the menu clicks revealed nothing
}

TEST_F(PopoverTest, AFileThatVanishesLeavesTheIgnoredListAtTheNextOpening)
{
    addFile("gone.txt", FileState::dismissed);
    openPopover();
    EXPECT_EQ(popover->model().ignoredCount(), 1);
    popover->hide();
    ASSERT_EQ(::unlink((downloads + "/gone.txt").constData()), 0);
    openPopover();
    EXPECT_TRUE(popover->model().isEmpty());
    EXPECT_TRUE(emptyState()->isVisible());
}

} // namespace

TEST_F(PopoverTest, CountdownPillsAreTheToneAtThirtyPercentOverTheWindow)
{
    const auto keepFor = [&](const QByteArray &name, Seconds seconds) {
        const RecordId id = addFile(name, FileState::unprocessed);
        actor->call([=](TrackedFileStore &s) { s.markTemporary(id, seconds); }).get();
    };
    keepFor("urgent.zip", 30 * 60);
    keepFor("soon.pdf", 2 * 3600 + 5 * 60);
    keepFor("calm.iso", 26 * 3600);
    openPopover();

    const QImage pixels = list()->viewport()->grab().toImage();
    const QColor window = list()->viewport()->palette().color(QPalette::Window);
    const QColor text = list()->viewport()->palette().color(QPalette::WindowText);
    // Just inside a pill's trailing edge, clear of its symbol and text.
    const auto pillColour = [&](int row) {
        const QString countdown = popover->model().index(row).data(PopoverListModel::CountdownTextRole).toString();
        const QRect pill = PopoverItemDelegate::countdownRect(rowRect(row), list()->font(), countdown);
        return pixels.pixelColor(pill.right() - 3, pill.center().y());
    };
    ASSERT_EQ(rowNames(), (QStringList{"urgent.zip", "soon.pdf", "calm.iso"}));
    const QColor urgent = pillColour(1);
    const QColor soon = pillColour(2);
    const QColor calm = pillColour(3);
    EXPECT_GT(urgent.red() - urgent.green(), 40);
    EXPECT_GT(soon.green() - soon.blue(), 25);
    EXPECT_GT(soon.red(), soon.green());
    // The calm tone is the translucent secondary text colour: its pill is a light grey, well
    // short of 30 % of the way from the window to the text.
    const double towardText = double(window.value() - calm.value()) / (window.value() - text.value());
    EXPECT_GT(towardText, 0.05);
    EXPECT_LT(towardText, 0.25);
    EXPECT_LT(std::abs(calm.red() - calm.blue()), 6);
}

namespace {

TEST_F(PopoverTest, ChangesThatWereNotMadeSaySoUnderTheList)
{
    const RecordId kept = addFile("kept.pdf", FileState::temporary);
    clock.advance(1);
    addFile("refused.pdf", FileState::temporary);
    openPopover();
    auto *failureLine = popover->findChild<QLabel *>(QStringLiteral("failureLine"));
    ASSERT_TRUE(failureLine);
    EXPECT_TRUE(failureLine->isHidden());
    const auto menuFor = [&](int row) {
        click(list()->viewport(), PopoverItemDelegate::menuButtonRect(rowRect(row)).center());
        return popover->findChild<QMenu *>(QStringLiteral("rowMenu"));
    };

    // Another program holds the database: Keep is not saved, and the popover says so.
    sqlite3 *other = nullptr;
    ASSERT_EQ(sqlite3_open((dir.path() + QStringLiteral("/data/Sivra.sqlite")).toUtf8().constData(), &other), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
    QMenu *menu = menuFor(1);
    ASSERT_TRUE(menu);
    menu->actions()[0]->trigger();
    menu->close();
    ASSERT_TRUE(settle([&] { return !failureLine->isHidden(); }));
    EXPECT_TRUE(failureLine->text().startsWith(QStringLiteral("It was not kept."))) << failureLine->text().toStdString();
    sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(other);
    EXPECT_EQ(record(kept)->state, FileState::temporary);

    // The Trash refuses: the file stays, still tracked, and the reason is shown.
    trash.failWith(QStringLiteral("Read-only file system"));
    menu = menuFor(2);
    ASSERT_TRUE(menu);
    menu->actions()[1]->trigger();
    menu->close();
    ASSERT_TRUE(settle([&] { return failureLine->text().contains(QStringLiteral("Read-only")); }));
    EXPECT_EQ(failureLine->text(),
              QStringLiteral("refused.pdf was not moved to the Trash: Read-only file system"));

    // The next change that is made clears the line.
    menu = menuFor(1);
    ASSERT_TRUE(menu);
    menu->actions()[0]->trigger();
    menu->close();
    ASSERT_TRUE(settle([&] { return failureLine->isHidden(); }));
    EXPECT_EQ(record(kept)->state, FileState::dismissed);
}

} // namespace
