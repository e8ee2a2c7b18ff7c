#include "toast/gui/ToastUi.h"

#include "core/Session.h"
#include "platform/linux/SwayIpc.h"
#include "platform/linux/gui/PortalKeyGrabber.h"
#include "platform/linux/gui/QtClipboard.h"
#include "platform/linux/gui/QtWorkspace.h"
#include "platform/linux/x11/X11FocusTracker.h"
#include "platform/linux/x11/XcbKeyGrabber.h"
#include "platform/Executor.h"
#include "toast/gui/FloatingPanel.h"

#include <QGuiApplication>
#include <QPointer>

namespace dowsel {

ToastDesktop linuxToastDesktop()
{
    // On Wayland the X server is Xwayland: its grabs would see keys only over X11 windows.
    std::unique_ptr<KeyGrabber> keys;
    if (currentSession().type == SessionType::wayland)
        keys = std::make_unique<PortalKeyGrabber>(QDBusConnection::sessionBus());
    else
        keys = std::make_unique<XcbKeyGrabber>();
    return {std::make_unique<QtWorkspace>(), std::make_unique<QtClipboard>(), std::move(keys), nullptr};
}

ToastUi::ToastUi(const ToastUiServices &services, ToastDesktop desktop)
    : m_main(services.mainExecutor), m_workspace(std::move(desktop.workspace)), m_clipboard(std::move(desktop.clipboard)),
      m_keyGrabber(std::move(desktop.keyGrabber)), m_host(services.clock, services.thumbnails),
      m_focus(desktop.focus ? std::move(desktop.focus) : std::make_unique<X11FocusTracker>([this] {
          if (auto *panel = qobject_cast<FloatingPanel *>(m_host.keyPanel()); panel && panel->isVisible())
              panel->makeKeyAndOrderFront();
      })),
      m_controller(std::make_unique<ToastController>(ToastController::Services{
          .store = services.store,
          .cleanupService = services.cleanupService,
          .preferences = services.preferences,
          .clock = services.clock,
          .scheduler = services.scheduler,
          .mainExecutor = services.mainExecutor,
          .host = m_host,
          .focus = *m_focus,
          .workspace = *m_workspace,
          .clipboard = *m_clipboard,
          .launcher = services.launcher,
          .mover = services.mover,
          .folderIndex = services.folderIndex,
          .moveMRU = services.moveMRU,
          .shareTargets = services.shareTargets,
          .siteDestinations = services.siteDestinations,
          .duplicates = services.duplicates,
      })),
      m_shortcuts(*m_keyGrabber, services.mainExecutor)
{
    m_host.bind(*m_controller);
    m_host.beforeTakingKeyboard = [this] { m_shortcuts.releaseKeyboard(); };
    QObject::connect(m_controller.get(), &ToastController::moveProgress, &m_host, &QtToastHost::showMoveProgress);

    // Shortcuts run later on the main executor; by then the toast UI may be gone.
    const QPointer<ToastController> alive = m_controller.get();
    m_shortcuts.onAction = [this, alive](ShortcutAction action, const QString &activationToken) {
        if (alive)
            runShortcut(action, activationToken);
    };
    m_shortcuts.onOptionHeldChanged = [alive](bool isHeld) {
        if (alive)
            alive->setOptionHeld(isHeld);
    };
    QObject::connect(m_controller.get(), &ToastController::changed, m_controller.get(), [this] { updateShortcuts(); });
    m_keyGrabber->onAvailabilityChanged = [this] {
        m_shortcuts.installEventTap();
        updateShortcuts();
        if (onShortcutsAvailabilityChanged)
            onShortcutsAvailabilityChanged();
    };
    m_shortcuts.installEventTap();
    updateShortcuts();
    if (auto *portal = dynamic_cast<PortalKeyGrabber *>(m_keyGrabber.get()))
        portal->start();

    // A click elsewhere takes the keyboard from an open input, which then closes as cancelled.
    QObject::connect(qGuiApp, &QGuiApplication::applicationStateChanged, m_controller.get(),
                     [controller = m_controller.get()](Qt::ApplicationState state) {
                         if (state == Qt::ApplicationActive)
                             return;
                         QMetaObject::invokeMethod(
                             controller,
                             [controller] {
                                 if (QGuiApplication::applicationState() != Qt::ApplicationActive)
                                     controller->appDidResignActive();
                             },
                             Qt::QueuedConnection);
                     });
    // Under sway an open input holds the keyboard without the application being active; sway
    // tells when a click gives the keyboard to another window.
    if (const QByteArray sway = qgetenv("SWAYSOCK"); !sway.isEmpty() && currentSession().type == SessionType::wayland) {
        m_swayFocus = std::make_unique<SwayFocusWatcher>(sway);
        QObject::connect(m_swayFocus.get(), &SwayFocusWatcher::windowFocused, m_controller.get(), [this] {
            const auto *panel = qobject_cast<const FloatingPanel *>(m_host.keyPanel());
            if (panel && panel->isVisible() && panel->isUnmanaged())
                m_controller->appDidResignActive();
        });
    }
}

ToastUi::~ToastUi()
{
    m_keyGrabber->onAvailabilityChanged = nullptr;
}

void ToastUi::updateShortcuts()
{
    const ToastController &controller = *m_controller;
    const bool isToastShown = controller.state() == DynamicIslandToastState::visible && controller.panel()
                              && controller.panel()->isOnScreen() && !controller.toastEntries().empty();
    m_shortcuts.update({controller.isOnboardingActive(), isToastShown, controller.isAnySurfaceOpen()});
}

std::optional<CommandRefusal> ToastUi::runCommand(ShortcutAction action, std::optional<Seconds> duration,
                                                  const QString &activationToken)
{
    // Nothing to trash is said, not done silently. Checked now, as the toast stands.
    if (action == ShortcutAction::trashCopies && !commandRefusal(m_shortcuts.context()) && !m_controller->hasCopies())
        return CommandRefusal::noCopy;
    if (!duration || action != ShortcutAction::markTemporary)
        return m_shortcuts.runCommand(action, activationToken);
    if (const auto refusal = commandRefusal(m_shortcuts.context()))
        return refusal;
    const QPointer<ToastController> alive = m_controller.get();
    m_main.post([alive, duration] {
        if (alive)
            alive->markTemporary(duration);
    });
    return std::nullopt;
}

void ToastUi::runShortcut(ShortcutAction action, const QString &activationToken)
{
    ToastController &controller = *m_controller;
    // Only the inputs and the More menu take the keyboard: the token goes to the panel that
    // opens now, and to no later one.
    const bool takesKeyboard = action == ShortcutAction::customTime || action == ShortcutAction::move
                               || action == ShortcutAction::more;
    m_host.setActivationToken(takesKeyboard ? activationToken : QString());
    switch (action) {
    case ShortcutAction::customTime:
        controller.openTimeInput();
        break;
    case ShortcutAction::share:
        controller.share();
        break;
    case ShortcutAction::copy:
        controller.performCopy();
        break;
    case ShortcutAction::markTemporary:
        controller.markTemporary();
        break;
    case ShortcutAction::open:
        controller.performOpen();
        break;
    case ShortcutAction::move:
        controller.openMoveInput();
        break;
    case ShortcutAction::more:
        controller.openMoreMenu();
        break;
    case ShortcutAction::deleteNow:
        controller.performDelete();
        break;
    case ShortcutAction::trashCopies:
        controller.trashCopies();
        break;
    case ShortcutAction::dismiss:
        controller.dismissAll();
        break;
    case ShortcutAction::onboardingPrimary:
        if (onOnboardingPrimary)
            onOnboardingPrimary();
        break;
    }
    m_host.setActivationToken({});
}

std::unique_ptr<ToastUi> createToastUi(const ToastUiServices &services)
{
    return std::make_unique<ToastUi>(services, linuxToastDesktop());
}

} // namespace dowsel
