// The whole program in GNOME's Wayland session, where its windows are those of an X program.

#include "Hands.h"
#include "Home.h"
#include "Support/GnomeShell.h"
#include "Support/SessionBus.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace nocta::test {
namespace {

constexpr Ending cleanExit{.exitStatus = 0};

/// The kernel's numbers of keys.
namespace key {
constexpr int escape = 1;
constexpr int tab = 15;
constexpr int y = 21;
constexpr int i = 23;
constexpr int enter = 28;
constexpr int shift = 42;
constexpr int space = 57;
constexpr int super = 125;
} // namespace key

/// A person at GNOME's desktop, which they use with mouse and keyboard alone.
class PersonsGnomeDay : public Home, protected Hands {
  protected:
    static constexpr int panelHeight = 32;
    static constexpr int mainWidth = 1280;

    /// With the patience that a desktop needs which draws everything by the processor.
    template <class Condition>
    [[nodiscard]] static bool inTheEnd(Condition condition) {
        return eventually(condition, std::chrono::seconds(60));
    }

    /// Starts Nocta and waits for the popover that greets them, and has the keyboard.
    void launch() {
        nocta = startDrivenNocta();
        ASSERT_TRUE(popoverHasTheKeyboard()) << nocta->errors();
    }
    [[nodiscard]] bool popoverHasTheKeyboard() const {
        return inTheEnd([this] { return popoverIsShown() && shell.focusedWindow() == "nocta"; });
    }
    /// What another launch does.
    void openPopover() const {
        ASSERT_EQ(startNocta()->waitForEnd(), cleanExit);
        ASSERT_TRUE(popoverHasTheKeyboard());
    }
    void closePopover() const {
        // The X server may learn of the key before it learns who has the keyboard.
        ASSERT_TRUE(inTheEnd([this] {
            shell.press({key::escape});
            return eventually([this] { return !popoverIsShown(); }, std::chrono::seconds(1));
        }));
    }

    /// A window of Wayland's, with the keyboard.
    [[nodiscard]] std::unique_ptr<Process> openWindow(const std::string& script) const {
        auto window = std::make_unique<Process>(std::vector<std::string>{"foot", "sh", "-c", script}, environment());
        EXPECT_TRUE(inTheEnd([this] { return shell.focusedWindow() == "foot"; })) << window->errors();
        return window;
    }
    /// Somewhere in its text.
    [[nodiscard]] Point window() const {
        const auto frame = shell.evaluate(R"(
            const found = global.get_window_actors().map(a => a.meta_window).find(w => w.get_wm_class() === 'foot');
            const rectangle = found.get_frame_rect();
            `${rectangle.x + 100} ${rectangle.y + rectangle.height - 50}`)");
        std::istringstream words(frame.value_or("\"0 0\"").substr(1));
        Point point;
        words >> point.x >> point.y;
        return point;
    }

    [[nodiscard]] bool breakIsOn() const { return place("Skip break").has_value(); }
    /// Begins one, and waits for the end of its fade.
    void beginBreak() const {
        nocta->write("break\n");
        ASSERT_TRUE(inTheEnd([this] { return breakIsOn() && shell.focusedWindow() == "nocta"; }));
    }
    [[nodiscard]] bool tallyIs(const std::string& tally) const {
        return inTheEnd([&] { return ask("tallies") == tally; });
    }

    SessionBus bus;
    GnomeShell shell;
};

constexpr const char* breakSettings =
    "[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=3600\n";

TEST_F(PersonsGnomeDay, WithoutAGammaRampItSaysSoAndEverythingElseRuns) {
    launch();
    const auto status = home.path() / "status";
    Process question({"sh", "-c", R"(exec "$1" status >"$2")", "sh", programFolder() / "noctactl", status},
                     environment());
    ASSERT_EQ(question.waitForEnd(), cleanExit) << question.errors();
    std::ifstream file(status);
    const std::string text((std::istreambuf_iterator<char>(file)), {});
    EXPECT_NE(text.find("Displays   none, by none\n"), std::string::npos) << text;
    nocta->write("preset dusk\n");
    EXPECT_TRUE(inTheEnd([this] { return settingsHave("activePresetID=dusk"); }));
    const auto saidBefore = nocta->errors();
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_EQ(nocta->errors(), saidBefore);
}

TEST_F(PersonsGnomeDay, ThePopoverStandsBelowTheTopBarAndQuitEnds) {
    launch();
    const auto upper = place("Natural, 6500K");
    const auto lower = place("Quit Nocta");
    ASSERT_TRUE(upper && lower);
    // The body of 340 x 560 is 8 from the right edge, and by gap and arrow 1 + 9 from the bar.
    constexpr int left = mainWidth - 8 - 340;
    constexpr int top = panelHeight + 10;
    EXPECT_TRUE(upper->x > left && upper->y > top);
    EXPECT_TRUE(lower->x > left && lower->y < top + 560);
    const auto light = [](std::uint32_t pixel) { return (pixel & 255U) > 200; };
    EXPECT_TRUE(inTheEnd([&] {
        const auto picture = shell.picture();
        return light(picture.at(left + 170, top + 440)) && light(picture.at(mainWidth - 8 - 2, top + 300)) &&
               !light(picture.at(left - 30, top + 440)) && !light(picture.at(left + 170, panelHeight - 2));
    }));
    shell.click(*lower);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
}

TEST_F(PersonsGnomeDay, TheEyeInTheTopBarHasAMenuThatOpensThePopover) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    launch();
    closePopover();
    ASSERT_TRUE(inTheEnd([&] { return shell.statusItem().has_value(); }));
    // A busy shell takes a click for half of a double click.
    EXPECT_TRUE(inTheEnd([&] {
        const auto entry = shell.place("Open Nocta");
        const auto target = entry ? entry : shell.statusItem();
        if (target) {
            shell.click(*target);
        }
        return eventually([&] { return popoverIsShown(); }, std::chrono::seconds(2));
    }));
    ASSERT_TRUE(popoverHasTheKeyboard());
    EXPECT_TRUE(place("Dusk, 3400K"));
}

TEST_F(PersonsGnomeDay, EscapeClosesThePopoverAndTheWindowBelowHasTheKeyboardAgain) {
    const auto note = home.path() / "note";
    const auto editor = openWindow("read line; echo $line >" + note.string() + "; sleep 1000");
    launch();
    closePopover();
    ASSERT_TRUE(inTheEnd([this] { return shell.focusedWindow() == "foot"; }));
    shell.press({key::y});
    shell.press({key::enter});
    EXPECT_TRUE(inTheEnd([&] {
        std::ifstream file(note);
        std::string line;
        return std::getline(file, line) && line.ends_with("y");
    }));
}

TEST_F(PersonsGnomeDay, AClickOnAWindowOfWaylandClosesThePopover) {
    const auto editor = openWindow("sleep 1000");
    launch();
    shell.click(window());
    EXPECT_TRUE(inTheEnd([this] { return !popoverIsShown(); }));
    EXPECT_EQ(shell.focusedWindow(), "foot");
    openPopover();
    const auto preset = place("Dusk, 3400K");
    ASSERT_TRUE(preset);
    shell.click(*preset);
    EXPECT_TRUE(inTheEnd([this] { return settingsHave("activePresetID=dusk"); }));
    EXPECT_TRUE(popoverIsShown()) << "a click inside does not close";
    shell.click(window());
    EXPECT_TRUE(inTheEnd([this] { return !popoverIsShown(); }));
}

TEST_F(PersonsGnomeDay, AKeyBindingOfTheDesktopGoesToTheNextPreset) {
    launch();
    closePopover();
    auto variables = shell.environment();
    variables.emplace_back("PATH", programFolder().string() + ":" + std::getenv("PATH"));
    const Process daemon({"/usr/libexec/gsd-media-keys"}, variables);
    const std::string keys = "org.gnome.settings-daemon.plugins.media-keys";
    const std::string path = "/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/nocta/";
    const auto set = [&](const std::string& schema, const std::string& name, const std::string& value) {
        Process setting({"gsettings", "set", schema, name, value}, variables);
        ASSERT_EQ(setting.waitForEnd(), cleanExit) << setting.errors();
    };
    set(keys, "custom-keybindings", "['" + path + "']");
    set(keys + ".custom-keybinding:" + path, "name", "Next preset of Nocta");
    set(keys + ".custom-keybinding:" + path, "command", "noctactl cycle");
    set(keys + ".custom-keybinding:" + path, "binding", "<Shift><Super>i");
    // Until the daemon has the keys.
    EXPECT_TRUE(inTheEnd([this] {
        shell.press({key::super, key::shift, key::i});
        return eventually([this] { return settingsHave("activePresetID=focus"); }, std::chrono::seconds(2));
    }));
}

TEST_F(PersonsGnomeDay, ABreakCoversTheMainMonitorAndItsButtonSkipsIt) {
    writeSettings(breakSettings);
    const auto editor = openWindow("sleep 1000");
    launch();
    closePopover();
    const auto before = shell.picture();
    const auto brightest = [](const ScreenPicture& picture, int firstColumn, int lastColumn, int lastRow) {
        std::uint32_t most = 0;
        for (int y = 0; y < lastRow; ++y) {
            for (int x = firstColumn; x < lastColumn; ++x) {
                most = std::max(most, picture.at(x, y) & 255U);
            }
        }
        return most;
    };
    ASSERT_GT(brightest(before, 0, mainWidth, panelHeight), 200U) << "the top bar's words";
    beginBreak();
    EXPECT_TRUE(inTheEnd([&] {
        const auto picture = shell.picture();
        return brightest(picture, 0, mainWidth, panelHeight) < 60 && brightest(picture, 0, 300, 800) < 60;
    })) << "the top bar is covered";
    const auto during = shell.picture();
    for (const int x : {mainWidth + 5, mainWidth + 500, mainWidth + 1000}) {
        EXPECT_EQ(during.at(x, 400), before.at(x, 400)) << "the other monitor is free";
    }
    shell.click(*place("Skip break"));
    EXPECT_TRUE(inTheEnd([this] { return !breakIsOn(); }));
    EXPECT_TRUE(tallyIs("0 taken, 1 skipped"));
    EXPECT_TRUE(inTheEnd([this] { return shell.focusedWindow() == "foot"; }));
}

TEST_F(PersonsGnomeDay, ABreakHasTheKeyboardOfAWindowOfWaylandAndIsSkippedByIt) {
    writeSettings(breakSettings);
    const auto note = home.path() / "note";
    const auto editor = openWindow("read line; echo $line >" + note.string() + "; sleep 1000");
    launch();
    closePopover();
    beginBreak();
    shell.press({key::y});
    shell.press({key::enter});
    // What is typed as it appears does not count.
    ASSERT_TRUE(inTheEnd([this] {
        shell.press({key::tab});
        return eventually([this] { return focus() == "Skip break"; }, std::chrono::milliseconds(300));
    }));
    shell.press({key::space});
    EXPECT_TRUE(inTheEnd([this] { return !breakIsOn(); }));
    EXPECT_TRUE(tallyIs("0 taken, 1 skipped"));
    EXPECT_FALSE(std::filesystem::exists(note));
}

TEST_F(PersonsGnomeDay, ABreakTakesTheKeyboardBackFromAWindowOnAnotherMonitor) {
    writeSettings(breakSettings);
    const auto editor = openWindow("sleep 1000");
    // Wholly there.
    ASSERT_EQ(shell.evaluate(R"(
        global.get_window_actors().map(a => a.meta_window).find(w => w.get_wm_class() === 'foot')
            .move_frame(true, 1400, 100);
        true)"),
              "true");
    launch();
    closePopover();
    beginBreak();
    shell.click(window());
    shell.press({key::tab});
    EXPECT_TRUE(inTheEnd([this] { return shell.focusedWindow() == "nocta"; }));
    EXPECT_TRUE(breakIsOn());
}

} // namespace
} // namespace nocta::test
