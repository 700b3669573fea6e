#include "Platform/Gamma/GammaRamp.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

std::vector<float> straightTable(float top) {
    std::vector<float> table(256);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<float>(i) / 255.0F * top;
    }
    return table;
}

std::vector<std::uint16_t> rampOf(const std::vector<float>& table, std::size_t size) {
    std::vector<std::uint16_t> ramp(size);
    fillRamp(table, ramp);
    return ramp;
}

TEST(GammaRamp, StraightTableOfItsOwnSizeGivesTheStraightRamp) {
    const auto ramp = rampOf(straightTable(1.0F), 256);
    for (std::size_t i = 0; i < ramp.size(); ++i) {
        EXPECT_EQ(ramp[i], i * 257) << i; // 65535 / 255 = 257
    }
}

TEST(GammaRamp, StraightTableStaysStraightInEverySize) {
    for (const std::size_t size : {2U, 16U, 255U, 257U, 1024U, 4096U, 65535U}) {
        const auto ramp = rampOf(straightTable(1.0F), size);
        for (std::size_t i = 0; i < size; ++i) {
            const double exact = 65535.0 * static_cast<double>(i) / static_cast<double>(size - 1);
            EXPECT_NEAR(ramp[i], exact, 0.51) << "entry " << i << " of " << size;
        }
        EXPECT_EQ(ramp.front(), 0);
        EXPECT_EQ(ramp.back(), 65535);
    }
}

TEST(GammaRamp, EntriesBetweenTwoOfTheTableLieOnTheLineBetweenThem) {
    // Three entries onto five: the second and fourth are the halves.
    EXPECT_EQ(rampOf({0.0F, 0.5F, 1.0F}, 5), (std::vector<std::uint16_t>{0, 16384, 32768, 49151, 65535}));
    EXPECT_EQ(rampOf({0.0F, 1.0F, 0.0F}, 5), (std::vector<std::uint16_t>{0, 32768, 65535, 32768, 0}));
}

TEST(GammaRamp, FractionsAreRoundedToTheNearestLevel) {
    EXPECT_EQ(rampOf({0.0F, 0.8F}, 2).back(), 52428);    // exact
    EXPECT_EQ(rampOf({0.0F, 0.5F}, 2).back(), 32768);    // 32767.5
    EXPECT_EQ(rampOf({0.0F, 0.4999F}, 2).back(), 32761); // 32760.9
}

TEST(GammaRamp, WhatIsOutsideTheRangeIsClampedAndNoNumberIsBlack) {
    const float infinite = std::numeric_limits<float>::infinity();
    const float none = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(rampOf({-1.0F, 1.5F, infinite, -infinite, none}, 5), (std::vector<std::uint16_t>{0, 65535, 65535, 0, 0}));
}

TEST(GammaRamp, OneEntryAndNoneAreFilledWithoutHarm) {
    EXPECT_EQ(rampOf(straightTable(1.0F), 1).size(), 1U);
    EXPECT_TRUE(rampOf(straightTable(1.0F), 0).empty());
    EXPECT_EQ(rampOf({0.25F}, 3), (std::vector<std::uint16_t>{16384, 16384, 16384}));
}

RC_GTEST_PROP(GammaRamp, RisingTablesGiveRisingRampsWithTheSameEnds, ()) {
    const auto size = *rc::gen::inRange<std::size_t>(2, 5000);
    auto table = *rc::gen::container<std::vector<float>>(
        *rc::gen::inRange<std::size_t>(2, 300),
        rc::gen::map(rc::gen::inRange(0, 100000), [](int level) { return static_cast<float>(level) / 100000.0F; }));
    std::sort(table.begin(), table.end());
    const auto ramp = rampOf(table, size);
    RC_ASSERT(std::is_sorted(ramp.begin(), ramp.end()));
    RC_ASSERT(ramp.front() == std::lround(static_cast<double>(table.front()) * 65535.0));
    RC_ASSERT(ramp.back() == std::lround(static_cast<double>(table.back()) * 65535.0));
}

} // namespace
} // namespace nocta
