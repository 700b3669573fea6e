#pragma once

#include <cstdint>

namespace nocta {

/// What a display shows at full white, a channel each, as a fraction of full intensity.
struct White {
    double red = 1;
    double green = 1;
    double blue = 1;
};

/// A colour temperature of KWin's night light on a display that is dimmed.
struct NightTint {
    std::uint32_t kelvin = 0;
    double brightness = 1; ///< a factor in [0, 1]

    /// In kelvin: KWin's own colour, in which it changes nothing. It has cooler ones, that dim red.
    static constexpr std::uint32_t neutral = 6500;
    /// In kelvin. KWin 5.27 crashes when it is asked for less than its table of colours has.
    static constexpr std::uint32_t warmest = 1000;

    /// The one that comes nearest to that white, from the warmest to the neutral one: where the brightest channel is
    /// as bright, and the distance of the colours, with that channel at full intensity, is least. What lies outside
    /// [0, 1], or is no number, is clamped.
    [[nodiscard]] static NightTint nearest(const White& white);
};

} // namespace nocta
