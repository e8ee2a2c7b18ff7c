#include "platform/linux/x11/X11Desktop.h"

#include <QByteArray>
#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <xcb/shape.h>
#include <xcb/xcb.h>

namespace dowsel::x11 {

namespace {

struct FreeDeleter {
    void operator()(void *pointer) const { std::free(pointer); }
};
template <class T>
using XcbReply = std::unique_ptr<T, FreeDeleter>;

xcb_connection_t *connection()
{
    auto *app = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return app ? app->connection() : nullptr;
}

xcb_window_t rootWindow(xcb_connection_t *c)
{
    return xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
}

xcb_atom_t atom(xcb_connection_t *c, const QByteArray &name)
{
    XcbReply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(name.size()), name.constData()),
                              nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void sendToRoot(xcb_connection_t *c, xcb_window_t window, xcb_atom_t type, std::array<std::uint32_t, 5> data)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    for (std::size_t i = 0; i < data.size(); ++i)
        event.data.data32[i] = data[i];
    xcb_send_event(c, 0, rootWindow(c), XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&event));
}

std::optional<xcb_window_t> windowProperty(xcb_connection_t *c, xcb_window_t window, const QByteArray &name)
{
    XcbReply<xcb_get_property_reply_t> property(xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, atom(c, name), XCB_ATOM_WINDOW, 0, 1), nullptr));
    if (!property || xcb_get_property_value_length(property.get()) < 4)
        return std::nullopt;
    const xcb_window_t value = *static_cast<const xcb_window_t *>(xcb_get_property_value(property.get()));
    return value == XCB_WINDOW_NONE ? std::nullopt : std::optional(value);
}

bool hasWindowManager(xcb_connection_t *c)
{
    return windowProperty(c, rootWindow(c), "_NET_SUPPORTING_WM_CHECK").has_value();
}

} // namespace

std::optional<std::uint32_t> activeWindow()
{
    xcb_connection_t *c = connection();
    if (!c)
        return std::nullopt;
    if (const auto active = windowProperty(c, rootWindow(c), "_NET_ACTIVE_WINDOW"))
        return active;
    if (hasWindowManager(c))
        return std::nullopt;
    XcbReply<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    if (!focus || focus->focus == XCB_WINDOW_NONE || focus->focus == XCB_INPUT_FOCUS_POINTER_ROOT)
        return std::nullopt;
    return focus->focus;
}

std::optional<QPoint> activeWindowCenter()
{
    xcb_connection_t *c = connection();
    if (!c)
        return std::nullopt;
    const std::optional<xcb_window_t> active = windowProperty(c, rootWindow(c), "_NET_ACTIVE_WINDOW");
    if (!active)
        return std::nullopt;
    XcbReply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(c, xcb_get_geometry(c, *active), nullptr));
    XcbReply<xcb_translate_coordinates_reply_t> origin(
        xcb_translate_coordinates_reply(c, xcb_translate_coordinates(c, *active, rootWindow(c), 0, 0), nullptr));
    if (!geometry || !origin)
        return std::nullopt;
    return QPoint(origin->dst_x + geometry->width / 2, origin->dst_y + geometry->height / 2);
}

void activateWindow(std::uint32_t window)
{
    xcb_connection_t *c = connection();
    if (!c)
        return;
    XcbReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr));
    if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
        return;
    if (hasWindowManager(c)) {
        constexpr std::uint32_t sourcePager = 2;
        sendToRoot(c, window, atom(c, "_NET_ACTIVE_WINDOW"), {sourcePager, XCB_CURRENT_TIME, 0, 0, 0});
    } else {
        xcb_set_input_focus(c, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    }
    xcb_flush(c);
}

void setStartupId(QWindow &window, const QByteArray &id)
{
    xcb_connection_t *c = connection();
    if (!c || id.isEmpty())
        return;
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                        atom(c, "_NET_STARTUP_ID"), atom(c, "UTF8_STRING"), 8, static_cast<std::uint32_t>(id.size()),
                        id.constData());
    xcb_flush(c);
}

void endStartupSequence(QWindow &window, const QByteArray &id)
{
    xcb_connection_t *c = connection();
    if (!c || id.isEmpty())
        return;
    // A value with a space, a quote or a backslash goes in quotes, those two escaped.
    QByteArray value = id;
    if (value.contains(' ') || value.contains('"') || value.contains('\\')) {
        value.replace('\\', "\\\\").replace('"', "\\\"");
        value = '"' + value + '"';
    }
    // The message with its terminating NUL, 20 bytes an event: the first one says it begins.
    const QByteArray message = "remove: ID=" + value + '\0';
    const xcb_atom_t begin = atom(c, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t more = atom(c, "_NET_STARTUP_INFO");
    constexpr qsizetype chunk = 20;
    for (qsizetype offset = 0; offset < message.size(); offset += chunk) {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 8;
        event.window = static_cast<xcb_window_t>(window.winId());
        event.type = offset == 0 ? begin : more;
        const qsizetype length = std::min(chunk, message.size() - offset);
        std::copy_n(message.constData() + offset, length, event.data.data8);
        xcb_send_event(c, 0, rootWindow(c), XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char *>(&event));
    }
    xcb_flush(c);
}

QString windowManagerName()
{
    xcb_connection_t *c = connection();
    if (!c)
        return {};
    const std::optional<xcb_window_t> check = windowProperty(c, rootWindow(c), "_NET_SUPPORTING_WM_CHECK");
    if (!check)
        return {};
    XcbReply<xcb_get_property_reply_t> name(xcb_get_property_reply(
        c, xcb_get_property(c, 0, *check, atom(c, "_NET_WM_NAME"), atom(c, "UTF8_STRING"), 0, 256), nullptr));
    if (!name || name->format != 8)
        return {};
    return QString::fromUtf8(static_cast<const char *>(xcb_get_property_value(name.get())),
                             xcb_get_property_value_length(name.get()));
}

bool grabKeyboard(QWindow &window)
{
    xcb_connection_t *c = connection();
    if (!c || !window.handle())
        return false;
    // Without owner events: with the focus at the pointer root, a key would otherwise go to
    // whichever of Dowsel's windows lies under the pointer (the island), not to this one.
    XcbReply<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(
        c,
        xcb_grab_keyboard(c, 0, static_cast<xcb_window_t>(window.winId()), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                          XCB_GRAB_MODE_ASYNC),
        nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

void ungrabKeyboard()
{
    if (xcb_connection_t *c = connection()) {
        xcb_ungrab_keyboard(c, XCB_CURRENT_TIME);
        xcb_flush(c);
    }
}

bool hasCompositor()
{
    xcb_connection_t *c = connection();
    if (!c)
        return false;
    // Qt opens the default screen; its number is the one after the dot in DISPLAY.
    const QByteArray display = qgetenv("DISPLAY");
    const int dot = display.lastIndexOf('.');
    const int colon = display.lastIndexOf(':');
    const QByteArray screen = dot > colon ? display.mid(dot + 1) : QByteArray("0");
    const xcb_atom_t selection = atom(c, "_NET_WM_CM_S" + screen);
    XcbReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

bool setInputRegion(QWindow &window, const QRect &region)
{
    xcb_connection_t *c = connection();
    if (!c)
        return false;
    const xcb_query_extension_reply_t *shape = xcb_get_extension_data(c, &xcb_shape_id);
    if (!shape || !shape->present)
        return false;
    const QRect native(region.topLeft() * window.devicePixelRatio(), region.size() * window.devicePixelRatio());
    const xcb_rectangle_t rectangle{static_cast<std::int16_t>(native.x()), static_cast<std::int16_t>(native.y()),
                                    static_cast<std::uint16_t>(std::max(0, native.width())),
                                    static_cast<std::uint16_t>(std::max(0, native.height()))};
    xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         static_cast<xcb_window_t>(window.winId()), 0, 0, 1, &rectangle);
    xcb_flush(c);
    return true;
}

void keepOnAllDesktopsAndAbove(QWindow &window)
{
    xcb_connection_t *c = connection();
    if (!c)
        return;
    const auto id = static_cast<xcb_window_t>(window.winId());
    constexpr std::uint32_t allDesktops = 0xFFFFFFFF;
    constexpr std::uint32_t addState = 1;
    const xcb_atom_t desktop = atom(c, "_NET_WM_DESKTOP");
    const xcb_atom_t state = atom(c, "_NET_WM_STATE");
    // Read at map time by the window manager...
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, desktop, XCB_ATOM_CARDINAL, 32, 1, &allDesktops);
    // ...and asked for again, as EWMH wants for windows already mapped.
    sendToRoot(c, id, desktop, {allDesktops, 1, 0, 0, 0});
    sendToRoot(c, id, state, {addState, atom(c, "_NET_WM_STATE_STICKY"), atom(c, "_NET_WM_STATE_ABOVE"), 1, 0});
    xcb_flush(c);
}

void drawWithoutShadow(QWindow &window)
{
    xcb_connection_t *c = connection();
    if (!c)
        return;
    const auto id = static_cast<xcb_window_t>(window.winId());
    // picom and compton skip the shadow of a window whose _COMPTON_SHADOW is 0.
    constexpr std::uint32_t noShadow = 0;
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, atom(c, "_COMPTON_SHADOW"), XCB_ATOM_CARDINAL, 32, 1, &noShadow);
    xcb_flush(c);
}

} // namespace dowsel::x11
