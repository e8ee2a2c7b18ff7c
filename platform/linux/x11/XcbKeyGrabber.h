#pragma once

#include "platform/KeyGrabber.h"

#include <QSocketNotifier>

#include <array>
#include <cstdint>
#include <memory>
#include <set>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

namespace dowsel {

// Global shortcuts on X11: passive key grabs on the root window, on a connection of its
// own read by the main thread's event loop. Every combination is grabbed once for each
// state of Caps Lock and Num Lock, so the shortcuts work whatever the lock keys say. Alt is
// followed through XInput2 raw key events, which arrive without grabbing anything.
class XcbKeyGrabber final : public KeyGrabber {
public:
    XcbKeyGrabber();
    ~XcbKeyGrabber() override;
    XcbKeyGrabber(const XcbKeyGrabber &) = delete;
    XcbKeyGrabber &operator=(const XcbKeyGrabber &) = delete;

    bool isAvailable() const override;
    std::vector<KeyCombination> grab(const std::vector<KeyCombination> &combinations) override;
    void ungrabAll() override;
    void releaseKeyboard() override;

private:
    struct ModifierMasks {
        std::uint16_t alt = 0;
        std::uint16_t super = 0;
        std::uint16_t numLock = 0;
    };

    void readModifierMasks();
    void selectRawKeyEvents();
    std::vector<std::uint8_t> keycodesFor(ShortcutKey key) const;
    std::uint16_t modifierMask(unsigned modifiers) const;
    std::array<std::uint16_t, 4> lockVariants() const;
    void processEvents();
    void handleEvent(const xcb_generic_event_t *event);
    void handleKeyPress(std::uint8_t keycode, std::uint16_t state);
    void handleAltKey(std::uint8_t keycode, bool isPress);

    xcb_connection_t *m_connection = nullptr;
    xcb_key_symbols_t *m_keySymbols = nullptr;
    std::uint32_t m_root = 0;
    std::uint8_t m_xinputOpcode = 0;
    ModifierMasks m_masks;
    std::set<std::uint8_t> m_altKeycodes;
    std::set<std::uint8_t> m_altKeysDown;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace dowsel
