#include "ToastTestSupport.h"

#include "app/PermissionsManager.h"
#include "onboarding/OnboardingFlow.h"
#include "onboarding/PracticeFile.h"

#include <QDir>

#include <algorithm>
#include <dirent.h>

namespace dowsel {
namespace {

using namespace dowsel::testing;
using Status = OnboardingPermissionStatus;

// The flow on a real store and real folders, with virtual time. `incoming` is the Downloads
// folder the flow asks for; the toast side watches the fixture's Downloads folder.
class OnboardingTest : public ToastFixture {
protected:
    void SetUp() override
    {
        ToastFixture::SetUp();
        if (HasFatalFailure())
            return;
        permissions = std::make_unique<PermissionsManager>(prefs, downloads);
        flow = std::make_unique<OnboardingFlow>(OnboardingFlow::Services{
            .controller = *controller,
            .store = *actor,
            .permissions = *permissions,
            .preferences = prefs,
            .scheduler = clock,
            .mainExecutor = mainThread,
            .downloadsPath = downloads,
            .checkShortcuts =
                [this] {
                    ++shortcutChecks;
                    return shortcuts;
                },
            // Like the app: starts once, and answers every call when the services are up.
            .onStartCoreServices =
                [this](std::function<void()> done) {
                    if (!std::exchange(coreStartRequested, true))
                        ++coreStarts;
                    waitingForCore.push_back(std::move(done));
                    if (!holdCoreStart)
                        finishCoreStart();
                },
            .onCompleted = [this] { ++completions; },
        });
    }

    void TearDown() override
    {
        flow.reset();
        ToastFixture::TearDown();
    }

    QByteArray practicePath() const { return download(QFile::encodeName(practiceFileName())); }

    // Welcome -> Downloads granted -> shortcuts skipped -> the try-it step.
    void walkToTryIt()
    {
        flow->start();
        flow->primary();
        flow->primary();
        clock.advance(OnboardingFlow::firstDownloadsCheckDelay + OnboardingFlow::downloadsGrantedPause + 0.01);
        flow->secondary();
        ASSERT_EQ(flow->state().step, OnboardingStep::tryIt);
    }

    // What the file processor does when the practice file shows up.
    RecordId practiceFileArrives()
    {
        const QByteArray path = flow->actionDemo().practicePath();
        const RecordId id = records->insertNew(identityOf(path), path, fileNameOf(path), 10);
        controller->handleNewFile(id);
        return id;
    }

    std::unique_ptr<PermissionsManager> permissions;
    std::unique_ptr<OnboardingFlow> flow;
    ShortcutCheck shortcuts{true, {}};
    int shortcutChecks = 0;
    int coreStarts = 0;
    int completions = 0;
    bool coreStartRequested = false;
    bool holdCoreStart = false;
    std::vector<std::function<void()>> waitingForCore;

    void finishCoreStart()
    {
        for (auto &done : std::exchange(waitingForCore, {}))
            done();
    }
};

TEST_F(OnboardingTest, StepsAdvanceAndCoreServicesStartWhenDownloadsIsReadable)
{
    arrive("before.pdf");
    flow->start();
    EXPECT_TRUE(flow->isVisible());
    EXPECT_TRUE(controller->isOnboardingActive());
    EXPECT_EQ(controller->state(), DynamicIslandToastState::hidden); // the toast made way
    EXPECT_TRUE(controller->toastEntries().empty());
    EXPECT_EQ(flow->content().title, "Welcome to Dowsel");

    flow->primary();
    EXPECT_EQ(flow->state().step, OnboardingStep::downloads);
    flow->primary();
    EXPECT_EQ(flow->state().status, Status::requesting);
    EXPECT_EQ(flow->content().primary.title, "Waiting for permission…");

    clock.advance(0.95);
    EXPECT_EQ(coreStarts, 0);
    clock.advance(0.1);
    EXPECT_EQ(coreStarts, 1); // before the shortcuts step is shown
    EXPECT_EQ(flow->state().status, Status::granted);
    EXPECT_EQ(flow->content().primary.title, "Downloads access granted");
    EXPECT_EQ(flow->state().step, OnboardingStep::downloads);
    clock.advance(0.7);
    EXPECT_EQ(flow->state().step, OnboardingStep::accessibility);
    EXPECT_EQ(flow->state().status, Status::idle);
    EXPECT_FALSE(flow->isPolling());

    flow->primary();
    EXPECT_EQ(shortcutChecks, 1);
    EXPECT_EQ(flow->content().primary.title, "Shortcuts active");
    clock.advance(0.85);
    EXPECT_EQ(flow->state().step, OnboardingStep::accessibility);
    clock.advance(0.1);
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    EXPECT_EQ(flow->content().primary.title, "Test it now");
    EXPECT_FALSE(prefs.boolean(prefkeys::hasCompletedOnboarding).has_value());
}

TEST_F(OnboardingTest, DownloadsReadsGrantedOnlyOnceTheCoreServicesRun)
{
    holdCoreStart = true;
    flow->start();
    flow->primary();
    flow->primary();
    clock.advance(OnboardingFlow::firstDownloadsCheckDelay + 0.05);
    EXPECT_EQ(coreStarts, 1);
    EXPECT_EQ(flow->state().status, Status::requesting);
    EXPECT_EQ(flow->content().primary.title, "Waiting for permission…");
    clock.advance(5); // a slow start: no poll, no step change meanwhile
    EXPECT_FALSE(flow->isPolling());
    EXPECT_EQ(flow->state().step, OnboardingStep::downloads);
    EXPECT_EQ(flow->state().status, Status::requesting);

    finishCoreStart();
    EXPECT_EQ(flow->state().status, Status::granted);
    clock.advance(OnboardingFlow::downloadsGrantedPause);
    EXPECT_EQ(flow->state().step, OnboardingStep::accessibility);
}

TEST_F(OnboardingTest, UnreadableDownloadsKeepsPollingAndAdvancesOnceReadable)
{
    ASSERT_EQ(::rmdir(downloads.constData()), 0);
    ASSERT_NE(writeFile(downloads, "not a folder"), 0u); // can never be listed, even by root
    flow->start();
    flow->primary();
    flow->primary();
    clock.advance(1);
    EXPECT_EQ(flow->state().status, Status::denied);
    EXPECT_EQ(flow->content().message,
        "Access was denied. Make your Downloads folder readable under Permissions in your file manager, then "
        "try again.");
    EXPECT_EQ(flow->content().primary.title, "Try Again");
    clock.advance(5);
    EXPECT_TRUE(flow->isPolling());
    EXPECT_EQ(coreStarts, 0);

    ASSERT_EQ(::unlink(downloads.constData()), 0);
    ASSERT_EQ(::mkdir(downloads.constData(), 0755), 0);
    clock.advance(0.5); // picked up without a click
    EXPECT_EQ(flow->state().status, Status::granted);
    EXPECT_EQ(coreStarts, 1);
    clock.advance(0.7);
    EXPECT_EQ(flow->state().step, OnboardingStep::accessibility);
}

TEST_F(OnboardingTest, MissingDownloadsIsOfferedAndCreatedWithoutTouchingItsParent)
{
    const QByteArray sibling = joinPath(QFile::encodeName(dir.path()), "keep me.txt");
    ASSERT_NE(writeFile(sibling, "mine"), 0u);
    ASSERT_EQ(::rmdir(downloads.constData()), 0);
    flow->start();
    flow->primary();
    flow->primary();
    clock.advance(1);
    EXPECT_EQ(flow->state().problem, OnboardingProblem::downloadsMissing);
    EXPECT_EQ(flow->content().primary.title, "Create Folder");
    EXPECT_TRUE(flow->content().message->contains(QString::fromUtf8(downloads)));

    flow->primary();
    EXPECT_TRUE(QDir(QFile::decodeName(downloads)).exists());
    EXPECT_EQ(flow->state().status, Status::granted);
    EXPECT_EQ(coreStarts, 1);
    QFile kept(QFile::decodeName(sibling));
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), "mine");
}

TEST_F(OnboardingTest, BlockedShortcutsAreNamedAndPolledUntilFree)
{
    shortcuts = {true, {QStringLiteral("Super+Shift+T"), QStringLiteral("Super+Shift+M")}};
    walkToTryIt();
    flow->setStep(OnboardingStep::accessibility);
    flow->primary();
    EXPECT_EQ(flow->state().status, Status::denied);
    EXPECT_TRUE(flow->content().message->contains("Super+Shift+T, Super+Shift+M"));
    EXPECT_TRUE(flow->content().showsSkip);
    // "Open Settings" only where there are keyboard settings to open.
    EXPECT_EQ(flow->content().openSettings.has_value(),
        permissions->canOpenSystemSettings(PermissionsManager::Permission::shortcuts));

    clock.advance(0.5);
    EXPECT_EQ(shortcutChecks, 2);
    shortcuts.blocked.clear();
    clock.advance(0.5);
    EXPECT_EQ(flow->state().status, Status::granted);
    clock.advance(0.9);
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    const int checks = shortcutChecks;
    clock.advance(10);
    EXPECT_EQ(shortcutChecks, checks); // the poll ended with the step
}

TEST_F(OnboardingTest, WithoutAKeyHookTheStepSaysSoAndSkipLeadsOn)
{
    shortcuts = {false, {}};
    flow->start();
    flow->setStep(OnboardingStep::accessibility);
    flow->primary();
    EXPECT_EQ(flow->state().problem, OnboardingProblem::shortcutsUnavailable);
    EXPECT_FALSE(flow->isPolling());
    flow->secondary();
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    EXPECT_EQ(flow->state().status, Status::idle);
}

// A Wayland session whose portal answers as `answer` (changed by the test as it goes).
struct WaylandPortal {
    explicit WaylandPortal(PermissionsManager &permissions)
    {
        Session session;
        session.type = SessionType::wayland;
        permissions.setSession(session);
        permissions.setPortalCheck([this] { return PortalStatus{answer, {}}; });
    }
    PortalAnswer answer = PortalAnswer::waiting;
};

TEST_F(OnboardingTest, OnWaylandThePortalIsAwaitedAndOnlyItsKeysGrantTheStep)
{
    WaylandPortal portal(*permissions);
    shortcuts = {true, {}}; // the Xwayland grabs would succeed: they must not be asked
    flow->start();
    flow->setStep(OnboardingStep::accessibility);
    EXPECT_TRUE(flow->content().body.contains("Your desktop binds them"));
    EXPECT_FALSE(flow->content().showsCommands);
    flow->primary();
    EXPECT_EQ(flow->state().status, Status::requesting);
    EXPECT_EQ(flow->content().primary.title, "Waiting for your desktop…");
    clock.advance(2);
    EXPECT_EQ(flow->state().status, Status::requesting);

    // KDE Plasma 5.27: taken, but without keys. The commands are offered in their place.
    portal.answer = PortalAnswer::unassigned;
    clock.advance(0.5);
    EXPECT_EQ(flow->state().status, Status::idle);
    EXPECT_FALSE(flow->isPolling());
    EXPECT_TRUE(flow->content().showsCommands);
    EXPECT_TRUE(flow->content().body.contains("gave them no keys"));
    EXPECT_FALSE(permissions->hasAccessibility());

    portal.answer = PortalAnswer::bound; // the desktop reported keys after all
    EXPECT_FALSE(flow->content().showsCommands);
    flow->primary();
    EXPECT_EQ(flow->state().status, Status::granted);
    EXPECT_EQ(flow->content().primary.title, "Shortcuts active");
    EXPECT_TRUE(permissions->hasAccessibility());
    EXPECT_FALSE(permissions->commandsConfirmed()) << "the portal's keys, not the user's word";
    clock.advance(0.9);
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    EXPECT_EQ(shortcutChecks, 0);
}

TEST_F(OnboardingTest, WithoutThePortalTheStepListsTheCommandsAndTheUsersWordGrantsIt)
{
    WaylandPortal portal(*permissions);
    portal.answer = PortalAnswer::missing;
    flow->start();
    flow->setStep(OnboardingStep::accessibility);
    OnboardingContent content = flow->content();
    EXPECT_TRUE(content.showsCommands);
    EXPECT_TRUE(content.badges.empty()) << "keys that do not reach Dowsel are not offered";
    EXPECT_TRUE(content.body.contains("doesn't let Dowsel set up its own shortcuts"));
    EXPECT_EQ(content.primary.title, "I've Bound Them");
    EXPECT_TRUE(content.showsSkip);
    EXPECT_EQ(content.openSettings.has_value(),
              permissions->canOpenSystemSettings(PermissionsManager::Permission::shortcuts))
        << "the keyboard settings, where the commands are bound, wherever the desktop has them";

    portal.answer = PortalAnswer::declined;
    EXPECT_TRUE(flow->content().body.contains("You declined"));

    flow->primary();
    EXPECT_EQ(flow->state().status, Status::granted);
    EXPECT_EQ(flow->content().primary.title, "Commands bound");
    EXPECT_FALSE(flow->content().openSettings.has_value());
    EXPECT_TRUE(permissions->commandsConfirmed());
    EXPECT_TRUE(permissions->hasAccessibility());
    clock.advance(0.9);
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    EXPECT_EQ(shortcutChecks, 0);

    // Skipping instead leaves the shortcuts not granted.
    permissions->setCommandsConfirmed(false);
    flow->setStep(OnboardingStep::accessibility);
    flow->secondary();
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    EXPECT_FALSE(permissions->hasAccessibility());
}

TEST_F(OnboardingTest, SkippingShortcutsNeverTriesTheGrabs)
{
    walkToTryIt();
    EXPECT_EQ(shortcutChecks, 0);
    EXPECT_FALSE(flow->content().showsSkip); // only a failed rehearsal may be skipped here
    flow->secondary();
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    EXPECT_FALSE(prefs.boolean(prefkeys::hasCompletedOnboarding).has_value());
}

TEST_F(OnboardingTest, PracticeRunCompletesTheFlowAndAReplayDoesNotStartTheCoreAgain)
{
    walkToTryIt();
    flow->primary();
    EXPECT_FALSE(flow->isVisible());
    EXPECT_TRUE(controller->isActionDemoActive());
    EXPECT_FALSE(exists(practicePath())); // written once the island has gone
    clock.advance(OnboardingFlow::islandExitDuration);
    ASSERT_TRUE(exists(practicePath()));

    const RecordId practice = practiceFileArrives();
    EXPECT_EQ(host.hint, HintPhase::running);
    const RecordId other = arrive("meanwhile.zip");
    EXPECT_EQ(stateOf(other), FileState::dismissed);
    EXPECT_EQ(controller->toastEntries().size(), 1u);
    clock.advance(ActionDemo::surfaceTimeout); // the toast surfaced: no abort
    EXPECT_TRUE(exists(practicePath()));

    controller->markTemporary();
    EXPECT_EQ(stateOf(practice), FileState::temporary);
    EXPECT_EQ(prefs.boolean(prefkeys::hasCompletedOnboarding), true);
    EXPECT_EQ(completions, 1); // the app adds the autostart entry now
    EXPECT_FALSE(flow->isActive());
    EXPECT_FALSE(controller->isOnboardingActive());
    EXPECT_EQ(host.hint, HintPhase::concluded); // stays up until "All right"
    controller->closeHint();
    EXPECT_FALSE(host.hint.has_value());

    flow->start();
    EXPECT_EQ(flow->state().step, OnboardingStep::welcome);
    flow->primary();
    flow->primary();
    clock.advance(1);
    EXPECT_EQ(flow->state().status, Status::granted);
    EXPECT_EQ(coreStarts, 1);
}

TEST_F(OnboardingTest, PracticeToastThatNeverSurfacesIsAbortedAndTheFileRemoved)
{
    walkToTryIt();
    flow->primary();
    clock.advance(OnboardingFlow::islandExitDuration);
    ASSERT_TRUE(exists(practicePath()));
    clock.advance(2.9);
    EXPECT_TRUE(controller->isActionDemoActive());
    clock.advance(0.2);
    EXPECT_FALSE(controller->isActionDemoActive());
    EXPECT_FALSE(exists(practicePath()));
    EXPECT_FALSE(host.hint.has_value());

    // Back on the last step, with a way out.
    EXPECT_TRUE(flow->isVisible());
    EXPECT_EQ(flow->state().step, OnboardingStep::tryIt);
    EXPECT_EQ(flow->state().problem, OnboardingProblem::practiceNotShown);
    EXPECT_TRUE(flow->content().showsSkip);
    flow->secondary();
    EXPECT_EQ(prefs.boolean(prefkeys::hasCompletedOnboarding), true);

    // After an abort, downloads get their ordinary toast again.
    arrive("later.pdf");
    EXPECT_EQ(controller->activeCountdownSeconds(), ToastController::countdownTotal);
}

TEST_F(OnboardingTest, DemoFromSettingsRunsOnceAndEscapeConcludesIt)
{
    flow->startActionDemo(false);
    const QByteArray first = flow->actionDemo().practicePath();
    ASSERT_TRUE(exists(first));
    const std::uint64_t inode = inodeOf(first);
    flow->startActionDemo(false);
    EXPECT_EQ(inodeOf(first), inode);
    EXPECT_EQ(flow->actionDemo().practicePath(), first);

    practiceFileArrives();
    clock.advance(ToastController::demoCountdownSeconds);
    EXPECT_EQ(host.hint, HintPhase::countdownEnded);
    EXPECT_TRUE(isVisible());
    controller->dismissAll();
    EXPECT_EQ(host.hint, HintPhase::concluded);
    EXPECT_FALSE(controller->demoMarkedTemporary());
    EXPECT_FALSE(prefs.boolean(prefkeys::hasCompletedOnboarding).has_value()); // not a first run
    EXPECT_TRUE(exists(first)); // left where the action put it
}

TEST_F(OnboardingTest, KeptPracticeFileIsReplacedAndGetsAFreshToast)
{
    flow->startActionDemo(false);
    const RecordId old = practiceFileArrives();
    controller->markTemporary();
    ASSERT_EQ(stateOf(old), FileState::temporary);
    const std::uint64_t oldInode = inodeOf(practicePath());

    flow->startActionDemo(false);
    EXPECT_EQ(flow->actionDemo().practicePath(), practicePath()); // our own unchanged file: same name
    EXPECT_FALSE(stateOf(old).has_value());
    EXPECT_NE(inodeOf(practicePath()), oldInode);
    const RecordId fresh = practiceFileArrives();
    EXPECT_EQ(controller->actionDemoFileId(), fresh);
    clock.advance(ToastController::showDelay);
    EXPECT_TRUE(isVisible());
}

TEST_F(OnboardingTest, UsersOwnReadmeIsNeverOverwritten)
{
    ASSERT_NE(writeFile(practicePath(), "my notes"), 0u);
    flow->startActionDemo(false);
    const QByteArray used = flow->actionDemo().practicePath();
    EXPECT_EQ(fileNameOf(used), "Dowsel README 2.md");
    clock.advance(ActionDemo::surfaceTimeout); // aborted: only our copy goes
    EXPECT_FALSE(exists(used));
    QFile mine(QFile::decodeName(practicePath()));
    ASSERT_TRUE(mine.open(QIODevice::ReadOnly));
    EXPECT_EQ(mine.readAll(), "my notes");
}

TEST_F(OnboardingTest, StartingTheDemoClearsAToastSoItsFilesStayOutOfThePracticeToast)
{
    const RecordId earlier = arrive("earlier.pdf");
    clock.advance(ToastController::showDelay);
    controller->openMoveInput();
    ASSERT_FALSE(host.openSurfaces.empty());
    flow->startActionDemo(false);
    EXPECT_TRUE(host.openSurfaces.empty());
    EXPECT_TRUE(controller->toastEntries().empty());
    practiceFileArrives();
    ASSERT_EQ(controller->toastEntries().size(), 1u);
    EXPECT_NE(controller->toastEntries().front().id, earlier);
    EXPECT_EQ(stateOf(earlier), FileState::unprocessed);
}

TEST_F(OnboardingTest, ItemsAppearOneAfterAnotherAndAgainOnEachStep)
{
    flow->start();
    EXPECT_EQ(flow->appear().shownCount(), 0);
    clock.advance(StaggeredAppear::firstDelay + 0.01);
    EXPECT_EQ(flow->appear().shownCount(), 1);
    clock.advance(StaggeredAppear::interval);
    EXPECT_TRUE(flow->appear().isShown(1));
    EXPECT_FALSE(flow->appear().isShown(2));
    clock.advance(1);
    EXPECT_EQ(flow->appear().shownCount(), onboardingAppearItems);

    flow->primary();
    EXPECT_EQ(flow->appear().shownCount(), 0);
    flow->primary(); // a status change keeps what is shown
    clock.advance(1);
    EXPECT_EQ(flow->appear().shownCount(), onboardingAppearItems);
}

OnboardingState stateAt(OnboardingStep step, Status status)
{
    OnboardingState state;
    state.step = step;
    state.status = status;
    return state;
}

TEST(OnboardingTexts, ButtonTitlesFollowTheStatus)
{
    struct Case {
        OnboardingStep step;
        Status status;
        const char *title;
        bool enabled;
        bool settings;
    };
    const Case cases[] = {
        {OnboardingStep::welcome, Status::idle, "Get Started", true, false},
        {OnboardingStep::downloads, Status::idle, "Grant Access", true, false},
        {OnboardingStep::downloads, Status::requesting, "Waiting for permission…", false, true},
        {OnboardingStep::downloads, Status::denied, "Try Again", true, true},
        {OnboardingStep::downloads, Status::granted, "Downloads access granted", false, false},
        {OnboardingStep::accessibility, Status::idle, "Enable Shortcuts", true, false},
        {OnboardingStep::accessibility, Status::requesting, "Checking shortcuts…", false, true},
        {OnboardingStep::accessibility, Status::granted, "Shortcuts active", false, false},
        {OnboardingStep::tryIt, Status::idle, "Test it now", true, false},
    };
    for (const Case &c : cases) {
        const OnboardingContent content = onboardingContent(stateAt(c.step, c.status));
        EXPECT_EQ(content.primary.title, QString::fromUtf8(c.title));
        EXPECT_EQ(content.primary.enabled, c.enabled) << c.title;
        EXPECT_EQ(content.openSettings.has_value(), c.settings) << c.title;
        EXPECT_EQ(content.stepIndex, int(c.step));
        EXPECT_EQ(content.icon == "emblem-default", c.status == Status::granted) << c.title;
    }
    const OnboardingContent shortcuts = onboardingContent(stateAt(OnboardingStep::accessibility, Status::idle));
    ASSERT_EQ(shortcuts.badges.size(), 3u);
    EXPECT_EQ(shortcuts.badges[0].keycap, "Super+Shift+T");
    EXPECT_EQ(shortcuts.badges[2].label, "More");
    EXPECT_TRUE(shortcuts.showsSkip);
}

TEST(OnboardingTexts, HintFollowsItsPhase)
{
    const HintContent running = hintContent(HintPhase::running, QStringLiteral("30 minutes"), false);
    EXPECT_EQ(running.headline, "Your practice file is live — try the shortcuts on it.");
    ASSERT_EQ(running.rows.size(), 5u);
    EXPECT_EQ(running.rows[0].text, "Keep it — Dowsel auto-deletes it in 30 minutes");
    EXPECT_EQ(running.rows[4].keycap, "Esc");
    EXPECT_EQ(running.tip, "Hover the toast to pause the countdown.");
    EXPECT_TRUE(running.concludedDismissTitle.isEmpty());

    const HintContent ended = hintContent(HintPhase::countdownEnded, QStringLiteral("1 hour"), false);
    EXPECT_EQ(ended.rows.size(), 5u);
    EXPECT_TRUE(ended.tip.isEmpty());

    const HintContent kept = hintContent(HintPhase::concluded, QStringLiteral("1 hour"), true);
    const HintContent left = hintContent(HintPhase::concluded, QStringLiteral("1 hour"), false);
    EXPECT_EQ(kept.headline, "Nice — you've got the hang of it!");
    EXPECT_TRUE(kept.rows.empty());
    EXPECT_TRUE(kept.body.contains("“Dowsel: Temporary” tag"));
    EXPECT_EQ(
        left.body, "Your practice file is all yours — keep it, move it, or toss it whenever. You're ready to go.");
    EXPECT_EQ(kept.concludedDismissTitle, "All right");
}

TEST(OnboardingTexts, TheShortcutsStepAndTheHintSpeakOfTheSessionsRoute)
{
    OnboardingState state = stateAt(OnboardingStep::accessibility, Status::idle);
    const OnboardingContent grabs = onboardingContent(state);
    EXPECT_TRUE(grabs.body.contains("no other program already uses them"));
    EXPECT_FALSE(grabs.showsCommands);
    EXPECT_EQ(hintContent(HintPhase::running, QStringLiteral("1 hour"), false).rows[4].keycap, "Esc");

    EXPECT_EQ(grabs.primary.keycap, "Shift+Enter");
    state.shortcutRoute = ShortcutRoute::portal;
    const OnboardingContent portal = onboardingContent(state);
    EXPECT_TRUE(portal.primary.keycap.isEmpty()) << "Shift+Enter is grabbed on X11 only";
    EXPECT_TRUE(portal.body.contains("Your desktop binds them"));
    EXPECT_FALSE(portal.body.contains("no other program"));
    EXPECT_EQ(portal.badges.size(), 3u) << "the keys Dowsel asks the portal for";
    const HintContent portalHint = hintContent(HintPhase::running, QStringLiteral("1 hour"), false, ShortcutRoute::portal);
    EXPECT_EQ(portalHint.rows[4].keycap, "Super+Shift+Esc") << "a bare Escape is never bound through the portal";
    EXPECT_EQ(portalHint.rows[0].keycap, "Super+Shift+T");

    state.shortcutRoute = ShortcutRoute::commands;
    const OnboardingContent commands = onboardingContent(state);
    EXPECT_TRUE(commands.showsCommands);
    EXPECT_TRUE(commands.badges.empty());
    EXPECT_FALSE(commands.body.contains("Super+"));
    const HintContent commandsHint =
        hintContent(HintPhase::countdownEnded, QStringLiteral("1 hour"), false, ShortcutRoute::commands);
    ASSERT_EQ(commandsHint.rows.size(), 5u);
    const QStringList expected{"dowsel toast keep", "dowsel toast time", "dowsel toast move", "dowsel toast more",
                               "dowsel toast dismiss"};
    for (size_t i = 0; i < commandsHint.rows.size(); ++i)
        EXPECT_EQ(commandsHint.rows[i].keycap, expected[qsizetype(i)]);
    EXPECT_EQ(hintContent(HintPhase::running, QStringLiteral("1 hour"), false, ShortcutRoute::commands).headline,
              "Your practice file is live — try the keys you bound on it.");
}

// MARK: The practice file on disk

class PracticeFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(temp.isValid());
        // Spaces, a newline, a leading dash and bytes that are not UTF-8.
        folder = QFile::encodeName(temp.path()) + "/-my \"dl\"\n\xff";
        ASSERT_EQ(::mkdir(folder.constData(), 0755), 0);
    }

    // The folder's name is not UTF-8, so everything here goes through the raw bytes.
    void TearDown() override
    {
        for (const QByteArray &entry : folderEntries())
            ::unlink((folder + '/' + entry).constData());
        ::rmdir(folder.constData());
    }

    static QByteArray read(const QByteArray &path)
    {
        const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            return {};
        QByteArray bytes(1 << 16, Qt::Uninitialized);
        const ssize_t n = ::read(fd, bytes.data(), size_t(bytes.size()));
        ::close(fd);
        return n < 0 ? QByteArray() : bytes.left(n);
    }

    QList<QByteArray> folderEntries() const
    {
        QList<QByteArray> entries;
        if (DIR *dir = ::opendir(folder.constData())) {
            while (const dirent *entry = ::readdir(dir)) {
                const QByteArray name(entry->d_name);
                if (name != "." && name != "..")
                    entries << name;
            }
            ::closedir(dir);
        }
        std::sort(entries.begin(), entries.end());
        return entries;
    }

    QTemporaryDir temp;
    QByteArray folder;
    const QByteArray name = QFile::encodeName(practiceFileName());
    const QByteArray contents = practiceFileContents().toUtf8();
};

TEST_F(PracticeFileTest, ContentsAreEighteenLinesEndingWithANewline)
{
    EXPECT_EQ(practiceFileName(), "Dowsel README.md");
    ASSERT_TRUE(contents.endsWith('\n'));
    const QList<QByteArray> lines = contents.chopped(1).split('\n');
    ASSERT_EQ(lines.size(), 18);
    EXPECT_EQ(lines[0], "# Welcome to Dowsel 🧹");
    for (const int empty : {1, 3, 5, 12, 14, 16})
        EXPECT_TRUE(lines[empty].isEmpty()) << empty;
    EXPECT_EQ(lines[4], "This file is just a demo so you can practice. While its toast is showing, try:");
    EXPECT_EQ(lines[6], "- **Super+Shift+T** — Keep it. Dowsel auto-deletes it later (you choose when, in Settings).");
    EXPECT_EQ(lines[11], "- **Esc** — Dismiss. The file just stays in Downloads.");
    EXPECT_EQ(lines[13], "Tip: hover the toast to pause the countdown.");
    EXPECT_EQ(lines[17], "— Dowsel");
}

TEST_F(PracticeFileTest, WritesAtomicallyInAnOddlyNamedFolderAndReplacesOnlyItsOwnCopy)
{
    const QByteArray path = practiceFilePath(folder, name, contents);
    EXPECT_EQ(path, folder + "/Dowsel README.md");
    const auto first = createPracticeFile(path, contents);
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(read(path), contents);
    EXPECT_EQ(folderEntries(), QList<QByteArray>{"Dowsel README.md"}); // no temporary left behind

    // An unchanged earlier copy is ours: same name, a new file.
    EXPECT_EQ(practiceFilePath(folder, name, contents), path);
    const auto second = createPracticeFile(path, contents);
    ASSERT_TRUE(second.has_value());
    EXPECT_NE(*first, *second);

    // Once edited it is the user's: it is neither replaced nor deleted.
    ASSERT_NE(writeFile(path, contents + "my line\n"), 0u);
    EXPECT_EQ(practiceFilePath(folder, name, contents), folder + "/Dowsel README 2.md");
    EXPECT_FALSE(createPracticeFile(path, contents).has_value());
    EXPECT_FALSE(removePracticeFile(path, inodeOf(path), contents));
    EXPECT_EQ(read(path), contents + "my line\n");
    EXPECT_EQ(folderEntries(), QList<QByteArray>{"Dowsel README.md"});
}

TEST_F(PracticeFileTest, SkipsFoldersAndLinksWithThePracticeName)
{
    ASSERT_EQ(::mkdir((folder + "/Dowsel README.md").constData(), 0755), 0);
    ASSERT_EQ(::symlink("/etc/hostname", (folder + "/Dowsel README 2.md").constData()), 0);
    EXPECT_EQ(practiceFilePath(folder, name, contents), folder + "/Dowsel README 3.md");
    EXPECT_EQ(practiceFilePath(folder, "README", contents), folder + "/README");
}

TEST_F(PracticeFileTest, FailureLeavesNothingBehind)
{
    EXPECT_FALSE(createPracticeFile(folder + "/gone/Dowsel README.md", contents).has_value());
    EXPECT_TRUE(folderEntries().isEmpty());
    // Only the very file we wrote is ever removed.
    const QByteArray path = folder + "/Dowsel README.md";
    const auto inode = createPracticeFile(path, contents);
    ASSERT_TRUE(inode.has_value());
    EXPECT_FALSE(removePracticeFile(path, *inode + 1, contents));
    EXPECT_TRUE(removePracticeFile(path, *inode, contents));
    EXPECT_FALSE(exists(path));
}

} // namespace
} // namespace dowsel
