#include "Core/SunTimes.h"

#include "CircadianSchedulerInspector.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace nocta {
namespace {

/// Sunrise (sign +1) or sunset (-1) in minutes after midnight UTC, written anew in long double: the solar geometry in
/// degrees, the series by their harmonics.
long double independentMinutes(int day, long double latitude, long double longitude, int sign) {
    constexpr long double degree = 3.14159265358979323846264338327950288L / 180;
    const long double year = 360.0L / 365 * (day - 1) * degree;
    const auto harmonic = [&](int order, long double c, long double s) {
        return c * std::cos(order * year) + s * std::sin(order * year);
    };
    const long double equation =
        229.18L * (0.000075L + harmonic(1, 0.001868L, -0.032077L) + harmonic(2, -0.014615L, -0.04089L));
    const long double declination = 0.006918L + harmonic(1, -0.399912L, 0.070257L) +
                                    harmonic(2, -0.006758L, 0.000907L) + harmonic(3, -0.002697L, 0.00148L);
    // cos z = sin(lat) sin(decl) + cos(lat) cos(decl) cos(ha)
    const long double cosine = (std::cos(89.833L * degree) - std::sin(latitude * degree) * std::sin(declination)) /
                               (std::cos(latitude * degree) * std::cos(declination));
    return 12 * 60 - equation - (longitude + sign * std::acos(cosine) / degree) / 15 * 60;
}

TEST(SunTimes, AgreeWithAnIndependentCalculationOnAGridOfPlacesAndEveryDay) {
    int days = 0;
    int polarDays = 0;
    for (const double latitude :
         {-89.9, -66.0, -45.0, -23.4, 0.0, 0.5, 23.4, 40.7, 52.5, 60.0, 66.0, 69.6, 80.0, 89.9}) {
        for (const double longitude : {-180.0, -122.4, -74.0, 0.0, 13.4, 77.2, 139.7, 180.0}) {
            for (int day = 1; day <= 366; ++day) {
                const long double sunrise = independentMinutes(day, latitude, longitude, 1);
                const long double sunset = independentMinutes(day, latitude, longitude, -1);
                const auto sun = sunMinutes(day, latitude, longitude);
                ASSERT_EQ(sun.has_value(), std::isfinite(sunrise)) << day << " at " << latitude;
                ++days;
                if (!sun) {
                    ++polarDays;
                    continue;
                }
                // Where the sun only just rises, the arc cosine magnifies the last bits.
                ASSERT_NEAR(sun->sunrise, static_cast<double>(sunrise), 1e-4) << day << " at " << latitude;
                ASSERT_NEAR(sun->sunset, static_cast<double>(sunset), 1e-4) << day << " at " << latitude;
            }
        }
    }
    EXPECT_GT(polarDays, 0);
    EXPECT_LT(polarDays, days / 2);
}

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
    EXPECT_FALSE(sunMinutes(100, none, 0));
    EXPECT_FALSE(sunMinutes(100, 0, none));
    EXPECT_FALSE(sunMinutes(100, infinite, 0));
}

struct Almanac {
    const char* city;
    double latitude;
    double longitude;
    int day; ///< of the year 2026
    double offsetHours;
    int sunrise; ///< minutes after local midnight, as published
    int sunset;
    friend std::ostream& operator<<(std::ostream& stream, const Almanac& each) { return stream << each.city; }
};

class SunTimesOf : public testing::TestWithParam<Almanac> {};

TEST_P(SunTimesOf, CitiesLieWithinTheMinutesThatTheZenithExplains) {
    // The almanac's zenith is 90.833 degrees, ours 89.833: one degree, which the sun takes 4 min / cos(latitude) or
    // longer to cross, the longer the flatter its path. The bound doubles that, for the path and the low-precision
    // series.
    const auto& city = GetParam();
    const auto sun = sunMinutes(city.day, city.latitude, city.longitude);
    ASSERT_TRUE(sun);
    const double zenithMinutes = 4 / std::cos(city.latitude * 3.14159265358979 / 180);
    const double late = sun->sunrise + city.offsetHours * 60 - city.sunrise;
    const double early = city.sunset - (sun->sunset + city.offsetHours * 60);
    EXPECT_GT(late, 0) << "our day is the shorter one";
    EXPECT_GT(early, 0);
    EXPECT_LT(late, 2 * zenithMinutes);
    EXPECT_LT(early, 2 * zenithMinutes);
}

INSTANTIATE_TEST_SUITE_P(
    Published, SunTimesOf,
    testing::Values(Almanac{"London at the June solstice", 51.5074, -0.1278, 172, 1, 4 * 60 + 43, 21 * 60 + 21},
                    Almanac{"London at the December solstice", 51.5074, -0.1278, 355, 0, 8 * 60 + 4, 15 * 60 + 53},
                    Almanac{"New York at the June solstice", 40.7128, -74.006, 172, -4, 5 * 60 + 25, 20 * 60 + 31},
                    Almanac{"Sydney at the December solstice", -33.8688, 151.2093, 355, 11, 5 * 60 + 41, 20 * 60 + 5}));

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

TEST_F(LocalSunTimes, ACalendarThatCannotBuildThemGivesNow) {
    platform.calendar.isBroken = true;
    const auto [sunrise, sunset] = CircadianSchedulerInspector::calculateSunTimes(0, 0);
    EXPECT_EQ(sunrise, platform.clock.now());
    EXPECT_EQ(sunset, platform.clock.now());
}

} // namespace
} // namespace nocta
