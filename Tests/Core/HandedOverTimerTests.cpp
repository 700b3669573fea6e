#include "Core/HandedOverTimer.h"

#include "FreshPlatform.h"
#include "HeldTasks.h"

#include <memory>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class HandedOver : public testing::Test {
  protected:
    SimulatedPlatform& platform = freshPlatform();
    HeldTasks& held = *new HeldTasks(platform);
    int calls = 0;
};

TEST_F(HandedOver, ItsCallbackRunsInATaskAfterItsTime) {
    const HandedOverTimer timer(Seconds(2), [this] { ++calls; });
    platform.advance(Seconds(1.9));
    EXPECT_EQ(held.count(), 0U);
    platform.advance(Seconds(0.1));
    EXPECT_EQ(held.count(), 1U);
    EXPECT_EQ(calls, 0);
    EXPECT_FALSE(timer.hasFired());
    held.release();
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(timer.hasFired());
    platform.advance(Seconds(100));
    held.release();
    EXPECT_EQ(calls, 1);
}

TEST_F(HandedOver, DestroyedBeforeItsTimeItLeavesNoTimer) {
    auto timer = std::make_unique<HandedOverTimer>(Seconds(2), [this] { ++calls; });
    timer.reset();
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    platform.advance(Seconds(10));
    EXPECT_EQ(held.count(), 0U);
}

TEST_F(HandedOver, DestroyedBetweenItsTimeAndItsTaskItDoesNothing) {
    auto timer = std::make_unique<HandedOverTimer>(Seconds(2), [this] { ++calls; });
    platform.advance(Seconds(2));
    ASSERT_EQ(held.count(), 1U);
    timer.reset();
    held.release();
    EXPECT_EQ(calls, 0);
}

TEST_F(HandedOver, MayBeDestroyedInItsOwnCallback) {
    std::unique_ptr<HandedOverTimer> timer;
    const auto captured = std::make_shared<int>(7);
    int seen = 0;
    // By value, so that it dies with the callback unless that is kept alive while it runs.
    timer = std::make_unique<HandedOverTimer>(Seconds(2), [&timer, &seen, captured] {
        timer.reset();
        seen = *captured;
    });
    platform.advance(Seconds(2));
    held.release();
    EXPECT_EQ(seen, 7);
    EXPECT_EQ(captured.use_count(), 1);
}

} // namespace
} // namespace nocta
