#include "Desktop.h"
#include "Support/DrivenWindows.h"
#include "Support/NotificationDaemon.h"
#include "Support/Panel.h"
#include "Support/ScreenPicture.h"

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

namespace nocta::test {
namespace {

const Ramps natural = warmRamps(6500, 1.0);
const Ramps dusk = warmRamps(3400, 0.8);

/// The colour of the eye in the panel at the temperature of dusk, as on dark panels.
constexpr std::uint32_t orange = 0xFF9F0A;

/// A person at a whole desktop: window manager, panel, notifications; and Nocta, which they use with mouse and keyboard
/// alone.
class PersonsDay : public Desktop {
  protected:
    PersonsDay() { windows.awaitManager(); }

    /// Starts Nocta and waits for the popover that greets them.
    void launch() {
        nocta = startDrivenNocta();
        ASSERT_TRUE(eventually([this] { return place("Quit Nocta").has_value(); })) << nocta->errors();
    }

    /// Where what bears that name is on the screen; nothing while it is not.
    std::optional<Point> place(const std::string& name) {
        const auto asked = "where " + name;
        const auto before = nocta->errors().size();
        nocta->write(asked + "\n");
        std::string answer;
        if (!eventually([&] {
                answer = nocta->errors().substr(before);
                return answer.find('\n') != std::string::npos;
            })) {
            throw std::runtime_error("Nocta does not say where " + name + " is");
        }
        std::istringstream words(answer);
        Point point;
        return words >> point.x >> point.y ? std::optional(point) : std::nullopt;
    }

    static void click(const Point& point) {
        Process xdotool({"xdotool", "mousemove", std::to_string(point.x), std::to_string(point.y), "click", "1"});
        ASSERT_EQ(xdotool.waitForEnd(), cleanExit) << xdotool.errors();
    }
    void click(const std::string& name) {
        std::optional<Point> point;
        ASSERT_TRUE(eventually([&] { return (point = place(name)).has_value(); })) << name;
        click(*point);
    }
    /// Far from popover and panel.
    static void clickTheDesktop() { click(Point{.x = 100, .y = 700}); }
    static void press(const std::string& keys) {
        Process xdotool({"xdotool", "key", keys});
        ASSERT_EQ(xdotool.waitForEnd(), cleanExit) << xdotool.errors();
    }

    /// Drags the slider of that name from its middle beyond its left end. The press alone changes `setting`.
    void dragToTheLeft(const std::string& name, const std::string& setting) {
        std::optional<Point> point;
        ASSERT_TRUE(eventually([&] { return (point = place(name)).has_value(); })) << name;
        const auto before = settings();
        const auto xdotool = [](std::vector<std::string> arguments) {
            arguments.insert(arguments.begin(), "xdotool");
            Process process(std::move(arguments));
            ASSERT_EQ(process.waitForEnd(), cleanExit) << process.errors();
        };
        xdotool({"mousemove", std::to_string(point->x), std::to_string(point->y), "mousedown", "1"});
        ASSERT_TRUE(eventually([&] { return settings() != before && settings().find(setting) != std::string::npos; }));
        xdotool({"mousemove_relative", "--sync", "--", "-200", "0"});
        xdotool({"mousemove_relative", "--sync", "--", "-200", "0", "mouseup", "1"});
    }

    /// The eye in the panel, in that colour.
    static std::optional<Point> itemOf(std::uint32_t color) {
        std::optional<Point> item;
        const bool isThere = eventually([&] { return (item = ScreenPicture().middle(color)).has_value(); },
                                        std::chrono::seconds(30)); // some panels start slowly
        return isThere ? item : std::nullopt;
    }

    [[nodiscard]] bool popoverIsShown() { return place("Quit Nocta").has_value(); }
    [[nodiscard]] bool popoverCloses() {
        return eventually([this] { return !popoverIsShown(); });
    }
    [[nodiscard]] bool settingsBecome(const std::string& line) const {
        return eventually([&] { return settings().find("\n" + line + "\n") != std::string::npos; });
    }

    Process manager{{"xfwm4", "--compositor=off"}, environment()};
    DrivenWindows windows;
    NotificationDaemon daemon;
    Panel panel{PanelKind::xfce};
    std::unique_ptr<Process> nocta;
};

TEST_F(PersonsDay, TheFirstLaunchGreetsAndQuitGivesTheScreenBack) {
    launch();
    EXPECT_TRUE(everyDisplayBecomes(natural));
    EXPECT_TRUE(place("Natural, 6500K")) << "the presets";
    EXPECT_FALSE(std::filesystem::exists(settingsFile())) << "nothing was changed yet";
    click("Quit Nocta");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_EQ(nocta->errors().find("nocta:"), std::string::npos);
    EXPECT_TRUE(isCalibrated());
}

TEST_F(PersonsDay, APresetIsPickedAndTheSlidersMakeItTheirOwn) {
    launch();
    click("Dusk, 3400K");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    EXPECT_TRUE(settingsBecome("activePresetID=dusk"));

    dragToTheLeft("Custom Temperature", "activePresetID=custom\n");
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(1900, 1.0)));
    EXPECT_TRUE(settingsBecome("customTemp=1900"));
    EXPECT_TRUE(settingsBecome("activePresetID=custom"));

    dragToTheLeft("Brightness", "customBrightness=0.6");
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(1900, 0.3)));
    EXPECT_TRUE(settingsBecome("customBrightness=0.3"));
}

TEST_F(PersonsDay, TheFilterIsSwitchedOffAndOnAgain) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    launch();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    click("Filter");
    EXPECT_TRUE(everyDisplayBecomes(natural)) << "neutral, not the calibration";
    EXPECT_TRUE(settingsBecome("filterEnabled=false"));
    click("Sleep, 1900K");
    EXPECT_TRUE(place("Filter Off"));
    EXPECT_TRUE(settingsBecome("activePresetID=dusk")) << "a pick is ignored while the filter is off";
    click("Filter");
    EXPECT_TRUE(settingsBecome("filterEnabled=true"));
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

TEST_F(PersonsDay, AClickOnTheItemOpensAndClosesThePopoverAndAClickElsewhereClosesIt) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    launch();
    closePopover();
    const auto item = itemOf(orange);
    ASSERT_TRUE(item);
    click(*item);
    ASSERT_TRUE(eventually([this] { return popoverIsShown(); }));
    click(*item);
    ASSERT_TRUE(popoverCloses());
    // It stays closed, although the panel's click was also one elsewhere.
    EXPECT_FALSE(eventually([this] { return popoverIsShown(); }, std::chrono::milliseconds(500)));
    click(*item);
    ASSERT_TRUE(eventually([this] { return popoverIsShown(); }));
    clickTheDesktop();
    EXPECT_TRUE(popoverCloses());
}

TEST_F(PersonsDay, TheSelectedTabIsStillSelectedAtTheNextOpening) {
    launch();
    click("Stats");
    ASSERT_TRUE(eventually([this] { return place("Eye Health Score").has_value(); }));
    clickTheDesktop();
    ASSERT_TRUE(popoverCloses());
    const auto second = startNocta();
    EXPECT_EQ(second->waitForEnd(), cleanExit) << "a second launch opens the popover of the first";
    EXPECT_TRUE(eventually([this] { return place("Eye Health Score").has_value(); }));
}

TEST_F(PersonsDay, WhereWindowsBlendATabLeavesNothingOfTheOneBefore) {
    Process picom({"picom", "--config", "/dev/null"}, environment());
    const auto isComposited = [this] {
        const auto& server = windows.server();
        const XReply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
            server.get(), xcb_get_selection_owner(server.get(), server.atom("_NET_WM_CM_S0")), nullptr));
        return owner && owner->owner != XCB_WINDOW_NONE;
    };
    ASSERT_TRUE(eventually(isComposited));
    launch();
    const auto card = place("Evening, 2700K");
    ASSERT_TRUE(card);
    click("Breaks");
    ASSERT_TRUE(eventually([this] { return place("20-20-20 Break Reminders").has_value(); }));
    // The tab has nothing there, nor farther down.
    EXPECT_TRUE(eventually([&] {
        const ScreenPicture screen;
        for (int y = card->y - 30; y < card->y + 30; ++y) {
            for (int x = card->x - 40; x < card->x + 40; ++x) {
                if (screen.at(x, y) != screen.at(card->x, card->y + 120)) {
                    return false;
                }
            }
        }
        return true;
    }));
}

TEST_F(PersonsDay, APanelThatStartsAgainShowsTheItemAgain) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    launch();
    closePopover();
    ASSERT_TRUE(itemOf(orange));
    panel.kill();
    ASSERT_TRUE(eventually([] { return ScreenPicture().count(orange) == 0; }));
    panel.start();
    const auto item = itemOf(orange);
    ASSERT_TRUE(item);
    click(*item);
    EXPECT_TRUE(eventually([this] { return popoverIsShown(); }));
}

TEST_F(PersonsDay, ABreakIsSkippedTheNextOneTakenAndTheFiguresTell) {
    writeSettings("[General]\nactivePresetID=dusk\nbreaksEnabled=true\nbreakIntervalMinutes=1440\n"
                  "breakDurationSeconds=1\n");
    launch();
    closePopover();
    nocta->write("break\n");
    click("Skip break");
    EXPECT_TRUE(eventually([this] { return !place("Skip break"); }));
    nocta->write("break\n");
    ASSERT_TRUE(eventually([this] { return place("Skip break").has_value(); }));
    EXPECT_TRUE(eventually([this] { return !place("Skip break"); })) << "after its second";
    const auto item = itemOf(orange);
    ASSERT_TRUE(item);
    click(*item);
    click("Stats");
    EXPECT_TRUE(eventually([this] { return place("Breaks taken: 1").has_value(); }));
    EXPECT_TRUE(place("Breaks skipped: 1"));
    EXPECT_TRUE(place("Eye health score 85")) << "95 for the temperature, less half of 20";
}

TEST_F(PersonsDay, WhatWasSetIsThereAgainAfterLoggingOutAndAfterAKill) {
    launch();
    click("Dusk, 3400K");
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    nocta->signal(SIGTERM);
    ASSERT_EQ(nocta->waitForEnd(), cleanExit);
    ASSERT_TRUE(isCalibrated());
    launch();
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    nocta->signal(SIGKILL);
    nocta->waitForEnd();
    EXPECT_TRUE(becomesCalibrated(promptly));
    launch();
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

} // namespace
} // namespace nocta::test
