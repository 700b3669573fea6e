#include "Platform/Posix/KernelSystemEvents.h"

#include "Platform/Qt/QtRunLoop.h"
#include "QtLoop.h"
#include "RecordedSystemEvents.h"
#include "Support/MachineClock.h"

#include <cerrno>
#include <fstream>
#include <optional>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

namespace nocta {
namespace {

using test::setMachineClock;

/// Moves this process to where the machine has been suspended `seconds` longer since it was started. Every process has
/// only one thread, and may, where it may set the clock.
void pretendSuspend(int seconds) {
    ASSERT_EQ(unshare(CLONE_NEWTIME), 0);
    std::ofstream("/proc/self/timens_offsets") << "boottime " << seconds << " 0\n";
    const int descriptor = open("/proc/self/ns/time_for_children", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(setns(descriptor, CLONE_NEWTIME), 0) << errno;
    close(descriptor);
}

/// Only the administrator can let happen what is told here, in a container only one that is given the clock.
class KernelSystemEventsTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!setMachineClock()) {
            GTEST_SKIP() << "this user may not set the clock";
        }
        setMachineClock();
        events.emplace(runLoop);
        events->setDelegate(&told);
    }

    test::QtLoop loop;
    QtRunLoop runLoop;
    test::RecordedSystemEvents told;
    std::optional<KernelSystemEvents> events;
};

TEST_F(KernelSystemEventsTest, TellsEveryTimeTheClockIsSetForwardsAndBackwards) {
    for (int count = 0; count < 4; ++count) {
        told.clockChanges = 0;
        setMachineClock();
        EXPECT_TRUE(loop.runUntil([this] { return told.clockChanges > 0; })) << count;
    }
    EXPECT_TRUE(told.wakes.empty());
}

TEST_F(KernelSystemEventsTest, TellsWithTheClockHowLongTheMachineWasSuspended) {
    pretendSuspend(3600);
    setMachineClock();
    ASSERT_TRUE(loop.runUntil([this] { return told.clockChanges > 0; }));
    ASSERT_EQ(told.wakes.size(), 1U);
    EXPECT_NEAR(told.wakes.front().count(), 3600, 0.1);
    told.clockChanges = 0;
    setMachineClock();
    ASSERT_TRUE(loop.runUntil([this] { return told.clockChanges > 0; }));
    EXPECT_EQ(told.wakes.size(), 1U) << "told again";
}

TEST_F(KernelSystemEventsTest, TellsNobodyWithoutADelegateAndTheNextOneOfNothingThatWas) {
    events->setDelegate(nullptr);
    pretendSuspend(3600);
    setMachineClock();
    loop.runFor(std::chrono::milliseconds(50));
    events->setDelegate(&told);
    setMachineClock();
    ASSERT_TRUE(loop.runUntil([this] { return told.clockChanges > 0; }));
    EXPECT_TRUE(told.wakes.empty());
}

TEST_F(KernelSystemEventsTest, TellsNothingAfterItsEnd) {
    setMachineClock();
    events.reset();
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(told.clockChanges, 0);
}

TEST_F(KernelSystemEventsTest, ASuspendIsMeasuredOnceAndNeverNegative) {
    SuspendMeter meter;
    EXPECT_NEAR(meter.take().count(), 0, 0.1);
    pretendSuspend(3600);
    EXPECT_NEAR(meter.take().count(), 3600, 0.1);
    EXPECT_NEAR(meter.take().count(), 0, 0.1);
    pretendSuspend(0);
    EXPECT_EQ(meter.take(), Seconds::zero());
}

} // namespace
} // namespace nocta
