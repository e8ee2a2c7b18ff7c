#pragma once

#include "platform/FocusTracker.h"

#include <functional>

class QWidget;

namespace dowsel {

// Keyboard focus between X11 clients. The active window is read from the window manager
// (or the X input focus without one); Dowsel's own windows never count as "the window that
// had the keyboard". Activating Dowsel means giving the keyboard to `selfWindow`, the panel
// that is waiting for it; there is nothing to activate when it returns null.
class X11FocusTracker final : public FocusTracker {
public:
    explicit X11FocusTracker(std::function<QWidget *()> selfWindow);

    std::optional<WindowHandle> activeForeignWindow() const override;
    void activateSelf() override;
    void activate(WindowHandle window) override;

private:
    std::function<QWidget *()> m_selfWindow;
};

} // namespace dowsel
