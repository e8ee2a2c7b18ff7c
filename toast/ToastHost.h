#pragma once

#include "platform/Time.h"
#include "toast/ShareTargets.h"
#include "toast/ToastEntry.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace dowsel {

// Everything the island view draws, rebuilt whole on every refresh.
struct ToastViewInput {
    std::vector<ToastFileItem> files;
    Date countdownDeadline = 0;
    Seconds countdownDuration = 0;
    std::optional<double> pausedProgress; // 0...1 while paused; 0 once the deadline has passed
    double topInset = 0;
    bool hasNotch = false;
    DynamicIslandToastState state = DynamicIslandToastState::hidden;
    bool isOptionHeld = false;
    // The badges show their key combinations only where the keys reach Dowsel.
    bool showsKeys = true;
};

// The screen a toast is placed on, as far as the controller cares.
struct ToastScreen {
    double topBandHeight = 0; // the panel or menu-bar strip at the top
    bool hasNotch = false;    // always false on Linux screens
};

enum class HintPhase { running, countdownEnded, concluded };

// The floating panel that carries the island. A new one is made for every toast; the
// controller's delayed steps compare panels by identity.
class ToastPanel {
public:
    virtual ~ToastPanel() = default;
    virtual bool isOnScreen() const = 0;
    // Orders the panel in, fading it in over 0.15 s when asked.
    virtual void orderIn(bool fadeIn) = 0;
    virtual void fadeOut(Seconds duration) = 0;
    // Orders the panel out and sets its opacity back to full.
    virtual void orderOut() = 0;
    virtual void render(const ToastViewInput &input) = 0;
};

// The secondary surfaces that open under the toast and take the keyboard.
enum class ToastSurface { moveInput, timeInput, moreMenu };

// The on-screen side of the toast, implemented with Qt widgets. The controller decides what
// is shown and when; the host only creates, places and removes panels.
class ToastHost {
public:
    using ShareChoice = std::function<void(std::optional<ShareTarget>)>;
    using FolderChoice = std::function<void(std::optional<QByteArray>)>;

    virtual ~ToastHost() = default;

    virtual std::shared_ptr<ToastPanel> createToastPanel() = 0;
    // Puts the panel on the screen of the active window (else the one under the pointer,
    // else the primary one) and returns that screen; nothing, and the panel stays, without
    // any screen.
    virtual std::optional<ToastScreen> placeToastPanel(ToastPanel &panel) = 0;

    // A new panel for the surface, placed under the toast, made key and front. Its view is
    // bound to the controller's model for that surface.
    virtual void openSurface(ToastSurface surface) = 0;
    // Fades the surface's panel out and orders it out.
    virtual void closeSurface(ToastSurface surface) = 0;

    // The invisible share anchor just under the island; false when no position can be found.
    virtual bool placeShareAnchor() = 0;
    // Shows the share menu at the anchor; `onChoose` gets the target, or nothing when the
    // menu closes without a choice. Not called again after closeSharePicker.
    virtual void showSharePicker(const std::vector<ShareTarget> &targets, ShareChoice onChoose) = 0;
    // Drops the menu and orders the anchor out.
    virtual void closeSharePicker() = 0;

    // The folder chooser: directories only, one selection, new folders allowed, starting in
    // the home folder, prompt "Move Here", message "Choose a destination folder".
    virtual void chooseFolder(FolderChoice onChoose) = 0;

    // Tells the user something went wrong after their action (a desktop notification, or
    // where there is none, a line on the island's screen). `text` is already translated.
    virtual void showNotice(const QString &title, const QString &text) = 0;

    // The practice hint under the toast during the action demo.
    virtual void showHint(HintPhase phase) = 0;
    virtual void hideHint() = 0;
};

} // namespace dowsel
