// The schedule on the C library's calendar and the system's zone database, with a clock that the test moves.

#include "Core/AppState.h"
#include "Core/CircadianScheduler.h"
#include "Core/ExpectedSchedule.h"
#include "Platform/Posix/SystemClock.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using expected::City;
using expected::utc;
using std::chrono::days;
using std::chrono::sys_days;

class ZonedSchedule : public testing::Test {
  protected:
    ZonedSchedule() {
        platform.install();
        auto record = Platform::current();
        record.calendar = &calendar;
        Platform::install(record);
        platform.displays.displays.clear(); // nobody looks
        platform.settings.setBoolean("scheduleEnabled", true);
    }

    static void setZone(const char* zone) { setenv("TZ", zone, 1); }
    static std::string preset() { return AppState::shared().activePresetID.get(); }

    void setClock(Instant instant) { platform.jump(instant - platform.clock.now()); }

    void startAt(double latitude, double longitude) {
        CircadianScheduler::shared().start();
        platform.location.deliver(std::vector{Location{latitude, longitude}});
        platform.advance(Seconds(0));
    }

    SimulatedPlatform platform;
    SystemCalendar calendar;
};

class ZonedScheduleIn : public ZonedSchedule, public testing::WithParamInterface<City> {};

TEST_P(ZonedScheduleIn, EveryMinuteAroundChangesOfTheClocksTheLeapDayAndYearsEndHasItsPreset) {
    using namespace std::chrono; // NOLINT(google-build-using-namespace)
    const City& city = GetParam();
    const expected::Schedule schedule(city);
    setZone(city.zone);
    std::vector<sys_days> middles{2028y / February / 29, 2028y / December / 31};
    for (const auto& change : city.changes) {
        middles.push_back(floor<days>(change.first));
    }
    setClock(utc(middles.front(), 0));
    startAt(city.latitude, city.longitude);
    for (const auto middle : middles) {
        setClock(utc(middle - days(2), 0));
        for (int minute = 0; minute < 4 * 1440; ++minute) {
            platform.advance(Seconds(60));
            const Instant now = platform.clock.now();
            ASSERT_EQ(preset(), schedule.presetAt(now)) << (now - utc(middle, 0)).count() / 3600 << " h after midnight";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, ZonedScheduleIn, testing::ValuesIn(expected::cities2028()),
                         [](const auto& each) { return std::string(each.param.name); });

/// The clocks of 2026 in Stockholm go forward on 29 March and back on 25 October, both at 01:00 UTC.
class ScheduleWhenTheClocksChange : public ZonedSchedule {
  protected:
    ScheduleWhenTheClocksChange() { setZone("Europe/Stockholm"); }

    /// From midnight UTC on, in minutes, when that preset comes.
    int minuteOf(sys_days day, const std::string& id) {
        setClock(utc(day, 0));
        CircadianScheduler::shared().tick();
        int minute = 0;
        while (preset() != id && minute < 1440) {
            platform.advance(Seconds(60));
            ++minute;
        }
        return minute;
    }

    static constexpr sys_days forward{std::chrono::year(2026) / std::chrono::March / 29};
    static constexpr sys_days back{std::chrono::year(2026) / std::chrono::October / 25};
};

TEST_F(ScheduleWhenTheClocksChange, ThePhasesOfAPlaceFollowTheSun) {
    startAt(59.33, 18.07);
    for (const auto change : {forward, back}) {
        for (const auto day : {change - days(1), change, change + days(1)}) {
            const auto newYear = sys_days(std::chrono::year(2026) / std::chrono::January / 1);
            const auto sun = expected::sunMinutes(static_cast<int>((day - newYear).count()) + 1, 59.33, 18.07);
            EXPECT_EQ(minuteOf(day, "evening"), static_cast<int>(sun.first) - 90);
            EXPECT_EQ(minuteOf(day, "focus"), static_cast<int>(sun.second) - 90);
        }
    }
}

TEST_F(ScheduleWhenTheClocksChange, ThePhasesOfManualTimesFollowTheClock) {
    platform.settings.setBoolean("scheduleUsesLocation", false);
    // 06:00 and 18:00 of a winter's day.
    const auto winter = sys_days(std::chrono::year(2026) / std::chrono::January / 15);
    platform.settings.setReal("manualSunrise", utc(winter, 5 * 60).time_since_epoch().count());
    platform.settings.setReal("manualSunset", utc(winter, 17 * 60).time_since_epoch().count());
    CircadianScheduler::shared().start();
    constexpr int evening = 4 * 60 + 30;
    constexpr int focus = 16 * 60 + 30;
    EXPECT_EQ(minuteOf(forward - days(1), "evening"), evening - 60);
    EXPECT_EQ(minuteOf(forward - days(1), "focus"), focus - 60);
    EXPECT_EQ(minuteOf(forward, "evening"), evening - 120);
    EXPECT_EQ(minuteOf(forward, "focus"), focus - 120);
    EXPECT_EQ(minuteOf(back, "evening"), evening - 60);
    EXPECT_EQ(minuteOf(back, "focus"), focus - 60);
}

TEST_F(ZonedSchedule, ATravellersChangeOfZoneTakesEffectAtTheNextMinute) {
    // Under the midnight sun the day runs from six to six by the clock of the zone.
    setZone("Europe/Oslo");
    setClock(utc(std::chrono::year(2026) / std::chrono::June / 21, 10 * 60)); // noon in Oslo
    startAt(69.65, 18.96);
    EXPECT_EQ(preset(), "natural");
    setZone("Pacific/Honolulu"); // midnight
    platform.advance(Seconds(59));
    EXPECT_EQ(preset(), "natural");
    platform.advance(Seconds(1));
    EXPECT_EQ(preset(), "sleep");
}

TEST_F(ZonedSchedule, TromsoHasADayFromSixToSixInThePolarNightAndUnderTheMidnightSun) {
    setZone("Europe/Oslo");
    const auto june = utc(std::chrono::year(2026) / std::chrono::June / 21, -2 * 60);         // local midnight
    const auto december = utc(std::chrono::year(2026) / std::chrono::December / 21, -1 * 60); // local midnight
    startAt(69.65, 18.96);
    for (const Instant midnight : {june, december}) {
        const auto presetAt = [&](int hour, int minute) {
            setClock(midnight + Seconds(hour * 3600 + minute * 60));
            CircadianScheduler::shared().tick();
            return preset();
        };
        EXPECT_EQ(presetAt(0, 0), "sleep");
        EXPECT_EQ(presetAt(4, 30), "evening");
        EXPECT_EQ(presetAt(5, 30), "dusk");
        EXPECT_EQ(presetAt(7, 0), "natural");
        EXPECT_EQ(presetAt(12, 0), "natural");
        EXPECT_EQ(presetAt(16, 30), "focus");
        EXPECT_EQ(presetAt(18, 0), "dusk");
        EXPECT_EQ(presetAt(19, 0), "evening");
        EXPECT_EQ(presetAt(21, 0), "sleep");
    }
}

} // namespace
} // namespace nocta
