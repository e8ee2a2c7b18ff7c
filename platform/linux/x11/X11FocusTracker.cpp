#include "platform/linux/x11/X11FocusTracker.h"

#include "platform/linux/x11/X11Desktop.h"

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include <algorithm>

namespace dowsel {

namespace {

bool isOwnWindow(FocusTracker::WindowHandle window)
{
    const QWindowList windows = QGuiApplication::allWindows();
    return std::any_of(windows.begin(), windows.end(), [window](const QWindow *own) {
        return own->handle() && own->winId() == window;
    });
}

} // namespace

X11FocusTracker::X11FocusTracker(std::function<QWidget *()> selfWindow) : m_selfWindow(std::move(selfWindow)) {}

std::optional<FocusTracker::WindowHandle> X11FocusTracker::activeForeignWindow() const
{
    const std::optional<std::uint32_t> active = x11::activeWindow();
    if (!active || isOwnWindow(*active))
        return std::nullopt;
    return *active;
}

void X11FocusTracker::activateSelf()
{
    QWidget *window = m_selfWindow ? m_selfWindow() : nullptr;
    if (!window || !window->isVisible())
        return;
    window->raise();
    // An unmanaged window holds the keyboard with a grab; asking for the focus as well would
    // only have it taken back by an Xwayland window manager, and the window lose the keys.
    if (!(window->windowFlags() & Qt::X11BypassWindowManagerHint))
        window->activateWindow();
}

void X11FocusTracker::activate(WindowHandle window)
{
    if (window > 0xFFFFFFFFu || isOwnWindow(window))
        return;
    x11::activateWindow(static_cast<std::uint32_t>(window));
}

} // namespace dowsel
