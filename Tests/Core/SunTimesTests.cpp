#include "Core/SunTimes.h"

#include "CircadianSchedulerInspector.h"
#include "Core/ExpectedSchedule.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <sstream>

#include <gtest/gtest.h>

namespace nocta {
namespace {

TEST(SunTimes, OnTheFirstOfJanuaryAtZeroZeroTheyAreThoseOfTheHandCalculation) {
    // Equation of time -2.9042 min, declination -0.402449 rad, hour angle 89.8185 degrees.
    const auto sun = sunMinutes(1, 0, 0);
    ASSERT_TRUE(sun);
    EXPECT_NEAR(sun->sunrise, 363.63, 0.005);
    EXPECT_NEAR(sun->sunset, 1082.18, 0.005);
}

TEST(SunTimes, ThereAreNoneInPolarNightAndDayAndWhereThereIsNoPlace) {
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinite = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(sunMinutes(355, 80, 0));
    EXPECT_FALSE(sunMinutes(172, 80, 0));
    EXPECT_FALSE(sunMinutes(172, 90, 0));
    EXPECT_FALSE(sunMinutes(172, -90, 0));
    EXPECT_FALSE(sunMinutes(100, none, 0));
    EXPECT_FALSE(sunMinutes(100, 0, none));
    EXPECT_FALSE(sunMinutes(100, infinite, 0));
}

struct Almanac {
    const char* name;
    double latitude;
    double longitude;
    int day; ///< of the year
    double offsetHours;
    int sunrise; ///< minutes after local midnight
    int sunset;
    friend std::ostream& operator<<(std::ostream& stream, const Almanac& each) { return stream << each.name; }
};

class SunTimesOf : public testing::TestWithParam<Almanac> {};

TEST_P(SunTimesOf, LieBehindTheAlmanacByWhatTheZenithExplains) {
    // An almanac counts the sun as risen when its upper edge appears in refracted light, 90.833 degrees off the zenith.
    // Ours waits for 89.833: one degree later, which the sun takes the longer to climb the flatter its path is. What is
    // left is the almanac's rounding (half a minute), the series, and the date's drift against the leap years.
    constexpr double bound = 2;
    const auto& almanac = GetParam();
    const auto sun = sunMinutes(almanac.day, almanac.latitude, almanac.longitude);
    ASSERT_TRUE(sun);
    const auto oneDegree = static_cast<double>(4 * (expected::hourAngle(almanac.day, almanac.latitude, 90.833L) -
                                                    expected::hourAngle(almanac.day, almanac.latitude, 89.833L)));
    ASSERT_GT(oneDegree, 4) << "minutes, nowhere on earth less";
    EXPECT_NEAR(sun->sunrise + almanac.offsetHours * 60 - almanac.sunrise, oneDegree, bound);
    EXPECT_NEAR(almanac.sunset - (sun->sunset + almanac.offsetHours * 60), oneDegree, bound);
}

/// The tables of the sun that observatories and yearbooks publish, in the cities' local time; the days of the solstices
/// and one of an equinox, which change by less than a minute or two from year to year.
INSTANTIATE_TEST_SUITE_P(
    Published, SunTimesOf,
    testing::Values(Almanac{"LondonInJune", 51.507, -0.128, 172, 1, 4 * 60 + 43, 21 * 60 + 21},
                    Almanac{"LondonInDecember", 51.507, -0.128, 355, 0, 8 * 60 + 4, 15 * 60 + 53},
                    Almanac{"NewYorkInJune", 40.713, -74.006, 172, -4, 5 * 60 + 25, 20 * 60 + 31},
                    Almanac{"NewYorkInDecember", 40.713, -74.006, 355, -5, 7 * 60 + 17, 16 * 60 + 32},
                    Almanac{"BerlinInJune", 52.52, 13.405, 172, 2, 4 * 60 + 43, 21 * 60 + 33},
                    Almanac{"BerlinInDecember", 52.52, 13.405, 355, 1, 8 * 60 + 15, 15 * 60 + 54},
                    Almanac{"TokyoInJune", 35.69, 139.69, 172, 9, 4 * 60 + 25, 19 * 60 + 0},
                    Almanac{"ReykjavikInDecember", 64.147, -21.942, 355, 0, 11 * 60 + 22, 15 * 60 + 30},
                    Almanac{"SingaporeInMarch", 1.35, 103.82, 79, 8, 7 * 60 + 8, 19 * 60 + 15},
                    Almanac{"SydneyInDecember", -33.869, 151.209, 355, 11, 5 * 60 + 41, 20 * 60 + 5}),
    [](const auto& each) { return each.param.name; });

class LocalSunTimes : public testing::Test {
  protected:
    LocalSunTimes() { platform.install(); }

    [[nodiscard]] std::pair<DateComponents, DateComponents> at(double latitude, double longitude) const {
        const auto [sunrise, sunset] = CircadianSchedulerInspector::calculateSunTimes(latitude, longitude);
        return {platform.calendar.components(sunrise).value(), platform.calendar.components(sunset).value()};
    }

    /// 1 January 2026, 12:00 UTC.
    SimulatedPlatform platform{Instant(Seconds(1767268800))};
};

/// Whether `minute` is `exact` truncated. In the last thousandth of a minute before a whole one, and the first after
/// it, both neighbours pass: there the last bits decide.
bool isTruncation(std::int64_t minute, long double exact) {
    const auto truncated = static_cast<std::int64_t>(exact);
    return minute == truncated || (std::abs(minute - truncated) == 1 && std::abs(exact - std::round(exact)) < 0.001L);
}

TEST_F(LocalSunTimes, AgreeToTheMinuteWithTheFormulasOnEveryDayOfALeapYearInAllPlacesAndZones) {
    // In minutes ahead of UTC, the Marquesas, Newfoundland, Nepal, Eucla and the Chatham Islands among them.
    constexpr std::array zones{-660, -570, -480, -210, 0, 60, 330, 345, 525, 600, 765, 840};
    constexpr std::array latitudes{-89.9, -80.0, -67.0, -66.0, -52.3, -33.9, -23.4, -1.0, 0.0, 0.5,
                                   23.4,  35.7,  48.9,  60.0,  65.7,  66.0,  69.6,  78.2, 89.9};
    constexpr std::array longitudes{-180.0, -122.4, -74.0, -0.1, 0.0, 18.9, 77.2, 139.7, 180.0};
    const auto newYear = std::chrono::sys_days(std::chrono::year(2028) / std::chrono::January / 1);
    int polarDays = 0;
    int daysBeside = 0;
    for (const double latitude : latitudes) {
        for (const double longitude : longitudes) {
            for (int day = 1; day <= 366; ++day) {
                const auto [sunrise, sunset] = expected::sunMinutes(day, latitude, longitude);
                const bool isPolar = std::isnan(sunrise);
                polarDays += isPolar ? 1 : 0;
                for (std::size_t i = 0; i < zones.size(); ++i) {
                    const auto where = [&] {
                        std::ostringstream text;
                        text << "day " << day << " at " << latitude << ' ' << longitude << ", zone " << zones[i];
                        return text.str();
                    };
                    const Seconds offset = std::chrono::minutes(zones[i]);
                    const Instant midnight = Instant(newYear + std::chrono::days(day - 1)) - offset;
                    const auto now = midnight + std::chrono::minutes((day * 37 + static_cast<int>(i) * 131) % 1440);
                    platform.calendar.offset = offset;
                    platform.jump(now - platform.clock.now());
                    const auto times = CircadianSchedulerInspector::calculateSunTimes(latitude, longitude);
                    const auto minutes = [&](Instant time) {
                        const double seconds = (time - midnight).count();
                        EXPECT_EQ(std::fmod(seconds, 60), 0) << where();
                        return static_cast<std::int64_t>(seconds / 60);
                    };
                    const std::int64_t first = minutes(times.first);
                    const std::int64_t second = minutes(times.second);
                    if (isPolar) {
                        ASSERT_EQ(first, 6 * 60) << where();
                        ASSERT_EQ(second, 18 * 60) << where();
                        continue;
                    }
                    ASSERT_TRUE(isTruncation(first, sunrise + zones[i])) << where() << ": " << first;
                    ASSERT_TRUE(isTruncation(second, sunset + zones[i])) << where() << ": " << second;
                    daysBeside += first < 0 || second >= 1440 ? 1 : 0;
                }
            }
        }
    }
    EXPECT_GT(polarDays, 0);
    EXPECT_GT(daysBeside, 0) << "the calendar's carry has been asked for";
}

TEST_F(LocalSunTimes, AreTruncatedToTheMinuteOfToday) {
    const auto [sunrise, sunset] = at(0, 0);
    EXPECT_EQ(sunrise, (DateComponents{2026, 1, 1, 6, 3, 0}));
    EXPECT_EQ(sunset, (DateComponents{2026, 1, 1, 18, 2, 0}));
}

TEST_F(LocalSunTimes, ALongitudeOf15DegreesInAZoneOneHourAheadHasTheSameTimes) {
    platform.calendar.offset = std::chrono::hours(1);
    const auto [sunrise, sunset] = at(0, 15);
    EXPECT_EQ(sunrise, (DateComponents{2026, 1, 1, 6, 3, 0}));
    EXPECT_EQ(sunset, (DateComponents{2026, 1, 1, 18, 2, 0}));
}

TEST_F(LocalSunTimes, AZoneOfFiveAndAHalfHoursShiftsBothBy330Minutes) {
    platform.calendar.offset = std::chrono::minutes(330);
    const auto [sunrise, sunset] = at(0, 0);
    EXPECT_EQ(sunrise, (DateComponents{2026, 1, 1, 11, 33, 0}));
    EXPECT_EQ(sunset, (DateComponents{2026, 1, 1, 23, 32, 0}));
}

TEST_F(LocalSunTimes, FallOnTheDaysBesideWhereTheLocalMinutesLeaveToday) {
    // 363.63 - 720 = -356.37 truncates to -356 minutes: 18:04 of the day before.
    EXPECT_EQ(at(0, 180).first, (DateComponents{2025, 12, 31, 18, 4, 0}));
    // 1082.18 + 720 = 1802.18 minutes: 06:02 of the next day.
    EXPECT_EQ(at(0, -180).second, (DateComponents{2026, 1, 2, 6, 2, 0}));
}

TEST_F(LocalSunTimes, ADayWithoutSunriseOrSunsetRunsFromSixToSixLocalTime) {
    platform.calendar.offset = std::chrono::hours(1);
    const auto [sunrise, sunset] = at(80, 15);
    EXPECT_EQ(sunrise, (DateComponents{2026, 1, 1, 6, 0, 0}));
    EXPECT_EQ(sunset, (DateComponents{2026, 1, 1, 18, 0, 0}));
}

TEST_F(LocalSunTimes, MinutesBetweenMidnightAndTheMinuteBeforeAreTruncatedTowardsMidnight) {
    // 363.63 - 364 = -0.37 minutes.
    platform.calendar.offset = -std::chrono::minutes(364);
    EXPECT_EQ(at(0, 0).first, (DateComponents{2026, 1, 1, 0, 0, 0}));
}

TEST_F(LocalSunTimes, ACalendarThatKnowsNoDayOfTheYearCountsAsTheFirstOfJanuary) {
    class UncountedDays final : public Calendar {
      public:
        explicit UncountedDays(const Calendar& calendar) : calendar(calendar) {}
        [[nodiscard]] std::optional<DateComponents> components(Instant instant) const override {
            return calendar.components(instant);
        }
        [[nodiscard]] std::optional<Instant> instant(const DateComponents& components) const override {
            return calendar.instant(components);
        }
        [[nodiscard]] std::optional<int> dayOfYear(Instant /*instant*/) const override { return std::nullopt; }
        [[nodiscard]] Seconds offsetFromUTC(Instant instant) const override { return calendar.offsetFromUTC(instant); }

      private:
        const Calendar& calendar;
    };
    UncountedDays calendar(platform.calendar);
    auto record = Platform::current();
    record.calendar = &calendar;
    Platform::install(record);
    platform.jump(std::chrono::days(90));
    const auto [sunrise, sunset] = at(0, 0);
    EXPECT_EQ(sunrise, (DateComponents{2026, 4, 1, 6, 3, 0}));
    EXPECT_EQ(sunset, (DateComponents{2026, 4, 1, 18, 2, 0}));
}

TEST_F(LocalSunTimes, ACalendarThatCannotBuildThemGivesNow) {
    platform.calendar.isBroken = true;
    const auto [sunrise, sunset] = CircadianSchedulerInspector::calculateSunTimes(0, 0);
    EXPECT_EQ(sunrise, platform.clock.now());
    EXPECT_EQ(sunset, platform.clock.now());
}

using LocalSunTimesDeathTest = LocalSunTimes;

TEST_F(LocalSunTimesDeathTest, MinutesBeyondTheIntegersAreFatal) {
    EXPECT_DEATH((void)CircadianSchedulerInspector::calculateSunTimes(0, -1e300), "greater than Int.max");
    EXPECT_DEATH((void)CircadianSchedulerInspector::calculateSunTimes(0, 1e300), "less than Int.min");
}

} // namespace
} // namespace nocta
