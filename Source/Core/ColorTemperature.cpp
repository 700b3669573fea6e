#include "Core/ColorTemperature.h"

#include <algorithm>
#include <cmath>

namespace nocta {

namespace {

double clampedToUnit(double value) {
    return std::max(0.0, std::min(value, 1.0));
}

} // namespace

RGBFactors kelvinToRGB(std::int64_t kelvin) {
    const auto clampedKelvin = std::max<std::int64_t>(1000, std::min<std::int64_t>(kelvin, 40000));
    const double t = static_cast<double>(clampedKelvin) / 100.0;

    // The branches do not meet at one point: at 6600 K red and blue take their constants, green its logarithm.
    RGBFactors factors;
    if (t > 66) {
        factors.r = clampedToUnit(329.698727446 * std::pow(t - 60, -0.1332047592) / 255);
    }
    if (t <= 66) {
        factors.g = clampedToUnit((99.4708025861 * std::log(t) - 161.1195681661) / 255);
    } else {
        factors.g = clampedToUnit(288.1221695283 * std::pow(t - 60, -0.0755148492) / 255);
    }
    if (t <= 19) {
        factors.b = 0.0;
    } else if (t < 66) {
        factors.b = clampedToUnit((138.5177312231 * std::log(t - 10) - 305.0447927307) / 255);
    }
    return factors;
}

} // namespace nocta
