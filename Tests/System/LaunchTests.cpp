#include "App/AppDelegate.h"
#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/FilterEngine.h"
#include "Core/UserActions.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <cstdint>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class Launch : public testing::Test {
  protected:
    Launch() { platform.install(); }

    /// Sunrise at 06:00 and sunset at 18:00 of the day on which the platform starts, at noon.
    void setUpSchedule() {
        constexpr Instant noon = SimulatedPlatform::defaultStart;
        platform.settings.setBoolean("scheduleEnabled", true);
        platform.settings.setBoolean("scheduleUsesLocation", false);
        platform.settings.setReal("manualSunrise", (noon - Seconds(6.0 * 3600)).time_since_epoch().count());
        platform.settings.setReal("manualSunset", (noon + Seconds(6.0 * 3600)).time_since_epoch().count());
    }

    SimulatedPlatform platform;
    AppDelegate delegate;
};

TEST_F(Launch, MakesTheProgramAnAccessoryAndPutsTheFilterOnTheScreenAtOnce) {
    platform.settings.setText("activePresetID", "dusk");
    platform.application.run(delegate);
    EXPECT_EQ(platform.application.policies(), std::vector{ActivationPolicy::accessory});
    ASSERT_EQ(platform.displays.loads().size(), 1U);
    EXPECT_FLOAT_EQ(platform.displays.loads().front().red.back(), 0.8F);
    EXPECT_EQ(platform.runLoop.timerCount(), 4U) << "schedule, score, item and first opening, and no fade";
}

TEST_F(Launch, StartsTheSchedule) {
    setUpSchedule();
    platform.application.run(delegate); // at noon
    EXPECT_EQ(AppState::shared().activePresetID.get(), "natural");
    platform.advance(Seconds(4.5 * 3600)); // 16:30, an hour and a half before sunset
    EXPECT_EQ(AppState::shared().activePresetID.get(), "focus");
}

TEST_F(Launch, TerminationStopsTheSchedule) {
    setUpSchedule();
    platform.application.run(delegate);
    platform.application.terminate();
    const auto loads = platform.displays.loads().size();
    platform.advance(Seconds(24 * 3600));
    platform.systemEvents.wake(Seconds(3600));
    EXPECT_EQ(AppState::shared().activePresetID.get(), "natural");
    EXPECT_EQ(platform.displays.loads().size(), loads);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Launch, AfterASuspendTheScheduleAndTheDisplaysAreRightAtOnce) {
    setUpSchedule();
    platform.application.run(delegate);
    platform.jump(Seconds(6.0 * 3600));
    platform.systemEvents.wake(Seconds(6.0 * 3600));
    EXPECT_EQ(AppState::shared().activePresetID.get(), "dusk");
    EXPECT_EQ(platform.displays.reloads(), 1);
}

TEST_F(Launch, AfterTheClockWasSetTheScheduleIsRightAtOnce) {
    setUpSchedule();
    platform.application.run(delegate);
    platform.jump(Seconds(-12.0 * 3600));
    platform.systemEvents.setClock();
    EXPECT_EQ(AppState::shared().activePresetID.get(), "sleep");
    EXPECT_EQ(platform.displays.reloads(), 0);
}

TEST_F(Launch, StartsTheBreaksWhereTheyAreOn) {
    platform.settings.setBoolean("breaksEnabled", true);
    platform.application.run(delegate);
    platform.advance(Seconds(20 * 60 - 1));
    EXPECT_TRUE(platform.windows.windows().empty());
    platform.advance(Seconds(1.5));
    ASSERT_EQ(platform.windows.windows().size(), 1U);
    EXPECT_TRUE(platform.windows.windows().front()->isOnScreen());
}

TEST_F(Launch, WithBreaksDisabledTheBreakEngineIsNotStarted) {
    platform.application.run(delegate);
    EXPECT_FALSE(BreakEngine::shared().isCycleRunning());
    platform.advance(Seconds(24 * 3600));
    EXPECT_TRUE(platform.windows.windows().empty());
}

TEST_F(Launch, TerminationDuringABreakTakesTheOverlayAwayAtOnceAndCountsNothing) {
    platform.settings.setBoolean("breaksEnabled", true);
    platform.application.run(delegate);
    platform.advance(Seconds(20 * 60 + 5));
    ASSERT_TRUE(platform.windows.windows().front()->isOnScreen());
    platform.application.terminate();
    EXPECT_FALSE(platform.windows.windows().front()->isOnScreen());
    EXPECT_EQ(AppState::shared().breaksTaken.get(), 0);
    EXPECT_EQ(AppState::shared().breaksSkipped.get(), 0);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Launch, AfterASuspendAsLongAsABreakTheWorkPeriodStartsOver) {
    platform.settings.setBoolean("breaksEnabled", true);
    platform.application.run(delegate);
    platform.advance(Seconds(15 * 60));
    platform.jump(Seconds(20));
    platform.systemEvents.wake(Seconds(20));
    EXPECT_EQ(BreakEngine::shared().timeUntilBreak(), Seconds(20 * 60));
    platform.advance(Seconds(20 * 60 - 1));
    EXPECT_TRUE(platform.windows.windows().empty());
    platform.advance(Seconds(1.5));
    EXPECT_EQ(platform.windows.windows().size(), 1U);
}

TEST_F(Launch, AfterAShorterSuspendTheWorkPeriodGoesOn) {
    platform.settings.setBoolean("breaksEnabled", true);
    platform.application.run(delegate);
    platform.advance(Seconds(15 * 60));
    platform.systemEvents.wake(Seconds(19));
    platform.advance(Seconds(5 * 60 + 0.5));
    EXPECT_EQ(platform.windows.windows().size(), 1U);
}

TEST_F(Launch, ALongSuspendDuringABreakEndsItUncounted) {
    platform.settings.setBoolean("breaksEnabled", true);
    platform.application.run(delegate);
    platform.advance(Seconds(20 * 60 + 5));
    platform.systemEvents.wake(Seconds(3600));
    EXPECT_FALSE(platform.windows.windows().front()->isOnScreen());
    EXPECT_EQ(AppState::shared().breaksTaken.get(), 0);
    EXPECT_TRUE(BreakEngine::shared().isCycleRunning());
}

TEST_F(Launch, ASuspendStartsNoBreaksThatAreOff) {
    platform.application.run(delegate);
    platform.systemEvents.wake(Seconds(3600));
    EXPECT_FALSE(BreakEngine::shared().isCycleRunning());
}

TEST_F(Launch, ASessionThatGetsTheScreensBackLoadsItsTablesAgain) {
    platform.application.run(delegate);
    platform.systemEvents.activateSession();
    EXPECT_EQ(platform.displays.reloads(), 1);
}

TEST_F(Launch, WithTheFilterOffLoadsNoTable) {
    platform.settings.setBoolean("filterEnabled", false);
    platform.application.run(delegate);
    platform.advance(Seconds(10));
    EXPECT_TRUE(platform.displays.loads().empty());
    EXPECT_EQ(platform.displays.restores(), 0);
}

TEST_F(Launch, WritesNoSetting) {
    platform.application.run(delegate);
    EXPECT_TRUE(platform.settings.writes().empty());
}

TEST_F(Launch, TerminationDuringAFadeStopsItAndRestoresOnce) {
    platform.application.run(delegate);
    FilterEngine::shared().apply(1900, 0.5, 3.0);
    platform.advance(Seconds(1));
    const auto frames = platform.displays.loads().size();
    platform.application.terminate();
    EXPECT_EQ(platform.displays.restores(), 1);
    platform.advance(Seconds(10));
    EXPECT_EQ(platform.displays.loads().size(), frames);
    platform.application.terminate();
    EXPECT_EQ(platform.displays.restores(), 1);
}

// --- Profiles ---

TEST_F(Launch, FollowsTheApplicationInFrontUntilTermination) {
    AppState::shared().appProfiles = ProfileMap{{"org.example.Reader", "sleep"}};
    platform.application.run(delegate);
    platform.workspace.activate("org.example.Reader");
    platform.advance(Seconds(3));
    EXPECT_FLOAT_EQ(platform.displays.loads().back().red.back(), 0.5F);
    platform.application.terminate();
    EXPECT_EQ(platform.workspace.observers(), 0U);
}

TEST_F(Launch, TheApplicationThatIsInFrontAlreadyChangesNothing) {
    platform.settings.setText("activePresetID", "custom");
    platform.settings.setInteger("customTemp", 3000);
    platform.settings.setReal("customBrightness", 0.6);
    platform.workspace.activate("org.example.Plain");
    platform.application.run(delegate);
    platform.advance(Seconds(10));
    ASSERT_EQ(platform.displays.loads().size(), 1U);
    EXPECT_FLOAT_EQ(platform.displays.loads().front().red.back(), 0.6F);
}

// --- Score ---

TEST_F(Launch, ComputesTheScoreAndCountsFiveMinutesAtOnceAndEveryFiveMinutes) {
    platform.settings.setText("activePresetID", "dusk");
    platform.application.run(delegate);
    auto& state = AppState::shared();
    EXPECT_EQ(state.exposureScore.get(), 95);
    EXPECT_EQ(state.totalFilteredMinutes.get(), 5);
    state.activePresetID = "sleep";
    platform.advance(Seconds(299));
    EXPECT_EQ(state.exposureScore.get(), 95);
    EXPECT_EQ(state.totalFilteredMinutes.get(), 5);
    platform.advance(Seconds(1));
    EXPECT_EQ(state.exposureScore.get(), 100);
    EXPECT_EQ(state.totalFilteredMinutes.get(), 10);
    platform.advance(Seconds(24 * 3600));
    EXPECT_EQ(state.totalFilteredMinutes.get(), 10 + 24 * 60) << "no day ends the count";
}

TEST_F(Launch, WithTheFilterOffTheScoreIsSixtyAndNoMinuteCounts) {
    platform.settings.setBoolean("filterEnabled", false);
    platform.application.run(delegate);
    platform.advance(Seconds(3600));
    EXPECT_EQ(AppState::shared().exposureScore.get(), 60);
    EXPECT_EQ(AppState::shared().totalFilteredMinutes.get(), 0);
}

TEST_F(Launch, TheScoreFollowsTheBreaksAtItsNextUpdate) {
    platform.application.run(delegate);
    auto& state = AppState::shared();
    state.breaksTaken = 3;
    state.breaksSkipped = 1;
    platform.advance(Seconds(300));
    EXPECT_EQ(state.exposureScore.get(), 75);
}

TEST_F(Launch, TheScoreTakesTheEffectiveTemperature) {
    platform.settings.setText("activePresetID", "custom");
    platform.settings.setInteger("customTemp", 4500);
    platform.application.run(delegate);
    EXPECT_EQ(AppState::shared().exposureScore.get(), 90) << "and not Natural's 80";
}

// --- Shortcut ---

constexpr std::uint32_t commandShift = modifier::command | modifier::shift;

TEST_F(Launch, TheShortcutFadesToTheNextPresetAndSaysSo) {
    platform.application.run(delegate);
    const auto loads = platform.displays.loads().size();
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
    EXPECT_EQ(AppState::shared().activePresetID.get(), "focus");
    ASSERT_EQ(platform.notifications.requests().size(), 1U);
    EXPECT_EQ(platform.notifications.requests().front().title, "Nocta");
    EXPECT_EQ(platform.notifications.requests().front().body, "Switched to Focus (5000K)");
    platform.advance(Seconds(2));
    EXPECT_EQ(platform.displays.loads().size() - loads, 45U) << "the preset's own 1.5 s";
    EXPECT_FLOAT_EQ(platform.displays.loads().back().red.back(), 0.9F);
}

TEST_F(Launch, TheShortcutGoesFromTheLastPresetToTheFirst) {
    platform.settings.setText("activePresetID", "cinema");
    platform.application.run(delegate);
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
    EXPECT_EQ(AppState::shared().activePresetID.get(), "natural");
    EXPECT_EQ(platform.notifications.requests().front().body, "Switched to Natural (6500K)");
}

TEST_F(Launch, TheShortcutGoesFromCustomValuesToTheSecondPreset) {
    platform.settings.setText("activePresetID", "custom");
    platform.application.run(delegate);
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
    EXPECT_EQ(AppState::shared().activePresetID.get(), "focus");
}

TEST_F(Launch, TheShortcutMayBePressedWithOtherModifiersButNotWithout) {
    platform.application.run(delegate);
    for (const std::uint32_t flags : {std::uint32_t{0}, modifier::command, modifier::shift,
                                      modifier::command | modifier::option | modifier::control,
                                      modifier::shift | modifier::option | modifier::control}) {
        platform.eventMonitor.pressKey({.modifierFlags = flags, .keyCode = keycode::i});
    }
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::none});
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = 0});
    EXPECT_EQ(AppState::shared().activePresetID.get(), "natural");
    EXPECT_TRUE(platform.notifications.requests().empty());
    platform.eventMonitor.pressKey({.modifierFlags = commandShift | modifier::option, .keyCode = keycode::i});
    EXPECT_EQ(AppState::shared().activePresetID.get(), "focus");
    platform.eventMonitor.pressKey({.modifierFlags = 0xFFFFFFFF, .keyCode = keycode::i});
    EXPECT_EQ(AppState::shared().activePresetID.get(), "dusk");
}

TEST_F(Launch, WithTheFilterOffAtLaunchTheShortcutChangesThePresetButNotTheScreen) {
    platform.settings.setBoolean("filterEnabled", false);
    platform.application.run(delegate);
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
    platform.advance(Seconds(10));
    EXPECT_EQ(AppState::shared().activePresetID.get(), "focus");
    EXPECT_EQ(platform.notifications.requests().size(), 1U);
    EXPECT_TRUE(platform.displays.loads().empty());
}

TEST_F(Launch, WithTheFilterOffAtLaunchNoSliderReachesTheScreenUntilItIsSwitchedOn) {
    platform.settings.setBoolean("filterEnabled", false);
    platform.application.run(delegate);
    userActions::setCustomTemp(2500);
    userActions::setCustomBrightness(0.5);
    platform.advance(Seconds(10));
    EXPECT_EQ(AppState::shared().activePresetID.get(), "custom");
    EXPECT_TRUE(platform.displays.loads().empty());
    userActions::setFilterEnabled(true);
    platform.advance(Seconds(2));
    EXPECT_FLOAT_EQ(platform.displays.loads().back().red.back(), 0.5F);
}

TEST_F(Launch, WithTheFilterSwitchedOffTheShortcutChangesThePresetButNotTheScreen) {
    platform.application.run(delegate);
    AppState::shared().filterEnabled = false;
    platform.advance(Seconds(10));
    const auto loads = platform.displays.loads().size();
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
    platform.advance(Seconds(10));
    EXPECT_EQ(AppState::shared().activePresetID.get(), "focus");
    EXPECT_EQ(platform.notifications.requests().size(), 1U);
    EXPECT_EQ(platform.displays.loads().size(), loads);
}

TEST_F(Launch, EveryNotificationHasAnIdentifierOfItsOwn) {
    platform.application.run(delegate);
    std::set<std::string> identifiers;
    for (int i = 0; i < 100; ++i) {
        platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
        identifiers.insert(platform.notifications.requests().back().identifier);
    }
    EXPECT_EQ(identifiers.size(), 100U);
    EXPECT_FALSE(identifiers.contains(""));
}

TEST_F(Launch, ARefusedPermissionChangesNothing) {
    platform.notifications.grants = false;
    platform.application.run(delegate);
    platform.advance(Seconds(1));
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
    EXPECT_EQ(AppState::shared().activePresetID.get(), "focus");
}

TEST_F(Launch, AfterTerminationNothingRunsAndNoKeyIsSeen) {
    platform.application.run(delegate);
    EXPECT_EQ(platform.eventMonitor.keyMonitors(), 1U);
    platform.application.terminate();
    EXPECT_EQ(platform.eventMonitor.keyMonitors(), 0U);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Launch, WithoutAWorkspaceAnEventMonitorAndNotificationsTheRestRuns) {
    auto record = Platform::current();
    record.workspace = nullptr;
    record.eventMonitor = nullptr;
    record.notifications = nullptr;
    Platform::install(record);
    platform.application.run(delegate);
    EXPECT_EQ(platform.displays.loads().size(), 1U);
    EXPECT_EQ(AppState::shared().totalFilteredMinutes.get(), 5);
    platform.application.terminate();
    EXPECT_EQ(platform.displays.restores(), 1);
}

TEST_F(Launch, WithoutNotificationsTheShortcutStillWorks) {
    auto record = Platform::current();
    record.notifications = nullptr;
    Platform::install(record);
    platform.application.run(delegate);
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
    EXPECT_EQ(AppState::shared().activePresetID.get(), "focus");
}

// --- Item and popover ---

TEST_F(Launch, ShowsThePopoverAMomentLaterAndGivesItTheKeyboard) {
    platform.application.run(delegate);
    platform.advance(Seconds(0.34));
    EXPECT_FALSE(platform.popovers.isShown());
    platform.advance(Seconds(0.01));
    EXPECT_TRUE(platform.popovers.isShown());
    EXPECT_TRUE(platform.popovers.isKey());
    platform.advance(Seconds(3600));
    EXPECT_EQ(platform.popovers.showings().size(), 1U) << "once";
}

TEST_F(Launch, AProgramThatEndsAtOnceShowsNoPopover) {
    platform.application.run(delegate);
    platform.application.terminate();
    platform.advance(Seconds(10));
    EXPECT_TRUE(platform.popovers.showings().empty());
}

TEST_F(Launch, ReopeningShowsThePopoverAndIsReportedAsHandled) {
    platform.application.run(delegate);
    platform.advance(Seconds(1));
    platform.eventMonitor.pressMouse(); // elsewhere
    platform.advance(Seconds(1));
    ASSERT_FALSE(platform.popovers.isShown());
    EXPECT_TRUE(delegate.applicationShouldHandleReopen(false));
    EXPECT_TRUE(platform.popovers.isShown());
}

TEST_F(Launch, TheItemShowsTheScoreFromTheLaunchOnAndFollowsItEveryFiveMinutes) {
    platform.settings.setText("activePresetID", "dusk");
    platform.application.run(delegate);
    EXPECT_EQ(platform.statusBar.buttons().back().title, " 100") << "made before the score is computed";
    platform.advance(Seconds(60));
    EXPECT_EQ(platform.statusBar.buttons().back().title, " 95");
    platform.advance(Seconds(239));
    AppState::shared().activePresetID = "sleep";
    const auto before = platform.statusBar.buttons().size();
    platform.advance(Seconds(1)); // the score's timer, and the item's of every minute
    EXPECT_EQ(platform.statusBar.buttons().back().title, " 100");
    EXPECT_EQ(platform.statusBar.buttons().size(), before + 2);
}

TEST_F(Launch, TheShortcutRedrawsTheItemAtOnce) {
    platform.application.run(delegate);
    platform.eventMonitor.pressKey({.modifierFlags = commandShift, .keyCode = keycode::i});
    platform.advance(Seconds(0.1));
    EXPECT_EQ(platform.statusBar.buttons().back().toolTip, "5000K, score 80");
}

TEST_F(Launch, TerminationTakesItemAndPopoverAway) {
    platform.application.run(delegate);
    platform.advance(Seconds(1));
    platform.application.terminate();
    EXPECT_EQ(platform.statusBar.itemCount(), 0);
    EXPECT_EQ(platform.eventMonitor.mouseMonitors(), 0U);
}

using LaunchDeathTest = Launch;

TEST_F(LaunchDeathTest, WithoutAnApplicationObjectIsFatal) {
    auto record = Platform::current();
    record.application = nullptr;
    Platform::install(record);
    EXPECT_DEATH(delegate.applicationDidFinishLaunching(),
                 "Unexpectedly found nil while implicitly unwrapping an Optional value");
}

} // namespace
} // namespace nocta
