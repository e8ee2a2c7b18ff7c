#include "toast/ToastController.h"

#include "core/DownloadOrigin.h"
#include "core/DuplicateFinder.h"
#include "core/Logging.h"
#include "expiry/CleanupService.h"
#include "core/ExpirySettings.h"
#include "move/FolderIndex.h"
#include "move/FolderMatch.h"
#include "move/MoveMRU.h"
#include "platform/Clipboard.h"
#include "platform/ProcessLauncher.h"
#include "platform/Workspace.h"
#include "toast/FileMover.h"

#include <QDateTime>
#include <QStringList>

#include <algorithm>

namespace dowsel {

QString ToastController::dateText(Date date)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(date * 1000)).toString(Qt::ISODate);
}

struct ToastController::NewFileInfo {
    std::optional<TrackedFileStore::FileInfo> file;
    std::optional<Date> inheritedExpiry;
    std::optional<RecordStamp> stamp;
    QString site;
};

std::optional<ToastController::RecordStamp> ToastController::stampOf(const std::optional<TrackedFile> &record)
{
    if (!record)
        return std::nullopt;
    return RecordStamp{record->state, record->markedTemporaryAt, record->expiresAt};
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
    m_services.mover.setFailureObserver([this, alive](const MoveResult &result) {
        if (alive.expired())
            return;
        const QString name = displayText(fileNameOf(result.source));
        if (result.placed)
            m_services.host.showNotice(tr("%1 was copied, not moved").arg(name), result.error);
        else
            m_services.host.showNotice(tr("%1 was not moved").arg(name), result.error);
    });
}

ToastController::~ToastController()
{
    m_services.scheduler.cancel(m_countdownTask);
    m_services.scheduler.cancel(m_showTask);
    m_services.scheduler.cancel(m_actionDemoSurfaceWatchdog);
    m_services.scheduler.cancel(m_recheckTimer);
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
            NewFileInfo info{store.fileInfo(id), std::nullopt, stampOf(store.record(id)), {}};
            if (info.file && inheritExpiry)
                info.inheritedExpiry = store.inheritArchiveExpiry(id);
            if (info.file)
                info.site = downloadSite(info.file->filePath); // two small attribute reads, off the main thread
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
    const auto sameId = [id](const ToastEntry &entry) { return entry.id == id; };
    if (std::any_of(m_toastEntries.begin(), m_toastEntries.end(), sameId)
        || std::any_of(m_waitingEntries.begin(), m_waitingEntries.end(), sameId))
        return; // announced twice: the toast already covers it
    m_joinedAs[id] = info.stamp.value_or(RecordStamp{});
    ToastEntry entry{id, info.file->fileName, info.file->filePath, info.file->fileSize, info.site, {}};
    if (!info.site.isEmpty())
        qCDebug(lcToast).noquote() << "handleNewFile: " + displayText(info.file->fileName) + " came from " + info.site;
    const bool checkCopy = !m_isActionDemoActive;
    if (m_isHiding) {
        // The collapsing toast has answered for its own files already; this one gets a toast
        // of its own as soon as that one is gone.
        m_waitingEntries.push_back(entry);
    } else {
        m_toastEntries.push_back(entry);
        openToastWithNewEntries();
    }
    if (checkCopy)
        checkForCopy(entry);
}

// The answer comes later from a worker; the toast shows at once and gains its line then.
void ToastController::checkForCopy(const ToastEntry &entry)
{
    // The finder reads the size afresh: the record's may date from before the writer was done,
    // and a folder or an empty file is never a copy.
    if (!m_services.duplicates || entry.filePath.isEmpty())
        return;
    m_services.duplicates->check(entry.filePath,
                                 whileAlive([this, id = entry.id](const std::optional<QByteArray> &original) {
                                     if (original)
                                         noteCopy(id, *original);
                                 }));
}

void ToastController::noteCopy(RecordId id, const QByteArray &original)
{
    const auto sameId = [id](const ToastEntry &entry) { return entry.id == id; };
    const auto trace = [&original](const ToastEntry &entry) {
        qCDebug(lcToast).noquote() << "ToastController: " + displayText(entry.fileName) + " is the same as "
                                              + displayText(original);
    };
    if (const auto waiting = std::find_if(m_waitingEntries.begin(), m_waitingEntries.end(), sameId);
        waiting != m_waitingEntries.end()) {
        waiting->sameAs = original; // shown with its own toast
        trace(*waiting);
        return;
    }
    const auto shown = std::find_if(m_toastEntries.begin(), m_toastEntries.end(), sameId);
    if (shown == m_toastEntries.end() || m_isHiding)
        return; // answered for already
    shown->sameAs = original;
    trace(*shown);
    refreshToast();
}

QStringList ToastController::coveredSites() const
{
    QStringList sites;
    for (auto entry = m_toastEntries.rbegin(); entry != m_toastEntries.rend(); ++entry) {
        if (!entry->site.isEmpty() && !sites.contains(entry->site))
            sites << entry->site;
    }
    return sites;
}

void ToastController::openToastWithNewEntries()
{
    restartCountdownForNewFile();
    showToast();
    refreshToast();
    if (m_isActionDemoActive) {
        m_hintVisible = true;
        m_services.host.showHint(m_demoPhase);
    }
}

// A new file gives the whole toast its full time again. While the countdown is paused (the
// pointer on the island, an input, menu or dialog open) it stays paused: the new length
// applies from the moment it resumes, never under an open input.
void ToastController::restartCountdownForNewFile()
{
    m_activeCountdownSeconds = m_isActionDemoActive ? demoCountdownSeconds : countdownTotal;
    m_secondsRemaining = m_activeCountdownSeconds;
    m_countdownDeadline = m_services.clock.now() + m_activeCountdownSeconds;
    if (m_pausedRemaining && m_state == DynamicIslandToastState::visible) {
        m_pausedRemaining = Seconds(m_activeCountdownSeconds);
        return;
    }
    m_pausedRemaining.reset();
    startCountdown();
}

void ToastController::recordsChanged()
{
    if (m_recheckQueued.exchange(true))
        return;
    m_services.mainExecutor.post(whileAlive([this] {
        m_recheckQueued = false;
        recheckEntries();
    }));
}

// Reads the records of the toast's files again, one pass at a time and at most every
// `recheckInterval`: a burst of downloads changes the store thousands of times, and the
// toast then covers thousands of files.
void ToastController::recheckEntries()
{
    if (m_recheckInFlight || m_recheckTimer != Scheduler::invalidTimer) {
        m_recheckAgain = true;
        return;
    }
    const Seconds sinceLast = m_services.clock.continuousNow() - m_lastRecheck;
    if (sinceLast < recheckInterval) {
        m_recheckTimer = m_services.scheduler.scheduleAfter(recheckInterval - sinceLast, m_services.mainExecutor,
                                                            whileAlive([this] {
                                                                m_recheckTimer = Scheduler::invalidTimer;
                                                                m_recheckAgain = false;
                                                                recheckEntries();
                                                            }));
        return;
    }
    m_recheckAgain = false;
    std::vector<std::pair<RecordId, RecordStamp>> joined;
    const auto collect = [&](const std::vector<ToastEntry> &entries) {
        for (const ToastEntry &entry : entries) {
            if (const auto found = m_joinedAs.find(entry.id); found != m_joinedAs.end())
                joined.emplace_back(entry.id, found->second);
        }
    };
    if (!m_isHiding)
        collect(m_toastEntries);
    collect(m_waitingEntries);
    if (joined.empty())
        return;
    m_lastRecheck = m_services.clock.continuousNow();
    m_recheckInFlight = true;
    m_services.store.call(
        [joined](TrackedFileStore &store) {
            std::vector<RecordId> changed;
            for (const auto &[id, stamp] : joined) {
                if (stampOf(store.record(id)) != stamp)
                    changed.push_back(id);
            }
            return changed;
        },
        m_services.mainExecutor, whileAlive([this](const std::vector<RecordId> &changed) {
            m_recheckInFlight = false;
            dropChangedEntries(changed);
            if (std::exchange(m_recheckAgain, false))
                recheckEntries();
        }));
}

void ToastController::dropChangedEntries(const std::vector<RecordId> &changed)
{
    bool leftToast = false;
    for (const RecordId id : changed) {
        std::erase_if(m_waitingEntries, [id](const ToastEntry &entry) { return entry.id == id; });
        if (!m_isHiding)
            leftToast |= std::erase_if(m_toastEntries, [id](const ToastEntry &entry) { return entry.id == id; }) > 0;
        m_joinedAs.erase(id);
        qCDebug(lcToast).noquote() << "recordsChanged: id=" + QString::number(id)
                                          + " was acted on elsewhere, leaving the toast";
    }
    if (!leftToast)
        return;
    if (m_toastEntries.empty()) {
        // Nothing left to answer for: the toast goes without touching any record.
        if (isAnySurfaceOpen())
            restoreFocus();
        hideToast();
        return;
    }
    refreshToast();
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
        if (!pauseCountdown() || !m_pausedRemaining)
            return;
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

bool ToastController::pauseCountdown()
{
    if (m_state == DynamicIslandToastState::hidden)
        return false;
    if (m_pausedRemaining)
        return true;
    const Seconds remaining = m_countdownDeadline - m_services.clock.now();
    if (remaining <= 0) {
        endCountdown();
        return m_state != DynamicIslandToastState::hidden;
    }
    m_pausedRemaining = remaining;
    m_services.scheduler.cancel(m_countdownTask);
    m_countdownTask = Scheduler::invalidTimer;
    return true;
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
    m_isHiding = false;
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
    m_isHiding = m_panel != nullptr;
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
            if (isStillHidden())
                finishHide();
        }));
    }));
}

void ToastController::finishHide()
{
    m_panel->orderOut();
    m_isHiding = false;
    m_toastEntries = std::exchange(m_waitingEntries, {});
    std::erase_if(m_joinedAs, [this](const auto &joined) {
        return std::none_of(m_toastEntries.begin(), m_toastEntries.end(),
                            [id = joined.first](const ToastEntry &entry) { return entry.id == id; });
    });
    m_currentScreen.reset();
    if (!m_toastEntries.empty()) {
        openToastWithNewEntries(); // files that came while the old toast collapsed
        return;
    }
    refreshToast();
}

// Unlike hideToast, the files are neither answered nor kept: the panel goes at once.
void ToastController::collapseToast()
{
    stopToast();
    m_toastEntries.clear();
    m_waitingEntries.clear();
    m_joinedAs.clear();
    m_isHiding = false;
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
    // The folder dialog is the user's: it stays, and its answer finds the toast gone.
    m_isFolderChooserVisible = false;
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
        .showsKeys = !m_shortcutsReachDowsel || m_shortcutsReachDowsel(),
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
    return m_isMoveInputVisible || m_isTimeInputVisible || m_isMoreVisible || m_isSharePickerVisible
           || m_isFolderChooserVisible;
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

} // namespace dowsel
