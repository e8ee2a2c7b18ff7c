// Listens on the X root window, as a window manager does, for startup-notification messages
// (_NET_STARTUP_INFO_BEGIN, then _NET_STARTUP_INFO, 20 bytes each, up to a NUL) and prints
// each one whole on a line, with the id of the window that sent it: "0x1a00007 remove: ID=x".
// Prints "ready" once it listens.
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

namespace {

xcb_atom_t internAtom(xcb_connection_t *c, const char *name)
{
    xcb_intern_atom_reply_t *reply =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr);
    const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return atom;
}

} // namespace

int main()
{
    xcb_connection_t *c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "startup_listener: cannot open the display\n");
        return 2;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const xcb_atom_t begin = internAtom(c, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t more = internAtom(c, "_NET_STARTUP_INFO");
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &mask);
    // A round trip: the mask is in place before the test is told to go on.
    xcb_get_input_focus_reply_t *sync = xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr);
    std::free(sync);
    std::puts("ready");
    std::fflush(stdout);

    // Messages from several senders may interleave: each is put together per window.
    std::map<xcb_window_t, std::string> partial;
    while (xcb_generic_event_t *event = xcb_wait_for_event(c)) {
        if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE) {
            const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
            if (message->format == 8 && (message->type == begin || message->type == more)) {
                std::string &text = partial[message->window];
                if (message->type == begin)
                    text.clear();
                const char *data = reinterpret_cast<const char *>(message->data.data8);
                const std::size_t length = strnlen(data, 20);
                text.append(data, length);
                if (length < 20) {
                    std::printf("0x%x %s\n", message->window, text.c_str());
                    std::fflush(stdout);
                    partial.erase(message->window);
                }
            }
        }
        std::free(event);
    }
    return 0;
}
