#include "Interface/StatusBar/PopoverPlacement.h"

#include <array>
#include <cmath>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

constexpr Size size{.width = 340, .height = 560};
constexpr double gap = 6;
constexpr double margin = 8;

PopoverPlacement place(const PopoverSurroundings& surroundings) {
    return placePopover(surroundings, size, gap, margin);
}

/// A screen of 1280 x 800 at the desktop's origin with a panel of 30 pixels.
constexpr Rectangle belowTopPanel{.x = 0, .y = 30, .width = 1280, .height = 770};
constexpr Rectangle aboveBottomPanel{.x = 0, .y = 0, .width = 1280, .height = 770};
constexpr Rectangle besideLeftPanel{.x = 30, .y = 0, .width = 1250, .height = 800};
constexpr Rectangle besideRightPanel{.x = 0, .y = 0, .width = 1250, .height = 800};

TEST(PopoverPlacement, HangsBelowAnItemInATopPanel) {
    const auto placement =
        place({.workArea = belowTopPanel, .anchor = Rectangle{.x = 600, .y = 4, .width = 22, .height = 22}});
    EXPECT_EQ(placement.body, (Rectangle{.x = 611 - 170, .y = 36, .width = 340, .height = 560}));
    EXPECT_EQ(placement.facing, Side::top);
    EXPECT_EQ(placement.pointer, 170);
}

TEST(PopoverPlacement, StandsAboveAnItemInABottomPanel) {
    const auto placement =
        place({.workArea = aboveBottomPanel, .anchor = Rectangle{.x = 600, .y = 774, .width = 22, .height = 22}});
    EXPECT_EQ(placement.body.y, 770 - 6 - 560);
    EXPECT_EQ(placement.facing, Side::bottom);
}

TEST(PopoverPlacement, StandsBesideAnItemInAnUprightPanel) {
    const auto left =
        place({.workArea = besideLeftPanel, .anchor = Rectangle{.x = 4, .y = 389, .width = 22, .height = 22}});
    EXPECT_EQ(left.body, (Rectangle{.x = 36, .y = 120, .width = 340, .height = 560}));
    EXPECT_EQ(left.facing, Side::left);
    EXPECT_EQ(left.pointer, 280);
    const auto right =
        place({.workArea = besideRightPanel, .anchor = Rectangle{.x = 1254, .y = 780, .width = 22, .height = 20}});
    EXPECT_EQ(right.body, (Rectangle{.x = 1250 - 6 - 340, .y = 800 - 8 - 560, .width = 340, .height = 560}));
    EXPECT_EQ(right.facing, Side::right);
    EXPECT_EQ(right.pointer, 790 - 232);
}

TEST(PopoverPlacement, AtTheEndOfAPanelItStaysOnTheScreenAndPointsAtTheItem) {
    const auto placement =
        place({.workArea = belowTopPanel, .anchor = Rectangle{.x = 1254, .y = 4, .width = 22, .height = 22}});
    EXPECT_EQ(placement.body.x, 1280 - 8 - 340);
    EXPECT_EQ(placement.pointer, 1265 - 932);
}

TEST(PopoverPlacement, AClickWithoutTheItemsExtentIsEnough) {
    const auto placement = place({.workArea = belowTopPanel, .anchor = Rectangle{.x = 700, .y = 12}});
    EXPECT_EQ(placement.body.y, 36) << "below the panel, not below the click";
    EXPECT_EQ(placement.body.x, 700 - 170);
}

TEST(PopoverPlacement, BesideAPanelThatReservesNoRoomItFitsTheScreen) {
    constexpr Rectangle all{.x = 0, .y = 0, .width = 1280, .height = 800};
    const auto top = place({.workArea = all, .anchor = Rectangle{.x = 600, .y = 4, .width = 22, .height = 22}});
    EXPECT_EQ(top.facing, Side::top);
    EXPECT_EQ(top.body.y, 26 + 6);
    const auto low = place({.workArea = all, .anchor = Rectangle{.x = 600, .y = 774, .width = 22, .height = 22}});
    EXPECT_EQ(low.facing, Side::bottom);
    EXPECT_EQ(low.body.y, 774 - 6 - 560);
}

TEST(PopoverPlacement, WithoutAnItemItIsInTheCornerBesideThePanel) {
    const auto top = place({.workArea = belowTopPanel, .anchor = {}, .panelSide = Side::top});
    EXPECT_EQ(top.body, (Rectangle{.x = 1280 - 8 - 340, .y = 36, .width = 340, .height = 560}));
    EXPECT_EQ(top.pointer, std::nullopt);
    const auto low = place({.workArea = aboveBottomPanel, .anchor = {}, .panelSide = Side::bottom});
    EXPECT_EQ(low.body, (Rectangle{.x = 1280 - 8 - 340, .y = 204, .width = 340, .height = 560}));
    const auto left = place({.workArea = besideLeftPanel, .anchor = {}, .panelSide = Side::left});
    EXPECT_EQ(left.body, (Rectangle{.x = 36, .y = 232, .width = 340, .height = 560}));
    const auto right = place({.workArea = besideRightPanel, .anchor = {}, .panelSide = Side::right});
    EXPECT_EQ(right.body, (Rectangle{.x = 904, .y = 232, .width = 340, .height = 560}));
}

TEST(PopoverPlacement, OnASecondScreenItStaysThere) {
    const auto placement = place({.workArea = {.x = 1280, .y = 100, .width = 1024, .height = 738},
                                  .anchor = Rectangle{.x = 1300, .y = 845, .width = 22, .height = 22}});
    EXPECT_EQ(placement.body.x, 1288);
    EXPECT_EQ(placement.body.y, 838 - 6 - 560);
}

RC_GTEST_PROP(PopoverPlacementProperty, NeverLeavesAWorkAreaThatHasRoom, ()) {
    const Rectangle area{.x = *rc::gen::inRange<int>(-2000, 2000) * 1.0,
                         .y = *rc::gen::inRange<int>(-2000, 2000) * 1.0,
                         .width = *rc::gen::inRange<int>(360, 4000) * 1.0,
                         .height = *rc::gen::inRange<int>(580, 4000) * 1.0};
    std::optional<Rectangle> anchor;
    if (*rc::gen::arbitrary<bool>()) {
        const auto extent = *rc::gen::inRange<int>(0, 64) * 1.0;
        anchor = Rectangle{.x = area.x + *rc::gen::inRange<int>(-100, static_cast<int>(area.width) + 100),
                           .y = area.y + *rc::gen::inRange<int>(-100, static_cast<int>(area.height) + 100),
                           .width = extent,
                           .height = extent};
    }
    const auto side = *rc::gen::element(Side::top, Side::bottom, Side::left, Side::right);
    const auto placement = place({.workArea = area, .anchor = anchor, .panelSide = side});
    RC_ASSERT(placement.body.x >= area.x);
    RC_ASSERT(placement.body.y >= area.y);
    RC_ASSERT(placement.body.x + placement.body.width <= area.x + area.width);
    RC_ASSERT(placement.body.y + placement.body.height <= area.y + area.height);
    RC_ASSERT(placement.pointer.has_value() == anchor.has_value());
}

} // namespace
} // namespace nocta
