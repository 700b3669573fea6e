#include "Platform/Simulated/SimulatedWindowHost.h"

#include <chrono>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nocta {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

class SimulatedWindows : public testing::Test {
  protected:
    SimulatedWindows() {
        window =
            host.makeOverlayWindow({.contentRect = {}, .backgroundColor = {}, .alphaValue = 0}, [this] { ++presses; });
    }

    [[nodiscard]] SimulatedWindow& record() const { return *host.windows().back(); }

    SimulatedRunLoop loop;
    SimulatedWindowHost host{loop};
    int presses = 0;
    std::unique_ptr<OverlayWindow> window;
};

TEST_F(SimulatedWindows, AWindowIsNotShownBeforeItIsOrderedFront) {
    EXPECT_FALSE(record().isOnScreen());
    EXPECT_FALSE(record().pressSkip());
    loop.advance(Seconds(3));
    window->orderFrontRegardless();
    EXPECT_TRUE(record().isOnScreen());
    EXPECT_EQ(record().shown(), milliseconds(3000));
    EXPECT_TRUE(record().pressSkip());
    EXPECT_EQ(presses, 1);
}

TEST_F(SimulatedWindows, AFadeTakesItsTimeAndThenCompletesOnce) {
    int completions = 0;
    window->orderFrontRegardless();
    window->animateAlpha(1.0, Seconds(0.6), TimingFunction::easeOut, [&] { ++completions; });
    EXPECT_EQ(record().alpha(), 0.0);
    loop.advance(Seconds(0.3));
    EXPECT_DOUBLE_EQ(record().alpha(), 0.75); // half the time is three quarters of the way: slow at the end
    EXPECT_EQ(completions, 0);
    loop.advance(Seconds(0.3));
    EXPECT_EQ(record().alpha(), 1.0);
    EXPECT_EQ(completions, 1);
    loop.advance(Seconds(10));
    EXPECT_EQ(completions, 1);
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(SimulatedWindows, ALaterFadeGoesOnFromTheAlphaOfTheMomentAndTheEarlierNeverCompletes) {
    bool earlier = false;
    bool later = false;
    window->animateAlpha(1.0, Seconds(0.6), TimingFunction::easeOut, [&] { earlier = true; });
    loop.advance(Seconds(0.3));
    window->animateAlpha(0.0, Seconds(0.5), TimingFunction::standard, [&] { later = true; });
    EXPECT_DOUBLE_EQ(record().alpha(), 0.75);
    loop.advance(Seconds(0.25));
    EXPECT_DOUBLE_EQ(record().alpha(), 0.375);
    loop.advance(Seconds(10));
    EXPECT_EQ(record().alpha(), 0.0);
    EXPECT_FALSE(earlier);
    EXPECT_TRUE(later);
}

TEST_F(SimulatedWindows, OnTheWayToNothingItTakesNoInput) {
    window->orderFrontRegardless();
    window->animateAlpha(0.0, Seconds(0.5), TimingFunction::standard, {});
    EXPECT_FALSE(record().pressSkip());
    EXPECT_EQ(presses, 0);
    record().deliverLatePress();
    EXPECT_EQ(presses, 1);
}

TEST_F(SimulatedWindows, AClosedWindowCompletesNothingTakesNoInputAndHasNoTimer) {
    bool completed = false;
    window->orderFrontRegardless();
    window->animateAlpha(1.0, Seconds(0.6), TimingFunction::easeOut, [&] { completed = true; });
    loop.advance(Seconds(0.1));
    window->close();
    EXPECT_EQ(loop.timerCount(), 0U);
    EXPECT_EQ(record().closed(), milliseconds(100));
    EXPECT_FALSE(record().isOnScreen());
    EXPECT_FALSE(record().pressSkip());
    record().deliverLatePress();
    EXPECT_EQ(presses, 0);
    window->animateAlpha(0.0, Seconds(0.5), TimingFunction::standard, [&] { completed = true; });
    loop.advance(Seconds(10));
    EXPECT_FALSE(completed);
}

TEST_F(SimulatedWindows, MayBeDestroyedInItsCompletionAndInItsPress) {
    window->orderFrontRegardless();
    window->animateAlpha(0.0, Seconds(0.5), TimingFunction::standard, [this] { window.reset(); });
    loop.advance(Seconds(1));
    EXPECT_EQ(record().closed(), milliseconds(500));

    window = host.makeOverlayWindow({.contentRect = {}, .backgroundColor = {}}, [this] { window.reset(); });
    window->orderFrontRegardless();
    EXPECT_TRUE(record().pressSkip());
    EXPECT_EQ(record().closed(), milliseconds(1000));
}

TEST_F(SimulatedWindows, RecordsOutliveTheirWindowsUntilTheyAreForgotten) {
    const auto other = host.makeOverlayWindow({.contentRect = {}, .backgroundColor = {}}, {});
    other->setContent({});
    EXPECT_EQ(host.openWindows(), 2U);
    window.reset();
    EXPECT_EQ(host.openWindows(), 1U);
    EXPECT_EQ(host.windows().size(), 2U);
    host.forgetClosed();
    ASSERT_EQ(host.windows().size(), 1U);
    EXPECT_THAT(record().contents(), ElementsAre(OverlayContent{}));
}

} // namespace
} // namespace nocta
