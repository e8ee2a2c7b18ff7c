#pragma once

#include <QString>

#include <functional>
#include <vector>

namespace dowsel {

// The keys that Dowsel's global shortcuts use, independent of the keyboard layout.
enum class ShortcutKey { T, S, C, O, M, Period, Backspace, Escape, Return };

// Modifier bits of a key combination. Lock keys (Caps Lock, Num Lock) are never part of one.
enum ModifierFlag : unsigned {
    NoModifier = 0,
    ShiftModifier = 1u << 0,
    ControlModifier = 1u << 1,
    AltModifier = 1u << 2,
    SuperModifier = 1u << 3,
};

struct KeyCombination {
    ShortcutKey key;
    unsigned modifiers = NoModifier;

    friend bool operator==(const KeyCombination &, const KeyCombination &) = default;
};

// A system-wide key hook that can swallow keys: while a combination is grabbed, its presses
// go to Dowsel and never reach the focused application; every other key is untouched. It
// also reports the Alt key going down and up without taking it from anyone.
class KeyGrabber {
public:
    virtual ~KeyGrabber() = default;

    // False when there is no way to grab keys here (no X server, Wayland without a portal).
    virtual bool isAvailable() const = 0;
    // Replaces the grabbed set with `combinations`. Returns those that could not be grabbed
    // because another program already holds them.
    virtual std::vector<KeyCombination> grab(const std::vector<KeyCombination> &combinations) = 0;
    virtual void ungrabAll() = 0;
    // Ungrabs everything and also ends a grab that a held shortcut has made active, so that
    // a window of Dowsel that asks for the keyboard right after gets it.
    virtual void releaseKeyboard() { ungrabAll(); }
    // Whether the keys reach Dowsel whatever window has the focus on any session. X11 grabs
    // do so only on an X11 session, which the caller knows; the desktop's portal always does.
    virtual bool isDesktopWide() const { return false; }

    // Called on the main thread, from the event loop. `activationToken`: what the desktop
    // handed over with the press so that a window opened in answer may take the focus (an
    // xdg-activation token); empty when it gave none.
    std::function<void(KeyCombination, const QString &activationToken)> onPressed;
    std::function<void(bool isDown)> onAltChanged;
    // Called on the main thread when isAvailable() changed after the start (a portal that
    // answered).
    std::function<void()> onAvailabilityChanged;
};

} // namespace dowsel
