#include "app/AppState.h"
#include "app/LoginItem.h"
#include "core/QtExecutor.h"
#include "platform/fake/FakeDesktop.h"
#include "platform/fake/FakeKeyGrabber.h"
#include "platform/fake/MemoryPreferences.h"
#include "platform/fake/RecordingTrash.h"
#include "platform/linux/SystemClock.h"
#include "toast/gui/ToastUi.h"
#include "ui/ThumbnailCache.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace dowsel {
namespace {

class NoThumbnails final : public ThumbnailLoader {
public:
    void load(const QByteArray &, double, std::function<void(QImage)> done) override { done(QImage()); }
};

// The application state on real workers, a real store and real folders, with the desktop
// faked; the autostart entry goes to a temporary folder.
class AppStateTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        ASSERT_TRUE(QDir().mkpath(dir.filePath(QStringLiteral("home/Downloads"))));
    }

    void TearDown() override
    {
        // As the app ends: no timer may fire while the services go away.
        scheduler.shutdown();
        state.reset();
    }

    void makeState()
    {
        QString error;
        auto store = TrackedFileStore::open(dir.filePath(QStringLiteral("data/Sivra.sqlite")), clock, prefs, trash, &error);
        ASSERT_TRUE(store) << error.toStdString();
        state = std::make_unique<AppState>(
            AppEnvironment{
                .preferences = prefs,
                .clock = clock,
                .scheduler = scheduler,
                .trash = trash,
                .mainExecutor = mainExecutor,
                .launcher = launcher,
                .makeToast =
                    [this](AppState &s) {
                        std::shared_ptr<ToastUi> ui = std::make_shared<ToastUi>(
                            ToastUiServices{
                                .store = s.trackedFileActor(),
                                .cleanupService = s.cleanupService(),
                                .preferences = prefs,
                                .clock = clock,
                                .scheduler = scheduler,
                                .mainExecutor = mainExecutor,
                                .launcher = launcher,
                                .mover = s.fileMover(),
                                .folderIndex = s.folderIndex(),
                                .moveMRU = s.moveMRU(),
                                .thumbnails = thumbnails,
                                .shareTargets = {},
                            },
                            ToastDesktop{std::make_unique<FakeWorkspace>(), std::make_unique<FakeClipboard>(),
                                         std::make_unique<FakeKeyGrabber>(), nullptr});
                        ToastController *controller = &ui->controller();
                        return ToastParts{std::move(ui), controller};
                    },
                .downloadsPath = QFile::encodeName(dir.filePath(QStringLiteral("home/Downloads"))),
                .homePath = QFile::encodeName(dir.filePath(QStringLiteral("home"))),
                .executablePath = QStringLiteral("/usr/bin/dowsel"),
                .loginItemPath = entryPath(),
            },
            std::move(store));
    }

    QString entryPath() const { return dir.filePath(QStringLiteral("autostart/dowsel.desktop")); }

    QTemporaryDir dir;
    MemoryPreferences prefs;
    SystemClock clock;
    BootTimeScheduler scheduler;
    RecordingTrash trash;
    QtExecutor mainExecutor{QCoreApplication::instance()};
    FakeProcessLauncher launcher;
    NoThumbnails thumbnailLoader;
    ThumbnailCache thumbnails{thumbnailLoader};
    std::unique_ptr<AppState> state;
};

TEST_F(AppStateTest, EveryCallerOfTheCoreStartHearsWhenItIsUpAndItStartsOnce)
{
    makeState();
    int started = 0;
    QObject::connect(state.get(), &AppState::coreServicesStarted, [&] { ++started; });
    std::vector<int> done;
    state->startCoreServices([&] { done.push_back(1); });
    state->startCoreServices([&] { done.push_back(2); }); // while the first start is under way
    EXPECT_TRUE(done.empty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return done.size() == 2; }, 10000));
    EXPECT_EQ(done, (std::vector<int>{1, 2}));

    state->startCoreServices([&] { done.push_back(3); }); // already running: at once
    EXPECT_EQ(done, (std::vector<int>{1, 2, 3}));
    QTest::qWait(50);
    EXPECT_EQ(started, 1);
}

TEST_F(AppStateTest, TheAutostartEntryWaitsForTheCompletedOnboarding)
{
    makeState();
    bool up = false;
    state->startCoreServices([&] { up = true; }); // as the onboarding's Downloads step does
    ASSERT_TRUE(QTest::qWaitFor([&] { return up; }, 10000));
    EXPECT_FALSE(QFileInfo::exists(entryPath()));

    prefs.setValue(prefkeys::hasCompletedOnboarding, true); // the onboarding completes
    state->registerLoginItem();
    EXPECT_EQ(state->loginItem().state(), LoginItem::State::enabled);
}

} // namespace
} // namespace dowsel
