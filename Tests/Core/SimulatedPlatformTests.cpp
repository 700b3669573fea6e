#include "Platform/Simulated/SimulatedPlatform.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

using std::chrono::nanoseconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr Seconds century = std::chrono::years(100);

class SimulatedRunLoopTest : public testing::Test {
  protected:
    [[nodiscard]] std::function<void()> noting(std::string name) {
        return [this, name = std::move(name)] { log.push_back(name); };
    }

    std::vector<std::string> log;
    SimulatedRunLoop loop;
};

TEST_F(SimulatedRunLoopTest, NothingFiresBeforeItsTime) {
    const auto timer = loop.oneShot(Seconds(1), noting("fired"));
    loop.advance(Seconds(0.999999999));
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(loop.timerCount(), 1U);
    loop.advance(Seconds(0.000000001));
    EXPECT_THAT(log, ElementsAre("fired"));
    EXPECT_EQ(loop.timerCount(), 0U);
    loop.advance(Seconds(100));
    EXPECT_THAT(log, ElementsAre("fired"));
}

TEST_F(SimulatedRunLoopTest, TimersFireInOrderOfTheirInstants) {
    const auto c = loop.oneShot(Seconds(3), noting("c"));
    const auto a = loop.oneShot(Seconds(1), noting("a"));
    const auto b = loop.oneShot(Seconds(2), noting("b"));
    loop.advance(Seconds(10));
    EXPECT_THAT(log, ElementsAre("a", "b", "c"));
}

TEST_F(SimulatedRunLoopTest, AtOneInstantTimersFireInOrderOfScheduling) {
    const auto a = loop.oneShot(Seconds(1), noting("a"));
    const auto b = loop.repeating(Seconds(1), TimerPrecision::coarse, noting("b"));
    const auto c = loop.oneShot(Seconds(1), noting("c"));
    loop.advance(Seconds(0.5));
    const auto d = loop.oneShot(Seconds(0.5), noting("d"));
    loop.advance(Seconds(0.5));
    EXPECT_THAT(log, ElementsAre("a", "b", "c", "d"));
}

TEST_F(SimulatedRunLoopTest, TimeStandsAtTheInstantOfTheCallbackAndThenAtTheEnd) {
    std::vector<nanoseconds> seen;
    const auto timer = loop.repeating(Seconds(0.5), TimerPrecision::frame, [&] { seen.push_back(loop.elapsed()); });
    loop.advance(Seconds(1.25));
    using std::chrono::milliseconds;
    EXPECT_THAT(seen, ElementsAre(milliseconds(500), milliseconds(1000)));
    EXPECT_EQ(loop.elapsed(), milliseconds(1250));
}

TEST_F(SimulatedRunLoopTest, ARepeatingTimerNeverDrifts) {
    // A thirtieth of a second is no whole number of nanoseconds.
    std::vector<nanoseconds> seen;
    const auto timer =
        loop.repeating(Seconds(1.0 / 30), TimerPrecision::frame, [&] { seen.push_back(loop.elapsed()); });
    loop.advance(Seconds(3));
    ASSERT_EQ(seen.size(), 90U);
    EXPECT_EQ(seen[0], nanoseconds(33'333'333));
    EXPECT_EQ(seen[1], nanoseconds(66'666'667));
    EXPECT_EQ(seen[29], std::chrono::seconds(1));
    EXPECT_EQ(seen[89], std::chrono::seconds(3));
}

TEST_F(SimulatedRunLoopTest, ADestroyedTimerDoesNotFire) {
    auto once = loop.oneShot(Seconds(1), noting("once"));
    auto often = loop.repeating(Seconds(1), TimerPrecision::coarse, noting("often"));
    once.reset();
    loop.advance(Seconds(1.5));
    often.reset();
    loop.advance(Seconds(10));
    EXPECT_THAT(log, ElementsAre("often"));
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(SimulatedRunLoopTest, ATimerMayBeDestroyedInItsOwnCallback) {
    std::unique_ptr<Timer> timer;
    const auto captured = std::make_shared<std::string>("fired");
    // By value, so that it dies with the callback unless that is kept alive while it runs.
    timer = loop.repeating(Seconds(1), TimerPrecision::coarse, [this, &timer, captured] {
        timer.reset();
        log.push_back(*captured);
    });
    loop.advance(Seconds(10));
    EXPECT_THAT(log, ElementsAre("fired"));
    EXPECT_EQ(captured.use_count(), 1);
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(SimulatedRunLoopTest, ATimerMayBeDestroyedInTheCallbackOfAnotherThatIsDueWithIt) {
    std::unique_ptr<Timer> victim;
    const auto killer = loop.oneShot(Seconds(1), [&] { victim.reset(); });
    victim = loop.oneShot(Seconds(1), noting("victim"));
    loop.advance(Seconds(10));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(SimulatedRunLoopTest, WhatACallbackSchedulesTakesPart) {
    std::unique_ptr<Timer> second;
    std::vector<nanoseconds> seen;
    const auto first = loop.oneShot(
        Seconds(1), [&] { second = loop.oneShot(Seconds(0.25), [&] { seen.push_back(loop.elapsed()); }); });
    loop.advance(Seconds(2));
    EXPECT_THAT(seen, ElementsAre(std::chrono::milliseconds(1250)));
}

TEST_F(SimulatedRunLoopTest, AnIntervalThatIsNoneIsDueAtTheNextTurnAndNotInsideTheCall) {
    for (const double delay : {0.0, -0.0, -1.0, -infinity, notANumber}) {
        log.clear();
        const auto timer = loop.oneShot(Seconds(delay), noting("fired"));
        EXPECT_THAT(log, IsEmpty()) << delay;
        loop.advance(Seconds(0));
        EXPECT_THAT(log, ElementsAre("fired")) << delay;
        loop.advance(Seconds(10));
        EXPECT_THAT(log, ElementsAre("fired")) << delay;
    }
}

TEST_F(SimulatedRunLoopTest, ATimerOfNoLengthAskedForByACallbackTakesATurnSoThatTimePasses) {
    std::unique_ptr<Timer> timer;
    int firings = 0;
    std::function<void()> again = [&] {
        if (++firings < 100'000) { // time does not pass: without this the test would not end
            timer = loop.oneShot(Seconds(firings % 2 - 1), again);
        }
    };
    loop.async(again);
    loop.advance(Seconds(0.01));
    EXPECT_EQ(firings, 101) << "the task's, then one every 100 microseconds";
}

struct NoInterval {
    const char* name;
    double seconds;

    friend std::ostream& operator<<(std::ostream& stream, const NoInterval& interval) {
        return stream << interval.seconds;
    }
};

class SimulatedRepeatOfNoLength : public testing::TestWithParam<NoInterval> {};

TEST_P(SimulatedRepeatOfNoLength, FiresFromTheNextTurnOnAndLetsTimePass) {
    SimulatedRunLoop loop;
    int firings = 0;
    constexpr int limit = 10'000;
    std::unique_ptr<Timer> timer;
    timer = loop.repeating(Seconds(GetParam().seconds), TimerPrecision::coarse, [&] {
        if (++firings == limit) {
            timer.reset(); // time does not pass: without this the test would not end
        }
    });
    EXPECT_EQ(firings, 0);
    loop.advance(Seconds(0.01));
    EXPECT_GT(firings, 0);
    EXPECT_LT(firings, limit);
    EXPECT_EQ(loop.elapsed(), std::chrono::milliseconds(10));
}

INSTANTIATE_TEST_SUITE_P(All, SimulatedRepeatOfNoLength,
                         testing::Values(NoInterval{"Zero", 0.0}, NoInterval{"Negative", -1.0},
                                         NoInterval{"MinusInfinity", -infinity}, NoInterval{"NotANumber", notANumber}),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST_F(SimulatedRunLoopTest, AnIntervalBeyondACenturyIsNeverDue) {
    const auto once = loop.oneShot(century + Seconds(1), noting("once"));
    const auto often = loop.repeating(Seconds(infinity), TimerPrecision::coarse, noting("often"));
    const auto huge = loop.oneShot(Seconds(1e300), noting("huge"));
    EXPECT_EQ(loop.timerCount(), 0U);
    loop.advance(century);
    loop.advance(century);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(SimulatedRunLoopTest, AnIntervalOfACenturyIsDueInOne) {
    const auto timer = loop.oneShot(century, noting("fired"));
    loop.advance(century - Seconds(1));
    EXPECT_THAT(log, IsEmpty());
    loop.advance(Seconds(1));
    EXPECT_THAT(log, ElementsAre("fired"));
}

TEST_F(SimulatedRunLoopTest, TasksRunInOrderAtTheNextTurnAndBeforeTimers) {
    const auto timer = loop.oneShot(Seconds(0), noting("timer"));
    loop.async(noting("first"));
    loop.async(noting("second"));
    EXPECT_THAT(log, IsEmpty());
    loop.advance(Seconds(0));
    EXPECT_THAT(log, ElementsAre("first", "second", "timer"));
}

TEST_F(SimulatedRunLoopTest, ATaskHandedOverByATimerRunsBeforeTheNextTimer) {
    const auto a = loop.oneShot(Seconds(1), [&] {
        log.emplace_back("a");
        loop.async(noting("task"));
        log.emplace_back("end of a");
    });
    const auto b = loop.oneShot(Seconds(1), noting("b"));
    loop.advance(Seconds(1));
    EXPECT_THAT(log, ElementsAre("a", "end of a", "task", "b"));
}

TEST_F(SimulatedRunLoopTest, ATaskHandedOverByATaskRunsAfterThoseBeforeIt) {
    loop.async([&] {
        log.emplace_back("a");
        loop.async(noting("c"));
    });
    loop.async(noting("b"));
    loop.advance(Seconds(0));
    EXPECT_THAT(log, ElementsAre("a", "b", "c"));
}

RC_GTEST_PROP(SimulatedRunLoopProperty, TimersFireInOrderAndAllThatAreDue, ()) {
    const auto delays = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 2000)); // milliseconds
    SimulatedRunLoop loop;
    std::vector<std::pair<int, std::size_t>> fired;
    std::vector<std::unique_ptr<Timer>> timers;
    for (std::size_t i = 0; i < delays.size(); ++i) {
        timers.push_back(
            loop.oneShot(std::chrono::milliseconds(delays[i]), [&, i] { fired.emplace_back(delays[i], i); }));
    }
    loop.advance(Seconds(1));
    std::vector<std::pair<int, std::size_t>> due;
    for (std::size_t i = 0; i < delays.size(); ++i) {
        if (delays[i] <= 1000) {
            due.emplace_back(delays[i], i);
        }
    }
    std::sort(due.begin(), due.end());
    RC_ASSERT(fired == due);
    RC_ASSERT(loop.timerCount() == delays.size() - due.size());
}

TEST(SimulatedPlatform, InstallsAllOfItself) {
    static SimulatedPlatform platform;
    platform.install();
    EXPECT_EQ(Platform::current().application, &platform.application);
    EXPECT_EQ(Platform::current().runLoop, &platform.runLoop);
    EXPECT_EQ(Platform::current().clock, &platform.clock);
    EXPECT_EQ(Platform::current().calendar, &platform.calendar);
    EXPECT_EQ(Platform::current().settings, &platform.settings);
    EXPECT_EQ(Platform::current().displays, &platform.displays);
    EXPECT_EQ(Platform::current().windows, &platform.windows);
}

TEST(SimulatedClock, StartsAtNoonOfTheTwentiethOfMarch2026) {
    const SimulatedPlatform platform;
    EXPECT_EQ(platform.calendar.components(platform.clock.now()),
              (DateComponents{.year = 2026, .month = 3, .day = 20, .hour = 12, .minute = 0, .second = 0}));
}

TEST(SimulatedClock, FollowsVirtualTime) {
    SimulatedPlatform platform(Instant(Seconds(1000)));
    EXPECT_EQ(platform.clock.now(), Instant(Seconds(1000)));
    platform.advance(Seconds(2.5));
    EXPECT_EQ(platform.clock.now(), Instant(Seconds(1002.5)));
}

TEST(SimulatedClock, AJumpFiresNothingAndShiftsNoTimer) {
    SimulatedPlatform platform(Instant(Seconds(1000)));
    int firings = 0;
    const auto timer = platform.runLoop.oneShot(Seconds(10), [&] { ++firings; });
    platform.jump(Seconds(3600));
    EXPECT_EQ(platform.clock.now(), Instant(Seconds(4600)));
    EXPECT_EQ(platform.runLoop.elapsed(), nanoseconds(0));
    platform.advance(Seconds(9));
    EXPECT_EQ(firings, 0);
    platform.jump(Seconds(-7200));
    EXPECT_EQ(platform.clock.now(), Instant(Seconds(-2591)));
    platform.advance(Seconds(1));
    EXPECT_EQ(firings, 1);
}

TEST(SimulatedCalendar, ShowsInstantsInItsZone) {
    SimulatedCalendar calendar;
    EXPECT_EQ(calendar.components(Instant(Seconds(951782399.75))), // the last second of 28 February 2000
              (DateComponents{.year = 2000, .month = 2, .day = 28, .hour = 23, .minute = 59, .second = 59}));
    calendar.offset = Seconds(5.5 * 3600);
    EXPECT_EQ(calendar.components(Instant(Seconds(951782399.75))),
              (DateComponents{.year = 2000, .month = 2, .day = 29, .hour = 5, .minute = 29, .second = 59}));
    calendar.offset = Seconds(-3600);
    EXPECT_EQ(calendar.components(Instant(Seconds(0))),
              (DateComponents{.year = 1969, .month = 12, .day = 31, .hour = 23, .minute = 0, .second = 0}));
}

TEST(SimulatedCalendar, RoundsDownBeforeTheEpochToo) {
    const SimulatedCalendar calendar;
    EXPECT_EQ(calendar.components(Instant(Seconds(-0.5))),
              (DateComponents{.year = 1969, .month = 12, .day = 31, .hour = 23, .minute = 59, .second = 59}));
}

TEST(SimulatedCalendar, CarriesComponentsThatAreOutOfTheirRange) {
    const SimulatedCalendar calendar;
    const auto secondsOf = [&](const DateComponents& components) {
        const auto instant = calendar.instant(components);
        return instant ? std::optional(instant->time_since_epoch().count()) : std::nullopt;
    };
    EXPECT_EQ(secondsOf({1970, 1, 1, 0, 75, 0}), 4500.0);
    EXPECT_EQ(secondsOf({1970, 1, 1, -1, 0, 0}), -3600.0);
    EXPECT_EQ(secondsOf({1970, 1, 1, 24, 0, -1}), 86399.0);
    EXPECT_EQ(secondsOf({1970, 1, 32, 0, 0, 0}), 31 * 86400.0);
    EXPECT_EQ(secondsOf({1970, 1, 0, 0, 0, 0}), -86400.0);
    EXPECT_EQ(secondsOf({1969, 13, 1, 0, 0, 0}), 0.0);
    EXPECT_EQ(secondsOf({1970, 0, 31, 0, 0, 0}), -86400.0);
    EXPECT_EQ(secondsOf({2000, 2, 30, 0, 0, 0}), 951868800.0); // 1 March 2000
}

TEST(SimulatedCalendar, GivesNothingForAnInstantItCannotExpress) {
    const SimulatedCalendar calendar;
    for (const double seconds : {1e15, -1e15, infinity, -infinity, notANumber}) {
        EXPECT_EQ(calendar.components(Instant(Seconds(seconds))), std::nullopt) << seconds;
    }
}

TEST(SimulatedCalendar, GivesNoInstantInAYearBeyondIt) {
    const SimulatedCalendar calendar;
    EXPECT_FALSE(calendar.instant({40000, 1, 1, 0, 0, 0}));
    EXPECT_FALSE(calendar.instant({-40000, 1, 1, 0, 0, 0}));
    EXPECT_FALSE(calendar.instant({std::int64_t{1} << 40, 1, 1, 0, 0, 0}));
}

TEST(SimulatedCalendar, CountsTheDaysOfTheYear) {
    const SimulatedCalendar calendar;
    EXPECT_EQ(calendar.dayOfYear(calendar.instant({2026, 1, 1, 0, 0, 0}).value()), 1);
    EXPECT_EQ(calendar.dayOfYear(calendar.instant({2024, 12, 31, 23, 59, 59}).value()), 366);
    EXPECT_EQ(calendar.dayOfYear(calendar.instant({2026, 3, 1, 12, 0, 0}).value()), 60);
}

/// Berlin's clocks in 2026: an hour forward on 29 March and back on 25 October, each at 01:00 UTC.
class CalendarWithSummerTime : public testing::Test {
  protected:
    static constexpr Instant forward{Seconds(1774746000)};
    static constexpr Instant back{Seconds(1792890000)};

    CalendarWithSummerTime() {
        calendar.offset = Seconds(3600);
        calendar.changes = {{.at = forward, .offset = Seconds(7200)}, {.at = back, .offset = Seconds(3600)}};
    }

    SimulatedCalendar calendar;
};

TEST_F(CalendarWithSummerTime, FollowsTheChangesOfItsZone) {
    EXPECT_EQ(calendar.components(forward - Seconds(1)), (DateComponents{2026, 3, 29, 1, 59, 59}));
    EXPECT_EQ(calendar.components(forward), (DateComponents{2026, 3, 29, 3, 0, 0}));
    EXPECT_EQ(calendar.offsetFromUTC(forward), Seconds(7200));
    EXPECT_EQ(calendar.components(back - Seconds(1)), (DateComponents{2026, 10, 25, 2, 59, 59}));
    EXPECT_EQ(calendar.components(back), (DateComponents{2026, 10, 25, 2, 0, 0}));
    EXPECT_EQ(calendar.instant({2026, 7, 1, 12, 0, 0}), Instant(Seconds(1782900000)));  // 10:00 UTC
    EXPECT_EQ(calendar.instant({2026, 12, 1, 12, 0, 0}), Instant(Seconds(1796122800))); // 11:00 UTC
    EXPECT_EQ(calendar.dayOfYear(Instant(Seconds(1782858600))), 182) << "00:30 on 1 July, 22:30 UTC on 30 June";
}

TEST_F(CalendarWithSummerTime, ALocalTimeThatComesTwiceIsTheFirstAndOneThatIsSkippedLiesAfterTheChange) {
    EXPECT_EQ(calendar.instant({2026, 10, 25, 2, 30, 0}), back - Seconds(1800));
    EXPECT_EQ(calendar.instant({2026, 3, 29, 2, 30, 0}), forward + Seconds(1800));
}

TEST(SimulatedCalendar, GivesNoInstantWhileItIsBroken) {
    SimulatedCalendar calendar;
    const DateComponents date{.year = 2026, .month = 3, .day = 20, .hour = 6, .minute = 30, .second = 0};
    EXPECT_NE(calendar.instant(date), std::nullopt);
    calendar.isBroken = true;
    EXPECT_EQ(calendar.instant(date), std::nullopt);
}

RC_GTEST_PROP(SimulatedCalendarProperty, ComponentsNameTheirInstantToTheSecond, ()) {
    SimulatedCalendar calendar;
    calendar.offset = Seconds(*rc::gen::inRange(-12 * 3600, 14 * 3600));
    const auto seconds = *rc::gen::inRange<std::int64_t>(-900'000'000'000, 900'000'000'000);
    const auto components = calendar.components(Instant(Seconds(static_cast<double>(seconds) + 0.5)));
    RC_ASSERT(components.has_value());
    RC_ASSERT(calendar.instant(*components) == std::optional(Instant(Seconds(static_cast<double>(seconds)))));
}

TEST(InMemorySettings, KeepEachValueWithItsType) {
    InMemorySettingsStore store;
    store.setText("text", "words");
    store.setInteger("integer", -3);
    store.setReal("real", 0.5);
    store.setBoolean("boolean", true);
    store.setData("data", std::string_view("a\0b", 3));
    EXPECT_EQ(store.text("text"), "words");
    EXPECT_EQ(store.integer("integer"), -3);
    EXPECT_EQ(store.real("real"), 0.5);
    EXPECT_TRUE(store.boolean("boolean"));
    EXPECT_EQ(store.data("data"), std::string("a\0b", 3));
    EXPECT_THAT(store.writes(), ElementsAre("text", "integer", "real", "boolean", "data"));
    EXPECT_EQ(store.synchronizations(), 0);
    store.synchronize();
    EXPECT_EQ(store.synchronizations(), 1);
}

TEST(InMemorySettings, GiveNothingForAnAbsentKey) {
    const InMemorySettingsStore store;
    EXPECT_FALSE(store.contains("key"));
    EXPECT_EQ(store.text("key"), std::nullopt);
    EXPECT_EQ(store.integer("key"), 0);
    EXPECT_EQ(store.real("key"), 0.0);
    EXPECT_FALSE(store.boolean("key"));
    EXPECT_EQ(store.data("key"), std::nullopt);
}

TEST(InMemorySettings, GiveTheValueForNothingWhereATextStands) {
    InMemorySettingsStore store;
    store.setText("key", "words");
    EXPECT_TRUE(store.contains("key"));
    EXPECT_EQ(store.integer("key"), 0);
    EXPECT_EQ(store.real("key"), 0.0);
    EXPECT_FALSE(store.boolean("key"));
    EXPECT_EQ(store.data("key"), std::nullopt);
}

TEST(InMemorySettings, AValueReplacesTheOneBeforeWhateverItsType) {
    InMemorySettingsStore store;
    store.setText("key", "words");
    store.setInteger("key", 5);
    EXPECT_EQ(store.text("key"), std::nullopt);
    EXPECT_EQ(store.integer("key"), 5);
}

TEST(SimulatedDisplays, ShowWhatTheContractSays) {
    SimulatedDisplayService displays;
    displays.displays = {5, 9};
    const std::vector<float> first{0.0F, 1.0F};
    const std::vector<float> second{0.0F, 0.5F};
    EXPECT_EQ(displays.shown(5), nullptr);
    displays.load(5, first, first, first);
    ASSERT_NE(displays.shown(5), nullptr);
    EXPECT_EQ(displays.shown(5)->red, first);
    EXPECT_EQ(displays.shown(9), nullptr) << "was there and not loaded";
    displays.load(9, second, second, second);
    displays.load(77, first, first, first);
    displays.displays = {5, 12};
    EXPECT_EQ(displays.shown(9), nullptr) << "gone";
    ASSERT_NE(displays.shown(12), nullptr) << "appeared";
    EXPECT_EQ(displays.shown(12)->red, second);
    EXPECT_EQ(displays.shown(5)->red, first);
    displays.restoreCalibration();
    EXPECT_EQ(displays.shown(5), nullptr);
    EXPECT_EQ(displays.shown(12), nullptr);
}

TEST(SimulatedDisplays, CountAndListAndRemember) {
    SimulatedDisplayService displays;
    displays.displays = {5, 9};
    EXPECT_TRUE(displays.isAvailable());
    EXPECT_EQ(displays.activeDisplays({}), 2U);
    std::vector<DisplayID> buffer{0};
    EXPECT_EQ(displays.activeDisplays(buffer), 2U);
    EXPECT_THAT(buffer, ElementsAre(5U)); // as far as it reaches
    EXPECT_EQ(displays.listCalls(), 2);
    const std::vector<float> ramp{0.0F, 0.5F, 1.5F};
    displays.load(9, ramp, ramp, ramp);
    displays.flush();
    displays.restoreCalibration();
    ASSERT_EQ(displays.loads().size(), 1U);
    EXPECT_EQ(displays.loads()[0].display, 9U);
    EXPECT_EQ(displays.loads()[0].blue, ramp);
    EXPECT_EQ(displays.flushes(), 1);
    EXPECT_EQ(displays.restores(), 1);
}

TEST(SimulatedApplication, TellsItsDelegateOfBothEndsOnceEach) {
    class Delegate final : public ApplicationDelegate {
      public:
        int launches = 0;
        int terminations = 0;
        void applicationDidFinishLaunching() override { ++launches; }
        void applicationWillTerminate() override { ++terminations; }
    } delegate;
    SimulatedApplication application;
    application.setActivationPolicy(ActivationPolicy::accessory);
    EXPECT_THAT(application.policies(), ElementsAre(ActivationPolicy::accessory));
    application.run(delegate);
    EXPECT_EQ(delegate.launches, 1);
    EXPECT_EQ(delegate.terminations, 0);
    application.terminate();
    application.terminate();
    EXPECT_EQ(delegate.terminations, 1);
}

} // namespace
} // namespace nocta
