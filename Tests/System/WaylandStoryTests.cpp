#include "Support/Panel.h"
#include "Support/PhysicalKey.h"
#include "Support/ProcessMemory.h"
#include "Support/ScreenPicture.h"
#include "Support/Sway.h"
#include "WaylandPerson.h"

#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace nocta::test {
namespace {

/// The colour of the eye in the panel at the temperature of dusk, as on dark panels.
constexpr std::uint32_t orange = 0xFF9F0A;

class PersonsWaylandDay : public WaylandPerson, public testing::WithParamInterface<WlrCompositorKind> {
  protected:
    PersonsWaylandDay() : WaylandPerson([] { return GetParam().make(1024); }) {}
};

INSTANTIATE_TEST_SUITE_P(Each, PersonsWaylandDay, testing::ValuesIn(installedWlrCompositors()),
                         [](const auto& kind) { return kind.param.name; });

class PersonsSwayDay : public WaylandPerson {
  protected:
    PersonsSwayDay() : WaylandPerson([] { return std::make_unique<Sway>(); }) {}
};

TEST_P(PersonsWaylandDay, TheFirstLaunchGreetsAndQuitGivesTheScreenBack) {
    launch();
    EXPECT_TRUE(everyDisplayBecomes(natural));
    EXPECT_TRUE(place("Natural, 6500K")) << "the presets";
    EXPECT_FALSE(std::filesystem::exists(settingsFile())) << "nothing was changed yet";
    EXPECT_TRUE(clickUntil("Quit Nocta", [this] { return !nocta->isRunning(); }))
        << "and the popover is " << (place("Quit Nocta") ? "open" : "closed");
    EXPECT_EQ(nocta->waitForEnd(), Ending{.exitStatus = 0});
    EXPECT_TRUE(everyDisplayBecomes(std::nullopt));
}

TEST_P(PersonsWaylandDay, NoDriverOfOpenGLIsLoadedThatCostsMoreMemoryThanTheProgram) {
    launch();
    EXPECT_TRUE(hasLoaded(nocta->id(), "libQt6Gui")) << "what is loaded can be seen";
    EXPECT_FALSE(hasLoaded(nocta->id(), "libEGL_"));
    EXPECT_FALSE(hasLoaded(nocta->id(), "libGLX_"));
}

TEST_P(PersonsWaylandDay, APresetIsPicked) {
    launch();
    EXPECT_TRUE(clickUntil("Dusk, 3400K", [this] { return settingsHave("activePresetID=dusk"); }));
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    EXPECT_TRUE(place("Quit Nocta")) << "a click inside does not close";
}

TEST_P(PersonsWaylandDay, AClickElsewhereClosesThePopoverOnWhicheverScreen) {
    launch();
    EXPECT_TRUE(clickUntil(desktop, [this] { return !place("Quit Nocta"); }));
    for (const auto& elsewhere : {secondDesktop, desktop}) {
        pointer.move(640, 400, 2560, 800);
        EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0}) << "a second launch opens it";
        ASSERT_TRUE(popoverAppears());
        EXPECT_TRUE(clickUntil(elsewhere, [this] { return !place("Quit Nocta"); })) << elsewhere.x;
    }
}

TEST_P(PersonsWaylandDay, EscapeClosesThePopoverAndTheWindowBelowHasTheKeyboardAgain) {
    const auto note = home.path() / "note";
    const auto editor = openWindow("org.example.editor", "read line; echo $line >" + note.string() + "; sleep 100");
    launch();
    EXPECT_TRUE(escapeClosesThePopover());
    press("y");
    press("Return");
    EXPECT_TRUE(eventually([&] {
        std::ifstream file(note);
        std::string line;
        return std::getline(file, line) && line.ends_with("y");
    }));
}

TEST_P(PersonsWaylandDay, AnApplicationInFrontHasItsPreset) {
    writeSettings("[General]\nactivePresetID=dusk\n"
                  "appProfiles=\"@ByteArray({\\\"org.example.film\\\":\\\"evening\\\"})\"\n");
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    const auto film = openWindow("org.example.film", "sleep 100");
    EXPECT_TRUE(everyDisplayBecomes(evening));
    const auto other = openWindow("org.example.other", "sleep 100");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    compositor->focus("org.example.film");
    EXPECT_TRUE(everyDisplayBecomes(evening));
}

TEST_P(PersonsWaylandDay, ABreakCoversThePopoverAndGivesItsPlaceBack) {
    writeSettings("[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=3600\n");
    launch();
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    EXPECT_TRUE(eventually([this] { return !popoverIsOnScreen(); }));
    // The popover's key, which has the keyboard no more.
    press("Escape");
    EXPECT_TRUE(place("Quit Nocta"));
    nocta->write("skip\n");
    ASSERT_TRUE(disappears("Skip break"));
    EXPECT_TRUE(clickUntil("Dusk, 3400K", [this] { return settingsHave("activePresetID=dusk"); }));
    EXPECT_TRUE(escapeClosesThePopover());
}

TEST_P(PersonsWaylandDay, ABreakIsSkippedByItsButton) {
    writeSettings("[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=3600\n");
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    EXPECT_TRUE(clickUntil(*place("Skip break"), [this] { return !place("Skip break"); }));
    nocta->write("tallies\n");
    EXPECT_TRUE(eventually([this] { return nocta->errors().find("0 taken, 1 skipped") != std::string::npos; }));
}

TEST_P(PersonsWaylandDay, ABreakIsSkippedByTheKeyboard) {
    writeSettings("[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=3600\n");
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    EXPECT_TRUE(eventually([this] {
        press("Tab");
        press("space");
        return !place("Skip break");
    }));
    nocta->write("tallies\n");
    EXPECT_TRUE(eventually([this] { return nocta->errors().find("0 taken, 1 skipped") != std::string::npos; }));
}

TEST_P(PersonsWaylandDay, ABreakEndsByItself) {
    writeSettings("[General]\nbreaksEnabled=true\nbreakIntervalMinutes=1440\nbreakDurationSeconds=1\n");
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    nocta->write("break\n");
    ASSERT_TRUE(appears("Skip break"));
    EXPECT_TRUE(disappears("Skip break"));
    nocta->write("tallies\n");
    EXPECT_TRUE(eventually([this] { return nocta->errors().find("1 taken, 0 skipped") != std::string::npos; }));
}

TEST_F(PersonsSwayDay, TheShortcutGoesToTheNextPresetUnlessThePopoverHasTheKeyboard) {
    launch();
    pressPhysicalI({"logo", "shift"});
    ASSERT_TRUE(escapeClosesThePopover());
    pressPhysicalI({"logo", "shift"});
    EXPECT_TRUE(eventually([this] { return settingsHave("activePresetID=focus"); }));
    EXPECT_TRUE(everyDisplayBecomes(focus));
    pressPhysicalI({"logo", "shift"});
    EXPECT_TRUE(eventually([this] { return settingsHave("activePresetID=dusk"); }));
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

TEST_F(PersonsSwayDay, TheShortcutsMessageIsOnTheScreen) {
    constexpr std::uint32_t ground = 0x285577; // of this daemon's messages
    Process notifications({"mako"}, environment());
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    ASSERT_EQ(picture().count(ground), 0U);
    pressPhysicalI({"logo", "shift"});
    EXPECT_TRUE(eventually([&] { return picture().count(ground) > 1000; })) << notifications.errors();
    Process question({"sh", "-c",
                      "gdbus call --session --dest org.freedesktop.Notifications --object-path /fr/emersion/Mako "
                      "--method fr.emersion.Mako.ListNotifications >&2"},
                     environment());
    ASSERT_EQ(question.waitForEnd(), Ending{.exitStatus = 0}) << question.errors();
    EXPECT_NE(question.errors().find("Switched to Focus (5000K)"), std::string::npos) << question.errors();
}

TEST_P(PersonsWaylandDay, TheSelectedTabIsStillSelectedAtTheNextOpening) {
    launch();
    ASSERT_TRUE(clickUntil("Stats", [this] { return place("Eye Health Score").has_value(); }));
    ASSERT_TRUE(clickUntil(desktop, [this] { return !place("Quit Nocta"); }));
    EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0});
    EXPECT_TRUE(appears("Eye Health Score"));
}

TEST_P(PersonsWaylandDay, ThePopoverClosesWithItsScreenAndOpensOnTheNext) {
    launch();
    compositor->switchOutput("HEADLESS-1", false);
    EXPECT_TRUE(popoverCloses());
    EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0});
    ASSERT_TRUE(popoverAppears());
    compositor->switchOutput("HEADLESS-2", false);
    EXPECT_TRUE(popoverCloses());
    EXPECT_EQ(startNocta()->waitForEnd(), Ending{.exitStatus = 0}) << "with all screens off";
    compositor->switchOutput("HEADLESS-1", true);
    EXPECT_TRUE(eventually([this] {
        startNocta()->waitForEnd();
        return popoverIsOnScreen();
    }));
}

TEST_P(PersonsWaylandDay, AClickOnTheItemInThePanelOpensAndClosesThePopover) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const Panel panel(PanelKind::waybar);
    ASSERT_TRUE(panel.hasHost());
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    std::optional<Point> item;
    ASSERT_TRUE(eventually([&] { return (item = picture().middle(orange)).has_value(); }));
    // Never twice at one place: the panel hands a double click on as three.
    const Point left{.x = item->x - 5, .y = item->y};
    const Point right{.x = item->x + 5, .y = item->y};
    for (int i = 0; i < 2; ++i) {
        click(left);
        ASSERT_TRUE(popoverAppears()) << i;
        // Its shadow, which is over the panel, keeps no click from that.
        click(right);
        ASSERT_TRUE(popoverCloses()) << i;
        // It stays closed.
        EXPECT_FALSE(eventually([this] { return place("Quit Nocta").has_value(); }, std::chrono::milliseconds(500)));
    }
}

TEST_F(PersonsSwayDay, ThePopoverStandsAboveAPanelAtTheBottom) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const Panel panel(PanelKind::waybarBelow);
    ASSERT_TRUE(panel.hasHost());
    nocta = startDrivenNocta();
    // The panel is 30 high, the body 560, and its gap and the room for an arrow are 10.
    constexpr int bottom = 800 - 30 - 10;
    const auto isLight = [this](int y) { return (picture().at(popoverGround.x, y) & 255U) > 100; };
    const auto isThere = [&] { return isLight(bottom - 120); };
    EXPECT_TRUE(eventually(isThere));
    EXPECT_FALSE(isLight(bottom + 5));
    EXPECT_FALSE(isLight(bottom - 560 - 20));
    ASSERT_TRUE(escapeClosesThePopover());
    std::optional<Point> item;
    ASSERT_TRUE(eventually([&] { return (item = picture().middle(orange)).has_value(); }));
    ASSERT_GT(item->y, 800 - 30);
    click(*item);
    EXPECT_TRUE(eventually(isThere));
}

TEST_P(PersonsWaylandDay, AClickOnAnItemAtTheLowerEdgeOpensThePopoverAboveIt) {
    const Panel panel(PanelKind::waybar);
    ASSERT_TRUE(panel.hasHost());
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    const auto isLight = [this](const Point& point) { return (picture().at(point.x, point.y) & 255U) > 100; };
    for (const int screen : {1, 0}) {
        // As a panel does that knows places on the desktop. The body is 560 high and by gap, arrow and half an item
        // above it.
        const Point item{.x = 1280 * screen + 640, .y = 780};
        constexpr int bottom = 780 - 1 - 9 - 12;
        ASSERT_TRUE(activateItem(item));
        EXPECT_TRUE(eventually([&] { return isLight({.x = item.x, .y = bottom - 120}); })) << screen;
        EXPECT_FALSE(isLight({.x = item.x, .y = bottom - 560 - 20}));
        EXPECT_FALSE(isLight({.x = item.x + 340 / 2 + 20, .y = bottom - 120}));
        ASSERT_TRUE(escapeClosesThePopover());
    }
}

} // namespace
} // namespace nocta::test
