#include "toast/gui/FloatingPanel.h"

#include <gtest/gtest.h>

namespace dowsel {
namespace {

struct UnmanagedKeyboardPanels {
    explicit UnmanagedKeyboardPanels(std::function<bool()> unmanaged)
    {
        FloatingPanel::setKeyboardPanelsUnmanaged(std::move(unmanaged));
    }
    ~UnmanagedKeyboardPanels() { FloatingPanel::setKeyboardPanelsUnmanaged({}); }
};

Qt::WindowType typeOf(const QWidget &widget)
{
    return widget.windowType();
}

TEST(FloatingPanel, InputsAreManagedToolWindowsUnlessTheSessionHandsUnmanagedOnesTheKeyboard)
{
    const UnmanagedKeyboardPanels unset({});
    FloatingPanel managed(FloatingPanel::Role::keyboard, QSize(100, 40));
    EXPECT_FALSE(managed.isUnmanaged());
    EXPECT_EQ(typeOf(managed), Qt::Tool);
    EXPECT_FALSE(managed.windowFlags().testFlag(Qt::X11BypassWindowManagerHint));
    EXPECT_FALSE(managed.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));

    FloatingPanel toast(FloatingPanel::Role::display, QSize(100, 40));
    EXPECT_TRUE(toast.isUnmanaged());
    EXPECT_TRUE(toast.windowFlags().testFlag(Qt::X11BypassWindowManagerHint));
    EXPECT_TRUE(toast.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
}

TEST(FloatingPanel, UnmanagedInputsArePlainWindowsThatAcceptTheKeyboard)
{
    bool wlroots = true;
    int asked = 0;
    const UnmanagedKeyboardPanels session([&] {
        ++asked;
        return wlroots;
    });
    FloatingPanel input(FloatingPanel::Role::keyboard, QSize(100, 40));
    EXPECT_TRUE(input.isUnmanaged());
    EXPECT_TRUE(input.windowFlags().testFlag(Qt::X11BypassWindowManagerHint));
    // A utility or notification window is never handed the keyboard by a wlroots compositor.
    EXPECT_EQ(typeOf(input), Qt::Window);
    EXPECT_FALSE(input.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_TRUE(input.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(input.windowFlags().testFlag(Qt::FramelessWindowHint));

    FloatingPanel toast(FloatingPanel::Role::display, QSize(100, 40));
    EXPECT_TRUE(toast.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus)) << "the toast itself never takes the keyboard";
    EXPECT_EQ(asked, 1) << "only inputs ask";

    // Asked again for each new input: the window manager may have come up since.
    wlroots = false;
    FloatingPanel later(FloatingPanel::Role::keyboard, QSize(100, 40));
    EXPECT_FALSE(later.isUnmanaged());
    EXPECT_EQ(typeOf(later), Qt::Tool);
    EXPECT_EQ(asked, 2);
}

} // namespace
} // namespace dowsel
