// The whole program in a session of KDE Plasma's compositor.

#include "ExpectedRamps.h"
#include "Platform/ColoursOfKWin.h"
#include "Support/Eventually.h"
#include "Support/KWin.h"
#include "Support/KWinInput.h"
#include "Support/KWinOutputs.h"
#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace nocta::test {
namespace {

constexpr Ending cleanExit{.exitStatus = 0};
constexpr Ending failedStart{.exitStatus = 1};

/// KWin takes two seconds for a way, and Nocta waits for the end of its own fades.
constexpr std::chrono::seconds patience{40};

/// A compositor with two white screens, a bus, a home; and Nocta in it.
class KWinSession : public testing::Test {
  protected:
    KWinSession() {
        std::filesystem::create_directory(home.path() / "runtime");
        std::filesystem::permissions(home.path() / "runtime", std::filesystem::perms::owner_all);
    }

    void writeSettings(const std::string& content) const {
        std::filesystem::create_directories(home.path() / "config/nocta");
        std::ofstream(home.path() / "config/nocta/nocta.conf", std::ios::binary) << content;
    }

    [[nodiscard]] std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
        arguments.front() = programFolder() / arguments.front();
        return std::make_unique<Process>(
            std::move(arguments),
            Process::Environment{{"HOME", home.path()},
                                 {"XDG_CONFIG_HOME", home.path() / "config"},
                                 {"XDG_RUNTIME_DIR", home.path() / "runtime"},
                                 {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (home.path() / "no-system-bus").string()}});
    }

    /// Whether the screens become that warm, by KWin's own colours, and that bright.
    [[nodiscard]] bool become(int kelvin, double brightness) const {
        const auto tint = warmTint(kelvin, 1.0);
        const double nearest = colours.nearest({.red = tint.red, .green = tint.green, .blue = tint.blue});
        return eventually(
            [&] {
                // KWin stays where it is for 50 K, and its colours are known to the third of that.
                return std::abs(kwin.temperature().value_or(0) - nearest) <= 50 + 50.0 / 3 && areAsBright(brightness);
            },
            patience);
    }
    [[nodiscard]] bool becomeTheirOwn() const {
        return eventually([&] { return kwin.temperature() == 6500U && areAsBright(1.0); }, patience);
    }
    [[nodiscard]] bool areAsBright(double brightness) const {
        return isLevel({300, 700}, 255 * brightness) && isLevel({1280 + 300, 700}, 255 * brightness);
    }
    /// Whether a place of the desktop is a grey of that level.
    [[nodiscard]] bool isLevel(const Point& place, double level) const {
        const auto colour = kwin.colourAt(place.x, place.y);
        return colour && std::ranges::all_of(*colour, [&](double channel) { return std::abs(channel - level) <= 1.0; });
    }

    KWin kwin{2, KWin::Drawing::pictured};
    Process wallpaper{{"swaybg", "--color", "#ffffff"}};
    ColoursOfKWin colours;
    TemporaryFolder home;
};

TEST_F(KWinSession, LaunchShowsTheSavedPresetAndTheEndGivesTheScreensBack) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = start({"driven-nocta"});
    EXPECT_TRUE(become(3400, 0.8)) << nocta->errors();
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(becomeTheirOwn());
    EXPECT_EQ(nocta->errors(), "");
}

TEST_F(KWinSession, AProgramThatIsKilledLeavesNoTint) {
    writeSettings("[General]\nactivePresetID=sleep\n");
    const auto nocta = start({"driven-nocta"});
    ASSERT_TRUE(become(1900, 0.5)) << nocta->errors();
    nocta->signal(SIGKILL);
    EXPECT_TRUE(becomeTheirOwn());
}

TEST_F(KWinSession, FollowsThePresetsAlsoOnAScreenThatIsSwitchedOn) {
    switchOutput(kwin.socket(), 1, false);
    const auto nocta = start({"driven-nocta"});
    nocta->write("preset evening\n");
    ASSERT_TRUE(eventually([&] { return isLevel({300, 700}, 255 * 0.7); }, patience)) << nocta->errors();
    switchOutput(kwin.socket(), 1, true);
    EXPECT_TRUE(become(2700, 0.7));
    nocta->write("preset dusk\n");
    EXPECT_TRUE(become(3400, 0.8));
    nocta->write("quit\n");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(becomeTheirOwn());
}

TEST_F(KWinSession, DimsThePopoverTooAndTakesNoClick) {
    writeSettings("[General]\nactivePresetID=sleep\n");
    const auto nocta = start({"driven-nocta"});
    ASSERT_TRUE(become(1900, 0.5)) << nocta->errors();
    EXPECT_EQ(start({"noctactl", "popover"})->waitForEnd(), cleanExit);
    // The popover's is the upper right corner. Nothing there is as bright as the screens are.
    const Point within{1150, 300};
    const auto isPlain = [&] { return isLevel(within, 255 * 0.5); };
    ASSERT_TRUE(eventually([&] { return !isPlain(); }, patience));
    EXPECT_TRUE(eventually(
        [&] {
            const auto colour = kwin.colourAt(within.x, within.y);
            return colour && !isPlain() && std::ranges::all_of(*colour, [](int level) { return level <= 128; });
        },
        patience));
    KWinInput hand;
    hand.move({300, 700});
    // What waits for the click comes some time after the popover.
    EXPECT_TRUE(eventually(
        [&] {
            hand.click();
            return isPlain();
        },
        patience));
}

TEST_F(KWinSession, EndsWithAnErrorWhenTheCompositorGoesAway) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = start({"driven-nocta"});
    ASSERT_TRUE(become(3400, 0.8)) << nocta->errors();
    kwin.kill();
    EXPECT_EQ(nocta->waitForEnd(), failedStart);
    EXPECT_EQ(nocta->errors(), "nocta: the display server went away\n");
}

} // namespace
} // namespace nocta::test
