#include "Platform/X11/XConnection.h"

#include <cstdint>

namespace nocta {

namespace {

xcb_window_t rootOfScreen(xcb_connection_t* connection, int number) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (; number > 0 && screens.rem > 1; --number) {
        xcb_screen_next(&screens);
    }
    return screens.rem > 0 ? screens.data->root : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

} // namespace

XConnection::XConnection() : connection(nullptr, &xcb_disconnect) {
    connection.reset(xcb_connect(nullptr, &screen));
    if (isLost()) {
        return;
    }
    rootWindow = rootOfScreen(get(), screen);
    const auto* randr = xcb_get_extension_data(get(), &xcb_randr_id);
    if (rootWindow == XCB_WINDOW_NONE || randr == nullptr || randr->present == 0) {
        return;
    }
    const XReply<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(get(), xcb_randr_query_version(get(), 1, 3), nullptr));
    if (version && (version->major_version > 1 || version->minor_version >= 3)) {
        randrEvents = randr->first_event;
    }
}

std::optional<std::string> XConnection::serverName() {
    char* host = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &host, &display, nullptr) == 0) {
        return std::nullopt;
    }
    const XReply<char> ownedHost(host);
    return "x11-" + std::string(host) + "-" + std::to_string(display);
}

bool XConnection::isXwayland() const {
    // Newer ones say so by an extension, older ones by output names.
    constexpr std::string_view extension = "XWAYLAND";
    constexpr std::string_view outputPrefix = "XWAYLAND";
    const XReply<xcb_query_extension_reply_t> query(xcb_query_extension_reply(
        get(), xcb_query_extension(get(), static_cast<std::uint16_t>(extension.size()), extension.data()), nullptr));
    if (query && query->present != 0) {
        return true;
    }
    // A request of an extension that is missing would end the connection.
    if (!hasRandr()) {
        return false;
    }
    const XReply<xcb_randr_get_screen_resources_current_reply_t> resources(xcb_randr_get_screen_resources_current_reply(
        get(), xcb_randr_get_screen_resources_current(get(), root()), nullptr));
    if (!resources || resources->num_outputs == 0) {
        return false;
    }
    const auto first = xcb_randr_get_screen_resources_current_outputs(resources.get())[0];
    const XReply<xcb_randr_get_output_info_reply_t> output(xcb_randr_get_output_info_reply(
        get(), xcb_randr_get_output_info(get(), first, resources->config_timestamp), nullptr));
    if (!output) {
        return false;
    }
    const auto* name = reinterpret_cast<const char*>(xcb_randr_get_output_info_name(output.get())); // NOLINT
    return std::string_view(name, output->name_len).starts_with(outputPrefix);
}

xcb_atom_t XConnection::atom(std::string_view name) const {
    const XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        get(), xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void XConnection::synchronize() const {
    // Any request with a reply does: the server carries out a client's requests in their order.
    const XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr));
}

void XConnection::setCrtcGamma(xcb_randr_crtc_t crtc, const std::uint16_t* values, std::size_t size) const {
    // A request beyond the server's limit would end the connection.
    const std::size_t units = 3 + (6 * size + 3) / 4;
    if (size == 0 || size > UINT16_MAX || units > xcb_get_maximum_request_length(get())) {
        return;
    }
    xcb_randr_set_crtc_gamma(get(), crtc, static_cast<std::uint16_t>(size), values, values + size, values + 2 * size);
}

} // namespace nocta
