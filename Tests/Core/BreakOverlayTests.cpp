#include "Core/BreakOverlayVC.h"
#include "Core/BreakOverlayWindowController.h"

#include "FatalExit.h"
#include "FreshPlatform.h"
#include "HeldTasks.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nocta {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

const Screen left{.name = "DP-1", .frame = {.x = 0, .y = 0, .width = 1280, .height = 1024}};
const Screen right{.name = "DP-2", .frame = {.x = 1280, .y = 0, .width = 1920, .height = 1080}};

using Fade = SimulatedWindow::Fade;

class Overlay : public testing::Test {
  protected:
    [[nodiscard]] SimulatedWindow& window() const { return *platform.windows.windows().back(); }
    [[nodiscard]] const OverlayContent& content() const { return window().contents().back(); }
    [[nodiscard]] std::string countdown() const { return content().countdown.text; }

    /// As long as only the host's record of the last window is left, the window itself has been destroyed.
    [[nodiscard]] bool isFreed() const { return platform.windows.windows().back().use_count() == 1; }

    SimulatedPlatform& platform = freshPlatform();
};

// --- The window ---

TEST_F(Overlay, CoversTheMainScreenAndNoOther) {
    platform.windows.connected = {left, right};
    platform.windows.main = right;
    const BreakOverlayWindowController controller(20);
    ASSERT_EQ(platform.windows.windows().size(), 1U);
    EXPECT_EQ(window().style().contentRect, right.frame);
}

TEST_F(Overlay, WithoutAMainScreenItCoversTheFirstOne) {
    platform.windows.connected = {right, left};
    platform.windows.main = {};
    const BreakOverlayWindowController controller(20);
    EXPECT_EQ(window().style().contentRect, right.frame);
}

TEST_F(Overlay, WithoutAnyScreenItIsAFatalError) {
    platform.windows.connected = {};
    platform.windows.main = {};
    EXPECT_FATAL(const BreakOverlayWindowController controller(20), "Index out of range");
}

TEST_F(Overlay, IsADarkTranslucentWindowAboveEverythingThatCatchesClicks) {
    const BreakOverlayWindowController controller(20);
    EXPECT_EQ(window().style(),
              (OverlayWindowStyle{.contentRect = {.x = 0, .y = 0, .width = 1920, .height = 1080},
                                  .level = WindowLevel::shielding,
                                  .backgroundColor = {.red = 0.05, .green = 0.03, .blue = 0.0, .alpha = 0.95},
                                  .isOpaque = false,
                                  .alphaValue = 0,
                                  .canJoinAllSpaces = true,
                                  .fullScreenAuxiliary = true,
                                  .ignoresCycle = true,
                                  .ignoresMouseEvents = false}));
}

TEST_F(Overlay, IsNeitherShownNorCountingBeforeItIsPresented) {
    const BreakOverlayWindowController controller(20);
    EXPECT_EQ(controller.duration, 20);
    platform.advance(Seconds(5));
    EXPECT_FALSE(window().isOnScreen());
    EXPECT_EQ(window().alpha(), 0.0);
    EXPECT_EQ(countdown(), "20");
    EXPECT_EQ(platform.windows.activations(), 0);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Overlay, ComesToTheFrontTakesTheKeyboardAndFadesIn) {
    BreakOverlayWindowController controller(20);
    controller.present();
    EXPECT_EQ(window().shown(), milliseconds(0));
    EXPECT_EQ(platform.windows.activations(), 1);
    EXPECT_EQ(window().alpha(), 0.0);
    platform.advance(Seconds(0.6));
    EXPECT_EQ(window().alpha(), 1.0);
    EXPECT_THAT(window().fades(), ElementsAre(Fade{milliseconds(0), 1.0, Seconds(0.6), TimingFunction::easeOut}));
}

// --- What it shows ---

TEST_F(Overlay, ShowsItsTextsInTheirFontsAndColours) {
    const BreakOverlayWindowController controller(20);
    ASSERT_EQ(window().contents().size(), 1U);
    EXPECT_EQ(content().eye.text, "\xF0\x9F\x91\x81");
    EXPECT_EQ(content().eye.pointSize, 72);
    EXPECT_EQ(content().title, (TextLabel{.text = "Rest your eyes",
                                          .pointSize = 38,
                                          .weight = FontWeight::semibold,
                                          .textColor = {.red = 1.0, .green = 0.92, .blue = 0.78, .alpha = 1.0}}));
    EXPECT_EQ(content().subtitle, (TextLabel{.text = "Look at something 20 feet away and blink naturally.",
                                             .pointSize = 17,
                                             .weight = FontWeight::regular,
                                             .textColor = {.red = 1.0, .green = 1.0, .blue = 1.0, .alpha = 0.55}}));
    EXPECT_EQ(content().countdown, (TextLabel{.text = "20",
                                              .pointSize = 72,
                                              .weight = FontWeight::thin,
                                              .monospacedDigits = true,
                                              .textColor = {.red = 1.0, .green = 0.72, .blue = 0.32, .alpha = 1.0}}));
    EXPECT_EQ(content().progress, (ProgressIndicator{.minValue = 0, .maxValue = 20, .value = 20}));
    EXPECT_EQ(content().skip, (PushButton{.title = "Skip break",
                                          .pointSize = 13,
                                          .contentTintColor = {.red = 1.0, .green = 1.0, .blue = 1.0, .alpha = 0.35}}));
}

TEST(OverlayContent, OnlyTheEyeHasATextBeforeTheViewIsLoaded) {
    const OverlayContent content = BreakOverlayVC(20).content();
    EXPECT_EQ(content.eye.text, "\xF0\x9F\x91\x81");
    EXPECT_EQ(content.title.text, "");
    EXPECT_EQ(content.subtitle.text, "");
    EXPECT_EQ(content.countdown.text, "");
}

TEST(OverlayContent, TheFigureNeverFallsBelowZeroAndTheBarTakesWhatComes) {
    BreakOverlayVC viewController(20);
    viewController.loadView();
    for (const auto& [remaining, text] : std::vector<std::pair<std::int64_t, std::string>>{
             {20, "20"}, {9, "9"}, {1, "1"}, {0, "0"}, {-1, "0"}, {-5000, "0"}, {100000, "100000"}}) {
        viewController.update(remaining);
        EXPECT_EQ(viewController.content().countdown.text, text);
        EXPECT_EQ(viewController.content().progress,
                  (ProgressIndicator{.minValue = 0, .maxValue = 20, .value = static_cast<double>(remaining)}));
    }
}

TEST(OverlayContent, MayBeDestroyedInItsOwnOnSkip) {
    auto viewController = std::make_unique<BreakOverlayVC>(20);
    const auto captured = std::make_shared<int>(7);
    int seen = 0;
    // By value, so that it dies with the callback unless that is kept alive while it runs.
    viewController->onSkip = [&viewController, &seen, captured] {
        viewController.reset();
        EXPECT_GE(captured.use_count(), 2);
        seen = *captured;
    };
    viewController->skipTapped();
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(Overlay, ShowsAnOddDurationAsItStands) {
    const BreakOverlayWindowController controller(-3);
    EXPECT_EQ(countdown(), "-3");
    EXPECT_EQ(content().progress, (ProgressIndicator{.minValue = 0, .maxValue = -3, .value = -3}));
}

// --- The countdown ---

TEST_F(Overlay, CountsFromItsDurationToZeroOnceASecondAndNotFurther) {
    BreakOverlayWindowController controller(20);
    controller.present();
    EXPECT_EQ(countdown(), "20");
    for (int second = 1; second <= 20; ++second) {
        platform.advance(Seconds(0.999));
        EXPECT_EQ(countdown(), std::to_string(21 - second));
        platform.advance(Seconds(0.001));
        EXPECT_EQ(countdown(), std::to_string(20 - second));
        EXPECT_EQ(content().progress.value, 20 - second);
    }
    EXPECT_EQ(window().contents().size(), 21U);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    platform.advance(Seconds(100));
    EXPECT_EQ(window().contents().size(), 21U);
    EXPECT_EQ(window().alpha(), 1.0) << "it stays up until it is closed";
}

TEST_F(Overlay, WithNothingToCountStopsAtItsFirstTick) {
    for (const std::int64_t duration : {0, -3}) {
        BreakOverlayWindowController controller(duration);
        controller.present();
        platform.advance(Seconds(100));
        EXPECT_EQ(window().contents().size(), 2U);
        EXPECT_EQ(countdown(), "0");
        EXPECT_EQ(content().progress.value, static_cast<double>(duration) - 1);
        EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    }
}

TEST_F(Overlay, CountingBelowSixtyFourBitsIsAFatalError) {
    BreakOverlayWindowController controller(std::numeric_limits<std::int64_t>::min());
    controller.present();
    EXPECT_FATAL(platform.advance(Seconds(1)), "Arithmetic overflow in integer subtraction");
}

TEST_F(Overlay, ATickIsShownInATaskOfItsOwnAndNotAfterTheControllerHasGone) {
    HeldTasks tasks(platform);
    auto controller = std::make_unique<BreakOverlayWindowController>(20);
    controller->present();
    platform.advance(Seconds(1));
    EXPECT_EQ(countdown(), "20");
    tasks.release();
    EXPECT_EQ(countdown(), "19");
    platform.advance(Seconds(1));
    EXPECT_EQ(tasks.count(), 1U);
    controller->close();
    controller.reset();
    tasks.release();
    EXPECT_EQ(countdown(), "19");
    platform.install();
}

TEST_F(Overlay, ATickHandedOverBeforeTheCloseLeavesTheFadingWindowAsItIs) {
    HeldTasks tasks(platform);
    BreakOverlayWindowController controller(1);
    controller.present();
    platform.advance(Seconds(1));
    controller.close();
    tasks.release();
    EXPECT_EQ(countdown(), "1");
    platform.advance(Seconds(0.5));
    EXPECT_EQ(window().closed(), milliseconds(1500));
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    platform.install();
}

// --- The skip button ---

TEST_F(Overlay, EveryPressOfTheSkipButtonCallsOnSkipOnce) {
    BreakOverlayWindowController controller(20);
    int skips = 0;
    controller.onSkip = [&] { ++skips; };
    controller.present();
    EXPECT_TRUE(window().pressSkip());
    EXPECT_EQ(skips, 1);
    platform.advance(Seconds(30));
    EXPECT_TRUE(window().pressSkip());
    EXPECT_EQ(skips, 2);
}

TEST_F(Overlay, APressThatNobodyWaitsForDoesNothing) {
    BreakOverlayWindowController controller(20);
    controller.present();
    platform.advance(Seconds(1));
    EXPECT_TRUE(window().pressSkip());
    EXPECT_TRUE(window().isOnScreen());
    EXPECT_FALSE(window().isFadingOut());
    platform.advance(Seconds(1));
    EXPECT_EQ(countdown(), "18");
    BreakOverlayVC(20).skipTapped();
}

TEST_F(Overlay, APressDuringTheFadeOutIsNoSecondSkip) {
    BreakOverlayWindowController controller(20);
    int skips = 0;
    controller.onSkip = [&] {
        ++skips;
        controller.close();
    };
    controller.present();
    platform.advance(Seconds(1));
    EXPECT_TRUE(window().pressSkip());
    EXPECT_FALSE(window().pressSkip());
    window().deliverLatePress();
    platform.advance(Seconds(0.25));
    window().deliverLatePress();
    EXPECT_EQ(skips, 1);
}

TEST_F(Overlay, MayBeDestroyedInItsOwnOnSkipWhateverWasDoneBefore) {
    const std::vector<std::function<void(BreakOverlayWindowController&)>> ends{
        [](BreakOverlayWindowController&) {}, [](BreakOverlayWindowController& controller) { controller.close(); },
        [](BreakOverlayWindowController& controller) { controller.forceClose(); }};
    for (const auto& end : ends) {
        const auto captured = std::make_shared<int>(0);
        auto controller = std::make_unique<BreakOverlayWindowController>(20);
        // By value, so that it dies with the callback unless that is kept alive while it runs.
        controller->onSkip = [&controller, &end, captured] {
            end(*controller);
            controller.reset();
            ++*captured;
        };
        controller->present();
        platform.advance(Seconds(1));
        EXPECT_TRUE(window().pressSkip());
        EXPECT_EQ(*captured, 1);
        EXPECT_EQ(captured.use_count(), 1);
        platform.advance(Seconds(0.5));
        EXPECT_TRUE(isFreed());
        EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    }
}

// --- The ends ---

TEST_F(Overlay, ClosingFadesOutAndThenFreesTheWindowThoughTheControllerHasGone) {
    auto controller = std::make_unique<BreakOverlayWindowController>(20);
    controller->present();
    platform.advance(Seconds(3));
    controller->close();
    controller.reset();
    EXPECT_TRUE(window().isOnScreen());
    EXPECT_EQ(window().alpha(), 1.0);
    EXPECT_EQ(window().fades().back(), (Fade{milliseconds(3000), 0.0, Seconds(0.5), TimingFunction::standard}));
    platform.advance(Seconds(0.499));
    EXPECT_TRUE(window().isOnScreen());
    EXPECT_LT(window().alpha(), 0.01);
    platform.advance(Seconds(0.001));
    EXPECT_EQ(window().closed(), milliseconds(3500));
    EXPECT_TRUE(isFreed());
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    EXPECT_EQ(countdown(), "17");
}

TEST_F(Overlay, NothingIsLeftAfterTheFadeThoughTheControllerIsKept) {
    BreakOverlayWindowController controller(20);
    controller.present();
    controller.close();
    platform.advance(Seconds(0.5));
    EXPECT_TRUE(isFreed());
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Overlay, ClosedDuringTheFadeInItFadesOutFromWhereItIs) {
    BreakOverlayWindowController controller(20);
    controller.present();
    platform.advance(Seconds(0.3));
    const double alpha = window().alpha();
    EXPECT_LT(alpha, 1.0);
    controller.close();
    EXPECT_EQ(window().alpha(), alpha);
    platform.advance(Seconds(0.1));
    EXPECT_LT(window().alpha(), alpha);
    platform.advance(Seconds(0.4));
    EXPECT_EQ(window().closed(), milliseconds(800));
}

TEST_F(Overlay, ClosingTwiceFadesOnce) {
    BreakOverlayWindowController controller(20);
    controller.present();
    platform.advance(Seconds(1));
    controller.close();
    platform.advance(Seconds(0.4));
    controller.close();
    platform.advance(Seconds(0.1));
    EXPECT_EQ(window().closed(), milliseconds(1500));
    controller.close();
    EXPECT_EQ(window().fades().size(), 2U);
}

TEST_F(Overlay, ForceCloseLeavesNoWindowAndNoTimerWhateverTheMoment) {
    const std::vector<std::function<void(BreakOverlayWindowController&)>> moments{
        [](BreakOverlayWindowController&) {},
        [](BreakOverlayWindowController& controller) { controller.present(); },
        [this](BreakOverlayWindowController& controller) {
            controller.present();
            platform.advance(Seconds(0.3)); // fades in
        },
        [this](BreakOverlayWindowController& controller) {
            controller.present();
            platform.advance(Seconds(2.5)); // counts
        },
        [this](BreakOverlayWindowController& controller) {
            controller.present();
            platform.advance(Seconds(100)); // at 0
        },
        [this](BreakOverlayWindowController& controller) {
            controller.present();
            platform.advance(Seconds(2));
            controller.close();
            platform.advance(Seconds(0.2)); // fades out
        },
        [this](BreakOverlayWindowController& controller) {
            controller.present();
            controller.close();
            platform.advance(Seconds(1)); // closed
        },
        [](BreakOverlayWindowController& controller) { controller.forceClose(); }};
    for (const auto& moment : moments) {
        BreakOverlayWindowController controller(20);
        moment(controller);
        const std::size_t fades = window().fades().size();
        controller.forceClose();
        EXPECT_TRUE(window().closed());
        EXPECT_TRUE(isFreed());
        EXPECT_EQ(window().fades().size(), fades);
        EXPECT_EQ(platform.windows.openWindows(), 0U);
        EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    }
}

TEST_F(Overlay, DestroyedWithoutACloseItLeavesNoWindowAndNoTimer) {
    auto controller = std::make_unique<BreakOverlayWindowController>(20);
    controller->present();
    platform.advance(Seconds(0.3));
    controller.reset();
    EXPECT_TRUE(isFreed());
    EXPECT_EQ(platform.windows.openWindows(), 0U);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST_F(Overlay, TheNextOverlayTakesThePlaceOfOneThatFadesOut) {
    BreakOverlayWindowController first(20);
    first.present();
    platform.advance(Seconds(1));
    first.close();
    platform.advance(Seconds(0.2));
    BreakOverlayWindowController second(20);
    EXPECT_EQ(platform.windows.openWindows(), 2U);
    second.present();
    EXPECT_EQ(platform.windows.openWindows(), 1U);
    EXPECT_TRUE(window().isOnScreen());
    first.forceClose();
    EXPECT_TRUE(window().isOnScreen());
}

TEST_F(Overlay, OfTwoThatCloseTheSecondKeepsItsFade) {
    BreakOverlayWindowController first(20);
    BreakOverlayWindowController second(20);
    first.present();
    second.present();
    platform.advance(Seconds(1));
    first.close();
    platform.advance(Seconds(0.2));
    second.close();
    EXPECT_EQ(platform.windows.windows()[0]->closed(), milliseconds(1200));
    first.forceClose();
    EXPECT_TRUE(window().isOnScreen());
    platform.advance(Seconds(0.5));
    EXPECT_EQ(window().closed(), milliseconds(1700));
}

} // namespace
} // namespace nocta
