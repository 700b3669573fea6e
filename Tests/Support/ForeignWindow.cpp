#include "Support/ForeignWindow.h"

#include <algorithm>
#include <array>

namespace nocta::test {

ForeignWindow::ForeignWindow(std::int16_t x, std::int16_t y, std::uint16_t width, std::uint16_t height,
                             std::uint32_t color, Kind kind)
    : window(xcb_generate_id(server.get())) {
    const std::array<std::uint32_t, 3> values{color, kind == Kind::override ? 1U : 0U,
                                              XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_KEY_PRESS |
                                                  XCB_EVENT_MASK_FOCUS_CHANGE};
    xcb_create_window(server.get(), XCB_COPY_FROM_PARENT, window, server.root(), x, y, width, height, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values.data());
    // WM_NORMAL_HINTS: the person chose this place, so that no window manager chooses another.
    const std::array<std::uint32_t, 18> hints{1U << 0U | 1U << 1U};
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                        32, hints.size(), hints.data());
    xcb_map_window(server.get(), window);
    server.synchronize();
}

void ForeignWindow::raise() const {
    const std::uint32_t mode = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(server.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
    server.synchronize();
}

void ForeignWindow::activate() const {
    constexpr std::uint32_t fromPager = 2;
    ask("_NET_ACTIVE_WINDOW", fromPager, 0);
}

void ForeignWindow::setFullScreen() const {
    constexpr std::uint32_t add = 1;
    ask("_NET_WM_STATE", add, server.atom("_NET_WM_STATE_FULLSCREEN"));
}

void ForeignWindow::stealFocus() const {
    xcb_set_input_focus(server.get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    server.synchronize();
}

void ForeignWindow::unmap() const {
    xcb_unmap_window(server.get(), window);
    server.synchronize();
}

bool ForeignWindow::isViewable() const {
    const XReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(server.get(), xcb_get_window_attributes(server.get(), window), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

xcb_window_t ForeignWindow::focused() const {
    const XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(server.get(), xcb_get_input_focus(server.get()), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_NONE};
}

int ForeignWindow::count(int type) {
    server.synchronize();
    while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(server.get())}) {
        const int seen = event->response_type & 0x7f;
        if (seen == XCB_BUTTON_PRESS || seen == XCB_KEY_PRESS) {
            ++counts[seen == XCB_KEY_PRESS ? 1 : 0];
        }
    }
    return counts[type == XCB_KEY_PRESS ? 1 : 0];
}

void ForeignWindow::ask(const std::string& message, std::uint32_t first, std::uint32_t second) const {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = server.atom(message);
    event.data.data32[0] = first;
    event.data.data32[1] = second;
    std::array<char, 32> bytes{};
    static_assert(sizeof event == bytes.size());
    std::copy_n(reinterpret_cast<const char*>(&event), sizeof event, bytes.begin()); // NOLINT: the wire's own form
    xcb_send_event(server.get(), 0, server.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT, bytes.data());
    server.synchronize();
}

} // namespace nocta::test
