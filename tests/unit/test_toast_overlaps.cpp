#include "ToastTestSupport.h"

#include <QTemporaryDir>

// Real use overlaps the toast's flows: downloads come in bursts while an input is open, the
// deadline falls in the same instant as a shortcut, and the bus, the command line or the
// popover act on a file whose toast is still up.

using namespace dowsel;
using namespace dowsel::testing;

namespace {

using ToastOverlaps = ToastFixture;

TEST_F(ToastOverlaps, ABurstDuringAnOpenSurfaceNeverRestartsTheCountdownUnderIt)
{
    struct Surface {
        const char *name;
        std::function<void(ToastController &)> open;
        std::function<void(ToastController &)> cancel;
    };
    const Surface surfaces[] = {
        {"time input", [](ToastController &c) { c.openTimeInput(); }, [](ToastController &c) { c.closeTimeInput(); }},
        {"move input", [](ToastController &c) { c.openMoveInput(); }, [](ToastController &c) { c.closeMoveInput(); }},
        {"More menu", [](ToastController &c) { c.openMoreMenu(); }, [](ToastController &c) { c.closeMoreMenu(); }},
        {"share menu", [](ToastController &c) { c.share(); },
         [this](ToastController &) { host.shareChoice(std::nullopt); }},
        {"folder chooser",
         [](ToastController &c) {
             c.openMoveInput();
             c.browseForFolder();
         },
         [this](ToastController &) { host.folderChoice(std::nullopt); }},
    };
    int n = 0;
    for (const Surface &surface : surfaces) {
        SCOPED_TRACE(surface.name);
        const RecordId first = arrive("first" + QByteArray::number(++n) + ".pdf");
        clock.advance(ToastController::showDelay + 2);
        surface.open(*controller);
        ASSERT_TRUE(controller->isAnySurfaceOpen());
        const RecordId second = arrive("second" + QByteArray::number(n) + ".pdf");
        clock.advance(3);
        arrive("third" + QByteArray::number(n) + ".pdf");
        EXPECT_FALSE(controller->isCountdownRunning());
        EXPECT_EQ(host.currentPanel()->lastInput.files.size(), 3u) << "joining files must show on the island";
        EXPECT_DOUBLE_EQ(*host.currentPanel()->lastInput.pausedProgress, 1.0);

        clock.advance(60);
        EXPECT_TRUE(isVisible());
        EXPECT_TRUE(controller->isAnySurfaceOpen());
        EXPECT_EQ(stateOf(first), FileState::unprocessed);
        EXPECT_EQ(stateOf(second), FileState::unprocessed);

        // Cancelling resumes with the full time that the newest file brought.
        surface.cancel(*controller);
        EXPECT_FALSE(controller->isAnySurfaceOpen());
        EXPECT_TRUE(controller->isCountdownRunning());
        EXPECT_DOUBLE_EQ(controller->countdownDeadline(), clock.now() + 7);
        controller->dismissAll();
        clock.advance(1);
    }
}

TEST_F(ToastOverlaps, TheActionTypedIntoAnInputDuringABurstAppliesToEveryFile)
{
    const RecordId first = arrive("a.pdf");
    clock.advance(ToastController::showDelay + 1);
    controller->openTimeInput();
    controller->timeInputModel().setQuery(QStringLiteral("2"));
    const RecordId second = arrive("b.pdf");
    clock.advance(8);
    controller->timeInputModel().setQuery(QStringLiteral("2h"));
    controller->submitTimeInput();
    EXPECT_EQ(stateOf(first), FileState::temporary);
    EXPECT_EQ(stateOf(second), FileState::temporary);
    EXPECT_DOUBLE_EQ(*records->record(second)->expiresAt - *records->record(second)->markedTemporaryAt, 7200);
}

TEST_F(ToastOverlaps, HoverStaysPausedWhenAFileJoins)
{
    arrive("a.pdf");
    clock.advance(ToastController::showDelay + 2);
    controller->hoverChanged(true);
    arrive("b.pdf");
    EXPECT_FALSE(controller->isCountdownRunning()) << "the pointer still rests on the island";
    clock.advance(30);
    EXPECT_TRUE(isVisible());
    controller->hoverChanged(false);
    EXPECT_EQ(controller->secondsRemaining(), 7);
}

TEST_F(ToastOverlaps, ASurfaceOpenedAtTheDeadlineNeverOpensOnAHiddenToast)
{
    const std::function<void(ToastController &)> openers[] = {
        [](ToastController &c) { c.openTimeInput(); }, [](ToastController &c) { c.openMoveInput(); },
        [](ToastController &c) { c.openMoreMenu(); }, [](ToastController &c) { c.share(); }};
    int n = 0;
    for (const auto &open : openers) {
        SCOPED_TRACE(n);
        const RecordId id = arrive("late" + QByteArray::number(++n) + ".pdf");
        clock.advance(ToastController::showDelay);
        // The deadline has passed and its tick has not run yet when the shortcut arrives.
        clock.setWallClock(controller->countdownDeadline() + 0.001);
        open(*controller);
        EXPECT_FALSE(isVisible());
        EXPECT_FALSE(controller->isAnySurfaceOpen());
        EXPECT_TRUE(host.openSurfaces.empty()) << "a surface opened on a hidden toast";
        EXPECT_FALSE(host.shareChoice) << "the share menu opened on a hidden toast";
        EXPECT_EQ(stateOf(id), FileState::dismissed);
        clock.advance(1);
    }
}

TEST_F(ToastOverlaps, AKeepFromTheBusTakesTheFileOutOfTheToastAndSurvivesItsEnd)
{
    const RecordId kept = arrive("kept.zip");
    const RecordId other = arrive("other.pdf");
    clock.advance(ToastController::showDelay + 1);

    // `dowsel keep kept.zip 1d` answered on the store's worker, as the bus does.
    const auto expiry = records->markTemporary(kept, 86400);
    ASSERT_TRUE(expiry);
    controller->recordsChanged();
    ASSERT_EQ(controller->toastEntries().size(), 1u);
    EXPECT_EQ(controller->toastEntries()[0].id, other);
    EXPECT_EQ(host.currentPanel()->lastInput.files.size(), 1u);

    clock.advance(7.1);
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(stateOf(kept), FileState::temporary);
    EXPECT_EQ(records->record(kept)->expiresAt, expiry);
    EXPECT_EQ(stateOf(other), FileState::dismissed);

    // The kept archive still hands its expiry to the folder unpacked from it.
    ASSERT_EQ(::mkdir(download("kept").constData(), 0755), 0);
    const RecordId folder = records->insertNew(identityOf(download("kept")), download("kept"), "kept", 0);
    controller->handleNewFile(folder);
    EXPECT_EQ(stateOf(folder), FileState::temporary);
}

TEST_F(ToastOverlaps, ABurstOfStoreChangesIsReadAtMostTwiceASecond)
{
    const RecordId kept = arrive("a.pdf");
    arrive("b.pdf");
    clock.advance(ToastController::showDelay + 1);
    controller->recordsChanged(); // a pass that finds nothing changed
    ASSERT_EQ(controller->toastEntries().size(), 2u);

    records->markTemporary(kept, 3600);
    for (int i = 0; i < 1000; ++i) // the processor's inserts during a burst
        controller->recordsChanged();
    EXPECT_EQ(controller->toastEntries().size(), 2u) << "the next pass waits its turn";
    clock.advance(ToastController::recheckInterval);
    ASSERT_EQ(controller->toastEntries().size(), 1u);
    EXPECT_NE(controller->toastEntries()[0].id, kept);
}

TEST_F(ToastOverlaps, TheToastsEndLeavesARecordChangedElsewhereEvenBeforeItNotices)
{
    const RecordId id = arrive("a.pdf");
    clock.advance(ToastController::showDelay + 1);
    records->markTemporary(id, 3600); // no change notice has reached the toast yet
    clock.advance(7);
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(stateOf(id), FileState::temporary);
}

TEST_F(ToastOverlaps, WhenEveryFileWasHandledElsewhereTheToastGoesWithoutAnsweringAnything)
{
    const RecordId id = arrive("a.pdf");
    clock.advance(ToastController::showDelay + 1);
    controller->openTimeInput();
    records->markDismissed(id);
    controller->recordsChanged();
    EXPECT_FALSE(isVisible());
    EXPECT_FALSE(controller->isAnySurfaceOpen());
    EXPECT_TRUE(host.openSurfaces.empty());
    EXPECT_EQ(focus.active, 42u) << "the keyboard goes back to the window that had it";
}

TEST_F(ToastOverlaps, TheFolderChooserHoldsTheToastAndSaysWhyNothingMoved)
{
    QTemporaryDir elsewhere;
    const RecordId id = arrive("a.pdf");
    clock.advance(ToastController::showDelay + 1);
    controller->openMoveInput();
    controller->browseForFolder();
    ASSERT_TRUE(controller->isFolderChooserVisible());
    EXPECT_TRUE(controller->isAnySurfaceOpen()) << "the shortcuts must stand aside for the dialog";
    controller->openMoveInput();
    EXPECT_FALSE(controller->isMoveInputVisible()) << "nothing else opens over the dialog";

    // The file was trashed from the popover while the dialog was open.
    records->deleteNow(id);
    controller->recordsChanged();
    EXPECT_FALSE(isVisible());
    host.folderChoice(QFile::encodeName(elsewhere.path()));
    ASSERT_EQ(host.notices.size(), 1u);
    EXPECT_TRUE(host.notices[0].startsWith(QStringLiteral("Nothing was moved")));

    // A folder that cannot take the files: nothing moves, the toast stays, the user is told.
    const RecordId next = arrive("b.pdf");
    clock.advance(1);
    controller->openMoveInput();
    controller->browseForFolder();
    host.folderChoice(QByteArray("/proc/sys"));
    EXPECT_TRUE(isVisible());
    EXPECT_TRUE(controller->isCountdownRunning());
    EXPECT_EQ(stateOf(next), FileState::unprocessed);
    EXPECT_TRUE(exists(download("b.pdf")));
    ASSERT_EQ(host.notices.size(), 2u);
    EXPECT_TRUE(host.notices[1].contains(QStringLiteral("/proc/sys")));
}

} // namespace
