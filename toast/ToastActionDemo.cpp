#include "toast/ToastController.h"

// The action demo of the onboarding: the practice file's toast, with a longer countdown, a
// hint under it, and other downloads recorded without a toast while it runs.

namespace dowsel {

void ToastController::startActionDemoToast(const QByteArray &practiceFilePath, bool isFirstRun,
                                           std::function<void()> onConcluded)
{
    collapseToast();
    setOnboardingActive(false);
    m_isActionDemoActive = true;
    m_actionDemoIsFirstRun = isFirstRun;
    m_actionDemoFilePath = practiceFilePath;
    m_actionDemoFileId.reset();
    m_demoMarkedTemporary = false;
    m_demoPhase = HintPhase::running;
    m_onActionDemoConcluded = std::move(onConcluded);
}

void ToastController::armActionDemoWatchdog(Seconds delay, std::function<void()> onExpired)
{
    m_services.scheduler.cancel(m_actionDemoSurfaceWatchdog);
    m_actionDemoSurfaceWatchdog = m_services.scheduler.scheduleAfter(
        delay, m_services.mainExecutor, whileAlive([this, onExpired = std::move(onExpired)] {
            m_actionDemoSurfaceWatchdog = Scheduler::invalidTimer;
            if (m_isActionDemoActive && !m_actionDemoFileId)
                onExpired();
        }));
}

void ToastController::abortActionDemo()
{
    resetActionDemo();
    closeHint();
}

void ToastController::closeHint()
{
    if (!m_hintVisible)
        return;
    m_hintVisible = false;
    m_services.host.hideHint();
}

void ToastController::resetActionDemo()
{
    m_services.scheduler.cancel(m_actionDemoSurfaceWatchdog);
    m_actionDemoSurfaceWatchdog = Scheduler::invalidTimer;
    m_isActionDemoActive = false;
    m_actionDemoIsFirstRun = false;
    m_actionDemoFileId.reset();
    m_actionDemoFilePath.clear();
    m_onActionDemoConcluded = nullptr;
}

void ToastController::concludeActionDemo()
{
    m_isActionDemoActive = false;
    m_services.scheduler.cancel(m_actionDemoSurfaceWatchdog);
    m_actionDemoSurfaceWatchdog = Scheduler::invalidTimer;
    m_actionDemoFileId.reset();
    m_actionDemoFilePath.clear();
    m_toastEntries.clear();
    m_demoPhase = HintPhase::concluded;
    if (m_hintVisible)
        m_services.host.showHint(m_demoPhase);
    if (m_actionDemoIsFirstRun && m_onActionDemoConcluded)
        m_services.mainExecutor.post(whileAlive(m_onActionDemoConcluded));
}

} // namespace dowsel
