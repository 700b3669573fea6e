#include "Platform/X11/EwmhWorkspace.h"

#include "Support/DrivenWindows.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/ServerTurns.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"
#include "WorkspaceTest.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::Process;

RunningApplication application(const std::string& id) {
    return {.bundleIdentifier = id};
}

class EwmhWorkspaceTest : public test::WorkspaceTest {
  protected:
    void observe() { observer = workspace.addActivationObserver(recorder()); }

    /// An X client of another process whose window has this class, and "some" as its instance.
    xcb_window_t open(const std::string& className, const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments{"xterm", "-name", "some", "-class", className};
        arguments.insert(arguments.end(), options.begin(), options.end());
        programs.emplace_back(start(arguments));
        return windows.await(className);
    }

    [[nodiscard]] std::unique_ptr<Process> start(const std::vector<std::string>& arguments) const {
        return std::make_unique<Process>(arguments, Process::Environment{{"HOME", home.path()},
                                                                         {"XDG_CONFIG_HOME", home.path() / "config"},
                                                                         {"XDG_RUNTIME_DIR", home.path()},
                                                                         {"XDG_CURRENT_DESKTOP", ""},
                                                                         {"QT_QPA_PLATFORM", "xcb"},
                                                                         {"GDK_BACKEND", "x11"}});
    }

    /// Makes the window the active one, as a window manager does, and expects its application.
    [[nodiscard]] bool bringsToFront(xcb_window_t window, const std::string& id) {
        windows.setActive(window);
        return reported({id});
    }

    test::XServer xServer;
    test::DrivenWindows windows;
    std::vector<std::unique_ptr<Process>> programs;
    EwmhWorkspace workspace{runLoop, {desktopFiles()}};
    std::unique_ptr<WorkspaceObserver> observer;
};

TEST_F(EwmhWorkspaceTest, TheApplicationThatIsInFrontWhenTheObservationBeginsIsKnownButNotReported) {
    ASSERT_TRUE(workspace.isAvailable());
    const auto first = open("First");
    const auto second = open("Second");
    windows.setActive(first);
    observe();
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
    EXPECT_TRUE(loop.runUntil([&] { return workspace.frontmostApplication() == application("first"); }));
    windows.setActive(XCB_WINDOW_NONE);
    windows.setActive(first);
    EXPECT_TRUE(bringsToFront(second, "second"));
}

TEST_F(EwmhWorkspaceTest, AChangeRightAfterTheObservationBeganIsReported) {
    const auto first = open("First");
    const auto second = open("Second");
    windows.setActive(first);
    observe();
    windows.setActive(second);
    EXPECT_TRUE(reports.empty()) << "only from the run loop";
    EXPECT_TRUE(reported({"second"}));
    EXPECT_TRUE(bringsToFront(first, "first"));
}

TEST_F(EwmhWorkspaceTest, ReportsEveryChangeOnce) {
    const auto first = open("First");
    const auto second = open("Second");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    windows.setActive(first);
    EXPECT_TRUE(bringsToFront(second, "second"));
    EXPECT_TRUE(bringsToFront(first, "first"));
}

TEST_F(EwmhWorkspaceTest, TheMomentWithoutAWindowBetweenTwoIsNoChange) {
    const auto first = open("First");
    const auto second = open("Second");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    windows.setActive(XCB_WINDOW_NONE);
    loop.runFor(std::chrono::milliseconds(20));
    windows.setActive(first);
    loop.runFor(std::chrono::milliseconds(20));
    EXPECT_EQ(workspace.frontmostApplication(), application("first"));
    EXPECT_TRUE(bringsToFront(second, "second"));
}

TEST_F(EwmhWorkspaceTest, DesktopsPanelsAndNotificationsAreNoApplications) {
    const auto first = open("First");
    const auto second = open("Second");
    const auto third = open("Third");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    for (const auto* type :
         {"_NET_WM_WINDOW_TYPE_DESKTOP", "_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_NOTIFICATION"}) {
        windows.setAtom(second, "_NET_WM_WINDOW_TYPE", type);
        windows.setActive(second);
        loop.runFor(std::chrono::milliseconds(20));
        EXPECT_TRUE(bringsToFront(third, "third")) << type;
        EXPECT_TRUE(bringsToFront(first, "first")) << type;
    }
    windows.setAtom(second, "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DIALOG");
    EXPECT_TRUE(bringsToFront(second, "second"));
}

TEST_F(EwmhWorkspaceTest, OwnWindowsAreNoApplications) {
    const auto first = open("First");
    const auto second = open("Second");
    // Of another connection of this process, as its user interface has one.
    const auto own = windows.createPopup();
    windows.setText(own, "_GTK_APPLICATION_ID", "org.nocta.Nocta");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    windows.setActive(own);
    loop.runFor(std::chrono::milliseconds(20));
    EXPECT_EQ(workspace.frontmostApplication(), application("first"));
    EXPECT_TRUE(bringsToFront(second, "second"));
}

TEST_F(EwmhWorkspaceTest, AWindowThatVanishesWhileItIsAskedAboutIsNoError) {
    const auto first = open("First");
    const auto second = open("Second");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    for (int i = 0; i < 50; ++i) {
        const auto fleeting = windows.createPopup();
        windows.setActive(fleeting);
        windows.destroy(fleeting);
        loop.runFor(std::chrono::milliseconds(1));
    }
    programs.back().reset(); // takes the second window along
    windows.setActive(second);
    loop.runFor(std::chrono::milliseconds(20));
    const auto third = open("Third");
    EXPECT_TRUE(bringsToFront(third, "third"));
}

TEST_F(EwmhWorkspaceTest, WhatTheWindowStatesCountsMoreThanItsClass) {
    std::ofstream(desktopFiles() / "installed.desktop") << "[Desktop Entry]\nType=Application\nStartupWMClass=First\n";
    const auto first = open("First");
    const auto second = open("Second");
    observe();
    const auto bringsBack = [&](const std::string& id) {
        return bringsToFront(second, "second") && bringsToFront(first, id);
    };
    EXPECT_TRUE(bringsBack("installed"));
    windows.setText(first, "_KDE_NET_WM_DESKTOP_FILE", "/usr/share/applications/org.kde.okular.desktop");
    EXPECT_TRUE(bringsBack("org.kde.okular"));
    windows.setText(first, "_GTK_APPLICATION_ID", "org.gnome.Maps");
    EXPECT_TRUE(bringsBack("org.gnome.Maps"));
    windows.remove(first, "_GTK_APPLICATION_ID");
    windows.remove(first, "_KDE_NET_WM_DESKTOP_FILE");
    EXPECT_TRUE(bringsBack("installed"));
}

TEST_F(EwmhWorkspaceTest, AWindowFromAFlatpaksSandboxIsThatFlatpaks) {
    std::ofstream(desktopFiles() / "xterm.desktop") << "[Desktop Entry]\nType=Application\nStartupWMClass=Boxed\n";
    const auto info = home.path() / "flatpak-info";
    std::ofstream(info) << "[Application]\nname=org.example.Boxed\nruntime=runtime/org.example.Platform/x86_64/1\n";
    const auto first = open("First");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    // A root and processes of its own, as Flatpak starts its applications.
    programs.push_back(start({"bwrap",          "--die-with-parent",
                              "--unshare-pid",  "--ro-bind",
                              "/usr",           "/usr",
                              "--symlink",      "usr/bin",
                              "/bin",           "--symlink",
                              "usr/lib",        "/lib",
                              "--symlink",      "usr/lib64",
                              "/lib64",         "--ro-bind",
                              "/etc",           "/etc",
                              "--dev-bind",     "/dev",
                              "/dev",           "--proc",
                              "/proc",          "--bind",
                              "/tmp",           "/tmp",
                              "--ro-bind",      info,
                              "/.flatpak-info", "xterm",
                              "-name",          "some",
                              "-class",         "Boxed"}));
    const auto boxed = windows.await("Boxed");
    EXPECT_TRUE(bringsToFront(boxed, "org.example.Boxed"));
    windows.setText(boxed, "_GTK_APPLICATION_ID", "org.example.Stated");
    EXPECT_TRUE(bringsToFront(first, "first"));
    EXPECT_TRUE(bringsToFront(boxed, "org.example.Stated"));
}

TEST_F(EwmhWorkspaceTest, AnApplicationInstalledMeanwhileIsKnown) {
    const auto first = open("First");
    const auto second = open("Second");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    EXPECT_TRUE(bringsToFront(second, "second"));
    std::ofstream(desktopFiles() / "org.example.First.desktop")
        << "[Desktop Entry]\nType=Application\nStartupWMClass=First\n";
    EXPECT_TRUE(bringsToFront(first, "org.example.First"));
}

TEST_F(EwmhWorkspaceTest, ManyInstalledApplicationsAreReadInTurns) {
    for (int i = 0; i < 500; ++i) {
        std::ofstream(desktopFiles() / ("application" + std::to_string(i) + ".desktop"))
            << "[Desktop Entry]\nType=Application\nStartupWMClass=Class" << i << "\n";
    }
    const auto last = open("Class499");
    const auto other = open("Other");
    observe();
    const int before = runLoop.wakeUps();
    EXPECT_TRUE(bringsToFront(last, "application499"));
    EXPECT_GE(runLoop.wakeUps() - before, 10);
    EXPECT_TRUE(bringsToFront(other, "other"));
}

TEST_F(EwmhWorkspaceTest, AWindowThatNamesNothingIsReportedWithoutAnIdAndAgainWhenItHasAName) {
    const auto first = open("First");
    const auto second = open("Second");
    windows.remove(first, "WM_CLASS");
    observe();
    windows.setActive(first);
    EXPECT_TRUE(reported({"(none)"}));
    EXPECT_EQ(workspace.frontmostApplication(), RunningApplication{});
    windows.setText(first, "WM_CLASS", std::string("late\0Late\0", 10));
    EXPECT_TRUE(reported({"late"}));
    windows.setText(first, "WM_CLASS", std::string("later\0Later\0", 12));
    EXPECT_TRUE(bringsToFront(second, "second"));
}

TEST_F(EwmhWorkspaceTest, OnlyAChangeOfTheActiveWindowWakesIt) {
    const auto first = open("First");
    const auto second = open("Second");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    EXPECT_TRUE(bringsToFront(second, "second"));
    loop.runFor(std::chrono::milliseconds(20));
    const int before = runLoop.wakeUps();
    for (int i = 0; i < 20; ++i) {
        windows.setText(first, "WM_NAME", "Title " + std::to_string(i));
        windows.setText(second, "WM_NAME", "Title " + std::to_string(i));
        windows.destroy(windows.createPopup());
    }
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(runLoop.wakeUps(), before);
}

TEST_F(EwmhWorkspaceTest, WhereNobodyObservesNothingWakesItAndALaterObservationBeginsAnew) {
    const auto first = open("First");
    const auto second = open("Second");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    observer.reset();
    const auto settle = [this] {
        loop.runDue();
        test::letServerServe(windows.server());
        loop.runFor(std::chrono::milliseconds(20));
    };
    settle();
    const int before = runLoop.wakeUps();
    windows.setActive(second);
    windows.setActive(first);
    windows.setActive(second);
    settle();
    EXPECT_EQ(runLoop.wakeUps(), before);
    observe();
    EXPECT_TRUE(loop.runUntil([&] { return workspace.frontmostApplication() == application("second"); }));
    EXPECT_TRUE(bringsToFront(first, "first"));
}

TEST_F(EwmhWorkspaceTest, WhatAnEndedObservationWasAboutToReportIsNotReportedToTheNext) {
    const auto first = open("First");
    const auto second = open("Second");
    const auto third = open("Third");
    observe();
    windows.setActive(first);
    windows.setActive(second);
    observer.reset();
    observe();
    EXPECT_TRUE(bringsToFront(third, "third"));
}

TEST_F(EwmhWorkspaceTest, EveryObserverHearsOfWhatComesAfterItBegan) {
    const auto first = open("First");
    const auto second = open("Second");
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    std::vector<RunningApplication> heard;
    const auto other = workspace.addActivationObserver([&](const auto& reported) { heard.push_back(reported); });
    EXPECT_TRUE(bringsToFront(second, "second"));
    EXPECT_EQ(heard, std::vector<RunningApplication>{application("second")});
}

TEST_F(EwmhWorkspaceTest, AnObserverMayEndInsideItsHandler) {
    const auto first = open("First");
    const auto second = open("Second");
    int calls = 0;
    std::unique_ptr<WorkspaceObserver> once = workspace.addActivationObserver([&](const auto&) {
        ++calls;
        once.reset();
    });
    observe();
    EXPECT_TRUE(bringsToFront(first, "first"));
    EXPECT_TRUE(bringsToFront(second, "second"));
    EXPECT_EQ(calls, 1);
}

TEST_F(EwmhWorkspaceTest, NeverWaitsForTheServerOnceItObserves) {
    const auto first = open("First");
    observe();
    windows.setActive(first);
    // A workspace that asked a stopped server anything would never come back.
    kill(xServer.id(), SIGSTOP);
    loop.runFor(std::chrono::milliseconds(20));
    kill(xServer.id(), SIGCONT);
    EXPECT_TRUE(reported({"first"}));
}

TEST_F(EwmhWorkspaceTest, WithoutItsServerItIsSilent) {
    observe();
    loop.runFor(std::chrono::milliseconds(20));
    xServer.kill();
    loop.runFor(std::chrono::milliseconds(20));
    const int before = runLoop.wakeUps();
    const auto other = workspace.addActivationObserver([](const auto&) { FAIL(); });
    loop.runFor(std::chrono::milliseconds(20));
    EXPECT_LE(runLoop.wakeUps(), before + 2) << "it must not spin";
    EXPECT_TRUE(reports.empty());
}

class EwmhWorkspaceUnder : public EwmhWorkspaceTest, public testing::WithParamInterface<const char*> {
  protected:
    EwmhWorkspaceUnder() { startManager(GetParam()); }

    void startManager(const std::string& program) {
        std::vector<std::string> arguments{program};
        if (program == "xfwm4") {
            arguments.emplace_back("--compositor=off");
        }
        manager = start(arguments);
        windows.awaitManager();
    }

    /// Lets the window manager bring the window to the front and expects its application.
    [[nodiscard]] bool activates(xcb_window_t window, const std::string& id) {
        windows.activate(window);
        return reported({id});
    }

    test::SessionBus bus;
    std::unique_ptr<Process> manager;
};

INSTANTIATE_TEST_SUITE_P(Managers, EwmhWorkspaceUnder, testing::Values("openbox", "xfwm4"),
                         [](const auto& parameters) { return std::string(parameters.param); });

TEST_P(EwmhWorkspaceUnder, RealProgramsHaveTheIdsOfTheirDesktopFiles) {
    EwmhWorkspace installed(runLoop);
    const auto observation = installed.addActivationObserver(recorder());
    programs.push_back(start({"xterm"}));
    const auto xterm = windows.await("XTerm");
    EXPECT_TRUE(reported({"debian-xterm"}));
    programs.push_back(start({"mousepad", "--disable-server"})); // GTK 3
    const auto mousepad = windows.await("Mousepad");
    EXPECT_TRUE(reported({"org.xfce.mousepad"}));
    programs.push_back(start({"featherpad", "--standalone"})); // Qt
    const auto featherpad = windows.await("FeatherPad");
    EXPECT_TRUE(reported({"featherpad"}));
    const auto film = open("Film", {"-fullscreen"});
    EXPECT_TRUE(reported({"film"}));

    EXPECT_TRUE(activates(mousepad, "org.xfce.mousepad"));
    EXPECT_TRUE(activates(xterm, "debian-xterm"));
    EXPECT_TRUE(activates(featherpad, "featherpad"));
    EXPECT_TRUE(activates(film, "film"));
}

TEST_P(EwmhWorkspaceUnder, AThousandActivationsAtSpeedEndAtTheLastOneAndLeakNothing) {
    const std::vector<std::pair<xcb_window_t, std::string>> all{
        {open("First"), "first"}, {open("Second"), "second"}, {open("Third"), "third"}};
    observe();
    const auto openDescriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto residentPages = [] {
        std::ifstream file("/proc/self/statm");
        long size = 0;
        long resident = 0;
        file >> size >> resident;
        return resident;
    };
    using Clock = std::chrono::steady_clock;
    const auto frontIsActive = [&] {
        const auto active = windows.active();
        return std::ranges::any_of(all, [&](const auto& entry) {
            return entry.first == active && workspace.frontmostApplication() == application(entry.second);
        });
    };
    long descriptors = 0;
    [[maybe_unused]] long pages = 0;
    for (int i = 0; i < 1000; ++i) {
        windows.activate(all[static_cast<std::size_t>(i) % all.size()].first);
        loop.runFor(std::chrono::milliseconds(i % 2)); // some in one go, some one by one
        if (i % 100 == 50) {
            ASSERT_TRUE(loop.runUntil(frontIsActive)) << i;
            if (i == 150) {
                descriptors = openDescriptors();
                pages = residentPages();
            }
        }
    }
    // The window manager is behind, and may leave out some; where it ends, we end.
    auto last = windows.active();
    for (auto since = Clock::now(); Clock::now() - since < std::chrono::milliseconds(300);) {
        loop.runFor(std::chrono::milliseconds(10));
        if (const auto now = windows.active(); std::exchange(last, now) != now || now == XCB_WINDOW_NONE) {
            since = Clock::now();
        }
    }
    EXPECT_TRUE(loop.runUntil(frontIsActive));
    EXPECT_EQ(reports.back(), workspace.frontmostApplication());
    EXPECT_EQ(std::ranges::adjacent_find(reports), reports.end()) << "a change that is none";
    EXPECT_EQ(openDescriptors(), descriptors);
#ifndef NOCTA_SANITIZED // which keeps what was freed, and finds leaks by itself
    EXPECT_LT(residentPages() - pages, 256) << "a megabyte";
#endif
}

TEST_P(EwmhWorkspaceUnder, AnotherWindowManagerIsPickedUp) {
    observe();
    const auto first = open("First");
    ASSERT_TRUE(reported({"first"}));
    const auto second = open("Second");
    ASSERT_TRUE(reported({"second"}));
    EXPECT_TRUE(activates(first, "first"));
    manager->signal(SIGKILL);
    manager->waitForEnd();
    loop.runFor(std::chrono::milliseconds(20));
    startManager(std::string(GetParam()) == "openbox" ? "xfwm4" : "openbox");
    loop.runUntil([&] { return windows.active() != XCB_WINDOW_NONE; });
    loop.runFor(std::chrono::milliseconds(50));
    reports.clear();
    const bool isFirst = workspace.frontmostApplication() == application("first");
    EXPECT_TRUE(activates(isFirst ? second : first, isFirst ? "second" : "first"));
    EXPECT_TRUE(activates(isFirst ? first : second, isFirst ? "first" : "second"));
}

TEST(EwmhWorkspaceWithoutServer, IsNotAvailableAndHarmless) {
    unsetenv("DISPLAY");
    test::QtLoop loop;
    QtRunLoop runLoop;
    EwmhWorkspace workspace(runLoop);
    EXPECT_FALSE(workspace.isAvailable());
    const auto observer = workspace.addActivationObserver([](const auto&) { FAIL(); });
    loop.runFor(std::chrono::milliseconds(5));
    EXPECT_EQ(workspace.frontmostApplication(), std::nullopt);
}

} // namespace
} // namespace nocta
