#pragma once

#include "core/TrackedFileStore.h"
#include "platform/Clipboard.h"
#include "platform/FocusTracker.h"
#include "platform/KeyGrabber.h"
#include "platform/Workspace.h"
#include "toast/GlobalShortcuts.h"
#include "toast/ToastController.h"
#include "toast/gui/QtToastHost.h"

#include <functional>
#include <memory>

namespace dowsel {

class CleanupService;
class Executor;
class FileMover;
class FolderIndex;
class MoveMRU;
class SiteDestinations;
class DuplicateCheck;
class Preferences;
class ProcessLauncher;
class SwayFocusWatcher;
class ThumbnailCache;

// The app's services that the toast works with. All of them outlive the toast UI.
struct ToastUiServices {
    TrackedFileActor &store;
    CleanupService &cleanupService;
    const Preferences &preferences;
    const Clock &clock;
    Scheduler &scheduler;
    Executor &mainExecutor;
    ProcessLauncher &launcher;
    FileMover &mover;
    FolderIndex &folderIndex;
    MoveMRU &moveMRU;
    ThumbnailCache &thumbnails;
    std::function<std::vector<ShareTarget>()> shareTargets = [] { return availableShareTargets(); };
    SiteDestinations *siteDestinations = nullptr;
    DuplicateCheck *duplicates = nullptr;
};

// The desktop the toast acts on.
struct ToastDesktop {
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Clipboard> clipboard;
    std::unique_ptr<KeyGrabber> keyGrabber;
    // Null: the X11 focus tracker, handing the keyboard to the host's input panels.
    std::unique_ptr<FocusTracker> focus;
};

// The desktop's file manager, clipboard and key hook: X11 grabs, or on a Wayland session the
// desktop's GlobalShortcuts portal.
ToastDesktop linuxToastDesktop();

// The whole toast: the controller, its panels and views, and the global shortcuts wired to
// it. Main thread only; create it once the QApplication exists.
class ToastUi {
public:
    ToastUi(const ToastUiServices &services, ToastDesktop desktop);
    ~ToastUi();
    ToastUi(const ToastUi &) = delete;
    ToastUi &operator=(const ToastUi &) = delete;

    // The file processor's new files go to controller().handleNewFile; onboarding and the
    // settings use the rest of it.
    ToastController &controller() { return *m_controller; }
    QtToastHost &host() { return m_host; }
    // installEventTap() again after a change of permissions; blockedShortcuts() for the settings.
    GlobalShortcuts &shortcuts() { return m_shortcuts; }
    // The keys reach Dowsel whatever window has the focus (the desktop's portal bound them).
    bool shortcutsDesktopWide() const { return m_keyGrabber->isDesktopWide() && m_keyGrabber->isAvailable(); }
    const KeyGrabber &keyGrabber() const { return *m_keyGrabber; }
    // The key hook became available (or not) after the start: the permissions read again.
    std::function<void()> onShortcutsAvailabilityChanged;
    Workspace &workspace() { return *m_workspace; }

    // A toast command from outside Dowsel: runs `action` (with `duration`, a keep for that
    // long) as its key would, queued on the main executor, or says why it cannot now. The
    // input or menu it opens takes the focus with `activationToken`, the one the desktop
    // handed to the command.
    std::optional<CommandRefusal> runCommand(ShortcutAction action, std::optional<Seconds> duration = std::nullopt,
                                             const QString &activationToken = {});

    // Shift+Return during onboarding.
    std::function<void()> onOnboardingPrimary;

private:
    void runShortcut(ShortcutAction action, const QString &activationToken);

    Executor &m_main;
    void updateShortcuts();

    std::unique_ptr<Workspace> m_workspace;
    std::unique_ptr<Clipboard> m_clipboard;
    std::unique_ptr<KeyGrabber> m_keyGrabber;
    QtToastHost m_host;
    std::unique_ptr<FocusTracker> m_focus;
    std::unique_ptr<ToastController> m_controller;
    GlobalShortcuts m_shortcuts;
    std::unique_ptr<SwayFocusWatcher> m_swayFocus;
};

// The toast UI on the Linux desktop: the entry point for the app.
std::unique_ptr<ToastUi> createToastUi(const ToastUiServices &services);

} // namespace dowsel
