#include "Interface/StatusBar/StatusBarController.h"

#include "Core/AppState.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace nocta {
namespace {

/// The system colours by their components in 8 bits, of the dark appearance.
using Bytes = std::array<long, 3>;
constexpr Bytes blue{0x0A, 0x84, 0xFF};
constexpr Bytes yellow{0xFF, 0xD6, 0x0A};
constexpr Bytes orange{0xFF, 0x9F, 0x0A};
constexpr Bytes red{0xFF, 0x45, 0x3A};

Bytes bytes(const Color& color) {
    return {std::lround(color.red * 255), std::lround(color.green * 255), std::lround(color.blue * 255)};
}

class StatusBarControllerTest : public testing::Test {
  protected:
    StatusBarControllerTest() { platform.install(); }

    /// Assigns `customTemp` and puts it in force.
    static void setTemp(std::int64_t kelvin) {
        AppState::shared().activePresetID = "custom";
        AppState::shared().customTemp = kelvin;
    }

    [[nodiscard]] const StatusButton& button() const { return platform.statusBar.buttons().back(); }

    /// A press on the item, which belongs to another program, and its release after `held`.
    void clickItem(Seconds held = Seconds(0.1), std::uint32_t event = mouseevent::leftUp) {
        platform.eventMonitor.pressMouse();
        platform.advance(held);
        platform.statusBar.release(event);
    }
    void clickElsewhere() {
        platform.eventMonitor.pressMouse();
        platform.advance(Seconds(0.1));
    }

    SimulatedPlatform platform;
    std::shared_ptr<StatusBarController> controller = std::make_shared<StatusBarController>();
};

TEST_F(StatusBarControllerTest, SetupMakesOneItemAndOnePopoverThatIsNotShown) {
    controller->setup();
    EXPECT_EQ(platform.statusBar.itemCount(), 1);
    EXPECT_EQ(platform.popovers.styles(), (std::vector{PopoverStyle{.contentSize = {.width = 340, .height = 560},
                                                                    .behavior = PopoverBehavior::applicationDefined,
                                                                    .animates = true}}));
    EXPECT_FALSE(platform.popovers.isShown());
    EXPECT_EQ(platform.statusBar.buttons().size(), 1U) << "drawn once";
    EXPECT_EQ(platform.runLoop.timerCount(), 1U);
    EXPECT_EQ(platform.eventMonitor.mouseMonitors(), 1U);
}

TEST_F(StatusBarControllerTest, TheIconIsTheEyeNamedNoctaAt14PointsInMediumWeight) {
    controller->setup();
    const auto& image = button().image;
    EXPECT_EQ(image.symbolName, "eye.fill");
    EXPECT_EQ(image.accessibilityDescription, "Nocta");
    EXPECT_EQ(image.pointSize, 14);
    EXPECT_EQ(image.weight, SymbolWeight::medium);
    EXPECT_FALSE(image.isTemplate);
}

TEST_F(StatusBarControllerTest, TheTintFollowsTheBandsOfTheEffectiveTemperature) {
    controller->setup();
    for (const auto& [temp, color] :
         {std::pair{40000, blue}, std::pair{5500, blue}, std::pair{5499, yellow}, std::pair{4000, yellow},
          std::pair{3999, orange}, std::pair{2700, orange}, std::pair{2699, red}, std::pair{-1, red}}) {
        setTemp(temp);
        controller->updateMenuBarIcon();
        EXPECT_EQ(bytes(button().image.color), color) << temp;
    }
}

TEST_F(StatusBarControllerTest, WithTheFilterOffTheIconIsTertiaryAndHasNoTitle) {
    setTemp(2000);
    AppState::shared().filterEnabled = false;
    AppState::shared().showMenuBarScore = true;
    controller->setup();
    const auto& color = button().image.color;
    EXPECT_EQ(bytes(color), (Bytes{255, 255, 255}));
    EXPECT_DOUBLE_EQ(color.alpha, 0.54);
    EXPECT_EQ(button().title, "");
    EXPECT_EQ(button().toolTip, "Filter Off");
}

TEST_F(StatusBarControllerTest, TheScoreStandsRightOfTheImageAfterABlank) {
    AppState::shared().showMenuBarScore = true;
    for (const std::int64_t score : {0, 87, 100}) {
        AppState::shared().exposureScore = score;
        score == 0 ? controller->setup() : controller->updateMenuBarIcon();
        EXPECT_EQ(button().title, " " + std::to_string(score));
        EXPECT_EQ(button().imagePosition, ImagePosition::imageLeft);
    }
}

TEST_F(StatusBarControllerTest, SwitchingTheScoreOffEmptiesTheTitleAtTheNextRefreshOnly) {
    AppState::shared().exposureScore = 42;
    controller->setup();
    platform.advance(Seconds(30));
    AppState::shared().showMenuBarScore = false;
    platform.advance(Seconds(29));
    EXPECT_EQ(button().title, " 42");
    platform.advance(Seconds(1));
    EXPECT_EQ(button().title, "");
    EXPECT_EQ(button().imagePosition, ImagePosition::imageLeft) << "left as it was";
    AppState::shared().showMenuBarScore = true;
    controller->updateMenuBarIcon();
    EXPECT_EQ(button().title, " 42");
}

TEST_F(StatusBarControllerTest, IsDrawnAnewEveryMinute) {
    controller->setup();
    platform.advance(Seconds(600));
    EXPECT_EQ(platform.statusBar.buttons().size(), 11U);
}

TEST_F(StatusBarControllerTest, TheToolTipNamesTemperatureAndScore) {
    AppState::shared().exposureScore = 87;
    setTemp(3400);
    controller->setup();
    EXPECT_EQ(button().toolTip, "3400K, score 87");
    AppState::shared().showMenuBarScore = false;
    controller->updateMenuBarIcon();
    EXPECT_EQ(button().toolTip, "3400K");
}

TEST_F(StatusBarControllerTest, BothMouseButtonsToggleThePopover) {
    controller->setup();
    for (const auto event : {mouseevent::leftUp, mouseevent::rightUp}) {
        clickItem(Seconds(0.1), event);
        EXPECT_TRUE(platform.popovers.isShown());
        EXPECT_TRUE(platform.popovers.isKey());
        clickItem(Seconds(0.1), event);
        EXPECT_FALSE(platform.popovers.isShown());
    }
    EXPECT_EQ(platform.popovers.showings().size(), 2U);
}

TEST_F(StatusBarControllerTest, ThePopoverOpensBelowTheItem) {
    controller->setup();
    platform.statusBar.setFrame(Rectangle{.x = 900, .y = 2, .width = 24, .height = 22});
    controller->openPopover();
    EXPECT_EQ(platform.popovers.showings(),
              (std::vector<SimulatedPopoverHost::Showing>{
                  {.anchor = Rectangle{.x = 900, .y = 2, .width = 24, .height = 22}, .preferredEdge = Edge::below}}));
}

TEST_F(StatusBarControllerTest, WithoutAPlaceOfTheItemThePopoverOpensAllTheSame) {
    controller->setup();
    controller->openPopover();
    EXPECT_TRUE(platform.popovers.isShown());
    EXPECT_TRUE(platform.popovers.isKey());
}

TEST_F(StatusBarControllerTest, WithoutAButtonNothingIsDrawnOrOpened) {
    platform.statusBar.setHasButton(false);
    controller->setup();
    EXPECT_TRUE(platform.statusBar.buttons().empty());
    platform.statusBar.release(mouseevent::leftUp);
    controller->openPopover();
    EXPECT_FALSE(platform.popovers.isShown());
}

TEST_F(StatusBarControllerTest, AClickElsewhereClosesThePopover) {
    controller->setup();
    controller->openPopover();
    platform.eventMonitor.pressMouse();
    EXPECT_TRUE(platform.popovers.isShown()) << "closed by a task of its own, not inside the event";
    platform.advance(Seconds(0));
    EXPECT_FALSE(platform.popovers.isShown());
}

TEST_F(StatusBarControllerTest, AClickElsewhereWhileItIsClosedDoesNothing) {
    controller->setup();
    clickElsewhere();
    EXPECT_EQ(platform.popovers.closings(), 0);
    EXPECT_FALSE(platform.popovers.isShown());
    EXPECT_EQ(platform.runLoop.timerCount(), 1U);
}

TEST_F(StatusBarControllerTest, AClickOnTheItemThatIsAlsoSeenAsOneElsewhereClosesThePopoverForGood) {
    controller->setup();
    clickItem();
    ASSERT_TRUE(platform.popovers.isShown());
    clickItem(Seconds(1.8));
    platform.advance(Seconds(10));
    EXPECT_FALSE(platform.popovers.isShown());
    EXPECT_EQ(platform.popovers.showings().size(), 1U);
}

TEST_F(StatusBarControllerTest, AClickOnTheItemRightAfterOneElsewhereOpensThePopover) {
    controller->setup();
    controller->openPopover();
    clickElsewhere();
    clickItem();
    EXPECT_TRUE(platform.popovers.isShown());
}

TEST_F(StatusBarControllerTest, AnActivationThatOvertakesItsOwnClickElsewhereOpensThePopover) {
    controller->setup();
    platform.statusBar.release(mouseevent::leftUp);
    clickElsewhere(); // the same click, late
    EXPECT_TRUE(platform.popovers.isShown());
    platform.statusBar.release(mouseevent::leftUp);
    clickElsewhere();
    EXPECT_FALSE(platform.popovers.isShown());
    platform.statusBar.release(mouseevent::leftUp);
    clickElsewhere();
    EXPECT_TRUE(platform.popovers.isShown());
    clickElsewhere(); // another one
    EXPECT_FALSE(platform.popovers.isShown());
}

TEST_F(StatusBarControllerTest, AClickElsewhereRightAfterOneOnTheItemClosesThePopover) {
    controller->setup();
    clickItem();
    clickElsewhere();
    EXPECT_FALSE(platform.popovers.isShown());
    EXPECT_EQ(platform.runLoop.timerCount(), 2U) << "the item's, and that of the closing click";
    platform.advance(Seconds(3));
    EXPECT_EQ(platform.runLoop.timerCount(), 1U);
}

TEST_F(StatusBarControllerTest, WhereTheItemHasAWindowOfItsOwnEveryClickElsewhereIsAnotherOne) {
    platform.statusBar.setDrawnByHost(false);
    controller->setup();
    platform.statusBar.release(mouseevent::leftUp);
    EXPECT_TRUE(platform.popovers.isShown());
    clickElsewhere();
    EXPECT_FALSE(platform.popovers.isShown());
    platform.statusBar.release(mouseevent::leftUp);
    EXPECT_TRUE(platform.popovers.isShown());
    platform.statusBar.release(mouseevent::rightUp);
    EXPECT_FALSE(platform.popovers.isShown());
}

TEST_F(StatusBarControllerTest, AnActivationLongAfterTheClosingClickOpensThePopover) {
    controller->setup();
    controller->openPopover();
    clickElsewhere();
    platform.advance(Seconds(3));
    platform.statusBar.release(mouseevent::leftUp); // by the keyboard: no press before it
    EXPECT_TRUE(platform.popovers.isShown());
}

TEST_F(StatusBarControllerTest, TheMenuOpensNoctaAndQuitsIt) {
    class Delegate final : public ApplicationDelegate {
      public:
        void applicationDidFinishLaunching() override {}
        void applicationWillTerminate() override { hasTerminated = true; }
        bool hasTerminated = false;
    };
    Delegate delegate;
    platform.application.run(delegate);
    controller->setup();
    const auto menu = platform.statusBar.menu();
    ASSERT_EQ(menu.size(), 2U);
    EXPECT_EQ(menu[0].title, "Open Nocta");
    menu[0].action();
    EXPECT_TRUE(platform.popovers.isShown());
    menu[0].action();
    EXPECT_TRUE(platform.popovers.isShown()) << "opens, and does not toggle";
    EXPECT_EQ(menu[1].title, "Quit");
    menu[1].action();
    EXPECT_EQ(platform.displays.restores(), 1);
    EXPECT_TRUE(delegate.hasTerminated);
}

TEST_F(StatusBarControllerTest, WhatFiresAfterItHasGoneDoesNothing) {
    controller->setup();
    controller->openPopover();
    const auto menu = platform.statusBar.menu();
    platform.eventMonitor.pressMouse();
    controller.reset();
    menu[0].action();
    platform.advance(Seconds(120));
    EXPECT_EQ(platform.popovers.closings(), 0);
    EXPECT_EQ(platform.popovers.showings().size(), 1U);
    EXPECT_EQ(platform.statusBar.itemCount(), 0);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    EXPECT_EQ(platform.eventMonitor.mouseMonitors(), 0U);
}

TEST_F(StatusBarControllerTest, NeverWritesASetting) {
    controller->setup();
    clickItem();
    clickElsewhere();
    platform.advance(Seconds(300));
    EXPECT_TRUE(platform.settings.writes().empty());
}

TEST_F(StatusBarControllerTest, WithoutAnEventMonitorOnlyTheItemCloses) {
    auto record = Platform::current();
    record.eventMonitor = nullptr;
    Platform::install(record);
    controller->setup();
    platform.statusBar.release(mouseevent::leftUp);
    EXPECT_TRUE(platform.popovers.isShown());
    platform.statusBar.release(mouseevent::rightUp);
    EXPECT_FALSE(platform.popovers.isShown());
}

using StatusBarControllerDeathTest = StatusBarControllerTest;

TEST_F(StatusBarControllerDeathTest, UsingItBeforeSetupIsFatal) {
    const auto* message = "Unexpectedly found nil while implicitly unwrapping an Optional value";
    EXPECT_DEATH(controller->updateMenuBarIcon(), message);
    EXPECT_DEATH(controller->togglePopover(), message);
    EXPECT_DEATH(controller->openPopover(), message);
    EXPECT_DEATH(controller->closePopover(), message);
}

} // namespace
} // namespace nocta
