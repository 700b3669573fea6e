#include "Platform/X11/ManagedWindow.h"

#include <array>
#include <cstdint>
#include <vector>

#include <QVariant>
#include <QWindow>

namespace nocta {

namespace {

/// The server's time of now. A request in the name of an older time is one that the user has gone on from.
xcb_timestamp_t serverTime() {
    // Of a connection without other events. The server tells the time with the change of a property.
    const XConnection server;
    if (server.isLost()) {
        return XCB_CURRENT_TIME;
    }
    const auto window = xcb_generate_id(server.get());
    constexpr std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(server.get(), 0, window, server.root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    xcb_change_property(server.get(), XCB_PROP_MODE_APPEND, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
    server.flush();
    while (const XReply<xcb_generic_event_t> event{xcb_wait_for_event(server.get())}) {
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
            return reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->time; // NOLINT
        }
    }
    return XCB_CURRENT_TIME;
}

} // namespace

void prepareManaged(QWindow& window) {
    window.setFlags(Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    // Otherwise the window manager holds the time of Qt's last event against it, and tells that it waits.
    window.setProperty("_q_showWithoutActivating", QVariant(true));
}

void setManagedStates(const XConnection& server, xcb_window_t window, std::span<const std::string_view> more) {
    // Of a kind that window managers do not animate.
    const auto type = server.atom("_NET_WM_WINDOW_TYPE_UTILITY");
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, server.atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM,
                        32, 1, &type);
    std::vector states{server.atom("_NET_WM_STATE_ABOVE"), server.atom("_NET_WM_STATE_STICKY"),
                       server.atom("_NET_WM_STATE_SKIP_TASKBAR"), server.atom("_NET_WM_STATE_SKIP_PAGER")};
    for (const auto state : more) {
        states.push_back(server.atom(state));
    }
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, server.atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32,
                        static_cast<std::uint32_t>(states.size()), states.data());
}

void activate(const XConnection& server, xcb_window_t window) {
    constexpr std::uint32_t byUser = 2; // a program that acts in the user's name; a mere program may be refused
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = server.atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = byUser;       // NOLINT(cppcoreguidelines-pro-type-union-access)
    message.data.data32[1] = serverTime(); // NOLINT(cppcoreguidelines-pro-type-union-access)
    xcb_send_event(server.get(), 0, server.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message)); // NOLINT
    server.flush();
}

} // namespace nocta
