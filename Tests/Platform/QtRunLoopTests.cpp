#include "Platform/Qt/QtRunLoop.h"

#include "QtLoop.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

namespace nocta {
namespace {

using std::chrono::milliseconds;
using MonotonicClock = std::chrono::steady_clock;

class QtRunLoopTest : public testing::Test {
  protected:
    test::QtLoop loop;
    QtRunLoop runLoop;
};

TEST_F(QtRunLoopTest, FramesKeepToTheGridOfTheirIntervalOverAFadeWhateverTheirWorkTakes) {
    constexpr double framesPerSecond = 30;
    const auto start = MonotonicClock::now();
    std::vector<double> instants; // in frames since the start
    const auto timer = runLoop.repeating(Seconds(1 / framesPerSecond), TimerPrecision::frame, [&] {
        instants.push_back(Seconds(MonotonicClock::now() - start).count() * framesPerSecond);
        std::this_thread::sleep_for(milliseconds(5));
    });
    ASSERT_TRUE(loop.runUntil([&] { return !instants.empty() && instants.back() >= 90; }, std::chrono::seconds(60)));
    std::vector<double> latenesses;
    for (std::size_t i = 0; i < instants.size(); ++i) {
        EXPECT_GE(instants[i], static_cast<double>(i + 1)) << "early: the timer gains on the clock";
        latenesses.push_back(instants[i] - std::floor(instants[i]));
    }
    // A timer that waits its interval anew after every frame would be late by anything from none to a whole frame. The
    // median, since a busy machine delays some, and skips others.
    std::nth_element(latenesses.begin(), latenesses.begin() + static_cast<std::ptrdiff_t>(latenesses.size() / 2),
                     latenesses.end());
    EXPECT_LT(latenesses[latenesses.size() / 2], 0.3);
}

TEST_F(QtRunLoopTest, FiringsMissedWhileTheLoopWasBusyAreSkipped) {
    int firings = 0;
    const auto timer = runLoop.repeating(Seconds(0.02), TimerPrecision::frame, [&] { ++firings; });
    std::this_thread::sleep_for(milliseconds(500));
    ASSERT_TRUE(loop.runUntil([&] { return firings > 0; }));
    EXPECT_EQ(firings, 1);
}

TEST_F(QtRunLoopTest, OneShotFiresOnceAndNotMuchEarly) {
    const auto start = MonotonicClock::now();
    int firings = 0;
    Seconds elapsed{0};
    const auto timer = runLoop.oneShot(Seconds(0.2), [&] {
        ++firings;
        elapsed = MonotonicClock::now() - start;
    });
    loop.runFor(milliseconds(700));
    EXPECT_EQ(firings, 1);
    EXPECT_GE(elapsed.count(), 0.18); // coarse: a tenth early at most
}

TEST_F(QtRunLoopTest, OddDelaysFireAtTheNextTurnAndNeverInsideTheCall) {
    for (const double delay :
         {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::infinity()}) {
        bool fired = false;
        const auto timer = runLoop.oneShot(Seconds(delay), [&] { fired = true; });
        EXPECT_FALSE(fired);
        EXPECT_TRUE(loop.runUntil([&] { return fired; })) << delay;
    }
}

TEST_F(QtRunLoopTest, DelaysBeyondACenturyNeverFire) {
    bool fired = false;
    const auto first = runLoop.oneShot(Seconds(std::numeric_limits<double>::infinity()), [&] { fired = true; });
    const auto second = runLoop.oneShot(Seconds(1e300), [&] { fired = true; });
    const auto third = runLoop.repeating(Seconds(1e300), TimerPrecision::coarse, [&] { fired = true; });
    loop.runFor(milliseconds(50));
    EXPECT_FALSE(fired);
}

TEST_F(QtRunLoopTest, DelaysLongerThanQtCanCountAreKept) {
    bool fired = false;
    const auto timer = runLoop.oneShot(std::chrono::days(400), [&] { fired = true; });
    loop.runFor(milliseconds(50));
    EXPECT_FALSE(fired);
}

TEST_F(QtRunLoopTest, ADestroyedTimerDoesNotFire) {
    bool fired = false;
    auto timer = runLoop.oneShot(Seconds(0), [&] { fired = true; });
    timer.reset();
    loop.runFor(milliseconds(50));
    EXPECT_FALSE(fired);
}

TEST_F(QtRunLoopTest, ATimerMayBeDestroyedInItsOwnCallback) {
    int firings = 0;
    std::unique_ptr<Timer> timer;
    const std::vector<int> heap(100, 1);
    timer = runLoop.repeating(Seconds(0.001), TimerPrecision::frame, [&, heap] {
        timer.reset();
        firings += heap[50]; // the callback itself is still whole
    });
    loop.runFor(milliseconds(50));
    EXPECT_EQ(firings, 1);
}

TEST_F(QtRunLoopTest, TasksRunInOrderAtALaterTurn) {
    std::vector<int> order;
    runLoop.async([&] { order.push_back(1); });
    runLoop.async([&] { order.push_back(2); });
    EXPECT_TRUE(order.empty());
    EXPECT_TRUE(loop.runUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_F(QtRunLoopTest, AWatchTellsOfBytesAndOfTheEndAndMayBeDestroyedInItsCallback) {
    std::array<int, 2> ends{-1, -1};
    ASSERT_EQ(pipe(ends.data()), 0);
    int calls = 0;
    std::unique_ptr<RunLoopSource> watch = runLoop.watch(ends[0], [&] {
        ++calls;
        char byte = 0;
        if (read(ends[0], &byte, 1) == 0) {
            watch.reset();
        }
    });
    loop.runFor(milliseconds(20));
    EXPECT_EQ(calls, 0);
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    EXPECT_TRUE(loop.runUntil([&] { return calls == 1; }));
    close(ends[1]);
    EXPECT_TRUE(loop.runUntil([&] { return watch == nullptr; }));
    loop.runFor(milliseconds(20));
    EXPECT_EQ(calls, 2);
    close(ends[0]);
}

} // namespace
} // namespace nocta
