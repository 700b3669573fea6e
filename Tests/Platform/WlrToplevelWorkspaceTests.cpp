#include "Platform/Wayland/WlrToplevelWorkspace.h"

#include "Support/Process.h"
#include "Support/Sway.h"
#include "Support/WlrCompositor.h"
#include "WorkspaceTest.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::Process;

class WlrToplevelSession : public test::WorkspaceTest {
  protected:
    explicit WlrToplevelSession(std::unique_ptr<test::WlrCompositor> made) : compositor(std::move(made)) {}
    ~WlrToplevelSession() override {
        observer.reset();
        programs.clear(); // before their compositor
    }

    void observe() { observer = workspace.addActivationObserver(recorder()); }

    /// A program whose window has this application id. A new window has the keyboard.
    Process& open(const std::string& id) {
        return *programs.emplace_back(std::make_unique<Process>(
            std::vector<std::string>{"foot", "--app-id=" + id, "sleep", "100"},
            Process::Environment{{"HOME", home.path()}, {"XDG_CONFIG_HOME", home.path() / "config"}}));
    }

    std::unique_ptr<test::WlrCompositor> compositor;
    WlrToplevelWorkspace workspace{runLoop, {desktopFiles()}};
    std::vector<std::unique_ptr<Process>> programs;
    std::unique_ptr<WorkspaceObserver> observer;
};

class WlrToplevelWorkspaceTest : public WlrToplevelSession,
                                 public testing::WithParamInterface<test::WlrCompositorKind> {
  protected:
    WlrToplevelWorkspaceTest() : WlrToplevelSession(GetParam().make(1024)) {}
};

INSTANTIATE_TEST_SUITE_P(Each, WlrToplevelWorkspaceTest, testing::ValuesIn(test::installedWlrCompositors()),
                         [](const auto& kind) { return kind.param.name; });

TEST_P(WlrToplevelWorkspaceTest, ReportsTheApplicationOfTheWindowThatGetsTheKeyboard) {
    ASSERT_TRUE(workspace.isAvailable());
    observe();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
    open("org.example.one");
    EXPECT_TRUE(reported({"org.example.one"}));
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
    compositor->focus("org.example.one");
    EXPECT_TRUE(reported({"org.example.one"}));
    EXPECT_EQ(workspace.frontmostApplication(), (RunningApplication{.bundleIdentifier = "org.example.one"}));
}

TEST_P(WlrToplevelWorkspaceTest, NamesTheDesktopFileThatBearsTheIdOrSpeaksOfIt) {
    install("org.example.Editor");
    install("org.example.Player", "StartupWMClass=player\n");
    observe();
    open("org.example.editor");
    EXPECT_TRUE(reported({"org.example.Editor"}));
    open("Player");
    EXPECT_TRUE(reported({"org.example.Player"}));
    open("Some-Thing");
    EXPECT_TRUE(reported({"some-thing"}));
}

TEST_P(WlrToplevelWorkspaceTest, TheApplicationThatIsThereAtFirstIsKnownAndNotReported) {
    open("org.example.one");
    ASSERT_TRUE(loop.runUntil([this] { return compositor->windowCount() == 1; }));
    observe();
    EXPECT_TRUE(loop.runUntil([this] { return workspace.frontmostApplication().has_value(); }));
    EXPECT_TRUE(reports.empty());
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
}

TEST_P(WlrToplevelWorkspaceTest, WithoutAWindowInFrontTheLastApplicationStays) {
    observe();
    auto& one = open("org.example.one");
    ASSERT_TRUE(reported({"org.example.one"}));
    one.signal(SIGTERM);
    one.waitForEnd();
    loop.runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(workspace.frontmostApplication(), (RunningApplication{.bundleIdentifier = "org.example.one"}));
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
}

class WlrToplevelWorkspaceOnSway : public WlrToplevelSession {
  protected:
    WlrToplevelWorkspaceOnSway() : WlrToplevelSession(std::make_unique<test::Sway>()) {}

    const test::Sway& sway = dynamic_cast<const test::Sway&>(*compositor);
};

TEST_F(WlrToplevelWorkspaceOnSway, OnAnEmptyWorkspaceTheLastApplicationStays) {
    observe();
    open("org.example.one");
    ASSERT_TRUE(reported({"org.example.one"}));
    sway.command("workspace 5");
    loop.runFor(std::chrono::milliseconds(100));
    EXPECT_TRUE(reports.empty());
    sway.command("workspace 1");
    loop.runFor(std::chrono::milliseconds(100));
    EXPECT_TRUE(reports.empty()) << "the same one";
    EXPECT_EQ(workspace.frontmostApplication(), (RunningApplication{.bundleIdentifier = "org.example.one"}));
}

TEST_P(WlrToplevelWorkspaceTest, AnotherWindowOfTheSameApplicationIsNoChange) {
    observe();
    open("org.example.one");
    ASSERT_TRUE(reported({"org.example.one"}));
    open("org.example.one");
    ASSERT_TRUE(loop.runUntil([this] { return compositor->windowCount() == 2; }));
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
}

TEST_P(WlrToplevelWorkspaceTest, WhileNobodyObservesNothingWakesIt) {
    observe();
    open("org.example.one");
    ASSERT_TRUE(reported({"org.example.one"}));
    observer.reset();
    // Until the compositor has said its last to who observed.
    auto before = runLoop.wakeUps();
    do {
        before = runLoop.wakeUps();
        loop.runFor(std::chrono::milliseconds(300));
    } while (runLoop.wakeUps() != before);
    open("org.example.two");
    ASSERT_TRUE(loop.runUntil([this] { return compositor->windowCount() == 2; }));
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(runLoop.wakeUps(), before);
    observe();
    EXPECT_TRUE(loop.runUntil([this] {
        return workspace.frontmostApplication() == RunningApplication{.bundleIdentifier = "org.example.two"};
    }));
    EXPECT_TRUE(reports.empty());
}

TEST_P(WlrToplevelWorkspaceTest, AnObserverMayEndItselfInItsOwnHandler) {
    int count = 0;
    observer = workspace.addActivationObserver([&](const auto&) {
        ++count;
        observer.reset();
    });
    open("org.example.one");
    EXPECT_TRUE(loop.runUntil([&] { return count == 1; }));
    open("org.example.two");
    ASSERT_TRUE(loop.runUntil([this] { return compositor->windowCount() == 2; }));
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(count, 1);
}

TEST_P(WlrToplevelWorkspaceTest, IsHarmlessWithoutItsCompositor) {
    observe();
    compositor->kill();
    loop.runFor(std::chrono::milliseconds(50));
    observer.reset();
    observe();
    EXPECT_TRUE(reports.empty());
}

TEST(WlrToplevelWorkspaceWithoutCompositor, IsNotAvailable) {
    unsetenv("WAYLAND_DISPLAY");
    test::QtLoop loop;
    QtRunLoop runLoop;
    WlrToplevelWorkspace workspace(runLoop);
    EXPECT_FALSE(workspace.isAvailable());
    EXPECT_NE(workspace.addActivationObserver([](const auto&) {}), nullptr);
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
}

} // namespace
} // namespace nocta
