#pragma once

#include "platform/FocusTracker.h"

#include <functional>

namespace dowsel {

// Keyboard focus between X11 clients. The active window is read from the window manager
// (or the X input focus without one); Dowsel's own windows never count as "the window that
// had the keyboard". Activating Dowsel means calling `activateSelf`, which gives the keyboard
// to the panel waiting for it, if any.
class X11FocusTracker final : public FocusTracker {
public:
    explicit X11FocusTracker(std::function<void()> activateSelf);

    std::optional<WindowHandle> activeForeignWindow() const override;
    void activateSelf() override;
    void activate(WindowHandle window) override;

private:
    std::function<void()> m_activateSelf;
};

} // namespace dowsel
