#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace nocta::test {

/// Where the straight ramps of the three channels end.
struct Tint {
    double red = 1;
    double green = 1;
    double blue = 1;
};

/// What a colour temperature below 6600 K and a brightness mean. Written anew here, so that it can disagree with the
/// program.
inline Tint warmTint(double kelvin, double brightness) {
    const double t = kelvin / 100;
    const double green = (99.4708025861 * std::log(t) - 161.1195681661) / 255;
    const double blue = t <= 19 ? 0.0 : (138.5177312231 * std::log(t - 10) - 305.0447927307) / 255;
    return {.red = brightness, .green = green * brightness, .blue = blue * brightness};
}

/// Whether a display's table is those ramps, drawn through as many entries as it has. The program draws them through
/// 256 points first, so the last digit may differ.
inline bool isTable(const std::vector<std::uint16_t>& table, const Tint& tint) {
    const std::size_t size = table.size() / 3;
    std::size_t entry = 0;
    for (const double top : {tint.red, tint.green, tint.blue}) {
        for (std::size_t i = 0; i < size; ++i, ++entry) {
            const double level = 65535.0 * top * static_cast<double>(i) / static_cast<double>(size - 1);
            if (std::abs(table[entry] - level) > 1.0) {
                return false;
            }
        }
    }
    return true;
}

} // namespace nocta::test
