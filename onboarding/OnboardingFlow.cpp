#include "onboarding/OnboardingFlow.h"

#include "app/PermissionsManager.h"
#include "core/Logging.h"
#include "platform/Preferences.h"
#include "toast/ToastController.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace dowsel {

namespace {

bool isMissing(const QByteArray &path)
{
    struct stat st { };
    return ::stat(path.constData(), &st) != 0 && errno == ENOENT;
}

QString stepName(OnboardingStep step)
{
    switch (step) {
    case OnboardingStep::welcome:
        return QStringLiteral("welcome");
    case OnboardingStep::downloads:
        return QStringLiteral("downloads");
    case OnboardingStep::accessibility:
        return QStringLiteral("accessibility");
    case OnboardingStep::tryIt:
        return QStringLiteral("tryIt");
    }
    return {};
}

} // namespace

OnboardingFlow::OnboardingFlow(Services services, QObject *parent)
    : QObject(parent),
      m_services(std::move(services)),
      m_demo({m_services.controller, m_services.store, m_services.scheduler, m_services.mainExecutor,
          m_services.downloadsPath}),
      m_appear(m_services.scheduler, m_services.mainExecutor)
{
    m_state.downloadsFolder = displayText(m_services.downloadsPath);
    m_appear.onChanged = [this] { Q_EMIT changed(); };
    m_demo.onFirstRunConcluded = [this] { completeOnboarding(); };
    m_demo.onAborted = [this](bool isFirstRun) { demoAborted(isFirstRun); };
    // The portal may answer while the shortcuts step shows: its texts follow.
    connect(&m_services.permissions, &PermissionsManager::changed, this, [this] {
        if (m_isActive)
            Q_EMIT changed();
    });
}

OnboardingFlow::~OnboardingFlow()
{
    cancelPoll();
}

OnboardingState OnboardingFlow::shownState() const
{
    OnboardingState state = m_state;
    state.shortcutRoute = m_services.permissions.shortcutsGrant().route;
    const auto portal = m_services.permissions.portalStatus();
    state.portalAnswer = portal ? portal->answer : PortalAnswer::missing;
    return state;
}

OnboardingContent OnboardingFlow::content() const
{
    OnboardingContent content = onboardingContent(shownState());
    if (content.openSettings && m_state.step == OnboardingStep::accessibility
        && !m_services.permissions.canOpenSystemSettings(PermissionsManager::Permission::shortcuts))
        content.openSettings.reset();
    return content;
}

void OnboardingFlow::start()
{
    if (m_isActive)
        return;
    qCDebug(lcOnboarding).noquote() << "startOnboarding";
    m_services.controller.startOnboarding();
    m_isActive = true;
    m_state.step = OnboardingStep::welcome;
    setStatus(OnboardingPermissionStatus::idle);
    showIsland();
}

void OnboardingFlow::showIsland()
{
    m_isVisible = true;
    m_appear.restart(onboardingAppearItems);
    Q_EMIT changed();
}

void OnboardingFlow::primary()
{
    if (!m_isActive)
        return;
    const OnboardingPermissionStatus status = m_state.status;
    const bool mayAsk = status == OnboardingPermissionStatus::idle || status == OnboardingPermissionStatus::denied;
    switch (m_state.step) {
    case OnboardingStep::welcome:
        setStep(OnboardingStep::downloads);
        break;
    case OnboardingStep::downloads:
        if (m_state.problem == OnboardingProblem::downloadsMissing)
            createDownloadsFolder();
        else if (mayAsk)
            requestDownloadsAccess();
        break;
    case OnboardingStep::accessibility:
        if (m_services.permissions.shortcutsGrant().route == ShortcutRoute::commands)
            confirmCommands();
        else if (mayAsk)
            requestAccessibility();
        break;
    case OnboardingStep::tryIt:
        startActionDemo(true);
        break;
    }
}

void OnboardingFlow::secondary()
{
    if (!m_isActive)
        return;
    if (m_state.step == OnboardingStep::accessibility)
        setStep(OnboardingStep::tryIt);
    else if (m_state.step == OnboardingStep::tryIt && m_state.status == OnboardingPermissionStatus::denied)
        completeOnboarding();
}

void OnboardingFlow::setStep(OnboardingStep step)
{
    cancelPoll();
    qCDebug(lcOnboarding).noquote() << "setOnboardingStep: " + stepName(step);
    m_state.step = step;
    setStatus(OnboardingPermissionStatus::idle);
    if (m_isVisible)
        m_appear.restart(onboardingAppearItems);
}

void OnboardingFlow::setStatus(OnboardingPermissionStatus status, OnboardingProblem problem)
{
    m_state.status = status;
    m_state.problem = problem;
    if (problem != OnboardingProblem::shortcutsBlocked)
        m_state.blockedShortcuts.clear();
    Q_EMIT changed();
}

// MARK: Downloads

void OnboardingFlow::requestDownloadsAccess()
{
    setStatus(OnboardingPermissionStatus::requesting);
    after(firstDownloadsCheckDelay, [this] { pollDownloads(); });
}

void OnboardingFlow::pollDownloads()
{
    if (m_services.permissions.checkDownloadsAccess()) {
        m_services.permissions.refresh();
        // Started here rather than at completion, so that the practice file gets a real toast.
        startCoreServices();
        return;
    }
    const OnboardingProblem problem = isMissing(m_services.downloadsPath) ? OnboardingProblem::downloadsMissing
                                                                          : OnboardingProblem::downloadsUnreadable;
    if (m_state.status != OnboardingPermissionStatus::denied || m_state.problem != problem)
        setStatus(OnboardingPermissionStatus::denied, problem);
    after(pollInterval, [this] { pollDownloads(); });
}

void OnboardingFlow::createDownloadsFolder()
{
    const QByteArray &path = m_services.downloadsPath;
    if (::mkdir(path.constData(), 0755) != 0 && errno != EEXIST) {
        printFailure(QStringLiteral("Failed to create folder ") + displayText(path) + QStringLiteral(": ")
            + QString::fromLocal8Bit(std::strerror(errno)));
    }
    if (m_state.step == OnboardingStep::downloads && m_state.status == OnboardingPermissionStatus::denied)
        pollDownloads();
}

void OnboardingFlow::startCoreServices()
{
    cancelPoll();
    if (m_state.status == OnboardingPermissionStatus::denied)
        setStatus(OnboardingPermissionStatus::requesting);
    // "Granted" only once the folder is really watched.
    const auto granted = [this, alive = std::weak_ptr<int>(m_lifetime)] {
        if (alive.expired() || !m_isActive || m_state.step != OnboardingStep::downloads
            || m_state.status == OnboardingPermissionStatus::granted)
            return;
        setStatus(OnboardingPermissionStatus::granted);
        after(downloadsGrantedPause, [this] { setStep(OnboardingStep::accessibility); });
    };
    qCDebug(lcOnboarding).noquote() << "onboarding: Downloads readable, starting core services";
    if (m_services.onStartCoreServices)
        m_services.onStartCoreServices(granted);
    else
        granted();
}

// MARK: Shortcuts

void OnboardingFlow::requestAccessibility()
{
    setStatus(OnboardingPermissionStatus::requesting);
    checkShortcutsNow();
}

void OnboardingFlow::confirmCommands()
{
    if (m_state.status == OnboardingPermissionStatus::granted)
        return;
    cancelPoll();
    m_services.permissions.setCommandsConfirmed(true);
    setStatus(OnboardingPermissionStatus::granted);
    after(shortcutsGrantedPause, [this] { setStep(OnboardingStep::tryIt); });
}

void OnboardingFlow::checkShortcutsNow()
{
    const ShortcutsGrant grant = m_services.permissions.shortcutsGrant();
    if (grant.route == ShortcutRoute::commands) {
        // Nothing to check: the list of commands is shown, and the user says when they are bound.
        cancelPoll();
        setStatus(OnboardingPermissionStatus::idle);
        return;
    }
    if (grant.route == ShortcutRoute::portal) {
        m_services.permissions.refresh();
        if (grant.granted) {
            setStatus(OnboardingPermissionStatus::granted);
            after(shortcutsGrantedPause, [this] { setStep(OnboardingStep::tryIt); });
            return;
        }
        // Waiting for the portal's answer.
        after(pollInterval, [this] { checkShortcutsNow(); });
        return;
    }
    const ShortcutCheck check = m_services.checkShortcuts ? m_services.checkShortcuts() : ShortcutCheck{};
    if (check.isAvailable && check.blocked.isEmpty()) {
        m_services.permissions.refresh();
        setStatus(OnboardingPermissionStatus::granted);
        after(shortcutsGrantedPause, [this] { setStep(OnboardingStep::tryIt); });
        return;
    }
    if (!check.isAvailable) {
        // Nothing will change while Dowsel runs: no poll, the user skips.
        cancelPoll();
        setStatus(OnboardingPermissionStatus::denied, OnboardingProblem::shortcutsUnavailable);
        return;
    }
    if (m_state.status != OnboardingPermissionStatus::denied || m_state.blockedShortcuts != check.blocked) {
        m_state.blockedShortcuts = check.blocked;
        setStatus(OnboardingPermissionStatus::denied, OnboardingProblem::shortcutsBlocked);
    }
    after(pollInterval, [this] { checkShortcutsNow(); });
}

void OnboardingFlow::openSettings()
{
    if (m_state.step == OnboardingStep::downloads)
        m_services.permissions.openSystemSettings(PermissionsManager::Permission::downloads);
    else if (m_state.step == OnboardingStep::accessibility)
        m_services.permissions.openSystemSettings(PermissionsManager::Permission::shortcuts);
}

// MARK: Practice and completion

void OnboardingFlow::startActionDemo(bool isFirstRun)
{
    if (m_demo.isRunning())
        return;
    cancelPoll();
    const bool islandWasShown = m_isVisible;
    m_isActive = false;
    m_isVisible = false;
    m_appear.reset();
    Q_EMIT changed();
    m_demo.start(isFirstRun, islandWasShown ? islandExitDuration : 0);
}

void OnboardingFlow::demoAborted(bool isFirstRun)
{
    if (!isFirstRun)
        return;
    // Back to the last step, saying what went wrong; the user may try again or skip.
    m_services.controller.startOnboarding();
    m_isActive = true;
    m_state.step = OnboardingStep::tryIt;
    setStatus(OnboardingPermissionStatus::denied, OnboardingProblem::practiceNotShown);
    showIsland();
}

void OnboardingFlow::completeOnboarding()
{
    cancelPoll();
    // The concluded hint stays until the user closes it; any other hint goes with the flow.
    if (m_services.controller.demoPhase() != HintPhase::concluded)
        m_services.controller.closeHint();
    m_isActive = false;
    m_services.controller.setOnboardingActive(false);
    m_services.preferences.setValue(prefkeys::hasCompletedOnboarding, true);
    m_isVisible = false;
    m_appear.reset();
    m_services.permissions.refresh();
    qCDebug(lcOnboarding).noquote() << "completeOnboarding";
    if (m_services.onCompleted)
        m_services.onCompleted();
    Q_EMIT changed();
}

// MARK: Timers

void OnboardingFlow::after(Seconds delay, std::function<void()> next)
{
    cancelPoll();
    m_poll = m_services.scheduler.scheduleAfter(
        delay, m_services.mainExecutor, [this, alive = std::weak_ptr<int>(m_lifetime), next = std::move(next)] {
            if (alive.expired())
                return;
            m_poll = Scheduler::invalidTimer;
            next();
        });
}

void OnboardingFlow::cancelPoll()
{
    m_services.scheduler.cancel(m_poll);
    m_poll = Scheduler::invalidTimer;
}

} // namespace dowsel
