#pragma once

#include "core/TrackedFileStore.h"

#include <QWidget>

#include <atomic>
#include <functional>

class QLabel;
class QListView;
class QStackedWidget;
class QTimer;

namespace dowsel {

class BacklogPage;
class ThumbnailCache;

class Clock;
class PermissionsManager;
class PopoverItemDelegate;
class PopoverListModel;
class Preferences;
class LoginItem;
class SettingsPage;
struct PopoverLists;

// What the popover needs from the rest of the app.
struct PopoverServices {
    TrackedFileActor &store;
    Preferences &prefs;
    const Clock &clock;
    PermissionsManager &permissions;
    QByteArray downloadsFolder;
    // Arms the clean-up timer of a file just marked temporary (CleanupService::schedule);
    // called on the store's worker.
    std::function<void(RecordId, Date)> scheduleExpiry;
    // Key combinations that another program holds, for the settings page.
    std::function<QStringList()> blockedShortcuts;
    // Shows a file in the file manager; revealInFileManager unless a test needs otherwise.
    std::function<void(const QByteArray &)> reveal;
    // The autostart entry behind the settings' "Start Dowsel at login"; none: no toggle.
    LoginItem *loginItem = nullptr;
    // The pictures of the rows: the same service as the toast's. Null: icons only.
    ThumbnailCache *thumbnails = nullptr;
    // The temporary records whose expiry waits for a program to close the file
    // (CleanupService::filesInUse); none: no row says "in use".
    std::function<std::vector<RecordId>()> filesInUse;
};

// The 360 × 440 window under the tray icon: the temporary files with their countdowns, the
// files left alone, and the settings page behind the gear. It reads the store on the store's
// worker and sends every change there; nothing on the main thread touches the disk.
class PopoverWindow final : public QWidget {
    Q_OBJECT
public:
    enum class Page { files, settings, backlog };
    static constexpr QSize fixedSize{360, 440};

    explicit PopoverWindow(PopoverServices services, QWidget *parent = nullptr);
    ~PopoverWindow() override;

    // Opens next to the tray icon (its geometry, or an empty rect at the pointer when the
    // tray does not tell), on the file lists or the settings. Each opening starts with the
    // settings closed (unless asked for) and the ignored section folded.
    void showNear(const QRect &trayIcon, Page page = Page::files);

    // Re-reads the store. Safe from any thread (the store's change observer calls it); a
    // burst of calls makes at most one read in flight and one after it. A hidden popover
    // reads when it opens. The window must outlive the observer that calls this.
    void refresh();

    Page currentPage() const;
    PopoverListModel &model() { return *m_model; }
    SettingsPage &settingsPage() { return *m_settings; }
    BacklogPage &backlogPage() { return *m_backlog; }

Q_SIGNALS:
    void replayOnboardingRequested();
    void practiceFileRequested();
    // A read of the store has been applied to the lists.
    void listsUpdated();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *buildFilesPage();
    QWidget *buildSettingsPage();
    QWidget *buildBacklogPage();
    void showPage(Page page);
    void startFetch();
    void applyLists(PopoverLists lists);
    void updateEmptyState();
    void tick();

    void keep(RecordId id);
    void deleteNow(RecordId id);
    void markTemporary(RecordId id);
    // Runs `change` on the store's worker; the text it returns, if any, says what was not done.
    void reportOutcome(std::function<QString(TrackedFileStore &)> change);
    static QString notSavedText(const QString &what);
    void keepAll();
    void putBack(int row);
    void makeTemporary(const std::vector<RecordId> &ids);
    void trashAll(const std::vector<RecordId> &ids);
    void chooseBacklogAge(const QPoint &globalPosition);
    void revealRow(int row);
    void showRowMenu(int row, const QPoint &globalPosition);

    PopoverServices m_services;
    PopoverListModel *m_model;
    PopoverItemDelegate *m_delegate;
    QStackedWidget *m_pages = nullptr;
    QStackedWidget *m_filesContent = nullptr;
    QListView *m_list = nullptr;
    QWidget *m_emptyState = nullptr;
    SettingsPage *m_settings = nullptr;
    BacklogPage *m_backlog = nullptr;
    QTimer *m_ticker;
    QLabel *m_failureLine = nullptr;

    std::atomic<bool> m_refreshQueued{false};
    bool m_fetchInFlight = false;
    bool m_fetchAgain = false;
};

} // namespace dowsel
