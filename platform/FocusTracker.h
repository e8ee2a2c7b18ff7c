#pragma once

#include <cstdint>
#include <optional>

namespace dowsel {

// Keyboard focus between applications: the toast's text inputs take the keyboard and give it
// back to the window that had it.
class FocusTracker {
public:
    using WindowHandle = std::uint64_t; // an X11 window id, or what the session offers

    virtual ~FocusTracker() = default;
    // The active window, unless it is one of Dowsel's own.
    virtual std::optional<WindowHandle> activeForeignWindow() const = 0;
    virtual void activateSelf() = 0;
    virtual void activate(WindowHandle window) = 0;
};

} // namespace dowsel
