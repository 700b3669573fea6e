// The whole program in a Wayland session.

#include "Conversation.h"
#include "WaylandDesktop.h"

#include <csignal>
#include <cstdlib>
#include <random>
#include <thread>
#include <tuple>

namespace nocta::test {
namespace {

constexpr Ending cleanExit{.exitStatus = 0};
constexpr Ending failedStart{.exitStatus = 1};

const auto kinds = testing::ValuesIn(installedWlrCompositors());
const auto nameOfKind = [](const auto& kind) { return kind.param.name; };

INSTANTIATE_TEST_SUITE_P(Each, WaylandDesktop, kinds, nameOfKind);

TEST_P(WaylandDesktop, LaunchPutsTheSavedPresetOnEveryDisplay) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startNocta();
    EXPECT_TRUE(everyDisplayBecomes(dusk)) << nocta->errors();
    EXPECT_TRUE(nocta->children("nocta-guard").empty()) << "the compositor is the guard here";
}

TEST_P(WaylandDesktop, WithTheFilterOffLaunchLoadsNothing) {
    writeSettings("[General]\nactivePresetID=dusk\nfilterEnabled=false\n");
    const auto nocta = startDrivenNocta();
    // What it saves shows that it has launched.
    nocta->write("interval 30\n");
    ASSERT_TRUE(eventually([this] { return settings().find("breakIntervalMinutes=30\n") != std::string::npos; }));
    EXPECT_TRUE(everyDisplayShows(std::nullopt));
    nocta->write("filter on\n");
    EXPECT_TRUE(everyDisplayBecomes(dusk)) << nocta->errors();
}

class WaylandDesktopEndedBy : public WaylandSession,
                              public testing::WithParamInterface<std::tuple<WlrCompositorKind, int>> {
  protected:
    WaylandDesktopEndedBy() : WaylandSession([] { return std::get<0>(GetParam()).make(1024); }) {}
};

TEST_P(WaylandDesktopEndedBy, GivesTheDisplaysTheirOwnBackAndExitsCleanly) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    nocta->signal(std::get<1>(GetParam()));
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(everyDisplayBecomes(std::nullopt));
    EXPECT_EQ(nocta->errors(), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, WaylandDesktopEndedBy,
                         testing::Combine(kinds, testing::Values(SIGTERM, SIGINT, SIGHUP)));

TEST_P(WaylandDesktop, FadesAndGivesItsOwnBackOnQuit) {
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    nocta->write("preset evening\n");
    EXPECT_TRUE(everyDisplayBecomes(evening));
    nocta->write("reset\n");
    EXPECT_TRUE(everyDisplayBecomes(std::nullopt));
    nocta->write("apply 3400 0.8 0\n");
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    nocta->write("quit\n");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(everyDisplayBecomes(std::nullopt));
}

TEST_P(WaylandDesktop, ADisplayPluggedInGetsTheFilter) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    const auto plugged = compositor->plug();
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    EXPECT_TRUE(compositor->table(plugged).has_value());
    compositor->unplug();
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(everyDisplayBecomes(std::nullopt));
}

TEST_P(WaylandDesktop, WithoutGammaTablesItRunsOnAndServesThemWhenTheyCome) {
    compositor->setGammaSize(0);
    writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = startDrivenNocta();
    nocta->write("interval 30\n");
    ASSERT_TRUE(eventually([this] { return settings().find("breakIntervalMinutes=30\n") != std::string::npos; }));
    EXPECT_TRUE(everyDisplayShows(std::nullopt));
    compositor->setGammaSize(1024);
    EXPECT_TRUE(everyDisplayBecomes(dusk));
}

class WaylandDesktopWithoutGammaControl : public WaylandSession,
                                          public testing::WithParamInterface<WlrCompositorKind>,
                                          protected Conversation {
  protected:
    WaylandDesktopWithoutGammaControl() : WaylandSession([] { return GetParam().make(std::nullopt); }) {}
};

INSTANTIATE_TEST_SUITE_P(Each, WaylandDesktopWithoutGammaControl, kinds, nameOfKind);

TEST_P(WaylandDesktopWithoutGammaControl, EverythingButTheFilterRuns) {
    writeSettings("[General]\nactivePresetID=dusk\nbreaksEnabled=true\nbreakIntervalMinutes=1440\n"
                  "breakDurationSeconds=3600\n");
    nocta = startDrivenNocta();
    const auto comes = [this](const std::string& name) {
        return eventually([&] { return place(name).has_value(); }, std::chrono::seconds(30));
    };
    EXPECT_TRUE(comes("Quit Nocta")) << "the popover";
    nocta->write("break\n");
    EXPECT_TRUE(comes("Skip break"));
    nocta->write("skip\n");
    EXPECT_TRUE(eventually([this] { return !place("Skip break"); }));
    EXPECT_TRUE(eventually([this] {
        Process({"wtype", "-s", "100", "-k", "Escape", "-s", "50"}, environment()).waitForEnd();
        return !place("Quit Nocta");
    }));
    const Process window({"foot", "--app-id=org.example.film", "sleep", "100"}, environment());
    EXPECT_TRUE(eventually([this] {
        Process question({"sh", "-c", "'" + (programFolder() / "noctactl").string() + "' get frontApplication >&2"},
                         environment());
        question.waitForEnd();
        return question.errors() == "org.example.film\n";
    }));
    nocta->write("preset evening\n");
    ASSERT_TRUE(eventually([this] { return settings().find("activePresetID=evening\n") != std::string::npos; }))
        << nocta->errors();
    EXPECT_TRUE(everyDisplayShows(std::nullopt));
    const auto saidBefore = nocta->errors();
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_EQ(nocta->errors(), saidBefore);
}

TEST_P(WaylandDesktop, AStaleXServerDoesNotConfuseIt) {
    setenv("DISPLAY", ":4095", 1);
    const auto nocta = startNocta();
    EXPECT_TRUE(everyDisplayBecomes(natural)) << nocta->errors();
    unsetenv("DISPLAY");
}

TEST_P(WaylandDesktop, EndsWithAnErrorWhenTheCompositorGoesAway) {
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(natural));
    compositor->kill();
    EXPECT_EQ(nocta->waitForEnd(), failedStart);
    EXPECT_EQ(nocta->errors(), "nocta: the display server went away\n");
}

TEST_P(WaylandDesktop, WithTheFilterOffItEndsTheSameWay) {
    writeSettings("[General]\nfilterEnabled=false\n");
    const auto nocta = startDrivenNocta();
    nocta->write("interval 30\n");
    ASSERT_TRUE(eventually([this] { return settings().find("breakIntervalMinutes=30\n") != std::string::npos; }));
    compositor->kill();
    EXPECT_EQ(nocta->waitForEnd(), failedStart);
    EXPECT_EQ(nocta->errors(), "nocta: the display server went away\n");
}

TEST_P(WaylandDesktop, WithoutACompositorItSaysSoInOneLine) {
    auto changed = environment();
    changed.emplace_back("WAYLAND_DISPLAY", "/nonexistent/wayland-1");
    Process nocta({programFolder() / "nocta"}, changed);
    EXPECT_EQ(nocta.waitForEnd(), failedStart);
    EXPECT_EQ(std::ranges::count(nocta.errors(), '\n'), 1) << nocta.errors();
    EXPECT_TRUE(nocta.errors().starts_with("nocta: ")) << nocta.errors();
}

TEST_P(WaylandDesktop, WithoutABusASecondLaunchOnTheSameCompositorIsRefused) {
    auto alone = environment();
    alone.emplace_back("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    Process first({programFolder() / "nocta"}, alone);
    ASSERT_TRUE(everyDisplayBecomes(natural)) << first.errors();
    Process second({programFolder() / "nocta"}, alone);
    EXPECT_EQ(second.waitForEnd(), failedStart);
    EXPECT_EQ(second.errors(), "nocta: another Nocta is running on this display server\n");
    EXPECT_TRUE(first.isRunning());
}

int killCount() {
    const char* wanted = std::getenv("NOCTA_TEST_KILLS");
    return wanted != nullptr ? std::atoi(wanted) : 25;
}

TEST_P(WaylandDesktop, NoRandomKillLeavesATint) {
    const auto seed = std::random_device()();
    std::minstd_rand random(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (int i = 0; i < killCount(); ++i) {
        const auto nocta = startDrivenNocta();
        nocta->write("restless " + std::to_string(random()) + "\n");
        // Every other one is killed while it still starts.
        if (i % 2 == 0) {
            ASSERT_TRUE(eventually([this] { return !everyDisplayShows(std::nullopt); }))
                << "start " << i << ": " << nocta->errors();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
        nocta->signal(SIGKILL);
        nocta->waitForEnd();
        ASSERT_TRUE(everyDisplayBecomes(std::nullopt)) << "kill " << i;
    }
}

} // namespace
} // namespace nocta::test
