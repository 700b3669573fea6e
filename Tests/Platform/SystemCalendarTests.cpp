#include "Platform/Posix/SystemClock.h"

#include "Support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

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

TEST_F(SystemCalendarTest, ALocalTimeThatSpringLeavesOutIsMovedByTheMissingHour) {
    setZone("Europe/Berlin"); // on 29 March 2026, 02:00 is 03:00
    const auto moved = calendar.instant({2026, 3, 29, 2, 30, 0});
    ASSERT_TRUE(moved);
    const bool isEarlier = calendar.components(*moved) == DateComponents{2026, 3, 29, 1, 30, 0};
    const bool isLater = calendar.components(*moved) == DateComponents{2026, 3, 29, 3, 30, 0};
    EXPECT_TRUE(isEarlier || isLater);
}

TEST_F(SystemCalendarTest, ALocalTimeThatAutumnRepeatsIsOneOfTheTwo) {
    setZone("Europe/Berlin"); // on 25 October 2026, 03:00 is 02:00 again
    const auto instant = calendar.instant({2026, 10, 25, 2, 30, 0});
    ASSERT_TRUE(instant);
    EXPECT_EQ(calendar.components(*instant), (DateComponents{2026, 10, 25, 2, 30, 0}));
}

TEST_F(SystemCalendarTest, LeapDaysAndTheDaysAfterThemAreCounted) {
    setZone("UTC0");
    EXPECT_EQ(calendar.dayOfYear(calendar.instant({2028, 2, 29, 12, 0, 0}).value()), 60);
    EXPECT_EQ(calendar.dayOfYear(calendar.instant({2028, 3, 1, 12, 0, 0}).value()), 61);
    EXPECT_EQ(calendar.dayOfYear(calendar.instant({2028, 12, 31, 23, 59, 59}).value()), 366);
    EXPECT_EQ(calendar.dayOfYear(calendar.instant({2029, 1, 1, 0, 0, 0}).value()), 1);
    EXPECT_EQ(calendar.instant({2027, 2, 29, 12, 0, 0}), calendar.instant({2027, 3, 1, 12, 0, 0}));
}

/// Without TZ, on a machine with an /etc of its own.
class SystemZoneTest : public SystemCalendarTest {
  protected:
    SystemZoneTest() {
        unsetenv("TZ");
        linkZone("Asia/Kolkata");
        const auto user = std::to_string(getuid());
        const auto group = std::to_string(getgid());
        // A user namespace lets everybody mount; whoever is the administrator does without.
        if (geteuid() == 0) {
            EXPECT_EQ(unshare(CLONE_NEWNS), 0);
        } else {
            EXPECT_EQ(unshare(CLONE_NEWUSER | CLONE_NEWNS), 0);
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/uid_map") << user << ' ' << user << " 1";
            std::ofstream("/proc/self/gid_map") << group << ' ' << group << " 1";
        }
        EXPECT_EQ(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        EXPECT_EQ(mount(etc.path().c_str(), "/etc", nullptr, MS_BIND, nullptr), 0);
    }

    /// As the desktop's settings do it: the new link takes the place of the old one in one step.
    void linkZone(const std::string& zone) const {
        std::filesystem::create_symlink("/usr/share/zoneinfo/" + zone, etc.path() / "new");
        std::filesystem::rename(etc.path() / "new", etc.path() / "localtime");
    }

    test::TemporaryFolder etc;
};

TEST_F(SystemZoneTest, AChangeOfTheSystemsZoneHoldsFromTheNextCallOn) {
    EXPECT_EQ(calendar.components(at(1774008000)), (DateComponents{2026, 3, 20, 17, 30, 0}));
    linkZone("America/New_York");
    EXPECT_EQ(calendar.offsetFromUTC(at(1774008000)), Seconds(-4.0 * 3600));
    linkZone("Asia/Kathmandu");
    EXPECT_EQ(calendar.instant({2026, 3, 20, 17, 45, 0}), at(1774008000));
    linkZone("Pacific/Kiritimati");
    EXPECT_EQ(calendar.dayOfYear(at(1774008000)), 80);
    EXPECT_EQ(calendar.components(at(1774008000)), (DateComponents{2026, 3, 21, 2, 0, 0}));
}

TEST_F(SystemZoneTest, AZoneThatIsTakenAwayIsUniversalTime) {
    EXPECT_EQ(calendar.offsetFromUTC(at(1774008000)), Seconds(5.5 * 3600));
    std::filesystem::remove(etc.path() / "localtime");
    EXPECT_EQ(calendar.offsetFromUTC(at(1774008000)), Seconds(0));
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
