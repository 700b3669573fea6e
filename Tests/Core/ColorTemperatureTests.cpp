#include "Core/ColorTemperature.h"

#include "Core/Preset.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr std::int64_t lowestInt = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t highestInt = std::numeric_limits<std::int64_t>::max();

Preset presetOf(std::int64_t kelvin) {
    Preset preset;
    preset.colorTemp = kelvin;
    return preset;
}

/// The curve stated a second time, in hundreds of kelvin and extended precision.
struct ReferenceCurve {
    static long double unit(long double value) { return value < 0 ? 0 : (value > 1 ? 1 : value); }

    static long double hundreds(std::int64_t kelvin) {
        return kelvin <= 1000 ? 10.0L : (kelvin >= 40000 ? 400.0L : static_cast<long double>(kelvin) / 100);
    }

    static long double red(std::int64_t kelvin) {
        const long double t = hundreds(kelvin);
        return t <= 66 ? 1 : unit(329.698727446L / 255 * std::exp(-0.1332047592L * std::log(t - 60)));
    }

    static long double green(std::int64_t kelvin) {
        const long double t = hundreds(kelvin);
        return unit(t <= 66 ? 99.4708025861L / 255 * std::log(t) - 161.1195681661L / 255
                            : 288.1221695283L / 255 * std::exp(-0.0755148492L * std::log(t - 60)));
    }

    static long double blue(std::int64_t kelvin) {
        const long double t = hundreds(kelvin);
        if (t >= 66) {
            return 1;
        }
        return t <= 19 ? 0 : unit(138.5177312231L / 255 * std::log(t - 10) - 305.0447927307L / 255);
    }
};

void expectNear(const RGBFactors& factors, double r, double g, double b) {
    // The published values have four decimals.
    constexpr double halfOfLastDecimal = 0.00005;
    EXPECT_NEAR(factors.r, r, halfOfLastDecimal);
    EXPECT_NEAR(factors.g, g, halfOfLastDecimal);
    EXPECT_NEAR(factors.b, b, halfOfLastDecimal);
}

bool isUnit(double value) {
    return value >= 0.0 && value <= 1.0; // false for what is no number
}

bool haveEqualBits(double left, double right) {
    return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

} // namespace

TEST(ColorTemperature, ReferenceValuesAreMet) {
    expectNear(kelvinToRGB(1000), 1.0, 0.2664, 0.0);
    expectNear(kelvinToRGB(1900), 1.0, 0.5167, 0.0);
    expectNear(kelvinToRGB(2700), 1.0, 0.6538, 0.3428);
    expectNear(kelvinToRGB(3400), 1.0, 0.7437, 0.5301);
    expectNear(kelvinToRGB(4000), 1.0, 0.8071, 0.6513);
    expectNear(kelvinToRGB(5000), 1.0, 0.8942, 0.8076);
    expectNear(kelvinToRGB(10000), 0.7910, 0.8552, 1.0);
    expectNear(kelvinToRGB(40000), 0.5948, 0.7276, 1.0);
}

TEST(ColorTemperature, NeutralKeepsAFaintWarmth) {
    const RGBFactors factors = kelvinToRGB(neutralTemperature);
    EXPECT_EQ(neutralTemperature, 6500);
    EXPECT_EQ(factors.r, 1.0);
    expectNear(factors, 1.0, 0.9965, 0.9806);
}

TEST(ColorTemperature, SixtySixHundredKelvinIsExactlyWhite) {
    EXPECT_EQ(kelvinToRGB(6600), (RGBFactors{1.0, 1.0, 1.0}));
}

TEST(ColorTemperature, GreenTakesTheLogarithmAtSixtySixHundredKelvinAndThePowerAbove) {
    // The power branch would give about 0.987 at 6600 K: the two do not meet.
    EXPECT_EQ(kelvinToRGB(6600).g, 1.0);
    EXPECT_LT(kelvinToRGB(6601).g, 0.99);
}

TEST(ColorTemperature, BlueTakesTheLogarithmBelowSixtySixHundredKelvinAndOneFromThere) {
    EXPECT_LT(kelvinToRGB(6599).b, 0.995);
    EXPECT_EQ(kelvinToRGB(6600).b, 1.0);
    EXPECT_EQ(kelvinToRGB(6601).b, 1.0);
}

TEST(ColorTemperature, BlueIsExactlyZeroUpToNineteenHundredKelvin) {
    for (std::int64_t kelvin = 1000; kelvin <= 1900; ++kelvin) {
        ASSERT_EQ(kelvinToRGB(kelvin).b, 0.0) << kelvin;
    }
    EXPECT_GT(kelvinToRGB(1910).b, 0.0);
}

TEST(ColorTemperature, RedIsExactlyOneUpToSixtySixHundredKelvinAndFallsAfter) {
    for (std::int64_t kelvin = 1000; kelvin <= 6600; ++kelvin) {
        ASSERT_EQ(kelvinToRGB(kelvin).r, 1.0) << kelvin;
    }
    EXPECT_LT(kelvinToRGB(6700).r, 1.0);
}

TEST(ColorTemperature, BelowOneThousandKelvinIsAsOneThousand) {
    const RGBFactors lowest = kelvinToRGB(1000);
    EXPECT_NE(kelvinToRGB(1001), lowest);
    for (const std::int64_t kelvin : {lowestInt, std::int64_t{-6500}, std::int64_t{0}, std::int64_t{999}}) {
        EXPECT_EQ(kelvinToRGB(kelvin), lowest) << kelvin;
    }
}

TEST(ColorTemperature, AboveFortyThousandKelvinIsAsFortyThousandAndBluish) {
    const RGBFactors highest = kelvinToRGB(40000);
    EXPECT_NE(kelvinToRGB(39999), highest);
    EXPECT_LT(highest.r, 1.0);
    EXPECT_LT(highest.g, 1.0);
    EXPECT_EQ(highest.b, 1.0);
    for (const std::int64_t kelvin : {std::int64_t{40001}, std::int64_t{100000}, highestInt}) {
        EXPECT_EQ(kelvinToRGB(kelvin), highest) << kelvin;
    }
}

TEST(ColorTemperature, KelvinsBetweenTheHundredsCount) {
    // An integer division by 100 would make these equal.
    EXPECT_NE(kelvinToRGB(3400), kelvinToRGB(3401));
    EXPECT_NE(kelvinToRGB(9900), kelvinToRGB(9999));
}

TEST(ColorTemperature, EveryKelvinGivesFactorsBetweenZeroAndOne) {
    for (std::int64_t kelvin = -100; kelvin <= 50000; ++kelvin) {
        const RGBFactors factors = kelvinToRGB(kelvin);
        ASSERT_TRUE(isUnit(factors.r) && isUnit(factors.g) && isUnit(factors.b)) << kelvin;
    }
}

TEST(ColorTemperature, EveryKelvinFollowsTheCurveInExtendedPrecision) {
    // A double holds 16 digits; a handful of roundings cost less than one of them.
    constexpr double tolerance = 1e-14;
    for (std::int64_t kelvin = -100; kelvin <= 50000; ++kelvin) {
        const RGBFactors factors = kelvinToRGB(kelvin);
        ASSERT_NEAR(factors.r, static_cast<double>(ReferenceCurve::red(kelvin)), tolerance) << kelvin;
        ASSERT_NEAR(factors.g, static_cast<double>(ReferenceCurve::green(kelvin)), tolerance) << kelvin;
        ASSERT_NEAR(factors.b, static_cast<double>(ReferenceCurve::blue(kelvin)), tolerance) << kelvin;
    }
}

TEST(ColorTemperature, PresetAndEngineAgreeBitForBitAtEveryKelvin) {
    const auto expectAgreement = [](std::int64_t kelvin) {
        const RGBFactors engine = kelvinToRGB(kelvin);
        const auto [r, g, b] = presetOf(kelvin).rgb();
        ASSERT_TRUE(haveEqualBits(engine.r, r) && haveEqualBits(engine.g, g) && haveEqualBits(engine.b, b)) << kelvin;
    };
    for (std::int64_t kelvin = -100; kelvin <= 50000; ++kelvin) {
        ASSERT_NO_FATAL_FAILURE(expectAgreement(kelvin));
    }
    expectAgreement(lowestInt);
    expectAgreement(highestInt);
}

} // namespace nocta
