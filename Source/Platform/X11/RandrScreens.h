#pragma once

#include "Platform/X11/XConnection.h"

#include <cstdint>
#include <string>
#include <vector>

namespace nocta {

/// A part of the root window that an output shows, in its pixels.
struct RandrScreen {
    std::string output;
    bool isPrimary = false;
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

/// What every output that is on shows, in the server's order. Asked of the server each time: what Qt tells of screens
/// goes astray when an output changes its CRTC. `server` has RandR.
[[nodiscard]] std::vector<RandrScreen> randrScreens(const XConnection& server);

} // namespace nocta
