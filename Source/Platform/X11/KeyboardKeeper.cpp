#include "Platform/X11/KeyboardKeeper.h"

#include <algorithm>

namespace nocta {

KeyboardKeeper::KeyboardKeeper(const XConnection& server, xcb_window_t window) : server(server), window(window) {}

bool KeyboardKeeper::take() {
    const auto owner = focused();
    if (owner == window) {
        return false;
    }
    // The first stays the first; who asks again is the last again.
    const auto known = std::ranges::find(owners, owner);
    if (owners.empty() || known != owners.begin()) {
        if (known != owners.end()) {
            owners.erase(known);
        }
        owners.push_back(owner);
    }
    // With the current time, and not with that of the last event: that may be older than the present owner's.
    xcb_set_input_focus(server.get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    server.flush();
    return true;
}

void KeyboardKeeper::giveBack() {
    if (owners.empty() || focused() != window) {
        owners.clear();
        return;
    }
    auto next = owners.front();
    if (next > XCB_INPUT_FOCUS_POINTER_ROOT && !isViewable(next)) {
        const auto last =
            std::find_if(owners.rbegin(), owners.rend(), [this](auto other) { return isViewable(other); });
        next = last != owners.rend() ? *last : xcb_window_t{XCB_INPUT_FOCUS_POINTER_ROOT};
    }
    xcb_set_input_focus(server.get(), XCB_INPUT_FOCUS_PARENT, next, XCB_CURRENT_TIME);
    // Before the window goes, by another connection: a window manager that finds the focus lost chooses somebody
    // itself.
    server.synchronize();
    owners.clear();
}

xcb_window_t KeyboardKeeper::focused() const {
    const XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(server.get(), xcb_get_input_focus(server.get()), nullptr));
    return reply ? reply->focus : xcb_window_t{XCB_INPUT_FOCUS_NONE};
}

bool KeyboardKeeper::isViewable(xcb_window_t other) const {
    const XReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(server.get(), xcb_get_window_attributes(server.get(), other), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

} // namespace nocta
