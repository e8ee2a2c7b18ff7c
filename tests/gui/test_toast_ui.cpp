#include "../unit/StoreTestSupport.h"

#include "core/ByteCount.h"
#include "expiry/CleanupService.h"
#include "input/gui/MoreMenuView.h"
#include "input/gui/TimeInputView.h"
#include "move/FolderIndex.h"
#include "move/MoveMRU.h"
#include "move/gui/MoveInputView.h"
#include "platform/fake/Executors.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeFolderWatcher.h"
#include "platform/fake/FakeKeyGrabber.h"
#include "toast/FileMover.h"
#include "toast/gui/QtToastPanel.h"
#include "toast/gui/ToastUi.h"
#include "ui/ThumbnailCache.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QTest>

#include <gtest/gtest.h>

using namespace dowsel;
using dowsel::testing::exists;

namespace {

class NoThumbnails final : public ThumbnailLoader {
public:
    void load(const QByteArray &, double, std::function<void(QImage)> done) override { done(QImage()); }
};

constexpr KeyCombination superShift(ShortcutKey key)
{
    return {key, SuperModifier | ShiftModifier};
}

// The whole toast UI on a real store, folder index and file mover, with the desktop faked:
// keys come from a fake key grabber, files "open" into a list. Views queue their calls on
// the event loop, which settle() runs.
class ToastUiTest : public dowsel::testing::StoreFixture {
protected:
    void SetUp() override
    {
        StoreFixture::SetUp();
        if (HasFatalFailure())
            return;
        records = store.get();
        actor = std::make_unique<TrackedFileActor>(mainThread, std::move(store));
        cleanup = std::make_unique<CleanupService>(*actor, trash, clock, clock, mainThread);
        home = QFile::encodeName(dir.path()) + "/home";
        ASSERT_TRUE(QDir().mkpath(QFile::decodeName(home + "/Documents/Invoices")));
        folderIndex =
            std::make_unique<FolderIndex>(home, std::make_unique<FakeFolderWatcher>(), clock, clock, mainThread);
        folderIndex->start();
        moveMRU = std::make_unique<MoveMRU>(prefs);

        auto grabber = std::make_unique<FakeKeyGrabber>();
        auto fakeWorkspace = std::make_unique<FakeWorkspace>();
        auto fakeClipboard = std::make_unique<FakeClipboard>();
        keys = grabber.get();
        workspace = fakeWorkspace.get();
        clipboard = fakeClipboard.get();
        ui = std::make_unique<ToastUi>(
            ToastUiServices{
                .store = *actor,
                .cleanupService = *cleanup,
                .preferences = prefs,
                .clock = clock,
                .scheduler = clock,
                .mainExecutor = mainThread,
                .launcher = launcher,
                .mover = mover,
                .folderIndex = *folderIndex,
                .moveMRU = *moveMRU,
                .thumbnails = thumbnails,
                .shareTargets = [] { return std::vector{emailTarget}; },
            },
            ToastDesktop{std::move(fakeWorkspace), std::move(fakeClipboard), std::move(grabber), nullptr});
    }

    void TearDown() override
    {
        ui.reset();
        settle();
    }

    static void settle()
    {
        for (int round = 0; round < 3; ++round) {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    // A new download with its record, handed to the controller, and the toast opened.
    RecordId arrive(const QByteArray &name)
    {
        const std::uint64_t inode = dowsel::testing::writeFile(download(name));
        EXPECT_NE(inode, 0u);
        const RecordId id = records->insertNew(dowsel::testing::identityOf(download(name)), download(name), name, 7);
        controller().handleNewFile(id);
        clock.advance(ToastController::showDelay);
        settle();
        EXPECT_EQ(controller().state(), DynamicIslandToastState::visible);
        return id;
    }

    std::optional<TrackedFile> record(RecordId id) const { return records->record(id); }
    ToastController &controller() { return ui->controller(); }
    QtToastHost &host() { return ui->host(); }

    template <class View>
    View *openedView(ToastSurface surface)
    {
        SurfacePanel *panel = host().surfacePanel(surface);
        return panel ? qobject_cast<View *>(panel->content()) : nullptr;
    }

    static inline const ShareTarget emailTarget{ShareTarget::Kind::email, QStringLiteral("Email"),
                                                QStringLiteral("mail-message-new"), "/usr/bin/xdg-email"};

    InlineExecutor mainThread;
    ManualExecutor background;
    TrackedFileStore *records = nullptr;
    std::unique_ptr<TrackedFileActor> actor;
    std::unique_ptr<CleanupService> cleanup;
    QByteArray home;
    std::unique_ptr<FolderIndex> folderIndex;
    std::unique_ptr<MoveMRU> moveMRU;
    FakeProcessLauncher launcher;
    FileMover mover{background, mainThread};
    NoThumbnails thumbnailLoader;
    ThumbnailCache thumbnails{thumbnailLoader};
    FakeKeyGrabber *keys = nullptr;
    FakeWorkspace *workspace = nullptr;
    FakeClipboard *clipboard = nullptr;
    std::unique_ptr<ToastUi> ui;
};

TEST_F(ToastUiTest, TheMoveShortcutOpensAnInputThatTakesTheKeyboardAndMovesToTheTypedFolder)
{
    const RecordId id = arrive("a.pdf");
    EXPECT_TRUE(keys->isGrabbed(superShift(ShortcutKey::M)));

    ASSERT_TRUE(keys->press(superShift(ShortcutKey::M)));
    settle();
    ASSERT_TRUE(controller().isMoveInputVisible());
    const QPointer<SurfacePanel> panel = host().surfacePanel(ToastSurface::moveInput);
    auto *view = openedView<MoveInputView>(ToastSurface::moveInput);
    ASSERT_TRUE(panel && view);
    EXPECT_TRUE(panel->isVisible());
    EXPECT_EQ(host().keyPanel(), panel);
    EXPECT_EQ(QApplication::focusWidget(), &view->field());
    // While the input has the keyboard, the global keys are left alone.
    EXPECT_TRUE(keys->grabbed.empty());

    QTest::keyClicks(&view->field(), QStringLiteral("doc inv"));
    settle();
    const QByteArray invoices = home + "/Documents/Invoices";
    EXPECT_EQ(controller().moveInputModel().selectedURL(), invoices);
    EXPECT_EQ(panel->height(), controller().moveInputModel().panelHeight());

    QTest::keyClick(&view->field(), Qt::Key_Return);
    settle();
    EXPECT_TRUE(exists(invoices + "/a.pdf"));
    EXPECT_FALSE(exists(download("a.pdf")));
    EXPECT_EQ(record(id)->state, FileState::dismissed);
    EXPECT_EQ(controller().state(), DynamicIslandToastState::hidden);
    EXPECT_EQ(host().surfacePanel(ToastSurface::moveInput), nullptr);
    EXPECT_EQ(host().keyPanel(), nullptr);
    EXPECT_TRUE(QTest::qWaitFor([&] { return panel.isNull(); }, 5000));
    EXPECT_TRUE(keys->grabbed.empty());
}

TEST_F(ToastUiTest, EscapeClosesTheTimeInputAndReturnKeepsForTheTypedTime)
{
    const RecordId id = arrive("a.pdf");
    ASSERT_TRUE(keys->press({ShortcutKey::T, SuperModifier | ShiftModifier | AltModifier}));
    settle();
    auto *view = openedView<TimeInputView>(ToastSurface::timeInput);
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(controller().pausedRemaining().has_value());

    // Nothing to parse: Return leaves the input open.
    QTest::keyClicks(&view->field(), QStringLiteral("2"));
    QTest::keyClick(&view->field(), Qt::Key_Return);
    settle();
    EXPECT_TRUE(controller().isTimeInputVisible());

    QTest::keyClick(&view->field(), Qt::Key_Escape);
    settle();
    EXPECT_FALSE(controller().isTimeInputVisible());
    EXPECT_EQ(host().surfacePanel(ToastSurface::timeInput), nullptr);
    EXPECT_TRUE(controller().isCountdownRunning());
    EXPECT_TRUE(keys->isGrabbed(superShift(ShortcutKey::T)));

    // Opened again, the input starts empty.
    ASSERT_TRUE(keys->press({ShortcutKey::T, SuperModifier | ShiftModifier | AltModifier}));
    settle();
    view = openedView<TimeInputView>(ToastSurface::timeInput);
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(view->field().text().isEmpty());
    QTest::keyClicks(&view->field(), QStringLiteral("2h"));
    QTest::keyClick(&view->field(), Qt::Key_Enter, Qt::KeypadModifier);
    settle();
    ASSERT_EQ(record(id)->state, FileState::temporary);
    EXPECT_NEAR(*record(id)->expiresAt, clock.now() + 7200, 1);
    EXPECT_EQ(controller().state(), DynamicIslandToastState::hidden);
}

TEST_F(ToastUiTest, TheMoreMenuAnswersItsOwnKeysAndArrows)
{
    const RecordId copied = arrive("a.pdf");
    ASSERT_TRUE(keys->press(superShift(ShortcutKey::Period)));
    settle();
    auto *menu = openedView<MoreMenuView>(ToastSurface::moreMenu);
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(host().surfacePanel(ToastSurface::moreMenu)->height(), 154);
    QTest::keyClick(menu, Qt::Key_C, Qt::MetaModifier | Qt::ShiftModifier);
    settle();
    EXPECT_EQ(clipboard->files, std::vector{download("a.pdf")});
    EXPECT_EQ(record(copied)->state, FileState::temporary);
    EXPECT_FALSE(controller().isMoreVisible());
    EXPECT_EQ(controller().state(), DynamicIslandToastState::hidden);

    clock.advance(1);
    const RecordId deleted = arrive("b.pdf");
    ASSERT_TRUE(keys->press(superShift(ShortcutKey::Period)));
    settle();
    menu = openedView<MoreMenuView>(ToastSurface::moreMenu);
    ASSERT_NE(menu, nullptr);
    for (int press = 0; press < 4; ++press)
        QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
    settle();
    EXPECT_FALSE(record(deleted).has_value());
    EXPECT_EQ(trash.paths(), QByteArrayList{download("b.pdf")});
}

TEST_F(ToastUiTest, AnActivationTokenGoesWithItsKeyOrCommandToThePanelThatOpensAndNoLaterOne)
{
    const RecordId kept = arrive("a.pdf");
    const auto panelToken = [this](ToastSurface surface) {
        SurfacePanel *panel = host().surfacePanel(surface);
        return panel ? std::optional(panel->activationToken()) : std::nullopt;
    };

    ASSERT_TRUE(keys->press(superShift(ShortcutKey::M), QStringLiteral("move-token")));
    settle();
    EXPECT_EQ(panelToken(ToastSurface::moveInput), QStringLiteral("move-token"));
    // Refused while the input is open: its token must not wait for the next panel.
    EXPECT_EQ(ui->runCommand(ShortcutAction::more, std::nullopt, QStringLiteral("refused-token")),
              CommandRefusal::inputOpen);
    QTest::keyClick(&openedView<MoveInputView>(ToastSurface::moveInput)->field(), Qt::Key_Escape);
    settle();

    ASSERT_TRUE(keys->press(superShift(ShortcutKey::Period)));
    settle();
    EXPECT_EQ(panelToken(ToastSurface::moreMenu), QString()) << "a key without a token opens a panel without one";
    QTest::keyClick(openedView<MoreMenuView>(ToastSurface::moreMenu), Qt::Key_Escape);
    settle();

    ASSERT_EQ(ui->runCommand(ShortcutAction::customTime, std::nullopt, QStringLiteral("time-token")), std::nullopt);
    settle();
    EXPECT_EQ(panelToken(ToastSurface::timeInput), QStringLiteral("time-token"));
    QTest::keyClick(&openedView<TimeInputView>(ToastSurface::timeInput)->field(), Qt::Key_Escape);
    settle();

    // A keep opens nothing: its token is dropped, not kept for the next toast's input, even
    // one opened with the island's button.
    ASSERT_TRUE(keys->press(superShift(ShortcutKey::T), QStringLiteral("keep-token")));
    settle();
    ASSERT_EQ(record(kept)->state, FileState::temporary);
    clock.advance(1);
    arrive("b.pdf");
    auto *island = dynamic_cast<QtToastPanel *>(controller().panel().get());
    ASSERT_NE(island, nullptr);
    island->host().view().actions.onMove();
    settle();
    EXPECT_EQ(panelToken(ToastSurface::moveInput), QString());
}

TEST_F(ToastUiTest, CancellingTheShareMenuResumesTheToastAndAChoiceSharesAndKeeps)
{
    const RecordId id = arrive("a b.pdf");
    ASSERT_TRUE(keys->press(superShift(ShortcutKey::S)));
    settle();
    QPointer<QMenu> menu = host().shareMenu();
    ASSERT_TRUE(menu);
    EXPECT_TRUE(menu->isVisible());
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions()[0]->text(), "Email");
    EXPECT_FALSE(controller().isCountdownRunning());

    menu->hide();
    settle();
    EXPECT_FALSE(controller().isSharePickerVisible());
    EXPECT_TRUE(controller().isCountdownRunning());
    EXPECT_EQ(controller().state(), DynamicIslandToastState::visible);
    EXPECT_TRUE(launcher.started.empty());

    ASSERT_TRUE(keys->press(superShift(ShortcutKey::S)));
    settle();
    menu = host().shareMenu();
    ASSERT_TRUE(menu);
    menu->setActiveAction(menu->actions()[0]);
    QTest::keyClick(menu, Qt::Key_Return);
    settle();
    ASSERT_EQ(launcher.started.size(), 1u);
    EXPECT_EQ(launcher.started[0].program, emailTarget.program);
    EXPECT_EQ(record(id)->state, FileState::temporary);
    EXPECT_EQ(controller().state(), DynamicIslandToastState::hidden);
    EXPECT_EQ(host().shareMenu(), nullptr);
}

TEST_F(ToastUiTest, BrowsingReplacesTheInputWithAFolderChooser)
{
    QTemporaryDir elsewhere;
    arrive("a.pdf");
    ASSERT_TRUE(keys->press(superShift(ShortcutKey::M)));
    settle();
    auto *view = openedView<MoveInputView>(ToastSurface::moveInput);
    ASSERT_NE(view, nullptr);
    QTest::keyClick(&view->field(), Qt::Key_B, Qt::ControlModifier);
    settle();
    EXPECT_FALSE(controller().isMoveInputVisible());
    EXPECT_EQ(host().surfacePanel(ToastSurface::moveInput), nullptr);
    QPointer<QFileDialog> dialog = host().folderDialog();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->windowTitle(), "Choose a destination folder");
    EXPECT_EQ(dialog->labelText(QFileDialog::Accept), "Move Here");
    EXPECT_EQ(QDir(dialog->directory()), QDir::home());

    dialog->reject();
    settle();
    EXPECT_EQ(controller().state(), DynamicIslandToastState::visible);
    EXPECT_TRUE(controller().isCountdownRunning());
    EXPECT_TRUE(exists(download("a.pdf")));

    ASSERT_TRUE(keys->press(superShift(ShortcutKey::M)));
    settle();
    view = openedView<MoveInputView>(ToastSurface::moveInput);
    ASSERT_NE(view, nullptr);
    view->browseButton().click();
    settle();
    dialog = host().folderDialog();
    ASSERT_TRUE(dialog);
    dialog->setDirectory(elsewhere.path());
    static_cast<QDialog *>(dialog.data())->accept(); // QFileDialog hides it, QDialog does not
    settle();
    EXPECT_TRUE(exists(QFile::encodeName(elsewhere.path()) + "/a.pdf"));
    EXPECT_EQ(controller().state(), DynamicIslandToastState::hidden);
}

TEST_F(ToastUiTest, ALongMoveShowsItsProgressAfterTheToastClosed)
{
    Q_EMIT controller().moveProgress(QStringLiteral("disk.iso"), 4 << 20, 16 << 20);
    settle();
    QPointer<SurfacePanel> panel = host().moveProgressPanel();
    ASSERT_TRUE(panel);
    EXPECT_TRUE(panel->isVisible());
    auto *text = panel->findChild<QLabel *>(QStringLiteral("moveProgressText"));
    auto *bar = panel->findChild<QProgressBar *>(QStringLiteral("moveProgressBar"));
    ASSERT_TRUE(text && bar);
    EXPECT_EQ(text->text(), QStringLiteral("Moving disk.iso: %1 of %2").arg(formatByteCount(4 << 20), formatByteCount(16 << 20)));
    EXPECT_EQ(bar->value(), 250);

    Q_EMIT controller().moveProgress(QStringLiteral("disk.iso"), 12 << 20, 16 << 20);
    settle();
    EXPECT_EQ(host().moveProgressPanel(), panel.data()) << "one panel, updated";
    EXPECT_EQ(bar->value(), 750);

    Q_EMIT controller().moveProgress(QStringLiteral("disk.iso"), 16 << 20, 16 << 20);
    settle();
    EXPECT_EQ(host().moveProgressPanel(), nullptr) << "a finished copy takes its progress away";
}

TEST_F(ToastUiTest, TheIslandsButtonsAndHoverReachTheControllerAndAltSwapsTheBadge)
{
    arrive("a.pdf");
    auto *panel = dynamic_cast<QtToastPanel *>(controller().panel().get());
    ASSERT_NE(panel, nullptr);
    EXPECT_TRUE(panel->isVisible());
    ToastViewActions &actions = panel->host().view().actions;

    actions.onHoverChanged(true);
    settle();
    EXPECT_TRUE(controller().pausedRemaining().has_value());

    keys->setAlt(true);
    EXPECT_TRUE(controller().isOptionHeld());
    EXPECT_TRUE(panel->host().view().frame().input.isOptionHeld);
    keys->setAlt(false);
    EXPECT_FALSE(controller().isOptionHeld());

    actions.onMore();
    settle();
    EXPECT_TRUE(controller().isMoreVisible());
    // Leaving the island while a panel is open does not restart the countdown.
    actions.onHoverChanged(false);
    settle();
    EXPECT_FALSE(controller().isCountdownRunning());
}

TEST_F(ToastUiTest, ThePracticeHintStepsAsideWhileAnInputIsOpen)
{
    controller().startActionDemoToast(download("Dowsel README.md"), false);
    arrive("Dowsel README.md");
    ASSERT_NE(host().hintPanel(), nullptr);
    EXPECT_TRUE(host().hintPanel()->isVisible());

    ASSERT_TRUE(keys->press(superShift(ShortcutKey::M)));
    settle();
    EXPECT_EQ(host().hintPanel(), nullptr);
    QTest::keyClick(&openedView<MoveInputView>(ToastSurface::moveInput)->field(), Qt::Key_Escape);
    settle();
    ASSERT_NE(host().hintPanel(), nullptr);
    EXPECT_TRUE(host().hintPanel()->isVisible());
}

} // namespace
