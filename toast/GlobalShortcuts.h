#pragma once

#include "platform/KeyGrabber.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

namespace dowsel {

class Executor;

// What a global shortcut asks the toast controller to do.
enum class ShortcutAction {
    customTime,
    share,
    copy,
    markTemporary,
    open,
    move,
    more,
    deleteNow,
    trashCopies,
    dismiss,
    onboardingPrimary,
};

// The controller's state as far as the shortcuts care.
struct ShortcutContext {
    bool isOnboardingActive = false;
    // A toast is up: its state is visible, its panel on screen and it covers at least one file.
    bool isToastShown = false;
    // The move input, the time input, the More menu or the share menu is open and has the keyboard.
    bool isSecondarySurfaceOpen = false;

    friend bool operator==(const ShortcutContext &, const ShortcutContext &) = default;
};

// The action a key combination stands for in `context`, or nothing when the key must reach
// the focused application untouched.
std::optional<ShortcutAction> shortcutAction(KeyCombination combination, const ShortcutContext &context);

// Every combination the toast answers, in the order they are tested.
const std::vector<KeyCombination> &toastShortcuts();

// The combinations to hold in `context`: none while no toast is up or while a panel has the
// keyboard, so that nothing is taken from the user without a reason.
std::vector<KeyCombination> combinationsToGrab(const ShortcutContext &context);

// Why a toast command from outside Dowsel (`dowsel toast keep`, bound to a key in the
// desktop's settings where the keys cannot be grabbed) cannot run in `context`.
enum class CommandRefusal { noToast, inputOpen, onboarding, noCopy };
// Nothing when it can run: the same moments the toast's shortcuts count.
std::optional<CommandRefusal> commandRefusal(const ShortcutContext &context);

// "Super+Shift+T", for the settings page.
QString shortcutText(KeyCombination combination);

// Turns grabbed key presses into toast actions. Keys are grabbed only while they count, so
// they are swallowed by the grab itself; the action always runs later on the main executor,
// never inside the key handler.
class GlobalShortcuts {
public:
    GlobalShortcuts(KeyGrabber &grabber, Executor &mainExecutor);
    ~GlobalShortcuts();
    GlobalShortcuts(const GlobalShortcuts &) = delete;
    GlobalShortcuts &operator=(const GlobalShortcuts &) = delete;

    // Connects to the key hook and checks, by grabbing every combination once, which ones
    // another program holds. Returns true when the shortcuts can work. Safe to call again.
    bool installEventTap();
    bool isInstalled() const { return m_installed; }

    // Call after every change of the toast's state; grabs or releases keys as needed.
    void update(const ShortcutContext &context);

    // A surface of the toast is about to ask for the keyboard: every grab goes at once,
    // including the one a shortcut still held down keeps active.
    void releaseKeyboard();
    // Runs `action` as its key would, later on the main executor, when the toast answers
    // keys now; otherwise says why not and does nothing. `activationToken` goes with it.
    std::optional<CommandRefusal> runCommand(ShortcutAction action, const QString &activationToken = {});
    const ShortcutContext &context() const { return m_context; }

    // Combinations that another program holds, as "Super+Shift+T"; they stay with that program.
    // Checked at start and again each time the toast takes its shortcuts.
    QStringList blockedShortcuts() const;
    // After the blocked list changed.
    std::function<void()> onBlockedChanged;

    // `activationToken`: what the desktop handed over with the key or the command, for a
    // panel that opens in answer to take the focus; empty when there is none.
    std::function<void(ShortcutAction, const QString &activationToken)> onAction;
    std::function<void(bool isHeld)> onOptionHeldChanged;

private:
    void applyGrabs();
    void handlePress(KeyCombination combination, const QString &activationToken);
    void handleAlt(bool isDown);

    KeyGrabber &m_grabber;
    Executor &m_main;
    bool m_installed = false;
    ShortcutContext m_context;
    std::vector<KeyCombination> m_grabbed;
    std::vector<KeyCombination> m_blocked;
};

} // namespace dowsel
