#include "Interface/Popover/PresetsModel.h"

#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "Core/FreshPlatform.h"
#include "Interface/OffscreenApplication.h"
#include "Interface/SignalCount.h"
#include "Interface/Theme.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class PresetsModelTest : public testing::Test {
  protected:
    PresetsModelTest() {
        world.appearance.setColorScheme(ColorScheme::light);
        static_cast<void>(AppState::shared());
    }

    static AppState& state() { return AppState::shared(); }
    /// Of the whole snapshot.
    [[nodiscard]] int saves() const { return world.settings.synchronizations(); }
    [[nodiscard]] std::size_t loads() const { return world.displays.loads().size(); }

    test::OffscreenApplication application;
    SimulatedPlatform& world = freshPlatform();
    PresetsModel model;
};

TEST_F(PresetsModelTest, TheCardsAreTheBuiltInPresetsInTheirOrder) {
    EXPECT_EQ(PresetsModel::names(), (QStringList{"Natural", "Focus", "Dusk", "Evening", "Sleep", "Cinema"}));
    EXPECT_EQ(PresetsModel::temperatures(), (QStringList{"6500K", "5000K", "3400K", "2700K", "1900K", "4000K"}));
    EXPECT_EQ(PresetsModel::icons(), (QStringList{"sun.max", "brain.head.profile", "sunset", "moon", "zzz", "film"}));
}

TEST_F(PresetsModelTest, ACardHasTheColourOfItsTemperature) {
    const auto pale = QColor::fromRgbF(0.9F, 0.85F, 0.6F);
    const auto orange = QColor("#FF9500");
    EXPECT_EQ(PresetsModel::colors(),
              (QList<QColor>{QColor("#007AFF"), pale, orange, QColor::fromRgbF(1.0F, 0.5F, 0.2F),
                             QColor::fromRgbF(0.9F, 0.3F, 0.1F), orange}));
}

TEST_F(PresetsModelTest, TheColoursFollowTheAppearance) {
    const test::SignalCount changes(model, &PresetsModel::colorsChanged);
    world.appearance.setColorScheme(ColorScheme::dark);
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(PresetsModel::colors().front(), QColor("#0A84FF"));
}

TEST_F(PresetsModelTest, TheActivePresetsCardIsHighlightedWhileTheFilterIsOn) {
    EXPECT_EQ(PresetsModel::activeIndex(), 0);
    state().activePresetID = "sleep";
    EXPECT_EQ(PresetsModel::activeIndex(), 4);
    const test::SignalCount changes(model, &PresetsModel::activeIndexChanged);
    state().filterEnabled = false;
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(PresetsModel::activeIndex(), -1);
    state().filterEnabled = true;
    state().activePresetID = "custom";
    EXPECT_EQ(PresetsModel::activeIndex(), -1);
}

TEST_F(PresetsModelTest, PickingACardMakesItsPresetTheActiveOneAndFadesToIt) {
    const auto before = saves();
    PresetsModel::pick(3);
    EXPECT_EQ(state().activePresetID.get(), "evening");
    EXPECT_EQ(saves(), before + 1);
    EXPECT_EQ(loads(), 0U) << "a fade begins with its first frame";
    world.advance(Seconds(1.95));
    EXPECT_LT(loads(), 60U) << "two seconds of thirty frames";
    world.advance(Seconds(0.1));
    EXPECT_EQ(loads(), 60U);
    EXPECT_NEAR(world.displays.shown(1)->red.back(), 0.7, 1e-6) << "the brightness of the preset";
    EXPECT_EQ(state().customTemp.get(), 6500) << "nothing else changes";
    EXPECT_EQ(state().customBrightness.get(), 1.0);
}

TEST_F(PresetsModelTest, WithTheFilterOffAPickChangesNothing) {
    state().activePresetID = "dusk";
    state().filterEnabled = false;
    world.advance(Seconds(5));
    const auto savesBefore = saves();
    const auto loadsBefore = loads();
    PresetsModel::pick(4);
    world.advance(Seconds(5));
    EXPECT_EQ(state().activePresetID.get(), "dusk");
    EXPECT_EQ(saves(), savesBefore);
    EXPECT_EQ(loads(), loadsBefore);
}

TEST_F(PresetsModelTest, AMoveOfTheTemperatureIsOnTheScreenAtOnce) {
    state().customBrightness = 0.8;
    const auto before = saves();
    PresetsModel::setCustomTemp(3456.9);
    EXPECT_EQ(state().customTemp.get(), 3456) << "whole kelvin, the fraction cut off";
    EXPECT_EQ(state().activePresetID.get(), "custom");
    EXPECT_EQ(saves(), before + 2) << "one for each of the two settings";
    ASSERT_EQ(loads(), 1U);
    EXPECT_NEAR(world.displays.loads().front().red.back(), 0.8, 1e-6);
    EXPECT_EQ(world.runLoop.timerCount(), 0U) << "no fade";
    EXPECT_EQ(PresetsModel::customTempText(), "3456K");
}

TEST_F(PresetsModelTest, WithTheFilterOffAMoveOfTheTemperatureStillMakesTheValuesTheActiveOnes) {
    state().activePresetID = "dusk";
    state().filterEnabled = false;
    world.advance(Seconds(5));
    const auto before = loads();
    PresetsModel::setCustomTemp(3000);
    EXPECT_EQ(state().customTemp.get(), 3000);
    EXPECT_EQ(state().activePresetID.get(), "custom");
    EXPECT_EQ(loads(), before) << "the engine lets nothing but neutral pass";
}

TEST(PresetsModelLaunchTest, AMoveOfTheTemperatureAsksTheEngineWhateverTheSwitch) {
    const test::OffscreenApplication application;
    SimulatedPlatform& world = freshPlatform();
    // An engine that was never told of the switch lets everything pass.
    world.settings.values["filterEnabled"] = false;
    const PresetsModel model;
    PresetsModel::setCustomTemp(3000);
    EXPECT_EQ(AppState::shared().activePresetID.get(), "custom");
    EXPECT_EQ(world.displays.loads().size(), 1U);
}

TEST_F(PresetsModelTest, ATemperatureThatIsSetAlreadyIsNoMove) {
    state().activePresetID = "dusk";
    const auto before = saves();
    PresetsModel::setCustomTemp(6500.4);
    EXPECT_EQ(saves(), before);
    EXPECT_EQ(state().activePresetID.get(), "dusk");
}

TEST_F(PresetsModelTest, TheEndsOfTheRangesAreExact) {
    PresetsModel::setCustomTemp(PresetsModel::lowestTemp());
    EXPECT_EQ(state().customTemp.get(), 1900);
    PresetsModel::setCustomTemp(PresetsModel::highestTemp());
    EXPECT_EQ(state().customTemp.get(), 6500);
    PresetsModel::setCustomBrightness(PresetsModel::lowestBrightness());
    EXPECT_EQ(state().customBrightness.get(), 0.3);
    PresetsModel::setCustomBrightness(PresetsModel::highestBrightness());
    EXPECT_EQ(state().customBrightness.get(), 1.0);
}

TEST_F(PresetsModelTest, AMoveOfTheBrightnessKeepsPresetAndTemperature) {
    state().activePresetID = "dusk";
    FilterEngine::shared().applyImmediate(3400, 0.8);
    const auto before = saves();
    PresetsModel::setCustomBrightness(0.5);
    EXPECT_EQ(state().customBrightness.get(), 0.5);
    EXPECT_EQ(state().activePresetID.get(), "dusk");
    EXPECT_EQ(saves(), before + 1);
    ASSERT_EQ(loads(), 2U);
    const auto& first = world.displays.loads()[0];
    const auto& second = world.displays.loads()[1];
    EXPECT_NEAR(second.red.back() / first.red.back(), 0.5 / 0.8, 1e-6);
    EXPECT_NEAR(second.blue.back() / first.blue.back(), 0.5 / 0.8, 1e-6) << "of the preset's temperature";
    PresetsModel::setCustomBrightness(0.5);
    EXPECT_EQ(saves(), before + 1);
}

TEST_F(PresetsModelTest, ThePercentageIsCutOff) {
    EXPECT_EQ(PresetsModel::percentage(0.3), "30%");
    EXPECT_EQ(PresetsModel::percentage(0.999), "99%");
    EXPECT_EQ(PresetsModel::percentage(1), "100%");
    EXPECT_EQ(PresetsModel::percentage(0), "0%");
    EXPECT_EQ(PresetsModel::percentage(-0.5), "-50%");
}

TEST_F(PresetsModelTest, EveryWholePercentageThatIsSetIsShownAsThat) {
    for (int step = 0; step <= 70; ++step) {
        PresetsModel::setCustomBrightness(0.3 + step * 0.01);
        EXPECT_EQ(PresetsModel::customBrightnessText(), QString::number(30 + step) + "%");
        EXPECT_NEAR(state().customBrightness.get(), 0.3 + step * 0.01, 1e-12);
    }
}

TEST_F(PresetsModelTest, AStoredValueBeyondTheRangesIsShownAsItStands) {
    state().customTemp = 100000;
    state().customBrightness = 0.05;
    EXPECT_EQ(PresetsModel::customTempText(), "100000K");
    EXPECT_EQ(PresetsModel::customBrightnessText(), "5%");
    state().customTemp = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(PresetsModel::customTempText(), "9223372036854775807K");
}

TEST_F(PresetsModelTest, ThePercentageOfNoNumberIsFatal) {
    EXPECT_DEATH(static_cast<void>(PresetsModel::percentage(std::nan(""))), "");
    EXPECT_DEATH(static_cast<void>(PresetsModel::percentage(1e300)), "");
}

TEST_F(PresetsModelTest, ChangesFromElsewhereAreShownAndCauseNone) {
    const test::SignalCount temps(model, &PresetsModel::customTempChanged);
    const test::SignalCount brightnesses(model, &PresetsModel::customBrightnessChanged);
    state().customTemp = 2222;
    state().customBrightness = 0.5;
    EXPECT_EQ(temps.count(), 1);
    EXPECT_EQ(brightnesses.count(), 1);
    EXPECT_EQ(loads(), 0U);
    EXPECT_EQ(state().activePresetID.get(), "natural");
}

} // namespace
} // namespace nocta
