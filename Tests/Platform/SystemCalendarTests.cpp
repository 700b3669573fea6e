#include "Platform/Posix/SystemClock.h"

#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class SystemCalendarTest : public testing::Test {
  protected:
    static void setZone(const char* zone) { setenv("TZ", zone, 1); }

    SystemCalendar calendar;
};

constexpr Instant at(double seconds) {
    return Instant(Seconds(seconds));
}

TEST_F(SystemCalendarTest, ShowsLocalTimeInTheZoneOfTheMoment) {
    // 1774008000 is 2026-03-20 12:00:00 UTC.
    setZone("UTC0");
    EXPECT_EQ(calendar.components(at(1774008000)), (DateComponents{2026, 3, 20, 12, 0, 0}));
    setZone("Asia/Kolkata");
    EXPECT_EQ(calendar.components(at(1774008000)), (DateComponents{2026, 3, 20, 17, 30, 0}));
    setZone("America/New_York");
    EXPECT_EQ(calendar.components(at(1774008000)), (DateComponents{2026, 3, 20, 8, 0, 0}));
}

TEST_F(SystemCalendarTest, CountsWholeSecondsDownAlsoBefore1970) {
    setZone("UTC0");
    EXPECT_EQ(calendar.components(at(0.999)), (DateComponents{1970, 1, 1, 0, 0, 0}));
    EXPECT_EQ(calendar.components(at(-0.001)), (DateComponents{1969, 12, 31, 23, 59, 59}));
}

TEST_F(SystemCalendarTest, BuildsTheInstantOfALocalTime) {
    setZone("Europe/Berlin");
    EXPECT_EQ(calendar.instant({2026, 1, 15, 6, 30, 0}), at(1768455000)); // 05:30 UTC
    EXPECT_EQ(calendar.instant({2026, 7, 15, 6, 30, 0}), at(1784089800)); // 04:30 UTC, summer time
}

TEST_F(SystemCalendarTest, TheSecondBefore1970IsAnInstantLikeAnyOther) {
    setZone("UTC0");
    EXPECT_EQ(calendar.instant({1969, 12, 31, 23, 59, 59}), at(-1));
}

TEST_F(SystemCalendarTest, CarriesComponentsOutOfRangeOver) {
    setZone("UTC0");
    const auto noon = calendar.instant({2026, 3, 20, 12, 0, 0});
    EXPECT_EQ(calendar.instant({2026, 3, 20, 11, 60, 0}), noon);
    EXPECT_EQ(calendar.instant({2026, 3, 21, -12, 0, 0}), noon);
    EXPECT_EQ(calendar.instant({2026, 3, 19, 36, 0, 0}), noon);
    EXPECT_EQ(calendar.instant({2025, 15, 20, 12, 0, 0}), noon);
}

TEST_F(SystemCalendarTest, WhatTheCalendarCannotExpressIsNothing) {
    setZone("UTC0");
    constexpr double infinite = std::numeric_limits<double>::infinity();
    for (const double seconds : {infinite, -infinite, std::numeric_limits<double>::quiet_NaN(), 1e300, -1e300, 1e18}) {
        EXPECT_FALSE(calendar.components(at(seconds))) << seconds;
    }
    EXPECT_FALSE(calendar.instant({std::int64_t{1} << 40, 1, 1, 0, 0, 0}));
    EXPECT_FALSE(calendar.instant({2026, 1, 1, std::numeric_limits<std::int64_t>::max(), 0, 0}));
}

TEST_F(SystemCalendarTest, CountsTheDaysOfTheYearInLocalTime) {
    setZone("UTC0");
    EXPECT_EQ(calendar.dayOfYear(at(1774008000)), 79); // 20 March 2026
    setZone("Pacific/Kiritimati");                     // 14 hours ahead: the 21st
    EXPECT_EQ(calendar.dayOfYear(at(1774008000)), 80);
    EXPECT_EQ(calendar.dayOfYear(at(1e300)), std::nullopt);
}

TEST_F(SystemCalendarTest, TellsTheOffsetThatHoldsAtTheInstant) {
    setZone("Europe/Berlin");
    EXPECT_EQ(calendar.offsetFromUTC(at(1768455000)), Seconds(3600));
    EXPECT_EQ(calendar.offsetFromUTC(at(1784089800)), Seconds(7200)); // summer time
    setZone("Asia/Kolkata");
    EXPECT_EQ(calendar.offsetFromUTC(at(1774008000)), Seconds(19800));
    setZone("America/New_York");
    EXPECT_EQ(calendar.offsetFromUTC(at(1768455000)), Seconds(-18000));
    EXPECT_EQ(calendar.offsetFromUTC(at(1e300)), Seconds(0));
}

TEST(SystemClock, TellsTheTimeOfTheSystem) {
    const auto before = std::chrono::system_clock::now();
    const Instant now = SystemClock().now();
    const auto after = std::chrono::system_clock::now();
    EXPECT_GE(now, Instant(before));
    EXPECT_LE(now, Instant(after));
}

} // namespace
} // namespace nocta
