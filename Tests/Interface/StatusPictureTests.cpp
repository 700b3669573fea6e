#include "Interface/StatusBar/StatusPicture.h"

#include "OffscreenApplication.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr std::uint32_t orange = 0xFFFF9F0A;
constexpr std::array<std::int32_t, 8> sizes{16, 22, 24, 32, 44, 48, 64, 96};

class StatusPicture : public testing::Test {
  protected:
    static Raster paint(const std::string& caption, std::int32_t size) {
        return paintStatusPicture({.symbolName = "eye.fill",
                                   .accessibilityDescription = "Nocta",
                                   .color = {.red = 1, .green = 0x9F / 255.0, .blue = 0x0A / 255.0}},
                                  caption, size);
    }

    static std::uint32_t at(const Raster& raster, std::int32_t x, std::int32_t y) {
        return raster.pixels.at(static_cast<std::size_t>(y) * static_cast<std::size_t>(raster.size) +
                                static_cast<std::size_t>(x));
    }

    /// Pixels of exactly the tint in these rows.
    static int tinted(const Raster& raster, std::int32_t from, std::int32_t to) {
        int count = 0;
        for (auto y = from; y < to; ++y) {
            for (std::int32_t x = 0; x < raster.size; ++x) {
                count += at(raster, x, y) == orange ? 1 : 0;
            }
        }
        return count;
    }

    /// The first and the last row in which anything of the tint is.
    static std::pair<std::int32_t, std::int32_t> tintedRows(const Raster& raster) {
        std::pair<std::int32_t, std::int32_t> rows{raster.size, -1};
        for (std::int32_t y = 0; y < raster.size; ++y) {
            if (tinted(raster, y, y + 1) > 0) {
                rows.first = std::min(rows.first, y);
                rows.second = y;
            }
        }
        return rows;
    }

    static double luminance(double red, double green, double blue) {
        const auto linear = [](double value) {
            return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(red) + 0.7152 * linear(green) + 0.0722 * linear(blue);
    }

    test::OffscreenApplication application;
};

TEST_F(StatusPicture, IsTheTintedEyeInTheMiddleAtEverySizeOfPanels) {
    for (const auto size : sizes) {
        const auto raster = paint("", size);
        EXPECT_EQ(raster.size, size);
        ASSERT_EQ(raster.pixels.size(), static_cast<std::size_t>(size * size));
        EXPECT_EQ(at(raster, size / 2, size / 2), orange) << "the pupil, " << size;
        EXPECT_EQ(at(raster, 0, 0), 0U) << size;
        // An almond of 22 by 15.4 units on a grid of 24 covers about 0.38 of the square; a ring and soft edges are off.
        EXPECT_GT(tinted(raster, 0, size), size * size / 6) << size;
        EXPECT_LT(tinted(raster, 0, size), size * size / 2) << size;
        const auto [top, bottom] = tintedRows(raster);
        EXPECT_NEAR(top, size - 1 - bottom, 1) << size;
    }
}

TEST_F(StatusPicture, HasTheCaptionBelowTheEye) {
    for (const auto size : sizes) {
        const auto raster = paint("87", size);
        const auto [top, bottom] = tintedRows(raster);
        EXPECT_LE(top, size / 5) << size;
        EXPECT_GE(bottom, size - 1 - size / 8) << size;
        // Two digits, each about a quarter of the side wide, of strokes that fill half of it or less.
        EXPECT_GT(tinted(raster, size * 6 / 10, size), size * size / 40) << size;
    }
}

TEST_F(StatusPicture, TheWidestCaptionStaysInsideThePicture) {
    for (const auto size : sizes) {
        const auto raster = paint("100", size);
        for (std::int32_t y = size / 2; y < size; ++y) {
            EXPECT_NE(at(raster, 0, y), orange) << size;
            EXPECT_NE(at(raster, size - 1, y), orange) << size;
        }
        EXPECT_NE(raster, paint("10", size));
    }
}

TEST_F(StatusPicture, IsDrawnForItsSizeAndNotScaled) {
    for (const auto size : {16, 22, 24, 32, 48}) {
        const auto once = paint("87", size);
        const auto twice = paint("87", 2 * size);
        bool isFiner = false;
        for (std::int32_t y = 0; y < 2 * size; ++y) {
            for (std::int32_t x = 0; x < 2 * size; ++x) {
                isFiner = isFiner || at(twice, x, y) != at(twice, x / 2 * 2, y / 2 * 2);
            }
        }
        EXPECT_TRUE(isFiner) << size;
    }
}

TEST_F(StatusPicture, AnOutlineSetsItApartFromALightPanel) {
    for (const auto size : sizes) {
        const auto raster = paint("", size);
        // From outside towards the middle: what lies before the tint is black and partly see-through.
        std::int32_t y = 0;
        double opacity = 0;
        for (; at(raster, size / 2, y) != orange; ++y) {
            opacity = std::max(opacity, (at(raster, size / 2, y) >> 24U) / 255.0);
        }
        const double panel = 0.96;
        const double under = panel * (1 - opacity);
        const double light = luminance(panel, panel, panel) + 0.05;
        EXPECT_GT(light / (luminance(under, under, under) + 0.05), 3) << "the contrast that graphics need, " << size;
    }
}

} // namespace
} // namespace nocta
