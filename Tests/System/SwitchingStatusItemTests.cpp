#include "App/SessionStatusBar.h"

#include "Platform/Simulated/SimulatedStatusBar.h"

#include <memory>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class SwitchingStatusItemTest : public testing::Test {
  protected:
    SimulatedStatusBar preferred;
    SimulatedStatusBar other;
    SessionStatusBar bar{[this] { return preferred.makeStatusItem(); }, [this] { return other.makeStatusItem(); }};
    std::unique_ptr<StatusItem> item = bar.makeStatusItem();
};

TEST_F(SwitchingStatusItemTest, MakesNoOtherItemBeforeItIsCertainThatOneIsNeeded) {
    EXPECT_EQ(preferred.itemCount(), 1);
    EXPECT_EQ(other.itemCount(), 0);
}

TEST_F(SwitchingStatusItemTest, IsInTheOtherPlaceWhileThePreferredOneHasNoHost) {
    int clicks = 0;
    StatusButton button;
    button.image.symbolName = "eye.fill";
    button.title = " 87";
    item->setButton(button);
    item->setAction(mouseevent::rightUp, [&] { ++clicks; });
    item->setMenu({{.title = "Quit", .action = [] {}}});
    preferred.setFrame(Rectangle{.x = 1});
    other.setFrame(Rectangle{.x = 2});
    other.setDrawnByHost(false);

    preferred.setHost(false);
    preferred.setHost(false);
    ASSERT_EQ(other.itemCount(), 1);
    EXPECT_EQ(other.buttons(), std::vector{button});
    EXPECT_EQ(other.menu().size(), 1U);
    other.release(mouseevent::leftUp);
    EXPECT_EQ(clicks, 0);
    other.release(mouseevent::rightUp);
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(item->frame(), (Rectangle{.x = 2}));
    EXPECT_FALSE(item->isDrawnByHost());
    item->setButton({});
    EXPECT_EQ(other.buttons().back(), StatusButton{});

    preferred.setHost(true);
    EXPECT_EQ(other.itemCount(), 0);
    EXPECT_EQ(item->frame(), (Rectangle{.x = 1}));
    EXPECT_TRUE(item->isDrawnByHost());
    EXPECT_EQ(preferred.buttons().back(), StatusButton{}) << "kept up to date all the time";
    preferred.release(mouseevent::rightUp);
    EXPECT_EQ(clicks, 2);
}

TEST_F(SwitchingStatusItemTest, HasAHostWhereverThereIsOne) {
    std::vector<bool> hosts;
    item->setHostObserver([&](bool hasHost) { hosts.push_back(hasHost); });
    preferred.setHost(false);
    EXPECT_TRUE(hosts.empty()) << "the other place has not been asked";
    other.setHost(false);
    other.setHost(true);
    preferred.setHost(true);
    preferred.setHost(false);
    other.setHost(false);
    EXPECT_EQ(hosts, (std::vector{false, true, false}));
}

} // namespace
} // namespace nocta
