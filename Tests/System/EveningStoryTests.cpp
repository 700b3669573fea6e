#include "FakedClock.h"
#include "Hands.h"
#include "Support/DrivenWindows.h"
#include "Support/Panel.h"

#include <csignal>
#include <string>

namespace nocta::test {
namespace {

/// A person at a desktop in the evening, with the schedule off and the filter as it is by day. Core's timers run fast,
/// so that the schedule's minute is a second.
class PersonsEvening : public DesktopWithAFakedClock, protected Hands {
  protected:
    void SetUp() override {
        windows.awaitManager();
        writeSettings("[General]\nactivePresetID=natural\nscheduleUsesLocation=false\nmanualSunrise=21600\n"
                      "manualSunset=64800\n");
        nocta = startAt("driven-nocta", "19:30:00", {}, {"60"});
        ASSERT_TRUE(popoverOpens()) << nocta->errors();
    }

    [[nodiscard]] bool settingsBecome(const std::string& line) const {
        return eventually([&] { return settingsSay(line); });
    }

    Process manager{{"openbox"}, environment()};
    DrivenWindows windows;
    Panel panel{PanelKind::xfce};
};

TEST_F(PersonsEvening, TheScheduleSwitchedOnBringsTheEveningAndLaterTheNight) {
    ASSERT_TRUE(everyDisplayBecomes(natural));
    click("Schedule");
    click("Automatic Schedule");
    EXPECT_TRUE(settingsBecome("scheduleEnabled=true"));
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(2700, 0.7)));
    EXPECT_TRUE(settingsBecome("activePresetID=evening"));
    EXPECT_TRUE(eventually([this] { return place("Active: Evening").has_value(); }));
    setClock("21:30:00");
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(1900, 0.5)));
    EXPECT_TRUE(settingsBecome("activePresetID=sleep"));
    EXPECT_TRUE(eventually([this] { return place("Active: Sleep").has_value(); }));
    closePopover();
    EXPECT_TRUE(itemOf(eye::red));

    // The item tells its clicks from those elsewhere by time, which is too fast here.
    EXPECT_EQ(startNocta()->waitForEnd(), cleanExit);
    click("Automatic Schedule");
    ASSERT_TRUE(settingsBecome("scheduleEnabled=false"));
    click("Presets");
    click("Natural, 6500K");
    EXPECT_TRUE(everyDisplayBecomes(natural));
    // Some of the schedule's minutes.
    EXPECT_FALSE(eventually([this] { return !everyDisplayShows(natural); }, std::chrono::seconds(3)));
    nocta->signal(SIGTERM); // killed, it would leave the faked clock's shared memory behind
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

} // namespace
} // namespace nocta::test
