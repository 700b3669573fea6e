#include "Core/BreakEngine.h"

#include "BreakEngineInspector.h"
#include "Core/AppState.h"
#include "FatalExit.h"
#include "FreshPlatform.h"
#include "HeldTasks.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <malloc.h>

namespace nocta {
namespace {

using std::chrono::milliseconds;

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
constexpr Seconds interval{1200};
constexpr Seconds breakLength{20};
constexpr Seconds fadeOut{0.5};

class Breaks : public testing::Test {
  protected:
    /// Breaks on, 20 seconds every 20 minutes.
    Breaks() { platform.settings.setBoolean("breaksEnabled", true); }

    static BreakEngine& engine() { return BreakEngine::shared(); }
    static AppState& state() { return AppState::shared(); }
    [[nodiscard]] SimulatedWindow& window() const { return *platform.windows.windows().back(); }
    [[nodiscard]] std::size_t windowsMade() const { return platform.windows.windows().size(); }

    /// Starts, and lets the first break begin.
    void startAndBreak() {
        engine().start();
        platform.advance(interval);
        ASSERT_TRUE(inspector.hasOverlay());
    }

    static void expectTallies(std::int64_t taken, std::int64_t skipped) {
        EXPECT_EQ(state().breaksTaken.get(), taken);
        EXPECT_EQ(state().breaksSkipped.get(), skipped);
    }

    void expectStopped() {
        EXPECT_FALSE(engine().isCycleRunning());
        EXPECT_FALSE(inspector.hasWorkTimer());
        EXPECT_FALSE(inspector.hasBreakTimer());
        EXPECT_FALSE(inspector.hasOverlay());
    }

    void expectWorking() {
        EXPECT_TRUE(engine().isCycleRunning());
        EXPECT_TRUE(inspector.hasWorkTimer());
        EXPECT_FALSE(inspector.hasBreakTimer());
        EXPECT_FALSE(inspector.hasOverlay());
    }

    void expectBreak() {
        EXPECT_TRUE(engine().isCycleRunning());
        EXPECT_FALSE(inspector.hasWorkTimer());
        EXPECT_TRUE(inspector.hasBreakTimer());
        EXPECT_TRUE(inspector.hasOverlay());
    }

    SimulatedPlatform& platform = freshPlatform();
    BreakEngineInspector inspector{engine()};
};

TEST_F(Breaks, WhoeverWatchesIsToldWhenABreakComesAndGoes) {
    std::vector<bool> shown;
    const auto subscription = engine().observeBreaks([&] { shown.push_back(engine().isBreakShown()); });
    startAndBreak();
    EXPECT_EQ(shown, std::vector<bool>{true});
    platform.advance(breakLength); // taken
    EXPECT_EQ(shown, (std::vector<bool>{true, false}));
    platform.advance(interval);
    engine().skipBreak();
    EXPECT_EQ(shown, (std::vector<bool>{true, false, true, false}));
    platform.advance(interval);
    engine().stop();
    EXPECT_EQ(shown, (std::vector<bool>{true, false, true, false, true, false}));
    engine().stop();
    EXPECT_EQ(shown.size(), 6U) << "nothing left";
}

TEST_F(Breaks, BeforeTheStartNothingRunsAndTimeCountsFromTheEnginesCreation) {
    expectStopped();
    EXPECT_EQ(inspector.startTime(), SimulatedPlatform::defaultStart);
    platform.advance(Seconds(200));
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(1000));
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Breaks, StartWithBreaksOffLeavesNoTimerAndTimeStillCountsFromTheLastPeriod) {
    engine().start();
    platform.advance(Seconds(300));
    state().breaksEnabled = false;
    engine().start();
    expectStopped();
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(900));
    platform.advance(Seconds(100));
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(800));
    platform.advance(Seconds(10000));
    EXPECT_EQ(windowsMade(), 0U);
}

TEST_F(Breaks, TimeFallsFromTheIntervalToNothingWhenTheOverlayIsShown) {
    engine().start();
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(1200));
    expectWorking();
    platform.advance(Seconds(1199.5));
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(0.5));
    EXPECT_EQ(windowsMade(), 0U);
    platform.advance(Seconds(0.5));
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(0));
    expectBreak();
    EXPECT_EQ(window().shown(), milliseconds(1'200'000));
    EXPECT_EQ(window().contents().front().countdown.text, "20");
    platform.advance(Seconds(10));
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(0)) << "and stays there";
}

TEST_F(Breaks, ABreakOfItsFullLengthIsTakenFadesOutAndIsFollowedByWork) {
    startAndBreak();
    platform.advance(breakLength);
    expectTallies(1, 0);
    expectWorking();
    EXPECT_TRUE(window().isFadingOut());
    EXPECT_EQ(engine().timeUntilBreak(), interval);
    platform.advance(fadeOut);
    EXPECT_EQ(window().closed(), milliseconds(1'220'500));
    platform.advance(interval - fadeOut);
    expectBreak();
    EXPECT_EQ(windowsMade(), 2U);
}

TEST_F(Breaks, ASkippedBreakCountsOnceAsSkippedAndWorkBeginsAtThatMoment) {
    startAndBreak();
    platform.advance(Seconds(7.25));
    EXPECT_TRUE(window().pressSkip());
    expectTallies(0, 1);
    expectWorking();
    EXPECT_EQ(engine().timeUntilBreak(), interval);
    EXPECT_TRUE(window().isFadingOut());
    EXPECT_EQ(window().fades().back().duration, Seconds(0.5));
    platform.advance(interval - Seconds(1));
    EXPECT_EQ(windowsMade(), 1U);
    expectTallies(0, 1);
    platform.advance(Seconds(1));
    EXPECT_EQ(windowsMade(), 2U);
    EXPECT_EQ(window().shown(), milliseconds(1'200'000 + 7'250 + 1'200'000));
}

TEST_F(Breaks, ASecondPressDuringTheFadeOutIsNoSecondSkip) {
    startAndBreak();
    EXPECT_TRUE(window().pressSkip());
    EXPECT_FALSE(window().pressSkip());
    window().deliverLatePress();
    expectTallies(0, 1);
    EXPECT_EQ(inspector.orphanedTimers(), 0U);
}

TEST_F(Breaks, ASkipDuringTheFadeInEndsTheBreak) {
    startAndBreak();
    platform.advance(Seconds(0.2));
    EXPECT_TRUE(window().pressSkip());
    expectWorking();
    platform.advance(fadeOut);
    EXPECT_EQ(platform.windows.openWindows(), 0U);
    EXPECT_EQ(platform.runLoop.timerCount(), 1U) << "the work period's";
}

TEST_F(Breaks, StopDuringWorkEndsIt) {
    engine().start();
    engine().stop();
    expectStopped();
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    platform.advance(interval * 3);
    EXPECT_EQ(windowsMade(), 0U);
}

TEST_F(Breaks, StopDuringABreakRemovesTheOverlayWithoutAFadeAndCountsNothing) {
    startAndBreak();
    platform.advance(Seconds(5));
    engine().stop();
    expectStopped();
    EXPECT_EQ(window().closed(), milliseconds(1'205'000));
    EXPECT_FALSE(window().isFadingOut());
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    platform.advance(interval * 3);
    expectTallies(0, 0);
    EXPECT_EQ(windowsMade(), 1U);
}

TEST_F(Breaks, StopDuringTheFadeOutLetsItEndAndLeavesNothing) {
    startAndBreak();
    platform.advance(breakLength + Seconds(0.2));
    engine().stop();
    EXPECT_TRUE(window().isOnScreen());
    platform.advance(fadeOut);
    EXPECT_EQ(platform.windows.openWindows(), 0U);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    expectTallies(1, 0);
}

TEST_F(Breaks, ASecondStartLeavesOneWorkTimer) {
    engine().start();
    platform.advance(Seconds(600));
    engine().start();
    EXPECT_EQ(platform.runLoop.timerCount(), 1U);
    EXPECT_EQ(engine().timeUntilBreak(), interval);
    platform.advance(interval - Seconds(1));
    EXPECT_EQ(windowsMade(), 0U);
    platform.advance(Seconds(1));
    EXPECT_EQ(windowsMade(), 1U);
}

TEST_F(Breaks, StartDuringABreakReplacesItByWork) {
    startAndBreak();
    engine().start();
    expectWorking();
    EXPECT_EQ(platform.windows.openWindows(), 0U);
    expectTallies(0, 0);
}

TEST_F(Breaks, BreaksTurnedOffDuringABreakItIsStillTakenButNoWorkFollows) {
    startAndBreak();
    state().breaksEnabled = false;
    platform.advance(breakLength);
    expectTallies(1, 0);
    expectStopped();
    platform.advance(fadeOut);
    EXPECT_EQ(platform.windows.openWindows(), 0U);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Breaks, BreaksTurnedOffDuringABreakItCanStillBeSkippedButNoWorkFollows) {
    startAndBreak();
    state().breaksEnabled = false;
    EXPECT_TRUE(window().pressSkip());
    expectTallies(0, 1);
    expectStopped();
}

TEST_F(Breaks, BreaksTurnedOffDuringWorkTheCycleEndsWhenTheBreakIsDue) {
    engine().start();
    state().breaksEnabled = false;
    EXPECT_TRUE(engine().isCycleRunning());
    platform.advance(interval);
    expectStopped();
    EXPECT_EQ(windowsMade(), 0U);
    state().breaksEnabled = true;
    platform.advance(interval * 3);
    EXPECT_EQ(windowsMade(), 0U) << "until the next start";
    engine().start();
    expectWorking();
}

TEST_F(Breaks, AChangedIntervalShowsAtOnceAndRestartTimerBeginsWithIt) {
    engine().start();
    platform.advance(Seconds(600));
    state().breakIntervalMinutes = 45;
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(45 * 60 - 600));
    state().breakIntervalMinutes = 5;
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(0)) << "never negative";
    engine().restartTimer();
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(300));
    EXPECT_EQ(platform.runLoop.timerCount(), 1U);
    platform.advance(Seconds(300));
    expectBreak();
}

TEST_F(Breaks, RestartTimerDuringABreakEndsItAtOnceUncounted) {
    startAndBreak();
    engine().restartTimer();
    expectWorking();
    EXPECT_EQ(platform.windows.openWindows(), 0U);
    expectTallies(0, 0);
}

TEST_F(Breaks, AChangedLengthAppliesFromTheNextBreakOn) {
    startAndBreak();
    state().breakDurationSeconds = 60;
    platform.advance(breakLength);
    expectTallies(1, 0);
    platform.advance(interval);
    EXPECT_EQ(window().contents().front().countdown.text, "60");
    platform.advance(Seconds(59));
    expectTallies(1, 0);
    platform.advance(Seconds(1));
    expectTallies(2, 0);
}

TEST_F(Breaks, ABreakThatEndsWithTheLastTickFadesOut) {
    startAndBreak();
    platform.advance(breakLength);
    const std::string last = window().contents().back().countdown.text;
    EXPECT_TRUE(last == "0" || last == "1") << last;
    EXPECT_TRUE(window().isFadingOut());
    EXPECT_EQ(platform.runLoop.timerCount(), 2U) << "the work period's and the fade's";
    platform.advance(fadeOut);
    EXPECT_EQ(window().contents().back().countdown.text, last);
}

TEST_F(Breaks, TheWallClockSetBackMakesTimeLongerThanTheIntervalAndMovesNoBreak) {
    engine().start();
    platform.jump(Seconds(-3600));
    EXPECT_EQ(engine().timeUntilBreak(), Seconds(4800));
    platform.advance(interval);
    expectBreak();
}

TEST_F(Breaks, ADayOfBreaksLeavesTheMemoryAsItWas) {
#ifdef NOCTA_SANITIZED
    GTEST_SKIP() << "the sanitizer has an allocator of its own";
#endif
    const auto day = [this] {
        for (int i = 0; i < 71; ++i) { // 1220 s each
            platform.advance(interval);
            if (i % 3 == 0) {
                EXPECT_TRUE(window().pressSkip());
            } else if (i % 3 == 1) {
                engine().restartTimer();
            }
            platform.advance(breakLength + fadeOut);
            platform.windows.forgetClosed();
            engine().restartTimer();
        }
        return mallinfo2().uordblks;
    };
    engine().start();
    day();
    const auto bytes = day();
    EXPECT_GT(bytes, 0U);
    EXPECT_EQ(day(), bytes);
    EXPECT_EQ(platform.windows.openWindows(), 0U);
    EXPECT_EQ(platform.runLoop.timerCount(), 1U);
}

// --- Two events of one turn ---

class BreaksInOneTurn : public Breaks {
  protected:
    void TearDown() override { platform.install(); }

    HeldTasks tasks{platform};
};

TEST_F(BreaksInOneTurn, TheBreakBeginsInATaskAfterTheTimer) {
    engine().start();
    platform.advance(interval);
    EXPECT_EQ(windowsMade(), 0U);
    EXPECT_TRUE(engine().isCycleRunning());
    tasks.release();
    expectBreak();
}

TEST_F(BreaksInOneTurn, StopTakesABreakBackThatWasDue) {
    engine().start();
    platform.advance(interval);
    engine().stop();
    tasks.release();
    expectStopped();
    EXPECT_EQ(windowsMade(), 0U);
}

TEST_F(BreaksInOneTurn, RestartTakesABreakBackThatWasDue) {
    engine().start();
    platform.advance(interval);
    engine().restartTimer();
    tasks.release();
    expectWorking();
    EXPECT_EQ(windowsMade(), 0U);
}

TEST_F(BreaksInOneTurn, ABreakSkippedWhenItsEndWasDueIsNotTakenToo) {
    engine().start();
    platform.advance(interval);
    tasks.release();
    platform.advance(breakLength);
    ASSERT_GT(tasks.count(), 0U);
    EXPECT_TRUE(window().pressSkip());
    tasks.release();
    expectTallies(0, 1);
    expectWorking();
    EXPECT_EQ(inspector.orphanedTimers(), 0U);
}

TEST_F(BreaksInOneTurn, StopTakesTheEndOfABreakBackThatWasDue) {
    engine().start();
    platform.advance(interval);
    tasks.release();
    platform.advance(breakLength);
    engine().stop();
    tasks.release();
    expectTallies(0, 0);
    expectStopped();
}

// --- A skip that no overlay asked for ---

TEST_F(Breaks, SkipWhileStoppedCountsAndBeginsWork) {
    engine().skipBreak();
    expectTallies(0, 1);
    expectWorking();
    EXPECT_EQ(engine().timeUntilBreak(), interval);
}

TEST_F(Breaks, SkipWithBreaksOffOnlyCounts) {
    state().breaksEnabled = false;
    engine().skipBreak();
    expectTallies(0, 1);
    expectStopped();
}

TEST_F(Breaks, SkipDuringWorkCountsAndBeginsAPeriodBesideTheOneThatRuns) {
    engine().start();
    platform.advance(Seconds(300));
    engine().skipBreak();
    expectTallies(0, 1);
    EXPECT_EQ(engine().timeUntilBreak(), interval);
    EXPECT_EQ(platform.runLoop.timerCount(), 2U);
    platform.advance(Seconds(900));
    EXPECT_TRUE(inspector.hasOverlay()) << "the first period's break, 20 minutes after the start";
    EXPECT_TRUE(inspector.hasWorkTimer());
    EXPECT_EQ(inspector.orphanedTimers(), 0U) << "forgotten when it fired";
    platform.advance(Seconds(10));
    engine().stop();
    expectStopped();
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Breaks, APeriodThatASkipLeftBehindRunsOnAfterStopAndEndsInABreak) {
    engine().start();
    platform.advance(Seconds(300));
    engine().skipBreak();
    engine().stop();
    EXPECT_EQ(platform.runLoop.timerCount(), 1U);
    platform.advance(Seconds(900));
    expectBreak();
}

TEST_F(Breaks, ABreakThatFallsIntoAnotherTakesItsPlace) {
    engine().start();
    platform.advance(Seconds(10));
    engine().skipBreak(); // two periods, ten seconds apart
    platform.advance(Seconds(1190));
    ASSERT_EQ(windowsMade(), 1U);
    platform.advance(Seconds(10));
    ASSERT_EQ(windowsMade(), 2U);
    EXPECT_EQ(platform.windows.openWindows(), 1U);
    platform.advance(Seconds(10)); // the end of the first, had it gone on
    expectTallies(0, 1);
    platform.advance(Seconds(10));
    expectTallies(1, 1);
    expectWorking();
}

TEST_F(Breaks, PeriodsLeftBehindAreForgottenAsTheyFire) {
    engine().start();
    for (int i = 0; i < 50; ++i) {
        platform.advance(Seconds(30));
        engine().skipBreak();
        EXPECT_LE(inspector.orphanedTimers(), 41U); // those of the last 20 minutes
    }
}

// --- Odd settings ---

TEST_F(Breaks, ALengthOfNothingOrLessEndsAtTheNextTurn) {
    for (const std::int64_t length : {std::int64_t{0}, std::int64_t{-1}, -largest}) {
        state().breakDurationSeconds = length;
        engine().start();
        const std::int64_t taken = state().breaksTaken.get();
        platform.advance(interval);
        expectBreak();
        EXPECT_EQ(state().breaksTaken.get(), taken);
        platform.advance(SimulatedRunLoop::shortestTurn);
        EXPECT_EQ(state().breaksTaken.get(), taken + 1);
        expectWorking();
        platform.advance(fadeOut);
        EXPECT_EQ(platform.windows.openWindows(), 0U);
    }
}

TEST_F(Breaks, AnIntervalOfNothingOrLessIsOverAtTheNextTurn) {
    for (const std::int64_t minutes : {0, -1, -1'000'000}) {
        state().breakIntervalMinutes = minutes;
        engine().start();
        EXPECT_EQ(engine().timeUntilBreak(), Seconds(0));
        expectWorking();
        platform.advance(Seconds(0));
        expectBreak();
        platform.advance(Seconds(19));
        expectBreak();
    }
}

TEST_F(Breaks, WithNeitherWorkNorBreakEveryTurnEndsAndWindowsDoNotPileUp) {
    state().breakIntervalMinutes = -1;
    state().breakDurationSeconds = 0;
    engine().start();
    std::size_t turns = 0;
    std::size_t mostWindows = 0;
    for (; turns < 1000; ++turns) {
        const std::size_t made = windowsMade();
        platform.advance(SimulatedRunLoop::shortestTurn);
        EXPECT_LE(windowsMade(), made + 1);
        mostWindows = std::max(mostWindows, platform.windows.openWindows());
    }
    // A turn of work, then one of break.
    EXPECT_NEAR(static_cast<double>(state().breaksTaken.get()), 500, 1);
    EXPECT_EQ(mostWindows, 1U);
    engine().stop();
    platform.advance(fadeOut);
    EXPECT_EQ(platform.windows.openWindows(), 0U);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Breaks, ABreakOfOneSecondIsOneSecondLong) {
    state().breakDurationSeconds = 1;
    startAndBreak();
    platform.advance(Seconds(0.999));
    expectBreak();
    platform.advance(Seconds(0.001));
    expectTallies(1, 0);
}

TEST_F(Breaks, ABreakBeyondACenturyEndsByASkipOnly) {
    state().breakDurationSeconds = largest;
    startAndBreak();
    EXPECT_EQ(window().contents().front().countdown.text, "9223372036854775807");
    platform.advance(std::chrono::hours(10));
    expectBreak();
    EXPECT_EQ(window().contents().back().countdown.text, std::to_string(largest - 36000));
    EXPECT_TRUE(window().pressSkip());
    expectWorking();
}

TEST_F(Breaks, AnIntervalBeyondACenturyNeverEnds) {
    state().breakIntervalMinutes = largest / 60;
    engine().start();
    EXPECT_GT(engine().timeUntilBreak(), std::chrono::years(100));
    platform.advance(std::chrono::hours(10000));
    expectWorking();
    EXPECT_EQ(windowsMade(), 0U);
}

TEST_F(Breaks, AnIntervalBeyondSixtyFourBitsOfSecondsIsAFatalError) {
    for (const std::int64_t minutes : {largest / 60 + 1, -(largest / 60) - 1}) {
        state().breakIntervalMinutes = minutes;
        EXPECT_FATAL(engine().start(), "Arithmetic overflow in integer multiplication");
        EXPECT_FATAL(static_cast<void>(engine().timeUntilBreak()), "Arithmetic overflow in integer multiplication");
    }
    state().breaksEnabled = false;
    engine().start();
    expectStopped();
}

TEST_F(Breaks, ATallyBeyondSixtyFourBitsIsAFatalError) {
    startAndBreak();
    state().breaksTaken = largest;
    state().breaksSkipped = largest;
    EXPECT_FATAL(platform.advance(breakLength), "Arithmetic overflow in integer addition");
    EXPECT_FATAL((void)window().pressSkip(), "Arithmetic overflow in integer addition");
}

TEST_F(Breaks, WithoutAnyScreenABreakIsAFatalError) {
    platform.windows.main = {};
    platform.windows.connected = {};
    engine().start();
    EXPECT_FATAL(platform.advance(interval), "Index out of range");
}

} // namespace
} // namespace nocta
