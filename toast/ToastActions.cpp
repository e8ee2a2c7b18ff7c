#include "toast/ToastController.h"

#include "core/Logging.h"
#include "core/PosixFiles.h"
#include "expiry/CleanupService.h"
#include "move/FolderIndex.h"
#include "move/FolderMatch.h"
#include "move/MoveMRU.h"
#include "move/SiteDestinations.h"
#include "platform/Clipboard.h"
#include "platform/ProcessLauncher.h"
#include "platform/Workspace.h"
#include "toast/FileMover.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

// The actions on the files of the toast and the surfaces that lead to them: the move and
// time inputs, the folder chooser, the More menu and the share menu.

namespace dowsel {

namespace {

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
    dismissUnchanged();
    hideToast();
}

void ToastController::dismissUnchanged()
{
    std::vector<std::pair<RecordId, std::optional<RecordStamp>>> joined;
    for (const ToastEntry &entry : m_toastEntries) {
        const auto found = m_joinedAs.find(entry.id);
        joined.emplace_back(entry.id, found == m_joinedAs.end() ? std::nullopt : std::optional(found->second));
    }
    m_services.store.send([joined](TrackedFileStore &store) {
        for (const auto &[id, stamp] : joined) {
            if (stamp && stampOf(store.record(id)) != stamp) {
                // Kept, dismissed or deleted elsewhere after it joined the toast: that stands.
                qCDebug(lcToast).noquote() << "dismissAll: id=" + QString::number(id)
                                                  + " changed since it joined the toast, left as it is";
                continue;
            }
            store.markDismissed(id);
        }
    });
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

bool ToastController::hasCopies() const
{
    return std::any_of(m_toastEntries.begin(), m_toastEntries.end(),
                       [](const ToastEntry &entry) { return !entry.sameAs.isEmpty(); });
}

void ToastController::trashCopies()
{
    if (m_state == DynamicIslandToastState::hidden || m_isHiding || isAnySurfaceOpen())
        return;
    std::vector<std::pair<RecordId, QString>> copies;
    bool keptAny = false;
    for (ToastEntry &entry : m_toastEntries) {
        if (entry.sameAs.isEmpty())
            continue;
        // A copy whose original has gone since is the last of its content: it stays on the toast.
        const QByteArray original = joinPath(entry.filePath.left(entry.filePath.lastIndexOf('/')), entry.sameAs);
        if (const auto status = statPath(original); !status || !status->isRegularFile) {
            m_services.host.showNotice(tr("%1 was not moved to the Trash").arg(displayText(entry.fileName)),
                                       tr("%1, which it copies, is no longer in Downloads.").arg(displayText(entry.sameAs)));
            entry.sameAs.clear();
            keptAny = true;
            continue;
        }
        copies.emplace_back(entry.id, displayText(entry.fileName));
    }
    if (copies.empty()) {
        if (keptAny)
            refreshToast();
        return;
    }
    qCDebug(lcToast).noquote() << "ToastController.trashCopies: trashing " + QString::number(copies.size())
                                          + " copy(ies)";
    m_services.store.call(
        [copies](TrackedFileStore &store) {
            std::vector<std::pair<QString, QString>> refused;
            for (const auto &[id, name] : copies) {
                if (const auto reason = store.deleteNow(id))
                    refused.emplace_back(name, *reason);
            }
            return refused;
        },
        m_services.mainExecutor, whileAlive([this](const std::vector<std::pair<QString, QString>> &refused) {
            for (const auto &[name, reason] : refused)
                m_services.host.showNotice(tr("%1 was not moved to the Trash").arg(name), reason);
        }));
    for (const auto &copy : copies) {
        std::erase_if(m_toastEntries, [id = copy.first](const ToastEntry &entry) { return entry.id == id; });
        m_joinedAs.erase(copy.first);
    }
    if (m_toastEntries.empty()) {
        hideToast();
        return;
    }
    refreshToast();
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
    if (::access(folder.constData(), W_OK | X_OK) != 0) {
        // Nothing is moved and nothing is marked: the toast stays for another choice.
        const QString reason = QString::fromLocal8Bit(std::strerror(errno));
        printFailure(QStringLiteral("Move failed ") + displayText(folder) + QStringLiteral(": ") + reason);
        m_services.host.showNotice(tr("Nothing was moved"),
                                   tr("Cannot move into %1: %2").arg(displayText(folder), reason));
        if (m_isMoveInputVisible)
            closeMoveInput();
        else
            hoverChanged(false); // back from the folder chooser: the countdown goes on
        return;
    }
    m_services.moveMRU.record(folder);
    if (m_services.siteDestinations) {
        const QStringList sites = coveredSites();
        for (auto site = sites.rbegin(); site != sites.rend(); ++site)
            m_services.siteDestinations->record(*site, folder); // the newest file's site ends up first
    }
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
    if (m_state == DynamicIslandToastState::hidden || m_isMoveInputVisible || m_isFolderChooserVisible)
        return;
    if (!pauseCountdown())
        return;
    m_isMoveInputVisible = true;
    if (m_isActionDemoActive) {
        m_hintVisible = false;
        m_services.host.hideHint();
    }
    // Folders where files from the same site went come first, then the recent destinations.
    const QList<QByteArray> recent = m_services.moveMRU.suggestions(m_services.moveMRU.paths().size());
    m_moveInputModel.reset(
        existingFolders(destinationsFirstFromSites(m_services.siteDestinations, coveredSites(), recent), 3));
    m_services.host.openSurface(ToastSurface::moveInput);
    rememberFocus();
    refreshToast();
}

void ToastController::moveQueryChanged(const QString &query)
{
    m_moveInputModel.setQuery(query);
    m_moveInputModel.setResults(rankDestinations(
        search(query, m_services.folderIndex.paths(), m_moveInputModel.homePath(), 3),
        destinationsFirstFromSites(m_services.siteDestinations, coveredSites(), m_services.moveMRU.paths())));
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
    // The dialog counts as a surface of the toast: the countdown stays paused and no key is
    // grabbed until it closes, whatever joins the toast meanwhile.
    m_isMoveInputVisible = false;
    m_isFolderChooserVisible = true;
    m_services.host.closeSurface(ToastSurface::moveInput);
    m_services.focus.activateSelf();
    Q_EMIT changed();
    m_services.host.chooseFolder(whileAlive([this](const std::optional<QByteArray> &folder) {
        if (!m_isFolderChooserVisible) {
            // The toast went while the dialog was open (its files were handled elsewhere).
            restoreFocus();
            if (folder)
                m_services.host.showNotice(tr("Nothing was moved"),
                                           tr("The files of the toast were handled elsewhere before a folder was chosen."));
            return;
        }
        m_isFolderChooserVisible = false;
        restoreFocus();
        if (folder) {
            moveChosenFolder(*folder);
            return;
        }
        hoverChanged(false);
        Q_EMIT changed();
    }));
}

void ToastController::moveChosenFolder(const QByteArray &folder)
{
    if (coveredPaths().empty()) {
        m_services.host.showNotice(tr("Nothing was moved"), tr("The toast no longer covers any file."));
        hideToast();
        return;
    }
    performMove(folder);
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
    if (!pauseCountdown())
        return;
    m_sharePaths = paths;
    m_isSharePickerVisible = true;
    rememberFocus();
    m_services.host.showSharePicker(
        m_services.shareTargets(),
        whileAlive([this](const std::optional<ShareTarget> &target) { finishShare(target); }));
    refreshToast();
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
    if (!pauseCountdown())
        return;
    m_isTimeInputVisible = true;
    if (m_isActionDemoActive) {
        m_hintVisible = false;
        m_services.host.hideHint();
    }
    m_timeInputModel.reset();
    m_services.host.openSurface(ToastSurface::timeInput);
    rememberFocus();
    refreshToast();
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
    if (!pauseCountdown())
        return;
    m_isMoreVisible = true;
    if (m_isActionDemoActive) {
        m_hintVisible = false;
        m_services.host.hideHint();
    }
    m_moreMenuModel.setSelectedIndex(0);
    m_services.host.openSurface(ToastSurface::moreMenu);
    rememberFocus();
    refreshToast();
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

} // namespace dowsel
