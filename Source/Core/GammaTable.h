#pragma once

#include <array>
#include <cstddef>

namespace nocta {

/// One transfer table a channel: entry i is the output for the input level i / 255, as a fraction of full intensity.
/// Entries above 1 are kept as computed; a display back end clamps.
struct GammaTable {
    static constexpr std::size_t size = 256;
    using Channel = std::array<float, size>;

    Channel red{};
    Channel green{};
    Channel blue{};

    /// A straight ramp a channel, scaled by the channel's factor and by `brightness`.
    [[nodiscard]] static GammaTable build(double r, double g, double b, double brightness);
};

} // namespace nocta
