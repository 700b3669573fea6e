#include "Interface/Bands.h"

#include <limits>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using enum SystemColor;

constexpr auto lowestOfAll = std::numeric_limits<std::int64_t>::min();
constexpr auto highestOfAll = std::numeric_limits<std::int64_t>::max();

TEST(Bands, TheColourOfTheMomentHasFourBandsOfKelvin) {
    EXPECT_EQ(warmColor(highestOfAll), blue);
    EXPECT_EQ(warmColor(5500), blue);
    EXPECT_EQ(warmColor(5499), yellow);
    EXPECT_EQ(warmColor(4000), yellow);
    EXPECT_EQ(warmColor(3999), orange);
    EXPECT_EQ(warmColor(2700), orange);
    EXPECT_EQ(warmColor(2699), red);
    EXPECT_EQ(warmColor(lowestOfAll), red);
}

TEST(Bands, ACardHasFiveBandsOfKelvin) {
    const BandColor paleYellow = Color{.red = 0.9, .green = 0.85, .blue = 0.6};
    const BandColor orangeRed = Color{.red = 1.0, .green = 0.5, .blue = 0.2};
    const BandColor ember = Color{.red = 0.9, .green = 0.3, .blue = 0.1};
    EXPECT_EQ(cardColor(highestOfAll), BandColor(blue));
    EXPECT_EQ(cardColor(6000), BandColor(blue));
    EXPECT_EQ(cardColor(5999), paleYellow);
    EXPECT_EQ(cardColor(4500), paleYellow);
    EXPECT_EQ(cardColor(4499), BandColor(orange));
    EXPECT_EQ(cardColor(3000), BandColor(orange));
    EXPECT_EQ(cardColor(2999), orangeRed);
    EXPECT_EQ(cardColor(2200), orangeRed);
    EXPECT_EQ(cardColor(2199), ember);
    EXPECT_EQ(cardColor(lowestOfAll), ember);
}

TEST(Bands, TheTemperatureFigureHasThreeBandsOfKelvin) {
    EXPECT_EQ(tempColor(highestOfAll), blue);
    EXPECT_EQ(tempColor(5500), blue);
    EXPECT_EQ(tempColor(5499), orange);
    EXPECT_EQ(tempColor(3500), orange);
    EXPECT_EQ(tempColor(3499), red);
    EXPECT_EQ(tempColor(lowestOfAll), red);
}

TEST(Bands, AScoreHasFourColours) {
    EXPECT_EQ(scoreColor(highestOfAll), green);
    EXPECT_EQ(scoreColor(80), green);
    EXPECT_EQ(scoreColor(79), yellow);
    EXPECT_EQ(scoreColor(50), yellow);
    EXPECT_EQ(scoreColor(49), orange);
    EXPECT_EQ(scoreColor(20), orange);
    EXPECT_EQ(scoreColor(19), red);
    EXPECT_EQ(scoreColor(lowestOfAll), red);
}

TEST(Bands, AScoreHasFiveSentences) {
    constexpr std::string_view excellent = "Excellent! Your eyes are well protected today.";
    constexpr std::string_view good = "Good. Filter is active and working.";
    constexpr std::string_view moderate = "Moderate exposure. Consider lowering color temp.";
    constexpr std::string_view high = "High exposure. Time to activate a warmer preset.";
    constexpr std::string_view veryHigh = "Very high exposure. Take a break and enable filtering.";
    EXPECT_EQ(scoreDescription(highestOfAll), excellent);
    EXPECT_EQ(scoreDescription(90), excellent);
    EXPECT_EQ(scoreDescription(89), good);
    EXPECT_EQ(scoreDescription(70), good);
    EXPECT_EQ(scoreDescription(69), moderate);
    EXPECT_EQ(scoreDescription(50), moderate);
    EXPECT_EQ(scoreDescription(49), high);
    EXPECT_EQ(scoreDescription(30), high);
    EXPECT_EQ(scoreDescription(29), veryHigh);
    EXPECT_EQ(scoreDescription(lowestOfAll), veryHigh);
}

TEST(Bands, ColourAndSentenceOfAScoreChangeAtDifferentScores) {
    EXPECT_EQ(scoreColor(90), green);
    EXPECT_EQ(scoreColor(89), green);
    EXPECT_EQ(scoreColor(79), yellow);
    EXPECT_EQ(scoreDescription(79), scoreDescription(89));
    EXPECT_NE(scoreDescription(89), scoreDescription(90));
}

} // namespace
} // namespace nocta
