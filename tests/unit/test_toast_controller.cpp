#include "ToastTestSupport.h"

#include "core/ExpirySettings.h"

using namespace dowsel;
using namespace dowsel::testing;

namespace {

using ToastCountdown = ToastFixture;

TEST_F(ToastCountdown, FilesArrivingWhileUpJoinTheToastAndRestartItsCountdown)
{
    const RecordId first = arrive("a.pdf");
    EXPECT_FALSE(isVisible()); // the island opens one frame later
    clock.advance(ToastController::showDelay);
    ASSERT_TRUE(isVisible());
    ASSERT_EQ(host.panels.size(), 1u);
    EXPECT_TRUE(host.currentPanel()->onScreen);
    EXPECT_TRUE(host.currentPanel()->fadedIn); // Linux screens have no notch

    clock.advance(3);
    EXPECT_EQ(controller->secondsRemaining(), 4);
    const RecordId second = arrive("b.pdf");
    EXPECT_EQ(host.panels.size(), 1u);
    ASSERT_EQ(controller->toastEntries().size(), 2u);
    EXPECT_EQ(controller->secondsRemaining(), 7);
    EXPECT_DOUBLE_EQ(controller->countdownDeadline(), clock.now() + 7);
    EXPECT_EQ(host.currentPanel()->lastInput.files.size(), 2u);

    clock.advance(6.5);
    EXPECT_TRUE(isVisible());
    EXPECT_EQ(stateOf(first), FileState::unprocessed);
    clock.advance(0.6);
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(stateOf(first), FileState::dismissed);
    EXPECT_EQ(stateOf(second), FileState::dismissed);

    // The collapsed panel fades, then goes, and only then is the list emptied.
    clock.advance(ToastController::hideDelay);
    EXPECT_TRUE(host.currentPanel()->fadingOut);
    EXPECT_EQ(controller->toastEntries().size(), 2u);
    clock.advance(ToastController::closeDelay);
    EXPECT_FALSE(host.currentPanel()->onScreen);
    EXPECT_TRUE(controller->toastEntries().empty());
}

TEST_F(ToastCountdown, EscapeDismissesEveryFileAndLeavesThemInPlace)
{
    const RecordId first = arrive("a.pdf");
    clock.advance(3);
    const RecordId second = arrive("b.pdf");
    controller->dismissAll();
    EXPECT_FALSE(isVisible());
    EXPECT_FALSE(controller->isCountdownRunning());
    EXPECT_EQ(stateOf(first), FileState::dismissed);
    EXPECT_EQ(stateOf(second), FileState::dismissed);
    EXPECT_TRUE(exists(download("a.pdf")));
    EXPECT_TRUE(trash.paths().isEmpty());
}

TEST_F(ToastCountdown, HoverPausesAndLeavingResumesWithTheTimeThatWasLeft)
{
    const RecordId id = arrive("a.pdf");
    clock.advance(3);
    controller->hoverChanged(true);
    EXPECT_EQ(controller->pausedRemaining(), 4.0);
    EXPECT_FALSE(controller->isCountdownRunning());
    EXPECT_DOUBLE_EQ(*host.currentPanel()->lastInput.pausedProgress, 4.0 / 7.0);

    clock.advance(10);
    EXPECT_TRUE(isVisible());
    controller->hoverChanged(true); // already paused: no change
    EXPECT_EQ(controller->pausedRemaining(), 4.0);

    controller->hoverChanged(false);
    EXPECT_FALSE(controller->pausedRemaining());
    EXPECT_EQ(controller->secondsRemaining(), 4);
    EXPECT_DOUBLE_EQ(controller->countdownDeadline(), clock.now() + 4);
    EXPECT_FALSE(host.currentPanel()->lastInput.pausedProgress); // running again
    clock.advance(3.5);
    EXPECT_TRUE(isVisible());
    clock.advance(0.6);
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(stateOf(id), FileState::dismissed);
}

TEST_F(ToastCountdown, EnteringAfterTheDeadlineDismissesInsteadOfPausing)
{
    const RecordId id = arrive("a.pdf");
    clock.advance(2);
    // The wall clock jumps ahead (a time correction); the ticker has not caught up yet.
    clock.setWallClock(clock.now() + 30);
    EXPECT_EQ(controller->pausedProgress(), 0.0);
    controller->hoverChanged(true);
    EXPECT_FALSE(controller->pausedRemaining());
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(stateOf(id), FileState::dismissed);
}

TEST_F(ToastCountdown, AFileArrivingWhileTheToastCollapsesGetsANewToastRightAfter)
{
    const RecordId first = arrive("a.pdf");
    clock.advance(1);
    controller->dismissAll();
    clock.advance(0.3);
    const RecordId late = arrive("late.pdf");
    clock.advance(ToastController::showDelay);
    EXPECT_FALSE(isVisible()) << "the collapsing toast must not open again";
    EXPECT_EQ(host.panels.size(), 1u);
    ASSERT_EQ(controller->toastEntries().size(), 1u) << "the late file must not join the answered toast";
    EXPECT_EQ(controller->waitingEntries().size(), 1u);

    clock.advance(0.35); // past the close step, 0.62 s after the hide
    EXPECT_FALSE(host.panels[0]->onScreen);
    ASSERT_EQ(host.panels.size(), 2u);
    EXPECT_TRUE(host.currentPanel()->onScreen);
    clock.advance(ToastController::showDelay);
    EXPECT_TRUE(isVisible());
    ASSERT_EQ(controller->toastEntries().size(), 1u);
    EXPECT_EQ(controller->toastEntries()[0].id, late);
    EXPECT_EQ(controller->secondsRemaining(), 7);
    EXPECT_TRUE(controller->waitingEntries().empty());

    clock.advance(7.1);
    EXPECT_EQ(stateOf(first), FileState::dismissed);
    EXPECT_EQ(stateOf(late), FileState::dismissed);
    EXPECT_FALSE(isVisible());
}

TEST_F(ToastCountdown, AFileASecondAfterAHideOpensANewToastOfItsOwn)
{
    arrive("a.pdf");
    clock.advance(1);
    controller->dismissAll();
    clock.advance(1);
    const RecordId next = arrive("next.pdf");
    EXPECT_EQ(host.panels.size(), 2u);
    EXPECT_FALSE(host.panels[0]->onScreen);
    clock.advance(ToastController::showDelay);
    EXPECT_TRUE(isVisible());
    ASSERT_EQ(controller->toastEntries().size(), 1u);
    EXPECT_EQ(controller->toastEntries()[0].id, next);
    EXPECT_EQ(host.currentPanel()->lastInput.files[0].index, 1);

    // The first toast's delayed close steps are over and touch nothing of the new panel.
    clock.advance(1);
    EXPECT_TRUE(host.currentPanel()->onScreen);
    EXPECT_FALSE(host.currentPanel()->fadingOut);
}

TEST_F(ToastCountdown, RecordsWithoutAToast)
{
    controller->setOnboardingActive(true);
    const RecordId duringOnboarding = arrive("a.pdf");
    EXPECT_EQ(stateOf(duringOnboarding), FileState::dismissed);
    EXPECT_TRUE(host.panels.empty());

    controller->setOnboardingActive(false);
    controller->handleNewFile(9999); // no such record
    EXPECT_TRUE(host.panels.empty());
    EXPECT_TRUE(controller->toastEntries().empty());
}

class ArchiveExpiry : public ToastFixture {
protected:
    // A temporary archive and the folder unpacked next to it.
    std::pair<RecordId, RecordId> unpack()
    {
        const RecordId archive = track("photos.zip");
        const std::optional<Date> expiry = records->markTemporary(archive, 600);
        EXPECT_TRUE(expiry);
        const QByteArray folder = download("photos");
        EXPECT_EQ(::mkdir(folder.constData(), 0755), 0);
        const RecordId unpacked = records->insertNew(identityOf(folder), folder, "photos", 0);
        cleanup->schedule(archive, *expiry);
        controller->handleNewFile(unpacked);
        return {archive, unpacked};
    }
};

TEST_F(ArchiveExpiry, AnUnpackedFolderTakesTheArchiveExpirySilently)
{
    const auto [archive, unpacked] = unpack();
    EXPECT_TRUE(host.panels.empty());
    EXPECT_EQ(stateOf(unpacked), FileState::temporary);
    EXPECT_EQ(records->record(unpacked)->expiresAt, records->record(archive)->expiresAt);
    clock.advance(601);
    EXPECT_TRUE(trash.paths().contains(download("photos")));
}

TEST_F(ArchiveExpiry, WithTheSettingOffTheFolderGetsAToast)
{
    prefs.setValue(prefkeys::autoZipApply, false);
    const auto [archive, unpacked] = unpack();
    EXPECT_EQ(stateOf(unpacked), FileState::unprocessed);
    ASSERT_EQ(controller->toastEntries().size(), 1u);
    EXPECT_EQ(host.currentPanel()->lastInput.files[0].fileSize, "Folder");
}

TEST_F(ToastCountdown, AHideWithinTheShowDelayStaysHidden)
{
    const RecordId id = arrive("a.pdf");
    controller->dismissAll();
    clock.advance(1);
    EXPECT_FALSE(isVisible());
    EXPECT_FALSE(host.currentPanel()->onScreen);
    EXPECT_TRUE(controller->toastEntries().empty());
    EXPECT_EQ(stateOf(id), FileState::dismissed);
}

TEST_F(ToastCountdown, TopInsetIsCappedAndFallsBackWithoutAScreen)
{
    arrive("a.pdf");
    EXPECT_EQ(controller->viewInput().topInset, 14); // a 24-point panel strip
    EXPECT_FALSE(controller->viewInput().hasNotch);
    controller->dismissAll();
    clock.advance(1);
    host.screen.reset();
    arrive("b.pdf");
    EXPECT_EQ(controller->viewInput().topInset, 16);
}

TEST_F(ToastCountdown, PracticeToastWaitsLongerAndOtherDownloadsAreSetAside)
{
    int concluded = 0;
    controller->startActionDemoToast(download("Dowsel README.md"), true, [&] { ++concluded; });
    const RecordId other = arrive("other.pdf");
    EXPECT_EQ(stateOf(other), FileState::dismissed);
    EXPECT_TRUE(host.panels.empty());

    const RecordId practice = arrive("Dowsel README.md");
    EXPECT_EQ(controller->actionDemoFileId(), practice);
    EXPECT_EQ(controller->activeCountdownSeconds(), 15);
    EXPECT_EQ(host.hint, HintPhase::running);

    clock.advance(15);
    EXPECT_TRUE(isVisible()); // the practice toast stays after its countdown
    EXPECT_EQ(controller->demoPhase(), HintPhase::countdownEnded);
    EXPECT_EQ(host.hint, HintPhase::countdownEnded);
    EXPECT_EQ(stateOf(practice), FileState::unprocessed);

    controller->markTemporary();
    EXPECT_FALSE(controller->isActionDemoActive());
    EXPECT_TRUE(controller->demoMarkedTemporary());
    EXPECT_EQ(host.hint, HintPhase::concluded);
    EXPECT_EQ(concluded, 1);
    EXPECT_EQ(stateOf(practice), FileState::temporary);
}

TEST_F(ToastCountdown, DemoWatchdogFiresOnlyWhenNoToastSurfaced)
{
    int aborted = 0;
    controller->startActionDemoToast(download("Dowsel README.md"), false);
    controller->armActionDemoWatchdog(3, [&] { ++aborted; });
    clock.advance(3);
    EXPECT_EQ(aborted, 1);

    controller->armActionDemoWatchdog(3, [&] { ++aborted; });
    arrive("Dowsel README.md");
    clock.advance(3);
    EXPECT_EQ(aborted, 1);
}

} // namespace
