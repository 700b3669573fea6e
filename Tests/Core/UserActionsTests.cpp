#include "Core/UserActions.h"

#include "BreakEngineInspector.h"
#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "FilterEngineInspector.h"
#include "FreshPlatform.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

/// The table entries that full white is turned into.
struct WhitePoint {
    float red = 0;
    float green = 0;
    float blue = 0;

    bool operator==(const WhitePoint&) const = default;
};

class UserActions : public testing::Test {
  protected:
    static AppState& state() { return AppState::shared(); }
    [[nodiscard]] std::size_t frames() const { return platform.displays.loads().size(); }
    [[nodiscard]] WhitePoint white() const {
        const auto& last = platform.displays.loads().back();
        return {last.red.back(), last.green.back(), last.blue.back()};
    }

    /// Everything that is due falls due; the number of frames that took.
    std::size_t framesUntilQuiet() {
        const auto before = frames();
        platform.advance(Seconds(30));
        return frames() - before;
    }

    /// What is on the screen is what an engine of its own puts there for these values.
    void expectOnScreen(std::int64_t temp, double brightness) {
        const WhitePoint shown = white();
        FilterEngineInspector::makeEngine()->applyImmediate(temp, brightness);
        EXPECT_EQ(shown, white());
    }

    /// What every assignment of a setting writes: the whole snapshot.
    void expectSaves(std::size_t assignments, std::size_t writesBefore) const {
        EXPECT_EQ(platform.settings.writes().size() - writesBefore, assignments * 14);
    }
    [[nodiscard]] std::size_t writes() const { return platform.settings.writes().size(); }

    SimulatedPlatform& platform = freshPlatform();
};

TEST_F(UserActions, APresetBecomesActiveAndFadesInWithItsOwnTransition) {
    EXPECT_TRUE(userActions::choosePreset(*builtInPreset("sleep")));
    EXPECT_EQ(state().activePresetID.get(), "sleep");
    EXPECT_EQ(framesUntilQuiet(), 90U) << "3 s at 30 frames a second";
    expectOnScreen(1900, 0.5);
}

TEST_F(UserActions, APresetIsIgnoredWhileTheFilterIsOff) {
    state().filterEnabled = false;
    framesUntilQuiet();
    const auto before = writes();
    EXPECT_FALSE(userActions::choosePreset(*builtInPreset("sleep")));
    EXPECT_EQ(state().activePresetID.get(), "natural");
    EXPECT_EQ(framesUntilQuiet(), 0U);
    expectSaves(0, before);
}

TEST_F(UserActions, ATemperatureSelectsCustomAndIsOnTheScreenAtOnce) {
    userActions::setCustomBrightness(0.6);
    userActions::choosePreset(*builtInPreset("dusk"));
    framesUntilQuiet();
    const auto before = frames();
    const auto saved = writes();
    userActions::setCustomTemp(3456);
    EXPECT_EQ(frames() - before, 1U);
    EXPECT_EQ(state().customTemp.get(), 3456);
    EXPECT_EQ(state().activePresetID.get(), "custom");
    expectSaves(2, saved);
    EXPECT_EQ(framesUntilQuiet(), 0U);
    expectOnScreen(3456, 0.6);
}

TEST_F(UserActions, ATemperatureThatIsStoredAlreadySelectsCustomToo) {
    userActions::setCustomTemp(3000);
    userActions::choosePreset(*builtInPreset("focus"));
    framesUntilQuiet();
    userActions::setCustomTemp(3000);
    EXPECT_EQ(state().activePresetID.get(), "custom");
    EXPECT_EQ(state().effectiveTemp(), 3000);
    expectOnScreen(3000, 1.0);
}

TEST_F(UserActions, ATemperatureSelectsCustomAlsoWhileTheFilterIsOff) {
    state().filterEnabled = false;
    framesUntilQuiet();
    userActions::setCustomTemp(2000);
    EXPECT_EQ(state().activePresetID.get(), "custom");
    EXPECT_EQ(framesUntilQuiet(), 0U);
}

TEST_F(UserActions, ABrightnessKeepsThePresetActiveAndItsTemperatureOnTheScreen) {
    userActions::choosePreset(*builtInPreset("evening"));
    framesUntilQuiet();
    const auto before = frames();
    userActions::setCustomBrightness(0.4);
    EXPECT_EQ(frames() - before, 1U);
    EXPECT_EQ(state().customBrightness.get(), 0.4);
    EXPECT_EQ(state().activePresetID.get(), "evening");
    expectOnScreen(2700, 0.4);
}

TEST_F(UserActions, TheFiltersSwitchFadesEveryTime) {
    userActions::choosePreset(*builtInPreset("dusk"));
    framesUntilQuiet();
    userActions::setFilterEnabled(false);
    EXPECT_FALSE(state().filterEnabled.get());
    EXPECT_EQ(framesUntilQuiet(), 45U) << "1.5 s";
    userActions::setFilterEnabled(true);
    EXPECT_EQ(framesUntilQuiet(), 45U);
    expectOnScreen(3400, 0.8);
}

TEST_F(UserActions, TheScheduleSwitchedOnTakesItsStepAtOnce) {
    platform.settings.setBoolean("scheduleUsesLocation", false);
    platform.jump(Seconds(7 * 3600)); // 19:00; the day of the default times ends at 20:00
    userActions::setScheduleEnabled(true);
    EXPECT_TRUE(state().scheduleEnabled.get());
    EXPECT_EQ(state().activePresetID.get(), "focus");
    EXPECT_EQ(platform.location.starts(), 0);
}

TEST_F(UserActions, TheScheduleSwitchedOffFadesToTheActivePresetInFourSeconds) {
    state().scheduleEnabled = true;
    state().activePresetID = "dusk";
    userActions::setScheduleEnabled(false);
    EXPECT_FALSE(state().scheduleEnabled.get());
    EXPECT_EQ(framesUntilQuiet(), 120U);
    expectOnScreen(3400, 0.8);
}

TEST_F(UserActions, AScheduleThatIsOffAlreadyLeavesCustomValuesOnTheScreen) {
    userActions::setCustomTemp(2000);
    userActions::setScheduleEnabled(false);
    EXPECT_EQ(framesUntilQuiet(), 0U);
}

TEST_F(UserActions, TheLocationIsAskedForWhenItIsSwitchedOn) {
    userActions::setScheduleUsesLocation(false);
    EXPECT_EQ(platform.location.starts(), 0);
    userActions::setScheduleUsesLocation(true);
    EXPECT_EQ(platform.location.starts(), 1);
    userActions::setScheduleUsesLocation(true);
    EXPECT_EQ(platform.location.starts(), 1);
}

TEST_F(UserActions, ATimeOfDayKeepsTheSettingsDate) {
    const auto dateOf = [](Instant instant) { return *Platform::current().calendar->components(instant); };
    const auto date = dateOf(state().manualSunrise.get());
    platform.jump(Seconds(10 * 86400.0));
    userActions::setManualSunrise(5, 7);
    userActions::setManualSunset(23, 59);
    EXPECT_EQ(dateOf(state().manualSunrise.get()), (DateComponents{date.year, date.month, date.day, 5, 7, 0}));
    EXPECT_EQ(dateOf(state().manualSunset.get()), (DateComponents{date.year, date.month, date.day, 23, 59, 0}));
}

TEST_F(UserActions, ATimeOfDayKeepsItsSeconds) {
    state().manualSunrise = Instant(Seconds(86400.0 * 365 + 61)); // 1971-01-01 00:01:01
    userActions::setManualSunrise(7, 8);
    EXPECT_EQ(state().manualSunrise.get(), Instant(Seconds(86400.0 * 365 + 7 * 3600 + 8 * 60 + 1)));
}

TEST_F(UserActions, ATimeOfDayBeyondEveryCalendarTakesTodaysDate) {
    platform.calendar.offset = Seconds(3600);
    state().manualSunset = Instant(Seconds(1e300));
    userActions::setManualSunset(21, 30);
    EXPECT_EQ(*platform.calendar.components(state().manualSunset.get()), (DateComponents{2026, 3, 20, 21, 30, 0}));
}

TEST_F(UserActions, ATimeOfDayThatTheDateLacksIsTheNextDates) {
    // Noon of 20 March UTC; at 02:00 local time of the 21st the clocks go to 03:00.
    platform.calendar.offset = Seconds(3600);
    platform.calendar.changes = {{SimulatedPlatform::defaultStart + Seconds(13 * 3600), Seconds(7200)}};
    state().manualSunrise = SimulatedPlatform::defaultStart + Seconds(20 * 3600);
    userActions::setManualSunrise(2, 30);
    EXPECT_EQ(*platform.calendar.components(state().manualSunrise.get()), (DateComponents{2026, 3, 22, 2, 30, 0}));
}

TEST_F(UserActions, ATimeOfDayWithoutACalendarChangesNothing) {
    const Instant before = state().manualSunrise.get();
    platform.calendar.isBroken = true;
    userActions::setManualSunrise(4, 0);
    EXPECT_EQ(state().manualSunrise.get(), before);
}

TEST_F(UserActions, BreaksBeginAndEndWithTheirSwitch) {
    BreakEngineInspector engine(BreakEngine::shared());
    userActions::setBreaksEnabled(true);
    EXPECT_TRUE(engine.hasWorkTimer());
    platform.advance(Seconds(1200));
    ASSERT_TRUE(engine.hasOverlay());
    userActions::setBreaksEnabled(false);
    EXPECT_FALSE(engine.hasOverlay());
    EXPECT_FALSE(BreakEngine::shared().isCycleRunning());
}

TEST_F(UserActions, BreaksThatAreOnAlreadyKeepTheirWorkPeriod) {
    userActions::setBreaksEnabled(true);
    platform.advance(Seconds(600));
    userActions::setBreaksEnabled(true);
    EXPECT_EQ(BreakEngine::shared().timeUntilBreak(), Seconds(600));
}

TEST_F(UserActions, ANewIntervalStartsTheWorkPeriodOver) {
    userActions::setBreaksEnabled(true);
    platform.advance(Seconds(600));
    userActions::setBreakIntervalMinutes(20);
    EXPECT_EQ(BreakEngine::shared().timeUntilBreak(), Seconds(600)) << "nothing new";
    userActions::setBreakIntervalMinutes(45);
    EXPECT_EQ(BreakEngine::shared().timeUntilBreak(), Seconds(2700));
}

TEST_F(UserActions, ANewDurationRulesFromTheNextBreakOn) {
    userActions::setBreaksEnabled(true);
    platform.advance(Seconds(600));
    userActions::setBreakDurationSeconds(60);
    EXPECT_EQ(BreakEngine::shared().timeUntilBreak(), Seconds(600));
    platform.advance(Seconds(600 + 59));
    EXPECT_TRUE(BreakEngineInspector(BreakEngine::shared()).hasOverlay());
    platform.advance(Seconds(1));
    EXPECT_EQ(state().breaksTaken.get(), 1);
}

TEST_F(UserActions, SwitchesThatAreOnlyRememberedAreOnlySaved) {
    const auto before = writes();
    userActions::setShowMenuBarScore(false);
    userActions::setLaunchAtLogin(true);
    EXPECT_FALSE(state().showMenuBarScore.get());
    EXPECT_TRUE(state().launchAtLogin.get());
    expectSaves(2, before);
    EXPECT_EQ(framesUntilQuiet(), 0U);
}

TEST_F(UserActions, WhatIsSetToItsValueIsSavedAllTheSame) {
    const auto before = writes();
    userActions::setScheduleEnabled(false);
    userActions::setBreakIntervalMinutes(20);
    expectSaves(2, before);
}

TEST_F(UserActions, QuittingGivesTheCalibrationBackBeforeTheApplicationEnds) {
    struct Delegate final : ApplicationDelegate {
        explicit Delegate(const SimulatedDisplayService& displays) : displays(displays) {}
        const SimulatedDisplayService& displays;
        std::optional<int> restoresAtTheEnd;
        void applicationDidFinishLaunching() override {}
        void applicationWillTerminate() override { restoresAtTheEnd = displays.restores(); }
    } delegate(platform.displays);
    platform.application.run(delegate);
    userActions::quit();
    EXPECT_EQ(delegate.restoresAtTheEnd, 1);
}

} // namespace
} // namespace nocta
