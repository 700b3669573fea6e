#include "Core/CheckedArithmetic.h"

#include "Core/FatalExit.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

using Limits = std::numeric_limits<std::int64_t>;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double twoTo63 = 9223372036854775808.0;

TEST(CheckedArithmetic, SumsUpToTheEndsOfTheRangeAreExact) {
    EXPECT_EQ(checkedAdd<std::int64_t>(Limits::max() - 1, 1), Limits::max());
    EXPECT_EQ(checkedAdd<std::int64_t>(Limits::min() + 1, -1), Limits::min());
    EXPECT_EQ(checkedAdd<std::int64_t>(Limits::max(), Limits::min()), -1);
    EXPECT_EQ(checkedAdd<std::int32_t>(2147483646, 1), 2147483647);
}

TEST(CheckedArithmetic, SumsBeyondTheRangeAreFatal) {
    EXPECT_FATAL((void)checkedAdd<std::int64_t>(Limits::max(), 1), "Arithmetic overflow in integer addition");
    EXPECT_FATAL((void)checkedAdd<std::int64_t>(Limits::min(), -1), "Arithmetic overflow in integer addition");
    EXPECT_FATAL((void)checkedAdd<std::int32_t>(2147483647, 1), "Arithmetic overflow in integer addition");
}

TEST(CheckedArithmetic, DifferencesUpToTheEndsOfTheRangeAreExact) {
    EXPECT_EQ(checkedSubtract<std::int64_t>(Limits::min() + 1, 1), Limits::min());
    EXPECT_EQ(checkedSubtract<std::int64_t>(-1, Limits::min()), Limits::max());
    EXPECT_EQ(checkedSubtract<std::int64_t>(Limits::min(), Limits::min()), 0);
}

TEST(CheckedArithmetic, DifferencesBeyondTheRangeAreFatal) {
    EXPECT_FATAL((void)checkedSubtract<std::int64_t>(Limits::min(), 1), "Arithmetic overflow in integer subtraction");
    EXPECT_FATAL((void)checkedSubtract<std::int64_t>(0, Limits::min()), "Arithmetic overflow in integer subtraction");
}

TEST(CheckedArithmetic, ProductsUpToTheEndsOfTheRangeAreExact) {
    EXPECT_EQ(checkedMultiply<std::int64_t>(Limits::max(), -1), -Limits::max());
    EXPECT_EQ(checkedMultiply<std::int64_t>(Limits::min() / 2, 2), Limits::min());
    EXPECT_EQ(checkedMultiply<std::int64_t>(3037000499, 3037000499), 9223372030926249001); // the largest square
    EXPECT_EQ(checkedMultiply<std::int64_t>(Limits::min(), 0), 0);
}

TEST(CheckedArithmetic, ProductsBeyondTheRangeAreFatal) {
    EXPECT_FATAL((void)checkedMultiply<std::int64_t>(Limits::min(), -1),
                 "Arithmetic overflow in integer multiplication");
    EXPECT_FATAL((void)checkedMultiply<std::int64_t>(3037000500, 3037000500),
                 "Arithmetic overflow in integer multiplication");
}

TEST(CheckedArithmetic, ConversionTruncatesTowardZero) {
    EXPECT_EQ(checkedInteger(2.9), 2);
    EXPECT_EQ(checkedInteger(-2.9), -2);
    EXPECT_EQ(checkedInteger(0.999), 0);
    EXPECT_EQ(checkedInteger(-0.999), 0);
    EXPECT_EQ(checkedInteger(-0.0), 0);
    EXPECT_EQ(checkedInteger(std::numeric_limits<double>::denorm_min()), 0);
    EXPECT_EQ(checkedInteger(45.0), 45);
}

TEST(CheckedArithmetic, ConversionReachesBothEndsOfTheRange) {
    EXPECT_EQ(checkedInteger(-twoTo63), Limits::min());
    EXPECT_EQ(checkedInteger(std::nextafter(-twoTo63, 0.0)), Limits::min() + 1024);
    EXPECT_EQ(checkedInteger(std::nextafter(twoTo63, 0.0)), 9223372036854774784);
}

TEST(CheckedArithmetic, ConversionBelowTheRangeIsFatal) {
    EXPECT_FATAL((void)checkedInteger(std::nextafter(-twoTo63, -infinity)), belowRange);
    EXPECT_FATAL((void)checkedInteger(std::numeric_limits<double>::lowest()), belowRange);
}

TEST(CheckedArithmetic, ConversionAboveTheRangeIsFatal) {
    // 2^63 itself is one more than the highest integer.
    EXPECT_FATAL((void)checkedInteger(twoTo63), aboveRange);
    EXPECT_FATAL((void)checkedInteger(std::numeric_limits<double>::max()), aboveRange);
}

TEST(CheckedArithmetic, ConversionOfWhatIsNoFiniteNumberIsFatal) {
    EXPECT_FATAL((void)checkedInteger(infinity), notFinite);
    EXPECT_FATAL((void)checkedInteger(-infinity), notFinite);
    EXPECT_FATAL((void)checkedInteger(std::numeric_limits<double>::quiet_NaN()), notFinite);
    EXPECT_FATAL((void)checkedInteger(-std::numeric_limits<double>::quiet_NaN()), notFinite);
}

RC_GTEST_PROP(CheckedArithmeticProperty, WhatFitsIsAsInTwiceTheWidth, (std::int32_t left, std::int32_t right)) {
    const auto wideLeft = static_cast<std::int64_t>(left);
    const auto wideRight = static_cast<std::int64_t>(right);
    RC_ASSERT(checkedAdd(wideLeft, wideRight) == wideLeft + wideRight);
    RC_ASSERT(checkedSubtract(wideLeft, wideRight) == wideLeft - wideRight);
    RC_ASSERT(checkedMultiply(wideLeft, wideRight) == wideLeft * wideRight);
    RC_ASSERT(checkedInteger(static_cast<double>(left)) == wideLeft);
}

} // namespace
} // namespace nocta
