#include "Platform/X11/OverlayStacking.h"

#include <algorithm>
#include <array>
#include <span>

namespace nocta {

namespace {

/// How deep in its frame a window manager puts a client at most.
constexpr int framesDepth = 3;

} // namespace

OverlayStacking::OverlayStacking(const XConnection& server, xcb_window_t window)
    : server(server), window(window), managedState(server.atom("WM_STATE")) {}

void OverlayStacking::arrange() {
    const auto windows = overlapping(false);
    const auto locker = std::ranges::find_if(windows, [this](const Sibling& other) { return mayBeLocker(other); });
    belowLocker = locker != windows.end() && isKeyboardGrabbed();
    if (belowLocker) {
        place(XCB_STACK_MODE_BELOW, locker->id);
    } else {
        place(XCB_STACK_MODE_ABOVE, XCB_WINDOW_NONE);
    }
}

bool OverlayStacking::restore() {
    const auto above = overlapping(true);
    const auto locker = std::ranges::find_if(above, [this](const Sibling& other) { return mayBeLocker(other); });
    belowLocker = locker != above.end();
    if (locker == above.begin()) {
        return false;
    }
    place(XCB_STACK_MODE_ABOVE, std::prev(locker)->id);
    return true;
}

std::vector<OverlayStacking::Sibling> OverlayStacking::overlapping(bool onlyAbove) const {
    const auto own = ownFrame();
    const XReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(server.get(), xcb_query_tree(server.get(), server.root()), nullptr));
    if (!tree) {
        return {};
    }
    std::span<const xcb_window_t> ids(xcb_query_tree_children(tree.get()),
                                      static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
    if (onlyAbove) {
        const auto place = std::ranges::find(ids, window);
        ids = std::span(place == ids.end() ? place : std::next(place), ids.end());
    }

    struct Question {
        xcb_window_t id;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
    };
    // The server's own windows have the numbers below those that it hands out: a compositor's layer over everything.
    const auto largestOfServer = xcb_get_setup(server.get())->resource_id_mask;
    std::vector<Question> questions;
    for (const auto id : ids) {
        if (id != window && id > largestOfServer) {
            questions.push_back({.id = id,
                                 .attributes = xcb_get_window_attributes(server.get(), id),
                                 .geometry = xcb_get_geometry(server.get(), id)});
        }
    }
    std::vector<Sibling> windows;
    for (const auto& question : questions) {
        const XReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(server.get(), question.attributes, nullptr));
        const XReply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(server.get(), question.geometry, nullptr));
        // Window managers lay windows that nobody sees along the screen's edges, to feel the pointer there.
        if (!attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
            continue;
        }
        const int border = 2 * geometry->border_width;
        const Frame frame{.left = geometry->x,
                          .top = geometry->y,
                          .right = geometry->x + geometry->width + border,
                          .bottom = geometry->y + geometry->height + border};
        if (frame.left < own.right && frame.right > own.left && frame.top < own.bottom && frame.bottom > own.top) {
            windows.push_back(
                {.id = question.id, .isOverrideRedirect = attributes->override_redirect != 0, .frame = frame});
        }
    }
    return windows;
}

OverlayStacking::Frame OverlayStacking::ownFrame() const {
    const XReply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(server.get(), xcb_get_geometry(server.get(), window), nullptr));
    if (!geometry) {
        return {};
    }
    return {.left = geometry->x,
            .top = geometry->y,
            .right = geometry->x + geometry->width,
            .bottom = geometry->y + geometry->height};
}

bool OverlayStacking::mayBeLocker(const Sibling& sibling) const {
    const auto own = ownFrame();
    const auto& frame = sibling.frame;
    const bool covers =
        frame.left <= own.left && frame.top <= own.top && frame.right >= own.right && frame.bottom >= own.bottom;
    return covers && sibling.isOverrideRedirect && !isManaged(sibling.id, framesDepth);
}

bool OverlayStacking::isManaged(xcb_window_t candidate, int depth) const {
    const XReply<xcb_get_property_reply_t> state(xcb_get_property_reply(
        server.get(), xcb_get_property(server.get(), 0, candidate, managedState, XCB_ATOM_ANY, 0, 0), nullptr));
    if (state && state->type != XCB_ATOM_NONE) {
        return true;
    }
    if (depth == 0) {
        return false;
    }
    const XReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(server.get(), xcb_query_tree(server.get(), candidate), nullptr));
    if (!tree) {
        return false;
    }
    const std::span children(xcb_query_tree_children(tree.get()),
                             static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())));
    return std::ranges::any_of(children, [&](xcb_window_t child) { return isManaged(child, depth - 1); });
}

bool OverlayStacking::isKeyboardGrabbed() const {
    // The server tells only who tries. Nobody notices a grab that ends at once.
    const XReply<xcb_grab_keyboard_reply_t> grab(xcb_grab_keyboard_reply(
        server.get(),
        xcb_grab_keyboard(server.get(), 1, server.root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
        nullptr));
    if (grab && grab->status == XCB_GRAB_STATUS_SUCCESS) {
        xcb_ungrab_keyboard(server.get(), XCB_CURRENT_TIME);
        server.flush();
    }
    return grab && grab->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
}

void OverlayStacking::place(std::uint32_t mode, xcb_window_t sibling) const {
    if (sibling == XCB_WINDOW_NONE) {
        xcb_configure_window(server.get(), window, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
    } else {
        const std::array<std::uint32_t, 2> values{sibling, mode};
        xcb_configure_window(server.get(), window, XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE,
                             values.data());
    }
    server.flush();
}

} // namespace nocta
