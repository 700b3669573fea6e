#include "Desktop.h"
#include "Hands.h"
#include "Support/DrivenWindows.h"
#include "Support/NotificationDaemon.h"
#include "Support/Panel.h"
#include "Support/ProcessMemory.h"
#include "Support/ServerResources.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <set>
#include <sstream>
#include <string>

namespace nocta::test {
namespace {

/// How many times as fast as people's Nocta's time passes: an hour takes three seconds.
constexpr int factor = 1200;

/// Midnight before 20 March 2026, UTC.
constexpr std::int64_t midnight = 1'773'964'800;

/// Whole days at a desktop, with everything that Nocta can do switched on.
class PersonsDays : public Desktop, protected Hands {
  protected:
    void SetUp() override {
        windows.awaitManager();
        for (const char* name : {"Writer", "Reader"}) {
            programs.push_back(std::make_unique<Process>(
                std::vector<std::string>{"xterm", "-name", "some", "-class", name}, environment()));
            (void)windows.await(name);
        }
        writeSettings("[General]\nscheduleEnabled=true\nscheduleUsesLocation=false\nmanualSunrise=21600\n"
                      "manualSunset=64800\nbreaksEnabled=true\nbreakIntervalMinutes=60\nbreakDurationSeconds=20\n"
                      "showMenuBarScore=true\nappProfiles=\"@ByteArray({\\\"reader\\\":\\\"cinema\\\"})\"\n");
        auto variables = environment();
        variables.emplace_back("TZ", "UTC0");
        nocta = std::make_unique<Process>(std::vector<std::string>{programFolder() / "driven-nocta",
                                                                   std::to_string(factor), std::to_string(midnight)},
                                          variables);
        ASSERT_TRUE(popoverOpens()) << nocta->errors();
    }

    [[nodiscard]] std::int64_t hoursSinceMidnight() const { return (std::stoll(ask("time")) - midnight) / 3600; }

    struct Tallies {
        std::int64_t taken = 0;
        std::int64_t skipped = 0;
    };
    [[nodiscard]] Tallies tallies() const {
        std::istringstream words(ask("tallies"));
        Tallies result;
        std::string word;
        words >> result.taken >> word >> result.skipped;
        return result;
    }

    /// Lets them open and close the popover, look at its tabs, change applications and press the shortcut until so many
    /// hours have passed. A break that comes in between may take a click or a key; then they do it again.
    void spendUntil(std::int64_t hours) {
        constexpr std::array tabs{"Presets", "Schedule", "Breaks", "Stats"};
        while (hoursSinceMidnight() < hours) {
            windows.activate(windows.await(openings % 2 == 0 ? "Reader" : "Writer"));
            const auto second = startNocta();
            ASSERT_EQ(second->waitForEnd(), cleanExit) << second->errors();
            ASSERT_TRUE(popoverOpens());
            ++openings;
            for (const char* tab : tabs) {
                if (const auto point = place(tab)) {
                    click(*point);
                }
                seen.insert(activePreset());
            }
            // A break in between may have given the keyboard to the application before.
            ASSERT_TRUE(eventually([this] {
                press("Escape");
                return !popoverIsShown() || (clickTheDesktop(), !popoverIsShown());
            }));
            press("super+shift+i");
        }
    }

    [[nodiscard]] std::string activePreset() const {
        const std::string key = "\nactivePresetID=";
        const auto text = settings();
        const auto start = text.find(key);
        return start == std::string::npos
                   ? std::string()
                   : text.substr(start + key.size(), text.find('\n', start + 1) - start - key.size());
    }

    /// With no window of Nocta's on the screen, as the popover is closed and no break is near.
    void rest() {
        nocta->write("interval 100000\nrestart\n");
        ASSERT_TRUE(eventually([this] { return !popoverIsShown() && !place("Skip break"); }));
    }
    void workOn() const { nocta->write("interval 60\nrestart\n"); }

    Process manager{{"openbox"}, environment()};
    DrivenWindows windows;
    NotificationDaemon daemon;
    Panel panel{PanelKind::xfce};
    std::vector<std::unique_ptr<Process>> programs;
    int openings = 0;
    std::set<std::string> seen; ///< presets
};

/// In kB, of about a hundred openings: what allocators keep for the next time comes and goes. The sanitizer has one of
/// its own, which keeps what is freed.
#ifdef NOCTA_SANITIZED
constexpr long allowedGrowth = 1'000'000;
#else
constexpr long allowedGrowth = 2048;
#endif

TEST_F(PersonsDays, ADayWithEverythingOnLeavesMemoryAndServerAsTheyWere) {
    constexpr std::int64_t settled = 8;
    spendUntil(settled);
    rest();
    const auto resources = serverResourcesOf(nocta->id());
    const long memory = memoryOf(nocta->id(), "Private_Dirty:");
    EXPECT_GT(resources.connections, 0);
    const auto before = tallies();
    const int openingsBefore = openings;
    workOn();

    spendUntil(hoursSinceMidnight() + 24);
    const auto after = tallies();
    rest();
    EXPECT_TRUE(eventually([&] { return !serverResourcesOf(nocta->id()).exceed(resources); }));
    const long growth = memoryOf(nocta->id(), "Private_Dirty:") - memory;
    EXPECT_LE(growth, allowedGrowth);
    RecordProperty("openings", openings - openingsBefore);
    RecordProperty("breaks", std::to_string(after.taken + after.skipped - before.taken - before.skipped));
    RecordProperty("kB before", std::to_string(memory));
    RecordProperty("kB more", std::to_string(growth));
    EXPECT_GE(openings - openingsBefore, 5);
    EXPECT_GE(after.taken + after.skipped - before.taken - before.skipped, 5);
    for (const char* preset : {"sleep", "evening", "natural"}) { // the long phases
        EXPECT_TRUE(seen.contains(preset)) << preset;
    }

    nocta->write("quit\n");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit) << nocta->errors();
    EXPECT_TRUE(isCalibrated());
}

} // namespace
} // namespace nocta::test
