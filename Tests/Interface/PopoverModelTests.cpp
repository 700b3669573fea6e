#include "Interface/Popover/PopoverModel.h"

#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "Core/FreshPlatform.h"
#include "Interface/Accent.h"
#include "Interface/OffscreenApplication.h"
#include "Interface/SignalCount.h"

#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class PopoverModelTest : public testing::Test {
  protected:
    PopoverModelTest() { world.appearance.setColorScheme(ColorScheme::light); }

    static AppState& state() { return AppState::shared(); }

    test::OffscreenApplication application;
    SimulatedPlatform& world = freshPlatform();
    PopoverModel model;
};

TEST_F(PopoverModelTest, TheHeaderNamesThePresetAndItsTemperature) {
    EXPECT_EQ(PopoverModel::title(), "Natural");
    EXPECT_EQ(PopoverModel::subtitle(), "6500K");
    state().activePresetID = "cinema";
    EXPECT_EQ(PopoverModel::title(), "Cinema");
    EXPECT_EQ(PopoverModel::subtitle(), "4000K");
}

TEST_F(PopoverModelTest, ForValuesOfOnesOwnTheHeaderHasTheirTemperatureUnderNaturalsName) {
    state().activePresetID = "custom";
    state().customTemp = 3456;
    EXPECT_EQ(PopoverModel::title(), "Natural");
    EXPECT_EQ(PopoverModel::subtitle(), "3456K");
}

TEST_F(PopoverModelTest, WithTheFilterOffTheHeaderSpeaksOfTheSwitch) {
    state().filterEnabled = false;
    EXPECT_EQ(PopoverModel::title(), "Filter Off");
    EXPECT_EQ(PopoverModel::subtitle(), "Click to enable");
    EXPECT_FALSE(PopoverModel::filterEnabled());
}

TEST_F(PopoverModelTest, TheHeaderFollowsEverySettingItShows) {
    const test::SignalCount filter(model, &PopoverModel::filterChanged);
    const test::SignalCount score(model, &PopoverModel::scoreChanged);
    state().activePresetID = "dusk";
    EXPECT_EQ(filter.count(), 1);
    state().customTemp = 3000;
    EXPECT_EQ(filter.count(), 2);
    state().filterEnabled = false;
    EXPECT_EQ(filter.count(), 3);
    EXPECT_EQ(score.count(), 0);
    state().exposureScore = 40;
    EXPECT_EQ(score.count(), 1);
    world.appearance.setColorScheme(ColorScheme::dark);
    EXPECT_EQ(score.count(), 2) << "its colour";
}

TEST_F(PopoverModelTest, TheSwitchAssignsTheSettingOnceAndFades) {
    state().activePresetID = "evening";
    FilterEngine::shared().applyImmediate(2700, 0.7);
    const auto saves = world.settings.synchronizations();
    PopoverModel::setFilterEnabled(false);
    EXPECT_FALSE(state().filterEnabled.get());
    EXPECT_EQ(world.settings.synchronizations(), saves + 1);
    world.advance(Seconds(1.6));
    EXPECT_EQ(world.displays.loads().size(), 1U + 45U) << "one and a half seconds of thirty frames";
    EXPECT_EQ(world.displays.restores(), 0);
}

TEST_F(PopoverModelTest, TheBadgeHasTheBandsColour) {
    const auto colorOf = [](std::int64_t score) {
        state().exposureScore = score;
        return PopoverModel::scoreColor();
    };
    EXPECT_EQ(colorOf(100), QColor("#34C759"));
    EXPECT_EQ(colorOf(80), QColor("#34C759"));
    EXPECT_EQ(colorOf(79), QColor("#FFCC00"));
    EXPECT_EQ(colorOf(50), QColor("#FFCC00"));
    EXPECT_EQ(colorOf(49), QColor("#FF9500"));
    EXPECT_EQ(colorOf(20), QColor("#FF9500"));
    EXPECT_EQ(colorOf(19), QColor("#FF3B30"));
    EXPECT_EQ(PopoverModel::score(), "19");
}

TEST_F(PopoverModelTest, TheAccentIsOfTheEffectiveTemperatureAlsoWhileTheFilterIsOff) {
    Accent accent;
    const test::SignalCount changes(accent, &Accent::changed);
    const auto colorAt = [](std::int64_t kelvin) {
        state().customTemp = kelvin;
        return Accent::color();
    };
    state().activePresetID = "custom";
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(colorAt(5500), QColor("#007AFF"));
    EXPECT_EQ(colorAt(5499), QColor("#FFCC00"));
    EXPECT_EQ(colorAt(4000), QColor("#FFCC00"));
    EXPECT_EQ(colorAt(3999), QColor("#FF9500"));
    EXPECT_EQ(colorAt(2700), QColor("#FF9500"));
    EXPECT_EQ(colorAt(2699), QColor("#FF3B30"));
    EXPECT_EQ(changes.count(), 7);
    state().filterEnabled = false;
    EXPECT_EQ(Accent::color(), QColor("#FF3B30"));
    world.appearance.setColorScheme(ColorScheme::dark);
    EXPECT_EQ(changes.count(), 8);
    EXPECT_EQ(Accent::color(), QColor("#FF453A"));
}

TEST_F(PopoverModelTest, TabsHaveTheirLabelsAndSymbolsInOrder) {
    EXPECT_EQ(PopoverModel::tabLabels(), (QStringList{"Presets", "Schedule", "Breaks", "Stats"}));
    EXPECT_EQ(PopoverModel::tabIcons(), (QStringList{"slider.horizontal.3", "clock", "eye", "chart.bar"}));
}

TEST_F(PopoverModelTest, ATabIsFoundByExactlyItsLabel) {
    EXPECT_EQ(popoverTab("Breaks"), PopoverTab::breaks);
    EXPECT_EQ(popoverTab("breaks"), std::nullopt);
    EXPECT_EQ(popoverTab(""), std::nullopt);
    EXPECT_EQ(popoverTab("Presets "), std::nullopt);
}

TEST_F(PopoverModelTest, ALaunchStartsWithThePresets) {
    EXPECT_EQ(model.selectedTab(), 0);
    EXPECT_EQ(model.tabView(), "PresetsView.qml");
}

TEST_F(PopoverModelTest, SelectingTheSelectedTabChangesNothing) {
    const test::SignalCount changes(model, &PopoverModel::selectedTabChanged);
    model.setSelectedTab(2);
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(model.tabView(), "BreaksView.qml");
    model.setSelectedTab(2);
    EXPECT_EQ(changes.count(), 1);
}

TEST_F(PopoverModelTest, OnlyTheSelectedTabIsOnTheScreenAndOnlyWhileThePopoverIs) {
    auto* const presets = model.tabModel();
    EXPECT_FALSE(presets->isOnScreen());
    model.setShown(true);
    EXPECT_TRUE(presets->isOnScreen());
    model.setSelectedTab(2);
    auto* const breaks = model.tabModel();
    EXPECT_FALSE(presets->isOnScreen());
    EXPECT_TRUE(breaks->isOnScreen());
    EXPECT_EQ(world.runLoop.timerCount(), 1U) << "the countdown";
    model.setShown(false);
    EXPECT_FALSE(breaks->isOnScreen());
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
    model.setSelectedTab(3);
    EXPECT_FALSE(model.tabModel()->isOnScreen());
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

TEST_F(PopoverModelTest, TheSelectedTabOutlivesTheScene) {
    const auto scene = PopoverModel::makeScene();
    const auto modelOf = [&] { return scene.properties().value("model").value<PopoverModel*>(); };
    modelOf()->setSelectedTab(1);
    scene.shownChanged(true);
    scene.shownChanged(false);
    EXPECT_EQ(modelOf()->selectedTab(), 1);
}

/// Notes how often the displays had been given back their own colours when the program was told to end.
struct Ending final : ApplicationDelegate {
    explicit Ending(SimulatedPlatform& world) : world(world) {}
    void applicationDidFinishLaunching() override {}
    void applicationWillTerminate() override { restoresBefore.push_back(world.displays.restores()); }

    SimulatedPlatform& world;
    std::vector<int> restoresBefore;
};

TEST_F(PopoverModelTest, QuitGivesTheDisplaysBackBeforeTheProgramEnds) {
    Ending ending(world);
    world.application.run(ending);
    PopoverModel::quit();
    EXPECT_EQ(ending.restoresBefore, std::vector{1});
}

} // namespace
} // namespace nocta
