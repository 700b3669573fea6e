#include "Platform/KWin/KWinScriptWorkspace.h"

#include "Support/KWin.h"
#include "Support/Process.h"
#include "Support/TemporaryFolder.h"
#include "WorkspaceTest.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::Process;

const QString scriptName = QStringLiteral("org.nocta.Nocta.front");

class KWinScriptWorkspaceTest : public test::WorkspaceTest {
  protected:
    ~KWinScriptWorkspaceTest() override {
        observer.reset();
        windows.clear(); // before their compositor
    }

    /// And waits until KWin has the script.
    void observe() {
        observer = workspace.addActivationObserver(recorder());
        ASSERT_TRUE(loop.runUntil([] { return hasScript(); }));
        // It has been loaded, and is run by the next message.
        ASSERT_TRUE(loop.runUntil([this] { return isWatching(); }));
    }

    static QVariant ask(const QString& member, const QVariantList& arguments,
                        const QString& path = QStringLiteral("/Scripting"),
                        const QString& interface = QStringLiteral("org.kde.kwin.Scripting")) {
        auto message = QDBusMessage::createMethodCall(QStringLiteral("org.kde.KWin"), path, interface, member);
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message).arguments().value(0);
    }
    [[nodiscard]] static bool hasScript() { return ask(QStringLiteral("isScriptLoaded"), {scriptName}).toBool(); }
    /// Once its file has gone, KWin has run the script.
    [[nodiscard]] bool isWatching() const { return std::filesystem::is_empty(runtimeFolder.path()); }

    /// A window of another program, which has the keyboard.
    Process& open(const std::string& application) {
        auto& window = *windows.emplace_back(
            std::make_unique<Process>(std::vector<std::string>{test::programFolder() / "wayland-window", application}));
        EXPECT_TRUE(loop.runUntil([&] {
            return window.errors().find("\nactive\n") != std::string::npos || window.errors().starts_with("active\n");
        })) << window.errors();
        return window;
    }
    static void close(Process& window) {
        window.signal(SIGKILL);
        window.waitForEnd();
    }

    test::TemporaryFolder runtimeFolder;
    test::KWin kwin;
    const int variable = setenv("XDG_RUNTIME_DIR", runtimeFolder.path().c_str(), 1);
    KWinScriptWorkspace workspace{runLoop, {desktopFiles()}};
    std::vector<std::unique_ptr<Process>> windows;
    std::unique_ptr<WorkspaceObserver> observer;
};

TEST_F(KWinScriptWorkspaceTest, ReportsTheApplicationOfTheWindowThatGetsTheKeyboard) {
    ASSERT_TRUE(workspace.isAvailable());
    observe();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
    open("org.example.one");
    EXPECT_TRUE(reported({"org.example.one"}));
    auto& two = open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
    close(two);
    EXPECT_TRUE(reported({"org.example.one"}));
    EXPECT_EQ(workspace.frontmostApplication(), (RunningApplication{.bundleIdentifier = "org.example.one"}));
}

TEST_F(KWinScriptWorkspaceTest, NamesTheDesktopFileThatBearsTheIdOrSpeaksOfIt) {
    install("org.example.Editor");
    install("org.example.Player", "StartupWMClass=player\n");
    observe();
    open("org.example.editor");
    EXPECT_TRUE(reported({"org.example.Editor"}));
    open("Player");
    EXPECT_TRUE(reported({"org.example.Player"}));
    open("Some-Thing.desktop");
    EXPECT_TRUE(reported({"some-thing"}));
}

TEST_F(KWinScriptWorkspaceTest, TheApplicationThatIsThereAtFirstIsKnownAndNotReported) {
    open("org.example.one");
    observe();
    EXPECT_TRUE(loop.runUntil([this] { return workspace.frontmostApplication().has_value(); }));
    EXPECT_TRUE(reports.empty());
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
}

TEST_F(KWinScriptWorkspaceTest, WithoutAWindowInFrontTheLastApplicationStays) {
    observe();
    auto& one = open("org.example.one");
    ASSERT_TRUE(reported({"org.example.one"}));
    close(one);
    open("org.example.one");
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"})) << "and nothing before";
}

TEST_F(KWinScriptWorkspaceTest, TheDesktopItselfIsNoApplication) {
    observe();
    open("org.example.one");
    ASSERT_TRUE(reported({"org.example.one"}));
    auto& shell = open("org.kde.plasmashell");
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
    close(shell);
}

TEST_F(KWinScriptWorkspaceTest, WhileNobodyObservesKWinHasNoScript) {
    observe();
    open("org.example.one");
    ASSERT_TRUE(reported({"org.example.one"}));
    observer.reset();
    EXPECT_TRUE(loop.runUntil([] { return !hasScript(); }));
    const auto before = runLoop.wakeUps();
    open("org.example.two");
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(runLoop.wakeUps(), before);
    observe();
    EXPECT_TRUE(loop.runUntil([this] {
        return workspace.frontmostApplication() == RunningApplication{.bundleIdentifier = "org.example.two"};
    }));
    EXPECT_TRUE(reports.empty());
}

TEST_F(KWinScriptWorkspaceTest, TakesThePlaceOfTheScriptOfANoctaThatWasKilled) {
    const auto file = home.path() / "old.js";
    std::ofstream(file) << "(workspace.windowActivated || workspace.clientActivated).connect(function () {});";
    const auto number = ask(QStringLiteral("loadScript"), {QString::fromStdString(file), scriptName}).toInt();
    for (const auto* const path : {"/%1", "/Scripting/Script%1"}) { // in Plasma 5 and in Plasma 6
        ask(QStringLiteral("run"), {}, QString::fromLatin1(path).arg(number), QStringLiteral("org.kde.kwin.Script"));
    }
    ASSERT_TRUE(hasScript());
    open("org.example.one");
    observer = workspace.addActivationObserver(recorder());
    // Which the new one alone tells.
    ASSERT_TRUE(loop.runUntil([this] { return workspace.frontmostApplication().has_value(); }));
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
}

TEST_F(KWinScriptWorkspaceTest, ListensToNobodyButKWin) {
    observe();
    Process liar({"dbus-send", "--session", "--print-reply",
                  "--dest=" + QDBusConnection::sessionBus().baseService().toStdString(), "/org/nocta/KWinScript",
                  "org.nocta.KWinScript.Activated", "string:org.example.lie", "string:lie", "string:lie",
                  "boolean:true"});
    ASSERT_TRUE(loop.runUntil([&] { return !liar.isRunning(); }));
    EXPECT_NE(liar.waitForEnd(), test::Ending{.exitStatus = 0}) << "it gets an error";
    open("org.example.one");
    EXPECT_TRUE(reported({"org.example.one"})) << "and nothing before";
}

TEST_F(KWinScriptWorkspaceTest, GivesItsScriptToAKWinThatStartsAnew) {
    observe();
    open("org.example.one");
    ASSERT_TRUE(reported({"org.example.one"}));
    windows.clear();
    kwin.restart();
    ASSERT_TRUE(loop.runUntil([this] { return hasScript() && isWatching(); }));
    open("org.example.two");
    EXPECT_TRUE(reported({"org.example.two"}));
}

TEST_F(KWinScriptWorkspaceTest, AnObserverMayEndItselfInItsOwnHandler) {
    int count = 0;
    observer = workspace.addActivationObserver([&](const auto&) {
        ++count;
        observer.reset();
    });
    ASSERT_TRUE(loop.runUntil([this] { return hasScript() && isWatching(); }));
    open("org.example.one");
    EXPECT_TRUE(loop.runUntil([&] { return count == 1; }));
    EXPECT_TRUE(loop.runUntil([] { return !hasScript(); }));
    open("org.example.two");
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(count, 1);
}

TEST_F(KWinScriptWorkspaceTest, IsHarmlessWithoutKWin) {
    observe();
    kwin.kill();
    loop.runFor(std::chrono::milliseconds(50));
    observer.reset();
    observer = workspace.addActivationObserver([](const auto&) {});
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_FALSE(KWinScriptWorkspace(runLoop, {}).isAvailable());
}

TEST_F(KWinScriptWorkspaceTest, OnX11ItLeavesKWinToOthers) {
    const std::string display = std::getenv("WAYLAND_DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    EXPECT_FALSE(KWinScriptWorkspace(runLoop, {}).isAvailable());
    setenv("WAYLAND_DISPLAY", display.c_str(), 1);
}

TEST(KWinScriptWorkspaceWithoutBus, IsNotAvailable) {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("XDG_RUNTIME_DIR");
    setenv("WAYLAND_DISPLAY", "/nonexistent/wayland-0", 1);
    test::QtLoop loop;
    QtRunLoop runLoop;
    KWinScriptWorkspace workspace(runLoop);
    EXPECT_FALSE(workspace.isAvailable());
    EXPECT_NE(workspace.addActivationObserver([](const auto&) {}), nullptr);
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
    unsetenv("WAYLAND_DISPLAY");
}

} // namespace
} // namespace nocta
