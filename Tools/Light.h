#pragma once

#include "Core/ColorTemperature.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

/// What a display's white amounts to.
struct Light {
    std::int64_t kelvin = 0;
    double brightness = 0; ///< factor, 1 is full brightness
};

/// The light whose white is nearest to these fractions of full intensity: the brightest channel is the brightness,
/// since at every temperature one channel is left whole; the temperature is the nearest one on Nocta's curve. Zero
/// kelvin for black.
inline Light lightOf(double red, double green, double blue) {
    constexpr std::int64_t lowest = 1000;
    constexpr std::int64_t highest = 40000;
    static const auto curve = [] {
        std::vector<nocta::RGBFactors> whites;
        for (std::int64_t kelvin = lowest; kelvin <= highest; ++kelvin) {
            whites.push_back(nocta::kelvinToRGB(kelvin));
        }
        return whites;
    }();
    const double brightest = std::max({red, green, blue});
    Light light{.kelvin = 0, .brightness = brightest};
    if (brightest == 0) {
        return light;
    }
    double smallest = std::numeric_limits<double>::infinity();
    std::int64_t kelvin = lowest;
    for (const auto& white : curve) {
        const double distance =
            std::hypot(white.r - red / brightest, white.g - green / brightest, white.b - blue / brightest);
        if (distance < smallest) {
            smallest = distance;
            light.kelvin = kelvin;
        }
        ++kelvin;
    }
    return light;
}
