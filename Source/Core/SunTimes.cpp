#include "Core/SunTimes.h"

#include <cmath>
#include <numbers>

namespace nocta {

std::optional<SunMinutes> sunMinutes(int dayOfYear, double latitude, double longitude) {
    using std::cos;
    using std::sin;
    using std::tan;
    constexpr double pi = std::numbers::pi;
    constexpr double zenith = 89.833;

    // The angle of the day's midnight serves for the whole day.
    const double gamma = 2 * pi / 365 * (dayOfYear - 1);
    const double eqTime = 229.18 * (0.000075 + 0.001868 * cos(gamma) - 0.032077 * sin(gamma) -
                                    0.014615 * cos(2 * gamma) - 0.04089 * sin(2 * gamma));
    const double decl = 0.006918 - 0.399912 * cos(gamma) + 0.070257 * sin(gamma) - 0.006758 * cos(2 * gamma) +
                        0.000907 * sin(2 * gamma) - 0.002697 * cos(3 * gamma) + 0.00148 * sin(3 * gamma);
    const double latRad = latitude * pi / 180;
    const double ha =
        std::acos(cos(zenith * pi / 180) / (cos(latRad) * cos(decl)) - tan(latRad) * tan(decl)) * 180 / pi;
    const SunMinutes minutes{.sunrise = 720 - 4 * (longitude + ha) - eqTime,
                             .sunset = 720 - 4 * (longitude - ha) - eqTime};
    // The arc cosine of what is beyond [-1, 1] is no number: the sun stays above or below the horizon.
    if (!std::isfinite(minutes.sunrise) || !std::isfinite(minutes.sunset)) {
        return std::nullopt;
    }
    return minutes;
}

} // namespace nocta
