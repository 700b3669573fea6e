#pragma once

#include <optional>

namespace nocta {

/// Sunrise and sunset of one day in minutes after midnight UTC of its date; below 0 and above 1440 on the days beside
/// it.
struct SunMinutes {
    double sunrise = 0;
    double sunset = 0;

    bool operator==(const SunMinutes&) const = default;
};

/// When the sun rises and sets on day `dayOfYear` (1 is 1 January) at `latitude` and `longitude` (degrees, north and
/// east positive). Nothing where it does neither: in polar day and night, and for coordinates that are no numbers.
///
/// Low-precision solar position after NOAA's Global Monitoring Laboratory (fractional year, equation of time and
/// declination as series), with two values of our own: 0.04089 in the equation of time, and a zenith of 89.833 degrees,
/// which makes the day a few minutes shorter than the almanac's.
[[nodiscard]] std::optional<SunMinutes> sunMinutes(int dayOfYear, double latitude, double longitude);

} // namespace nocta
