#include "Core/CircadianScheduler.h"

#include "CircadianSchedulerInspector.h"
#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "FreshPlatform.h"

#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

/// 2026-03-20 at that UTC time.
Instant at(int hour, int minute, int second = 0) {
    return SimulatedPlatform::defaultStart + Seconds((hour - 12) * 3600 + minute * 60 + second);
}

class Scheduler : public testing::Test {
  protected:
    /// Noon, schedule and filter on, manual times 06:00 and 18:00, nothing on the screen yet.
    Scheduler() {
        platform.settings.setBoolean("scheduleEnabled", true);
        platform.settings.setBoolean("scheduleUsesLocation", false);
        platform.settings.setReal("manualSunrise", at(6, 0).time_since_epoch().count());
        platform.settings.setReal("manualSunset", at(18, 0).time_since_epoch().count());
    }

    static CircadianScheduler& scheduler() { return CircadianScheduler::shared(); }
    static AppState& state() { return AppState::shared(); }
    [[nodiscard]] std::size_t loads() const { return platform.displays.loads().size(); }

    SimulatedPlatform& platform = freshPlatform();
};

TEST_F(Scheduler, StartAppliesThePhasesPresetAtOnceAndNotAfterAMinute) {
    platform.clock.jump(Seconds(3600 * 7)); // 19:00
    scheduler().start();
    EXPECT_EQ(state().activePresetID.get(), "evening");
    platform.advance(Seconds(2));
    EXPECT_EQ(loads(), 60U) << "the preset's own 2 s";
    EXPECT_FLOAT_EQ(platform.displays.loads().back().red.back(), 0.7F);
}

TEST_F(Scheduler, APresetPickedByHandIsReplacedAtTheNextStep) {
    scheduler().start();
    EXPECT_EQ(state().activePresetID.get(), "natural");
    state().activePresetID = "sleep";
    platform.advance(Seconds(59));
    EXPECT_EQ(state().activePresetID.get(), "sleep");
    platform.advance(Seconds(1));
    EXPECT_EQ(state().activePresetID.get(), "natural");
}

TEST_F(Scheduler, AMinuteInWhichThePhasesPresetIsActiveChangesNothing) {
    scheduler().start();
    const auto before = platform.settings.writes().size();
    platform.advance(Seconds(600));
    EXPECT_EQ(loads(), 0U);
    EXPECT_EQ(platform.settings.writes().size(), before);
}

TEST_F(Scheduler, WithTheFilterOffNothingHappens) {
    platform.settings.setBoolean("filterEnabled", false);
    platform.clock.jump(Seconds(3600 * 7));
    scheduler().start();
    platform.advance(Seconds(600));
    EXPECT_EQ(state().activePresetID.get(), "natural");
    EXPECT_EQ(loads(), 0U);
    state().filterEnabled = true;
    platform.advance(Seconds(60));
    EXPECT_EQ(state().activePresetID.get(), "evening") << "back at the next minute";
}

TEST_F(Scheduler, WithTheScheduleOffNothingHappensUntilTheNextStepAfterItIsOn) {
    state().scheduleEnabled = false;
    platform.clock.jump(Seconds(3600 * 7));
    scheduler().start();
    platform.advance(Seconds(600));
    EXPECT_EQ(state().activePresetID.get(), "natural");
    state().scheduleEnabled = true;
    scheduler().tick();
    EXPECT_EQ(state().activePresetID.get(), "evening");
}

TEST_F(Scheduler, SecondsAreIgnored) {
    platform.clock.jump(at(16, 29, 59) - platform.clock.now());
    scheduler().tick();
    EXPECT_EQ(state().activePresetID.get(), "natural");
    platform.clock.jump(Seconds(1));
    scheduler().tick();
    EXPECT_EQ(state().activePresetID.get(), "focus");
}

TEST_F(Scheduler, OnlyTheTimesOfDayOfTheManualInstantsCount) {
    state().manualSunrise = at(6, 0) - std::chrono::days(4000);
    state().manualSunset = at(18, 0) + std::chrono::days(4000);
    platform.clock.jump(at(16, 30) - platform.clock.now());
    scheduler().tick();
    EXPECT_EQ(state().activePresetID.get(), "focus");
}

TEST_F(Scheduler, ManualTimesBeyondEveryCalendarCountAsMidnight) {
    state().manualSunrise = Instant(Seconds(1e300));
    state().manualSunset = Instant(Seconds(-1e300));
    scheduler().tick();
    EXPECT_EQ(state().activePresetID.get(), "sleep"); // sunrise and sunset at 00:00, now 12:00
}

TEST_F(Scheduler, StoppedItTakesNoStep) {
    scheduler().start();
    scheduler().stop();
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    platform.clock.jump(Seconds(3600 * 7));
    platform.advance(Seconds(600));
    EXPECT_EQ(state().activePresetID.get(), "natural");
}

TEST_F(Scheduler, StartedTwiceItHasTwoTimersOfWhichStopEndsTheSecond) {
    scheduler().start();
    scheduler().start();
    EXPECT_EQ(platform.runLoop.timerCount(), 2U);
    scheduler().stop();
    EXPECT_EQ(platform.runLoop.timerCount(), 1U);
    platform.clock.jump(Seconds(3600 * 7));
    platform.advance(Seconds(60));
    EXPECT_EQ(state().activePresetID.get(), "evening");
}

// --- Location ---

class LocatedScheduler : public Scheduler {
  protected:
    LocatedScheduler() { platform.settings.setBoolean("scheduleUsesLocation", true); }

    /// At 17:00 UTC of this day the sun is down in Tokyo and up in Lisbon.
    static constexpr Location tokyo{35.7, 139.7};
    static constexpr Location lisbon{38.7, -9.1};

    void deliver(std::vector<Location> locations) {
        platform.location.deliver(locations);
        platform.advance(Seconds(0));
    }
};

TEST_F(LocatedScheduler, StartAsksForOneCityLevelFix) {
    scheduler().start();
    EXPECT_EQ(platform.location.accuracies(), std::vector{LocationAccuracy::city});
    EXPECT_EQ(platform.location.authorizationRequests(), 1);
    EXPECT_EQ(platform.location.starts(), 1);
    EXPECT_EQ(platform.location.stops(), 0);
}

TEST_F(LocatedScheduler, StartAsksForNoneWhereTheScheduleOrItsLocationIsOff) {
    state().scheduleUsesLocation = false;
    scheduler().start();
    state().scheduleUsesLocation = true;
    state().scheduleEnabled = false;
    scheduler().start();
    EXPECT_EQ(platform.location.starts(), 0);
}

TEST_F(LocatedScheduler, UntilTheFixArrivesTheManualTimesRule) {
    platform.clock.jump(at(17, 0) - platform.clock.now());
    scheduler().start();
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(), std::pair(at(6, 0), at(18, 0)));
    EXPECT_EQ(state().activePresetID.get(), "focus");
}

TEST_F(LocatedScheduler, TheFirstFixStopsTheUpdatesOnceAndTheStepUsesIt) {
    platform.clock.jump(at(17, 0) - platform.clock.now());
    scheduler().start();
    deliver({lisbon, tokyo}); // the newest comes last
    EXPECT_EQ(platform.location.stops(), 1);
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(),
              CircadianSchedulerInspector::calculateSunTimes(tokyo.latitude, tokyo.longitude));
    // Sunset was at 08:4x UTC, sunrise at 20:4x of the day before, of which only the time of day counts.
    EXPECT_EQ(state().activePresetID.get(), "sleep");
    platform.advance(Seconds(600));
    EXPECT_EQ(platform.location.stops(), 1);
}

TEST_F(LocatedScheduler, AnEmptyListOfLocationsChangesNothing) {
    scheduler().start();
    deliver({});
    EXPECT_EQ(platform.location.stops(), 0);
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(), std::pair(at(6, 0), at(18, 0)));
}

TEST_F(LocatedScheduler, AFailureChangesNothingAndALaterRequestWorks) {
    scheduler().start();
    platform.location.fail();
    platform.advance(Seconds(600));
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(), std::pair(at(6, 0), at(18, 0)));
    scheduler().requestLocation();
    EXPECT_EQ(platform.location.accuracies().size(), 1U) << "set up once";
    EXPECT_EQ(platform.location.starts(), 2);
    deliver({lisbon});
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(),
              CircadianSchedulerInspector::calculateSunTimes(lisbon.latitude, lisbon.longitude));
}

TEST_F(LocatedScheduler, TheFixIsKeptWhileTheLocationIsNotWantedAndIsNeverStored) {
    scheduler().start();
    deliver({lisbon});
    state().scheduleUsesLocation = false;
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(), std::pair(at(6, 0), at(18, 0)));
    state().scheduleUsesLocation = true;
    EXPECT_NE(CircadianSchedulerInspector::sunTimes(), std::pair(at(6, 0), at(18, 0)));
    EXPECT_EQ(platform.settings.values.size(), 14U) << "the settings and nothing else";
}

// --- A whole year ---

TEST_F(LocatedScheduler, AYearInTenCitiesChangesAtEveryBoundaryAndMakesNoOtherCall) {
    // The fix of each city in turn, the year from the first minute of 2026 in UTC.
    constexpr std::array cities{Location{0.0, 0.0},     Location{51.5, -0.1},  Location{40.7, -74.0},
                                Location{-33.9, 151.2}, Location{35.7, 139.7}, Location{28.6, 77.2},
                                Location{-34.6, -58.4}, Location{64.1, -21.9}, Location{69.6, 18.9},
                                Location{-77.8, 166.7}};
    platform.clock.jump(Instant(Seconds(1767225600)) - platform.clock.now());
    scheduler().start();
    for (const auto& city : cities) {
        scheduler().requestLocation();
        deliver({city});
        platform.advance(Seconds(3)); // the fade to this city's preset
        std::size_t changes = 0;
        const auto subscription = state().activePresetID.observe([&](const std::string&) { ++changes; });
        std::size_t expectedChanges = 0;
        std::string expected = state().activePresetID.get();
        const auto loadsBefore = platform.displays.flushes();
        int expectedFrames = 0;
        for (int day = 0; day < 37; ++day) { // ten cities make a year
            for (int minute = 0; minute < 1440; ++minute) {
                platform.advance(Seconds(60));
                const Instant now = platform.clock.now();
                const auto [sunrise, sunset] =
                    CircadianSchedulerInspector::calculateSunTimes(city.latitude, city.longitude);
                const std::string id(CircadianSchedulerInspector::presetID(now, sunrise, sunset));
                ASSERT_EQ(state().activePresetID.get(), id);
                if (id != expected) {
                    ++expectedChanges;
                    expectedFrames += static_cast<int>(builtInPreset(id)->transitionSecs * 30);
                    expected = id;
                }
            }
        }
        ASSERT_EQ(changes, expectedChanges);
        platform.advance(Seconds(3));
        ASSERT_EQ(platform.displays.flushes() - loadsBefore, expectedFrames) << city.latitude;
    }
}

} // namespace
} // namespace nocta
