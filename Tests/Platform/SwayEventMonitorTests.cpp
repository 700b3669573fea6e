#include "Platform/Sway/SwayEventMonitor.h"

#include "Platform/Qt/QtRunLoop.h"
#include "QtLoop.h"
#include "Support/PhysicalKey.h"
#include "Support/Process.h"
#include "Support/Sway.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr auto shortcut = modifier::command | modifier::shift;
const std::vector<std::string> shortcutKeys{"logo", "shift"};

class SwayEventMonitorTest : public testing::Test {
  protected:
    SwayEventMonitorTest() {
        setenv("SWAYSOCK", sway.commandSocket().c_str(), 1);
        monitor.emplace(runLoop);
        sway.command("bindcode Mod4+31 exec touch " + pressed().string());
    }
    ~SwayEventMonitorTest() override {
        token.reset(); // before its sway
        unsetenv("SWAYSOCK");
    }

    void observe() {
        token = monitor->addGlobalKeyDownMonitor([this](const KeyEvent& event) { events.push_back(event); });
    }
    /// Once it has been carried out, what was pressed before has been reported.
    void pressTheOther() {
        std::filesystem::remove(pressed());
        test::pressPhysicalI({"logo"});
        EXPECT_TRUE(loop.runUntil([this] { return std::filesystem::exists(pressed()); }));
        loop.runDue();
    }
    /// A file of sway's own folder.
    [[nodiscard]] std::filesystem::path pressed() const { return sway.socket().parent_path() / "pressed"; }

    test::Sway sway;
    test::QtLoop loop;
    QtRunLoop runLoop;
    std::optional<SwayEventMonitor> monitor;
    std::vector<KeyEvent> events;
    std::unique_ptr<EventMonitorToken> token;
};

TEST_F(SwayEventMonitorTest, ReportsTheShortcutWhateverModifiersAreHeldBesides) {
    observe();
    test::pressPhysicalI({"logo", "shift"});
    ASSERT_TRUE(loop.runUntil([this] { return events.size() == 1; }));
    test::pressPhysicalI({"logo", "shift", "ctrl"});
    ASSERT_TRUE(loop.runUntil([this] { return events.size() == 2; }));
    test::pressPhysicalI({"logo", "shift", "ctrl", "alt"});
    ASSERT_TRUE(loop.runUntil([this] { return events.size() == 3; }));
    EXPECT_EQ(events, (std::vector<KeyEvent>{
                          {.modifierFlags = shortcut, .keyCode = keycode::i},
                          {.modifierFlags = shortcut | modifier::control, .keyCode = keycode::i},
                          {.modifierFlags = shortcut | modifier::control | modifier::option, .keyCode = keycode::i},
                      }));
}

TEST_F(SwayEventMonitorTest, LeavesTheKeyAloneWithFewerModifiers) {
    observe();
    test::pressPhysicalI({"shift"});
    pressTheOther();
    EXPECT_TRUE(events.empty());
}

TEST_F(SwayEventMonitorTest, NeitherReportsNorBindsAnythingOnceTheMonitorHasEnded) {
    // As one leaves it that was killed.
    sway.command("bindcode --locked --inhibited Mod4+Shift+31 nop nocta");
    observe();
    test::pressPhysicalI(shortcutKeys);
    ASSERT_TRUE(loop.runUntil([this] { return events.size() == 1; }));
    token.reset();
    test::Process bindings({"sh", "-c", "exec swaymsg --monitor --type subscribe '[\"binding\"]' >&2"});
    ASSERT_TRUE(loop.runUntil([&] {
        // Until it listens.
        test::pressPhysicalI({"logo"});
        return bindings.errors().find("touch") != std::string::npos;
    }));
    const auto before = bindings.errors().size();
    test::pressPhysicalI(shortcutKeys);
    test::pressPhysicalI({"logo"});
    ASSERT_TRUE(loop.runUntil([&] { return bindings.errors().find("touch", before) != std::string::npos; }));
    EXPECT_EQ(bindings.errors().find("nocta\""), std::string::npos) << bindings.errors();
    EXPECT_EQ(events.size(), 1U);
}

class SwayWithABindingOfTheUsers : public SwayEventMonitorTest, public testing::WithParamInterface<const char*> {};

TEST_P(SwayWithABindingOfTheUsers, ThatWins) {
    const auto own = sway.socket().parent_path() / "own";
    sway.command(GetParam() + (" exec touch " + own.string()));
    observe();
    test::pressPhysicalI(shortcutKeys);
    EXPECT_TRUE(loop.runUntil([&] { return std::filesystem::exists(own); }));
    pressTheOther();
    EXPECT_TRUE(events.empty());
    token.reset();
    std::filesystem::remove(own);
    test::pressPhysicalI(shortcutKeys);
    EXPECT_TRUE(loop.runUntil([&] { return std::filesystem::exists(own); })) << "it is still there";
}

INSTANTIATE_TEST_SUITE_P(Ways, SwayWithABindingOfTheUsers,
                         testing::Values("bindsym Mod4+Shift+i", "bindcode Mod4+Shift+31"),
                         [](const auto& way) { return std::string(way.param).substr(0, 7); });

TEST_F(SwayEventMonitorTest, IsThereAgainAfterSwayHasReadItsConfigurationAgain) {
    observe();
    sway.command("reload");
    EXPECT_TRUE(loop.runUntil([this] {
        test::pressPhysicalI(shortcutKeys);
        loop.runFor(std::chrono::milliseconds(50));
        return !events.empty();
    }));
}

TEST_F(SwayEventMonitorTest, AMonitorMayEndItself) {
    token = monitor->addGlobalKeyDownMonitor([this](const KeyEvent& event) {
        events.push_back(event);
        token.reset();
    });
    test::pressPhysicalI(shortcutKeys);
    ASSERT_TRUE(loop.runUntil([this] { return !events.empty(); }));
    test::pressPhysicalI(shortcutKeys);
    pressTheOther();
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(SwayEventMonitorTest, EndsQuietlyWithSway) {
    observe();
    sway.kill();
    loop.runFor(std::chrono::milliseconds(50));
    token.reset();
    EXPECT_TRUE(events.empty());
}

TEST_F(SwayEventMonitorTest, WithoutSwayItIsNotAvailable) {
    EXPECT_TRUE(monitor->isAvailable());
    for (const auto* path : {"", "/nonexistent/sway.sock"}) {
        setenv("SWAYSOCK", path, 1);
        EXPECT_FALSE(SwayEventMonitor(runLoop).isAvailable());
    }
    unsetenv("SWAYSOCK");
    EXPECT_FALSE(SwayEventMonitor(runLoop).isAvailable());
}

} // namespace
} // namespace nocta
