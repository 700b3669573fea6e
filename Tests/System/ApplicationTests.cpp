#include "Desktop.h"
#include "Support/DrivenWindows.h"
#include "Support/NotificationDaemon.h"

#include <csignal>
#include <map>
#include <set>
#include <vector>

namespace nocta::test {
namespace {

const Ramps cinema = warmRamps(4000, 1.0);
const Ramps custom = warmRamps(3000, 0.6);

/// A desktop with a window manager, on which a person reads in one application and writes in another.
class DesktopWithApplications : public Desktop {
  protected:
    DesktopWithApplications() : manager({"openbox"}, environment()) { windows.awaitManager(); }

    /// Starts Nocta with these settings and waits until it has launched.
    std::unique_ptr<Process> launch(const std::string& content) {
        writeSettings("[General]\nappProfiles=\"@ByteArray({\\\"reader\\\":\\\"sleep\\\"})\"\n" + content);
        auto nocta = startDrivenNocta();
        nocta->write("interval 33\n");
        // What it saves shows that it takes commands.
        if (!eventually([this] { return settings().find("breakIntervalMinutes=33\n") != std::string::npos; })) {
            throw std::runtime_error("Nocta did not launch: " + nocta->errors());
        }
        closePopover();
        return nocta;
    }

    /// Opens an application of that window class, whose identifier is the same in lower case. It comes to the front.
    void open(const std::string& className) {
        programs[className] = std::make_unique<Process>(
            std::vector<std::string>{"xterm", "-name", "some", "-class", className}, environment());
        const auto window = windows.await(className);
        ASSERT_TRUE(eventually([&] { return windows.active() == window; })) << className;
    }
    void activate(const std::string& className) {
        const auto window = windows.await(className);
        windows.activate(window);
        ASSERT_TRUE(eventually([&] { return windows.active() == window; })) << className;
    }
    void close(const std::string& className) { programs.erase(className); }

    /// Presses the keys as xdotool names them.
    static void press(const std::string& keys) {
        Process xdotool({"xdotool", "key", keys});
        ASSERT_EQ(xdotool.waitForEnd(), cleanExit) << xdotool.errors();
    }

    [[nodiscard]] bool activePresetBecomes(const std::string& id) const {
        return eventually([&] { return settings().find("\nactivePresetID=" + id + "\n") != std::string::npos; });
    }

    Process manager;
    DrivenWindows windows;
    std::map<std::string, std::unique_ptr<Process>> programs;
};

// --- Profiles ---

TEST_F(DesktopWithApplications, AProfileIsOnEveryDisplayWhileItsApplicationIsInFront) {
    const auto nocta = launch("activePresetID=dusk\n");
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    open("Reader");
    EXPECT_TRUE(everyDisplayBecomes(sleep));
    open("Writer");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    activate("Reader");
    EXPECT_TRUE(everyDisplayBecomes(sleep));
    close("Reader");
    EXPECT_TRUE(everyDisplayBecomes(dusk)) << "the writer comes to the front";
    EXPECT_NE(settings().find("\nactivePresetID=dusk\n"), std::string::npos);
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

TEST_F(DesktopWithApplications, AnEndInTheMiddleOfAProfilesFadeGivesTheCalibrationBack) {
    const auto nocta = launch("activePresetID=dusk\n");
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    open("Reader");
    ASSERT_TRUE(eventually([this] { return !everyDisplayShows(dusk); }));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

TEST_F(DesktopWithApplications, WithTheFilterOffAProfileChangesNothing) {
    const auto nocta = launch("activePresetID=dusk\nfilterEnabled=false\n");
    open("Reader");
    open("Writer");
    EXPECT_FALSE(eventually([this] { return !isCalibrated(); }, std::chrono::milliseconds(200)));
    nocta->write("filter on\n");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    activate("Reader");
    EXPECT_TRUE(everyDisplayBecomes(sleep));
}

TEST_F(DesktopWithApplications, TheCustomValuesOfALaunchStayUntilAnotherApplicationComes) {
    open("Writer");
    const auto nocta = launch("activePresetID=custom\ncustomTemp=3000\ncustomBrightness=0.6\n");
    ASSERT_TRUE(everyDisplayBecomes(custom));
    // A fade would begin within a frame of the launch.
    EXPECT_FALSE(eventually([this] { return !everyDisplayShows(custom); }, std::chrono::milliseconds(300)));
    open("Reader");
    EXPECT_TRUE(everyDisplayBecomes(sleep));
    activate("Writer");
    EXPECT_TRUE(everyDisplayBecomes(natural)) << "back is the active preset, and custom values are none";
}

// --- Shortcut ---

TEST_F(DesktopWithApplications, TheShortcutCyclesThePresetsAndSaysSo) {
    const NotificationDaemon daemon;
    const auto nocta = launch("activePresetID=cinema\n");
    open("Writer");
    ASSERT_TRUE(everyDisplayBecomes(cinema));
    struct Step {
        std::string id;
        Ramps ramps;
        std::string body;
    };
    const std::vector<Step> steps{{"natural", natural, "Switched to Natural (6500K)"},
                                  {"focus", focus, "Switched to Focus (5000K)"},
                                  {"dusk", dusk, "Switched to Dusk (3400K)"},
                                  {"evening", warmRamps(2700, 0.7), "Switched to Evening (2700K)"},
                                  {"sleep", sleep, "Switched to Sleep (1900K)"},
                                  {"cinema", cinema, "Switched to Cinema (4000K)"}};
    for (const auto& step : steps) {
        press("super+shift+i");
        ASSERT_TRUE(activePresetBecomes(step.id)) << step.id;
        ASSERT_TRUE(everyDisplayBecomes(step.ramps)) << step.id;
    }
    std::vector<Notification> shown;
    ASSERT_TRUE(eventually([&] { return (shown = daemon.notifications()).size() >= steps.size(); }));
    ASSERT_EQ(shown.size(), steps.size());
    std::set<int> ids;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        EXPECT_EQ(shown[i].application, "Nocta");
        EXPECT_EQ(shown[i].title, "Nocta");
        EXPECT_EQ(shown[i].seen, steps[i].body);
        ids.insert(shown[i].id);
    }
    EXPECT_EQ(ids.size(), steps.size());
}

TEST_F(DesktopWithApplications, OtherKeysDoNothing) {
    const auto nocta = launch("activePresetID=custom\n");
    open("Writer");
    for (const char* keys : {"super+i", "shift+i", "i", "super+shift+o", "ctrl+alt+shift+i"}) {
        press(keys);
    }
    press("super+alt+shift+i");
    EXPECT_TRUE(activePresetBecomes("focus")) << "the second, reached in one step";
    EXPECT_TRUE(everyDisplayBecomes(focus));
}

TEST_F(DesktopWithApplications, WithoutANotificationDaemonTheShortcutStillWorks) {
    const auto nocta = launch("activePresetID=focus\n");
    press("super+shift+i");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

TEST_F(DesktopWithApplications, WithoutABusTheShortcutStillWorks) {
    bus.kill();
    const auto nocta = launch("activePresetID=focus\n");
    press("super+shift+i");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    EXPECT_EQ(nocta->errors(), "");
}

TEST_F(DesktopWithApplications, ANotificationDaemonThatHangsDoesNotHoldTheFadeUp) {
    const NotificationDaemon daemon;
    daemon.signal(SIGSTOP);
    const auto nocta = launch("activePresetID=focus\n");
    press("super+shift+i");
    EXPECT_TRUE(everyDisplayBecomes(dusk)) << "while a call that waits waits for longer than this does";
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
    daemon.signal(SIGCONT);
}

TEST_F(DesktopWithApplications, WithTheFilterOffTheShortcutChangesThePresetButNotTheDisplays) {
    const NotificationDaemon daemon;
    const auto nocta = launch("activePresetID=focus\nfilterEnabled=false\n");
    press("super+shift+i");
    EXPECT_TRUE(activePresetBecomes("dusk"));
    EXPECT_TRUE(eventually([&] { return daemon.notifications().size() == 1; }));
    EXPECT_FALSE(eventually([this] { return !isCalibrated(); }, std::chrono::milliseconds(200)));
}

} // namespace
} // namespace nocta::test
