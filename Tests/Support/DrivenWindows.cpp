#include "Support/DrivenWindows.h"

#include "Support/Eventually.h"

#include <span>
#include <stdexcept>
#include <string_view>

namespace nocta::test {

namespace {

constexpr std::uint16_t side = 100;

} // namespace

std::optional<xcb_window_t> DrivenWindows::find(const std::string& className) const {
    return find(connection.root(), className);
}

std::optional<xcb_window_t> DrivenWindows::find(xcb_window_t parent, const std::string& className) const {
    const XReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection.get(), xcb_query_tree(connection.get(), parent), nullptr));
    if (!tree) {
        return std::nullopt;
    }
    for (const auto child : std::span(xcb_query_tree_children(tree.get()), tree->children_len)) {
        const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            connection.get(), xcb_get_property(connection.get(), 0, child, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256),
            nullptr));
        if (reply && isShown(child)) {
            const std::string_view value(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                         static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
            if (value.ends_with(std::string(1, '\0') + className + std::string(1, '\0'))) {
                return child;
            }
        }
        if (const auto found = find(child, className)) {
            return found;
        }
    }
    return std::nullopt;
}

xcb_window_t DrivenWindows::await(const std::string& className) const {
    std::optional<xcb_window_t> found;
    if (!eventually([&] { return (found = find(className)).has_value(); }, std::chrono::seconds(30))) {
        throw std::runtime_error("no window of the class " + className);
    }
    return *found;
}

void DrivenWindows::awaitManager() const {
    const std::string property = "_NET_SUPPORTING_WM_CHECK";
    // One that was killed leaves the property behind, but not the window that it names.
    const auto isThere = [&] {
        const auto window = windowProperty(connection.root(), property);
        return window != XCB_WINDOW_NONE && windowProperty(window, property) == window;
    };
    if (!eventually(isThere, std::chrono::seconds(30))) {
        throw std::runtime_error("no window manager");
    }
    // It says so before it listens: whoever showed a window now might wait in vain.
    destroy(createFramed());
}

xcb_window_t DrivenWindows::create(bool overridesManager) const {
    const xcb_window_t window = xcb_generate_id(connection.get());
    const std::uint32_t values = overridesManager ? 1 : 0;
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, connection.root(), 0, 0, side, side, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &values);
    xcb_map_window(connection.get(), window);
    connection.synchronize();
    return window;
}

xcb_window_t DrivenWindows::createFramed() const {
    const auto window = create(false);
    // A window manager that is just starting misses the wish.
    const auto isReady = [&] {
        xcb_map_window(connection.get(), window);
        return isFramed(window);
    };
    if (!eventually(isReady)) {
        throw std::runtime_error("no frame around a window");
    }
    return window;
}

bool DrivenWindows::isFramed(xcb_window_t window) const {
    const XReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(connection.get(), xcb_query_tree(connection.get(), window), nullptr));
    return tree && tree->parent != connection.root() && isShown(window);
}

bool DrivenWindows::isShown(xcb_window_t window) const {
    const XReply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
        connection.get(), xcb_get_window_attributes(connection.get(), window), nullptr));
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

void DrivenWindows::destroy(xcb_window_t window) const {
    xcb_destroy_window(connection.get(), window);
    connection.synchronize();
}

void DrivenWindows::activate(xcb_window_t window) const {
    constexpr std::uint32_t fromPager = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection.atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = fromPager;
    xcb_send_event(connection.get(), 0, connection.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message)); // NOLINT
    connection.synchronize();
}

void DrivenWindows::setActive(xcb_window_t window) const {
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, connection.root(),
                        connection.atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 32, 1, &window);
    connection.synchronize();
}

xcb_window_t DrivenWindows::active() const {
    return windowProperty(connection.root(), "_NET_ACTIVE_WINDOW");
}

void DrivenWindows::focus(xcb_window_t window) const {
    xcb_set_input_focus(connection.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    connection.synchronize();
}

void DrivenWindows::setText(xcb_window_t window, const std::string& property, const std::string& text) const {
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window, connection.atom(property), XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
    connection.synchronize();
}

void DrivenWindows::setAtom(xcb_window_t window, const std::string& property, const std::string& value) const {
    const auto atom = connection.atom(value);
    xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window, connection.atom(property), XCB_ATOM_ATOM, 32,
                        1, &atom);
    connection.synchronize();
}

void DrivenWindows::remove(xcb_window_t window, const std::string& property) const {
    xcb_delete_property(connection.get(), window, connection.atom(property));
    connection.synchronize();
}

xcb_window_t DrivenWindows::windowProperty(xcb_window_t window, const std::string& property) const {
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection.get(),
        xcb_get_property(connection.get(), 0, window, connection.atom(property), XCB_ATOM_WINDOW, 0, 1), nullptr));
    return reply && reply->value_len == 1 ? *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()))
                                          : xcb_window_t{XCB_WINDOW_NONE};
}

} // namespace nocta::test
