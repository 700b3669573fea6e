#include "Interface/Popover/BreaksModel.h"

#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/BreakEngineInspector.h"
#include "Core/FatalExit.h"
#include "Core/FreshPlatform.h"
#include "Interface/SignalCount.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using std::chrono::milliseconds;

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

class BreaksModelTest : public testing::Test {
  protected:
    static AppState& state() { return AppState::shared(); }
    [[nodiscard]] const auto& windows() const { return world.windows.windows(); }

    SimulatedPlatform& world = freshPlatform();
    BreakEngineInspector engine{BreakEngine::shared()};
    std::unique_ptr<BreaksModel> owned = std::make_unique<BreaksModel>();
    BreaksModel& model = *owned;
};

TEST_F(BreaksModelTest, SwitchingBreaksOnStartsTheEngineAndOffStopsIt) {
    world.advance(Seconds(100));
    model.setBreaksEnabled(true);
    EXPECT_TRUE(state().breaksEnabled.get());
    EXPECT_TRUE(engine.hasWorkTimer());
    EXPECT_EQ(engine.startTime(), SimulatedPlatform::defaultStart + Seconds(100));
    model.setBreaksEnabled(false);
    EXPECT_FALSE(state().breaksEnabled.get());
    EXPECT_FALSE(engine.hasWorkTimer());
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

TEST_F(BreaksModelTest, SwitchingBreaksOffEndsARunningBreakAtOnceAndCountsNothing) {
    model.setBreaksEnabled(true);
    world.advance(Seconds(1205));
    ASSERT_TRUE(engine.hasOverlay());
    model.setBreaksEnabled(false);
    EXPECT_EQ(world.windows.openWindows(), 0U);
    EXPECT_EQ(BreaksModel::breaksTaken(), "0");
    EXPECT_EQ(BreaksModel::breaksSkipped(), "0");
}

TEST_F(BreaksModelTest, ANewIntervalStartsTheRunningOneOver) {
    model.setBreaksEnabled(true);
    world.advance(Seconds(600));
    model.setIntervalIndex(3);
    EXPECT_EQ(state().breakIntervalMinutes.get(), 45);
    EXPECT_EQ(engine.startTime(), SimulatedPlatform::defaultStart + Seconds(600));
    EXPECT_EQ(BreakEngine::shared().timeUntilBreak(), Seconds(2700));
    EXPECT_EQ(engine.orphanedTimers(), 0U);
}

TEST_F(BreaksModelTest, TheIntervalThatIsSetAlreadyStartsNothingOver) {
    model.setBreaksEnabled(true);
    world.advance(Seconds(600));
    model.setIntervalIndex(BreaksModel::intervalIndex());
    model.setBreaksEnabled(true);
    BreaksModel::setDurationIndex(BreaksModel::durationIndex());
    EXPECT_EQ(engine.startTime(), SimulatedPlatform::defaultStart);
}

TEST_F(BreaksModelTest, ANewLengthHoldsFromTheNextBreakOn) {
    model.setBreaksEnabled(true);
    world.advance(Seconds(1205));
    ASSERT_TRUE(engine.hasOverlay());
    BreaksModel::setDurationIndex(3);
    EXPECT_EQ(state().breakDurationSeconds.get(), 60);
    EXPECT_EQ(engine.startTime(), SimulatedPlatform::defaultStart) << "the engine was not called";
    world.advance(Seconds(15));
    EXPECT_FALSE(engine.hasOverlay()) << "this one still lasts 20 s";
    world.advance(Seconds(1200 + 59));
    EXPECT_TRUE(engine.hasOverlay());
    world.advance(Seconds(1));
    EXPECT_FALSE(engine.hasOverlay());
}

TEST_F(BreaksModelTest, TheChoicesAreThoseOfTheControls) {
    EXPECT_EQ(BreaksModel::intervalLabels(), (QStringList{"15 min", "20 min", "30 min", "45 min", "60 min"}));
    EXPECT_EQ(BreaksModel::durationLabels(), (QStringList{"15 s", "20 s", "30 s", "60 s"}));
    int index = 0;
    for (const int minutes : {15, 20, 30, 45, 60}) {
        model.setIntervalIndex(index);
        EXPECT_EQ(state().breakIntervalMinutes.get(), minutes);
        EXPECT_EQ(BreaksModel::intervalIndex(), index++);
    }
    index = 0;
    for (const int seconds : {15, 20, 30, 60}) {
        BreaksModel::setDurationIndex(index);
        EXPECT_EQ(state().breakDurationSeconds.get(), seconds);
        EXPECT_EQ(BreaksModel::durationIndex(), index++);
    }
}

TEST_F(BreaksModelTest, AStoredValueThatIsNoChoiceSelectsNone) {
    state().breakIntervalMinutes = 25;
    state().breakDurationSeconds = -1;
    EXPECT_EQ(BreaksModel::intervalIndex(), -1);
    EXPECT_EQ(BreaksModel::durationIndex(), -1);
}

TEST_F(BreaksModelTest, CountdownsAreCutToTheWholeSecond) {
    EXPECT_EQ(BreaksModel::formatCountdown(Seconds(1199.7)), "19:59");
    EXPECT_EQ(BreaksModel::formatCountdown(Seconds(65)), "1:05");
    EXPECT_EQ(BreaksModel::formatCountdown(Seconds(59.9)), "0:59");
    EXPECT_EQ(BreaksModel::formatCountdown(Seconds(0)), "0:00");
    EXPECT_EQ(BreaksModel::formatCountdown(Seconds(0.999)), "0:00");
    EXPECT_EQ(BreaksModel::formatCountdown(Seconds(3600)), "60:00");
    // The largest double below 2^63 is 2^63 - 1024.
    EXPECT_EQ(BreaksModel::formatCountdown(Seconds(std::nextafter(0x1p63, 0.0))), "153722867280912913:04");
}

TEST_F(BreaksModelTest, ACountdownThatIsNoWholeNumberOfSecondsIsFatal) {
    EXPECT_FATAL(static_cast<void>(BreaksModel::formatCountdown(Seconds(std::nan("")))), notFinite);
    EXPECT_FATAL(static_cast<void>(BreaksModel::formatCountdown(Seconds(std::numeric_limits<double>::infinity()))),
                 notFinite);
    EXPECT_FATAL(static_cast<void>(BreaksModel::formatCountdown(Seconds(0x1p63))), aboveRange);
}

TEST_F(BreaksModelTest, ProgressIsTheShareOfTheIntervalThatIsOver) {
    EXPECT_DOUBLE_EQ(BreaksModel::breakProgress(Seconds(1200), 20), 0.0);
    EXPECT_DOUBLE_EQ(BreaksModel::breakProgress(Seconds(900), 20), 0.25);
    EXPECT_DOUBLE_EQ(BreaksModel::breakProgress(Seconds(0), 20), 1.0);
}

TEST_F(BreaksModelTest, ProgressIsNeverOutsideItsRange) {
    EXPECT_EQ(BreaksModel::breakProgress(Seconds(3600), 15), 0.0) << "the interval was just shortened";
    EXPECT_EQ(BreaksModel::breakProgress(Seconds(0), 0), 1.0);
    EXPECT_EQ(BreaksModel::breakProgress(Seconds(60), 0), 0.0);
    EXPECT_EQ(BreaksModel::breakProgress(Seconds(0), -15), 1.0);
    EXPECT_EQ(BreaksModel::breakProgress(Seconds(60), -15), 1.0);
    EXPECT_EQ(BreaksModel::breakProgress(Seconds(0), largest / 60), 1.0);
}

TEST_F(BreaksModelTest, AnIntervalBeyondSixtyFourBitsOfSecondsIsFatal) {
    EXPECT_FATAL(static_cast<void>(BreaksModel::breakProgress(Seconds(0), largest / 60 + 1)),
                 "Arithmetic overflow in integer multiplication");
}

TEST_F(BreaksModelTest, TheCountdownIsReadAtOnceAndThenEverySecondWhileTheTabIsOnTheScreen) {
    state().breaksEnabled = true;
    BreakEngine::shared().start();
    world.advance(Seconds(0.3));
    const auto before = world.runLoop.timerCount();
    model.setOnScreen(true);
    EXPECT_EQ(world.runLoop.timerCount(), before + 1);
    EXPECT_EQ(model.countdown(), "19:59");
    const test::SignalCount changes(model, &BreaksModel::countdownChanged);
    world.advance(Seconds(0.999));
    EXPECT_EQ(changes.count(), 0);
    world.advance(Seconds(0.001));
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(model.countdown(), "19:58");
    world.advance(Seconds(600));
    EXPECT_EQ(changes.count(), 601);
    EXPECT_EQ(model.countdown(), "9:58");
    EXPECT_NEAR(model.progress(), 601.3 / 1200, 1e-9);

    model.setOnScreen(false);
    EXPECT_EQ(world.runLoop.timerCount(), before);
    world.advance(Seconds(60));
    EXPECT_EQ(changes.count(), 601);
    EXPECT_EQ(model.countdown(), "9:58") << "the last value read";
    model.setOnScreen(true);
    EXPECT_EQ(model.countdown(), "8:58");
}

TEST_F(BreaksModelTest, ToldTwiceThatItIsOnTheScreenItKeepsOneTimer) {
    model.setOnScreen(true);
    model.setOnScreen(true);
    EXPECT_EQ(world.runLoop.timerCount(), 1U);
    model.setOnScreen(false);
    model.setOnScreen(false);
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

TEST_F(BreaksModelTest, ACountdownThatStandsStillTellsNobody) {
    world.advance(Seconds(3600));
    model.setOnScreen(true);
    EXPECT_EQ(model.countdown(), "0:00");
    const test::SignalCount changes(model, &BreaksModel::countdownChanged);
    world.advance(Seconds(60));
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(BreaksModelTest, ASwitchOrANewIntervalShowsItsCountdownWithoutWaitingForTheNextSecond) {
    world.advance(Seconds(3600));
    model.setOnScreen(true);
    EXPECT_EQ(model.countdown(), "0:00");
    world.advance(Seconds(0.5));
    model.setBreaksEnabled(true);
    EXPECT_EQ(model.countdown(), "20:00");
    EXPECT_EQ(model.progress(), 0);
    world.advance(Seconds(10));
    model.setIntervalIndex(0);
    EXPECT_EQ(model.countdown(), "15:00");
    EXPECT_EQ(model.progress(), 0);
}

TEST_F(BreaksModelTest, DuringABreakTheCountdownStaysAtNothing) {
    model.setBreaksEnabled(true);
    model.setOnScreen(true);
    world.advance(Seconds(1210));
    ASSERT_TRUE(engine.hasOverlay());
    EXPECT_EQ(model.countdown(), "0:00");
    EXPECT_EQ(model.progress(), 1);
}

TEST_F(BreaksModelTest, TellsOfWhatOthersChange) {
    const test::SignalCount enabled(model, &BreaksModel::breaksEnabledChanged);
    const test::SignalCount interval(model, &BreaksModel::intervalChanged);
    const test::SignalCount countdown(model, &BreaksModel::countdownChanged);
    const test::SignalCount duration(model, &BreaksModel::durationChanged);
    const test::SignalCount taken(model, &BreaksModel::breaksTakenChanged);
    const test::SignalCount skipped(model, &BreaksModel::breaksSkippedChanged);
    state().breaksEnabled = true;
    state().breakIntervalMinutes = 60;
    state().breakDurationSeconds = 15;
    state().breaksTaken = largest;
    state().breaksSkipped = 7;
    for (const auto* spy : {&enabled, &interval, &countdown, &duration, &taken, &skipped}) {
        EXPECT_EQ(spy->count(), 1);
    }
    EXPECT_TRUE(BreaksModel::breaksEnabled());
    EXPECT_EQ(BreaksModel::intervalIndex(), 4);
    EXPECT_EQ(BreaksModel::durationIndex(), 0);
    EXPECT_EQ(BreaksModel::breaksTaken(), "9223372036854775807");
    EXPECT_EQ(BreaksModel::breaksSkipped(), "7");
    EXPECT_FALSE(engine.hasWorkTimer()) << "whoever changes a setting calls the engine";
}

TEST_F(BreaksModelTest, ThePreviewIsAnOverlayOfFiveSecondsWhateverTheBreaksLast) {
    state().breakDurationSeconds = 60;
    model.previewOverlay();
    ASSERT_EQ(windows().size(), 1U);
    const auto& window = *windows().front();
    EXPECT_EQ(window.shown(), milliseconds(0));
    EXPECT_EQ(window.contents().front().countdown.text, "5");
    EXPECT_EQ(world.windows.activations(), 1);
    EXPECT_FALSE(engine.hasOverlay()) << "the engine has no part in it";
    EXPECT_FALSE(engine.hasBreakTimer());
}

TEST_F(BreaksModelTest, ThePreviewFadesOutWhenItsFiveSecondsAreOver) {
    model.previewOverlay();
    const auto& window = *windows().front();
    world.advance(Seconds(4.999));
    EXPECT_FALSE(window.isFadingOut());
    world.advance(Seconds(0.001));
    EXPECT_TRUE(window.isFadingOut());
    EXPECT_EQ(window.fades().back().start, milliseconds(5000));
    world.advance(Seconds(0.5));
    EXPECT_EQ(window.closed(), milliseconds(5500));
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

TEST_F(BreaksModelTest, ThePreviewsSkipButtonDoesNothingAndItCountsAsNoBreak) {
    model.previewOverlay();
    world.advance(Seconds(2));
    EXPECT_TRUE(windows().front()->pressSkip());
    EXPECT_FALSE(windows().front()->isFadingOut());
    world.advance(Seconds(10));
    EXPECT_EQ(state().breaksTaken.get(), 0);
    EXPECT_EQ(state().breaksSkipped.get(), 0);
    EXPECT_FALSE(engine.hasWorkTimer());
}

TEST_F(BreaksModelTest, APreviewDuringAWorkPeriodLeavesThePeriodAlone) {
    model.setBreaksEnabled(true);
    world.advance(Seconds(1000));
    model.previewOverlay();
    world.advance(Seconds(199));
    EXPECT_EQ(windows().size(), 1U);
    world.advance(Seconds(1));
    EXPECT_EQ(windows().size(), 2U) << "the break, at its time";
    EXPECT_TRUE(engine.hasOverlay());
}

TEST_F(BreaksModelTest, APreviewThatABreakFollowsClosesAtItsTimeAndLeavesTheBreakAlone) {
    model.setBreaksEnabled(true);
    world.advance(Seconds(1198));
    model.previewOverlay();
    world.advance(Seconds(2));
    ASSERT_EQ(windows().size(), 2U);
    world.advance(Seconds(3.5));
    EXPECT_TRUE(windows().front()->closed());
    EXPECT_TRUE(windows().back()->isOnScreen());
    EXPECT_TRUE(engine.hasOverlay());
    world.advance(Seconds(16.5));
    EXPECT_EQ(state().breaksTaken.get(), 1);
}

TEST_F(BreaksModelTest, PressedAgainThePreviewBeginsAgainAndStillEndsByItself) {
    for (int press = 0; press < 5; ++press) {
        model.previewOverlay();
        EXPECT_EQ(world.windows.openWindows(), 1U);
        world.advance(Seconds(0.7));
    }
    EXPECT_EQ(windows().size(), 5U);
    world.advance(Seconds(4.2));
    EXPECT_FALSE(windows().back()->isFadingOut());
    world.advance(Seconds(0.1));
    EXPECT_TRUE(windows().back()->isFadingOut());
    world.advance(Seconds(0.5));
    EXPECT_EQ(world.windows.openWindows(), 0U);
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

TEST_F(BreaksModelTest, ThePreviewOutlastsItsTabAndEndsWithItsModel) {
    model.setOnScreen(true);
    model.previewOverlay();
    model.setOnScreen(false);
    world.advance(Seconds(3));
    EXPECT_TRUE(windows().front()->isOnScreen());
    owned.reset();
    EXPECT_EQ(world.windows.openWindows(), 0U);
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

TEST_F(BreaksModelTest, NothingRunsWhileTheTabIsOffTheScreen) {
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
    world.advance(Seconds(100));
    EXPECT_TRUE(windows().empty());
}

} // namespace
} // namespace nocta
