#include "toast/ToastController.h"

#include "core/Logging.h"
#include "expiry/CleanupService.h"
#include "expiry/ExpirySettings.h"
#include "move/FolderIndex.h"
#include "move/FolderMatch.h"
#include "move/MoveMRU.h"
#include "platform/Clipboard.h"
#include "platform/ProcessLauncher.h"
#include "platform/Workspace.h"
#include "toast/FileMover.h"

#include <QDateTime>
#include <QStringList>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace dowsel {

namespace {

QString dateText(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(date * 1000)).toString(Qt::ISODate);
}

// Creates `path` and its missing parents; returns the error, or an empty text.
QString makeFolderPath(const QByteArray &path)
{
    for (qsizetype slash = path.indexOf('/', 1);; slash = path.indexOf('/', slash + 1)) {
        const QByteArray prefix = slash < 0 ? path : path.left(slash);
        struct stat st;
        if (::mkdir(prefix.constData(), 0777) != 0 && errno != EEXIST)
            return QString::fromLocal8Bit(std::strerror(errno));
        if (::stat(prefix.constData(), &st) != 0 || !S_ISDIR(st.st_mode))
            return QString::fromLocal8Bit(std::strerror(ENOTDIR));
        if (slash < 0)
            return {};
    }
}

} // namespace

struct ToastController::NewFileInfo {
    std::optional<TrackedFileStore::FileInfo> file;
    std::optional<Date> inheritedExpiry;
};

template <class F>
auto ToastController::whileAlive(F work)
{
    return [alive = std::weak_ptr<int>(m_lifetime), work = std::move(work)](auto &&...args) mutable {
        if (!alive.expired())
            work(std::forward<decltype(args)>(args)...);
    };
}

ToastController::ToastController(Services services, QObject *parent)
    : QObject(parent), m_services(std::move(services)), m_moveInputModel(m_services.folderIndex.homePath())
{
    // Runs on the mover's background worker: only hand the figures to the main thread.
    const std::weak_ptr<int> alive = m_lifetime;
    m_services.mover.setProgressObserver([this, alive, &main = m_services.mainExecutor](
                                             const QByteArray &source, std::int64_t copied, std::int64_t total) {
        if (total >= 2 * progressStep && (copied % progressStep == 0 || copied == total)) {
            main.post([this, alive, name = displayText(fileNameOf(source)), copied, total] {
                if (!alive.expired())
                    Q_EMIT moveProgress(name, copied, total);
            });
        }
        return true;
    });
}

ToastController::~ToastController()
{
    m_services.scheduler.cancel(m_countdownTask);
    m_services.scheduler.cancel(m_showTask);
    m_services.scheduler.cancel(m_actionDemoSurfaceWatchdog);
}

// MARK: New files

void ToastController::handleNewFile(RecordId id)
{
    if (m_isOnboardingActive) {
        m_services.store.send([id](TrackedFileStore &store) { store.markDismissed(id); });
        return;
    }
    if (m_isActionDemoActive) {
        m_services.scheduler.cancel(m_actionDemoSurfaceWatchdog);
        m_actionDemoSurfaceWatchdog = Scheduler::invalidTimer;
    }
    const bool inheritExpiry = !m_isActionDemoActive && autoZipApplyEnabled(m_services.preferences);
    m_services.store.call(
        [id, inheritExpiry](TrackedFileStore &store) {
            NewFileInfo info{store.fileInfo(id), std::nullopt};
            if (info.file && inheritExpiry)
                info.inheritedExpiry = store.inheritArchiveExpiry(id);
            return info;
        },
        m_services.mainExecutor, whileAlive([this, id](const NewFileInfo &info) { continueNewFile(id, info); }));
}

void ToastController::continueNewFile(RecordId id, const NewFileInfo &info)
{
    if (!info.file)
        return;
    if (m_isActionDemoActive) {
        if (info.file->filePath != m_actionDemoFilePath) {
            m_services.store.send([id](TrackedFileStore &store) { store.markDismissed(id); });
            return;
        }
        m_actionDemoFileId = id;
    } else if (info.inheritedExpiry) {
        m_services.cleanupService.schedule(id, *info.inheritedExpiry);
        qCDebug(lcToast).noquote() << "handleNewFile: " + displayText(info.file->fileName)
                                          + " inherited archive expiry " + dateText(*info.inheritedExpiry)
                                          + ", skipping toast";
        return;
    }
    m_toastEntries.push_back({id, info.file->fileName, info.file->filePath, info.file->fileSize});
    m_activeCountdownSeconds = m_isActionDemoActive ? demoCountdownSeconds : countdownTotal;
    m_secondsRemaining = m_activeCountdownSeconds;
    m_countdownDeadline = m_services.clock.now() + m_activeCountdownSeconds;
    m_pausedRemaining.reset();
    startCountdown();
    showToast();
    refreshToast();
    if (m_isActionDemoActive) {
        m_hintVisible = true;
        m_services.host.showHint(m_demoPhase);
    }
}

// MARK: Countdown

void ToastController::startCountdown()
{
    m_services.scheduler.cancel(m_countdownTask);
    m_countdownTask = Scheduler::invalidTimer;
    if (m_secondsRemaining < 1) {
        endCountdown();
        return;
    }
    m_countdownTask =
        m_services.scheduler.scheduleAfter(tickInterval, m_services.mainExecutor, whileAlive([this] { tick(); }));
}

void ToastController::tick()
{
    m_countdownTask = Scheduler::invalidTimer;
    --m_secondsRemaining;
    if (m_secondsRemaining < 1) {
        endCountdown();
        return;
    }
    refreshToast();
    m_countdownTask =
        m_services.scheduler.scheduleAfter(tickInterval, m_services.mainExecutor, whileAlive([this] { tick(); }));
}

void ToastController::endCountdown()
{
    if (m_isActionDemoActive) {
        // The practice toast stays until the user acts on it.
        m_demoPhase = HintPhase::countdownEnded;
        refreshToast();
        if (m_hintVisible)
            m_services.host.showHint(m_demoPhase);
        return;
    }
    dismissAll();
}

void ToastController::hoverChanged(bool isHovering)
{
    if (m_state == DynamicIslandToastState::hidden)
        return;
    if (isHovering) {
        if (m_pausedRemaining)
            return;
        const Seconds remaining = m_countdownDeadline - m_services.clock.now();
        if (remaining <= 0) {
            endCountdown();
            return;
        }
        m_pausedRemaining = remaining;
        m_services.scheduler.cancel(m_countdownTask);
        m_countdownTask = Scheduler::invalidTimer;
    } else {
        if (!m_pausedRemaining)
            return;
        const Seconds remaining = *m_pausedRemaining;
        m_pausedRemaining.reset();
        if (remaining <= 0) {
            endCountdown();
            return;
        }
        m_countdownDeadline = m_services.clock.now() + remaining;
        m_secondsRemaining = int(remaining);
        startCountdown();
    }
    refreshToast();
}

std::optional<double> ToastController::pausedProgress() const
{
    if (!m_pausedRemaining) {
        if (m_countdownDeadline > m_services.clock.now())
            return std::nullopt;
        return 0.0;
    }
    if (m_activeCountdownSeconds < 1)
        return 0.0;
    return std::clamp(*m_pausedRemaining / m_activeCountdownSeconds, 0.0, 1.0);
}

// MARK: Showing and hiding

void ToastController::showToast()
{
    if (m_panel && m_panel->isOnScreen()) {
        if (auto screen = m_services.host.placeToastPanel(*m_panel))
            m_currentScreen = screen;
        return;
    }
    if (m_panel)
        m_panel->orderOut();
    m_panel = m_services.host.createToastPanel();
    m_state = DynamicIslandToastState::hidden;
    if (auto screen = m_services.host.placeToastPanel(*m_panel))
        m_currentScreen = screen;
    refreshToast();
    m_panel->orderIn(!(m_currentScreen && m_currentScreen->hasNotch));
    m_services.scheduler.cancel(m_showTask);
    m_showTask = m_services.scheduler.scheduleAfter(
        showDelay, m_services.mainExecutor, whileAlive([this, shown = std::weak_ptr<ToastPanel>(m_panel)] {
            m_showTask = Scheduler::invalidTimer;
            if (m_state != DynamicIslandToastState::hidden || shown.lock() != m_panel)
                return;
            m_state = DynamicIslandToastState::visible;
            refreshToast();
        }));
}

// Stops the show step and the countdown, closes the inputs and marks the toast hidden. A
// hide within the show delay must not be undone by the pending show step.
void ToastController::stopToast()
{
    m_services.scheduler.cancel(m_showTask);
    m_showTask = Scheduler::invalidTimer;
    m_services.scheduler.cancel(m_countdownTask);
    m_countdownTask = Scheduler::invalidTimer;
    m_pausedRemaining.reset();
    closeSurfaceFlags();
    m_isOptionHeld = false;
    m_state = DynamicIslandToastState::hidden;
}

void ToastController::hideToast()
{
    stopToast();
    refreshToast();
    if (m_isActionDemoActive)
        concludeActionDemo();

    const std::weak_ptr<ToastPanel> hidden = m_panel;
    const auto isStillHidden = [this, hidden] {
        return m_state == DynamicIslandToastState::hidden && m_panel && hidden.lock() == m_panel;
    };
    m_services.scheduler.scheduleAfter(hideDelay, m_services.mainExecutor, whileAlive([this, isStillHidden] {
        if (!isStillHidden())
            return;
        m_panel->fadeOut(fadeOutDuration);
        m_services.scheduler.scheduleAfter(closeDelay, m_services.mainExecutor, whileAlive([this, isStillHidden] {
            if (!isStillHidden())
                return;
            m_panel->orderOut();
            m_toastEntries.clear();
            m_currentScreen.reset();
            refreshToast();
        }));
    }));
}

// Unlike hideToast, the files are neither answered nor kept: the panel goes at once.
void ToastController::collapseToast()
{
    stopToast();
    m_toastEntries.clear();
    if (m_panel) {
        m_panel->orderOut();
        m_panel.reset();
    }
    m_currentScreen.reset();
    refreshToast();
}

void ToastController::startOnboarding()
{
    if (m_isOnboardingActive)
        return;
    m_isOnboardingActive = true;
    collapseToast();
    resetActionDemo();
    closeHint();
}

void ToastController::closeSurfaceFlags()
{
    const std::pair<bool *, ToastSurface> inputs[] = {{&m_isMoveInputVisible, ToastSurface::moveInput},
                                                      {&m_isTimeInputVisible, ToastSurface::timeInput},
                                                      {&m_isMoreVisible, ToastSurface::moreMenu}};
    for (const auto &[flag, surface] : inputs) {
        if (*flag) {
            *flag = false;
            m_services.host.closeSurface(surface);
        }
    }
    if (m_isSharePickerVisible) {
        m_isSharePickerVisible = false;
        m_sharePaths.clear();
        m_services.host.closeSharePicker();
    }
}

double ToastController::topInset() const
{
    if (!m_currentScreen)
        return topInsetFallback;
    return m_currentScreen->hasNotch ? m_currentScreen->topBandHeight
                                     : std::min(m_currentScreen->topBandHeight, topInsetCap);
}

ToastViewInput ToastController::viewInput() const
{
    return ToastViewInput{
        .files = makeToastFileItems(m_toastEntries),
        .countdownDeadline = m_countdownDeadline,
        .countdownDuration = Seconds(m_activeCountdownSeconds),
        .pausedProgress = pausedProgress(),
        .topInset = topInset(),
        .hasNotch = m_currentScreen && m_currentScreen->hasNotch,
        .state = m_state,
        .isOptionHeld = m_isOptionHeld,
    };
}

void ToastController::refreshToast()
{
    if (m_panel)
        m_panel->render(viewInput());
    Q_EMIT changed();
}

void ToastController::setOptionHeld(bool held)
{
    m_isOptionHeld = held;
    refreshToast();
}

void ToastController::setOnboardingActive(bool active)
{
    if (active == m_isOnboardingActive)
        return;
    m_isOnboardingActive = active;
    Q_EMIT changed();
}

bool ToastController::isAnySurfaceOpen() const
{
    return m_isMoveInputVisible || m_isTimeInputVisible || m_isMoreVisible || m_isSharePickerVisible;
}

// MARK: Covered files

std::vector<RecordId> ToastController::coveredIds() const
{
    std::vector<RecordId> ids;
    for (const ToastEntry &entry : m_toastEntries)
        ids.push_back(entry.id);
    return ids;
}

std::vector<QByteArray> ToastController::coveredPaths() const
{
    std::vector<QByteArray> paths;
    for (const ToastEntry &entry : m_toastEntries) {
        if (!entry.filePath.isEmpty())
            paths.push_back(entry.filePath);
    }
    return paths;
}

QString ToastController::coveredNames() const
{
    QStringList names;
    for (const ToastEntry &entry : m_toastEntries)
        names << QLatin1Char('"') + displayText(entry.fileName) + QLatin1Char('"');
    return QLatin1Char('[') + names.join(QStringLiteral(", ")) + QLatin1Char(']');
}

void ToastController::markTemporaryIds(const std::vector<RecordId> &ids, std::optional<Seconds> duration)
{
    m_services.store.call(
        [ids, duration](TrackedFileStore &store) {
            std::vector<std::pair<RecordId, Date>> expiries;
            for (const RecordId id : ids) {
                if (const auto expiresAt = store.markTemporary(id, duration))
                    expiries.emplace_back(id, *expiresAt);
            }
            return expiries;
        },
        m_services.mainExecutor,
        [&cleanup = m_services.cleanupService](const std::vector<std::pair<RecordId, Date>> &expiries) {
            for (const auto &[id, expiresAt] : expiries) {
                cleanup.schedule(id, expiresAt);
                qCDebug(lcToast).noquote() << "ToastController.markTemporary: scheduled cleanup for id="
                                                      + QString::number(id) + " at " + dateText(expiresAt);
            }
        });
}

void ToastController::markDismissedIds(const std::vector<RecordId> &ids)
{
    m_services.store.send([ids](TrackedFileStore &store) {
        for (const RecordId id : ids)
            store.markDismissed(id);
    });
}

// MARK: Actions

void ToastController::markTemporary(std::optional<Seconds> duration)
{
    const std::vector<RecordId> ids = coveredIds();
    if (ids.empty())
        return;
    qCDebug(lcToast).noquote() << "ToastController.markTemporary: ids=" + QString::number(ids.size())
                                          + " names=" + coveredNames();
    markTemporaryIds(ids, duration);
    if (m_isActionDemoActive)
        m_demoMarkedTemporary = true;
    hideToast();
}

void ToastController::dismissAll()
{
    markDismissedIds(coveredIds());
    hideToast();
}

void ToastController::performDelete()
{
    const std::vector<RecordId> ids = coveredIds();
    qCDebug(lcToast).noquote() << "ToastController.performDelete: trashing " + QString::number(ids.size())
                                          + " file(s) " + coveredNames();
    m_services.store.send([ids](TrackedFileStore &store) {
        for (const RecordId id : ids)
            store.deleteNow(id);
    });
    hideToast();
}

void ToastController::performOpen()
{
    const std::vector<QByteArray> paths = coveredPaths();
    if (paths.empty()) {
        hideToast();
        return;
    }
    qCDebug(lcToast).noquote() << "ToastController.performOpen: opening " + QString::number(paths.size())
                                          + " file(s) " + coveredNames();
    for (const QByteArray &path : paths)
        m_services.workspace.open(path);
    markDismissedIds(coveredIds());
    hideToast();
}

void ToastController::performCopy()
{
    const std::vector<QByteArray> paths = coveredPaths();
    if (paths.empty()) {
        hideToast();
        return;
    }
    m_services.clipboard.setFiles(paths);
    qCDebug(lcToast).noquote() << "ToastController.performCopy: copied " + QString::number(paths.size()) + " file(s) "
                                          + coveredNames() + " — marking temporary";
    markTemporary();
}

void ToastController::performMove(const QByteArray &folder)
{
    const std::vector<QByteArray> paths = coveredPaths();
    if (paths.empty()) {
        closeMoveInput();
        hideToast();
        return;
    }
    m_services.moveMRU.record(folder);
    m_services.mover.move(paths, folder, whileAlive([&workspace = m_services.workspace](
                                                        const std::vector<QByteArray> &targets) {
                              workspace.reveal(targets);
                          }));
    markDismissedIds(coveredIds());
    closeMoveInput();
    hideToast();
}

void ToastController::openMoveInput()
{
    if (m_state == DynamicIslandToastState::hidden || m_isMoveInputVisible)
        return;
    m_isMoveInputVisible = true;
    hoverChanged(true);
    if (m_isActionDemoActive) {
        m_hintVisible = false;
        m_services.host.hideHint();
    }
    m_moveInputModel.reset(m_services.moveMRU.suggestions(3));
    m_services.host.openSurface(ToastSurface::moveInput);
    rememberFocus();
    Q_EMIT changed();
}

void ToastController::moveQueryChanged(const QString &query)
{
    m_moveInputModel.setQuery(query);
    m_moveInputModel.setResults(rankDestinations(
        search(query, m_services.folderIndex.paths(), m_moveInputModel.homePath(), 3), m_services.moveMRU.paths()));
    m_moveInputModel.clampSelection();
}

void ToastController::submitMove()
{
    if (const auto folder = m_moveInputModel.selectedURL())
        performMove(*folder);
}

void ToastController::createFolderAndMove()
{
    const auto folder = m_moveInputModel.newFolderURL();
    if (!folder)
        return;
    if (const QString error = makeFolderPath(*folder); !error.isEmpty()) {
        printFailure(QStringLiteral("Failed to create folder ") + displayText(*folder) + QStringLiteral(": ") + error);
        return;
    }
    performMove(*folder);
}

void ToastController::closeMoveInput()
{
    closeTextInput(m_isMoveInputVisible, ToastSurface::moveInput);
}

void ToastController::browseForFolder()
{
    if (!m_isMoveInputVisible)
        return;
    m_isMoveInputVisible = false;
    m_services.host.closeSurface(ToastSurface::moveInput);
    m_services.focus.activateSelf();
    m_services.host.chooseFolder(whileAlive([this](const std::optional<QByteArray> &folder) {
        restoreFocus();
        if (folder) {
            performMove(*folder);
            return;
        }
        hoverChanged(false);
    }));
}

// MARK: Share

void ToastController::share()
{
    if (m_state == DynamicIslandToastState::hidden || isAnySurfaceOpen())
        return;
    if (!m_services.host.placeShareAnchor())
        return;
    const std::vector<QByteArray> paths = coveredPaths();
    if (paths.empty()) {
        hideToast();
        return;
    }
    m_sharePaths = paths;
    m_isSharePickerVisible = true;
    hoverChanged(true);
    rememberFocus();
    m_services.host.showSharePicker(
        m_services.shareTargets(),
        whileAlive([this](const std::optional<ShareTarget> &target) { finishShare(target); }));
    Q_EMIT changed();
}

void ToastController::finishShare(const std::optional<ShareTarget> &target)
{
    if (!m_isSharePickerVisible)
        return;
    m_isSharePickerVisible = false;
    const std::vector<QByteArray> paths = std::exchange(m_sharePaths, {});
    m_services.host.closeSharePicker();
    if (target) {
        if (const auto error = m_services.launcher.startDetached(target->program, target->arguments(paths))) {
            // Nothing was shared, so nothing is set to expire: the toast stays.
            printFailure(QStringLiteral("Failed to share ") + coveredNames() + QStringLiteral(": ") + *error);
        } else {
            qCDebug(lcToast).noquote() << "ToastController.finishShare: service chosen — marking "
                                                  + QString::number(m_toastEntries.size()) + " file(s) temporary";
            m_previouslyActiveApp.reset(); // the sharing program has the focus now
            markTemporary();
            return;
        }
    }
    restoreFocus();
    hoverChanged(false);
}

// MARK: Secondary surfaces

void ToastController::rememberFocus()
{
    if (const auto window = m_services.focus.activeForeignWindow())
        m_previouslyActiveApp = window;
    m_services.focus.activateSelf();
}

void ToastController::restoreFocus()
{
    if (const auto window = std::exchange(m_previouslyActiveApp, std::nullopt))
        m_services.focus.activate(*window);
}

void ToastController::showHintAfterSurfaceClosed()
{
    if (m_isActionDemoActive && m_state == DynamicIslandToastState::visible) {
        m_hintVisible = true;
        m_services.host.showHint(m_demoPhase);
    }
}

void ToastController::closeTextInput(bool &flag, ToastSurface surface)
{
    if (!flag)
        return;
    flag = false;
    hoverChanged(false);
    showHintAfterSurfaceClosed();
    restoreFocus();
    m_services.host.closeSurface(surface);
    Q_EMIT changed();
}

void ToastController::openTimeInput()
{
    if (m_state == DynamicIslandToastState::hidden || isAnySurfaceOpen())
        return;
    m_isTimeInputVisible = true;
    hoverChanged(true);
    if (m_isActionDemoActive) {
        m_hintVisible = false;
        m_services.host.hideHint();
    }
    m_timeInputModel.reset();
    m_services.host.openSurface(ToastSurface::timeInput);
    rememberFocus();
    Q_EMIT changed();
}

void ToastController::submitTimeInput()
{
    const auto parsed = m_timeInputModel.parsed();
    if (!parsed)
        return;
    const std::vector<RecordId> ids = coveredIds();
    if (!ids.empty()) {
        markTemporaryIds(ids, parsed->interval);
        if (m_isActionDemoActive)
            m_demoMarkedTemporary = true;
    }
    closeTimeInput();
    if (!ids.empty())
        hideToast();
}

void ToastController::closeTimeInput()
{
    closeTextInput(m_isTimeInputVisible, ToastSurface::timeInput);
}

void ToastController::openMoreMenu()
{
    if (m_state == DynamicIslandToastState::hidden || isAnySurfaceOpen())
        return;
    m_isMoreVisible = true;
    hoverChanged(true);
    if (m_isActionDemoActive) {
        m_hintVisible = false;
        m_services.host.hideHint();
    }
    m_moreMenuModel.setSelectedIndex(0);
    m_services.host.openSurface(ToastSurface::moreMenu);
    rememberFocus();
    Q_EMIT changed();
}

void ToastController::closeMoreMenu(bool restoreFocusToo)
{
    if (!m_isMoreVisible)
        return;
    m_isMoreVisible = false;
    hoverChanged(false);
    showHintAfterSurfaceClosed();
    if (restoreFocusToo)
        restoreFocus();
    m_services.host.closeSurface(ToastSurface::moreMenu);
    Q_EMIT changed();
}

void ToastController::activateMoreSelection()
{
    if (const auto action = m_moreMenuModel.selectedAction())
        runMoreAction(*action);
}

void ToastController::runMoreAction(MoreMenuItem::Action action)
{
    switch (action) {
    case MoreMenuItem::Action::open:
        closeMoreMenu();
        performOpen();
        break;
    case MoreMenuItem::Action::shareAndDelete:
        if (!m_services.host.placeShareAnchor())
            return;
        closeMoreMenu(false);
        share();
        break;
    case MoreMenuItem::Action::copyAndDelete:
        closeMoreMenu();
        performCopy();
        break;
    case MoreMenuItem::Action::delete_:
        closeMoreMenu();
        performDelete();
        break;
    }
}

void ToastController::appDidResignActive()
{
    closeMoveInput();
    closeTimeInput();
    closeMoreMenu();
}

// MARK: Action demo

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
