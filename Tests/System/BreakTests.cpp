#include "Desktop.h"
#include "Support/DrivenWindows.h"
#include "Support/ForeignWindow.h"
#include "Support/ProcessMemory.h"
#include "Support/ServerResources.h"

#include <csignal>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace nocta::test {
namespace {

/// How many times as fast as people's Core's clock runs: a minute of work takes a second.
constexpr int factor = 60;

/// A desktop with a window manager, whose settings file asks for breaks.
class DesktopWithBreaks : public Desktop {
  protected:
    DesktopWithBreaks() : manager({"openbox"}, environment()) { windows.awaitManager(); }

    void writeBreaks(std::int64_t minutes, std::int64_t seconds) const {
        writeSettings("[General]\nactivePresetID=natural\nbreaksEnabled=true\nbreakIntervalMinutes=" +
                      std::to_string(minutes) + "\nbreakDurationSeconds=" + std::to_string(seconds) + "\n");
    }

    /// Starts Nocta and waits for its first break, which lasts minutes, and after which the next one is hours away.
    [[nodiscard]] std::unique_ptr<Process> startAndBreak() const {
        writeBreaks(1, std::int64_t{600} * factor);
        auto nocta = startDrivenNocta(factor);
        closePopover();
        EXPECT_TRUE(eventually([this] { return isCovered(); })) << nocta->errors();
        EXPECT_EQ(nocta->errors(), "");
        nocta->write("interval 1000\n");
        return nocta;
    }

    /// The windows on the screen that no window manager manages and that are as large as the main screen.
    [[nodiscard]] int overlays() const {
        const auto& server = displays.server();
        const XReply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(server.get(), xcb_query_tree(server.get(), server.root()), nullptr));
        int count = 0;
        for (const auto window : std::span(xcb_query_tree_children(tree.get()),
                                           static_cast<std::size_t>(xcb_query_tree_children_length(tree.get())))) {
            const auto attributesCookie = xcb_get_window_attributes(server.get(), window);
            const XReply<xcb_get_geometry_reply_t> geometry(
                xcb_get_geometry_reply(server.get(), xcb_get_geometry(server.get(), window), nullptr));
            const XReply<xcb_get_window_attributes_reply_t> attributes(
                xcb_get_window_attributes_reply(server.get(), attributesCookie, nullptr));
            if (attributes && geometry && attributes->override_redirect != 0 &&
                attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT && geometry->width == 1280 &&
                geometry->height == 800) {
                ++count;
            }
        }
        return count;
    }

    [[nodiscard]] bool isCovered() const {
        constexpr std::uint32_t background = 0x0d0800;
        return overlays() == 1 && pixel(0, 0) == background && pixel(1279, 799) == background;
    }
    /// 0xRRGGBB.
    [[nodiscard]] std::uint32_t pixel(std::int16_t x, std::int16_t y) const {
        const auto& server = displays.server();
        const XReply<xcb_get_image_reply_t> image(xcb_get_image_reply(
            server.get(), xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, server.root(), x, y, 1, 1, ~0U),
            nullptr));
        std::uint32_t color = 0;
        if (image) {
            std::memcpy(&color, xcb_get_image_data(image.get()), sizeof color);
        }
        return color & 0xffffffU;
    }
    [[nodiscard]] bool isUncovered() const { return overlays() == 0; }

    /// "1 taken, 0 skipped".
    static std::string tallies(Process& nocta) {
        const auto before = nocta.errors().size();
        nocta.write("tallies\n");
        std::string said;
        EXPECT_TRUE(eventually([&] {
            said = nocta.errors().substr(before);
            return said.ends_with('\n');
        }));
        return said.substr(0, said.find('\n'));
    }

    static void xdotool(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "xdotool");
        Process process(std::move(arguments));
        ASSERT_EQ(process.waitForEnd(), cleanExit) << process.errors();
    }

    Process manager;
    DrivenWindows windows;
};

TEST_F(DesktopWithBreaks, ComeAndGoAsTheSettingsFileSays) {
    writeBreaks(1, std::int64_t{2} * factor);
    const auto nocta = startDrivenNocta(factor);
    ASSERT_TRUE(eventually([this] { return isCovered(); }));
    nocta->write("interval 3\n"); // time to look around
    ASSERT_TRUE(eventually([this] { return isUncovered(); }));
    EXPECT_EQ(tallies(*nocta), "1 taken, 0 skipped");
    ASSERT_TRUE(eventually([this] { return isCovered(); }));
    nocta->write("interval 1000\n");
    ASSERT_TRUE(eventually([this] { return isUncovered(); }));
    EXPECT_EQ(tallies(*nocta), "2 taken, 0 skipped");
}

TEST_F(DesktopWithBreaks, AClickOnTheButtonSkipsABreakAndTheKeyboardGoesBack) {
    ForeignWindow document(0, 0, 400, 300, 0xff0000);
    document.activate();
    ASSERT_TRUE(eventually([&] { return document.hasFocus(); }));
    const auto nocta = startAndBreak();
    ASSERT_TRUE(eventually([&] { return !document.hasFocus(); }));
    xdotool({"mousemove", "640", "553", "click", "1"});
    EXPECT_TRUE(eventually([this] { return isUncovered(); }));
    EXPECT_EQ(tallies(*nocta), "0 taken, 1 skipped");
    EXPECT_TRUE(eventually([&] { return document.hasFocus(); }));
    xdotool({"key", "x"});
    EXPECT_TRUE(eventually([&] { return document.keyPresses() == 1; }));
}

TEST_F(DesktopWithBreaks, TheKeyboardSkipsABreak) {
    const auto nocta = startAndBreak();
    // What comes in the first half second is not meant for the button.
    EXPECT_TRUE(eventually([this] {
        xdotool({"key", "--delay", "1", "Tab", "space"});
        return isUncovered();
    }));
    EXPECT_EQ(tallies(*nocta), "0 taken, 1 skipped");
}

TEST_F(DesktopWithBreaks, NothingOfABreakOutlivesAKilledNocta) {
    ForeignWindow document(0, 0, 400, 300, 0xff0000);
    document.activate();
    ASSERT_TRUE(eventually([&] { return document.hasFocus(); }));
    const auto nocta = startAndBreak();
    nocta->signal(SIGKILL);
    nocta->waitForEnd();
    EXPECT_TRUE(eventually([this] { return isUncovered(); }));
    EXPECT_TRUE(becomesCalibrated());
    // The mouse and the keyboard are the other programs' again.
    xdotool({"mousemove", "200", "200", "click", "1"});
    EXPECT_TRUE(eventually([&] { return document.buttonPresses() == 1 && document.hasFocus(); }));
    xdotool({"key", "x"});
    EXPECT_TRUE(eventually([&] { return document.keyPresses() == 1; }));
}

TEST_F(DesktopWithBreaks, QuitDuringABreakTakesTheOverlayAlongAndGivesTheKeyboardBack) {
    ForeignWindow document(0, 0, 400, 300, 0xff0000);
    document.activate();
    ASSERT_TRUE(eventually([&] { return document.hasFocus(); }));
    for (const bool bySignal : {false, true}) {
        const auto nocta = startAndBreak();
        ASSERT_TRUE(eventually([&] { return !document.hasFocus(); }));
        if (bySignal) {
            nocta->signal(SIGTERM);
        } else {
            nocta->write("quit\n");
        }
        EXPECT_EQ(nocta->waitForEnd(), cleanExit) << nocta->errors();
        EXPECT_TRUE(isUncovered());
        EXPECT_TRUE(isCalibrated());
        EXPECT_TRUE(eventually([&] { return document.hasFocus(); }));
    }
}

/// In kB. The sanitizer has an allocator of its own, which keeps what is freed.
#ifdef NOCTA_SANITIZED
constexpr long allowedGrowth = 1'000'000;
#else
constexpr long allowedGrowth = 1024;
#endif

TEST_F(DesktopWithBreaks, ADayOfThemLeavesMemoryAndServerAsTheyWere) {
    constexpr int hasty = 1000;
    writeBreaks(100'000, 20);
    const auto nocta = startDrivenNocta(hasty);
    closePopover();
    std::int64_t taken = 0;
    const auto restAfter = [&](std::int64_t breaks) {
        nocta->write("interval 1\nrestart\n");
        ASSERT_TRUE(
            eventually([&] { return (taken = std::stoll(tallies(*nocta))) >= breaks; }, std::chrono::seconds(60)));
        // No break is on the screen after that, only the end of the last one's fade.
        nocta->write("interval 100000\nrestart\n");
        (void)tallies(*nocta);
        ASSERT_TRUE(eventually([this] { return isUncovered(); }));
        (void)tallies(*nocta);
    };
    restAfter(8);
    const auto resources = serverResourcesOf(nocta->id());
    const long memory = memoryOf(nocta->id(), "Private_Dirty:");
    EXPECT_GT(resources.connections, 0);
    restAfter(taken + 64); // with those before, as many as 24 hours have
    EXPECT_TRUE(eventually([&] { return !serverResourcesOf(nocta->id()).exceed(resources); }));
    const long growth = memoryOf(nocta->id(), "Private_Dirty:") - memory;
    EXPECT_LE(growth, allowedGrowth);
}

struct OddSettings {
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
};

class DesktopWithOddBreaks : public DesktopWithBreaks, public testing::WithParamInterface<OddSettings> {};

TEST_P(DesktopWithOddBreaks, NoctaServesThePersonAndBreaksCanBeTurnedOffFromATerminal) {
    writeBreaks(GetParam().minutes, GetParam().seconds);
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(eventually([this] { return overlays() > 0; }));
    nocta->write("apply 3400 0.8 0\n");
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(3400, 0.8)));
    nocta->write("interval " + std::to_string(GetParam().minutes) + "\n"); // saves the settings
    EXPECT_TRUE(eventually([this] { return settings().find("\nbreaksEnabled=true\n") != std::string::npos; }));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit) << nocta->errors();
    EXPECT_TRUE(isUncovered());
    EXPECT_TRUE(isCalibrated());

    Process sed({"sed", "-i", "s/^breaksEnabled=.*/breaksEnabled=false/", settingsFile()});
    ASSERT_EQ(sed.waitForEnd(), cleanExit);
    const auto restarted = startDrivenNocta();
    restarted->write("apply 2700 0.7 0\n");
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(2700, 0.7)));
    EXPECT_EQ(tallies(*restarted), "0 taken, 0 skipped");
    EXPECT_TRUE(isUncovered());
}

INSTANTIATE_TEST_SUITE_P(Each, DesktopWithOddBreaks,
                         testing::Values(OddSettings{0, 20}, OddSettings{-5, 20}, OddSettings{0, 0},
                                         OddSettings{-1, -1}),
                         [](const auto& test) {
                             const auto word = [](std::int64_t value) {
                                 return value < 0 ? "Minus" + std::to_string(-value) : std::to_string(value);
                             };
                             return word(test.param.minutes) + "MinutesAnd" + word(test.param.seconds) + "Seconds";
                         });

} // namespace
} // namespace nocta::test
