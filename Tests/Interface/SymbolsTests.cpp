#include "Interface/Symbols.h"

#include "Core/Preset.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <string>

#include <QPainter>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr std::array<std::string_view, 18> names{"slider.horizontal.3",
                                                 "clock",
                                                 "eye",
                                                 "chart.bar",
                                                 "sun.max",
                                                 "brain.head.profile",
                                                 "sunset",
                                                 "moon",
                                                 "zzz",
                                                 "film",
                                                 "timer",
                                                 "clock.fill",
                                                 "eye.fill",
                                                 "forward.fill",
                                                 "thermometer.medium",
                                                 "eye.rest",
                                                 "chevron.up",
                                                 "chevron.down"};

int inkOf(const QImage& image) {
    int sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            sum += image.pixelColor(x, y).alpha();
        }
    }
    return sum;
}

bool touchesTheEdge(const QImage& image) {
    const int last = image.width() - 1;
    for (int i = 0; i <= last; ++i) {
        for (const QPoint& point : {QPoint(i, 0), QPoint(i, last), QPoint(0, i), QPoint(last, i)}) {
            if (image.pixelColor(point).alpha() != 0) {
                return true;
            }
        }
    }
    return false;
}

TEST(Symbols, EveryPresetHasItsOwn) {
    for (const Preset& preset : Preset::builtIn) {
        EXPECT_TRUE(hasSymbol(preset.icon)) << preset.icon;
    }
}

TEST(Symbols, AllAreDifferentAndStayOnTheirGrid) {
    std::set<std::string> pictures;
    for (const auto name : names) {
        const QImage image = renderSymbol(name, Qt::black, 96);
        EXPECT_GT(inkOf(image), 0) << name;
        EXPECT_FALSE(touchesTheEdge(image)) << name;
        pictures.emplace(image.constBits(), std::next(image.constBits(), image.sizeInBytes()));
    }
    EXPECT_EQ(pictures.size(), names.size());
}

TEST(Symbols, UnknownNamesDrawNothing) {
    for (const char* name : {"", "Eye", "eye.", "sun.min"}) {
        EXPECT_FALSE(hasSymbol(name)) << name;
        EXPECT_EQ(inkOf(renderSymbol(name, Qt::black, 32)), 0) << name;
    }
}

TEST(Symbols, HaveTheColourThatIsAskedFor) {
    const QColor color(255, 149, 0);
    for (const auto name : names) {
        const QImage image = renderSymbol(name, color, 240);
        int opaque = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() == 255) {
                    ++opaque;
                    EXPECT_EQ(pixel.rgb(), color.rgb()) << name << " at " << x << ", " << y;
                }
            }
        }
        EXPECT_GT(opaque, 0) << name;
    }
}

TEST(Symbols, ATranslucentColourIsNowhereLaidTwice) {
    for (const auto name : names) {
        const QImage image = renderSymbol(name, QColor(0, 0, 0, 128), 240);
        int most = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                most = std::max(most, image.pixelColor(x, y).alpha());
            }
        }
        EXPECT_EQ(most, 128) << name;
    }
}

TEST(Symbols, AreSharpInEverySizeOfAPanel) {
    // A pupil in a ring in an eye: from the middle to the right there is ink, a gap, ink, and nothing.
    for (const int pixels : {16, 22, 24, 32, 44, 48, 96}) {
        const QImage image = renderSymbol("eye.fill", Qt::black, pixels);
        ASSERT_EQ(image.size(), QSize(pixels, pixels));
        const auto alphaAt = [&](double unitsFromTheMiddle) {
            const int x = static_cast<int>((12 + unitsFromTheMiddle) * pixels / 24);
            return image.pixelColor(x, pixels / 2).alpha();
        };
        EXPECT_GT(alphaAt(1), 200) << pixels;
        EXPECT_LT(alphaAt(3.6), 150) << pixels;
        EXPECT_GT(alphaAt(6.5), 200) << pixels;
    }
}

TEST(Symbols, PaintIntoTheMiddleAndLeaveThePainterAsItWas) {
    QImage image(80, 40, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const QTransform before = painter.transform();
    paintSymbol(painter, "clock.fill", QRectF(0, 0, 80, 40), Qt::black);
    EXPECT_EQ(painter.transform(), before);
    EXPECT_FALSE(painter.testRenderHint(QPainter::Antialiasing));
    painter.end();
    EXPECT_EQ(image.pixelColor(15, 20).alpha(), 0);
    EXPECT_EQ(image.pixelColor(64, 20).alpha(), 0);
    EXPECT_EQ(image.pixelColor(30, 20).alpha(), 255);
    EXPECT_EQ(image.pixelColor(50, 20).alpha(), 255);
}

} // namespace
} // namespace nocta
