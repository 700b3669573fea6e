#include "Desktop.h"
#include "Hands.h"
#include "Support/DrivenWindows.h"
#include "Support/NotificationDaemon.h"
#include "Support/Panel.h"
#include "Support/ProcessMemory.h"
#include "Support/ScreenPicture.h"

#include <csignal>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace nocta::test {
namespace {

/// A person at a whole desktop: window manager, panel, notifications; and Nocta, which they use with mouse and keyboard
/// alone.
class PersonsDay : public Desktop, protected Hands {
  protected:
    PersonsDay() { windows.awaitManager(); }

    /// Starts Nocta and waits for the popover that greets them.
    void launch() {
        nocta = startDrivenNocta();
        ASSERT_TRUE(popoverOpens()) << nocta->errors();
    }

    /// Drags the slider of that name from its middle beyond its left end. The press alone changes `setting`.
    void dragToTheLeft(const std::string& name, const std::string& setting) {
        std::optional<Point> point;
        ASSERT_TRUE(eventually([&] { return (point = place(name)).has_value(); })) << name;
        const auto before = settings();
        xdotool({"mousemove", std::to_string(point->x), std::to_string(point->y), "mousedown", "1"});
        ASSERT_TRUE(eventually([&] { return settings() != before && settings().find(setting) != std::string::npos; }));
        xdotool({"mousemove_relative", "--sync", "--", "-200", "0"});
        xdotool({"mousemove_relative", "--sync", "--", "-200", "0", "mouseup", "1"});
    }

    /// Presses Tab until what bears that name has the keyboard.
    void walkTo(const std::string& name) const {
        ASSERT_TRUE(eventually([this] { return !focus().empty(); })) << "the popover has the keyboard";
        std::string path;
        for (int steps = 0; steps < 40; ++steps) {
            const auto before = focus();
            if (before == name) {
                return;
            }
            path += before + "\n";
            press("Tab");
            ASSERT_TRUE(eventually([&] { return focus() != before; })) << path;
        }
        FAIL() << name << " is not among\n" << path;
    }

    [[nodiscard]] bool settingsBecome(const std::string& line) const {
        return eventually([&] { return settings().find("\n" + line + "\n") != std::string::npos; });
    }

    Process manager{{"xfwm4", "--compositor=off"}, environment()};
    DrivenWindows windows;
    NotificationDaemon daemon;
    Panel panel{PanelKind::xfce};
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

TEST_F(PersonsDay, NoDriverOfOpenGLIsLoadedThatCostsMoreMemoryThanTheProgram) {
    launch();
    EXPECT_TRUE(hasLoaded(nocta->id(), "libQt6Gui")) << "what is loaded can be seen";
    EXPECT_FALSE(hasLoaded(nocta->id(), "libEGL_"));
    EXPECT_FALSE(hasLoaded(nocta->id(), "libGLX_"));
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
    // Redraws everything at a change: of parts, picom 12 blackens what is between them.
    Process picom({"picom", "--backend", "xrender", "--no-use-damage", "--config", "/dev/null"}, environment());
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
    const auto item = itemOf(eye::orange);
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

TEST_F(PersonsDay, ThePopoverOverAnApplicationWithAProfileLeavesItsPresetOnTheScreen) {
    writeSettings("[General]\nactivePresetID=dusk\nappProfiles=\"@ByteArray({\\\"reader\\\":\\\"sleep\\\"})\"\n");
    launch();
    closePopover();
    const auto item = itemOf(eye::orange);
    ASSERT_TRUE(item);
    const Process writer({"xterm", "-name", "some", "-class", "Writer"}, environment());
    (void)windows.await("Writer");
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    auto reader = std::make_unique<Process>(std::vector<std::string>{"xterm", "-name", "some", "-class", "Reader"},
                                            environment());
    (void)windows.await("Reader");
    EXPECT_TRUE(everyDisplayBecomes(sleep));
    click(*item);
    ASSERT_TRUE(popoverOpens());
    clickTheDesktop();
    ASSERT_TRUE(popoverCloses());
    EXPECT_TRUE(everyDisplayShows(sleep));
    reader.reset();
    windows.activate(windows.await("Writer"));
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    EXPECT_TRUE(settingsBecome("activePresetID=dusk"));
}

TEST_F(PersonsDay, BreaksSwitchedOnInTheirTabComeAndAreCounted) {
    launch();
    click("Breaks");
    click("20-20-20 Break Reminders");
    EXPECT_TRUE(settingsBecome("breaksEnabled=true"));
    click("15 min");
    EXPECT_TRUE(settingsBecome("breakIntervalMinutes=15"));
    click("Stats");
    ASSERT_TRUE(eventually([this] { return place("Breaks taken: 0").has_value(); }));
    nocta->write("hurry 900\nrestart\n"); // a quarter of an hour in a second
    EXPECT_TRUE(eventually([this] { return place("Skip break").has_value(); }));
    EXPECT_TRUE(eventually([this] { return !place("Breaks taken: 0"); }));
}

TEST_F(PersonsDay, ABreakOverTheOpenPopoverGivesTheKeyboardBackToIt) {
    writeSettings("[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=1\n");
    launch();
    nocta->write("break\n");
    ASSERT_TRUE(eventually([this] { return place("Skip break").has_value(); }));
    ASSERT_TRUE(eventually([this] { return !place("Skip break"); }));
    ASSERT_TRUE(popoverIsShown());
    EXPECT_TRUE(eventually([this] {
        press("Escape");
        return !popoverIsShown();
    }));
}

TEST_F(PersonsDay, APopoverOpenedDuringABreakHasTheKeyboardAfterIt) {
    writeSettings("[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=3\n");
    const Process writer({"xterm", "-name", "some", "-class", "Writer"}, environment());
    (void)windows.await("Writer");
    launch();
    closePopover();
    nocta->write("break\n");
    ASSERT_TRUE(eventually([this] { return place("Skip break").has_value(); }));
    EXPECT_EQ(startNocta()->waitForEnd(), cleanExit);
    ASSERT_TRUE(popoverOpens());
    ASSERT_TRUE(eventually([this] { return !place("Skip break"); }));
    ASSERT_TRUE(popoverIsShown());
    EXPECT_TRUE(eventually([this] {
        press("Escape");
        return !popoverIsShown();
    }));
}

TEST_F(PersonsDay, WithTheKeyboardAloneTheyPickAPresetAndQuit) {
    launch();
    walkTo("Natural, 6500K");
    press("Right");
    ASSERT_TRUE(eventually([this] { return focus() == "Focus, 5000K"; }));
    press("Right");
    ASSERT_TRUE(eventually([this] { return focus() == "Dusk, 3400K"; }));
    press("space");
    EXPECT_TRUE(settingsBecome("activePresetID=dusk"));
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    walkTo("Quit Nocta");
    press("Return");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

} // namespace
} // namespace nocta::test
