#include "ToastTestSupport.h"

#include <QDir>
#include <QTemporaryDir>

using namespace dowsel;
using namespace dowsel::testing;

namespace {

using ToastActions = ToastFixture;

TEST_F(ToastActions, KeepMarksEveryFileTemporaryAndTrashesThemAtExpiry)
{
    const std::vector<RecordId> ids{arrive("a.pdf"), arrive("b c.zip"), arrive("-d\n.txt")};
    clock.advance(1);
    controller->markTemporary();
    EXPECT_FALSE(isVisible());
    for (const RecordId id : ids) {
        EXPECT_EQ(stateOf(id), FileState::temporary);
        EXPECT_DOUBLE_EQ(*records->record(id)->expiresAt, clock.now() + 3600);
    }
    clock.advance(3599);
    EXPECT_TRUE(trash.paths().isEmpty());
    clock.advance(2);
    EXPECT_EQ(trash.paths().size(), 3);
    EXPECT_TRUE(trash.paths().contains(download("-d\n.txt")));
}

TEST_F(ToastActions, KeepForATypedTime)
{
    const RecordId id = arrive("a.pdf");
    clock.advance(1);
    controller->openTimeInput();
    ASSERT_TRUE(controller->isTimeInputVisible());
    EXPECT_TRUE(host.openSurfaces.contains(ToastSurface::timeInput));
    EXPECT_TRUE(controller->pausedRemaining());
    EXPECT_EQ(focus.active, FakeFocusTracker::ownWindow);
    controller->openMoreMenu(); // refused while another surface is open
    EXPECT_FALSE(controller->isMoreVisible());

    controller->timeInputModel().setQuery(QStringLiteral("2"));
    controller->submitTimeInput(); // nothing understood: the input stays
    EXPECT_TRUE(controller->isTimeInputVisible());
    EXPECT_EQ(stateOf(id), FileState::unprocessed);

    controller->timeInputModel().setQuery(QStringLiteral("2h"));
    controller->submitTimeInput();
    EXPECT_FALSE(controller->isTimeInputVisible());
    EXPECT_FALSE(host.openSurfaces.contains(ToastSurface::timeInput));
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(focus.active, 42u);
    EXPECT_EQ(stateOf(id), FileState::temporary);
    EXPECT_DOUBLE_EQ(*records->record(id)->expiresAt, clock.now() + 7200);

    clock.advance(1);
    arrive("b.pdf");
    clock.advance(ToastController::showDelay);
    controller->openTimeInput();
    EXPECT_TRUE(controller->timeInputModel().query().isEmpty());
    EXPECT_FALSE(controller->timeInputModel().parsed());
}

TEST_F(ToastActions, CancellingAnInputResumesTheCountdownWhereItStopped)
{
    const RecordId id = arrive("a.pdf");
    clock.advance(2);
    controller->openTimeInput();
    clock.advance(30);
    controller->closeTimeInput();
    EXPECT_TRUE(isVisible());
    EXPECT_EQ(controller->secondsRemaining(), 5);
    EXPECT_EQ(focus.active, 42u);
    clock.advance(5.5);
    EXPECT_EQ(stateOf(id), FileState::dismissed);
}

TEST_F(ToastActions, CancelledShareLeavesTheToastAndResumesItsCountdown)
{
    const RecordId id = arrive("a.pdf");
    clock.advance(2);
    controller->share();
    ASSERT_TRUE(controller->isSharePickerVisible());
    ASSERT_TRUE(host.shareChoice);
    EXPECT_EQ(host.shareTargets, shareTargets);
    EXPECT_EQ(focus.active, FakeFocusTracker::ownWindow);

    clock.advance(20);
    EXPECT_TRUE(isVisible());
    host.shareChoice(std::nullopt);
    EXPECT_FALSE(controller->isSharePickerVisible());
    EXPECT_EQ(focus.active, 42u);
    EXPECT_EQ(controller->secondsRemaining(), 5);
    EXPECT_DOUBLE_EQ(controller->countdownDeadline(), clock.now() + 5);
    EXPECT_TRUE(launcher.started.empty());
    clock.advance(4.5);
    EXPECT_TRUE(isVisible());
    clock.advance(1);
    EXPECT_EQ(stateOf(id), FileState::dismissed);
}

TEST_F(ToastActions, ChosenShareTargetGetsThePathsAsArgumentsAndTheFilesExpire)
{
    const RecordId first = arrive("-rf");
    const RecordId second = arrive("it's \"odd\"\xff.pdf");
    clock.advance(1);
    controller->share();
    host.shareChoice(shareTargets[0]);
    ASSERT_EQ(launcher.started.size(), 1u);
    EXPECT_EQ(launcher.started[0].program, "/usr/bin/xdg-email");
    EXPECT_EQ(launcher.started[0].arguments, (std::vector<QByteArray>{"--attach", download("-rf"), "--attach",
                                                                        download("it's \"odd\"\xff.pdf")}));
    EXPECT_EQ(stateOf(first), FileState::temporary);
    EXPECT_EQ(stateOf(second), FileState::temporary);
    EXPECT_FALSE(isVisible());
    // The sharing program has the focus: the earlier window is not brought back.
    EXPECT_EQ(focus.active, FakeFocusTracker::ownWindow);
    EXPECT_FALSE(controller->previouslyActiveApp());
}

TEST_F(ToastActions, CopyPutsTheFilesOnTheClipboardAndLetsThemExpire)
{
    const RecordId id = arrive("a b.pdf");
    clock.advance(1);
    controller->openMoreMenu();
    controller->runMoreAction(MoreMenuItem::Action::copyAndDelete);
    EXPECT_FALSE(controller->isMoreVisible());
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(clipboard.files, std::vector<QByteArray>{download("a b.pdf")});
    EXPECT_EQ(stateOf(id), FileState::temporary);
    EXPECT_TRUE(exists(download("a b.pdf")));
}

TEST_F(ToastActions, MoreMenuKeepsTheKeyboardSelectionAndStaysWithoutAShareAnchor)
{
    arrive("a.pdf");
    clock.advance(1);
    controller->openMoreMenu();
    ASSERT_TRUE(controller->isMoreVisible());
    for (int i = 0; i < 4; ++i)
        controller->moreMenuModel().moveSelection(+1);
    EXPECT_EQ(controller->moreMenuModel().selectedAction(), MoreMenuItem::Action::delete_);

    host.screen.reset();
    controller->runMoreAction(MoreMenuItem::Action::shareAndDelete);
    EXPECT_TRUE(controller->isMoreVisible());
    EXPECT_FALSE(controller->isSharePickerVisible());

    controller->closeMoreMenu();
    EXPECT_TRUE(controller->isCountdownRunning());
    controller->openMoreMenu();
    EXPECT_EQ(controller->moreMenuModel().selectedIndex(), 0); // back on the first row
}

TEST_F(ToastActions, DeleteTrashesEveryFileAndForgetsItsRecordEvenWhenTheFileIsGone)
{
    const RecordId kept = arrive("a.pdf");
    const RecordId gone = arrive("gone.pdf");
    ASSERT_EQ(::unlink(download("gone.pdf").constData()), 0);
    controller->runMoreAction(MoreMenuItem::Action::delete_);
    EXPECT_FALSE(stateOf(kept));
    EXPECT_FALSE(stateOf(gone));
    EXPECT_TRUE(trash.paths().contains(download("a.pdf")));
    EXPECT_FALSE(isVisible());
}

TEST_F(ToastActions, OpenHandsEveryPathToTheDesktopAndDismisses)
{
    const RecordId first = arrive("new\nline.pdf");
    const RecordId second = arrive("vanished.pdf");
    ::unlink(download("vanished.pdf").constData());
    controller->performOpen();
    EXPECT_EQ(workspace.opened, (std::vector<QByteArray>{download("new\nline.pdf"), download("vanished.pdf")}));
    EXPECT_EQ(stateOf(first), FileState::dismissed);
    EXPECT_EQ(stateOf(second), FileState::dismissed);
    EXPECT_FALSE(isVisible());
}

TEST_F(ToastActions, MoveIntoASearchedFolderRecordsTheDestination)
{
    const QByteArray invoices = home + "/Documents/Invoices";
    ASSERT_TRUE(QDir().mkpath(QFile::decodeName(invoices)));
    folderIndex->start();
    ASSERT_TRUE(folderIndex->hasGathered());
    const RecordId id = arrive("a.pdf", "pdf bytes");
    clock.advance(1);

    controller->openMoveInput();
    ASSERT_TRUE(controller->isMoveInputVisible());
    controller->moveQueryChanged(QStringLiteral("doc inv"));
    ASSERT_EQ(controller->moveInputModel().selectedURL(), invoices);
    controller->submitMove();

    EXPECT_FALSE(exists(download("a.pdf")));
    EXPECT_TRUE(exists(invoices + "/a.pdf"));
    EXPECT_EQ(stateOf(id), FileState::dismissed);
    EXPECT_EQ(moveMRU->paths(), QList<QByteArray>{invoices});
    ASSERT_EQ(workspace.revealed.size(), 1u);
    EXPECT_EQ(workspace.revealed[0], std::vector<QByteArray>{invoices + "/a.pdf"});
    EXPECT_FALSE(controller->isMoveInputVisible());
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(focus.active, 42u);

    clock.advance(1);
    arrive("b.pdf");
    clock.advance(ToastController::showDelay);
    controller->openMoveInput();
    EXPECT_EQ(controller->moveInputModel().mruSuggestions(), QList<QByteArray>{invoices});
}

TEST_F(ToastActions, CreatingTheTypedFolderMovesThereAndAFailureKeepsTheInputOpen)
{
    folderIndex->start();
    arrive("a.pdf");
    clock.advance(1);
    controller->openMoveInput();
    controller->moveQueryChanged(QStringLiteral("Work/Q3"));
    controller->createFolderAndMove();
    EXPECT_TRUE(exists(home + "/Work/Q3/a.pdf"));
    EXPECT_FALSE(isVisible());

    clock.advance(1);
    dowsel::testing::writeFile(home + "/File", "a file where a folder should go");
    arrive("b.pdf");
    clock.advance(ToastController::showDelay);
    controller->openMoveInput();
    controller->moveQueryChanged(QStringLiteral("File/sub"));
    controller->createFolderAndMove();
    EXPECT_TRUE(controller->isMoveInputVisible());
    EXPECT_TRUE(exists(download("b.pdf")));
}

TEST_F(ToastActions, BrowsingMovesToTheChosenFolderOrResumesOnCancel)
{
    QTemporaryDir elsewhere;
    arrive("a.pdf");
    clock.advance(1);
    controller->browseForFolder(); // only from an open move input
    EXPECT_FALSE(host.folderChoice);

    controller->openMoveInput();
    controller->browseForFolder();
    EXPECT_FALSE(controller->isMoveInputVisible());
    ASSERT_TRUE(host.folderChoice);
    clock.advance(20);
    host.folderChoice(std::nullopt);
    EXPECT_TRUE(isVisible());
    EXPECT_TRUE(controller->isCountdownRunning());
    EXPECT_EQ(focus.active, 42u);

    controller->openMoveInput();
    controller->browseForFolder();
    host.folderChoice(QFile::encodeName(elsewhere.path()));
    EXPECT_TRUE(exists(QFile::encodeName(elsewhere.path()) + "/a.pdf"));
    EXPECT_FALSE(isVisible());
}

TEST_F(ToastActions, ACrossDeviceMoveReportsProgressAndRevealsAfterTheCopy)
{
    QTemporaryDir onTmpfs(QStringLiteral("/dev/shm/dowsel-test-XXXXXX"));
    struct stat shm;
    struct stat disk;
    if (!onTmpfs.isValid() || ::stat(downloads.constData(), &disk) != 0
        || ::stat(QFile::encodeName(onTmpfs.path()).constData(), &shm) != 0 || shm.st_dev == disk.st_dev)
        GTEST_SKIP() << "needs /dev/shm on another file system than the temporary folder";
    const QByteArray big(9 << 20, 'b');
    const RecordId id = arrive("big.iso", big);
    std::vector<qint64> progress;
    QObject::connect(controller.get(), &ToastController::moveProgress,
                     [&](const QString &name, qint64 copied, qint64 total) {
                         EXPECT_EQ(name, "big.iso");
                         EXPECT_EQ(total, big.size());
                         progress.push_back(copied);
                     });
    controller->performMove(QFile::encodeName(onTmpfs.path()));
    EXPECT_FALSE(isVisible());
    EXPECT_EQ(stateOf(id), FileState::dismissed);
    EXPECT_TRUE(workspace.revealed.empty());
    EXPECT_TRUE(exists(download("big.iso"))); // still copying

    background.runAll();
    EXPECT_FALSE(exists(download("big.iso")));
    EXPECT_EQ(progress, (std::vector<qint64>{4 << 20, 8 << 20, 9 << 20}));
    ASSERT_EQ(workspace.revealed.size(), 1u);
    EXPECT_EQ(workspace.revealed[0], std::vector<QByteArray>{QFile::encodeName(onTmpfs.path()) + "/big.iso"});
}

TEST_F(ToastActions, ResigningActiveCancelsTheOpenInput)
{
    arrive("a.pdf");
    clock.advance(1);
    controller->openMoveInput();
    controller->appDidResignActive();
    EXPECT_FALSE(controller->isMoveInputVisible());
    EXPECT_TRUE(isVisible());
    EXPECT_TRUE(controller->isCountdownRunning());
}

} // namespace
