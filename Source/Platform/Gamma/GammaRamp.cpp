#include "Platform/Gamma/GammaRamp.h"

#include <algorithm>
#include <cstddef>

namespace nocta {

namespace {

std::uint16_t quantized(double level) {
    constexpr double full = 65535.0;
    // Written so that what is no number fails the comparison. The sum is far below where a half is lost.
    // NOLINTNEXTLINE(bugprone-incorrect-roundings)
    return level > 0.0 ? static_cast<std::uint16_t>(std::min(level, 1.0) * full + 0.5) : std::uint16_t{0};
}

} // namespace

void assign(GammaTables& tables, std::span<const float> red, std::span<const float> green,
            std::span<const float> blue) {
    if (!red.empty()) {
        tables[0].assign(red.begin(), red.end());
        tables[1].assign(green.begin(), green.end());
        tables[2].assign(blue.begin(), blue.end());
    }
}

void fillRamps(const GammaTables& tables, std::span<std::uint16_t> ramps) {
    const auto size = ramps.size() / tables.size();
    for (std::size_t channel = 0; channel < tables.size(); ++channel) {
        fillRamp(tables[channel], ramps.subspan(channel * size, size));
    }
}

void fillRamp(std::span<const float> table, std::span<std::uint16_t> ramp) {
    if (ramp.size() == table.size()) {
        std::ranges::transform(table, ramp.begin(), quantized);
        return;
    }
    const double steps = static_cast<double>(std::max<std::size_t>(ramp.size(), 2) - 1);
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        const double position = static_cast<double>(i) * static_cast<double>(table.size() - 1) / steps;
        const auto below = static_cast<std::size_t>(position);
        const auto above = std::min(below + 1, table.size() - 1);
        const auto lower = static_cast<double>(table[below]);
        const auto upper = static_cast<double>(table[above]);
        // Faster than std::lerp, whose care for overflow levels do not need.
        ramp[i] = quantized(lower + (upper - lower) * (position - static_cast<double>(below)));
    }
}

} // namespace nocta
