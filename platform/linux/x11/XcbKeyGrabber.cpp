#include "platform/linux/x11/XcbKeyGrabber.h"

#include "core/Logging.h"

#include <QTimer>

#include <cstdlib>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xinput.h>

namespace dowsel {

namespace {

// X keysyms of the keys Dowsel uses (X11/keysymdef.h).
constexpr xcb_keysym_t keysymNumLock = 0xff7f;
constexpr xcb_keysym_t keysymSuperL = 0xffeb;
constexpr xcb_keysym_t keysymSuperR = 0xffec;
constexpr xcb_keysym_t keysymAltL = 0xffe9;
constexpr xcb_keysym_t keysymAltR = 0xffea;

xcb_keysym_t keysymOf(ShortcutKey key)
{
    switch (key) {
    case ShortcutKey::T:
        return 0x0074;
    case ShortcutKey::S:
        return 0x0073;
    case ShortcutKey::C:
        return 0x0063;
    case ShortcutKey::O:
        return 0x006f;
    case ShortcutKey::M:
        return 0x006d;
    case ShortcutKey::Period:
        return 0x002e;
    case ShortcutKey::Backspace:
        return 0xff08;
    case ShortcutKey::Escape:
        return 0xff1b;
    case ShortcutKey::Return:
        return 0xff0d;
    }
    return 0;
}

constexpr ShortcutKey allKeys[] = {ShortcutKey::T,      ShortcutKey::S,         ShortcutKey::C,
                                   ShortcutKey::O,      ShortcutKey::M,         ShortcutKey::Period,
                                   ShortcutKey::Backspace, ShortcutKey::Escape, ShortcutKey::Return};

struct FreeDeleter {
    void operator()(void *pointer) const { std::free(pointer); }
};
template <class T>
using XcbReply = std::unique_ptr<T, FreeDeleter>;

} // namespace

XcbKeyGrabber::XcbKeyGrabber()
{
    int screenNumber = 0;
    m_connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(m_connection)) {
        qCInfo(lcShortcuts) << "No X server for global shortcuts";
        xcb_disconnect(m_connection);
        m_connection = nullptr;
        return;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    m_root = screens.data->root;
    m_keySymbols = xcb_key_symbols_alloc(m_connection);
    readModifierMasks();
    selectRawKeyEvents();
    xcb_flush(m_connection);

    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] { processEvents(); });
}

XcbKeyGrabber::~XcbKeyGrabber()
{
    m_notifier.reset();
    if (m_keySymbols)
        xcb_key_symbols_free(m_keySymbols);
    if (m_connection)
        xcb_disconnect(m_connection);
}

bool XcbKeyGrabber::isAvailable() const
{
    return m_connection && !xcb_connection_has_error(m_connection);
}

void XcbKeyGrabber::readModifierMasks()
{
    XcbReply<xcb_get_modifier_mapping_reply_t> reply(
        xcb_get_modifier_mapping_reply(m_connection, xcb_get_modifier_mapping(m_connection), nullptr));
    m_masks = {XCB_MOD_MASK_1, XCB_MOD_MASK_4, XCB_MOD_MASK_2}; // the usual layout, if the server says nothing
    if (!reply)
        return;
    const int perModifier = reply->keycodes_per_modifier;
    const xcb_keycode_t *keycodes = xcb_get_modifier_mapping_keycodes(reply.get());
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int i = 0; i < perModifier; ++i) {
            const xcb_keycode_t keycode = keycodes[modifier * perModifier + i];
            if (keycode == 0)
                continue;
            const auto mask = static_cast<std::uint16_t>(1u << modifier);
            for (int column = 0; column < 4; ++column) {
                const xcb_keysym_t sym = xcb_key_symbols_get_keysym(m_keySymbols, keycode, column);
                if (sym == keysymNumLock)
                    m_masks.numLock = mask;
                else if (sym == keysymSuperL || sym == keysymSuperR)
                    m_masks.super = mask;
                else if ((sym == keysymAltL || sym == keysymAltR) && modifier >= 3) // Mod1 to Mod5
                    m_masks.alt = mask;
            }
        }
    }
    for (xcb_keysym_t sym : {keysymAltL, keysymAltR}) {
        std::unique_ptr<xcb_keycode_t, FreeDeleter> codes(xcb_key_symbols_get_keycode(m_keySymbols, sym));
        for (const xcb_keycode_t *code = codes.get(); code && *code != XCB_NO_SYMBOL; ++code)
            m_altKeycodes.insert(*code);
    }
}

void XcbKeyGrabber::selectRawKeyEvents()
{
    const xcb_query_extension_reply_t *extension = xcb_get_extension_data(m_connection, &xcb_input_id);
    if (!extension || !extension->present) {
        qCInfo(lcShortcuts) << "No XInput extension: Alt is not followed";
        return;
    }
    XcbReply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(m_connection, xcb_input_xi_query_version(m_connection, 2, 2), nullptr));
    if (!version || version->major_version < 2) {
        qCInfo(lcShortcuts) << "No XInput 2: Alt is not followed";
        return;
    }
    m_xinputOpcode = extension->major_opcode;
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t bits;
    } mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
           XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
    xcb_input_xi_select_events(m_connection, m_root, 1, &mask.head);
}

std::vector<std::uint8_t> XcbKeyGrabber::keycodesFor(ShortcutKey key) const
{
    std::vector<std::uint8_t> result;
    std::unique_ptr<xcb_keycode_t, FreeDeleter> codes(xcb_key_symbols_get_keycode(m_keySymbols, keysymOf(key)));
    for (const xcb_keycode_t *code = codes.get(); code && *code != XCB_NO_SYMBOL; ++code)
        result.push_back(*code);
    return result;
}

std::uint16_t XcbKeyGrabber::modifierMask(unsigned modifiers) const
{
    std::uint16_t mask = 0;
    if (modifiers & ShiftModifier)
        mask |= XCB_MOD_MASK_SHIFT;
    if (modifiers & ControlModifier)
        mask |= XCB_MOD_MASK_CONTROL;
    if (modifiers & AltModifier)
        mask |= m_masks.alt;
    if (modifiers & SuperModifier)
        mask |= m_masks.super;
    return mask;
}

std::array<std::uint16_t, 4> XcbKeyGrabber::lockVariants() const
{
    const std::uint16_t caps = XCB_MOD_MASK_LOCK;
    return {0, caps, m_masks.numLock, static_cast<std::uint16_t>(caps | m_masks.numLock)};
}

std::vector<KeyCombination> XcbKeyGrabber::grab(const std::vector<KeyCombination> &combinations)
{
    std::vector<KeyCombination> failed;
    if (!isAvailable())
        return combinations;
    xcb_ungrab_key(m_connection, XCB_GRAB_ANY, m_root, XCB_MOD_MASK_ANY);
    for (const KeyCombination &combination : combinations) {
        const std::uint16_t modifiers = modifierMask(combination.modifiers);
        std::vector<xcb_void_cookie_t> cookies;
        for (std::uint8_t keycode : keycodesFor(combination.key)) {
            for (std::uint16_t locks : lockVariants()) {
                cookies.push_back(xcb_grab_key_checked(m_connection, 1, m_root, modifiers | locks, keycode,
                                                       XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
            }
        }
        bool held = cookies.empty(); // a key missing from the layout cannot be had either
        for (xcb_void_cookie_t cookie : cookies) {
            if (XcbReply<xcb_generic_error_t> error{xcb_request_check(m_connection, cookie)})
                held = true; // BadAccess: another client grabbed it first
        }
        if (held) {
            for (std::uint8_t keycode : keycodesFor(combination.key)) {
                for (std::uint16_t locks : lockVariants())
                    xcb_ungrab_key(m_connection, keycode, m_root, modifiers | locks);
            }
            failed.push_back(combination);
        }
    }
    xcb_flush(m_connection);
    // Replies read above may have queued events without waking the socket notifier.
    QTimer::singleShot(0, m_notifier.get(), [this] { processEvents(); });
    return failed;
}

void XcbKeyGrabber::ungrabAll()
{
    if (!isAvailable())
        return;
    xcb_ungrab_key(m_connection, XCB_GRAB_ANY, m_root, XCB_MOD_MASK_ANY);
    xcb_flush(m_connection);
}

void XcbKeyGrabber::releaseKeyboard()
{
    if (!isAvailable())
        return;
    xcb_ungrab_key(m_connection, XCB_GRAB_ANY, m_root, XCB_MOD_MASK_ANY);
    // The press of a grabbed combination turned our passive grab into an active one that
    // lasts until the key goes up; a popup grabbing the keyboard meanwhile would fail.
    xcb_ungrab_keyboard(m_connection, XCB_CURRENT_TIME);
    // A round trip: the server has carried out both before another connection asks for the
    // keyboard.
    XcbReply<xcb_get_input_focus_reply_t> sync(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    // Reading the reply may have queued events without waking the socket notifier.
    QTimer::singleShot(0, m_notifier.get(), [this] { processEvents(); });
}

void XcbKeyGrabber::processEvents()
{
    while (xcb_generic_event_t *event = xcb_poll_for_event(m_connection)) {
        XcbReply<xcb_generic_event_t> owned(event);
        handleEvent(event);
    }
    if (xcb_connection_has_error(m_connection)) {
        qCWarning(lcShortcuts) << "Lost the X connection of the global shortcuts";
        m_notifier->setEnabled(false);
    }
}

void XcbKeyGrabber::handleEvent(const xcb_generic_event_t *event)
{
    const std::uint8_t type = event->response_type & 0x7f;
    if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
        // While a grab of ours is active (a shortcut's key is still down) the server sends the
        // keyboard's events to us as core events and withholds the raw ones: Alt let go
        // before that key arrives only here.
        const auto *key = reinterpret_cast<const xcb_key_press_event_t *>(event);
        const bool isPress = type == XCB_KEY_PRESS;
        handleAltKey(key->detail, isPress);
        if (isPress)
            handleKeyPress(key->detail, key->state);
    } else if (type == XCB_GE_GENERIC && m_xinputOpcode != 0) {
        const auto *generic = reinterpret_cast<const xcb_ge_generic_event_t *>(event);
        if (generic->extension != m_xinputOpcode)
            return;
        if (generic->event_type == XCB_INPUT_RAW_KEY_PRESS || generic->event_type == XCB_INPUT_RAW_KEY_RELEASE) {
            const auto *raw = reinterpret_cast<const xcb_input_raw_key_press_event_t *>(event);
            handleAltKey(static_cast<std::uint8_t>(raw->detail), generic->event_type == XCB_INPUT_RAW_KEY_PRESS);
        }
    } else if (type == XCB_MAPPING_NOTIFY) {
        auto *mapping = reinterpret_cast<xcb_mapping_notify_event_t *>(const_cast<xcb_generic_event_t *>(event));
        xcb_refresh_keyboard_mapping(m_keySymbols, mapping);
        m_altKeycodes.clear();
        readModifierMasks();
    }
}

void XcbKeyGrabber::handleKeyPress(std::uint8_t keycode, std::uint16_t state)
{
    if (!onPressed)
        return;
    unsigned modifiers = NoModifier;
    if (state & XCB_MOD_MASK_SHIFT)
        modifiers |= ShiftModifier;
    if (state & XCB_MOD_MASK_CONTROL)
        modifiers |= ControlModifier;
    if (m_masks.alt && (state & m_masks.alt))
        modifiers |= AltModifier;
    if (m_masks.super && (state & m_masks.super))
        modifiers |= SuperModifier;
    for (ShortcutKey key : allKeys) {
        for (std::uint8_t code : keycodesFor(key)) {
            if (code == keycode) {
                onPressed({key, modifiers}, {});
                return;
            }
        }
    }
}

void XcbKeyGrabber::handleAltKey(std::uint8_t keycode, bool isPress)
{
    if (!m_altKeycodes.contains(keycode))
        return;
    const bool wasDown = !m_altKeysDown.empty();
    if (isPress)
        m_altKeysDown.insert(keycode);
    else
        m_altKeysDown.erase(keycode);
    const bool isDown = !m_altKeysDown.empty();
    if (isDown != wasDown && onAltChanged)
        onAltChanged(isDown);
}

} // namespace dowsel
