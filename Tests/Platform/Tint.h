#pragma once

#include <cstddef>
#include <vector>

namespace nocta::test {

/// Where the three channels of a display end that go straight up from black; own where it has its own calibration.
struct Tint {
    double red = 0;
    double green = 0;
    double blue = 0;

    bool operator==(const Tint&) const = default;
};

constexpr Tint own{-1, -1, -1};

/// What `tint-holder` holds where black would tell nothing of the colour.
constexpr Tint heldTint{0.8, 0.4, 0.1};

/// From black to `top`, in 256 steps.
inline std::vector<float> straightTable(double top) {
    std::vector<float> table(256);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<float>(i) / 255.0F * static_cast<float>(top);
    }
    return table;
}

} // namespace nocta::test
