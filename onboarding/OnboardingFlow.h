#pragma once

#include "core/TrackedFileStore.h"
#include "onboarding/ActionDemo.h"
#include "onboarding/OnboardingContent.h"
#include "onboarding/StaggeredAppear.h"
#include "platform/Time.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

namespace dowsel {

class Executor;
class PermissionsManager;
class Preferences;
class ToastController;

// The outcome of a trial grab of every global shortcut.
struct ShortcutCheck {
    bool isAvailable = false; // keys can be grabbed on this desktop at all
    QStringList blocked; // combinations another program holds, as "Super+Shift+T"
};

// The first-run walk-through in the island: welcome, Downloads access, the shortcuts and a
// rehearsal on the practice file. Main thread only; its waits and polls are timers on the
// scheduler, cancelled on every step change and on completion.
class OnboardingFlow final : public QObject {
    Q_OBJECT
public:
    struct Services {
        ToastController &controller;
        TrackedFileActor &store;
        PermissionsManager &permissions;
        Preferences &preferences;
        Scheduler &scheduler;
        Executor &mainExecutor;
        QByteArray downloadsPath;
        // Tries the global key grabs; empty when this build has no key hook.
        std::function<ShortcutCheck()> checkShortcuts;
        // Starts the core services (once per process) and runs its argument when they are
        // up, also when they were already running.
        std::function<void(std::function<void()>)> onStartCoreServices;
        // After the flow has completed and the preference says so.
        std::function<void()> onCompleted;
    };

    static constexpr Seconds firstDownloadsCheckDelay = 1.0;
    static constexpr Seconds pollInterval = 0.5;
    static constexpr Seconds downloadsGrantedPause = 0.7;
    static constexpr Seconds shortcutsGrantedPause = 0.9;
    static constexpr Seconds islandExitDuration = 0.38;

    explicit OnboardingFlow(Services services, QObject *parent = nullptr);
    ~OnboardingFlow() override;

    // Shows the welcome step, unless the flow is already running.
    void start();
    // The step's main button, also Shift+Enter.
    void primary();
    // "Skip for now": past the shortcuts step, or out of a failed rehearsal.
    void secondary();
    void setStep(OnboardingStep step);
    void requestDownloadsAccess();
    // Makes the missing Downloads folder (one mkdir, nothing else touched) and checks again.
    void createDownloadsFolder();
    void requestAccessibility();
    // "I've Bound Them" where the `dowsel toast` commands stand in for the shortcuts.
    void confirmCommands();
    void completeOnboarding();
    // The desktop's own place for the current step's permission.
    void openSettings();
    // The practice file and its toast; `isFirstRun` hands the end back to this flow.
    void startActionDemo(bool isFirstRun);

    bool isActive() const { return m_isActive; }
    bool isVisible() const { return m_isVisible; }
    bool isPolling() const { return m_poll != Scheduler::invalidTimer; }
    const OnboardingState &state() const { return m_state; }
    // What the island shows; without keyboard settings to open, the shortcuts step offers none.
    OnboardingContent content() const;
    const StaggeredAppear &appear() const { return m_appear; }
    const ActionDemo &actionDemo() const { return m_demo; }

Q_SIGNALS:
    // After every change of the step, the status, the visibility or an item's appearance.
    void changed();

private:
    void setStatus(OnboardingPermissionStatus status, OnboardingProblem problem = OnboardingProblem::none);
    // The state with what the permissions say about the shortcuts' route.
    OnboardingState shownState() const;
    void pollDownloads();
    void checkShortcutsNow();
    void startCoreServices();
    // The one pending wait of the flow: a poll or the pause after a grant.
    void after(Seconds delay, std::function<void()> next);
    void cancelPoll();
    void showIsland();
    void demoAborted(bool isFirstRun);

    Services m_services;
    ActionDemo m_demo;
    StaggeredAppear m_appear;
    OnboardingState m_state;
    bool m_isActive = false;
    bool m_isVisible = false;
    Scheduler::TimerId m_poll = Scheduler::invalidTimer;
    std::shared_ptr<int> m_lifetime = std::make_shared<int>(0);
};

} // namespace dowsel
