#pragma once

#include "Platform/Time.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// What the sun and the schedule should do, written anew: the solar geometry in long double, the series by their
// harmonics, the phases as a table of boundaries, the calendar as arithmetic on days.

namespace nocta::expected {

inline constexpr long double degree = 3.14159265358979323846264338327950288L / 180;

/// c cos(n x) + s sin(n x), x being the angle of the year on that day.
inline long double harmonic(int day, int order, long double c, long double s) {
    const long double angle = 360.0L / 365 * (day - 1) * degree * order;
    return c * std::cos(angle) + s * std::sin(angle);
}

/// The sun's declination, in radians.
inline long double declination(int day) {
    return 0.006918L + harmonic(day, 1, -0.399912L, 0.070257L) + harmonic(day, 2, -0.006758L, 0.000907L) +
           harmonic(day, 3, -0.002697L, 0.00148L);
}

/// From noon to where the sun is `zenith` degrees off the zenith, in degrees; no number where it never is.
inline long double hourAngle(int day, double latitude, long double zenith) {
    // cos z = sin(lat) sin(decl) + cos(lat) cos(decl) cos(ha)
    const long double sun = declination(day);
    const long double place = static_cast<long double>(latitude) * degree;
    return std::acos((std::cos(zenith * degree) - std::sin(place) * std::sin(sun)) /
                     (std::cos(place) * std::cos(sun))) /
           degree;
}

/// Sunrise and sunset in minutes after midnight UTC; no numbers in polar day and night.
inline std::pair<long double, long double> sunMinutes(int day, double latitude, double longitude) {
    const long double equation =
        229.18L * (0.000075L + harmonic(day, 1, 0.001868L, -0.032077L) + harmonic(day, 2, -0.014615L, -0.04089L));
    const long double noon = 12 * 60 - equation - static_cast<long double>(longitude) / 15 * 60;
    const long double half = hourAngle(day, latitude, 89.833L) / 15 * 60;
    return {noon - half, noon + half};
}

/// A phase: from `begin` until before `end`, in minutes after midnight; with an `end` at or before it, never.
struct Phase {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    const char* preset = "";
};

/// The eight phases of a day. Each ends at its boundary and begins where the last of those before it has ended.
inline std::array<Phase, 8> phases(std::int64_t sunrise, std::int64_t sunset) {
    constexpr std::int64_t endless = 1'000'000;
    std::array<Phase, 8> table{
        Phase{.end = sunrise - 90, .preset = "sleep"},   Phase{.end = sunrise - 30, .preset = "evening"},
        Phase{.end = sunrise + 60, .preset = "dusk"},    Phase{.end = sunset - 90, .preset = "natural"},
        Phase{.end = sunset, .preset = "focus"},         Phase{.end = sunset + 60, .preset = "dusk"},
        Phase{.end = sunset + 180, .preset = "evening"}, Phase{.end = endless, .preset = "sleep"}};
    std::int64_t begin = -endless;
    for (auto& phase : table) {
        phase.begin = begin;
        begin = std::max(begin, phase.end);
    }
    return table;
}

inline const char* presetAt(std::int64_t minute, std::int64_t sunrise, std::int64_t sunset) {
    const auto table = phases(sunrise, sunset);
    return std::ranges::find_if(table, [&](const Phase& each) { return each.begin <= minute && minute < each.end; })
        ->preset;
}

/// A place, and how far its clocks are ahead of UTC.
struct City {
    const char* name = "";
    double latitude = 0;
    double longitude = 0;
    const char* zone = ""; ///< its name in the zone database
    Seconds offset{0};     ///< until the first change
    std::vector<std::pair<Instant, Seconds>> changes{};

    [[nodiscard]] Seconds offsetAt(Instant instant) const {
        Seconds result = offset;
        for (const auto& [start, later] : changes) {
            if (instant >= start) {
                result = later;
            }
        }
        return result;
    }

    friend std::ostream& operator<<(std::ostream& stream, const City& city) { return stream << city.name; }
};

/// The schedule of a person in a city.
class Schedule {
  public:
    explicit Schedule(City where) : city(std::move(where)) {
        for (int day = 1; day <= 366; ++day) {
            sun.push_back(sunMinutes(day, city.latitude, city.longitude));
        }
    }

    [[nodiscard]] const char* presetAt(Instant instant) const {
        using std::chrono::days;
        const Seconds offset = city.offsetAt(instant);
        const auto local = std::chrono::floor<std::chrono::minutes>(instant + offset);
        const auto today = std::chrono::floor<days>(local);
        const auto year = std::chrono::year_month_day(today).year();
        const auto daysBefore = today - std::chrono::sys_days(year / std::chrono::January / 1);
        const auto [sunrise, sunset] = sun[static_cast<std::size_t>(daysBefore.count())];
        if (std::isnan(sunrise)) {
            return expected::presetAt((local - today).count(), 360, 1080);
        }
        return expected::presetAt((local - today).count(), timeOfDay(sunrise, offset), timeOfDay(sunset, offset));
    }

  private:
    /// Of the minute that has begun at those minutes after midnight UTC, be it on the day before or after.
    static std::int64_t timeOfDay(long double minutes, Seconds offset) {
        const auto whole = static_cast<std::int64_t>(minutes + static_cast<long double>(offset.count()) / 60);
        return (whole % 1440 + 1440) % 1440;
    }

    City city;
    std::vector<std::pair<long double, long double>> sun; ///< of each day of the year
};

/// That many minutes after that midnight in UTC.
inline Instant utc(std::chrono::sys_days day, int minute) {
    return Instant(Seconds(std::chrono::sys_seconds(day + std::chrono::minutes(minute)).time_since_epoch()));
}

/// Ten cities with their clocks of 2028, a leap year. The days of the changes are the rules of the lands, as laws give
/// them ("the last Sunday of March").
inline std::vector<City> cities2028() {
    using namespace std::chrono; // NOLINT(google-build-using-namespace)
    constexpr year y{2028};
    const auto hour = [](double hours) { return Seconds(hours * 3600); };
    const Instant europeForward = utc(y / March / Sunday[last], 60);
    const Instant europeBack = utc(y / October / Sunday[last], 60);
    const auto american = [&](double standard) {
        const int two = static_cast<int>((2 - standard) * 60); // by the standard clock; an hour less by the other
        return std::vector<std::pair<Instant, Seconds>>{{utc(y / March / Sunday[2], two), hour(standard + 1)},
                                                        {utc(y / November / Sunday[1], two - 60), hour(standard)}};
    };
    const auto european = [&](double standard) {
        return std::vector<std::pair<Instant, Seconds>>{{europeForward, hour(standard + 1)},
                                                        {europeBack, hour(standard)}};
    };
    return {
        {"Quito", -0.18, -78.47, "America/Guayaquil", hour(-5)},
        {"London", 51.51, -0.13, "Europe/London", hour(0), european(0)},
        {"NewYork", 40.71, -74.01, "America/New_York", hour(-5), american(-5)},
        {"StJohns", 47.56, -52.71, "America/St_Johns", hour(-3.5), american(-3.5)},
        {"Sydney",
         -33.87,
         151.21,
         "Australia/Sydney",
         hour(11),
         {{utc(y / April / Sunday[1], (3 - 11) * 60), hour(10)},
          {utc(y / October / Sunday[1], (2 - 10) * 60), hour(11)}}},
        {"Tokyo", 35.68, 139.69, "Asia/Tokyo", hour(9)},
        {"Delhi", 28.61, 77.21, "Asia/Kolkata", hour(5.5)},
        {"Reykjavik", 64.15, -21.94, "Atlantic/Reykjavik", hour(0)},
        {"Tromso", 69.65, 18.96, "Europe/Oslo", hour(1), european(1)},
        {"McMurdo",
         -77.85,
         166.67,
         "Antarctica/McMurdo",
         hour(13),
         {{utc(y / April / Sunday[1], (3 - 13) * 60), hour(12)},
          {utc(y / September / Sunday[last], (2 - 12) * 60), hour(13)}}},
    };
}

} // namespace nocta::expected
