#include "Platform/X11/ClientMark.h"

#include <cstring>

namespace nocta {

namespace {

constexpr std::uint8_t bitsPerUnit = 32;
constexpr std::uint32_t units = sizeof(std::uint64_t) * 8 / bitsPerUnit;

xcb_atom_t ownerAtom(const XConnection& server) {
    return server.atom("_NOCTA_OWNER");
}

} // namespace

xcb_window_t markClient(const XConnection& server, std::uint64_t owner) {
    const xcb_window_t window = xcb_generate_id(server.get());
    xcb_create_window(server.get(), 0, window, server.root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, window, ownerAtom(server), XCB_ATOM_CARDINAL, bitsPerUnit,
                        units, &owner);
    return window;
}

void endMarkedClient(const XConnection& server, xcb_window_t mark, std::uint64_t owner) {
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        server.get(), xcb_get_property(server.get(), 0, mark, ownerAtom(server), XCB_ATOM_CARDINAL, 0, units),
        nullptr));
    if (!reply || reply->format != bitsPerUnit || reply->value_len != units) {
        return;
    }
    std::uint64_t marked = 0;
    std::memcpy(&marked, xcb_get_property_value(reply.get()), sizeof marked);
    if (marked == owner) {
        xcb_kill_client(server.get(), mark);
    }
}

} // namespace nocta
