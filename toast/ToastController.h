#pragma once

#include "core/TrackedFileStore.h"
#include "input/MoreMenuViewModel.h"
#include "input/TimeInputViewModel.h"
#include "move/MoveInputViewModel.h"
#include "platform/FocusTracker.h"
#include "platform/Time.h"
#include "toast/ShareTargets.h"
#include "toast/ToastEntry.h"
#include "toast/ToastHost.h"

#include <QObject>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace dowsel {

class CleanupService;
class Clipboard;
class DuplicateCheck;
class FileMover;
class FolderIndex;
class MoveMRU;
class Preferences;
class ProcessLauncher;
class SiteDestinations;
class Workspace;

// The one toast: which files it covers, its countdown, its panels and every action on its
// files. Lives on the main thread for the life of the app; view callbacks, shortcuts and the
// file processor reach it through main-thread tasks. Store calls go to the store's worker
// and come back on `mainExecutor`; timers fire there too.
class ToastController final : public QObject {
    Q_OBJECT
public:
    struct Services {
        TrackedFileActor &store;
        CleanupService &cleanupService;
        const Preferences &preferences;
        const Clock &clock;
        Scheduler &scheduler;
        Executor &mainExecutor;
        ToastHost &host;
        FocusTracker &focus;
        Workspace &workspace;
        Clipboard &clipboard;
        ProcessLauncher &launcher;
        FileMover &mover;
        FolderIndex &folderIndex;
        MoveMRU &moveMRU;
        std::function<std::vector<ShareTarget>()> shareTargets = [] { return availableShareTargets(); };
        // Where files from each site went; none keeps only the general history.
        SiteDestinations *siteDestinations = nullptr;
        // Tells a new download that copies a file already in Downloads; none checks nothing.
        DuplicateCheck *duplicates = nullptr;
    };

    static constexpr int countdownTotal = 7;
    static constexpr int demoCountdownSeconds = 15;
    static constexpr Seconds tickInterval = 1;
    static constexpr Seconds showDelay = 0.016;
    static constexpr Seconds hideDelay = 0.4;
    static constexpr Seconds fadeOutDuration = 0.2;
    static constexpr Seconds closeDelay = 0.22;
    static constexpr double topInsetCap = 14;
    static constexpr double topInsetFallback = 16;
    static constexpr qint64 progressStep = 4 << 20;
    static constexpr Seconds recheckInterval = 0.5;

    explicit ToastController(Services services, QObject *parent = nullptr);
    ~ToastController() override;

    // The file processor's new-file callback: show or extend the toast, or record the file
    // without one.
    void handleNewFile(RecordId id);

    // Any thread: the store committed a change. Files of the toast that something else acted
    // on (the bus, the command line, the popover) since they joined leave the toast.
    void recordsChanged();

    void showToast();
    void refreshToast();
    void hideToast();
    void dismissAll();
    void startCountdown();
    void hoverChanged(bool isHovering);
    void setOptionHeld(bool held);
    // Emits changed(), so that the shortcuts follow.
    void setOnboardingActive(bool active);
    // Whether the shortcuts reach Dowsel, asked each time the island is drawn: where they do
    // not (a Wayland desktop without the portal or bound commands), the badges show no keys.
    void setShortcutsReachDowsel(std::function<bool()> check) { m_shortcutsReachDowsel = std::move(check); }
    // The onboarding takes the screen: the toast, its inputs, the hint and any demo go away
    // at once, and new downloads are recorded without a toast until it ends.
    void startOnboarding();

    // Actions on every file of the toast.
    // For the default expiry, or for `duration` (a command's "keep-for 2h").
    void markTemporary(std::optional<Seconds> duration = std::nullopt);
    void performMove(const QByteArray &folder);
    void performOpen();
    void performCopy();
    void share();
    void finishShare(const std::optional<ShareTarget> &target);
    void performDelete();
    // The files of the toast found to be copies of a file already in Downloads go to the
    // Trash (the originals stay); the others stay on the toast. Nothing without such a copy.
    void trashCopies();
    bool hasCopies() const;

    // Keep for a typed time.
    void openTimeInput();
    void submitTimeInput();
    void closeTimeInput();

    // The move input: search as the query changes, move to the highlighted row, create the
    // folder the query names, or choose one in a dialog.
    void openMoveInput();
    void moveQueryChanged(const QString &query);
    void submitMove();
    void createFolderAndMove();
    void browseForFolder();
    void closeMoveInput();

    void openMoreMenu();
    void closeMoreMenu(bool restoreFocus = true);
    void activateMoreSelection();
    void runMoreAction(MoreMenuItem::Action action);

    // A click elsewhere: the open inputs close as if cancelled.
    void appDidResignActive();

    // The action demo with the practice file: a longer countdown, a hint under the toast,
    // other downloads recorded without a toast. Starting it clears the toast and its inputs.
    // On a first run, `onConcluded` runs after the first hide.
    void startActionDemoToast(const QByteArray &practiceFilePath, bool isFirstRun,
                              std::function<void()> onConcluded = {});
    // Cancelled by the next new file; the onboarding aborts the demo when it fires.
    void armActionDemoWatchdog(Seconds delay, std::function<void()> onExpired);
    // Ends a demo whose toast never surfaced: no toast, no hint, nothing handed back.
    void abortActionDemo();
    // The hint's "Done" and "All right".
    void closeHint();

    // What the view reads.
    ToastViewInput viewInput() const;
    std::optional<double> pausedProgress() const;
    const std::vector<ToastEntry> &toastEntries() const { return m_toastEntries; }
    DynamicIslandToastState state() const { return m_state; }
    int secondsRemaining() const { return m_secondsRemaining; }
    int activeCountdownSeconds() const { return m_activeCountdownSeconds; }
    Date countdownDeadline() const { return m_countdownDeadline; }
    std::optional<Seconds> pausedRemaining() const { return m_pausedRemaining; }
    bool isCountdownRunning() const { return m_countdownTask != Scheduler::invalidTimer; }
    const std::shared_ptr<ToastPanel> &panel() const { return m_panel; }
    bool isMoveInputVisible() const { return m_isMoveInputVisible; }
    bool isTimeInputVisible() const { return m_isTimeInputVisible; }
    bool isMoreVisible() const { return m_isMoreVisible; }
    bool isSharePickerVisible() const { return m_isSharePickerVisible; }
    bool isFolderChooserVisible() const { return m_isFolderChooserVisible; }
    // An input, menu or dialog of the toast is open: the countdown stays paused and the
    // global shortcuts stand aside.
    bool isAnySurfaceOpen() const;
    // The toast is collapsing; files that arrive now wait for the next toast.
    bool isHiding() const { return m_isHiding; }
    const std::vector<ToastEntry> &waitingEntries() const { return m_waitingEntries; }
    bool isOptionHeld() const { return m_isOptionHeld; }
    bool isOnboardingActive() const { return m_isOnboardingActive; }
    bool isActionDemoActive() const { return m_isActionDemoActive; }
    std::optional<RecordId> actionDemoFileId() const { return m_actionDemoFileId; }
    bool demoMarkedTemporary() const { return m_demoMarkedTemporary; }
    HintPhase demoPhase() const { return m_demoPhase; }
    bool isHintVisible() const { return m_hintVisible; }
    std::optional<FocusTracker::WindowHandle> previouslyActiveApp() const { return m_previouslyActiveApp; }

    MoveInputViewModel &moveInputModel() { return m_moveInputModel; }
    TimeInputViewModel &timeInputModel() { return m_timeInputModel; }
    MoreMenuViewModel &moreMenuModel() { return m_moreMenuModel; }

Q_SIGNALS:
    // After every refresh: the view input or a surface flag may have changed.
    void changed();
    // A large file being copied to another file system by a move, every few megabytes.
    void moveProgress(const QString &fileName, qint64 copied, qint64 total);

private:
    struct NewFileInfo;
    // What the toast knew of a record when the file joined it; a record that no longer
    // matches was acted on elsewhere.
    struct RecordStamp {
        FileState state = FileState::unprocessed;
        std::optional<Date> markedTemporaryAt;
        std::optional<Date> expiresAt;
        bool operator==(const RecordStamp &) const = default;
    };
    static QString dateText(Date date);
    static std::optional<RecordStamp> stampOf(const std::optional<TrackedFile> &record);
    void continueNewFile(RecordId id, const NewFileInfo &info);
    void checkForCopy(const ToastEntry &entry);
    void noteCopy(RecordId id, const QByteArray &original);
    // The sites of the toast's files, newest file first, each once.
    QStringList coveredSites() const;
    void openToastWithNewEntries();
    void restartCountdownForNewFile();
    void finishHide();
    void recheckEntries();
    void dropChangedEntries(const std::vector<RecordId> &changed);
    // Pauses the countdown for a surface. False when the countdown had already run out and
    // that ended the toast: the surface must not open.
    bool pauseCountdown();
    void endCountdown();
    void stopToast();
    void tick();
    void closeSurfaceFlags();
    void markTemporaryIds(const std::vector<RecordId> &ids, std::optional<Seconds> duration);
    void markDismissedIds(const std::vector<RecordId> &ids);
    // The toast's end: only records still as they were when their file joined are dismissed.
    void dismissUnchanged();
    void moveChosenFolder(const QByteArray &folder);
    void closeTextInput(bool &flag, ToastSurface surface);
    void rememberFocus();
    void restoreFocus();
    void showHintAfterSurfaceClosed();
    void concludeActionDemo();
    void resetActionDemo();
    void collapseToast();
    std::vector<RecordId> coveredIds() const;
    std::vector<QByteArray> coveredPaths() const;
    QString coveredNames() const;
    double topInset() const;
    template <class F>
    auto whileAlive(F work);

    Services m_services;
    MoveInputViewModel m_moveInputModel;
    TimeInputViewModel m_timeInputModel;
    MoreMenuViewModel m_moreMenuModel;

    std::shared_ptr<ToastPanel> m_panel;
    std::vector<ToastEntry> m_toastEntries;
    int m_secondsRemaining = 0;
    DynamicIslandToastState m_state = DynamicIslandToastState::hidden;
    bool m_isMoveInputVisible = false;
    bool m_isTimeInputVisible = false;
    bool m_isMoreVisible = false;
    bool m_isSharePickerVisible = false;
    bool m_isFolderChooserVisible = false;
    bool m_isHiding = false;
    std::vector<ToastEntry> m_waitingEntries;
    std::map<RecordId, RecordStamp> m_joinedAs;
    std::atomic<bool> m_recheckQueued = false;
    bool m_recheckInFlight = false;
    bool m_recheckAgain = false;
    Seconds m_lastRecheck = -1e9;
    Scheduler::TimerId m_recheckTimer = Scheduler::invalidTimer;
    std::vector<QByteArray> m_sharePaths;
    bool m_isOptionHeld = false;
    bool m_isOnboardingActive = false;

    bool m_isActionDemoActive = false;
    bool m_actionDemoIsFirstRun = false;
    QByteArray m_actionDemoFilePath;
    std::optional<RecordId> m_actionDemoFileId;
    Scheduler::TimerId m_actionDemoSurfaceWatchdog = Scheduler::invalidTimer;
    bool m_demoMarkedTemporary = false;
    HintPhase m_demoPhase = HintPhase::running;
    bool m_hintVisible = false;
    std::function<void()> m_onActionDemoConcluded;
    std::function<bool()> m_shortcutsReachDowsel;

    int m_activeCountdownSeconds = countdownTotal;
    Date m_countdownDeadline = 0;
    Scheduler::TimerId m_countdownTask = Scheduler::invalidTimer;
    Scheduler::TimerId m_showTask = Scheduler::invalidTimer;
    std::optional<Seconds> m_pausedRemaining;
    std::optional<ToastScreen> m_currentScreen;
    std::optional<FocusTracker::WindowHandle> m_previouslyActiveApp;

    // Timers and store replies hold this weakly and do nothing once the controller is gone.
    std::shared_ptr<int> m_lifetime = std::make_shared<int>(0);
};

template <class F>
auto ToastController::whileAlive(F work)
{
    return [alive = std::weak_ptr<int>(m_lifetime), work = std::move(work)](auto &&...args) mutable {
        if (!alive.expired())
            work(std::forward<decltype(args)>(args)...);
    };
}

} // namespace dowsel
