#include "Platform/Posix/TerminationSignals.h"

#include "Platform/Qt/QtRunLoop.h"
#include "QtLoop.h"

#include <csignal>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class TerminationSignalsTest : public testing::TestWithParam<int> {};

TEST_P(TerminationSignalsTest, CallsFromTheRunLoopAndNotFromTheHandler) {
    test::QtLoop loop;
    QtRunLoop runLoop;
    int calls = 0;
    const TerminationSignals signalsToCalls(runLoop, [&] { ++calls; });
    raise(GetParam());
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(loop.runUntil([&] { return calls == 1; }));
}

INSTANTIATE_TEST_SUITE_P(Each, TerminationSignalsTest, testing::Values(SIGTERM, SIGINT, SIGHUP));

} // namespace
} // namespace nocta
