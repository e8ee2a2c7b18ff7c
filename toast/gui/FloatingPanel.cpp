#include "toast/gui/FloatingPanel.h"

#include "core/Logging.h"
#include "platform/linux/x11/X11Desktop.h"

#include <QGuiApplication>
#include <QPointer>
#include <QTimer>
#include <QWindow>

namespace dowsel {

namespace {

// The panel holding the keyboard grab: one per X client, each new grab replacing the last.
QPointer<FloatingPanel> grabbingPanel;

std::function<bool()> &unmanagedKeyboardPanels()
{
    static std::function<bool()> unmanaged;
    return unmanaged;
}

bool unmanagedRole(FloatingPanel::Role role)
{
    return role == FloatingPanel::Role::display || (unmanagedKeyboardPanels() && unmanagedKeyboardPanels()());
}

Qt::WindowFlags flagsFor(FloatingPanel::Role role, bool unmanaged)
{
    const Qt::WindowFlags common = Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint;
    if (role == FloatingPanel::Role::keyboard && unmanaged) {
        // A plain window type: a utility (Qt::Tool) or a notification is never given the keyboard.
        return Qt::Window | common | Qt::X11BypassWindowManagerHint;
    }
    Qt::WindowFlags flags = Qt::Tool | common;
    if (role == FloatingPanel::Role::display) {
        // The toast never takes focus, so it can stay out of the window manager's hands:
        // an unmanaged window is on every desktop, over full-screen windows, and never
        // stolen focus from or given focus to, whatever the window manager.
        flags |= Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint;
    }
    return flags;
}

} // namespace

void FloatingPanel::setKeyboardPanelsUnmanaged(std::function<bool()> unmanaged)
{
    unmanagedKeyboardPanels() = std::move(unmanaged);
}

FloatingPanel::FloatingPanel(Role role, QSize initialSize, QWidget *parent)
    : FloatingPanel(role, unmanagedRole(role), initialSize, parent)
{
}

FloatingPanel::FloatingPanel(Role role, bool unmanaged, QSize initialSize, QWidget *parent)
    : QWidget(parent, flagsFor(role, unmanaged)), m_role(role), m_unmanaged(unmanaged),
      m_translucent(x11::hasCompositor())
{
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground, m_translucent);
    setAttribute(Qt::WA_X11NetWmWindowTypeNotification, role == Role::display);
    setAutoFillBackground(false);
    resize(initialSize);
}

void FloatingPanel::orderFront()
{
    show();
    raise();
}

void FloatingPanel::makeKeyAndOrderFront()
{
    orderFront();
    if (m_role != Role::keyboard)
        return;
    const QByteArray token = m_activationTokenUsed ? QByteArray() : m_activationToken.toUtf8();
    m_activationTokenUsed = true;
    // An unmanaged window holds the keyboard with a grab; asking for the focus as well would
    // only have it taken back by an Xwayland window manager, and the window lose the keys.
    if (!m_unmanaged) {
        // Qt's Wayland plugin hands XDG_ACTIVATION_TOKEN to the compositor with the next
        // activation request. Cleared after, should the compositor not take tokens at all.
        const bool wayland = !token.isEmpty() && QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
        if (wayland)
            qputenv("XDG_ACTIVATION_TOKEN", token);
        activateWindow();
        if (wayland)
            qunsetenv("XDG_ACTIVATION_TOKEN");
    }
    if (QWindow *window = windowHandle(); window && !token.isEmpty())
        x11::endStartupSequence(*window, token);
}

void FloatingPanel::orderOut()
{
    hide();
}

void FloatingPanel::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (QWindow *window = windowHandle(); window && m_translucent)
        x11::drawWithoutShadow(*window);
    // Managed or not: the window manager reads it at map time, which follows this event.
    if (QWindow *window = windowHandle(); window && m_role == Role::keyboard && !m_activationTokenUsed)
        x11::setStartupId(*window, m_activationToken.toUtf8());
    if (m_role == Role::keyboard && m_unmanaged) {
        m_grabAttempts = 50;
        grabKeyboardWhenViewable();
    }
    if (!m_unmanaged) {
        if (QWindow *window = windowHandle())
            x11::keepOnAllDesktopsAndAbove(*window);
    }
}

void FloatingPanel::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (m_role == Role::keyboard && m_unmanaged) {
        m_grabAttempts = 0;
        // A panel fading out after the next one took the grab must not end that one's.
        if (grabbingPanel == this) {
            grabbingPanel = nullptr;
            x11::ungrabKeyboard();
        }
    }
}

// The compositor gives an unmanaged window its keyboard when the window appears; the grab
// makes the X server send the keys here. The window becomes viewable a moment after show().
void FloatingPanel::grabKeyboardWhenViewable()
{
    if (m_grabAttempts <= 0 || !isVisible())
        return;
    --m_grabAttempts;
    QWindow *window = windowHandle();
    if (window && x11::grabKeyboard(*window)) {
        grabbingPanel = this;
        qCDebug(lcToast) << "Keyboard grabbed for an input panel";
        return;
    }
    if (m_grabAttempts == 0) {
        qCWarning(lcToast) << "Could not grab the keyboard for an input panel: another program holds it";
        return;
    }
    QTimer::singleShot(20, this, [this] { grabKeyboardWhenViewable(); });
}

} // namespace dowsel
