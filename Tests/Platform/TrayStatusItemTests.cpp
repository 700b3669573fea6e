#include "Platform/X11/TrayStatusItem.h"

#include "Platform/Qt/QtRunLoop.h"
#include "QtLoop.h"
#include "Support/Panel.h"
#include "Support/Process.h"
#include "Support/ScreenPicture.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr std::uint32_t orange = 0xFF9F0A;
constexpr std::uint32_t blue = 0x0A84FF;
/// tint2's, as the panel is set up here.
constexpr std::uint32_t panelColor = 0x23272E;

StatusButton button(std::uint32_t rgb, const std::string& title = {}) {
    const auto component = [rgb](unsigned shift) { return (rgb >> shift & 0xFFU) / 255.0; };
    return {.image = {.symbolName = "eye.fill",
                      .accessibilityDescription = "Nocta",
                      .color = {.red = component(16), .green = component(8), .blue = component(0)}},
            .title = title,
            .imagePosition = ImagePosition::imageLeft,
            .toolTip = {}};
}

/// The tint in the upper half, half transparent white below a caption, else nothing.
Raster paintHalf(const SymbolImage& image, std::string_view caption, std::int32_t size) {
    const auto byte = [](double value) { return static_cast<std::uint32_t>(std::lround(value * 255)); };
    const std::uint32_t color =
        0xFF000000U | byte(image.color.red) << 16U | byte(image.color.green) << 8U | byte(image.color.blue);
    const auto pixels = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    Raster raster{.size = size, .pixels = std::vector<std::uint32_t>(pixels, caption == "87" ? 0x80FFFFFFU : 0U)};
    std::fill_n(raster.pixels.begin(), pixels / 2, color);
    return raster;
}

class TrayStatusItemTest : public testing::Test {
  protected:
    /// The test's own files as well: a panel needs a home and looks for a bus.
    [[nodiscard]] std::unique_ptr<TrayStatusItem> makeItem() {
        auto item = std::make_unique<TrayStatusItem>(runLoop, paintHalf);
        item->setHostObserver([this](bool newHasHost) { hasHost = newHasHost; });
        item->setAction(mouseevent::leftUp | mouseevent::rightUp, [this] { ++clicks; });
        return item;
    }
    bool screenShows(std::uint32_t color, std::size_t atLeast) {
        return loop.runUntil([&] { return test::ScreenPicture().count(color) >= atLeast; }, std::chrono::seconds(30));
    }
    static void click(const test::Point& point, int mouseButton) {
        test::Process({"xdotool", "mousemove", std::to_string(point.x), std::to_string(point.y), "click",
                       std::to_string(mouseButton)})
            .waitForEnd();
    }

    test::XServer xServer;
    /// tint2 shows nothing without one.
    test::Process windowManager{{"openbox"}};
    test::SessionBus bus;
    test::QtLoop loop;
    QtRunLoop runLoop;
    std::optional<bool> hasHost;
    int clicks = 0;
};

constexpr std::size_t upperHalf = std::size_t{22} * 11;

TEST_F(TrayStatusItemTest, HasNoHostWithoutATrayAndNoneWithoutAServer) {
    const auto item = makeItem();
    item->setButton(button(orange));
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == false; }));
    EXPECT_EQ(item->frame(), std::nullopt);
    setenv("DISPLAY", ":nowhere", 1);
    hasHost.reset();
    const auto lost = makeItem();
    lost->setButton(button(orange));
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == false; }));
}

TEST_F(TrayStatusItemTest, AppearsInItsColourOverThePanelsOwnAndFollowsChanges) {
    const test::Panel panel(test::PanelKind::tint2);
    const auto item = makeItem();
    item->setButton(button(orange));
    ASSERT_TRUE(screenShows(orange, upperHalf));
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == true; }));
    const auto place = item->frame().value();
    const test::ScreenPicture screen;
    const auto left = static_cast<int>(place.x);
    const auto top = static_cast<int>(place.y);
    const auto side = static_cast<int>(place.height);
    EXPECT_EQ(screen.at(left, top), orange);
    EXPECT_EQ(screen.at(left, top + side - 1), panelColor) << "where the picture has nothing";
    item->setButton(button(blue, " 87"));
    ASSERT_TRUE(screenShows(blue, upperHalf));
    // Half white over the panel: 145 of 255, where it knows that the colour is multiplied with its opacity, 82 where it
    // multiplies again, as this one does.
    const auto blended = test::ScreenPicture().at(left, top + side - 1) & 0xFFU;
    EXPECT_GT(blended, (panelColor & 0xFFU) + 30);
    EXPECT_LE(blended, 152U);
}

TEST_F(TrayStatusItemTest, HandsOnBothButtonsAndKnowsWhereItIs) {
    const test::Panel panel(test::PanelKind::tint2);
    const auto item = makeItem();
    item->setButton(button(orange));
    ASSERT_TRUE(screenShows(orange, upperHalf));
    const auto place = test::ScreenPicture().middle(orange).value();
    const auto frame = item->frame().value();
    EXPECT_GE(place.x, frame.x);
    EXPECT_LT(place.x, frame.x + frame.width);
    EXPECT_GE(place.y, frame.y);
    EXPECT_LT(place.y, frame.y + frame.height);
    click(place, 1);
    EXPECT_TRUE(loop.runUntil([&] { return clicks == 1; }));
    click(place, 3);
    EXPECT_TRUE(loop.runUntil([&] { return clicks == 2; }));
    click(place, 2);
    loop.runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(clicks, 2);
}

TEST_F(TrayStatusItemTest, DocksInATrayThatAppearsLaterAndAgainAfterItWasKilled) {
    const auto item = makeItem();
    item->setButton(button(orange));
    ASSERT_TRUE(loop.runUntil([&] { return hasHost == false; }));
    test::Panel panel(test::PanelKind::tint2);
    EXPECT_TRUE(screenShows(orange, upperHalf));
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == true; }));
    panel.kill();
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == false; }));
    panel.start();
    EXPECT_TRUE(loop.runUntil([&] { return hasHost == true; }, std::chrono::seconds(30)));
    EXPECT_TRUE(screenShows(orange, upperHalf));
}

TEST_F(TrayStatusItemTest, LeavesTheTrayWhenItEnds) {
    const test::Panel panel(test::PanelKind::tint2);
    auto item = makeItem();
    item->setButton(button(orange));
    ASSERT_TRUE(screenShows(orange, upperHalf));
    item.reset();
    EXPECT_TRUE(loop.runUntil([] { return test::ScreenPicture().count(orange) == 0; }));
}

} // namespace
} // namespace nocta
