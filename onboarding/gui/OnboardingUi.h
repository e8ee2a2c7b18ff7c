#pragma once

#include "core/TrackedFileStore.h"

#include <QByteArray>

#include <functional>
#include <memory>

namespace dowsel {

class Executor;
class OnboardingFlow;
class OnboardingIsland;
class PermissionsManager;
class Preferences;
class Scheduler;
class ToastUi;

// The onboarding on screen: the flow, its island, and the practice hint's content in the
// toast host. The app creates it once, after the toast UI, on the main thread.
class OnboardingUi {
public:
    struct Services {
        ToastUi &toast;
        TrackedFileActor &store;
        PermissionsManager &permissions;
        Preferences &preferences;
        Scheduler &scheduler;
        Executor &mainExecutor;
        QByteArray downloadsPath;
        // Idempotent: the flow calls it when Downloads becomes readable.
        std::function<void(std::function<void()>)> onStartCoreServices;
        std::function<void()> onCompleted;
        // The settings page, for the hint's "Change the time in Settings".
        std::function<void()> onOpenAppSettings;
    };

    explicit OnboardingUi(Services services);
    ~OnboardingUi();
    OnboardingUi(const OnboardingUi &) = delete;
    OnboardingUi &operator=(const OnboardingUi &) = delete;

    // First launch, or Downloads no longer readable.
    void start();
    // "Replay Onboarding" in the settings.
    void replay();
    // "Drop a practice file" in the settings.
    void dropPracticeFile();

    OnboardingFlow &flow() { return *m_flow; }

private:
    Services m_services;
    std::unique_ptr<OnboardingFlow> m_flow;
    std::unique_ptr<OnboardingIsland> m_island;
};

} // namespace dowsel
