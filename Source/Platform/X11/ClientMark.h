#pragma once

#include "Platform/X11/XConnection.h"

#include <cstdint>

namespace nocta {

/// A window that is never shown and only says which of the server's clients a Nocta process is: `owner` stands in a
/// property of it. It goes with the client. Queues requests only, but for the name of the property.
[[nodiscard]] xcb_window_t markClient(const XConnection& server, std::uint64_t owner);

/// Ends the client that bears this mark, and with it every request that it has sent and the server has not come to yet.
/// Nothing happens where the mark is gone or the window's number is another client's by now; to be sure of that, call
/// it under a grab. Waits for the server.
void endMarkedClient(const XConnection& server, xcb_window_t mark, std::uint64_t owner);

} // namespace nocta
