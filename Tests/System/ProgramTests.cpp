#include "Desktop.h"
#include "Support/ForeignWindow.h"

#include <algorithm>
#include <csignal>
#include <set>

namespace nocta::test {
namespace {

TEST_F(Desktop, FirstLaunchShowsNaturalAndWritesNoSettings) {
    const auto nocta = startNocta();
    EXPECT_TRUE(everyDisplayBecomes(natural));
    EXPECT_FALSE(std::filesystem::exists(settingsFile()));
}

TEST_F(Desktop, LaunchPutsTheSavedPresetOnEveryDisplayWithoutAFade) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startNocta();
    ASSERT_TRUE(eventually([this] { return !isCalibrated(); }));
    // The three displays are written in one go, but another client may look in between.
    std::set<Ramps> seen;
    for (int i = 0; i < 50; ++i) {
        for (const auto& [crtc, ramps] : displays.allRamps()) {
            if (ramps != calibration.at(crtc)) {
                seen.insert(ramps);
            }
        }
    }
    EXPECT_EQ(seen, std::set<Ramps>{dusk});
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

TEST_F(Desktop, LaunchPutsTheSavedCustomValuesOnTheScreen) {
    writeSettings("[General]\nactivePresetID=custom\ncustomTemp=3000\ncustomBrightness=0.6\n");
    const auto nocta = startNocta();
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(3000, 0.6)));
}

TEST_F(Desktop, WithTheFilterOffLaunchLoadsNothing) {
    writeSettings("[General]\nactivePresetID=dusk\nfilterEnabled=false\n");
    const auto nocta = startDrivenNocta();
    // What it saves shows that it has launched.
    nocta->write("interval 30\n");
    ASSERT_TRUE(eventually([this] { return settings().find("breakIntervalMinutes=30\n") != std::string::npos; }));
    EXPECT_TRUE(isCalibrated());
    EXPECT_FALSE(displays.hasProperty());
    nocta->write("filter on\n");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

class DesktopEndedBy : public Desktop, public testing::WithParamInterface<int> {};

TEST_P(DesktopEndedBy, GivesTheCalibrationBackAndExitsCleanly) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    nocta->signal(GetParam());
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated()) << "at the moment of the exit, not some time after";
    EXPECT_FALSE(displays.hasProperty());
    EXPECT_EQ(nocta->errors(), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, DesktopEndedBy, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(Desktop, AnEndWithThePopoverOpenGivesTheKeyboardBack) {
    ForeignWindow document(0, 0, 400, 300, 0xff0000);
    document.stealFocus();
    ASSERT_TRUE(eventually([&] { return document.hasFocus(); }));
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(eventually([&] { return !document.hasFocus(); }));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit) << nocta->errors();
    EXPECT_TRUE(document.hasFocus());
}

TEST_F(Desktop, QuitDuringAFadeStopsItAndGivesTheCalibrationBack) {
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    nocta->write("preset sleep\n");
    ASSERT_TRUE(eventually([this] { return !everyDisplayShows(natural); }));
    nocta->write("quit\n");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
    EXPECT_FALSE(eventually([this] { return !isCalibrated(); }, std::chrono::milliseconds(200)));
}

TEST_F(Desktop, QuitLeavesNoGuardBehind) {
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    const auto guards = nocta->children("nocta-guard");
    ASSERT_EQ(guards.size(), 1U);
    nocta->write("quit\n");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(eventually([&] { return !isAlive(guards.front()); }));
}

TEST_F(Desktop, AFadeIsSeenByAnotherClientAsFramesFromStartToTarget) {
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    const auto display = displays.active().front();
    nocta->write("preset evening\n"); // 2 s: 60 frames
    std::vector<Ramps> frames{displays.ramps(display)};
    ASSERT_TRUE(eventually([&] {
        auto now = displays.ramps(display);
        if (now != frames.back()) {
            frames.push_back(std::move(now));
        }
        return frames.back() == evening;
    }));
    EXPECT_EQ(frames.front(), natural);
    EXPECT_LE(frames.size(), 61U);
    EXPECT_GT(frames.size(), 30U) << "at least every other frame of a busy machine";
    // Green and blue end lower: every frame lies below the one before.
    for (std::size_t i = 1; i < frames.size(); ++i) {
        EXPECT_LE(frames[i][511], frames[i - 1][511]) << i;
        EXPECT_LE(frames[i][767], frames[i - 1][767]) << i;
    }
    EXPECT_TRUE(everyDisplayBecomes(evening));
}

TEST_F(Desktop, SwitchingTheFilterOffFadesToNeutralAndOnAgainBack) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    nocta->write("filter off\n");
    EXPECT_TRUE(everyDisplayBecomes(natural));
    nocta->write("filter on\n");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

TEST_F(Desktop, ResetGivesTheCalibrationBackAndTheNextChangeTintsAgain) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    nocta->write("reset\n");
    EXPECT_TRUE(becomesCalibrated());
    nocta->write("apply 2700 0.7 0\n");
    EXPECT_TRUE(everyDisplayBecomes(evening));
    nocta->signal(SIGKILL);
    EXPECT_TRUE(becomesCalibrated());
}

TEST_F(Desktop, AMonitorPluggedInTakesPartInARunningFade) {
    displays.setMode(2, std::nullopt);
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    nocta->write("preset evening\n");
    ASSERT_TRUE(eventually([this] { return !everyDisplayShows(natural); }));
    displays.setMode(2, 0);
    EXPECT_TRUE(eventually([this] { return displays.active().size() == 3 && everyDisplayShows(evening); }));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

TEST_F(Desktop, AMonitorThatChangesItsModeKeepsTheFilter) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    displays.setRamps(displays.active().at(1), natural);
    displays.setMode(1, 1);
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    nocta->signal(SIGTERM);
    nocta->waitForEnd();
    EXPECT_TRUE(isCalibrated());
}

TEST_F(Desktop, EverySettingIsInTheFileAsSoonAsOneChanges) {
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    nocta->write("preset dusk\n");
    ASSERT_TRUE(eventually([this] { return settings().find("activePresetID=dusk\n") != std::string::npos; }));
    for (const char* key :
         {"customTemp", "customBrightness", "filterEnabled", "scheduleEnabled", "scheduleUsesLocation", "manualSunrise",
          "manualSunset", "breaksEnabled", "breakIntervalMinutes", "breakDurationSeconds", "launchAtLogin",
          "showMenuBarScore", "appProfiles"}) {
        EXPECT_NE(settings().find(std::string("\n") + key + "="), std::string::npos) << key;
    }
    nocta->signal(SIGKILL);
    nocta->waitForEnd();
    const auto again = startNocta();
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

struct DamagedSettings {
    const char* name;
    std::string content;
    Ramps shown;

    friend std::ostream& operator<<(std::ostream& stream, const DamagedSettings& each) { return stream << each.name; }
};

class DesktopWithDamagedSettings : public Desktop, public testing::WithParamInterface<DamagedSettings> {};

TEST_P(DesktopWithDamagedSettings, StartsWithWhatCouldBeReadAndSavesAgain) {
    writeSettings(GetParam().content);
    const auto nocta = startDrivenNocta();
    EXPECT_TRUE(everyDisplayBecomes(GetParam().shown));
    nocta->write("filter on\n");
    EXPECT_TRUE(eventually([this] { return settings().find("\nfilterEnabled=true\n") != std::string::npos; }));
    nocta->write("quit\n");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

INSTANTIATE_TEST_SUITE_P(
    Each, DesktopWithDamagedSettings,
    testing::Values(
        DamagedSettings{"Empty", "", natural},
        DamagedSettings{"CutOff", "[General]\nactivePresetID=dusk\nbreaksEnab", dusk},
        DamagedSettings{"CutOffInTheProfiles", "[General]\nactivePresetID=dusk\nappProfiles=\"@ByteArray({\\\"a", dusk},
        DamagedSettings{"Binary",
                        std::string("\x7f"
                                    "ELF\0\1\2\xff\xfe\0[=\n\r=]\0",
                                    17),
                        natural},
        DamagedSettings{"UndecodableProfiles", "[General]\nactivePresetID=dusk\nappProfiles=@ByteArray({[)\n", dusk},
        DamagedSettings{"WrongTypes",
                        "[General]\nactivePresetID=dusk\ncustomTemp=warm\nbreaksEnabled=maybe\nmanualSunrise=a, b\n"
                        "appProfiles=7\n",
                        dusk},
        DamagedSettings{"UnknownPreset", "[General]\nactivePresetID=moonlight\ncustomTemp=2700\ncustomBrightness=0.7\n",
                        evening},
        DamagedSettings{"TemperatureOutOfRange", "[General]\nactivePresetID=custom\ncustomTemp=0\n",
                        warmRamps(1000, 1.0)},
        DamagedSettings{"BrightnessThatIsNoNumber",
                        "[General]\nactivePresetID=custom\ncustomTemp=2700\ncustomBrightness=nan\n",
                        straightRamps(0, 0, 0, 0)},
        DamagedSettings{"BrightnessAboveFull",
                        "[General]\nactivePresetID=custom\ncustomTemp=1900\ncustomBrightness=1.0\nmanualSunset=1e300\n",
                        warmRamps(1900, 1.0)}),
    [](const auto& each) { return each.param.name; });

TEST_F(Desktop, AFolderInThePlaceOfTheSettingsFileHarmsNothing) {
    std::filesystem::create_directories(settingsFile());
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    nocta->write("preset dusk\n");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    nocta->write("quit\n");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(std::filesystem::is_directory(settingsFile()));
}

/// Runs the program where the settings' folder is a file system of its own, prepared by `prepare`, a shell command in
/// which $config is that folder.
class DesktopOnAFailingDisk : public Desktop {
  protected:
    [[nodiscard]] std::unique_ptr<Process> startWith(const std::string& prepare) const {
        const std::string config = settingsFile().parent_path();
        std::filesystem::create_directories(config);
        const std::string script = "set -e; config=" + config +
                                   "; mount -t tmpfs -o size=64k tmpfs $config;"
                                   " printf '[General]\\nactivePresetID=dusk\\n' > $config/nocta.conf; " +
                                   prepare + "; exec " + (programFolder() / "driven-nocta").string();
        return std::make_unique<Process>(
            std::vector<std::string>{"unshare", "--map-root-user", "--mount", "sh", "-c", script}, environment());
    }

    void expectToRunOn(Process& nocta) {
        ASSERT_TRUE(everyDisplayBecomes(dusk)) << nocta.errors();
        nocta.write("preset evening\n");
        EXPECT_TRUE(everyDisplayBecomes(evening));
        nocta.write("quit\n");
        EXPECT_EQ(nocta.waitForEnd(), cleanExit);
        EXPECT_TRUE(isCalibrated());
    }
};

TEST_F(DesktopOnAFailingDisk, AReadOnlyDiskHarmsNothing) {
    const auto nocta = startWith("mount -o remount,ro $config");
    expectToRunOn(*nocta);
}

TEST_F(DesktopOnAFailingDisk, AFullDiskHarmsNothing) {
    const auto nocta = startWith("cat /dev/zero > $config/filling 2>/dev/null || true");
    expectToRunOn(*nocta);
}

TEST_F(DesktopOnAFailingDisk, AnUnreadableFileHarmsNothing) {
    // Also root is kept from a file without permissions once it has given up the right to read everything.
    const std::string config = settingsFile().parent_path();
    writeSettings("[General]\nactivePresetID=dusk\n");
    std::filesystem::permissions(settingsFile(), std::filesystem::perms::none);
    Process nocta({"setpriv", "--bounding-set", "-dac_override,-dac_read_search", "--inh-caps",
                   "-dac_override,-dac_read_search", programFolder() / "driven-nocta"},
                  environment());
    ASSERT_TRUE(everyDisplayBecomes(natural)) << nocta.errors();
    nocta.write("preset evening\n");
    EXPECT_TRUE(everyDisplayBecomes(evening));
    nocta.write("quit\n");
    EXPECT_EQ(nocta.waitForEnd(), cleanExit);
}

TEST_F(Desktop, TenThousandProfilesAreSavedAndLoaded) {
    auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    nocta->write("profiles 10000\n");
    ASSERT_TRUE(eventually([this] { return settings().find("org.example.Application9999") != std::string::npos; }));
    nocta->write("preset dusk\nquit\n");
    ASSERT_EQ(nocta->waitForEnd(), cleanExit);
    nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    nocta->write("preset natural\nquit\n");
    ASSERT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_NE(settings().find("activePresetID=natural\n"), std::string::npos) << "not saved again";
    EXPECT_NE(settings().find("org.example.Application9999"), std::string::npos) << "lost between loading and saving";
}

// --- Nowhere to run, or not alone ---

TEST_F(Desktop, WithoutADisplayServerItSaysSoInOneLineAndTouchesNothing) {
    for (const char* display : {"", ":4095"}) {
        Process nocta({programFolder() / "nocta"}, [&] {
            auto changed = environment();
            changed.emplace_back("DISPLAY", display);
            return changed;
        }());
        EXPECT_EQ(nocta.waitForEnd(), failedStart) << display;
        EXPECT_EQ(std::ranges::count(nocta.errors(), '\n'), 1) << nocta.errors();
        EXPECT_TRUE(nocta.errors().starts_with("nocta: ")) << nocta.errors();
    }
    EXPECT_FALSE(std::filesystem::exists(home.path() / "config"));
    EXPECT_TRUE(isCalibrated());
}

TEST_F(Desktop, EndsWithAnErrorWhenTheDisplayServerGoesAway) {
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    const auto guards = nocta->children("nocta-guard");
    ASSERT_EQ(guards.size(), 1U);
    xServer.kill();
    EXPECT_EQ(nocta->waitForEnd(), failedStart);
    EXPECT_EQ(nocta->errors(), "nocta: the display server went away\n");
    EXPECT_TRUE(eventually([&] { return !isAlive(guards.front()); }));
}

TEST_F(Desktop, ASecondLaunchActivatesTheFirstAndExitsCleanly) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto first = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    const auto second = startNocta();
    EXPECT_EQ(second->waitForEnd(), cleanExit);
    EXPECT_EQ(second->errors(), "");
    EXPECT_TRUE(first->isRunning());
    EXPECT_TRUE(everyDisplayShows(dusk));
}

TEST_F(Desktop, ADeadOwnerDoesNotBlockAStart) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto first = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    first->signal(SIGKILL);
    const auto second = startNocta();
    ASSERT_TRUE(eventually([&] { return second->children("nocta-guard").size() == 1; })) << second->errors();
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    // The guard of the first must not have taken the second one's tint away, and the calibration is still the true one.
    EXPECT_FALSE(eventually([&] { return !everyDisplayShows(dusk); }, std::chrono::milliseconds(200)));
    second->signal(SIGTERM);
    EXPECT_EQ(second->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

TEST_F(Desktop, AFrozenOwnerEndsASecondLaunchWithAnError) {
    const auto first = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    first->signal(SIGSTOP);
    const auto second = startNocta();
    EXPECT_EQ(second->waitForEnd(), failedStart);
    EXPECT_EQ(std::ranges::count(second->errors(), '\n'), 1) << second->errors();
    first->signal(SIGCONT);
    EXPECT_TRUE(first->isRunning());
}

class DesktopWithoutBus : public Desktop {
  protected:
    DesktopWithoutBus() { unsetenv("DBUS_SESSION_BUS_ADDRESS"); }
};

TEST_F(DesktopWithoutBus, ASecondLaunchSaysSoInOneLineAndFails) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto first = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    const auto second = startNocta();
    EXPECT_EQ(second->waitForEnd(), failedStart);
    EXPECT_EQ(std::ranges::count(second->errors(), '\n'), 1) << second->errors();
    EXPECT_TRUE(first->isRunning());
    EXPECT_TRUE(everyDisplayShows(dusk));
}

TEST_F(DesktopWithoutBus, AKilledNoctaDoesNotBlockTheNext) {
    const auto first = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    first->signal(SIGKILL);
    first->waitForEnd();
    const auto second = startNocta();
    EXPECT_TRUE(eventually([&] { return second->children("nocta-guard").size() == 1; })) << second->errors();
}

TEST_F(Desktop, OnAnotherBusButTheSameDisplayServerItDoesNotFightTheFirst) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto first = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    const SessionBus otherBus;
    const auto second = startNocta();
    EXPECT_EQ(second->waitForEnd(), failedStart);
    EXPECT_TRUE(everyDisplayShows(dusk));
}

TEST_F(Desktop, ABusThatGoesAwayEndsNothing) {
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    bus.kill();
    nocta->write("preset dusk\n");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

} // namespace
} // namespace nocta::test
