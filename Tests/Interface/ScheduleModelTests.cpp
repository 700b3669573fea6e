#include "Interface/Popover/ScheduleModel.h"

#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "Core/FreshPlatform.h"
#include "Interface/SignalCount.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr Instant noon = SimulatedPlatform::defaultStart; // 2026-03-20

/// That day at that UTC time.
Instant at(int hour, int minute, int second = 0) {
    return noon + Seconds((hour - 12) * 3600 + minute * 60 + second);
}

class ScheduleModelTest : public testing::Test {
  protected:
    static AppState& state() { return AppState::shared(); }
    [[nodiscard]] std::size_t loads() const { return world.displays.loads().size(); }

    void expectOnScreen(const Preset& preset) const {
        const auto [r, g, b] = preset.rgb();
        const auto& load = world.displays.loads().back();
        EXPECT_FLOAT_EQ(load.red.back(), static_cast<float>(r * preset.brightness));
        EXPECT_FLOAT_EQ(load.green.back(), static_cast<float>(g * preset.brightness));
        EXPECT_FLOAT_EQ(load.blue.back(), static_cast<float>(b * preset.brightness));
    }

    void expectNothingReachedTheEngines() const {
        EXPECT_EQ(loads(), 0U);
        EXPECT_EQ(world.location.starts(), 0);
        EXPECT_EQ(world.runLoop.timerCount(), 0U);
        EXPECT_EQ(state().activePresetID.get(), "natural");
    }

    SimulatedPlatform& world = freshPlatform(at(22, 0));
    ScheduleModel model;
};

TEST_F(ScheduleModelTest, SwitchingTheScheduleOnAppliesTheScheduledPresetAtOnce) {
    ScheduleModel::setScheduleEnabled(true);
    EXPECT_TRUE(state().scheduleEnabled.get());
    // 22:00 is two hours after the manual sunset of 20:00.
    EXPECT_EQ(state().activePresetID.get(), "evening");
    world.advance(Seconds(2.0));
    EXPECT_EQ(loads(), 60U) << "the preset's own 2 s, 30 times a second";
    EXPECT_EQ(world.location.starts(), 0) << "asking for a place is the other switch's business";
}

TEST_F(ScheduleModelTest, SwitchingTheScheduleOffFadesToTheSelectedPresetOverFourSeconds) {
    state().scheduleEnabled = true;
    state().activePresetID = "sleep";
    ScheduleModel::setScheduleEnabled(false);
    EXPECT_FALSE(state().scheduleEnabled.get());
    EXPECT_EQ(state().activePresetID.get(), "sleep");
    world.advance(Seconds(4.0 - 1.0 / 60));
    EXPECT_EQ(loads(), 119U);
    world.advance(Seconds(1.0 / 60));
    EXPECT_EQ(loads(), 120U);
    expectOnScreen(*builtInPreset("sleep"));
    world.advance(Seconds(60));
    EXPECT_EQ(loads(), 120U);
}

TEST_F(ScheduleModelTest, WithCustomValuesSwitchingTheScheduleOffFadesToTheNaturalPreset) {
    state().customTemp = 2500;
    FilterEngine::shared().applyImmediate(2500, 1.0);
    state().activePresetID = "custom";
    state().scheduleEnabled = true;
    ScheduleModel::setScheduleEnabled(false);
    world.advance(Seconds(4));
    expectOnScreen(Preset::natural);
}

TEST(ScheduleModel, WithAFilterThatWasOffAtLaunchItChangesNoScreen) {
    SimulatedPlatform& world = freshPlatform(at(22, 0));
    world.settings.setBoolean("filterEnabled", false);
    world.settings.setText("activePresetID", "sleep");
    FilterEngine::shared().beginDisabled(); // as the launch does
    ScheduleModel::setScheduleEnabled(true);
    ScheduleModel::setScheduleEnabled(false);
    world.advance(Seconds(10));
    EXPECT_FALSE(AppState::shared().scheduleEnabled.get());
    EXPECT_EQ(AppState::shared().activePresetID.get(), "sleep");
    EXPECT_TRUE(world.displays.loads().empty());
}

TEST_F(ScheduleModelTest, SwitchingLocationOnAsksForItOnceAndOffAsksForNothing) {
    ScheduleModel::setScheduleUsesLocation(false);
    EXPECT_FALSE(state().scheduleUsesLocation.get());
    EXPECT_EQ(world.location.starts(), 0);
    ScheduleModel::setScheduleUsesLocation(true);
    EXPECT_TRUE(state().scheduleUsesLocation.get());
    EXPECT_EQ(world.location.authorizationRequests(), 1);
    EXPECT_EQ(world.location.starts(), 1);
    ScheduleModel::setScheduleUsesLocation(false);
    EXPECT_EQ(world.location.starts(), 1);
    EXPECT_EQ(world.location.stops(), 0);
    EXPECT_EQ(loads(), 0U);
}

TEST_F(ScheduleModelTest, ASwitchThatStandsThereAlreadyTellsNobody) {
    ScheduleModel::setScheduleEnabled(false);
    ScheduleModel::setScheduleUsesLocation(true);
    expectNothingReachedTheEngines();
}

TEST_F(ScheduleModelTest, EditingATimeOnlyWritesTheSetting) {
    state().scheduleEnabled = true;
    ScheduleModel::setSunset(23, 45);
    EXPECT_EQ(state().manualSunset.get(), at(23, 45));
    ScheduleModel::setSunrise(4, 5);
    EXPECT_EQ(state().manualSunrise.get(), at(4, 5));
    EXPECT_EQ(world.settings.real("manualSunset"), at(23, 45).time_since_epoch().count());
    expectNothingReachedTheEngines();
}

TEST_F(ScheduleModelTest, TheManualTimesAreShownAsTheWallClockShowsThem) {
    EXPECT_EQ(ScheduleModel::sunriseHour(), 6);
    EXPECT_EQ(ScheduleModel::sunriseMinute(), 30);
    EXPECT_EQ(ScheduleModel::sunsetHour(), 20);
    EXPECT_EQ(ScheduleModel::sunsetMinute(), 0);
    world.calendar.offset = std::chrono::minutes(345); // Nepal
    EXPECT_EQ(ScheduleModel::sunriseHour(), 12);
    EXPECT_EQ(ScheduleModel::sunriseMinute(), 15);
}

TEST_F(ScheduleModelTest, ATimeChangesInTheZoneOfItsDate) {
    world.calendar.offset = std::chrono::hours(-5);
    ScheduleModel::setSunrise(5, 10);
    EXPECT_EQ(ScheduleModel::sunriseHour(), 5);
    EXPECT_EQ(ScheduleModel::sunriseMinute(), 10);
    // 06:30 UTC was 01:30 of the same local date.
    EXPECT_EQ(state().manualSunrise.get(), at(10, 10));
}

TEST_F(ScheduleModelTest, ATimeBeyondEveryCalendarIsMidnightAndBecomesOneOfToday) {
    for (const double seconds : {std::numeric_limits<double>::infinity(), std::nan(""), 1e300}) {
        state().manualSunrise = Instant(Seconds(seconds));
        EXPECT_EQ(ScheduleModel::sunriseHour(), 0);
        EXPECT_EQ(ScheduleModel::sunriseMinute(), 0);
        ScheduleModel::setSunrise(6, 45);
        EXPECT_EQ(state().manualSunrise.get(), at(6, 45));
    }
}

TEST_F(ScheduleModelTest, TheStripHasSevenFixedSegments) {
    EXPECT_EQ(ScheduleModel::segmentLabels(),
              (QStringList{"Sleep", "Dawn", "Day", "Focus", "Dusk", "Evening", "Sleep"}));
    const QList<QColor> colors{QColor::fromRgbF(0.2F, 0.1F, 0.4F), QColor::fromRgbF(0.9F, 0.5F, 0.2F),
                               QColor::fromRgbF(0.3F, 0.6F, 1.0F), QColor::fromRgbF(0.2F, 0.5F, 0.8F),
                               QColor::fromRgbF(0.9F, 0.4F, 0.1F), QColor::fromRgbF(0.7F, 0.2F, 0.1F),
                               QColor::fromRgbF(0.2F, 0.1F, 0.4F)};
    EXPECT_EQ(ScheduleModel::segmentColors(), colors);
}

TEST_F(ScheduleModelTest, TheTimeIsInTheLocalesShortStyle) {
    EXPECT_EQ(ScheduleModel::shortTime(at(14, 5, 59), QLocale(QLocale::German, QLocale::Germany)), "14:05");
    EXPECT_EQ(ScheduleModel::shortTime(at(14, 5, 59), QLocale::c()), "14:05");
    const QString american = ScheduleModel::shortTime(at(14, 5), QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_TRUE(american.startsWith("2:05")) << american.toStdString();
    EXPECT_TRUE(american.endsWith("PM")) << american.toStdString();
    EXPECT_EQ(ScheduleModel::shortTime(Instant(Seconds(std::nan(""))), QLocale::c()), "");
}

TEST_F(ScheduleModelTest, NowIsWhenTheTabWasLastDrawn) {
    const auto time = [](Instant instant) { return ScheduleModel::shortTime(instant, QLocale()); };
    model.setOnScreen(true);
    EXPECT_EQ(model.currentTimeLabel(), time(at(22, 0)));
    EXPECT_EQ(world.runLoop.timerCount(), 0U) << "no timer of its own";
    world.advance(Seconds(600));
    EXPECT_EQ(model.currentTimeLabel(), time(at(22, 0)));

    const test::SignalCount changes(model, &ScheduleModel::currentTimeLabelChanged);
    state().activePresetID = "dusk";
    EXPECT_EQ(model.currentTimeLabel(), time(at(22, 10))) << "a changed setting draws the tab";
    EXPECT_EQ(changes.count(), 1);

    model.setOnScreen(false);
    world.advance(Seconds(600));
    state().activePresetID = "focus";
    EXPECT_EQ(changes.count(), 1) << "nobody sees it";
    model.setOnScreen(true);
    EXPECT_EQ(model.currentTimeLabel(), time(at(22, 20)));
}

TEST_F(ScheduleModelTest, TellsOfWhatOthersChange) {
    const test::SignalCount enabled(model, &ScheduleModel::scheduleEnabledChanged);
    const test::SignalCount location(model, &ScheduleModel::scheduleUsesLocationChanged);
    const test::SignalCount sunrise(model, &ScheduleModel::sunriseChanged);
    const test::SignalCount sunset(model, &ScheduleModel::sunsetChanged);
    const test::SignalCount active(model, &ScheduleModel::activePresetNameChanged);
    state().scheduleEnabled = true;
    state().scheduleUsesLocation = false;
    state().manualSunrise = at(5, 0);
    state().manualSunset = at(21, 0);
    state().activePresetID = "dusk";
    EXPECT_TRUE(ScheduleModel::scheduleEnabled());
    EXPECT_FALSE(ScheduleModel::scheduleUsesLocation());
    EXPECT_EQ(ScheduleModel::sunriseHour(), 5);
    EXPECT_EQ(ScheduleModel::sunsetHour(), 21);
    EXPECT_EQ(ScheduleModel::activePresetName(), "Dusk");
    for (const auto* spy : {&enabled, &location, &sunrise, &sunset, &active}) {
        EXPECT_EQ(spy->count(), 1);
    }
    EXPECT_EQ(world.location.starts(), 0) << "whoever changes a setting calls the engine";
    state().activePresetID = "custom";
    EXPECT_EQ(ScheduleModel::activePresetName(), "Natural");
}

} // namespace
} // namespace nocta
