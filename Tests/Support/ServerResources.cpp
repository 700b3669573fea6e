#include "Support/ServerResources.h"

#include "Platform/X11/XConnection.h"

#include <algorithm>
#include <span>
#include <stdexcept>

#include <xcb/res.h>

namespace nocta::test {

namespace {

bool belongsTo(const XConnection& server, std::uint32_t client, pid_t process) {
    const xcb_res_client_id_spec_t spec{.client = client, .mask = XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const XReply<xcb_res_query_client_ids_reply_t> reply(
        xcb_res_query_client_ids_reply(server.get(), xcb_res_query_client_ids(server.get(), 1, &spec), nullptr));
    if (!reply) {
        return false;
    }
    for (auto ids = xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem > 0;
         xcb_res_client_id_value_next(&ids)) {
        if (xcb_res_client_id_value_value_length(ids.data) > 0 &&
            static_cast<pid_t>(*xcb_res_client_id_value_value(ids.data)) == process) {
            return true;
        }
    }
    return false;
}

} // namespace

bool ServerResources::exceed(const ServerResources& other) const {
    return connections > other.connections || pixmapBytes > other.pixmapBytes ||
           std::ranges::any_of(counts, [&other](const auto& entry) {
               const auto known = other.counts.find(entry.first);
               return known == other.counts.end() || entry.second > known->second;
           });
}

ServerResources serverResourcesOf(pid_t process) {
    const XConnection server;
    // Nothing else may be asked of the extension before its version.
    const XReply<xcb_res_query_version_reply_t> version(
        xcb_res_query_version_reply(server.get(), xcb_res_query_version(server.get(), 1, 2), nullptr));
    const XReply<xcb_res_query_clients_reply_t> clients(
        xcb_res_query_clients_reply(server.get(), xcb_res_query_clients(server.get()), nullptr));
    if (!version || !clients) {
        throw std::runtime_error("the X server does not tell of its clients");
    }
    ServerResources all;
    for (const auto& client : std::span(xcb_res_query_clients_clients(clients.get()), clients->num_clients)) {
        if (!belongsTo(server, client.resource_base, process)) {
            continue;
        }
        ++all.connections;
        const auto typesCookie = xcb_res_query_client_resources(server.get(), client.resource_base);
        const auto bytesCookie = xcb_res_query_client_pixmap_bytes(server.get(), client.resource_base);
        const XReply<xcb_res_query_client_resources_reply_t> types(
            xcb_res_query_client_resources_reply(server.get(), typesCookie, nullptr));
        const XReply<xcb_res_query_client_pixmap_bytes_reply_t> bytes(
            xcb_res_query_client_pixmap_bytes_reply(server.get(), bytesCookie, nullptr));
        if (types) {
            for (const auto& type : std::span(xcb_res_query_client_resources_types(types.get()), types->num_types)) {
                all.counts[type.resource_type] += type.count;
            }
        }
        if (bytes) {
            constexpr int word = 32;
            all.pixmapBytes += (static_cast<std::uint64_t>(bytes->bytes_overflow) << word) + bytes->bytes;
        }
    }
    return all;
}

} // namespace nocta::test
