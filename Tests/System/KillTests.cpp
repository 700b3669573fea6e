#include "Desktop.h"

#include "Platform/Qt/QtSettingsStore.h"

#include <csignal>
#include <cstdlib>
#include <random>

namespace nocta::test {
namespace {

int killCount() {
    const char* wanted = std::getenv("NOCTA_TEST_KILLS");
    return wanted != nullptr ? std::atoi(wanted) : 200;
}

class KilledDesktop : public Desktop {
  protected:
    /// The file, if there is one, is a whole snapshot.
    void expectWholeSettings() {
        if (!std::filesystem::exists(settingsFile())) {
            return;
        }
        // Under a new name: of a name that it knows, the library has the content in memory.
        const auto copy = home.path() / ("settings-" + std::to_string(++copies) + ".conf");
        std::filesystem::copy_file(settingsFile(), copy);
        const QtSettingsStore store(QString::fromStdString(copy));
        for (const char* key :
             {"activePresetID", "customTemp", "customBrightness", "filterEnabled", "scheduleEnabled",
              "scheduleUsesLocation", "manualSunrise", "manualSunset", "breaksEnabled", "breakIntervalMinutes",
              "breakDurationSeconds", "launchAtLogin", "showMenuBarScore", "appProfiles"}) {
            ASSERT_TRUE(store.contains(key)) << key;
        }
        ASSERT_GE(store.integer("customTemp"), 1900);
        ASSERT_LE(store.integer("customTemp"), 6500);
        const auto profiles = store.data("appProfiles");
        ASSERT_TRUE(profiles.has_value());
        ASSERT_TRUE(profiles->starts_with('{') && profiles->ends_with('}')) << *profiles;
        std::filesystem::remove(copy);
    }

    int copies = 0;
};

TEST_F(KilledDesktop, NoRandomKillLeavesATintedDisplayOrADamagedFile) {
    const auto seed = std::random_device()();
    std::minstd_rand random(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::unique_ptr<Process> nocta;
    for (int i = 0; i < killCount(); ++i) {
        nocta = startDrivenNocta();
        nocta->write("restless " + std::to_string(random()) + "\n");
        // Every other one is killed while it still starts: its guard, its property and its first table are on their
        // way.
        const bool waits = i % 2 == 0;
        if (waits) {
            ASSERT_TRUE(eventually([this] { return !isCalibrated(); })) << "start " << i << ": " << nocta->errors();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
        const bool killsBoth = i % 5 == 4;
        if (killsBoth) {
            killWithItsGuard(*nocta);
            // Nobody was left; the next one takes the tint over and must know what is under it.
            nocta = startNocta();
            ASSERT_TRUE(eventually([&] { return nocta->catches(SIGTERM); }));
            nocta->signal(SIGTERM);
            ASSERT_EQ(nocta->waitForEnd(), cleanExit);
        } else {
            nocta->signal(SIGKILL);
            nocta->waitForEnd();
        }
        ASSERT_TRUE(becomesCalibrated(promptly)) << "kill " << i;
        expectWholeSettings();
        if (HasFatalFailure()) {
            return;
        }
    }
}

} // namespace
} // namespace nocta::test
