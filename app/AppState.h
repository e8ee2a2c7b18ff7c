#pragma once

#include "app/PermissionsManager.h"
#include "core/TrackedFileStore.h"
#include "core/WorkerThread.h"

#include <QObject>

#include <functional>
#include <memory>
#include <vector>

namespace dowsel {

class CleanupService;
class DownloadTracker;
class DuplicateCheck;
class FileMover;
class FolderIndex;
class LoginItem;
class MoveMRU;
class Notifier;
struct Notice;
class Preferences;
class ProcessLauncher;
class SiteDestinations;
class ToastController;
class Trash;

class AppState;

// The toast controller together with whatever owns it (its panels, views and desktop
// services); made by the on-screen layer from the services of the AppState.
struct ToastParts {
    std::shared_ptr<void> owner;
    ToastController *controller = nullptr;
};

// What the app needs from the system and from its on-screen layer.
struct AppEnvironment {
    Preferences &preferences;
    Clock &clock;
    Scheduler &scheduler; // outlives the AppState
    Trash &trash;
    Executor &mainExecutor;
    ProcessLauncher &launcher;
    std::function<ToastParts(AppState &)> makeToast;
    QByteArray downloadsPath;
    QByteArray homePath;
    QString executablePath; // for the autostart entry
    Notifier *notifier = nullptr; // desktop notifications; none in tests
    QString storePath;            // where a damaged store is replaced while running
    QString loginItemPath; // empty: $XDG_CONFIG_HOME/autostart/dowsel.desktop
};

// Creates every long-lived service, wires them together and starts the core services once
// onboarding is done and Downloads can be listed. Main thread only.
class AppState final : public QObject {
    Q_OBJECT
public:
    AppState(AppEnvironment environment, std::unique_ptr<TrackedFileStore> store, QObject *parent = nullptr);
    ~AppState() override;

    // At launch: the core services when onboarding was completed and Downloads is readable,
    // else the onboarding (which starts them itself when it is done).
    void start();
    // Starts the core services, once per process; `done` runs on the main thread when all
    // steps are through, also when they were started before (at once if they are running,
    // else when the start under way ends).
    void startCoreServices(std::function<void()> done = {});
    // Adds the autostart entry the first time, once onboarding is complete; see LoginItem.
    void registerLoginItem();
    // Asks the popover to open on its settings page.
    void openAppSettings();
    // Tells the user on the desktop (see UserNotices for the texts). Any thread.
    void tell(const Notice &notice);

    bool isRunning() const { return m_isRunning; }
    bool coreStarted() const { return m_coreStarted; }
    bool takeOpenSettingsOnShow() { return std::exchange(m_openSettingsOnShow, false); }

    PermissionsManager &permissions() { return m_permissions; }
    TrackedFileActor &trackedFileActor() { return m_trackedFileActor; }
    FolderIndex &folderIndex() { return *m_folderIndex; }
    MoveMRU &moveMRU() { return *m_moveMRU; }
    SiteDestinations &siteDestinations() { return *m_siteDestinations; }
    DuplicateCheck &duplicateCheck() { return *m_duplicateCheck; }
    CleanupService &cleanupService() { return *m_cleanupService; }
    FileMover &fileMover() { return *m_fileMover; }
    LoginItem &loginItem() { return *m_loginItem; }
    ToastController &toastController() { return *m_toast.controller; }
    const AppEnvironment &environment() const { return m_env; }
    const QByteArray &downloadsPath() const { return m_env.downloadsPath; }

    // Set by the on-screen layer.
    std::function<void()> onShowOnboarding;
    std::function<void()> onOpenAppSettings;

Q_SIGNALS:
    void coreServicesStarted();

private:
    void scanAndDismissExisting(std::function<void()> next);
    void finishCoreStart(std::function<void()> done);
    // The store found its file damaged: set it aside, continue on a fresh one, record
    // Downloads again as at a first start, and tell the user.
    void replaceDamagedStore(const QString &damage);

    AppEnvironment m_env;
    // Workers first: they outlive the services that post to them.
    WorkerThread m_storeWorker{"dowsel-store"};
    WorkerThread m_cleanupWorker{"dowsel-cleanup"};
    WorkerThread m_indexWorker{"dowsel-index", true};
    WorkerThread m_moveWorker{"dowsel-move", true};
    WorkerThread m_duplicateWorker{"dowsel-duplicates", true};

    PermissionsManager m_permissions;
    TrackedFileActor m_trackedFileActor;
    std::unique_ptr<FolderIndex> m_folderIndex;
    std::unique_ptr<MoveMRU> m_moveMRU;
    std::unique_ptr<SiteDestinations> m_siteDestinations;
    std::unique_ptr<DuplicateCheck> m_duplicateCheck;
    std::unique_ptr<CleanupService> m_cleanupService;
    std::unique_ptr<FileMover> m_fileMover;
    ToastParts m_toast;
    std::unique_ptr<DownloadTracker> m_tracker;
    std::unique_ptr<LoginItem> m_loginItem;
    std::vector<std::function<void()>> m_waitingForCore; // `done`s of calls during the start
    bool m_coreReady = false;

    bool m_isRunning = false;
    bool m_coreStarted = false;
    bool m_openSettingsOnShow = false;
    bool m_replacingStore = false;
};

} // namespace dowsel
