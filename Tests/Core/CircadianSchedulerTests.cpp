#include "Core/CircadianScheduler.h"

#include "CircadianSchedulerInspector.h"
#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "FreshPlatform.h"

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

TEST_F(Scheduler, CustomValuesAreReplacedAtTheNextStepToo) {
    state().customTemp = 2000;
    state().activePresetID = "custom";
    scheduler().start();
    EXPECT_EQ(state().activePresetID.get(), "natural");
    EXPECT_EQ(state().customTemp.get(), 2000) << "kept for the next time";
}

TEST_F(Scheduler, ThePresetFadesInFromWhatIsOnTheScreenWithItsOwnTransition) {
    platform.clock.jump(at(17, 59, 30) - platform.clock.now());
    scheduler().start(); // focus, 1.5 s
    platform.advance(Seconds(59));
    EXPECT_EQ(loads(), 45U);
    platform.advance(Seconds(1 + 1.99)); // dusk at 18:00:30, 2 s
    EXPECT_EQ(loads(), 45U + 59U);
    platform.advance(Seconds(0.01));
    EXPECT_EQ(loads(), 45U + 60U);
}

TEST_F(Scheduler, WhatTheReactionsToItsChoiceSetIsWhatFadesIn) {
    platform.clock.jump(Seconds(3600 * 7)); // 19:00, evening
    const auto subscription = state().activePresetID.observe([](const std::string& id) {
        if (id == "evening") {
            state().activePresetID = "cinema";
        }
    });
    scheduler().tick();
    platform.advance(Seconds(10));
    EXPECT_EQ(loads(), 45U) << "cinema's 1.5 s";
    EXPECT_FLOAT_EQ(platform.displays.loads().back().red.back(), 1.0F);
}

TEST_F(Scheduler, AMinuteInWhichThePhasesPresetIsActiveChangesNothing) {
    scheduler().start();
    const auto before = platform.settings.writes().size();
    platform.advance(Seconds(600));
    EXPECT_EQ(loads(), 0U);
    EXPECT_EQ(platform.settings.writes().size(), before);
}

TEST_F(Scheduler, WhatElseIsOnTheScreenStaysWhileThePhasesPresetIsActive) {
    scheduler().start();                              // natural
    FilterEngine::shared().applyImmediate(2700, 0.7); // as a profile does
    platform.advance(Seconds(0));
    const auto before = loads();
    scheduler().tick();
    platform.advance(Seconds(600));
    EXPECT_EQ(loads(), before);
    EXPECT_FLOAT_EQ(platform.displays.loads().back().red.back(), 0.7F);
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

TEST_F(Scheduler, StartedTwiceBothTimersTakeTheirSteps) {
    scheduler().start();
    platform.advance(Seconds(30));
    scheduler().start();
    for (int i = 0; i < 4; ++i) {
        state().activePresetID = "sleep";
        platform.advance(Seconds(29));
        EXPECT_EQ(state().activePresetID.get(), "sleep");
        platform.advance(Seconds(1));
        EXPECT_EQ(state().activePresetID.get(), "natural") << "every 30 s";
    }
}

TEST_F(Scheduler, StoppedItStartsAgainWithAStepAndOneTimer) {
    scheduler().start();
    scheduler().stop();
    scheduler().stop();
    platform.clock.jump(Seconds(3600 * 7));
    scheduler().start();
    EXPECT_EQ(state().activePresetID.get(), "evening");
    EXPECT_EQ(platform.runLoop.timerCount(), 2U) << "the minute's and the fade's";
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

TEST_F(LocatedScheduler, AFixIsHandledAtTheNextTurnOfTheLoopAndNotInsideItsDelivery) {
    scheduler().start();
    platform.location.deliver(std::vector{lisbon});
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(), std::pair(at(6, 0), at(18, 0)));
    EXPECT_EQ(platform.location.stops(), 0);
    platform.advance(Seconds(0));
    EXPECT_NE(CircadianSchedulerInspector::sunTimes(), std::pair(at(6, 0), at(18, 0)));
    EXPECT_EQ(platform.location.stops(), 1);
}

TEST_F(LocatedScheduler, ALaterFixReplacesTheOlderWhichAFailureKeepsAsStopDoes) {
    scheduler().start();
    deliver({lisbon});
    const auto inLisbon = CircadianSchedulerInspector::sunTimes();
    scheduler().requestLocation();
    EXPECT_EQ(platform.location.authorizationRequests(), 2) << "at every request";
    platform.location.fail();
    scheduler().stop();
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(), inLisbon);
    EXPECT_EQ(platform.location.stops(), 1) << "updates are left as they are";
    deliver({tokyo});
    EXPECT_EQ(CircadianSchedulerInspector::sunTimes(),
              CircadianSchedulerInspector::calculateSunTimes(tokyo.latitude, tokyo.longitude));
    EXPECT_EQ(platform.location.stops(), 2);
}

TEST_F(LocatedScheduler, AFixThatArrivesWhileTheScheduleIsOffIsKeptForLater) {
    scheduler().start();
    state().scheduleEnabled = false;
    deliver({tokyo});
    EXPECT_EQ(state().activePresetID.get(), "natural");
    EXPECT_EQ(platform.location.stops(), 1);
    state().scheduleEnabled = true;
    scheduler().tick();
    EXPECT_EQ(state().activePresetID.get(), "sleep") << "12:00 UTC is three hours and more after Tokyo's sunset";
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

} // namespace
} // namespace nocta
