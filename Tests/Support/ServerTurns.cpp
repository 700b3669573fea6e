#include "Support/ServerTurns.h"

#include <cstdint>

#include <xcb/sync.h>

namespace nocta::test {

namespace {

void setPriority(const XConnection& own, std::int32_t priority) {
    constexpr std::uint32_t ownConnection = XCB_NONE;
    xcb_sync_set_priority(own.get(), ownConnection, priority);
}

} // namespace

void letServerServe(const XConnection& own) {
    constexpr std::int32_t afterAllOthers = -1000;
    const XReply<xcb_sync_initialize_reply_t> version(
        xcb_sync_initialize_reply(own.get(), xcb_sync_initialize(own.get(), 3, 1), nullptr));
    setPriority(own, afterAllOthers);
    // What another one is sent in the turn in which this is served may leave the server after the reply.
    for (int turn = 0; turn < 3; ++turn) {
        own.synchronize();
    }
    setPriority(own, 0);
}

} // namespace nocta::test
