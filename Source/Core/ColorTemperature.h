#pragma once

#include <cstdint>

namespace nocta {

/// Gain factors of the three channels, each in [0, 1].
struct RGBFactors {
    double r = 1.0;
    double g = 1.0;
    double b = 1.0;

    bool operator==(const RGBFactors&) const = default;
};

/// The colour temperature that leaves the screen neutral, in kelvin.
inline constexpr std::int64_t neutralTemperature = 6500;

/// The channel factors that make white look like a black body of `kelvin` (clamped to 1000 to 40000).
///
/// The curve is Tanner Helland's piecewise fit to Mitchell Charity's black-body table (2012). Neutral 6500 K keeps a
/// faint residual warmth of (1, 0.9965, 0.9806), on purpose.
[[nodiscard]] RGBFactors kelvinToRGB(std::int64_t kelvin);

} // namespace nocta
