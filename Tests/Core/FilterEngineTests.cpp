#include "Core/FilterEngine.h"

#include "Core/AppState.h"
#include "Core/ExpectedFade.h"
#include "Core/FatalExit.h"
#include "Core/FilterEngineInspector.h"
#include "Core/FreshPlatform.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

/// Longer than any fade of these tests, so that what is left of one would show.
constexpr Seconds longAfter{60};

/// Past the frame of that number and well before the next.
Seconds untilAfterFrame(std::int64_t frame) {
    return Seconds(frameTime(frame)) + std::chrono::milliseconds(1);
}

class FilterEngineTest : public testing::Test {
  protected:
    [[nodiscard]] std::size_t loads() const { return platform.displays.loads().size(); }

    /// Nothing runs, nothing is approached.
    void expectIdle() const {
        EXPECT_FALSE(inspector.hasTimer());
        EXPECT_EQ(inspector.pending(), std::nullopt);
        EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    }

    /// A fade runs towards `target`.
    void expectFading(const Factors& target) const {
        EXPECT_TRUE(inspector.hasTimer());
        EXPECT_EQ(inspector.pending(), std::optional(target));
        EXPECT_EQ(platform.runLoop.timerCount(), 1U);
    }

    void expectLastLoadIs(DisplayID display, const Factors& factors) const {
        ASSERT_FALSE(platform.displays.loads().empty());
        expectLoad(platform.displays.loads().back(), display, factors);
    }

    static void expectLoad(const SimulatedDisplayService::Load& load, DisplayID display, const Factors& factors) {
        EXPECT_EQ(load.display, display);
        expectChannel(load.red, factors.r, factors.brightness);
        expectChannel(load.green, factors.g, factors.brightness);
        expectChannel(load.blue, factors.b, factors.brightness);
    }

    /// Switches the filter off with neutral values on the screen and no fade running.
    void switchOff() {
        engine->applyImmediate(neutralTemperature, 1.0);
        engine->setEnabled(false);
        ASSERT_NO_FATAL_FAILURE(expectIdle());
        ASSERT_FALSE(inspector.isEnabled());
    }

    SimulatedPlatform& platform = freshPlatform();
    std::unique_ptr<FilterEngine> engine = FilterEngineInspector::makeEngine();
    FilterEngineInspector inspector{*engine};

  private:
    static void expectChannel(const std::vector<float>& channel, double factor, double brightness) {
        ASSERT_EQ(channel.size(), 256U);
        for (std::size_t i = 0; i < channel.size(); ++i) {
            const float level = static_cast<float>(i) / 255.0F;
            ASSERT_EQ(channel[i], static_cast<float>(std::pow(static_cast<double>(level), 1.0) * factor * brightness))
                << "entry " << i;
        }
    }
};

TEST_F(FilterEngineTest, StartsEnabledAndNeutralAndWritesNothing) {
    EXPECT_TRUE(inspector.isEnabled());
    EXPECT_EQ(inspector.current(), untouched);
    expectIdle();
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 0U);
    EXPECT_EQ(platform.displays.listCalls(), 0);
    EXPECT_EQ(platform.displays.restores(), 0);
}

TEST(FilterEngineShared, IsOneInstanceThatStartsEnabled) {
    freshPlatform();
    EXPECT_EQ(&FilterEngine::shared(), &FilterEngine::shared());
    EXPECT_TRUE(FilterEngineInspector(FilterEngine::shared()).isEnabled());
}

TEST(FilterEngineShared, AcceptsRequestsAfterALaunchWithTheFilterSwitchedOff) {
    // Loading the settings does not switch the engine: until somebody assigns `filterEnabled` it takes every request.
    auto& platform = freshPlatform();
    platform.settings.values["filterEnabled"] = false;
    ASSERT_FALSE(AppState::shared().filterEnabled.get());
    FilterEngine::shared().applyImmediate(3400, 0.8);
    EXPECT_EQ(platform.displays.loads().size(), 1U);
}

// Writing

TEST_F(FilterEngineTest, AnImmediateRequestWritesTheStatedTablesAtOnce) {
    engine->applyImmediate(3400, 0.8);
    EXPECT_EQ(loads(), 1U);
    expectLastLoadIs(1, factorsOf(3400, 0.8));
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.8));
    expectIdle();
}

TEST_F(FilterEngineTest, AnInteractiveRequestIsAnImmediateOne) {
    engine->applyInteractive(2700, 0.7);
    EXPECT_EQ(loads(), 1U);
    expectLastLoadIs(1, factorsOf(2700, 0.7));
    EXPECT_EQ(inspector.current(), factorsOf(2700, 0.7));
    expectIdle();
}

TEST_F(FilterEngineTest, EveryDisplayIsLoadedInTheOrderOfTheList) {
    platform.displays.displays = {7, 3, 4294967295};
    engine->applyImmediate(5000, 0.9);
    const auto& loaded = platform.displays.loads();
    ASSERT_EQ(loaded.size(), 3U);
    expectLoad(loaded[0], 7, factorsOf(5000, 0.9));
    expectLoad(loaded[1], 3, factorsOf(5000, 0.9));
    expectLoad(loaded[2], 4294967295, factorsOf(5000, 0.9));
}

TEST_F(FilterEngineTest, DisplaysAreCountedAndThenListedAtEveryWrite) {
    engine->applyImmediate(5000, 0.9);
    EXPECT_EQ(platform.displays.listCalls(), 2);
    engine->applyImmediate(3400, 0.9);
    EXPECT_EQ(platform.displays.listCalls(), 4);
    engine->apply(2700, 0.9, 0.1);
    platform.advance(untilAfterFrame(3));
    EXPECT_EQ(platform.displays.listCalls(), 10);
}

TEST_F(FilterEngineTest, AFrameIsFlushedOnceForAllDisplays) {
    platform.displays.displays = {1, 2, 3};
    engine->applyImmediate(5000, 0.9);
    EXPECT_EQ(platform.displays.flushes(), 1);
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(45));
    EXPECT_EQ(platform.displays.flushes(), 46);
    EXPECT_EQ(loads(), 3U * 46U);
}

TEST_F(FilterEngineTest, WithoutDisplaysNothingIsLoadedButTheValuesAreTaken) {
    platform.displays.displays.clear();
    engine->applyImmediate(3400, 0.8);
    EXPECT_EQ(loads(), 0U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.8));
    engine->apply(2700, 0.7, 0.5);
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 0U);
    EXPECT_EQ(inspector.current(), factorsOf(2700, 0.7));
    expectIdle();
}

TEST_F(FilterEngineTest, AFilterThatChangesWithoutDisplaysIsWhatTheNextOneShows) {
    engine->applyImmediate(2700, 0.7);
    platform.displays.displays.clear();
    engine->apply(3400, 0.8, 0.5);
    platform.advance(longAfter);
    platform.displays.displays = {5};
    const auto* shown = platform.displays.shown(5);
    ASSERT_NE(shown, nullptr);
    const auto [r, g, b, brightness] = factorsOf(3400, 0.8);
    EXPECT_FLOAT_EQ(shown->red.back(), static_cast<float>(r * brightness));
    EXPECT_FLOAT_EQ(shown->green.back(), static_cast<float>(g * brightness));
    EXPECT_FLOAT_EQ(shown->blue.back(), static_cast<float>(b * brightness));
}

TEST_F(FilterEngineTest, ADisplayPluggedInLaterGetsNothingUntilTheNextWrite) {
    engine->applyImmediate(3400, 0.8);
    platform.displays.displays = {1, 2};
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 1U);
    engine->applyImmediate(3400, 0.7);
    ASSERT_EQ(loads(), 3U);
    expectLastLoadIs(2, factorsOf(3400, 0.7));
}

TEST_F(FilterEngineTest, BrightnessIsNeitherClampedNorChecked) {
    engine->applyImmediate(3400, 1.75);
    expectLastLoadIs(1, factorsOf(3400, 1.75));
    engine->applyImmediate(3400, -0.25);
    expectLastLoadIs(1, factorsOf(3400, -0.25));
    EXPECT_EQ(inspector.current(), factorsOf(3400, -0.25));
}

TEST_F(FilterEngineTest, NeutralIsStillAWriteBecauseOfItsWarmth) {
    // At the start the screen stands at 1 throughout; neutral green and blue are further from it than the tolerance.
    engine->applyImmediate(neutralTemperature, 1.0);
    EXPECT_EQ(loads(), 1U);
    expectLastLoadIs(1, factorsOf(6500, 1.0));
}

// What is on the screen already

TEST_F(FilterEngineTest, ARequestForWhatIsOnTheScreenDoesNothing) {
    engine->applyImmediate(3400, 0.8);
    engine->apply(3400, 0.8, 1.5);
    engine->applyImmediate(3400, 0.8);
    engine->applyInteractive(3400, 0.8);
    expectIdle();
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 1U);
}

TEST_F(FilterEngineTest, ATemperatureWhoseFactorsAreAllWithinTheToleranceDoesNothing) {
    // 3400 K and 3403 K differ by less than 0.002 in every channel, 3400 K and 3410 K do not.
    engine->applyImmediate(3400, 0.8);
    engine->applyImmediate(3403, 0.8);
    EXPECT_EQ(loads(), 1U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.8));
    engine->applyImmediate(3410, 0.8);
    EXPECT_EQ(loads(), 2U);
}

TEST_F(FilterEngineTest, ADifferenceOfExactlyTheToleranceIsAChange) {
    // From zero the difference is the very double 0.002, without rounding.
    engine->applyImmediate(3400, 0.0);
    engine->applyImmediate(3400, std::nextafter(0.002, 0.0));
    EXPECT_EQ(loads(), 1U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.0));
    engine->applyImmediate(3400, 0.002);
    EXPECT_EQ(loads(), 2U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.002));
}

TEST_F(FilterEngineTest, TheToleranceHoldsInBothDirections) {
    engine->applyImmediate(3400, 0.0);
    engine->applyImmediate(3400, -std::nextafter(0.002, 0.0));
    EXPECT_EQ(loads(), 1U);
    engine->applyImmediate(3400, -0.002);
    EXPECT_EQ(loads(), 2U);
}

TEST_F(FilterEngineTest, OneChannelBeyondTheToleranceIsEnough) {
    engine->applyImmediate(3400, 0.8);
    engine->applyImmediate(3400, 0.81); // brightness only
    EXPECT_EQ(loads(), 2U);
    engine->applyImmediate(1000, 0.8);
    engine->applyImmediate(1900, 0.8); // green only: red is 1 and blue 0 in both
    EXPECT_EQ(loads(), 4U);
    engine->applyImmediate(6590, 0.8);
    engine->applyImmediate(6600, 0.8); // blue only: green and red are 1 in both, up to the tolerance
    EXPECT_EQ(loads(), 6U);
    engine->applyImmediate(39000, 0.8);
    const Factors before = inspector.current();
    engine->applyImmediate(39900, 0.8); // red changes faster than green up there, blue is 1
    ASSERT_LT(std::abs(before.g - factorsOf(39900, 0.8).g), 0.002);
    EXPECT_EQ(loads(), 8U);
}

TEST_F(FilterEngineTest, ARequestForWhatIsOnTheScreenLeavesAFadeToElsewhereRunning) {
    engine->applyImmediate(3400, 0.8);
    engine->apply(2700, 0.7, 1.5);
    engine->apply(3400, 0.8, 0.5); // no frame yet: the start still stands on the screen
    engine->applyImmediate(3400, 0.8);
    expectFading(factorsOf(2700, 0.7));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 46U);
    EXPECT_EQ(inspector.current(), factorsOf(2700, 0.7));
}

// Fades

TEST_F(FilterEngineTest, AFadeWritesNothingBeforeItsFirstFrame) {
    engine->apply(3400, 0.8, 1.5);
    expectFading(factorsOf(3400, 0.8));
    platform.advance(Seconds(0.0333));
    EXPECT_EQ(loads(), 0U);
    EXPECT_EQ(inspector.current(), untouched);
    platform.advance(Seconds(0.0001));
    EXPECT_EQ(loads(), 1U);
}

TEST_F(FilterEngineTest, AFadeOfOneAndAHalfSecondsIsFortyFiveEasedFrames) {
    const Factors target = factorsOf(3400, 0.8);
    engine->apply(3400, 0.8, 1.5);
    for (std::int64_t frame = 1; frame <= 45; ++frame) {
        expectFading(target);
        platform.advance(frameTime(frame) - platform.runLoop.elapsed());
        ASSERT_EQ(loads(), static_cast<std::size_t>(frame));
        ASSERT_TRUE(areNear(inspector.current(), fadeFrame(untouched, target, frame, 45)))
            << "frame " << frame << " is " << inspector.current();
        ASSERT_NO_FATAL_FAILURE(expectLastLoadIs(1, inspector.current()));
    }
    EXPECT_EQ(platform.runLoop.elapsed(), std::chrono::milliseconds(1500));
    expectIdle();
    EXPECT_EQ(inspector.current(), target);
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 45U);
}

TEST_F(FilterEngineTest, SingleFramesOfAFadeHaveTheirEasedBrightness) {
    // 1 - 0.2 p, with p = 2 (k/45)^2 in the first half and 1 - 2 (1 - k/45)^2 in the second.
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(1));
    EXPECT_NEAR(inspector.current().brightness, 0.999802469136, 1e-11);
    platform.advance(untilAfterFrame(15) - untilAfterFrame(1));
    EXPECT_NEAR(inspector.current().brightness, 0.955555555556, 1e-11);
    platform.advance(untilAfterFrame(22) - untilAfterFrame(15));
    EXPECT_NEAR(inspector.current().brightness, 0.904395061728, 1e-11);
    platform.advance(untilAfterFrame(23) - untilAfterFrame(22));
    EXPECT_NEAR(inspector.current().brightness, 0.895604938272, 1e-11);
    platform.advance(untilAfterFrame(44) - untilAfterFrame(23));
    EXPECT_NEAR(inspector.current().brightness, 0.800197530864, 1e-11);
}

TEST_F(FilterEngineTest, TheMiddleFrameIsHalfWay) {
    engine->applyImmediate(2700, 0.5);
    const Factors from = factorsOf(2700, 0.5);
    const Factors to = factorsOf(5000, 0.9);
    engine->apply(5000, 0.9, 1.0);
    platform.advance(untilAfterFrame(15));
    EXPECT_NEAR(inspector.current().r, 1.0, roundingTolerance);
    EXPECT_NEAR(inspector.current().g, (from.g + to.g) / 2, roundingTolerance);
    EXPECT_NEAR(inspector.current().b, (from.b + to.b) / 2, roundingTolerance);
    EXPECT_NEAR(inspector.current().brightness, 0.7, roundingTolerance);
}

TEST_F(FilterEngineTest, AFadeShorterThanAFrameIsOneWriteAfterOneInterval) {
    engine->apply(3400, 0.8, 0.01);
    platform.advance(Seconds(0.0333));
    EXPECT_EQ(loads(), 0U);
    expectFading(factorsOf(3400, 0.8));
    platform.advance(Seconds(0.0001));
    EXPECT_EQ(loads(), 1U);
    expectLastLoadIs(1, factorsOf(3400, 0.8));
    expectIdle();
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 1U);
}

TEST_F(FilterEngineTest, ThePartOfAFrameIsCutOff) {
    // 2.99 frames.
    engine->apply(3400, 0.8, 2.99 / 30);
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 2U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.8));
}

TEST_F(FilterEngineTest, TheLastFrameIsExactlyTheTarget) {
    // Values whose difference does not add up again in doubles.
    engine->applyImmediate(1900, 0.1);
    engine->apply(5000, 0.3, 2.0);
    platform.advance(longAfter);
    EXPECT_EQ(inspector.current(), factorsOf(5000, 0.3));
    expectLastLoadIs(1, factorsOf(5000, 0.3));
    engine->apply(1000, 0.7, 2.0);
    platform.advance(longAfter);
    EXPECT_EQ(inspector.current(), factorsOf(1000, 0.7));
}

TEST_F(FilterEngineTest, ApplyTwiceWithTheSameTargetKeepsTheFirstAnimationUndisturbed) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(20));
    engine->apply(3400, 0.8, 3.0);
    expectFading(factorsOf(3400, 0.8));
    platform.advance(untilAfterFrame(45) - untilAfterFrame(20));
    EXPECT_EQ(loads(), 45U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.8));
    expectIdle();
}

TEST_F(FilterEngineTest, ATargetWithinTheToleranceOfTheOneBeingApproachedIsTheSame) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(20));
    engine->apply(3400, 0.8015, 1.5);
    expectFading(factorsOf(3400, 0.8)); // not even the pending target changes
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 45U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.8));
}

TEST_F(FilterEngineTest, ATargetBeyondTheToleranceInOneChannelRestartsTheFade) {
    engine->apply(3400, 0.0, 1.5);
    platform.advance(untilAfterFrame(20));
    engine->apply(3400, 0.002, 1.5); // exactly the tolerance
    expectFading(factorsOf(3400, 0.002));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 20U + 45U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.002));
}

TEST_F(FilterEngineTest, AnImmediateRequestForTheTargetBeingApproachedChangesNothingEither) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(10));
    engine->applyImmediate(3400, 0.8);
    EXPECT_EQ(loads(), 10U);
    expectFading(factorsOf(3400, 0.8));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 45U);
}

TEST_F(FilterEngineTest, AnotherTargetRestartsFromTheScreenWithItsFullDuration) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(20));
    const Factors onScreen = inspector.current();
    ASSERT_TRUE(areNear(onScreen, fadeFrame(untouched, factorsOf(3400, 0.8), 20, 45)));
    const auto restart = platform.runLoop.elapsed();
    engine->apply(2700, 0.7, 1.0);
    expectFading(factorsOf(2700, 0.7));
    for (std::int64_t frame = 1; frame <= 30; ++frame) {
        platform.advance(restart + frameTime(frame) - platform.runLoop.elapsed());
        ASSERT_EQ(loads(), static_cast<std::size_t>(20 + frame));
        ASSERT_TRUE(areNear(inspector.current(), fadeFrame(onScreen, factorsOf(2700, 0.7), frame, 30))) << frame;
    }
    expectIdle();
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 50U);
}

TEST_F(FilterEngineTest, AnImmediateRequestForAnotherTargetEndsTheFade) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(10));
    engine->applyImmediate(5000, 0.9);
    EXPECT_EQ(loads(), 11U);
    expectLastLoadIs(1, factorsOf(5000, 0.9));
    expectIdle();
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 11U);
}

TEST_F(FilterEngineTest, AfterAFadeItsTargetCanBeLeftAndApproachedAgain) {
    engine->apply(3400, 0.8, 0.5);
    platform.advance(longAfter);
    engine->apply(5000, 0.9, 0.5);
    platform.advance(longAfter);
    engine->apply(3400, 0.8, 0.5);
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 45U);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.8));
}

TEST_F(FilterEngineTest, AnEngineThatIsGoneDrawsNoFrame) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(10));
    engine.reset();
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 10U);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

// Durations

TEST_F(FilterEngineTest, NoDurationWritesAtOnce) {
    double brightness = 0.9;
    std::size_t written = 0;
    for (const double duration : {0.0, -0.0, -1.0, -1e300, -infinity}) {
        brightness -= 0.1;
        engine->apply(3400, brightness, duration);
        EXPECT_EQ(loads(), ++written) << duration;
        EXPECT_EQ(inspector.current(), factorsOf(3400, brightness)) << duration;
        expectIdle();
    }
}

TEST_F(FilterEngineTest, TheShortestDurationIsAFadeOfOneFrame) {
    engine->apply(3400, 0.8, std::numeric_limits<double>::denorm_min());
    EXPECT_EQ(loads(), 0U);
    expectFading(factorsOf(3400, 0.8));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 1U);
}

TEST_F(FilterEngineTest, ADurationWhoseFramesFitIntoSixtyFourBitsFades) {
    engine->apply(3400, 0.8, 3.0e17); // 9.0e18 of at most 9.2e18 frames
    platform.advance(untilAfterFrame(3));
    EXPECT_EQ(loads(), 3U);
    expectFading(factorsOf(3400, 0.8));
}

TEST_F(FilterEngineTest, ADurationWhoseFramesExceedSixtyFourBitsIsFatal) {
    EXPECT_FATAL(engine->apply(3400, 0.8, 3.1e17), aboveRange);
    EXPECT_FATAL(engine->apply(3400, 0.8, 1e300), aboveRange);
}

TEST_F(FilterEngineTest, ADurationThatIsNoFiniteNumberIsFatal) {
    EXPECT_FATAL(engine->apply(3400, 0.8, notANumber), notFinite);
    EXPECT_FATAL(engine->apply(3400, 0.8, infinity), notFinite);
}

TEST_F(FilterEngineTest, ADurationWhoseFramesAreNoFiniteNumberIsFatal) {
    EXPECT_FATAL(engine->apply(3400, 0.8, std::numeric_limits<double>::max()), notFinite);
}

TEST_F(FilterEngineTest, ADurationThatIsNoNumberDoesNotMatterWhereNothingChanges) {
    engine->applyImmediate(3400, 0.8);
    engine->apply(3400, 0.8, notANumber);
    expectIdle();
    engine->apply(2700, 0.7, 1.5);
    engine->apply(2700, 0.7, notANumber);
    expectFading(factorsOf(2700, 0.7));
    EXPECT_EQ(loads(), 1U);
}

TEST_F(FilterEngineTest, ADurationThatIsNoNumberDoesNotMatterWhereTheRequestIsRefused) {
    switchOff();
    engine->apply(3400, 0.8, notANumber);
    expectIdle();
}

// The switch

TEST_F(FilterEngineTest, WhileDisabledOnlyTheNeutralRequestPasses) {
    switchOff();
    const std::size_t before = loads();
    for (const auto& [temp, brightness] : std::vector<std::pair<std::int64_t, double>>{{3400, 0.8},
                                                                                       {3400, 1.0},
                                                                                       {6500, 0.9},
                                                                                       {6500, std::nextafter(1.0, 0.0)},
                                                                                       {6500, notANumber},
                                                                                       {6400, 1.0},
                                                                                       {6600, 1.0},
                                                                                       {6501, 0.5},
                                                                                       {40000, 2.0}}) {
        engine->apply(temp, brightness, 1.5);
        engine->applyImmediate(temp, brightness);
        engine->applyInteractive(temp, brightness);
        expectIdle();
        EXPECT_EQ(loads(), before) << temp << " K at " << brightness;
    }
    platform.advance(longAfter);
    EXPECT_EQ(loads(), before);
}

TEST_F(FilterEngineTest, WhileDisabledANeutralRequestBeyondFullBrightnessPasses) {
    switchOff();
    engine->applyImmediate(6500, 1.5);
    EXPECT_EQ(inspector.current(), factorsOf(6500, 1.5));
    engine->applyImmediate(6500, 1.0);
    EXPECT_EQ(inspector.current(), factorsOf(6500, 1.0));
}

TEST_F(FilterEngineTest, WhileDisabledANeutralFadeRuns) {
    switchOff();
    engine->resetAllDisplays(); // leaves the screen away from neutral
    const std::size_t before = loads();
    engine->apply(6500, 1.0, 0.5);
    expectFading(factorsOf(6500, 1.0));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), before + 15);
}

TEST_F(FilterEngineTest, SwitchingOffFadesToNeutralOverOneAndAHalfSeconds) {
    engine->applyImmediate(3400, 0.8);
    engine->setEnabled(false);
    EXPECT_FALSE(inspector.isEnabled());
    expectFading(factorsOf(6500, 1.0));
    platform.advance(untilAfterFrame(44));
    EXPECT_TRUE(areNear(inspector.current(), fadeFrame(factorsOf(3400, 0.8), factorsOf(6500, 1.0), 44, 45)));
    expectFading(factorsOf(6500, 1.0));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 46U);
    EXPECT_EQ(inspector.current(), factorsOf(6500, 1.0));
    expectIdle();
    EXPECT_EQ(platform.displays.restores(), 0); // the calibration is not given back
}

TEST_F(FilterEngineTest, SwitchingOffDuringAFadeTurnsItRound) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(30));
    const Factors onScreen = inspector.current();
    engine->setEnabled(false);
    expectFading(factorsOf(6500, 1.0));
    platform.advance(untilAfterFrame(15));
    EXPECT_TRUE(areNear(inspector.current(), fadeFrame(onScreen, factorsOf(6500, 1.0), 15, 45)));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 75U);
    EXPECT_EQ(inspector.current(), factorsOf(6500, 1.0));
}

TEST_F(FilterEngineTest, ARefusedRequestLeavesTheFadeToNeutralUndisturbed) {
    engine->applyImmediate(3400, 0.8);
    engine->setEnabled(false);
    platform.advance(untilAfterFrame(20));
    engine->apply(2700, 0.7, 1.5);
    engine->applyImmediate(2700, 0.7);
    expectFading(factorsOf(6500, 1.0));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 46U);
    EXPECT_EQ(inspector.current(), factorsOf(6500, 1.0));
}

TEST_F(FilterEngineTest, SwitchingOnFadesToTheActivePreset) {
    switchOff();
    AppState::shared().activePresetID = "dusk";
    engine->setEnabled(true);
    EXPECT_TRUE(inspector.isEnabled());
    expectFading(factorsOf(3400, 0.8));
    const std::size_t before = loads();
    platform.advance(untilAfterFrame(44));
    expectFading(factorsOf(3400, 0.8));
    platform.advance(longAfter);
    EXPECT_EQ(loads(), before + 45);
    EXPECT_EQ(inspector.current(), factorsOf(3400, 0.8));
}

TEST_F(FilterEngineTest, SwitchingOnFadesToTheCustomValues) {
    AppState::shared().activePresetID = "custom";
    AppState::shared().customTemp = 4321;
    AppState::shared().customBrightness = 0.65;
    engine->setEnabled(true);
    expectFading(factorsOf(4321, 0.65));
}

TEST_F(FilterEngineTest, SwitchingOnWhatIsOnStillApproachesTheEffectiveValues) {
    AppState::shared().activePresetID = "sleep";
    ASSERT_TRUE(inspector.isEnabled());
    engine->setEnabled(true);
    expectFading(factorsOf(1900, 0.5));
}

TEST_F(FilterEngineTest, SwitchingOnAgainDuringTheFadeOutTurnsItRound) {
    AppState::shared().activePresetID = "dusk";
    engine->applyImmediate(3400, 0.8);
    engine->setEnabled(false);
    platform.advance(untilAfterFrame(20));
    const Factors onScreen = inspector.current();
    engine->setEnabled(true);
    expectFading(factorsOf(3400, 0.8));
    platform.advance(untilAfterFrame(10));
    EXPECT_TRUE(areNear(inspector.current(), fadeFrame(onScreen, factorsOf(3400, 0.8), 10, 45)));
}

// Giving the calibration back

TEST_F(FilterEngineTest, ResetRestoresTheCalibrationOnceAndWritesNoTable) {
    engine->applyImmediate(3400, 0.8);
    engine->resetAllDisplays();
    EXPECT_EQ(platform.displays.restores(), 1);
    EXPECT_EQ(loads(), 1U);
    EXPECT_EQ(inspector.current(), untouched);
    expectIdle();
}

TEST_F(FilterEngineTest, ResetRestoresEvenWhereNothingWasWritten) {
    engine->resetAllDisplays();
    engine->resetAllDisplays();
    EXPECT_EQ(platform.displays.restores(), 2);
    EXPECT_EQ(inspector.current(), untouched);
}

TEST_F(FilterEngineTest, ResetDuringAFadeStopsIt) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(20));
    engine->resetAllDisplays();
    EXPECT_EQ(inspector.current(), untouched);
    EXPECT_EQ(platform.displays.restores(), 1);
    expectIdle();
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 20U);
    EXPECT_EQ(inspector.current(), untouched);
}

TEST_F(FilterEngineTest, AfterAResetTheNextFadeStartsFromTheCalibration) {
    engine->applyImmediate(2700, 0.7);
    engine->resetAllDisplays();
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(15));
    EXPECT_TRUE(areNear(inspector.current(), fadeFrame(untouched, factorsOf(3400, 0.8), 15, 45)));
}

TEST_F(FilterEngineTest, AfterAResetTheSameTargetCanBeApproachedAgain) {
    engine->apply(3400, 0.8, 1.5);
    platform.advance(untilAfterFrame(20));
    engine->resetAllDisplays();
    engine->apply(3400, 0.8, 1.5);
    platform.advance(longAfter);
    EXPECT_EQ(loads(), 65U);
}

TEST_F(FilterEngineTest, ResetLeavesTheSwitchAsItIs) {
    engine->resetAllDisplays();
    EXPECT_TRUE(inspector.isEnabled());
    switchOff();
    engine->resetAllDisplays();
    EXPECT_FALSE(inspector.isEnabled());
    engine->applyImmediate(3400, 0.8);
    EXPECT_EQ(inspector.current(), untouched);
}

} // namespace
} // namespace nocta
