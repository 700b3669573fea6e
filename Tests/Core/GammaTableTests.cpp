#include "Core/GammaTable.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

float statedEntry(std::size_t i, double factor, double brightness) {
    const float level = static_cast<float>(i) / 255.0F;
    return static_cast<float>(std::pow(static_cast<double>(level), 1.0) * factor * brightness);
}

bool haveEqualBits(float left, float right) {
    return std::bit_cast<std::uint32_t>(left) == std::bit_cast<std::uint32_t>(right);
}

bool isAsStated(const GammaTable::Channel& channel, double factor, double brightness) {
    for (std::size_t i = 0; i < channel.size(); ++i) {
        if (!haveEqualBits(channel[i], statedEntry(i, factor, brightness))) {
            return false;
        }
    }
    return true;
}

double arbitraryFactor() {
    return *rc::gen::map(rc::gen::inRange<std::int64_t>(0, 2'000'000'000),
                         [](std::int64_t billionths) { return static_cast<double>(billionths) / 1e9; });
}

} // namespace

TEST(GammaTable, HasTwoHundredAndFiftySixEntriesAChannel) {
    EXPECT_EQ(GammaTable::size, 256U);
    EXPECT_EQ(GammaTable().red.size(), 256U);
    EXPECT_EQ(GammaTable().green.size(), 256U);
    EXPECT_EQ(GammaTable().blue.size(), 256U);
}

TEST(GammaTable, FullFactorsGiveTheIdentityRamp) {
    const GammaTable table = GammaTable::build(1.0, 1.0, 1.0, 1.0);
    for (std::size_t i = 0; i < GammaTable::size; ++i) {
        const float level = static_cast<float>(i) / 255.0F;
        ASSERT_EQ(table.red[i], level) << i;
        ASSERT_EQ(table.green[i], level) << i;
        ASSERT_EQ(table.blue[i], level) << i;
    }
}

TEST(GammaTable, HalfBrightnessEndsAtOneHalf) {
    const GammaTable table = GammaTable::build(1.0, 1.0, 1.0, 0.5);
    EXPECT_EQ(table.red[255], 0.5F);
    EXPECT_EQ(table.green[255], 0.5F);
    EXPECT_EQ(table.blue[255], 0.5F);
}

TEST(GammaTable, EveryChannelHasItsOwnFactor) {
    const GammaTable table = GammaTable::build(1.0, 0.75, 0.25, 0.5);
    EXPECT_EQ(table.red[255], 0.5F);
    EXPECT_EQ(table.green[255], 0.375F);
    EXPECT_EQ(table.blue[255], 0.125F);
}

TEST(GammaTable, TheRampIsStraight) {
    // 51 of 255 is a fifth of the way. A curve with an exponent would bend away from it.
    const GammaTable table = GammaTable::build(0.9, 0.8, 0.7, 1.0);
    EXPECT_FLOAT_EQ(table.red[51], 0.18F);
    EXPECT_FLOAT_EQ(table.green[51], 0.16F);
    EXPECT_FLOAT_EQ(table.blue[51], 0.14F);
}

TEST(GammaTable, BlackStaysBlackWhateverTheFactors) {
    for (const double factor : {0.0, 0.3, 1.0, 7.5}) {
        const GammaTable table = GammaTable::build(factor, factor, factor, 2.0);
        EXPECT_EQ(table.red[0], 0.0F);
        EXPECT_EQ(table.green[0], 0.0F);
        EXPECT_EQ(table.blue[0], 0.0F);
    }
}

TEST(GammaTable, EntriesOutsideTheUnitPassThrough) {
    const GammaTable table = GammaTable::build(1.0, 2.0, -0.5, 1.5);
    EXPECT_EQ(table.red[255], 1.5F);
    EXPECT_EQ(table.green[255], 3.0F);
    EXPECT_EQ(table.blue[255], -0.75F);
    EXPECT_EQ(table.red[254], statedEntry(254, 1.0, 1.5));
}

TEST(GammaTable, WhatIsNoNumberPassesThrough) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const GammaTable table = GammaTable::build(1.0, 0.5, 0.0, infinity);
    EXPECT_EQ(table.red[255], std::numeric_limits<float>::infinity());
    EXPECT_EQ(table.green[1], std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(table.blue[255]));
}

TEST(GammaTable, LevelsAreRoundedToSinglePrecisionBeforeTheyAreScaled) {
    // Scaling by 3 tells the two orders of rounding apart in some of the entries.
    const GammaTable table = GammaTable::build(3.0, 1.0, 1.0, 1.0);
    int apart = 0;
    for (std::size_t i = 0; i < GammaTable::size; ++i) {
        ASSERT_EQ(table.red[i], static_cast<float>(static_cast<double>(static_cast<float>(i) / 255.0F) * 3.0)) << i;
        apart += table.red[i] != static_cast<float>(static_cast<double>(i) / 255.0 * 3.0) ? 1 : 0;
    }
    EXPECT_GT(apart, 0);
}

RC_GTEST_PROP(GammaTableProperty, EveryEntryIsBitForBitAsStated, ()) {
    const double r = arbitraryFactor();
    const double g = arbitraryFactor();
    const double b = arbitraryFactor();
    const double brightness = arbitraryFactor();
    const GammaTable table = GammaTable::build(r, g, b, brightness);
    RC_ASSERT(isAsStated(table.red, r, brightness));
    RC_ASSERT(isAsStated(table.green, g, brightness));
    RC_ASSERT(isAsStated(table.blue, b, brightness));
}

} // namespace nocta
