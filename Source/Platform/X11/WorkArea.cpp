#include "Platform/X11/WorkArea.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace nocta {

namespace {

/// How far a panel reaches in from an edge of the whole desktop, and over which stretch of that edge.
struct Strut {
    double depth = 0;
    double start = 0;
    double end = 0;
};

struct Struts {
    Strut left;
    Strut right;
    Strut top;
    Strut bottom;
};

std::vector<std::uint32_t> values(const xcb_get_property_reply_t* reply) {
    if (reply == nullptr || reply->format != 32) {
        return {};
    }
    std::vector<std::uint32_t> result(reply->value_len);
    if (!result.empty()) {
        std::memcpy(result.data(), xcb_get_property_value(reply), result.size() * sizeof(std::uint32_t));
    }
    return result;
}

xcb_get_property_cookie_t askProperty(const XConnection& server, xcb_window_t window, xcb_atom_t property) {
    constexpr std::uint32_t most = 4096;
    return xcb_get_property(server.get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, most);
}

/// The windows that a window manager manages; without one, all that are on the screen.
std::vector<xcb_window_t> topLevelWindows(const XConnection& server) {
    const XReply<xcb_get_property_reply_t> list(xcb_get_property_reply(
        server.get(), askProperty(server, server.root(), server.atom("_NET_CLIENT_LIST")), nullptr));
    if (auto windows = values(list.get()); !windows.empty()) {
        return windows;
    }
    const XReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(server.get(), xcb_query_tree(server.get(), server.root()), nullptr));
    if (!tree) {
        return {};
    }
    const auto* first = xcb_query_tree_children(tree.get());
    return {first, first + xcb_query_tree_children_length(tree.get())};
}

/// From the values of _NET_WM_STRUT_PARTIAL, or of the older _NET_WM_STRUT, which lacks the stretches.
std::optional<Struts> struts(const std::vector<std::uint32_t>& numbers) {
    constexpr std::size_t whole = 4;
    constexpr std::size_t partial = 12;
    if (numbers.size() < whole) {
        return std::nullopt;
    }
    const auto strut = [&](std::size_t edge) {
        Strut result{.depth = static_cast<double>(numbers[edge]), .start = 0, .end = UINT32_MAX};
        if (numbers.size() >= partial) {
            result.start = numbers[whole + 2 * edge];
            result.end = static_cast<double>(numbers[whole + 2 * edge + 1]) + 1;
        }
        return result;
    };
    return Struts{.left = strut(0), .right = strut(1), .top = strut(2), .bottom = strut(3)};
}

/// What the desktop itself leaves free of each monitor of the current workspace. Panels that are part of a window
/// manager are windows of nobody; those tell in this way.
std::vector<Rectangle> freeAreas(const XConnection& server) {
    const XReply<xcb_get_property_reply_t> current(xcb_get_property_reply(
        server.get(), askProperty(server, server.root(), server.atom("_NET_CURRENT_DESKTOP")), nullptr));
    const auto workspace = values(current.get());
    const auto name = "_GTK_WORKAREAS_D" + std::to_string(workspace.empty() ? 0 : workspace.front());
    const XReply<xcb_get_property_reply_t> list(
        xcb_get_property_reply(server.get(), askProperty(server, server.root(), server.atom(name)), nullptr));
    const auto numbers = values(list.get());
    std::vector<Rectangle> areas;
    for (std::size_t i = 0; i + 4 <= numbers.size(); i += 4) {
        const auto number = [&](std::size_t at) {
            return static_cast<double>(static_cast<std::int32_t>(numbers[i + at]));
        };
        areas.push_back({.x = number(0), .y = number(1), .width = number(2), .height = number(3)});
    }
    return areas;
}

bool contains(const Rectangle& outer, const Rectangle& inner) {
    return inner.x >= outer.x && inner.y >= outer.y && inner.x + inner.width <= outer.x + outer.width &&
           inner.y + inner.height <= outer.y + outer.height;
}

bool overlaps(const Strut& strut, double start, double length) {
    return strut.depth > 0 && strut.start < start + length && strut.end > start;
}

} // namespace

WorkArea workArea(const XConnection& server, const Rectangle& monitor) {
    const XReply<xcb_get_geometry_reply_t> desktop(
        xcb_get_geometry_reply(server.get(), xcb_get_geometry(server.get(), server.root()), nullptr));
    if (!desktop) {
        return {.area = monitor};
    }
    const auto windows = topLevelWindows(server);
    const std::array properties{server.atom("_NET_WM_STRUT_PARTIAL"), server.atom("_NET_WM_STRUT")};
    std::vector<std::array<xcb_get_property_cookie_t, 2>> questions;
    questions.reserve(windows.size());
    for (const auto window : windows) {
        questions.push_back({askProperty(server, window, properties[0]), askProperty(server, window, properties[1])});
    }

    double left = monitor.x;
    double top = monitor.y;
    double right = monitor.x + monitor.width;
    double bottom = monitor.y + monitor.height;
    for (const auto& question : questions) {
        const XReply<xcb_get_property_reply_t> partial(xcb_get_property_reply(server.get(), question[0], nullptr));
        const XReply<xcb_get_property_reply_t> whole(xcb_get_property_reply(server.get(), question[1], nullptr));
        auto panel = struts(values(partial.get()));
        if (!panel) {
            panel = struts(values(whole.get()));
        }
        if (!panel) {
            continue;
        }
        // A strut on an edge that another monitor lies at reaches over that one first.
        const auto within = [](double value, double low, double high) { return value > low && value < high; };
        if (overlaps(panel->left, monitor.y, monitor.height) &&
            within(panel->left.depth, monitor.x, monitor.x + monitor.width)) {
            left = std::max(left, panel->left.depth);
        }
        if (const double edge = desktop->width - panel->right.depth;
            overlaps(panel->right, monitor.y, monitor.height) && within(edge, monitor.x, monitor.x + monitor.width)) {
            right = std::min(right, edge);
        }
        if (overlaps(panel->top, monitor.x, monitor.width) &&
            within(panel->top.depth, monitor.y, monitor.y + monitor.height)) {
            top = std::max(top, panel->top.depth);
        }
        if (const double edge = desktop->height - panel->bottom.depth;
            overlaps(panel->bottom, monitor.x, monitor.width) && within(edge, monitor.y, monitor.y + monitor.height)) {
            bottom = std::min(bottom, edge);
        }
    }
    for (const auto& area : freeAreas(server)) {
        if (contains(monitor, area) && area.width > 0 && area.height > 0) {
            left = std::max(left, area.x);
            top = std::max(top, area.y);
            right = std::min(right, area.x + area.width);
            bottom = std::min(bottom, area.y + area.height);
        }
    }
    if (left >= right || top >= bottom) {
        return {.area = monitor};
    }

    WorkArea result{.area = {.x = left, .y = top, .width = right - left, .height = bottom - top}};
    double most = 0;
    const auto consider = [&](Side side, double depth) {
        if (depth > most) {
            most = depth;
            result.panelSide = side;
        }
    };
    consider(Side::top, top - monitor.y);
    consider(Side::bottom, monitor.y + monitor.height - bottom);
    consider(Side::left, left - monitor.x);
    consider(Side::right, monitor.x + monitor.width - right);
    return result;
}

} // namespace nocta
