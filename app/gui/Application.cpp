#include "app/gui/Application.h"

#include "app/AppState.h"
#include "app/DownloadsFolder.h"
#include "app/UserNotices.h"
#include "app/LoginItem.h"
#include "app/gui/CommandLine.h"
#include "app/gui/ControlService.h"
#include "app/gui/PortalAnswers.h"
#include "app/gui/SignalHandler.h"
#include "app/gui/TrayIcon.h"
#include "core/Logging.h"
#include "core/QtExecutor.h"
#include "core/Session.h"
#include "core/StoreRecovery.h"
#include "expiry/CleanupService.h"
#include "onboarding/gui/OnboardingUi.h"
#include "platform/linux/FreedesktopTrash.h"
#include "platform/linux/JsonFilePreferences.h"
#include "platform/linux/SpawnProcessLauncher.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/gui/FreedesktopNotifier.h"
#include "platform/linux/x11/X11Desktop.h"
#include "toast/gui/FloatingPanel.h"
#include "toast/gui/ToastUi.h"
#include "ui/FileManager.h"
#include "ui/FallbackIcons.h"
#include "ui/PopoverWindow.h"
#include "ui/ThumbnailCache.h"
#include "ui/Translations.h"

#include <QApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>
#include <xcb/xcb.h>

namespace dowsel {

namespace {

struct XcbDisconnect {
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};
using XcbConnection = std::unique_ptr<xcb_connection_t, XcbDisconnect>;

bool connects(XcbConnection &probe)
{
    probe.reset(xcb_connect(nullptr, nullptr));
    return probe && xcb_connection_has_error(probe.get()) == 0;
}

// Qt aborts with a long message when it cannot reach a display; say it in one line, with
// what to do about it. The X connection made for the check goes to `probe`, to be closed
// only once Qt has its own: an X server resets when its last client leaves, and a
// connection opened during the reset fails (Xvfb under xvfb-run has no other client).
bool displayAvailable(XcbConnection &probe)
{
    const char *platform = std::getenv("QT_QPA_PLATFORM");
    if (platform && *platform && std::strncmp(platform, "xcb", 3) != 0)
        return true; // offscreen, wayland, ...: Qt decides
    const char *wayland = std::getenv("WAYLAND_DISPLAY");
    if ((!platform || !*platform) && wayland && *wayland)
        return true;
    return connects(probe);
}

QString windowsName(const Session &session)
{
    if (session.throughXwayland)
        return QStringLiteral("xwayland");
    if (session.nativeWaylandWindows)
        return QStringLiteral("wayland");
    if (QGuiApplication::platformName() == QLatin1String("xcb"))
        return QStringLiteral("x11");
    return QGuiApplication::platformName();
}

ToastParts makeToastUi(AppState &state, ToastUi *&made)
{
    const AppEnvironment &env = state.environment();
    std::shared_ptr<ToastUi> ui = createToastUi(ToastUiServices{
        .store = state.trackedFileActor(),
        .cleanupService = state.cleanupService(),
        .preferences = env.preferences,
        .clock = env.clock,
        .scheduler = env.scheduler,
        .mainExecutor = env.mainExecutor,
        .launcher = env.launcher,
        .mover = state.fileMover(),
        .folderIndex = state.folderIndex(),
        .moveMRU = state.moveMRU(),
        .thumbnails = ThumbnailCache::shared(),
        .siteDestinations = &state.siteDestinations(),
        .duplicates = &state.duplicateCheck(),
    });
    made = ui.get();
    ToastController *controller = &ui->controller();
    return {std::move(ui), controller};
}

QJsonObject statusReport(AppState &state, const GlobalShortcuts &shortcuts, const QByteArray &downloads)
{
    PermissionsManager &permissions = state.permissions();
    const auto [granted, downloadsAccess] = permissions.refresh();
    Session session = permissions.session().value_or(Session{});
    session.x11WindowManager = x11::windowManagerName();
    const ShortcutsGrant grant = permissions.shortcutsGrant();
    QString reason = grant.reason;
    const QStringList blocked = shortcuts.blockedShortcuts();
    if (!granted && reason.isEmpty())
        reason = QStringLiteral("no X server answers the key grabs");
    QString via = QStringLiteral("key grabs");
    if (grant.route == ShortcutRoute::portal)
        via = QStringLiteral("portal");
    else if (grant.route == ShortcutRoute::commands)
        via = QStringLiteral("commands");
    QString portal = QStringLiteral("not used");
    if (const auto answer = permissions.portalStatus(); answer && session.type == SessionType::wayland)
        portal = portalAnswerName(answer->answer) + (answer->detail.isEmpty() ? QString() : QStringLiteral(": ") + answer->detail);
    QString autostart = QStringLiteral("absent");
    switch (state.loginItem().state()) {
    case LoginItem::State::enabled:
        autostart = QStringLiteral("enabled");
        break;
    case LoginItem::State::disabled:
        autostart = QStringLiteral("disabled");
        break;
    case LoginItem::State::absent:
        break;
    }
    const ShortcutContext &context = shortcuts.context();
    return QJsonObject{
        {QStringLiteral("session"), sessionTypeName(session.type)},
        {QStringLiteral("desktop"), session.desktop},
        {QStringLiteral("nativeWaylandWindows"), session.nativeWaylandWindows},
        {QStringLiteral("windows"), windowsName(session)},
        {QStringLiteral("x11WindowManager"), session.x11WindowManager},
        {QStringLiteral("inputsUnmanaged"), session.unmanagedWindowsTakeKeyboard()},
        {QStringLiteral("shortcutsGranted"), granted},
        {QStringLiteral("shortcutsReason"), granted ? QString() : reason},
        {QStringLiteral("shortcutsVia"), via},
        {QStringLiteral("shortcutsHow"), granted ? grant.how : QString()},
        {QStringLiteral("portal"), portal},
        {QStringLiteral("commandsConfirmed"), permissions.commandsConfirmed()},
        {QStringLiteral("commandsSeen"), QJsonArray::fromStringList(permissions.commandsSeen())},
        {QStringLiteral("shortcutsHeldByOthers"), QJsonArray::fromStringList(blocked)},
        {QStringLiteral("toastShowing"), context.isToastShown && !context.isOnboardingActive},
        {QStringLiteral("autostart"), autostart},
        {QStringLiteral("downloadsFolder"), QFile::decodeName(downloads)},
        {QStringLiteral("downloadsAccess"), downloadsAccess},
    };
}

} // namespace

int runApplication(int argc, char *argv[])
{
    if (const int status = runCommandLine(argc, argv); status >= 0)
        return status;
    XcbConnection displayProbe;
    const auto environment = [](const char *name) { return QByteArray(std::getenv(name)); };
    bool xwayland = false;
    if (prefersXwayland(environment)) {
        xwayland = connects(displayProbe);
        if (!xwayland) {
            displayProbe.reset();
            qCWarning(lcApp) << "Xwayland does not answer on DISPLAY: drawing as a Wayland window, which the "
                                "compositor places";
        }
    } else if (!displayAvailable(displayProbe)) {
        std::fprintf(stderr, "dowsel: no display (DISPLAY=%s); run it inside a desktop session, or headless with "
                             "`xvfb-run -a dowsel`\n",
                     std::getenv("DISPLAY") ? std::getenv("DISPLAY") : "unset");
        return 2;
    }

    // Through Xwayland the toast can be placed, kept above other windows and let clicks through.
    // Asked for on Qt's command line: QT_QPA_PLATFORM would reach the programs Dowsel opens.
    std::vector<char *> qtArguments(argv, argv + argc);
    char platformOption[] = "-platform";
    char xcbPlatform[] = "xcb";
    if (xwayland)
        qtArguments.insert(qtArguments.begin() + std::min(argc, 1), {platformOption, xcbPlatform});
    int qtArgumentCount = static_cast<int>(qtArguments.size());
    qtArguments.push_back(nullptr);
    QApplication app(qtArgumentCount, qtArguments.data());
    displayProbe.reset();
    QApplication::setApplicationName(QStringLiteral("dowsel"));
    QApplication::setApplicationDisplayName(QStringLiteral("Dowsel"));
    QApplication::setOrganizationDomain(QStringLiteral("dowsel.app"));
    QApplication::setApplicationVersion(QStringLiteral(DOWSEL_VERSION));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setDesktopFileName(QStringLiteral("app.dowsel.Dowsel"));
    QApplication::setWindowIcon(applicationIcon());
    installTranslations(app);
    installFallbackIcons();

    // One Dowsel per session: a second one shows the first one's window and leaves.
    QString busDetail;
    switch (claimSessionBusName(&busDetail)) {
    case BusClaim::claimed:
        break;
    case BusClaim::heldByAnother:
        if (askRunningInstanceToShowPopover()) {
            std::puts("Dowsel is already running; showing its window.");
            return 0;
        }
        std::fprintf(stderr, "dowsel: another Dowsel holds the session bus name but does not answer (%s)\n",
                     qPrintable(busDetail));
        return 1;
    case BusClaim::noBus:
        qCWarning(lcApp).noquote() << "No session bus (" + busDetail
                                          + "): running without the command-line control and the one-instance check";
        break;
    }

    JsonFilePreferences preferences(JsonFilePreferences::defaultPath());
    SystemClock clock;
    BootTimeScheduler scheduler;
    FreedesktopTrash trash;
    QtExecutor mainExecutor(&app);
    SpawnProcessLauncher launcher;

    FreedesktopNotifier notifier;

    const QString storePath = TrackedFileStore::defaultPath();
    OpenedStore opened = openCheckedStore(storePath, clock, preferences, trash);
    if (!opened.store) {
        printFailure(QStringLiteral("Failed to create ModelContainer: ") + opened.error);
        // Started at login nobody reads standard output: say it where the user looks.
        notifier.notifyAndWait(UserNotices::storeCannotOpen(opened.error));
        return 1;
    }
    if (!opened.setAsidePath.isEmpty())
        notifier.notify(UserNotices::storeReplaced(opened.damage, opened.setAsidePath));

    const QByteArray downloads = downloadsPath();
    ToastUi *toastUi = nullptr;
    AppState state(AppEnvironment{
                       .preferences = preferences,
                       .clock = clock,
                       .scheduler = scheduler,
                       .trash = trash,
                       .mainExecutor = mainExecutor,
                       .launcher = launcher,
                       .makeToast = [&toastUi](AppState &s) { return makeToastUi(s, toastUi); },
                       .downloadsPath = downloads,
                       .homePath = QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::HomeLocation)),
                       .executablePath = QCoreApplication::applicationFilePath(),
                       .notifier = &notifier,
                       .storePath = storePath,
                       .loginItemPath = {},
                   },
                   std::move(opened.store));
    GlobalShortcuts &shortcuts = toastUi->shortcuts();
    Session session = currentSession();
    session.nativeWaylandWindows = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    session.throughXwayland = session.type == SessionType::wayland && QGuiApplication::platformName() == QLatin1String("xcb");
    qCInfo(lcApp).noquote() << "Session: " + sessionTypeName(session.type)
                                   + (session.desktop.isEmpty() ? QString() : QStringLiteral(" (") + session.desktop + QLatin1Char(')'))
                                   + QStringLiteral(", windows: ") + windowsName(session);
    FloatingPanel::setKeyboardPanelsUnmanaged([session]() mutable {
        session.x11WindowManager = x11::windowManagerName();
        return session.unmanagedWindowsTakeKeyboard();
    });
    state.permissions().setSession(session);
    state.permissions().setAccessibilityCheck([&shortcuts] { return shortcuts.isInstalled(); });
    state.permissions().setPortalCheck([toastUi] { return portalStatusOf(toastUi->keyGrabber()); });
    toastUi->onShortcutsAvailabilityChanged = [&state] { state.permissions().refresh(); };
    // Key caps on the island only where the keys reach Dowsel.
    toastUi->controller().setShortcutsReachDowsel([&state] { return state.permissions().shortcutsGrant().granted; });
    state.permissions().setFileManagerReveal(revealInFileManager);

    ControlService control(state.trackedFileActor(), state.cleanupService(), clock, mainExecutor);
    control.runToastCommand = [toastUi](ShortcutAction action, std::optional<Seconds> duration,
                                        const QString &activationToken) {
        return toastUi->runCommand(action, duration, activationToken);
    };
    control.status = [&state, &shortcuts, downloads] { return statusReport(state, shortcuts, downloads); };
    // Only on Wayland are the commands what stands in for the shortcuts.
    if (session.type == SessionType::wayland) {
        control.onCommandFromKeyBinding = [&state](const QString &action) {
            state.permissions().noteCommandFromKeyBinding(action);
        };
    }
    control.exportOnSessionBus();

    CleanupService &cleanup = state.cleanupService();
    PopoverWindow popover(PopoverServices{
        .store = state.trackedFileActor(),
        .prefs = preferences,
        .clock = clock,
        .permissions = state.permissions(),
        .downloadsFolder = downloads,
        .scheduleExpiry = [&cleanup](RecordId id, Date at) { cleanup.schedule(id, at); },
        .blockedShortcuts = [&shortcuts] { return shortcuts.blockedShortcuts(); },
        .reveal = {},
        .loginItem = &state.loginItem(),
        .thumbnails = &ThumbnailCache::shared(),
        .filesInUse = [&cleanup] { return cleanup.filesInUse(); },
    });
    cleanup.setInUseObserver([&popover] { popover.refresh(); });
    // The popover and the toast follow the store: every committed change asks them to read
    // again (a file kept from the bus leaves its toast).
    ToastController &toastController = toastUi->controller();
    state.trackedFileActor().call([&popover, &toastController](TrackedFileStore &s) {
        s.setChangeObserver([&popover, &toastController] {
            popover.refresh();
            toastController.recordsChanged();
        });
    }).wait();

    TrayIcon tray;
    const auto showPopover = [&](PopoverWindow::Page page) { popover.showNear(tray.geometry(), page); };
    QObject::connect(&tray, &TrayIcon::activated, &popover, [&] {
        if (popover.isVisible())
            popover.hide();
        else
            showPopover(state.takeOpenSettingsOnShow() ? PopoverWindow::Page::settings : PopoverWindow::Page::files);
    });
    QObject::connect(&control, &ControlService::showPopoverRequested, &popover,
                     [&] { showPopover(PopoverWindow::Page::files); });
    QObject::connect(&control, &ControlService::quitRequested, &app, &QCoreApplication::quit);
    state.onOpenAppSettings = [&] {
        state.takeOpenSettingsOnShow();
        showPopover(PopoverWindow::Page::settings);
    };

    OnboardingUi onboarding(OnboardingUi::Services{
        .toast = *toastUi,
        .store = state.trackedFileActor(),
        .permissions = state.permissions(),
        .preferences = preferences,
        .scheduler = scheduler,
        .mainExecutor = mainExecutor,
        .downloadsPath = downloads,
        .onStartCoreServices = [&state](std::function<void()> done) { state.startCoreServices(std::move(done)); },
        .onCompleted = [&state] { state.registerLoginItem(); },
        .onOpenAppSettings = [&state] { state.openAppSettings(); },
    });
    state.onShowOnboarding = [&onboarding] { onboarding.start(); };
    QObject::connect(&popover, &PopoverWindow::replayOnboardingRequested, &popover, [&] {
        popover.hide();
        onboarding.replay();
    });
    QObject::connect(&popover, &PopoverWindow::practiceFileRequested, &popover, [&] {
        popover.hide();
        onboarding.dropPracticeFile();
    });

    SignalHandler signals({SIGINT, SIGTERM});
    QObject::connect(&signals, &SignalHandler::received, &app, [](int signal) {
        qCInfo(lcApp) << "Received signal" << signal << "- quitting";
        QCoreApplication::quit();
    });

    tray.show();
    QTimer::singleShot(0, &app, [&state] { state.start(); });
    const int status = app.exec();

    // No timer may fire into a worker while the services and their workers go away.
    scheduler.shutdown();
    state.trackedFileActor().call([](TrackedFileStore &s) { s.setChangeObserver({}); }).wait();
    cleanup.setInUseObserver({});
    return status;
}

} // namespace dowsel
