#include "Platform/X11/RandrDisplayService.h"

#include "Platform/Gamma/GammaRamp.h"
#include "Platform/Qt/QtRunLoop.h"
#include "QtLoop.h"
#include "Support/DrivenDisplays.h"
#include "Support/Process.h"
#include "Support/ServerTurns.h"
#include "Support/XServer.h"

#include <cmath>
#include <csignal>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

using test::DrivenDisplays;
using test::peculiarRamps;
using test::Ramps;

using Table = std::vector<float>;

Table straightTable(float top) {
    Table table(256);
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = static_cast<float>(i) / 255.0F * top;
    }
    return table;
}

/// What a display shows for straight tables that end at these fractions.
Ramps straightRamps(float red, float green, float blue) {
    Ramps values;
    for (const float top : {red, green, blue}) {
        for (const float level : straightTable(top)) {
            values.push_back(static_cast<std::uint16_t>(std::lround(static_cast<double>(level) * 65535.0)));
        }
    }
    return values;
}

class RandrDisplayServiceTest : public testing::Test {
  protected:
    std::unique_ptr<RandrDisplayService> makeService() {
        return std::make_unique<RandrDisplayService>(
            runLoop, RandrDisplayService::Options{.guardProgram = test::programFolder() / "nocta-guard",
                                                  .onServerLost = [this] { ++serverLosses; }});
    }

    void loadAll(RandrDisplayService& service, float red, float green, float blue) {
        for (const auto display : listed(service)) {
            service.load(display, straightTable(red), straightTable(green), straightTable(blue));
        }
        present(service);
    }

    /// Ends a frame, and lets the server get through it.
    void present(RandrDisplayService& service) const {
        service.flush();
        test::letServerServe(displays.server());
    }

    static std::vector<DisplayID> listed(RandrDisplayService& service) {
        std::vector<DisplayID> displays(service.activeDisplays({}));
        service.activeDisplays(displays);
        return displays;
    }

    /// Lets the service hear of what happened until all active displays show these ramps.
    bool allBecome(const Ramps& values) {
        return loop.runUntil([&] {
            const auto all = displays.allRamps();
            return std::ranges::all_of(all, [&](const auto& entry) { return entry.second == values; });
        });
    }

    test::XServer xServer;
    test::QtLoop loop;
    QtRunLoop runLoop;
    DrivenDisplays displays;
    int serverLosses = 0;
};

TEST_F(RandrDisplayServiceTest, ListsTheActiveDisplaysInTheServersOrder) {
    const auto active = displays.plug(3);
    const auto service = makeService();
    EXPECT_TRUE(service->isAvailable());
    EXPECT_EQ(service->activeDisplays({}), 3U);
    EXPECT_EQ(listed(*service), active);
}

TEST_F(RandrDisplayServiceTest, FillsABufferThatIsTooSmallAndLeavesTheRestOfOneThatIsTooLarge) {
    const auto active = displays.plug(3);
    const auto service = makeService();
    std::vector<DisplayID> two(2);
    EXPECT_EQ(service->activeDisplays(two), 3U);
    EXPECT_EQ(two, (std::vector<DisplayID>{active[0], active[1]}));
    std::vector<DisplayID> five(5, 99);
    EXPECT_EQ(service->activeDisplays(five), 3U);
    EXPECT_EQ(five[2], active[2]);
    EXPECT_EQ(five[3], 99U);
}

TEST_F(RandrDisplayServiceTest, DescribesTheActiveDisplaysByTheirConnectors) {
    const auto active = displays.plug(2);
    const auto service = makeService();
    EXPECT_EQ(service->mechanism(), "randr");
    const auto described = [](DisplayID id, const std::string& name) {
        return DisplayDescription{
            .id = id, .name = name, .tableSize = 256, .hasTemperature = true, .hasBrightness = true};
    };
    EXPECT_EQ(service->describe(), (std::vector{described(active[0], "DUMMY0"), described(active[1], "DUMMY1")}));
    displays.setMode(0, std::nullopt);
    ASSERT_TRUE(loop.runUntil([&] { return listed(*service).size() == 1; }));
    EXPECT_EQ(service->describe(), std::vector{described(active[1], "DUMMY1")});
}

TEST_F(RandrDisplayServiceTest, DescribesDisplaysWithoutTheirNamesWhenTheServerHasGone) {
    displays.plug(2);
    const auto service = makeService();
    xServer.kill();
    EXPECT_EQ(service->describe().size(), 2U);
    for (const auto& display : service->describe()) {
        EXPECT_EQ(display.name, "");
    }
}

TEST_F(RandrDisplayServiceTest, LoadsTheTablesIntoThatDisplayOnly) {
    const auto active = displays.plug(3);
    const auto before = displays.allRamps();
    const auto service = makeService();
    service->load(active[1], straightTable(1.0F), straightTable(0.75F), straightTable(0.5F));
    present(*service);
    EXPECT_EQ(displays.ramps(active[0]), before.at(active[0]));
    EXPECT_EQ(displays.ramps(active[1]), straightRamps(1.0F, 0.75F, 0.5F));
    EXPECT_EQ(displays.ramps(active[2]), before.at(active[2]));
}

TEST_F(RandrDisplayServiceTest, SendsAFrameWithItsFlushAndNotBefore) {
    const auto active = displays.plug(3);
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.9F, 0.8F);
    for (const auto display : active) {
        service->load(display, straightTable(0.5F), straightTable(0.5F), straightTable(0.5F));
    }
    EXPECT_EQ(displays.ramps(active[0]), straightRamps(1.0F, 0.9F, 0.8F));
    service->flush();
    EXPECT_TRUE(allBecome(straightRamps(0.5F, 0.5F, 0.5F)));
}

TEST_F(RandrDisplayServiceTest, AFrameDoesNotWaitForTheServer) {
    displays.plug(3);
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.9F, 0.8F);
    // A frame that asked a stopped server anything would never end.
    kill(xServer.id(), SIGSTOP);
    for (const auto display : listed(*service)) {
        service->load(display, straightTable(0.5F), straightTable(0.5F), straightTable(0.5F));
    }
    service->flush();
    kill(xServer.id(), SIGCONT);
    EXPECT_TRUE(allBecome(straightRamps(0.5F, 0.5F, 0.5F)));
}

TEST_F(RandrDisplayServiceTest, RestoresExactlyTheRampsOfEveryDisplay) {
    displays.plug(3);
    const auto before = displays.allRamps();
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    loadAll(*service, 0.5F, 0.3F, 0.1F);
    ASSERT_NE(displays.allRamps(), before);
    service->restoreCalibration();
    EXPECT_EQ(displays.allRamps(), before);
}

TEST_F(RandrDisplayServiceTest, RestoresAnyRampsAfterAnyLoads) {
    const auto active = displays.plug(2);
    const auto service = makeService();
    rc::check("arbitrary calibrations come back", [&] {
        std::map<xcb_randr_crtc_t, Ramps> before;
        for (const auto crtc : active) {
            before[crtc] = *rc::gen::container<Ramps>(std::size_t{3} * 256, rc::gen::arbitrary<std::uint16_t>());
            displays.setRamps(crtc, before[crtc]);
        }
        const auto loads = *rc::gen::inRange(1, 4);
        for (int i = 0; i < loads; ++i) {
            const auto top = static_cast<float>(*rc::gen::inRange(-1000, 2000)) / 1000.0F;
            service->load(*rc::gen::elementOf(active), straightTable(top), straightTable(1.0F), straightTable(top));
            service->flush();
        }
        service->restoreCalibration();
        RC_ASSERT(displays.allRamps() == before);
    });
}

TEST_F(RandrDisplayServiceTest, TakesTheCalibrationAsItIsBeforeTheFirstTintAfterARestore) {
    const auto crtc = displays.plug(1).front();
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    service->restoreCalibration();
    displays.setRamps(crtc, peculiarRamps(256, 200));
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    service->restoreCalibration();
    EXPECT_EQ(displays.ramps(crtc), peculiarRamps(256, 200));
}

TEST_F(RandrDisplayServiceTest, RestoringWithoutATintChangesNothing) {
    const auto crtc = displays.plug(1).front();
    const auto service = makeService();
    displays.setRamps(crtc, peculiarRamps(256, 200));
    service->restoreCalibration();
    EXPECT_EQ(displays.ramps(crtc), peculiarRamps(256, 200));
}

TEST_F(RandrDisplayServiceTest, ADisplayThatAppearsGetsTheTablesLoadedLast) {
    displays.plug(1);
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    loadAll(*service, 0.9F, 0.5F, 0.2F);
    displays.setMode(1, 0);
    EXPECT_TRUE(loop.runUntil([&] { return service->activeDisplays({}) == 2; }));
    EXPECT_EQ(displays.active().size(), 2U);
    EXPECT_TRUE(allBecome(straightRamps(0.9F, 0.5F, 0.2F)));
}

TEST_F(RandrDisplayServiceTest, ADisplayThatCameAndWentGetsItsOwnCalibrationBackToo) {
    displays.plug(1);
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    displays.setMode(1, 0);
    ASSERT_TRUE(loop.runUntil([&] { return service->activeDisplays({}) == 2; }));
    const auto second = displays.active().at(1);
    ASSERT_TRUE(allBecome(straightRamps(1.0F, 0.6F, 0.3F)));
    displays.setMode(1, std::nullopt);
    ASSERT_TRUE(loop.runUntil([&] { return service->activeDisplays({}) == 1; }));
    service->restoreCalibration();
    EXPECT_EQ(displays.ramps(second), peculiarRamps(256, 2)); // as plug() left the second CRTC
}

TEST_F(RandrDisplayServiceTest, ADisplayThatComesBackGetsTheNewestTablesNotThoseItLeftWith) {
    displays.plug(2);
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    displays.setMode(1, std::nullopt);
    ASSERT_TRUE(loop.runUntil([&] { return service->activeDisplays({}) == 1; }));
    loadAll(*service, 0.9F, 0.5F, 0.2F);
    displays.setMode(1, 0);
    ASSERT_TRUE(loop.runUntil([&] { return service->activeDisplays({}) == 2; }));
    EXPECT_TRUE(allBecome(straightRamps(0.9F, 0.5F, 0.2F)));
}

TEST_F(RandrDisplayServiceTest, RampsThatAModeChangeResetsAreLoadedAgain) {
    const auto crtc = displays.plug(1).front();
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    displays.setRamps(crtc, straightRamps(1.0F, 1.0F, 1.0F));
    displays.setMode(0, 1);
    EXPECT_TRUE(allBecome(straightRamps(1.0F, 0.6F, 0.3F)));
    service->restoreCalibration();
    EXPECT_EQ(displays.ramps(crtc), peculiarRamps(256, 1)) << "the reset must not become the calibration";
}

TEST_F(RandrDisplayServiceTest, AfterARestoreAModeChangeLoadsNothing) {
    const auto crtc = displays.plug(1).front();
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    service->restoreCalibration();
    displays.setMode(0, 1);
    displays.setMode(1, 0);
    ASSERT_TRUE(loop.runUntil([&] { return service->activeDisplays({}) == 2; }));
    EXPECT_EQ(displays.ramps(crtc), peculiarRamps(256, 1));
    EXPECT_EQ(displays.ramps(displays.active().at(1)), peculiarRamps(256, 2));
    EXPECT_FALSE(displays.hasProperty());
}

TEST_F(RandrDisplayServiceTest, AReloadLoadsWhatEachDisplayShowedAfterAnUnreportedReset) {
    const auto active = displays.plug(2);
    const auto service = makeService();
    service->load(active[0], straightTable(1.0F), straightTable(0.6F), straightTable(0.3F));
    service->load(active[1], straightTable(0.9F), straightTable(0.5F), straightTable(0.2F));
    present(*service);
    for (const auto crtc : active) {
        displays.setRamps(crtc, straightRamps(1.0F, 1.0F, 1.0F));
    }
    service->reload();
    displays.server().synchronize();
    EXPECT_EQ(displays.ramps(active[0]), straightRamps(1.0F, 0.6F, 0.3F));
    EXPECT_EQ(displays.ramps(active[1]), straightRamps(0.9F, 0.5F, 0.2F));
    service->restoreCalibration();
    EXPECT_EQ(displays.ramps(active[0]), peculiarRamps(256, 1)) << "the reset must not become the calibration";
}

TEST_F(RandrDisplayServiceTest, AReloadWithoutATintChangesNothing) {
    displays.plug(2);
    const auto before = displays.allRamps();
    const auto service = makeService();
    service->reload();
    EXPECT_EQ(displays.allRamps(), before);
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    service->restoreCalibration();
    service->reload();
    EXPECT_EQ(displays.allRamps(), before);
    EXPECT_FALSE(displays.hasProperty());
}

TEST_F(RandrDisplayServiceTest, UnknownDisplaysAndZeroAreSkipped) {
    displays.plug(1);
    const auto before = displays.allRamps();
    const auto service = makeService();
    service->load(0, straightTable(0.5F), straightTable(0.5F), straightTable(0.5F));
    service->load(0xffff, straightTable(0.5F), straightTable(0.5F), straightTable(0.5F));
    service->load(displays.active().front(), {}, {}, {});
    present(*service);
    EXPECT_EQ(displays.allRamps(), before);
}

TEST_F(RandrDisplayServiceTest, NoNumbersBecomeBlackAndWhatIsTooBrightBecomesFull) {
    const auto crtc = displays.plug(1).front();
    const auto service = makeService();
    const Table none(256, std::numeric_limits<float>::quiet_NaN());
    const Table bright(256, 7.0F);
    service->load(crtc, none, bright, none);
    present(*service);
    const auto ramps = displays.ramps(crtc);
    EXPECT_EQ(ramps[255], 0);
    EXPECT_EQ(ramps[256], 65535);
    EXPECT_EQ(ramps[767], 0);
}

TEST_F(RandrDisplayServiceTest, RecordsTheCalibrationOnTheRootWindowWhileATintIsOn) {
    const auto active = displays.plug(2);
    const auto before = displays.allRamps();
    const auto service = makeService();
    EXPECT_FALSE(displays.hasProperty());
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    const auto record = displays.property();
    ASSERT_TRUE(record);
    ASSERT_EQ(record->displays.size(), 2U);
    for (const auto& display : record->displays) {
        EXPECT_EQ(display.values, before.at(display.crtc));
    }
    service->restoreCalibration();
    EXPECT_FALSE(displays.hasProperty());
}

TEST_F(RandrDisplayServiceTest, TakesAwayTheTintThatADeadNoctaLeft) {
    const auto crtc = displays.plug(1).front();
    const Ramps calibration = displays.ramps(crtc);
    displays.setProperty(CalibrationRecord{.owner = 5, .displays = {{.crtc = crtc, .values = calibration}}}.encode());
    displays.setRamps(crtc, straightRamps(1.0F, 0.5F, 0.2F));
    const auto service = makeService();
    EXPECT_EQ(displays.ramps(crtc), calibration);
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    service->restoreCalibration();
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(RandrDisplayServiceTest, AMalformedRecordOnTheRootWindowIsIgnored) {
    const auto crtc = displays.plug(1).front();
    const Ramps before = displays.ramps(crtc);
    auto damaged =
        CalibrationRecord{.owner = 5, .displays = {{.crtc = crtc, .values = peculiarRamps(256, 9)}}}.encode();
    damaged[40] ^= std::byte{1};
    const auto otherSize = CalibrationRecord{.owner = 5, .displays = {{.crtc = crtc, .values = peculiarRamps(64, 9)}}};
    const auto otherCrtc =
        CalibrationRecord{.owner = 5, .displays = {{.crtc = 0xffff, .values = peculiarRamps(256, 9)}}};
    for (const auto& bytes : {damaged, otherSize.encode(), otherCrtc.encode(), std::vector<std::byte>(),
                              std::vector<std::byte>(100000, std::byte{0xff})}) {
        displays.setProperty(bytes);
        const auto service = makeService();
        EXPECT_TRUE(service->isAvailable());
        EXPECT_EQ(displays.ramps(crtc), before);
        loadAll(*service, 1.0F, 0.6F, 0.3F);
        service->restoreCalibration();
        EXPECT_EQ(displays.ramps(crtc), before);
    }
}

TEST_F(RandrDisplayServiceTest, WithoutItsGuardProgramItStillLoadsAndRestores) {
    displays.plug(1);
    const auto before = displays.allRamps();
    RandrDisplayService service(runLoop, {.guardProgram = "/nonexistent/guard", .onServerLost = [] {}});
    loadAll(service, 1.0F, 0.6F, 0.3F);
    EXPECT_TRUE(allBecome(straightRamps(1.0F, 0.6F, 0.3F)));
    service.restoreCalibration();
    EXPECT_EQ(displays.allRamps(), before);
}

TEST_F(RandrDisplayServiceTest, TellsOnceThatTheServerHasGoneAndIsHarmlessFromThenOn) {
    const auto active = displays.plug(1);
    const auto service = makeService();
    loadAll(*service, 1.0F, 0.6F, 0.3F);
    xServer.kill();
    EXPECT_TRUE(loop.runUntil([&] { return serverLosses > 0; }));
    service->load(active.front(), straightTable(0.5F), straightTable(0.5F), straightTable(0.5F));
    service->flush();
    service->restoreCalibration();
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(serverLosses, 1);
}

TEST(RandrDisplayServiceWithoutServer, IsNotAvailableAndHarmless) {
    unsetenv("DISPLAY");
    test::QtLoop loop;
    QtRunLoop runLoop;
    RandrDisplayService service(runLoop, {.guardProgram = "", .onServerLost = [] { FAIL(); }});
    EXPECT_FALSE(service.isAvailable());
    EXPECT_EQ(service.activeDisplays({}), 0U);
    service.load(1, straightTable(1), straightTable(1), straightTable(1));
    service.flush();
    service.restoreCalibration();
}

} // namespace
} // namespace nocta
