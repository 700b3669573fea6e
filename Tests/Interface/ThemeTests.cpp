#include "Interface/Theme.h"

#include "Core/FreshPlatform.h"
#include "Interface/OffscreenApplication.h"

#include <algorithm>
#include <cmath>

#include <QPalette>

#include <gtest/gtest.h>

namespace nocta {
namespace {

/// A colour as it looks on an opaque one.
QColor over(const QColor& color, const QColor& below) {
    const auto mix = [&](float above, float under) { return above * color.alphaF() + under * (1 - color.alphaF()); };
    return QColor::fromRgbF(mix(color.redF(), below.redF()), mix(color.greenF(), below.greenF()),
                            mix(color.blueF(), below.blueF()));
}

/// Relative luminance, as WCAG 2 defines it.
double luminance(const QColor& color) {
    const auto linear = [](float component) {
        const auto c = static_cast<double>(component);
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& text, const QColor& background) {
    const double one = luminance(over(text, background));
    const double other = luminance(background);
    return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

class ThemeTest : public testing::Test {
  protected:
    test::OffscreenApplication application;
    SimulatedPlatform& world = freshPlatform();
};

TEST_F(ThemeTest, TheColoursHaveAShadeForEachAppearance) {
    const auto expectShades = [this](SystemColor color, const char* light, const char* dark) {
        world.appearance.setColorScheme(ColorScheme::light);
        EXPECT_EQ(Theme::shared().color(color), QColor(light));
        world.appearance.setColorScheme(ColorScheme::dark);
        EXPECT_EQ(Theme::shared().color(color), QColor(dark));
    };
    expectShades(SystemColor::blue, "#007AFF", "#0A84FF");
    expectShades(SystemColor::yellow, "#FFCC00", "#FFD60A");
    expectShades(SystemColor::orange, "#FF9500", "#FF9F0A");
    expectShades(SystemColor::red, "#FF3B30", "#FF453A");
    expectShades(SystemColor::green, "#34C759", "#30D158");
}

TEST_F(ThemeTest, AFixedColourIsTheSameInEachAppearance) {
    const BandColor ember = Color{.red = 0.9, .green = 0.3, .blue = 0.1};
    for (const auto scheme : {ColorScheme::light, ColorScheme::dark}) {
        world.appearance.setColorScheme(scheme);
        EXPECT_EQ(Theme::shared().color(ember), QColor::fromRgbF(0.9F, 0.3F, 0.1F));
    }
}

TEST_F(ThemeTest, LabelsAreBlackOrWhiteAndLessOpaqueTheLessTheyMatter) {
    world.appearance.setColorScheme(ColorScheme::light);
    const Theme& theme = Theme::shared();
    EXPECT_EQ(theme.primary(), QColor::fromRgbF(0, 0, 0, 0.85F));
    EXPECT_EQ(theme.secondary(), QColor::fromRgbF(0, 0, 0, 0.62F));
    EXPECT_EQ(theme.tertiary(), QColor::fromRgbF(0, 0, 0, 0.54F));
    world.appearance.setColorScheme(ColorScheme::dark);
    EXPECT_EQ(theme.primary(), QColor::fromRgbF(1, 1, 1, 0.85F));
    EXPECT_EQ(theme.secondary(), QColor::fromRgbF(1, 1, 1, 0.62F));
    EXPECT_EQ(theme.tertiary(), QColor::fromRgbF(1, 1, 1, 0.54F));
}

TEST_F(ThemeTest, FollowsTheColourSchemeThatTheDesktopPrefers) {
    world.appearance.setColorScheme(ColorScheme::dark);
    Theme& theme = Theme::shared();
    EXPECT_TRUE(theme.isDark());
    int changes = 0;
    QObject::connect(&theme, &Theme::changed, [&changes] { ++changes; });

    world.appearance.setColorScheme(ColorScheme::light);
    EXPECT_FALSE(theme.isDark());
    EXPECT_EQ(changes, 1);
    world.appearance.setColorScheme(ColorScheme::light);
    EXPECT_EQ(changes, 1);
}

TEST_F(ThemeTest, FollowsThePaletteWhereTheDesktopHasNoPreference) {
    Theme& theme = Theme::shared();
    QGuiApplication::setPalette(QPalette(QColor(40, 40, 40)));
    EXPECT_TRUE(theme.isDark());
    QGuiApplication::setPalette(QPalette(QColor(230, 230, 230)));
    EXPECT_FALSE(theme.isDark());

    world.appearance.setColorScheme(ColorScheme::dark);
    QGuiApplication::setPalette(QPalette(QColor(220, 220, 220)));
    EXPECT_TRUE(theme.isDark());
    world.appearance.setColorScheme(std::nullopt);
    EXPECT_FALSE(theme.isDark());
}

TEST_F(ThemeTest, FollowsThePaletteWhereNobodyAnswersForTheDesktop) {
    Platform platform = Platform::current();
    platform.appearance = nullptr;
    Platform::install(platform);
    QGuiApplication::setPalette(QPalette(QColor(40, 40, 40)));
    EXPECT_TRUE(Theme::shared().isDark());
    EXPECT_TRUE(Theme::shared().animates());
}

TEST_F(ThemeTest, StandsStillWhereTheDesktopAsksForIt) {
    Theme& theme = Theme::shared();
    EXPECT_TRUE(theme.animates());
    world.appearance.setReducesMotion(true);
    EXPECT_FALSE(theme.animates());
    world.appearance.setReducesMotion(false);
    EXPECT_TRUE(theme.animates());
}

TEST_F(ThemeTest, TextCanBeReadInBothAppearances) {
    for (const auto scheme : {ColorScheme::light, ColorScheme::dark}) {
        world.appearance.setColorScheme(scheme);
        const Theme& theme = Theme::shared();
        const QColor bar = over(theme.bar(), theme.background());
        for (const QColor& below : {theme.background(), bar, over(theme.hover(), bar)}) {
            EXPECT_GE(contrast(theme.primary(), below), 4.5);
            EXPECT_GE(contrast(theme.secondary(), below), 4.5);
        }
        EXPECT_GE(contrast(theme.tertiary(), bar), 4.5);
        EXPECT_GE(contrast(theme.primary(), over(theme.trough(), theme.background())), 4.5);
        EXPECT_GE(contrast(theme.primary(), theme.raised()), 4.5);
        EXPECT_GE(contrast(theme.primary(), theme.button()), 4.5);
        // What is no text, but must be found: 3:1.
        EXPECT_GE(contrast(theme.focusRing(), theme.background()), 3.0);
    }
}

TEST_F(ThemeTest, TextStylesFollowTheDesktopsTypeface) {
    EXPECT_EQ(Theme::headline().pixelSize(), 14);
    EXPECT_EQ(Theme::headline().weight(), QFont::DemiBold);
    EXPECT_EQ(Theme::body().pixelSize(), 13);
    EXPECT_EQ(Theme::subheadline().pixelSize(), 12);
    EXPECT_EQ(Theme::caption().pixelSize(), 11);
    EXPECT_EQ(Theme::scoreFigure().pixelSize(), 28);
    EXPECT_EQ(Theme::scoreFigure().weight(), QFont::Bold);
    EXPECT_EQ(Theme::tallyFigure().pixelSize(), 22);
    EXPECT_EQ(Theme::tallyFigure().weight(), QFont::Bold);
    EXPECT_EQ(Theme::statFigure().pixelSize(), 15);
    EXPECT_EQ(Theme::statFigure().weight(), QFont::DemiBold);
    EXPECT_EQ(Theme::statLabel().pixelSize(), 10);
    EXPECT_EQ(Theme::segmentLabel().pixelSize(), 8);
    EXPECT_EQ(Theme::segmentLabel().weight(), QFont::Medium);

    Theme& theme = Theme::shared();
    int changes = 0;
    QObject::connect(&theme, &Theme::fontsChanged, [&changes] { ++changes; });
    QFont other = QGuiApplication::font();
    other.setFamily("Some other family");
    QGuiApplication::setFont(other);
    EXPECT_EQ(Theme::caption().family(), "Some other family");
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace nocta
