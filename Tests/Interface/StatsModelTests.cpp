#include "Interface/Popover/StatsModel.h"

#include "Core/AppState.h"
#include "Core/FreshPlatform.h"
#include "Interface/OffscreenApplication.h"
#include "Interface/SignalCount.h"
#include "Interface/Theme.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class StatsModelTest : public testing::Test {
  protected:
    StatsModelTest() { world.appearance.setColorScheme(ColorScheme::light); }

    static AppState& state() { return AppState::shared(); }

    /// The score that the tab computes when it comes on the screen.
    std::int64_t scoreOnAppearing() {
        model.setOnScreen(false);
        state().exposureScore = -1;
        model.setOnScreen(true);
        return state().exposureScore.get();
    }
    std::int64_t scoreAt(std::int64_t kelvin) {
        state().activePresetID = "custom";
        state().customTemp = kelvin;
        return scoreOnAppearing();
    }
    std::int64_t scoreWith(std::int64_t taken, std::int64_t skipped) {
        state().breaksTaken = taken;
        state().breaksSkipped = skipped;
        return scoreAt(3000);
    }

    static QColor color(SystemColor color) { return Theme::shared().color(color); }

    test::OffscreenApplication application;
    SimulatedPlatform& world = freshPlatform();
    StatsModel model;
};

TEST_F(StatsModelTest, WithTheFilterOffAndNoBreaksTheScoreIsSixtyYellowAndModerate) {
    state().filterEnabled = false;
    EXPECT_EQ(scoreOnAppearing(), 60);
    EXPECT_EQ(StatsModel::score(), "60");
    EXPECT_DOUBLE_EQ(StatsModel::scoreFraction(), 0.6);
    EXPECT_EQ(StatsModel::scoreDescription(), "Moderate exposure. Consider lowering color temp.");
    EXPECT_EQ(StatsModel::scoreColor(), color(SystemColor::yellow));
}

TEST_F(StatsModelTest, TheScoreFollowsTheTemperatureWhileTheFilterIsOn) {
    EXPECT_EQ(scoreAt(3000), 100);
    EXPECT_EQ(scoreAt(3001), 95);
    EXPECT_EQ(scoreAt(4000), 95);
    EXPECT_EQ(scoreAt(4001), 90);
    EXPECT_EQ(scoreAt(5000), 90);
    EXPECT_EQ(scoreAt(5001), 80);
}

TEST_F(StatsModelTest, SkippedBreaksCostUpToTwentyPointsCutToAWholeNumber) {
    EXPECT_EQ(scoreWith(0, 3), 80);
    EXPECT_EQ(scoreWith(2, 1), 94) << "20 / 3 is 6";
    EXPECT_EQ(scoreWith(3, 0), 100);
}

TEST_F(StatsModelTest, WithoutBreaksThereIsNoPenalty) {
    EXPECT_EQ(scoreWith(0, 0), 100);
}

TEST_F(StatsModelTest, TheBandsOfColourAndOfTextDifferOnPurpose) {
    const auto expectScore = [](std::int64_t score, const char* text, SystemColor band) {
        state().exposureScore = score;
        EXPECT_TRUE(StatsModel::scoreDescription().startsWith(text)) << score;
        EXPECT_EQ(StatsModel::scoreColor(), color(band)) << score;
    };
    expectScore(90, "Excellent!", SystemColor::green);
    expectScore(89, "Good.", SystemColor::green);
    expectScore(80, "Good.", SystemColor::green);
    expectScore(79, "Good.", SystemColor::yellow);
    expectScore(69, "Moderate", SystemColor::yellow);
    expectScore(49, "High", SystemColor::orange);
    expectScore(29, "Very high", SystemColor::orange);
    expectScore(19, "Very high", SystemColor::red);
}

TEST_F(StatsModelTest, TheTemperaturesColourHasThreeBandsOfItsOwn) {
    const auto expectTemp = [](std::int64_t kelvin, const char* text, SystemColor band) {
        state().activePresetID = "custom";
        state().customTemp = kelvin;
        EXPECT_EQ(StatsModel::currentTemp(), text);
        EXPECT_EQ(StatsModel::tempColor(), color(band));
    };
    expectTemp(5500, "5500K", SystemColor::blue);
    expectTemp(5499, "5499K", SystemColor::orange);
    expectTemp(3500, "3500K", SystemColor::orange);
    expectTemp(3499, "3499K", SystemColor::red);
    state().activePresetID = "dusk";
    EXPECT_EQ(StatsModel::currentTemp(), "3400K");
}

TEST_F(StatsModelTest, FilteredMinutesAreShownAsHoursAndMinutes) {
    EXPECT_EQ(StatsModel::filteredToday(), "0h 0m");
    state().totalFilteredMinutes = 125;
    EXPECT_EQ(StatsModel::filteredToday(), "2h 5m");
    EXPECT_EQ(StatsModel::hoursAndMinutes(59), "0h 59m");
    EXPECT_EQ(StatsModel::hoursAndMinutes(60), "1h 0m");
    // 2^63 - 1 is 60 * 153722867280912930 + 7.
    EXPECT_EQ(StatsModel::hoursAndMinutes(std::numeric_limits<std::int64_t>::max()), "153722867280912930h 7m");
}

TEST_F(StatsModelTest, TheScoreIsComputedOnAppearingAndThenEverySixtySecondsWhileOnTheScreen) {
    state().activePresetID = "sleep"; // 1900 K
    EXPECT_EQ(state().exposureScore.get(), 100);
    state().activePresetID = "natural"; // 6500 K
    model.setOnScreen(true);
    EXPECT_EQ(state().exposureScore.get(), 80);
    EXPECT_EQ(world.runLoop.timerCount(), 1U);
    state().activePresetID = "sleep";
    world.advance(Seconds(59));
    EXPECT_EQ(state().exposureScore.get(), 80);
    world.advance(Seconds(1));
    EXPECT_EQ(state().exposureScore.get(), 100);
    state().breaksSkipped = 1;
    world.advance(Seconds(60));
    EXPECT_EQ(state().exposureScore.get(), 80);

    model.setOnScreen(false);
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
    state().breaksSkipped = 0;
    world.advance(Seconds(600));
    EXPECT_EQ(state().exposureScore.get(), 80);
    model.setOnScreen(true);
    EXPECT_EQ(state().exposureScore.get(), 100);
}

TEST_F(StatsModelTest, ComputingTheScoreCountsNoFilteredMinutesAndSavesNothing) {
    state().totalFilteredMinutes = 10;
    const auto writes = world.settings.writes().size();
    model.setOnScreen(true);
    world.advance(Seconds(3600));
    EXPECT_EQ(state().totalFilteredMinutes.get(), 10);
    EXPECT_EQ(world.settings.writes().size(), writes);
    EXPECT_TRUE(world.displays.loads().empty());
}

TEST_F(StatsModelTest, LaunchAtLoginAndTheMenuBarScoreChangeOnlyTheirSettings) {
    StatsModel::setLaunchAtLogin(true);
    EXPECT_TRUE(state().launchAtLogin.get());
    EXPECT_TRUE(world.settings.boolean("launchAtLogin"));
    EXPECT_TRUE(StatsModel::launchAtLogin());
    StatsModel::setShowMenuBarScore(false);
    EXPECT_FALSE(state().showMenuBarScore.get());
    EXPECT_FALSE(world.settings.boolean("showMenuBarScore"));
    EXPECT_FALSE(StatsModel::showMenuBarScore());
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
    EXPECT_TRUE(world.displays.loads().empty());
    EXPECT_TRUE(world.statusBar.buttons().empty()) << "the panel follows at its own refresh";
}

TEST_F(StatsModelTest, TellsOfWhatOthersChange) {
    const test::SignalCount score(model, &StatsModel::scoreChanged);
    const test::SignalCount scoreColor(model, &StatsModel::scoreColorChanged);
    const test::SignalCount filtered(model, &StatsModel::filteredTodayChanged);
    const test::SignalCount taken(model, &StatsModel::breaksTakenChanged);
    const test::SignalCount skipped(model, &StatsModel::breaksSkippedChanged);
    const test::SignalCount shown(model, &StatsModel::showMenuBarScoreChanged);
    const test::SignalCount launch(model, &StatsModel::launchAtLoginChanged);
    state().exposureScore = 40;
    state().totalFilteredMinutes = 5;
    state().breaksTaken = 3;
    state().breaksSkipped = 4;
    state().showMenuBarScore = false;
    state().launchAtLogin = true;
    for (const auto* spy : {&score, &scoreColor, &filtered, &taken, &skipped, &shown, &launch}) {
        EXPECT_EQ(spy->count(), 1);
    }
    EXPECT_EQ(StatsModel::breaksTaken(), "3");
    EXPECT_EQ(StatsModel::breaksSkipped(), "4");
    const test::SignalCount temp(model, &StatsModel::currentTempChanged);
    state().customTemp = 2000;
    state().activePresetID = "custom";
    EXPECT_EQ(temp.count(), 2);
}

TEST_F(StatsModelTest, ItsColoursFollowTheAppearance) {
    state().exposureScore = 85;
    const test::SignalCount scoreColor(model, &StatsModel::scoreColorChanged);
    const test::SignalCount tempColor(model, &StatsModel::tempColorChanged);
    EXPECT_EQ(StatsModel::scoreColor(), QColor("#34C759"));
    world.appearance.setColorScheme(ColorScheme::dark);
    EXPECT_EQ(StatsModel::scoreColor(), QColor("#30D158"));
    EXPECT_EQ(StatsModel::tempColor(), QColor("#0A84FF"));
    EXPECT_EQ(scoreColor.count(), 1);
    EXPECT_EQ(tempColor.count(), 1);
}

} // namespace
} // namespace nocta
