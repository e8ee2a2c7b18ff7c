#pragma once

#include "tests/unit/StoreTestSupport.h"

#include "app/LoginItem.h"
#include "app/PermissionsManager.h"
#include "core/WorkerThread.h"
#include "ui/PopoverWindow.h"

#include <QApplication>
#include <QMouseEvent>

#include <ctime>
#include <mutex>

namespace dowsel::testing {

// A popover on a real store (SQLite in a temporary folder, its own worker), virtual time,
// in-memory preferences, and recorders for what it asks of the clean-up and the file manager.
class PopoverFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        downloads = QFile::encodeName(dir.path()) + "/Downloads";
        ASSERT_EQ(::mkdir(downloads.constData(), 0755), 0);
        prefs.setValue(prefkeys::hasCompletedOnboarding, true);
        QString error;
        auto store = TrackedFileStore::open(dir.path() + QStringLiteral("/data/Sivra.sqlite"), clock, prefs,
                                            storeTrash ? *storeTrash : trash, &error);
        ASSERT_TRUE(store) << error.toStdString();
        actor = std::make_unique<TrackedFileActor>(worker, std::move(store));
        permissions = std::make_unique<PermissionsManager>(prefs, downloads);
        permissions->setAccessibilityCheck([] { return false; });

        PopoverServices services{*actor, prefs, clock, *permissions, downloads, {}, {}, {}};
        services.scheduleExpiry = [this](RecordId id, Date at) {
            std::lock_guard lock(mutex);
            scheduled.emplace_back(id, at);
        };
        services.blockedShortcuts = [] { return QStringList{QStringLiteral("Super+Shift+T")}; };
        services.reveal = [this](const QByteArray &path) { revealed.append(path); };
        services.filesInUse = [this] {
            std::lock_guard lock(mutex);
            return inUse;
        };
        loginItem = std::make_unique<LoginItem>(prefs, QStringLiteral("/usr/bin/dowsel"), autostartEntry());
        services.loginItem = loginItem.get();
        popover = std::make_unique<PopoverWindow>(std::move(services));
        // As the app wires it: every committed change refreshes the popover.
        actor->call([this](TrackedFileStore &s) { s.setChangeObserver([this] { popover->refresh(); }); }).get();
    }

    void TearDown() override
    {
        actor->call([](TrackedFileStore &s) { s.setChangeObserver({}); }).get();
        worker.drain();
        popover.reset();
        QCoreApplication::processEvents();
    }

    // Lets the store's worker and the main thread hand work back and forth until `done`.
    template <class Predicate>
    bool settle(Predicate done)
    {
        for (int round = 0; round < 200; ++round) {
            worker.drain();
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            if (done())
                return true;
        }
        return false;
    }
    // Until no work is left on either side.
    void settle()
    {
        for (int round = 0; round < 5; ++round) {
            worker.drain();
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    // A file in Downloads with its record, through the store's worker as the processor does.
    RecordId addFile(const QByteArray &name, FileState state)
    {
        const QByteArray path = downloads + '/' + name;
        const std::uint64_t inode = writeFile(path);
        EXPECT_NE(inode, 0u);
        return actor
            ->call([=](TrackedFileStore &s) {
                const RecordId id = s.insertNew(identityAt(path).value_or(FileIdentity{}), path, name, 7);
                if (state == FileState::temporary)
                    s.markTemporary(id);
                else if (state == FileState::dismissed)
                    s.markDismissed(id);
                return id;
            })
            .get();
    }

    std::optional<TrackedFile> record(RecordId id)
    {
        return actor->call([id](TrackedFileStore &s) { return s.record(id); }).get();
    }

    void openPopover(PopoverWindow::Page page = PopoverWindow::Page::files)
    {
        int updates = 0;
        const auto connection =
            QObject::connect(popover.get(), &PopoverWindow::listsUpdated, [&updates] { ++updates; });
        popover->showNear(QRect(600, 0, 22, 22), page);
        ASSERT_TRUE(settle([&] { return updates > 0; }));
        QObject::disconnect(connection);
        settle(); // a read queued behind the first may hold newer news
    }

    QTemporaryDir dir;
    QByteArray downloads;
    // Now, so that files made by a test are new ones, not old files left in Downloads.
    VirtualClock clock{double(std::time(nullptr))};
    MemoryPreferences prefs;
    RecordingTrash trash;
    Trash *storeTrash = nullptr; // the store's Trash, when not `trash`: set it in the constructor
    WorkerThread worker{"store"};
    std::unique_ptr<TrackedFileActor> actor;
    std::unique_ptr<PermissionsManager> permissions;
    QString autostartEntry() const { return dir.path() + QStringLiteral("/autostart/dowsel.desktop"); }
    std::unique_ptr<LoginItem> loginItem;
    std::unique_ptr<PopoverWindow> popover;
    std::mutex mutex;
    std::vector<std::pair<RecordId, Date>> scheduled; // guarded by mutex
    std::vector<RecordId> inUse;                      // guarded by mutex
    QByteArrayList revealed;
};

// A left click as the user makes it: press and release at `position` in `widget`.
inline void click(QWidget *widget, const QPoint &position)
{
    const QPointF local(position);
    const QPointF global(widget->mapToGlobal(position));
    QMouseEvent press(QEvent::MouseButtonPress, local, global, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, local, global, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &release);
}

} // namespace dowsel::testing
