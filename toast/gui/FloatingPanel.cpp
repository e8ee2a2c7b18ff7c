#include "toast/gui/FloatingPanel.h"

#include "platform/linux/x11/X11Desktop.h"

#include <QWindow>

namespace dowsel {

namespace {

Qt::WindowFlags flagsFor(FloatingPanel::Role role)
{
    Qt::WindowFlags flags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint;
    if (role == FloatingPanel::Role::display) {
        // The toast never takes focus, so it can stay out of the window manager's hands:
        // an unmanaged window is on every desktop, over full-screen windows, and never
        // stolen focus from or given focus to, whatever the window manager.
        flags |= Qt::WindowDoesNotAcceptFocus | Qt::X11BypassWindowManagerHint;
    }
    return flags;
}

} // namespace

FloatingPanel::FloatingPanel(Role role, QSize initialSize, QWidget *parent)
    : QWidget(parent, flagsFor(role)), m_role(role), m_translucent(x11::hasCompositor())
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
    if (m_role == Role::keyboard)
        activateWindow();
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
    if (m_role == Role::keyboard) {
        if (QWindow *window = windowHandle())
            x11::keepOnAllDesktopsAndAbove(*window);
    }
}

} // namespace dowsel
