#include "Desktop.h"
#include "Support/GeoClue.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace nocta::test {
namespace {

using std::chrono::minutes;

/// A desktop whose clocks show noon when the test starts, at the place on the equator where the sun agrees, with
/// GeoClue to tell so. The manual times say otherwise: that the sun does not rise before ten hours from now.
class LocatedDesktop : public Desktop {
  protected:
    void writeSettingsWithActive(const std::string& presetID) const {
        writeSettings(
            "[General]\nactivePresetID=" + presetID +
            "\nscheduleEnabled=true\nscheduleUsesLocation=true\nmanualSunrise=" + std::to_string(secondsFromNow(10)) +
            "\nmanualSunset=" + std::to_string(secondsFromNow(11)) + "\n");
    }

    [[nodiscard]] static long secondsFromNow(int hours) {
        const auto then = std::chrono::system_clock::now() + std::chrono::hours(hours);
        return std::chrono::duration_cast<std::chrono::seconds>(then.time_since_epoch()).count();
    }

    [[nodiscard]] std::unique_ptr<Process> startHere(const std::string& program) const {
        auto changed = environment();
        std::erase_if(changed, [](const auto& variable) { return variable.first == "DBUS_SYSTEM_BUS_ADDRESS"; });
        changed.emplace_back("DBUS_SYSTEM_BUS_ADDRESS", geoClue.bus.address());
        changed.emplace_back("TZ", zone());
        return std::make_unique<Process>(std::vector<std::string>{programFolder() / program}, changed);
    }

    /// The zone's name counts hours and minutes westwards.
    [[nodiscard]] std::string zone() const {
        std::array<char, 32> name{};
        const auto west = -ahead.count();
        std::snprintf(name.data(), name.size(), "NOON%c%02d:%02d", west < 0 ? '-' : '+',
                      static_cast<int>(std::abs(west) / 60), static_cast<int>(std::abs(west) % 60));
        return name.data();
    }
    /// Off the date line, across which GeoClue might move it.
    [[nodiscard]] double longitude() const { return std::clamp(static_cast<double>(ahead.count()) / 4, -179.0, 179.0); }

    GeoClue geoClue;
    /// How far the local time is ahead of UTC: half a day at most.
    minutes ahead = minutes(12 * 60) - std::chrono::duration_cast<minutes>(
                                           std::chrono::system_clock::now().time_since_epoch() % std::chrono::days(1));
};

TEST_F(LocatedDesktop, TheManualTimesRuleUntilTheFixArrivesAndTheSunFromThenOn) {
    writeSettingsWithActive("dusk");
    geoClue.startAgent();
    const auto nocta = startHere("nocta");
    ASSERT_TRUE(everyDisplayBecomes(sleep)) << nocta->errors();
    geoClue.place(0, longitude());
    EXPECT_TRUE(everyDisplayBecomes(natural));
    EXPECT_TRUE(eventually([this] { return settings().find("activePresetID=natural\n") != std::string::npos; }));
    // The place is nowhere in the home: there is the file of the settings, which has nothing but them.
    EXPECT_EQ(std::ranges::count(settings(), '='), 14) << settings();
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home.path())) {
        EXPECT_TRUE(entry.is_directory() || entry.path() == settingsFile() ||
                    entry.path().parent_path() == runtimeFolder())
            << entry.path();
    }
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_EQ(nocta->errors(), "");
    EXPECT_TRUE(isCalibrated());
}

TEST_F(LocatedDesktop, TheFirstFixIsFollowedByOneStop) {
    writeSettingsWithActive("sleep");
    const TemporaryFolder folder;
    const auto log = folder.path() / "calls";
    const Process monitor({"sh", "-c",
                           "exec dbus-monitor --address '" + geoClue.bus.address() +
                               "' \"interface='org.freedesktop.GeoClue2.Client'\" > " + log.string()});
    const auto calls = [&log](const std::string& member) {
        std::ifstream file(log);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        const std::string end = "member=" + member + "\n";
        std::size_t count = 0;
        for (auto at = text.find(end); at != std::string::npos; at = text.find(end, at + 1)) {
            ++count;
        }
        return count;
    };
    ASSERT_TRUE(eventually([&] { return calls("NameAcquired") > 0; })) << "the monitor's own name";
    geoClue.startAgent();
    geoClue.place(0, longitude());
    const auto nocta = startHere("nocta");
    ASSERT_TRUE(everyDisplayBecomes(natural)) << nocta->errors();
    EXPECT_TRUE(eventually([&] { return calls("Stop") > 0; }));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_EQ(calls("Start"), 1U);
    EXPECT_EQ(calls("Stop"), 1U);
}

TEST_F(LocatedDesktop, WithoutAnAgentTheManualTimesRuleUntilThereIsOne) {
    writeSettingsWithActive("dusk");
    geoClue.place(0, longitude());
    const auto nocta = startHere("nocta");
    ASSERT_TRUE(everyDisplayBecomes(sleep)) << nocta->errors();
    EXPECT_FALSE(eventually([this] { return !everyDisplayShows(sleep); }, std::chrono::milliseconds(300)));
    geoClue.startAgent();
    EXPECT_TRUE(eventually([this] { return everyDisplayShows(natural); }, std::chrono::seconds(50)));
}

TEST_F(LocatedDesktop, GeoClueDyingInTheMiddleLeavesTheManualTimesUntilALaterRequest) {
    writeSettingsWithActive("sleep");
    geoClue.startAgent();
    const auto nocta = startHere("driven-nocta");
    ASSERT_TRUE(everyDisplayBecomes(sleep)) << nocta->errors();
    geoClue.kill();
    EXPECT_FALSE(eventually([this] { return !everyDisplayShows(sleep); }, std::chrono::milliseconds(300)));
    geoClue.start();
    geoClue.startAgent();
    geoClue.place(0, longitude());
    nocta->write("locate\n");
    EXPECT_TRUE(everyDisplayBecomes(natural));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_EQ(nocta->errors(), "");
}

TEST_F(LocatedDesktop, ASystemBusThatHangsHoldsNothingUpAndItsDeathChangesNothing) {
    writeSettingsWithActive("sleep");
    geoClue.bus.freeze();
    for (const bool dies : {false, true}) {
        const auto nocta = startHere("nocta");
        ASSERT_TRUE(everyDisplayBecomes(sleep)) << nocta->errors();
        // The other bus is served: over it, the running one is told of a second launch.
        EXPECT_EQ(startHere("nocta")->waitForEnd(), cleanExit);
        if (dies) {
            geoClue.bus.kill();
            EXPECT_FALSE(eventually([&] { return !nocta->isRunning(); }, std::chrono::milliseconds(300)));
        }
        nocta->signal(SIGTERM);
        EXPECT_EQ(nocta->waitForEnd(), cleanExit);
        EXPECT_EQ(nocta->errors(), "");
        EXPECT_TRUE(isCalibrated());
    }
}

} // namespace
} // namespace nocta::test
