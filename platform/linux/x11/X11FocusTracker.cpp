#include "platform/linux/x11/X11FocusTracker.h"

#include "platform/linux/x11/X11Desktop.h"

#include <QGuiApplication>
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

X11FocusTracker::X11FocusTracker(std::function<void()> activateSelf) : m_activateSelf(std::move(activateSelf)) {}

std::optional<FocusTracker::WindowHandle> X11FocusTracker::activeForeignWindow() const
{
    const std::optional<std::uint32_t> active = x11::activeWindow();
    if (!active || isOwnWindow(*active))
        return std::nullopt;
    return *active;
}

void X11FocusTracker::activateSelf()
{
    if (m_activateSelf)
        m_activateSelf();
}

void X11FocusTracker::activate(WindowHandle window)
{
    if (window > 0xFFFFFFFFu || isOwnWindow(window))
        return;
    x11::activateWindow(static_cast<std::uint32_t>(window));
}

} // namespace dowsel
