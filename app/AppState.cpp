#include "app/AppState.h"

#include "app/DownloadsFolder.h"
#include "app/LoginItem.h"
#include "app/UserNotices.h"
#include "core/DownloadTracker.h"
#include "core/Logging.h"
#include "core/StoreRecovery.h"
#include "expiry/CleanupService.h"
#include "move/FolderIndex.h"
#include "core/DuplicateFinder.h"
#include "move/MoveMRU.h"
#include "move/SiteDestinations.h"
#include "platform/Notifier.h"
#include "platform/Preferences.h"
#include "platform/linux/InotifyFolderWatcher.h"
#include "toast/FileMover.h"
#include "toast/ToastController.h"

#include <QCoreApplication>
#include <QPointer>

namespace dowsel {

AppState::AppState(AppEnvironment environment, std::unique_ptr<TrackedFileStore> store, QObject *parent)
    : QObject(parent),
      m_env(std::move(environment)),
      m_permissions(m_env.preferences, m_env.downloadsPath),
      m_trackedFileActor(m_storeWorker, std::move(store)),
      m_folderIndex(std::make_unique<FolderIndex>(m_env.homePath, std::make_unique<InotifyFolderWatcher>(), m_env.clock,
                                                  m_env.scheduler, m_indexWorker)),
      m_moveMRU(std::make_unique<MoveMRU>(m_env.preferences)),
      m_siteDestinations(std::make_unique<SiteDestinations>(m_env.preferences)),
      m_duplicateCheck(std::make_unique<DuplicateCheck>(
          std::make_shared<DuplicateFinder>(
              m_env.downloadsPath, [](const QByteArray &name) { return isHiddenName(name) || isPartialDownloadName(name); }),
          m_duplicateWorker, m_env.mainExecutor)),
      m_cleanupService(std::make_unique<CleanupService>(m_trackedFileActor, m_env.trash, m_env.clock, m_env.scheduler,
                                                        m_cleanupWorker)),
      m_fileMover(std::make_unique<FileMover>(m_moveWorker, m_env.mainExecutor)),
      m_loginItem(std::make_unique<LoginItem>(m_env.preferences, m_env.executablePath,
                                              m_env.loginItemPath.isEmpty() ? LoginItem::defaultPath()
                                                                            : m_env.loginItemPath))
{
    m_toast = m_env.makeToast(*this);

    // New downloads reach the toast on the main thread; the processor does not wait for it.
    QPointer<ToastController> toast = m_toast.controller;
    Executor &main = m_env.mainExecutor;
    m_tracker = std::make_unique<DownloadTracker>(m_env.downloadsPath, m_trackedFileActor, m_env.clock,
                                                  m_env.scheduler, [toast, &main](RecordId id) {
                                                      main.post([toast, id] {
                                                          if (toast)
                                                              toast->handleNewFile(id);
                                                      });
                                                  });

    m_tracker->setStoreTroubleCallback([this](int waiting) {
        if (waiting > 0)
            tell(UserNotices::storeWritesFailing(
                QCoreApplication::translate("UserNotices", "%n new download(s) wait to be recorded", nullptr, waiting)));
    });
    m_cleanupService->setTrashFailureHandler(
        [this](const std::vector<TrashFailure> &failures) { tell(UserNotices::expiriesNotTrashed(failures)); });
    QPointer<AppState> self = this;
    m_trackedFileActor
        .call([self, &main](TrackedFileStore &store) {
            store.setDamageObserver([self, &main](const QString &damage) {
                main.post([self, damage] {
                    if (self)
                        self->replaceDamagedStore(damage);
                });
            });
        })
        .wait();
}

AppState::~AppState()
{
    // The tracker first: it stops feeding the store and the toast. Then nothing may touch the
    // store from its worker any more once the services are gone.
    m_tracker.reset();
    m_toast = {};
    m_trackedFileActor.call([](TrackedFileStore &store) { store.setChangeObserver({}); }).wait();
}

void AppState::start()
{
    const bool onboarded = m_env.preferences.boolean(prefkeys::hasCompletedOnboarding).value_or(false);
    if (onboarded && m_permissions.checkDownloadsAccess()) {
        m_permissions.refresh();
        startCoreServices();
        return;
    }
    qCInfo(lcApp) << "Onboarding first:" << (onboarded ? "the Downloads folder cannot be listed" : "first launch");
    if (onShowOnboarding)
        onShowOnboarding();
}

void AppState::startCoreServices(std::function<void()> done)
{
    if (m_coreStarted) {
        if (!done)
            return;
        if (m_coreReady)
            done();
        else
            m_waitingForCore.push_back(std::move(done));
        return;
    }
    m_coreStarted = true;
    m_isRunning = true;
    scanAndDismissExisting([this, done = std::move(done)]() mutable { finishCoreStart(std::move(done)); });
}

void AppState::scanAndDismissExisting(std::function<void()> next)
{
    // Listing and recording run on the store's worker: a full Downloads folder must not hold
    // up the main thread.
    const QByteArray folder = m_env.downloadsPath;
    m_trackedFileActor.call(
        [folder](TrackedFileStore &store) {
            DownloadsListing listing = listDownloads(folder);
            if (listing.error) {
                printFailure(QStringLiteral("Failed to access Downloads folder: ") + *listing.error);
                return;
            }
            if (listing.snapshots.empty())
                return;
            store.dismissExisting(listing.snapshots);
            qCDebug(lcApp).noquote() << QStringLiteral("Dismissed %1 existing files in Downloads").arg(listing.snapshots.size());
        },
        m_env.mainExecutor, std::move(next));
}

void AppState::finishCoreStart(std::function<void()> done)
{
    m_tracker->start();
    QPointer<AppState> self = this;
    Executor &main = m_env.mainExecutor;
    m_cleanupService->rehydrate([self, &main, done = std::move(done)]() mutable {
        main.post([self, done = std::move(done)] {
            if (!self)
                return;
            self->m_cleanupService->startStaleRecordPruning();
            self->m_folderIndex->start();
            // During a first onboarding the entry waits for its completion.
            if (self->m_env.preferences.boolean(prefkeys::hasCompletedOnboarding).value_or(false))
                self->registerLoginItem();
            self->m_coreReady = true;
            Q_EMIT self->coreServicesStarted();
            std::vector<std::function<void()>> waiting = std::exchange(self->m_waitingForCore, {});
            if (done)
                done();
            for (auto &next : waiting)
                next();
        });
    });
}

void AppState::tell(const Notice &notice)
{
    if (m_env.notifier)
        m_env.notifier->notify(notice);
}

void AppState::replaceDamagedStore(const QString &damage)
{
    if (m_replacingStore || m_env.storePath.isEmpty())
        return;
    m_replacingStore = true;
    QPointer<AppState> self = this;
    m_trackedFileActor.call(
        [path = m_env.storePath, &clock = m_env.clock, &prefs = m_env.preferences,
         &trash = m_env.trash](TrackedFileStore &store) {
            return dowsel::replaceDamagedStore(store, path, clock, prefs, trash);
        },
        m_env.mainExecutor,
        [self, damage](StoreReplacement replaced) {
            if (!self)
                return;
            self->m_replacingStore = false;
            if (replaced.inMemory) {
                printFailure(QStringLiteral("Damaged store ") + self->m_env.storePath + QStringLiteral(": ") + damage
                             + QStringLiteral("; keeping records in memory: ") + replaced.error);
                self->tell(UserNotices::storeInMemory(damage, replaced.error));
            } else {
                printFailure(QStringLiteral("Damaged store ") + self->m_env.storePath + QStringLiteral(" moved to ")
                             + replaced.setAsidePath + QStringLiteral(": ") + damage);
                self->tell(UserNotices::storeReplaced(damage, replaced.setAsidePath));
            }
            // As at a first start: what is in Downloads now never gets a toast.
            if (self->m_coreStarted)
                self->scanAndDismissExisting([] {});
        });
}

void AppState::registerLoginItem()
{
    if (const auto error = m_loginItem->registerAtStart())
        printFailure(QStringLiteral("Failed to register login item: ") + *error);
    static constexpr const char *stateNames[] = {"absent", "enabled", "disabled"};
    qCDebug(lcApp).noquote() << QStringLiteral("registerLoginItem: ") + m_loginItem->entryPath() + QStringLiteral(" is ")
                                    + QLatin1String(stateNames[int(m_loginItem->state())]);
}

void AppState::openAppSettings()
{
    m_openSettingsOnShow = true;
    if (onOpenAppSettings)
        onOpenAppSettings();
}

} // namespace dowsel
