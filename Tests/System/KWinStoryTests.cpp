#include "KWinDesktop.h"
#include "Support/KWinInput.h"
#include "Support/KWinOutputs.h"
#include "Support/Panel.h"
#include "Support/ScreenPicture.h"
#include "WaylandHands.h"

#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <linux/input-event-codes.h>

namespace nocta::test {
namespace {

/// Of `wayland-window`.
constexpr std::uint32_t windowColor = 0x2E8B57;

/// Breaks that come and go when the test says so.
constexpr const char* longBreaks =
    "[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=3600\n";

/// A person at KDE Plasma's compositor, which they use with mouse and keyboard alone.
class PersonsKWinDay : public KWinDesktop, protected WaylandHands {
  protected:
    explicit PersonsKWinDay(KWin::Drawing drawing = KWin::Drawing::simple) : KWinDesktop(drawing) {}

    /// Starts Nocta and waits for the popover that greets them.
    void launch() {
        nocta = startDrivenNocta();
        ASSERT_TRUE(popoverOpens()) << nocta->errors();
    }

    /// KWin gives a popover the keyboard when it is on the screen: before, a click where it will be is one elsewhere.
    [[nodiscard]] bool popoverOpens() const {
        return appears("Quit Nocta") && eventually([this] { return ask("keyboard") == "ours"; });
    }

    [[nodiscard]] ScreenPicture picture() const override { return kwin.picture(); }
    void click(const Point& point) override {
        hands.move(point);
        hands.click();
    }
    void pressEscape() override { hands.type({KEY_ESC}); }
    void pressShortcut() { hands.type({KEY_LEFTMETA, KEY_LEFTSHIFT, KEY_I}); }

    /// A window of another program, which has the keyboard.
    [[nodiscard]] std::unique_ptr<Process> openWindow(const std::string& application,
                                                      const std::string& kind = "") const {
        auto window = std::make_unique<Process>(
            std::vector<std::string>{programFolder() / "wayland-window", application, kind}, environment());
        EXPECT_TRUE(eventually([&] { return window->errors().find("active\n") != std::string::npos; }))
            << window->errors();
        return window;
    }
    [[nodiscard]] static bool gets(Process& window, int key) {
        return window.errors().find("key " + std::to_string(key) + "\n") != std::string::npos;
    }
    /// What every program may ask.
    [[nodiscard]] std::string frontApplication() const {
        Process question({"sh", "-c", "'" + (programFolder() / "noctactl").string() + "' get frontApplication >&2"},
                         environment());
        question.waitForEnd();
        const auto answer = question.errors();
        return answer.substr(0, answer.find('\n'));
    }

    KWinInput hands;
};

/// Who sees what is on the screen.
class PersonsKWinDayInPictures : public PersonsKWinDay {
  protected:
    PersonsKWinDayInPictures() : PersonsKWinDay(KWin::Drawing::pictured) {}
};

TEST_F(PersonsKWinDay, TheFirstLaunchGreetsAndQuitEndsIt) {
    launch();
    EXPECT_TRUE(place("Natural, 6500K")) << "the presets";
    EXPECT_TRUE(clickUntil("Quit Nocta", [this] { return !nocta->isRunning(); }))
        << "and the popover is " << (place("Quit Nocta") ? "open" : "closed");
    EXPECT_EQ(nocta->waitForEnd(), Ending{.exitStatus = 0});
    EXPECT_EQ(nocta->errors().find("error"), std::string::npos) << nocta->errors();
}

TEST_F(PersonsKWinDay, APresetIsPicked) {
    launch();
    EXPECT_TRUE(clickUntil("Dusk, 3400K", [this] { return settingsHave("activePresetID=dusk"); }));
    EXPECT_TRUE(place("Quit Nocta")) << "a click inside does not close";
}

TEST_F(PersonsKWinDayInPictures, AClickElsewhereClosesThePopoverOnWhicheverScreen) {
    launch();
    EXPECT_TRUE(clickUntil(desktop, [this] { return !place("Quit Nocta"); }));
    // KWin opens windows on the screen that has the pointer.
    hands.move(secondDesktop);
    EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0}) << "a second launch opens it";
    ASSERT_TRUE(popoverAppears(1));
    EXPECT_TRUE(clickUntil(desktop, [this] { return !place("Quit Nocta"); }));
    EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0});
    ASSERT_TRUE(popoverAppears(0));
    EXPECT_TRUE(clickUntil(secondDesktop, [this] { return !place("Quit Nocta"); }));
}

TEST_F(PersonsKWinDay, EscapeClosesThePopoverAndTheWindowBelowHasTheKeyboardAgain) {
    const auto editor = openWindow("org.example.editor");
    launch();
    hands.type({KEY_Y});
    EXPECT_TRUE(escapeClosesThePopover());
    EXPECT_TRUE(eventually([&] {
        hands.type({KEY_Z});
        return gets(*editor, KEY_Z);
    }));
    EXPECT_FALSE(gets(*editor, KEY_Y)) << "the popover had it";
}

TEST_F(PersonsKWinDay, AnApplicationInFrontIsKnownAndNoctaItselfIsNone) {
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    auto film = openWindow("org.example.film");
    EXPECT_TRUE(eventually([this] { return frontApplication() == "org.example.film"; }));
    const auto other = openWindow("org.example.other");
    EXPECT_TRUE(eventually([this] { return frontApplication() == "org.example.other"; }));
    EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0});
    ASSERT_TRUE(popoverOpens());
    EXPECT_EQ(frontApplication(), "org.example.other");
    EXPECT_TRUE(escapeClosesThePopover());
    EXPECT_EQ(frontApplication(), "org.example.other");
}

TEST_F(PersonsKWinDay, AnApplicationInFrontHasItsPreset) {
    writeSettings("[General]\nactivePresetID=dusk\n"
                  "appProfiles=\"@ByteArray({\\\"org.example.film\\\":\\\"evening\\\"})\"\n");
    // Halfway between the two, as KWin has colours near to them.
    static constexpr std::uint32_t between = (2700 + 3400) / 2;
    static constexpr std::uint32_t cooler = 4000;
    const auto isDusk = [this] {
        const auto kelvin = kwin.temperature().value_or(0);
        return kelvin > between && kelvin < cooler;
    };
    const auto isEvening = [this] { return kwin.temperature().value_or(cooler) < between; };
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    ASSERT_TRUE(eventually(isDusk));
    const auto film = openWindow("org.example.film");
    EXPECT_TRUE(eventually(isEvening));
    const auto other = openWindow("org.example.other");
    EXPECT_TRUE(eventually(isDusk));
}

TEST_F(PersonsKWinDayInPictures, ABreakCoversAFullScreenWindowAndIsSkippedByItsButton) {
    writeSettings(longBreaks);
    const auto film = openWindow("org.example.film", "fullscreen");
    ASSERT_TRUE(eventually([this] { return picture().at(desktop.x, desktop.y) == windowColor; }));
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    // Faded in, it is nearly black.
    EXPECT_TRUE(eventually([this] { return (picture().at(desktop.x, desktop.y) & 0xFF00U) < 0x2000U; }));
    EXPECT_TRUE(clickUntil(*place("Skip break"), [this] { return !place("Skip break"); }));
    EXPECT_TRUE(eventually([this] { return picture().at(desktop.x, desktop.y) == windowColor; }));
    EXPECT_EQ(ask("tallies"), "0 taken, 1 skipped");
}

TEST_F(PersonsKWinDay, ABreakHasTheKeyboardAndGivesItBack) {
    writeSettings(longBreaks);
    const auto editor = openWindow("org.example.editor");
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    ASSERT_TRUE(eventually([&] { return editor->errors().ends_with("inactive\n"); }));
    hands.type({KEY_Y});
    EXPECT_TRUE(eventually([this] {
        hands.type({KEY_TAB});
        hands.type({KEY_SPACE});
        return !place("Skip break");
    }));
    EXPECT_TRUE(eventually([&] {
        hands.type({KEY_Z});
        return gets(*editor, KEY_Z);
    }));
    EXPECT_FALSE(gets(*editor, KEY_Y)) << "the break had it";
    EXPECT_EQ(ask("tallies"), "0 taken, 1 skipped");
}

TEST_F(PersonsKWinDay, ABreakEndsByItself) {
    writeSettings("[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=1\n");
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    EXPECT_TRUE(disappears("Skip break"));
    EXPECT_EQ(ask("tallies"), "1 taken, 0 skipped");
}

TEST_F(PersonsKWinDayInPictures, ABreakCoversThePopoverAndGivesItsPlaceBack) {
    writeSettings(longBreaks);
    launch();
    ASSERT_TRUE(popoverAppears());
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    EXPECT_TRUE(eventually([this] { return !popoverIsOnScreen(); }));
    // The popover's key, which has the keyboard no more.
    pressEscape();
    EXPECT_TRUE(place("Quit Nocta"));
    nocta->write("skip\n");
    ASSERT_TRUE(disappears("Skip break"));
    EXPECT_TRUE(clickUntil("Evening, 2700K", [this] { return settingsHave("activePresetID=evening"); }));
    EXPECT_TRUE(escapeClosesThePopover());
}

TEST_F(PersonsKWinDay, TheShortcutGoesToTheNextPresetUnlessThePopoverHasTheKeyboard) {
    launch();
    pressShortcut();
    ASSERT_TRUE(escapeClosesThePopover());
    ASSERT_TRUE(eventually([this] { return ask("keyboard") == "others'"; }));
    pressShortcut();
    EXPECT_TRUE(eventually([this] { return settingsHave("activePresetID=focus"); }));
    pressShortcut();
    EXPECT_TRUE(eventually([this] { return settingsHave("activePresetID=dusk"); }));
}

TEST_F(PersonsKWinDay, ThePopoverIsUsedByTheKeyboard) {
    launch();
    EXPECT_TRUE(eventually([this] {
        const auto before = ask("focus");
        hands.type({KEY_TAB});
        return eventually([&] { return ask("focus") != before; }, std::chrono::milliseconds(500)) &&
               ask("focus") == "Dusk, 3400K";
    }));
    hands.type({KEY_SPACE});
    EXPECT_TRUE(eventually([this] { return settingsHave("activePresetID=dusk"); }));
}

TEST_F(PersonsKWinDay, ThePopoverClosesWithItsScreenAndOpensOnTheOther) {
    launch();
    switchOutput(kwin.socket(), 0, false);
    EXPECT_TRUE(popoverCloses());
    EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0});
    ASSERT_TRUE(popoverOpens());
    EXPECT_TRUE(escapeClosesThePopover());
    switchOutput(kwin.socket(), 0, true);
    EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0});
    ASSERT_TRUE(popoverOpens());
    EXPECT_TRUE(escapeClosesThePopover());
}

TEST_F(PersonsKWinDay, ABreakGoesOnWhenItsScreenGoes) {
    writeSettings(longBreaks);
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    switchOutput(kwin.socket(), 0, false);
    ASSERT_TRUE(eventually([this] { return ask("keyboard") == "ours"; }));
    EXPECT_TRUE(eventually([this] {
        hands.type({KEY_TAB});
        hands.type({KEY_SPACE});
        return ask("tallies") == "0 taken, 1 skipped";
    }));
    switchOutput(kwin.socket(), 0, true);
    EXPECT_TRUE(disappears("Skip break"));
}

TEST_F(PersonsKWinDayInPictures, AClickOnTheItemInThePanelOpensAndClosesThePopover) {
    constexpr std::uint32_t blue = 0x0A84FF; // the eye of Natural, at which nothing is dimmed
    const Panel panel(PanelKind::waybar);
    ASSERT_TRUE(panel.hasHost());
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    std::optional<Point> item;
    ASSERT_TRUE(eventually([&] { return (item = picture().middle(blue)).has_value(); }));
    // Never twice at one place: the panel hands a double click on as three.
    const Point left{.x = item->x - 5, .y = item->y};
    const Point right{.x = item->x + 5, .y = item->y};
    for (int i = 0; i < 2; ++i) {
        click(left);
        ASSERT_TRUE(popoverOpens()) << i;
        // Its shadow, which is over the panel, keeps no click from that.
        click(right);
        ASSERT_TRUE(popoverCloses()) << i;
        // It stays closed.
        EXPECT_FALSE(eventually([this] { return place("Quit Nocta").has_value(); }, std::chrono::milliseconds(500)));
    }
}

TEST_F(PersonsKWinDayInPictures, AClickOnAnItemThatTellsItsPlaceOpensThePopoverThere) {
    const Panel panel(PanelKind::waybar);
    ASSERT_TRUE(panel.hasHost());
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    const auto isLight = [this](const Point& point) { return (picture().at(point.x, point.y) & 255U) > 100; };
    // The body is 560 high and by gap, arrow and half an item from the place. Its ground is light 440 below its top.
    constexpr int distance = 1 + 9 + 12;
    struct Click {
        Point place;
        int top;
    };
    for (const auto& click : {Click{.place = {.x = 640, .y = 15}, .top = 15 + distance},
                              Click{.place = {.x = 1280 + 640, .y = 778}, .top = 778 - distance - 560}}) {
        ASSERT_TRUE(activateItem(click.place));
        EXPECT_TRUE(eventually([&] { return isLight({.x = click.place.x, .y = click.top + 440}); })) << click.top;
        EXPECT_FALSE(isLight({.x = click.place.x + 340 / 2 + 30, .y = click.top + 440})) << click.top;
        EXPECT_FALSE(isLight({.x = 1280 - 20, .y = click.top + 440})) << "where it stands without a place";
        ASSERT_TRUE(escapeClosesThePopover());
    }
}

} // namespace
} // namespace nocta::test
