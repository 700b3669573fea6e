#include "Platform/Wayland/WlrGammaDisplayService.h"

#include "HastyRunLoop.h"
#include "QtLoop.h"
#include "Support/Process.h"
#include "Support/Sway.h"
#include "Support/WlrCompositor.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <map>
#include <memory>
#include <utility>

#include <gtest/gtest.h>
#include <wayland-client.h>
#include <wlr-gamma-control-unstable-v1.h>

namespace nocta {
namespace {

using Table = std::vector<float>;

/// The same level everywhere.
Table flatTable(float level) {
    Table table(256);
    std::ranges::fill(table, level);
    return table;
}

/// Another program that wants the outputs for itself: it asks for their control once each time it is told to.
class Rival {
  public:
    explicit Rival(RunLoop& loop)
        : client(loop, zwlr_gamma_control_manager_v1_interface.name,
                 {.onGlobal = [this](const WaylandGlobal& global) { add(global); },
                  .onGlobalRemoved = [](std::uint32_t) {},
                  .onLost = [] {}}) {
        if (!client.start()) {
            throw std::runtime_error("no compositor");
        }
    }
    Rival(const Rival&) = delete;
    Rival& operator=(const Rival&) = delete;
    ~Rival() {
        letGo();
        for (auto* output : outputs) {
            wl_output_destroy(output);
        }
        zwlr_gamma_control_manager_v1_destroy(manager);
    }

    void ask() {
        static const zwlr_gamma_control_v1_listener listener{
            .gamma_size = [](void* rival, zwlr_gamma_control_v1*,
                             std::uint32_t) { ++static_cast<Rival*>(rival)->granted; },
            .failed = [](void* rival, zwlr_gamma_control_v1*) { ++static_cast<Rival*>(rival)->lost; }};
        letGo();
        for (auto* output : outputs) {
            controls.push_back(zwlr_gamma_control_manager_v1_get_gamma_control(manager, output));
            zwlr_gamma_control_v1_add_listener(controls.back(), &listener, this);
        }
        client.synchronize();
    }
    void letGo() {
        for (auto* control : controls) {
            zwlr_gamma_control_v1_destroy(control);
        }
        controls.clear();
        client.synchronize();
    }

    int granted = 0;
    int lost = 0;

  private:
    void add(const WaylandGlobal& global) {
        if (global.interface == zwlr_gamma_control_manager_v1_interface.name) {
            manager = static_cast<zwlr_gamma_control_manager_v1*>(
                wl_registry_bind(client.registry(), global.name, &zwlr_gamma_control_manager_v1_interface, 1));
        } else if (global.interface == wl_output_interface.name) {
            outputs.push_back(
                static_cast<wl_output*>(wl_registry_bind(client.registry(), global.name, &wl_output_interface, 1)));
        }
    }

    zwlr_gamma_control_manager_v1* manager = nullptr;
    std::vector<wl_output*> outputs;
    std::vector<zwlr_gamma_control_v1*> controls;
    WaylandClient client;
};

class WlrGammaSession : public testing::Test {
  protected:
    explicit WlrGammaSession(std::unique_ptr<test::WlrCompositor> made) : compositor(std::move(made)) {}

    void loadAll(float level) {
        std::vector<DisplayID> displays(service.activeDisplays({}));
        service.activeDisplays(displays);
        for (const auto display : displays) {
            service.load(display, flatTable(level), flatTable(level), flatTable(level));
        }
        service.flush();
    }

    /// Whether every output comes to show that level; nothing: its own calibration.
    bool allBecome(std::optional<float> level) {
        return loop.runUntil([&] { return allShow(level); });
    }
    [[nodiscard]] bool allShow(std::optional<float> level) const {
        const auto outputs = compositor->outputs();
        return std::ranges::all_of(outputs, [&](const std::string& output) { return shows(output, level); });
    }
    [[nodiscard]] bool shows(const std::string& output, std::optional<float> level) const {
        const auto table = compositor->table(output);
        if (!level || !table) {
            return !level && !table;
        }
        const auto value = static_cast<std::uint16_t>(std::lround(static_cast<double>(*level) * 65535.0));
        return std::ranges::all_of(*table, [value](auto entry) { return entry == value; });
    }

    std::unique_ptr<test::WlrCompositor> compositor;
    test::QtLoop loop;
    test::HastyRunLoop runLoop;
    int serverLosses = 0;
    WlrGammaDisplayService service{runLoop, [this] { ++serverLosses; }};
};

class WlrGammaDisplayServiceTest : public WlrGammaSession, public testing::WithParamInterface<test::WlrCompositorKind> {
  protected:
    WlrGammaDisplayServiceTest() : WlrGammaSession(GetParam().make(1024)) {}
};

INSTANTIATE_TEST_SUITE_P(Each, WlrGammaDisplayServiceTest, testing::ValuesIn(test::installedWlrCompositors()),
                         [](const auto& kind) { return kind.param.name; });

TEST_P(WlrGammaDisplayServiceTest, AFrameDoesNotWaitForTheCompositorAndMissesNothingForLong) {
    loadAll(1.0F);
    ASSERT_TRUE(allBecome(1.0F));
    compositor->signal(SIGSTOP);
    // Far more than the library's and the kernel's buffers hold: a program that sent them all would be ended.
    for (int frame = 0; frame < 5000; ++frame) {
        loadAll(static_cast<float>(frame % 2) * 0.5F);
    }
    loadAll(0.25F);
    compositor->signal(SIGCONT);
    EXPECT_TRUE(allBecome(0.25F));
    EXPECT_EQ(serverLosses, 0);
}

TEST_P(WlrGammaDisplayServiceTest, LeavesTheOutputsToOthersUntilTheFirstLoadAndAfterARestore) {
    Rival rival(runLoop);
    rival.ask();
    EXPECT_EQ(rival.granted, 2);
    rival.letGo();
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    service.restoreCalibration();
    ASSERT_TRUE(allBecome(std::nullopt));
    rival.ask();
    EXPECT_EQ(rival.granted, 4);
    EXPECT_EQ(rival.lost, 0);
}

TEST_P(WlrGammaDisplayServiceTest, AControlThatIsTakenAwayIsAskedForAgain) {
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    Rival rival(runLoop);
    rival.ask(); // this compositor answers by taking the control from whoever has it, and gives it to nobody
    EXPECT_EQ(rival.granted, 0);
    loadAll(0.75F);
    EXPECT_TRUE(allBecome(0.75F));
}

TEST_P(WlrGammaDisplayServiceTest, ARefusalIsAskedAgain) {
    Rival rival(runLoop);
    rival.ask();
    ASSERT_EQ(rival.granted, 2);
    loadAll(0.5F);
    // Both outputs were asked for, and have been asked for again.
    ASSERT_TRUE(loop.runUntil([&] { return runLoop.delays().size() >= 4; }));
    if (rival.lost == 0) {
        EXPECT_TRUE(allShow(std::nullopt)) << "what another client has stays its own";
        rival.letGo();
    } else {
        // Older compositors take the control from the other client then, and tell this one nothing.
        EXPECT_EQ(rival.lost, 2);
    }
    EXPECT_TRUE(allBecome(0.5F));
}

TEST_P(WlrGammaDisplayServiceTest, WithoutGammaTablesItAsksEverMoreRarelyUntilThereAreSome) {
    compositor->setGammaSize(0);
    loadAll(0.5F);
    // Two outputs: each delay twice.
    const std::vector<Seconds> expected{Seconds(1), Seconds(1), Seconds(2), Seconds(2), Seconds(4), Seconds(4)};
    ASSERT_TRUE(loop.runUntil([&] { return runLoop.delays().size() >= expected.size(); }));
    auto delays = runLoop.delays();
    delays.resize(expected.size());
    EXPECT_EQ(delays, expected);
    // Loads and frames change nothing about that.
    for (const auto& display : service.describe()) {
        EXPECT_FALSE(display.hasTemperature || display.hasBrightness) << display.name;
    }
    const auto attempts = runLoop.delays().size();
    for (int frame = 0; frame < 10; ++frame) {
        loadAll(0.6F);
    }
    EXPECT_EQ(runLoop.delays().size(), attempts);
    compositor->setGammaSize(1024);
    EXPECT_TRUE(allBecome(0.6F));
}

TEST_P(WlrGammaDisplayServiceTest, ARefusedOutputIsAskedForAtOnceAfterAReloadAndAModeChange) {
    const auto refuseForLong = [this] {
        compositor->setGammaSize(0);
        const auto before = runLoop.delays().size();
        loadAll(0.5F);
        const bool isRare = loop.runUntil([&] { return runLoop.delays().size() >= before + 10; });
        compositor->setGammaSize(1024);
        return isRare ? runLoop.delays().size() : 0;
    };
    // What was granted by an attempt of its own time would be followed by a longer delay.
    const auto startsAnew = [this](std::size_t known) {
        return std::find(runLoop.delays().begin() + static_cast<std::ptrdiff_t>(known), runLoop.delays().end(),
                         Seconds(1)) != runLoop.delays().end();
    };
    auto known = refuseForLong();
    ASSERT_GT(known, 0U);
    service.reload();
    EXPECT_TRUE(allBecome(0.5F));
    EXPECT_TRUE(startsAnew(known));

    service.restoreCalibration();
    ASSERT_TRUE(allBecome(std::nullopt));
    known = refuseForLong();
    ASSERT_GT(known, 0U);
    compositor->setMode("HEADLESS-1", 800, 600);
    EXPECT_TRUE(loop.runUntil([&] { return shows("HEADLESS-1", 0.5F); }));
    EXPECT_TRUE(startsAnew(known));
}

TEST_P(WlrGammaDisplayServiceTest, TablesStayThroughAModeChange) {
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    compositor->setMode("HEADLESS-2", 1024, 768);
    loadAll(0.75F);
    EXPECT_TRUE(allBecome(0.75F));
}

class WlrGammaDisplayServiceOnSway : public WlrGammaSession {
  protected:
    WlrGammaDisplayServiceOnSway() : WlrGammaSession(std::make_unique<test::Sway>()) {}

    const test::Sway& sway = dynamic_cast<const test::Sway&>(*compositor);
};

TEST_F(WlrGammaDisplayServiceOnSway, TablesStayThroughSavingPower) {
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    sway.command("output HEADLESS-1 dpms off");
    sway.command("output HEADLESS-1 dpms on");
    loadAll(0.75F);
    EXPECT_TRUE(allBecome(0.75F));
}

TEST_P(WlrGammaDisplayServiceTest, AnOutputSwitchedOffAndOnGetsTheNewestTables) {
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    compositor->switchOutput("HEADLESS-2", false);
    ASSERT_TRUE(loop.runUntil([&] { return service.activeDisplays({}) == 1; }));
    loadAll(0.75F);
    compositor->switchOutput("HEADLESS-2", true);
    ASSERT_TRUE(loop.runUntil([&] { return service.activeDisplays({}) == 2; }));
    EXPECT_TRUE(allBecome(0.75F));
}

TEST_P(WlrGammaDisplayServiceTest, WithEveryOutputOffItWaitsForOne) {
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    for (const auto& output : compositor->outputs()) {
        compositor->switchOutput(output, false);
    }
    ASSERT_TRUE(loop.runUntil([&] { return service.activeDisplays({}) == 0; }));
    service.loadNewcomers(flatTable(0.25F), flatTable(0.25F), flatTable(0.25F));
    service.flush();
    for (const auto* output : {"HEADLESS-1", "HEADLESS-2"}) {
        compositor->switchOutput(output, true);
    }
    ASSERT_TRUE(loop.runUntil([&] { return service.activeDisplays({}) == 2; }));
    EXPECT_TRUE(allBecome(0.25F));
}

TEST_P(WlrGammaDisplayServiceTest, AConnectionThatTheCompositorEndsIsMadeAnewWithTheTint) {
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    // As if an output moves to other hardware. For older compositors the next table is a violation of the protocol.
    compositor->setGammaSize(4096);
    compositor->endGammaClients();
    loadAll(0.75F);
    EXPECT_TRUE(allBecome(0.75F));
    EXPECT_EQ(compositor->table("HEADLESS-1")->size(), 3U * 4096U);
    EXPECT_EQ(service.activeDisplays({}), 2U);
    EXPECT_EQ(serverLosses, 0);
    service.restoreCalibration();
    EXPECT_TRUE(allBecome(std::nullopt));
}

TEST_P(WlrGammaDisplayServiceTest, TellsOnceThatTheCompositorHasGoneAndIsHarmlessFromThenOn) {
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    compositor->kill();
    EXPECT_TRUE(loop.runUntil([&] { return serverLosses > 0; }));
    service.load(1, flatTable(0.5F), flatTable(0.5F), flatTable(0.5F));
    service.flush();
    service.reload();
    service.restoreCalibration();
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(serverLosses, 1);
}

TEST_P(WlrGammaDisplayServiceTest, AQuietServiceSleeps) {
    loadAll(0.5F);
    ASSERT_TRUE(allBecome(0.5F));
    const auto delays = runLoop.delays().size();
    loop.runFor(std::chrono::milliseconds(200)); // 20 s of its time
    EXPECT_EQ(runLoop.delays().size(), delays);
}

TEST(WlrGammaDisplayServiceWithoutCompositor, IsNotAvailableAndHarmless) {
    for (const char* name : {"", "wayland-4095", "/nonexistent/wayland-1"}) {
        setenv("WAYLAND_DISPLAY", name, 1);
        unsetenv("XDG_RUNTIME_DIR");
        test::QtLoop loop;
        QtRunLoop runLoop;
        WlrGammaDisplayService service(runLoop, [] { FAIL(); });
        EXPECT_FALSE(service.isAvailable());
        EXPECT_EQ(service.activeDisplays({}), 0U);
        service.load(1, flatTable(1), flatTable(1), flatTable(1));
        service.flush();
        service.reload();
        service.restoreCalibration();
    }
}

} // namespace
} // namespace nocta
