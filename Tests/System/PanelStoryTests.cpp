#include "Desktop.h"
#include "Hands.h"
#include "Support/DrivenWindows.h"
#include "Support/NotificationDaemon.h"
#include "Support/Panel.h"
#include "Support/ScreenPicture.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace nocta::test {
namespace {

std::string nameOf(PanelKind kind) {
    switch (kind) {
    case PanelKind::xfce:
        return "xfce";
    case PanelKind::lxqt:
        return "lxqt";
    case PanelKind::tint2:
        return "tint2";
    case PanelKind::waybar:
    case PanelKind::waybarBelow:
        return "waybar";
    }
    return {};
}

/// A person at a desktop with one of the panels, whose Nocta shows dusk; its popover has greeted them and is closed.
class PersonAtAPanel : public Desktop, protected Hands, public testing::WithParamInterface<PanelKind> {
  protected:
    void SetUp() override {
        windows.awaitManager();
        writeSettings("[General]\nactivePresetID=dusk\n");
        nocta = startDrivenNocta();
        ASSERT_TRUE(popoverOpens()) << nocta->errors();
        closePopover();
    }

    /// It stays closed, although a panel's click may arrive twice, as one on the item and as one elsewhere.
    [[nodiscard]] bool popoverStaysClosed() const {
        return !eventually([this] { return popoverIsShown(); }, std::chrono::milliseconds(500));
    }

    Process manager{{"openbox"}, environment()};
    DrivenWindows windows;
    NotificationDaemon daemon;
    Panel panel{GetParam()};
};

TEST_P(PersonAtAPanel, ALeftClickOnTheEyeOpensAndClosesThePopoverAndAClickElsewhereClosesIt) {
    const auto item = itemOf(eye::orange);
    ASSERT_TRUE(item);
    click(*item);
    ASSERT_TRUE(popoverOpens());
    click(*item);
    ASSERT_TRUE(popoverCloses());
    EXPECT_TRUE(popoverStaysClosed());
    click(*item);
    ASSERT_TRUE(popoverOpens());
    clickTheDesktop();
    ASSERT_TRUE(popoverCloses());
    if (GetParam() == PanelKind::tint2) {
        click(*item);
        EXPECT_TRUE(popoverOpens()) << "at once, although the click before it closed";
    }
}

TEST_P(PersonAtAPanel, ARightClickOnTheEyeDoesTheSameOrOpensAMenuThatDoes) {
    const auto item = itemOf(eye::orange);
    ASSERT_TRUE(item);
    constexpr int right = 3;
    if (GetParam() == PanelKind::xfce) {
        // It reads the menu some time after it has shown the eye, and shows its own one until then.
        EXPECT_TRUE(eventually(
            [&] {
                click(*item, right);
                press("Down");
                press("Return");
                return eventually([this] { return popoverIsShown(); }, std::chrono::seconds(1)) ||
                       (press("Escape"), false);
            },
            std::chrono::seconds(30)));
        return;
    }
    click(*item, right);
    ASSERT_TRUE(popoverOpens());
    click(*item, right);
    ASSERT_TRUE(popoverCloses());
    EXPECT_TRUE(popoverStaysClosed());
}

TEST_P(PersonAtAPanel, TheEyeHasTheColourOfTheTemperatureThatTheShortcutChooses) {
    ASSERT_TRUE(itemOf(eye::orange));
    struct Step {
        std::string line; ///< in the settings file
        std::uint32_t color;
    };
    const std::vector<Step> steps{
        {.line = "activePresetID=evening\n", .color = eye::orange}, // 2700 K
        {.line = "activePresetID=sleep\n", .color = eye::red},      // 1900 K
        {.line = "activePresetID=cinema\n", .color = eye::yellow},  // 4000 K
        {.line = "activePresetID=natural\n", .color = eye::blue},   // 6500 K
        {.line = "activePresetID=focus\n", .color = eye::yellow},   // 5000 K
    };
    for (const auto& step : steps) {
        press("super+shift+i");
        ASSERT_TRUE(eventually([&] { return settings().find(step.line) != std::string::npos; })) << step.line;
        EXPECT_TRUE(itemOf(step.color)) << step.line;
    }
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(5000, 0.9)));
}

TEST_P(PersonAtAPanel, APanelThatStartsAgainShowsTheEyeAgain) {
    ASSERT_TRUE(itemOf(eye::orange));
    panel.kill();
    ASSERT_TRUE(eventually([] { return ScreenPicture().count(eye::orange) == 0; }));
    panel.start();
    const auto item = itemOf(eye::orange);
    ASSERT_TRUE(item);
    click(*item);
    EXPECT_TRUE(popoverOpens());
}

INSTANTIATE_TEST_SUITE_P(Panels, PersonAtAPanel, testing::Values(PanelKind::xfce, PanelKind::lxqt, PanelKind::tint2),
                         [](const auto& panel) { return nameOf(panel.param); });

} // namespace
} // namespace nocta::test
