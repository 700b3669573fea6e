// Held to the colours that the installed KWin has in its library.

#include "ColoursOfKWin.h"
#include "Core/ColorTemperature.h"
#include "Core/GammaTable.h"
#include "Platform/KWin/NightTint.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::ColoursOfKWin;

/// In kelvin: a third of the steps of 50 K in which KWin moves.
constexpr double tolerance = 50.0 / 3;

/// The white of the table that the filter engine loads.
White loaded(int kelvin, double brightness) {
    const auto factors = kelvinToRGB(kelvin);
    const auto table = GammaTable::build(factors.r, factors.g, factors.b, brightness);
    return {.red = static_cast<double>(table.red.back()),
            .green = static_cast<double>(table.green.back()),
            .blue = static_cast<double>(table.blue.back())};
}

TEST(NightTint, FindsBackWhatKWinShows) {
    const ColoursOfKWin colours;
    for (int kelvin = 1000; kelvin <= 6500; kelvin += 10) {
        for (const double brightness : {0.3, 0.7, 1.0}) {
            const auto white = colours.at(kelvin);
            const auto tint = NightTint::nearest(
                {.red = brightness * white.red, .green = brightness * white.green, .blue = brightness * white.blue});
            EXPECT_NEAR(tint.kelvin, kelvin, tolerance) << brightness;
            EXPECT_NEAR(tint.brightness, brightness, 1e-9);
        }
    }
}

TEST(NightTint, ComesNearestToAnyFilter) {
    const ColoursOfKWin colours;
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::minstd_rand random(seed);
    std::uniform_int_distribution<int> kelvins(1900, 6500);
    std::uniform_real_distribution<double> factors(0.3, 1.0);
    for (int i = 0; i < 500; ++i) {
        const int kelvin = i == 0 ? 1900 : i == 1 ? 6500 : kelvins(random);
        const double brightness = i % 10 == 0 ? 1.0 : factors(random);
        const auto tint = NightTint::nearest(loaded(kelvin, brightness));
        const auto white = loaded(kelvin, 1.0);
        EXPECT_NEAR(tint.kelvin, colours.nearest(white), tolerance) << kelvin << ' ' << brightness;
        // Between what green and what blue alone would ask for.
        const auto [least, most] = std::minmax({colours.nearest(white, 1, 0), colours.nearest(white, 0, 1)});
        EXPECT_GE(tint.kelvin, least - tolerance) << kelvin << ' ' << brightness;
        EXPECT_LE(tint.kelvin, most + tolerance) << kelvin << ' ' << brightness;
        EXPECT_NEAR(tint.brightness, brightness, 1e-6);
    }
}

TEST(NightTint, OfAWhiteThatIsNoneStaysWithinWhatKWinTakes) {
    const double none = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const double red : {none, -1.0, 0.0, 1e-300, 0.5, 1.0, 7.0, infinite}) {
        for (const double green : {none, -infinite, 0.0, 1e-300, 0.5, 1.0, 7.0}) {
            for (const double blue : {none, -1.0, 0.0, 1e-300, 0.5, 1.0, infinite}) {
                const auto tint = NightTint::nearest({.red = red, .green = green, .blue = blue});
                EXPECT_GE(tint.kelvin, NightTint::warmest);
                EXPECT_LE(tint.kelvin, NightTint::neutral);
                EXPECT_GE(tint.brightness, 0.0);
                EXPECT_LE(tint.brightness, 1.0);
            }
        }
    }
    EXPECT_EQ(NightTint::nearest({.red = 0, .green = 0, .blue = 0}).brightness, 0.0);
    EXPECT_EQ(NightTint::nearest({.red = 7, .green = 7, .blue = 7}).brightness, 1.0);
    EXPECT_EQ(NightTint::nearest({.red = 1, .green = 1, .blue = 1}).kelvin, NightTint::neutral);
    EXPECT_EQ(NightTint::nearest({.red = 1, .green = 0, .blue = 0}).kelvin, NightTint::warmest);
}

} // namespace
} // namespace nocta
