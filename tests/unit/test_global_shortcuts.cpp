#include "platform/fake/Executors.h"
#include "platform/fake/FakeKeyGrabber.h"
#include "toast/GlobalShortcuts.h"

#include <gtest/gtest.h>

using namespace dowsel;

namespace {

const ShortcutContext toastUp{.isOnboardingActive = false, .isToastShown = true, .isSecondarySurfaceOpen = false};
const ShortcutContext noToast{};
const ShortcutContext panelOpen{.isOnboardingActive = false, .isToastShown = true, .isSecondarySurfaceOpen = true};
const ShortcutContext onboarding{.isOnboardingActive = true, .isToastShown = false, .isSecondarySurfaceOpen = false};

constexpr unsigned superShift = SuperModifier | ShiftModifier;

TEST(ShortcutAction, SuperShiftLettersMapToTheirActions)
{
    const std::vector<std::pair<ShortcutKey, ShortcutAction>> table{
        {ShortcutKey::S, ShortcutAction::share},      {ShortcutKey::C, ShortcutAction::copy},
        {ShortcutKey::T, ShortcutAction::markTemporary}, {ShortcutKey::O, ShortcutAction::open},
        {ShortcutKey::M, ShortcutAction::move},       {ShortcutKey::Period, ShortcutAction::more},
        {ShortcutKey::Backspace, ShortcutAction::deleteNow},
    };
    for (const auto &[key, action] : table)
        EXPECT_EQ(shortcutAction({key, superShift}, toastUp), action) << shortcutText({key, superShift}).toStdString();
    EXPECT_EQ(shortcutAction({ShortcutKey::T, superShift | AltModifier}, toastUp), ShortcutAction::customTime);
    EXPECT_EQ(shortcutAction({ShortcutKey::Backspace, superShift | AltModifier}, toastUp), ShortcutAction::trashCopies);
    EXPECT_FALSE(shortcutAction({ShortcutKey::Backspace, superShift | AltModifier}, panelOpen));
    EXPECT_EQ(shortcutAction({ShortcutKey::Escape, NoModifier}, toastUp), ShortcutAction::dismiss);
}

TEST(ShortcutAction, NearMissesGoThrough)
{
    const std::vector<KeyCombination> ignored{
        {ShortcutKey::T, superShift | ControlModifier},              // Ctrl also down
        {ShortcutKey::T, superShift | AltModifier | ControlModifier}, // Ctrl with the custom-time keys
        {ShortcutKey::M, superShift | AltModifier},                  // Alt counts only with T
        {ShortcutKey::T, SuperModifier},                             // no Shift
        {ShortcutKey::T, ShiftModifier},                             // no Super
        {ShortcutKey::Escape, ShiftModifier},                        // Esc only bare
        {ShortcutKey::Escape, SuperModifier | ShiftModifier},
        {ShortcutKey::Return, ShiftModifier},                        // only during onboarding
        {ShortcutKey::Return, superShift},
    };
    for (const KeyCombination &combination : ignored)
        EXPECT_FALSE(shortcutAction(combination, toastUp)) << shortcutText(combination).toStdString();
}

TEST(ShortcutAction, StateDecidesWhetherAnythingCounts)
{
    for (const KeyCombination &combination : toastShortcuts()) {
        EXPECT_FALSE(shortcutAction(combination, noToast));
        EXPECT_FALSE(shortcutAction(combination, panelOpen));
        EXPECT_FALSE(shortcutAction(combination, onboarding));
    }
    EXPECT_EQ(shortcutAction({ShortcutKey::Return, ShiftModifier}, onboarding), ShortcutAction::onboardingPrimary);
    EXPECT_FALSE(shortcutAction({ShortcutKey::Return, superShift}, onboarding));
    EXPECT_FALSE(shortcutAction({ShortcutKey::Return, NoModifier}, onboarding));
}

TEST(ShortcutAction, EveryGrabbedCombinationCountsAndNothingElseIsGrabbed)
{
    for (const ShortcutContext &context : {toastUp, noToast, panelOpen, onboarding}) {
        for (const KeyCombination &combination : combinationsToGrab(context))
            EXPECT_TRUE(shortcutAction(combination, context)) << shortcutText(combination).toStdString();
    }
    EXPECT_EQ(combinationsToGrab(toastUp).size(), 10u);
    EXPECT_TRUE(combinationsToGrab(noToast).empty());
    EXPECT_TRUE(combinationsToGrab(panelOpen).empty());
    EXPECT_EQ(combinationsToGrab(onboarding), (std::vector<KeyCombination>{{ShortcutKey::Return, ShiftModifier}}));
}

TEST(ShortcutText, NamesLinuxModifiers)
{
    EXPECT_EQ(shortcutText({ShortcutKey::T, superShift | AltModifier}), QStringLiteral("Super+Shift+Alt+T"));
    EXPECT_EQ(shortcutText({ShortcutKey::Backspace, superShift}), QStringLiteral("Super+Shift+Backspace"));
    EXPECT_EQ(shortcutText({ShortcutKey::Escape, NoModifier}), QStringLiteral("Esc"));
}

struct ShortcutsFixture : ::testing::Test {
    FakeKeyGrabber grabber;
    ManualExecutor main;
    GlobalShortcuts shortcuts{grabber, main};
    std::vector<ShortcutAction> actions;
    std::vector<QString> activationTokens;
    std::vector<bool> optionStates;

    void SetUp() override
    {
        shortcuts.onAction = [this](ShortcutAction action, const QString &activationToken) {
            actions.push_back(action);
            activationTokens.push_back(activationToken);
        };
        shortcuts.onOptionHeldChanged = [this](bool held) { optionStates.push_back(held); };
    }
};

TEST_F(ShortcutsFixture, KeysAreHeldOnlyWhileAToastIsUpAndNoPanelHasTheKeyboard)
{
    ASSERT_TRUE(shortcuts.installEventTap());
    EXPECT_TRUE(grabber.grabbed.empty()) << "the trial grab must be released";
    EXPECT_FALSE(grabber.press({ShortcutKey::Escape, NoModifier}));

    shortcuts.update(toastUp);
    EXPECT_TRUE(grabber.isGrabbed({ShortcutKey::Escape, NoModifier}));
    EXPECT_TRUE(grabber.isGrabbed({ShortcutKey::T, superShift}));

    shortcuts.update(panelOpen);
    EXPECT_FALSE(grabber.press({ShortcutKey::T, superShift})) << "the move input must get the key";
    shortcuts.update(toastUp);
    const int grabsBefore = grabber.grabCalls;
    shortcuts.update(toastUp);
    EXPECT_EQ(grabber.grabCalls, grabsBefore) << "an unchanged state must not touch the X server";

    shortcuts.update(noToast);
    EXPECT_TRUE(grabber.grabbed.empty());
    main.runAll();
    EXPECT_TRUE(actions.empty());
}

TEST_F(ShortcutsFixture, ActionsRunAfterTheKeyHandlerReturns)
{
    shortcuts.update(toastUp); // before installing: remembered, applied on install
    ASSERT_TRUE(shortcuts.installEventTap());
    EXPECT_TRUE(grabber.press({ShortcutKey::T, superShift}));
    EXPECT_TRUE(actions.empty()) << "the action must not run inside the key handler";
    EXPECT_TRUE(grabber.press({ShortcutKey::M, superShift}, QStringLiteral("token-of-the-press")));
    EXPECT_TRUE(grabber.press({ShortcutKey::Escape, NoModifier}));
    main.runAll();
    EXPECT_EQ(actions, (std::vector<ShortcutAction>{ShortcutAction::markTemporary, ShortcutAction::move,
                                                    ShortcutAction::dismiss}));
    EXPECT_EQ(activationTokens, (std::vector<QString>{{}, QStringLiteral("token-of-the-press"), {}}))
        << "each action carries the token of its own press, and only that one";
}

TEST_F(ShortcutsFixture, AltIsReportedOnlyWhileAToastIsUpOutsideOnboarding)
{
    ASSERT_TRUE(shortcuts.installEventTap());
    grabber.setAlt(true);
    shortcuts.update(toastUp);
    grabber.setAlt(true);
    grabber.setAlt(false);
    shortcuts.update(onboarding);
    grabber.setAlt(true);
    main.runAll();
    EXPECT_EQ(optionStates, (std::vector<bool>{true, false}));
    EXPECT_FALSE(grabber.isGrabbed({ShortcutKey::T, superShift | AltModifier}));
    EXPECT_TRUE(grabber.isGrabbed({ShortcutKey::Return, ShiftModifier}));
    EXPECT_TRUE(grabber.press({ShortcutKey::Return, ShiftModifier}));
    main.runAll();
    EXPECT_EQ(actions, (std::vector<ShortcutAction>{ShortcutAction::onboardingPrimary}));
}

TEST_F(ShortcutsFixture, CombinationsHeldByAnotherProgramAreReportedAndTheRestStillWork)
{
    grabber.heldElsewhere = {{ShortcutKey::S, superShift}, {ShortcutKey::Escape, NoModifier}};
    ASSERT_TRUE(shortcuts.installEventTap());
    EXPECT_EQ(shortcuts.blockedShortcuts(), (QStringList{QStringLiteral("Super+Shift+S"), QStringLiteral("Esc")}));
    shortcuts.update(toastUp);
    EXPECT_FALSE(grabber.press({ShortcutKey::Escape, NoModifier}));
    EXPECT_TRUE(grabber.press({ShortcutKey::M, superShift}));
    main.runAll();
    EXPECT_EQ(actions, (std::vector<ShortcutAction>{ShortcutAction::move}));
}

TEST_F(ShortcutsFixture, ACombinationTakenAfterStartIsReportedWhenTheToastNextShows)
{
    int reports = 0;
    shortcuts.onBlockedChanged = [&reports] { ++reports; };
    ASSERT_TRUE(shortcuts.installEventTap());
    EXPECT_TRUE(shortcuts.blockedShortcuts().isEmpty());

    grabber.heldElsewhere = {{ShortcutKey::O, superShift}}; // a hotkey daemon started later
    shortcuts.update(toastUp);
    EXPECT_EQ(shortcuts.blockedShortcuts(), QStringList{QStringLiteral("Super+Shift+O")});
    EXPECT_EQ(reports, 1);
    EXPECT_FALSE(grabber.press({ShortcutKey::O, superShift}));
    EXPECT_TRUE(grabber.press({ShortcutKey::T, superShift}));

    shortcuts.update(noToast);
    shortcuts.update(toastUp); // still taken: nothing new to report
    EXPECT_EQ(reports, 1);
    shortcuts.update(noToast);
    grabber.heldElsewhere.clear();
    shortcuts.update(toastUp);
    EXPECT_TRUE(shortcuts.blockedShortcuts().isEmpty());
    EXPECT_EQ(reports, 2);
    EXPECT_TRUE(grabber.press({ShortcutKey::O, superShift}));
}

TEST_F(ShortcutsFixture, ASurfaceTakingTheKeyboardReleasesEveryGrabFirst)
{
    ASSERT_TRUE(shortcuts.installEventTap());
    shortcuts.update(toastUp);
    shortcuts.releaseKeyboard(); // the share menu opened from Super+Shift+S, S still down
    EXPECT_EQ(grabber.keyboardReleases, 1);
    EXPECT_FALSE(grabber.press({ShortcutKey::Escape, NoModifier})) << "Escape must reach the menu";
    const int grabsBefore = grabber.grabCalls;
    shortcuts.update(panelOpen);
    EXPECT_EQ(grabber.grabCalls, grabsBefore);
    shortcuts.update(toastUp); // the menu closed without a choice
    EXPECT_TRUE(grabber.press({ShortcutKey::Escape, NoModifier}));
}

TEST_F(ShortcutsFixture, WithoutAKeyHookNothingIsInstalled)
{
    grabber.available = false;
    EXPECT_FALSE(shortcuts.installEventTap());
    shortcuts.update(toastUp);
    EXPECT_TRUE(grabber.grabbed.empty());
    EXPECT_EQ(grabber.grabCalls, 0);
}

} // namespace

TEST(CommandRefusal, CommandsRunExactlyWhenTheKeysWould)
{
    EXPECT_EQ(commandRefusal(noToast), CommandRefusal::noToast);
    EXPECT_EQ(commandRefusal(panelOpen), CommandRefusal::inputOpen);
    EXPECT_EQ(commandRefusal(onboarding), CommandRefusal::onboarding);
    EXPECT_EQ(commandRefusal(toastUp), std::nullopt);
}

TEST_F(ShortcutsFixture, CommandsQueueTheirActionAndWorkWithoutAKeyHook)
{
    grabber.available = false; // a Wayland session without the portal: commands are all there is
    EXPECT_FALSE(shortcuts.installEventTap());
    EXPECT_EQ(shortcuts.runCommand(ShortcutAction::markTemporary), CommandRefusal::noToast);
    main.runAll();
    EXPECT_TRUE(actions.empty());

    shortcuts.update(toastUp);
    EXPECT_EQ(shortcuts.runCommand(ShortcutAction::markTemporary), std::nullopt);
    EXPECT_EQ(shortcuts.runCommand(ShortcutAction::customTime, QStringLiteral("launcher-token")), std::nullopt);
    EXPECT_EQ(shortcuts.runCommand(ShortcutAction::dismiss), std::nullopt);
    EXPECT_TRUE(actions.empty()) << "a command must run on the main executor, not inside the bus call";
    main.runAll();
    EXPECT_EQ(actions, (std::vector<ShortcutAction>{ShortcutAction::markTemporary, ShortcutAction::customTime,
                                                    ShortcutAction::dismiss}));
    EXPECT_EQ(activationTokens, (std::vector<QString>{{}, QStringLiteral("launcher-token"), {}}));

    shortcuts.update(panelOpen);
    EXPECT_EQ(shortcuts.runCommand(ShortcutAction::move, QStringLiteral("another-token")), CommandRefusal::inputOpen);
    main.runAll();
    EXPECT_EQ(actions.size(), 3u);
}
