#pragma once

#include "Core/ColorTemperature.h"
#include "Core/FilterEngineInspector.h"

#include <chrono>
#include <cmath>
#include <cstdint>

namespace nocta {

/// How near two factors are that were computed in different ways.
inline constexpr double roundingTolerance = 1e-12;

inline Factors factorsOf(std::int64_t kelvin, double brightness) {
    const RGBFactors rgb = kelvinToRGB(kelvin);
    return {rgb.r, rgb.g, rgb.b, brightness};
}

/// The quadratic ease in and out: a parabola that rises from the start, and the same one upside down into the end.
inline double easedFraction(std::int64_t frame, std::int64_t frames) {
    const auto total = static_cast<double>(frames) * static_cast<double>(frames);
    if (2 * frame < frames) {
        return 2.0 * static_cast<double>(frame) * static_cast<double>(frame) / total;
    }
    const auto left = static_cast<double>(frames - frame);
    return 1.0 - 2.0 * left * left / total;
}

/// What stands on the screen after that many frames of a fade.
inline Factors fadeFrame(const Factors& from, const Factors& to, std::int64_t frame, std::int64_t frames) {
    const double p = easedFraction(frame, frames);
    const auto mix = [p](double a, double b) { return a * (1.0 - p) + b * p; };
    return {mix(from.r, to.r), mix(from.g, to.g), mix(from.b, to.b), mix(from.brightness, to.brightness)};
}

/// When frame number `frame` (from 1) is due: a thirtieth of a second is no whole number of nanoseconds, and what is
/// lost must not add up.
inline std::chrono::nanoseconds frameTime(std::int64_t frame) {
    return std::chrono::nanoseconds((frame * 200'000'000 + 3) / 6);
}

inline bool areNear(const Factors& left, const Factors& right) {
    const auto a = left.values();
    const auto b = right.values();
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!(std::abs(a[i] - b[i]) <= roundingTolerance)) {
            return false;
        }
    }
    return true;
}

} // namespace nocta
