#include "Platform/X11/KeyboardKeeper.h"

#include "Platform/X11/ManagedWindow.h"

#include <algorithm>

namespace nocta {

namespace {

/// Of this process, whose main thread they belong to.
std::vector<const KeyboardKeeper*>& keepers() {
    static std::vector<const KeyboardKeeper*> all;
    return all;
}

} // namespace

KeyboardKeeper::KeyboardKeeper(const XConnection& server, xcb_window_t window, Giver giver)
    : server(server), window(window), giver(giver) {
    keepers().push_back(this);
}

KeyboardKeeper::~KeyboardKeeper() {
    std::erase(keepers(), this);
}

bool KeyboardKeeper::take() {
    const auto owner = focused();
    if (owner == window) {
        return false;
    }
    if (giver == Giver::windowManager) {
        activate(server, window);
        return true;
    }
    const bool isFirst = owners.empty();
    remember(owner);
    const auto ours = std::ranges::find(keepers(), owner, &KeyboardKeeper::window);
    if (isFirst && ours != keepers().end()) {
        // In reverse, so that the one it would give it to is the last.
        std::for_each((*ours)->owners.rbegin(), (*ours)->owners.rend(), [this](auto other) { remember(other); });
    }
    // With the current time, and not with that of the last event: that may be older than the present owner's.
    xcb_set_input_focus(server.get(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    server.flush();
    return true;
}

/// The first stays the first; who asks again is the last again.
void KeyboardKeeper::remember(xcb_window_t owner) {
    const auto known = std::ranges::find(owners, owner);
    if (known != owners.end() && known == owners.begin()) {
        return;
    }
    if (known != owners.end()) {
        owners.erase(known);
    }
    owners.push_back(owner);
}

void KeyboardKeeper::giveBack() {
    if (owners.empty() || focused() != window) {
        owners.clear();
        return;
    }
    auto next = owners.front();
    const auto lastViewable = [this](const auto& isWanted) {
        return std::find_if(owners.rbegin(), owners.rend(),
                            [&](auto other) { return isWanted(other) && isViewable(other); });
    };
    const auto isOurs = [](auto other) {
        return std::ranges::find(keepers(), other, &KeyboardKeeper::window) != keepers().end();
    };
    if (const auto ours = lastViewable(isOurs); ours != owners.rend()) {
        next = *ours;
    } else if (next > XCB_INPUT_FOCUS_POINTER_ROOT && !isViewable(next)) {
        const auto last = lastViewable([](auto /*other*/) { return true; });
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
