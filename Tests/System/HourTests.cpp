#include "Desktop.h"
#include "Support/DrivenWindows.h"
#include "Support/NotificationDaemon.h"
#include "Support/Panel.h"
#include "Support/ProcessMemory.h"
#include "Support/ProcessorUse.h"
#include "Support/ServerResources.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>

namespace nocta::test {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

/// The instant so far from `begin`, in seconds since 1970, as the settings file has it.
std::string instant(std::time_t begin, minutes offset) {
    return std::to_string(begin + seconds(offset).count());
}

/// A time zone in which that instant is between noon and one: no midnight comes near.
std::string zoneOfNoon(std::time_t begin) {
    const auto hour = begin / 3600 % 24;
    return "NOON" + std::to_string(hour - 12); // counted westwards
}

/// An hour at a desktop with everything that Nocta can do switched on, in which the sun sets and breaks come.
class PersonsHour : public Desktop {
  protected:
    void SetUp() override {
        windows.awaitManager();
        for (const char* name : {"Writer", "Reader"}) {
            programs.push_back(std::make_unique<Process>(
                std::vector<std::string>{"xterm", "-name", "some", "-class", name}, environment()));
            (void)windows.await(name);
        }
        const auto now = std::time(nullptr);
        writeSettings("[General]\nscheduleEnabled=true\nscheduleUsesLocation=false\nmanualSunrise=" +
                      instant(now, -minutes(360)) + "\nmanualSunset=" + instant(now, minutes(25)) +
                      "\nbreaksEnabled=true\nbreakIntervalMinutes=15\nbreakDurationSeconds=20\n"
                      "showMenuBarScore=true\nappProfiles=\"@ByteArray({\\\"reader\\\":\\\"cinema\\\"})\"\n");
        auto variables = environment();
        variables.emplace_back("TZ", zoneOfNoon(now));
        begin = Clock::now();
        nocta = std::make_unique<Process>(std::vector<std::string>{programFolder() / "nocta"}, variables);
        ASSERT_TRUE(everyDisplayBecomes(focus)) << nocta->errors();
        closePopover();
    }

    void waitUntil(seconds sinceLaunch) const { std::this_thread::sleep_until(begin + sinceLaunch); }

    struct Figures {
        double switchesAMinute = 0;
        long ticks = 0;
        long memory = 0; ///< private dirty, in kB
        ServerResources resources;
    };
    /// Of five minutes in which nobody touches anything.
    [[nodiscard]] Figures idleFigures(const char* when) const {
        constexpr int idleMinutes = 5;
        const auto switches = switchesOf(nocta->id());
        const auto ticks = ticksOf(nocta->id());
        std::this_thread::sleep_for(minutes(idleMinutes));
        Figures figures{.switchesAMinute = static_cast<double>(switchesSince(switches, nocta->id())) / idleMinutes,
                        .ticks = ticksOf(nocta->id()) - ticks,
                        .memory = memoryOf(nocta->id(), "Private_Dirty:"),
                        .resources = serverResourcesOf(nocta->id())};
        std::printf("%s: %.1f context switches a minute, %ld CPU ticks, %ld kB private dirty\n", when,
                    figures.switchesAMinute, figures.ticks, figures.memory);
        std::fflush(stdout);
        return figures;
    }

    /// A popover looked at, another application, the shortcut; a minute later again.
    void work(seconds until) {
        while (Clock::now() < begin + until) {
            windows.activate(windows.await(openings % 2 == 0 ? "Reader" : "Writer"));
            const auto second = startNocta();
            ASSERT_EQ(second->waitForEnd(), cleanExit) << second->errors();
            closePopover();
            ++openings;
            Process({"xdotool", "key", "super+shift+i"}).waitForEnd();
            std::this_thread::sleep_for(minutes(1));
        }
    }

    [[nodiscard]] std::string property(const std::string& name) const {
        Process process({"sh", "-c", (programFolder() / "noctactl").string() + " get " + name + " >&2"}, environment());
        EXPECT_EQ(process.waitForEnd(), cleanExit) << process.errors();
        return process.errors();
    }

    const Ramps focus = warmRamps(5000, 0.9);
    const Ramps dusk = warmRamps(3400, 0.8);
    Process manager{{"openbox"}, environment()};
    DrivenWindows windows;
    NotificationDaemon daemon;
    Panel panel{PanelKind::xfce};
    std::vector<std::unique_ptr<Process>> programs;
    std::unique_ptr<Process> nocta;
    Clock::time_point begin;
    int openings = 0;
};

TEST_F(PersonsHour, CostsNothingWhileIdleAndLeavesMemoryAndServerAsTheyWere) {
    // Everything once, the break at a quarter past included: what only the first time takes is no growth.
    work(minutes(14));
    waitUntil(minutes(17));
    EXPECT_EQ(property("breaksTaken"), "1\n");
    const auto before = idleFigures("after 17 minutes");
    const int openingsBefore = openings;
    work(minutes(29));
    waitUntil(minutes(32));
    work(minutes(44));
    waitUntil(minutes(47));
    EXPECT_EQ(property("breaksTaken"), "3\n");
    work(minutes(48));
    windows.activate(windows.await("Writer"));
    // By then the score has been brought up to date, which the item shows.
    waitUntil(minutes(54));
    EXPECT_TRUE(everyDisplayShows(dusk));
    const auto after = idleFigures("after 54 minutes");
    std::printf("%d openings of the popover and two breaks between them\n", openings - openingsBefore);

    EXPECT_GE(openings - openingsBefore, 15);
    for (const auto& figures : {before, after}) {
        EXPECT_LE(figures.switchesAMinute, 4);
        EXPECT_LE(figures.ticks, 5) << "one a minute";
    }
    // What allocators keep for the next time comes and goes.
    EXPECT_LE(after.memory, before.memory + 2048);
    EXPECT_FALSE(after.resources.exceed(before.resources));

    waitUntil(minutes(60));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit) << nocta->errors();
    EXPECT_TRUE(isCalibrated());
}

} // namespace
} // namespace nocta::test
