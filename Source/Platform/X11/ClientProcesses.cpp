#include "Platform/X11/ClientProcesses.h"

#include <cstdint>
#include <utility>

#include <xcb/res.h>

namespace nocta {

namespace {

using Reply = XReply<xcb_res_query_client_ids_reply_t>;

/// Any resource of a client stands for all of it, and so does the first number of its range.
xcb_res_query_client_ids_cookie_t request(xcb_connection_t* connection, std::uint32_t resource) {
    const xcb_res_client_id_spec_t spec{.client = resource, .mask = XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return xcb_res_query_client_ids(connection, 1, &spec);
}

std::optional<pid_t> processOf(const Reply& reply) {
    if (!reply) {
        return std::nullopt;
    }
    for (auto ids = xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem > 0;
         xcb_res_client_id_value_next(&ids)) {
        if ((ids.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
            xcb_res_client_id_value_value_length(ids.data) > 0) {
            const auto process = static_cast<pid_t>(*xcb_res_client_id_value_value(ids.data));
            return process > 0 ? std::optional(process) : std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace

ClientProcesses::ClientProcesses(XClient& client) : client(client) {
    if (client.server().isLost()) {
        return;
    }
    const auto* extension = xcb_get_extension_data(client.get(), &xcb_res_id);
    if (extension == nullptr || extension->present == 0) {
        return;
    }
    const auto versionCookie = xcb_res_query_version(client.get(), 1, 2);
    const auto ownCookie = request(client.get(), xcb_get_setup(client.get())->resource_id_base);
    const XReply<xcb_res_query_version_reply_t> version(
        xcb_res_query_version_reply(client.get(), versionCookie, nullptr));
    own = processOf(Reply(xcb_res_query_client_ids_reply(client.get(), ownCookie, nullptr)));
    isSupported = version && (version->server_major > 1 || version->server_minor >= 2);
    client.send();
}

void ClientProcesses::ask(xcb_window_t window, std::function<void(std::optional<pid_t>)> onAnswer) const {
    if (!isSupported) {
        onAnswer(std::nullopt);
        return;
    }
    client.ask<xcb_res_query_client_ids_reply_t>(
        request(client.get(), window).sequence,
        [onAnswer = std::move(onAnswer)](const Reply& reply) { onAnswer(processOf(reply)); });
}

} // namespace nocta
