#include "Platform/Mutter/MutterDisplayService.h"

#include "Platform/Qt/QtRunLoop.h"
#include "QtLoop.h"
#include "Support/DrivenDisplays.h"
#include "Support/Eventually.h"
#include "Support/Mutter.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <random>
#include <thread>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::DrivenDisplays;
using test::eventually;
using test::Ramps;

/// What a display shows for tables that are everywhere at this fraction.
Ramps flatRamps(float level) {
    return Ramps(std::size_t{3} * 256, static_cast<std::uint16_t>(std::lround(static_cast<double>(level) * 65535.0)));
}

class MutterDisplayServiceTest : public testing::Test {
  protected:
    MutterDisplayServiceTest() {
        displays.plug(3);
        calibration = displays.allRamps();
        mutter = std::make_unique<test::Mutter>();
    }

    std::unique_ptr<MutterDisplayService> makeService() {
        return std::make_unique<MutterDisplayService>(runLoop, test::programFolder() / "nocta-mutter-guard");
    }

    static void load(MutterDisplayService& service, float level) {
        std::vector<DisplayID> listed(service.activeDisplays({}));
        service.activeDisplays(listed);
        const std::vector<float> table(256, level);
        for (const auto display : listed) {
            service.load(display, table, table, table);
        }
        service.flush();
    }

    [[nodiscard]] bool allShow(const Ramps& ramps) const {
        const auto all = displays.allRamps();
        return std::ranges::all_of(all, [&](const auto& entry) { return entry.second == ramps; });
    }
    /// Lets the service hear of what happened until all active displays show these ramps.
    bool allBecome(const Ramps& ramps) {
        return loop.runUntil([&] { return allShow(ramps); });
    }
    [[nodiscard]] bool isCalibrated() const {
        const auto all = displays.allRamps();
        return std::ranges::all_of(all,
                                   [this](const auto& entry) { return entry.second == calibration.at(entry.first); });
    }
    bool becomesCalibrated() {
        return loop.runUntil([&] { return isCalibrated(); });
    }

    /// A program that has made all displays black, was killed, and whose guard was killed with it.
    void leaveTint() {
        test::Process client({test::programFolder() / "tint-holder", "Mutter"});
        ASSERT_TRUE(eventually([&] { return allShow(flatRamps(0)); })) << client.errors();
        killWithItsGuard(client);
        ASSERT_TRUE(allShow(flatRamps(0)));
    }
    static void killWithItsGuard(test::Process& client) {
        client.signal(SIGSTOP);
        for (const auto guard : client.children("nocta-mutter-gu")) {
            kill(guard, SIGKILL);
        }
        client.signal(SIGKILL);
        client.waitForEnd();
    }

    [[nodiscard]] bool hasFile() const { return std::filesystem::exists(mutter->calibrationFile()); }

    test::XServer xServer;
    test::SessionBus bus;
    DrivenDisplays displays;
    std::map<xcb_randr_crtc_t, Ramps> calibration;
    std::unique_ptr<test::Mutter> mutter;
    test::QtLoop loop;
    QtRunLoop runLoop;
};

TEST_F(MutterDisplayServiceTest, DescribesTheActiveDisplaysByTheirConnectors) {
    const auto service = makeService();
    ASSERT_TRUE(service->isAvailable());
    EXPECT_EQ(service->mechanism(), "mutter");
    const auto described = [](DisplayID id, const std::string& name) {
        return DisplayDescription{
            .id = id, .name = name, .tableSize = 256, .hasTemperature = true, .hasBrightness = true};
    };
    EXPECT_EQ(service->describe(),
              (std::vector{described(1, "DUMMY0"), described(2, "DUMMY1"), described(3, "DUMMY2")}));
    displays.setMode(0, std::nullopt);
    ASSERT_TRUE(loop.runUntil([&] { return service->activeDisplays({}) == 2; }));
    EXPECT_EQ(service->describe(), (std::vector{described(2, "DUMMY1"), described(3, "DUMMY2")}));
}

TEST_F(MutterDisplayServiceTest, WithoutMutterItIsNotAvailableAndDoesNothing) {
    mutter->end();
    const auto service = makeService();
    EXPECT_FALSE(service->isAvailable());
    EXPECT_EQ(service->activeDisplays({}), 0U);
    EXPECT_TRUE(service->describe().empty());
    load(*service, 0);
    service->reload();
    service->restoreCalibration();
    EXPECT_TRUE(isCalibrated());
}

TEST_F(MutterDisplayServiceTest, WithoutABusItIsNotAvailable) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "", 1);
    EXPECT_FALSE(makeService()->isAvailable());
}

TEST_F(MutterDisplayServiceTest, KeepsTheCalibrationInAFileWhileItTints) {
    const auto service = makeService();
    EXPECT_FALSE(hasFile());
    load(*service, 0.5F);
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    const auto record = CalibrationFile().read();
    ASSERT_TRUE(record);
    std::vector<Ramps> kept;
    for (const auto& display : record->displays) {
        kept.push_back(display.values);
    }
    std::vector<Ramps> expected;
    for (const auto& [crtc, ramps] : calibration) {
        expected.push_back(ramps);
    }
    EXPECT_EQ(kept, expected);
    service->restoreCalibration();
    EXPECT_TRUE(becomesCalibrated());
    EXPECT_FALSE(hasFile());
}

TEST_F(MutterDisplayServiceTest, TakesOffWhatANoctaLeftThatWasKilledWithItsGuard) {
    leaveTint();
    ASSERT_TRUE(hasFile());
    const auto service = makeService();
    EXPECT_TRUE(becomesCalibrated());
    EXPECT_FALSE(hasFile());
    load(*service, 0.5F);
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    service->restoreCalibration();
    EXPECT_TRUE(becomesCalibrated());
}

TEST_F(MutterDisplayServiceTest, ARecordOfAnotherSessionIsNotBelieved) {
    CalibrationFile().write(CalibrationRecord{.owner = 1,
                                              .displays = {{.crtc = 0, .values = test::peculiarRamps(256, 99)}},
                                              .session = "another",
                                              .clientName = ":1.1"}
                                .encode());
    const auto service = makeService();
    EXPECT_TRUE(isCalibrated());
    EXPECT_FALSE(hasFile());
}

TEST_F(MutterDisplayServiceTest, ADamagedFileIsRemovedAndChangesNothing) {
    leaveTint();
    std::filesystem::resize_file(mutter->calibrationFile(), 1000);
    {
        const auto service = makeService();
        EXPECT_TRUE(service->isAvailable());
        EXPECT_TRUE(allShow(flatRamps(0)));
        EXPECT_FALSE(hasFile());
    }
}

TEST_F(MutterDisplayServiceTest, LoadsWhatCameWhileItsSerialGrewOld) {
    const auto service = makeService();
    load(*service, 0.5F);
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    // What it is told of this waits in its loop.
    displays.setMode(2, std::nullopt);
    mutter->waitForDisplays(2);
    load(*service, 0.25F);
    EXPECT_TRUE(allBecome(flatRamps(0.25F)));
}

TEST_F(MutterDisplayServiceTest, LoadsOnceMoreWhenMutterHasSettledAfterAChange) {
    const auto service = makeService();
    load(*service, 0.5F);
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    displays.setMode(2, std::nullopt);
    ASSERT_TRUE(loop.runUntil([&] { return service->activeDisplays({}) == 2; }));
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    // As it does for a profile, some time after it has told of the change.
    for (const auto crtc : displays.active()) {
        displays.setRamps(crtc, flatRamps(1.0F));
    }
    EXPECT_TRUE(allBecome(flatRamps(0.5F)));
}

TEST_F(MutterDisplayServiceTest, RestoresWithASerialThatGrewOld) {
    const auto service = makeService();
    load(*service, 0.5F);
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    displays.setMode(1, 1);
    displays.setMode(2, std::nullopt);
    mutter->waitForDisplays(2);
    service->restoreCalibration();
    EXPECT_TRUE(becomesCalibrated());
    EXPECT_FALSE(hasFile());
}

TEST_F(MutterDisplayServiceTest, WhileMutterHangsNothingWaitsAndTheNewestWins) {
    const auto service = makeService();
    load(*service, 0.5F);
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    mutter->signal(SIGSTOP);
    for (int frame = 1; frame <= 100; ++frame) {
        load(*service, static_cast<float>(frame) / 200);
        loop.runDue();
    }
    load(*service, 0.75F);
    mutter->signal(SIGCONT);
    EXPECT_TRUE(allBecome(flatRamps(0.75F)));
}

TEST_F(MutterDisplayServiceTest, WhatAHangingMutterDidNotTakeBackTheGuardDoes) {
    auto service = makeService();
    load(*service, 0.5F);
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    mutter->signal(SIGSTOP);
    service->restoreCalibration();
    EXPECT_TRUE(hasFile());
    service.reset();
    mutter->signal(SIGCONT);
    EXPECT_TRUE(becomesCalibrated());
}

TEST_F(MutterDisplayServiceTest, GoesOnWithAMutterThatTakesTheOldOnesPlace) {
    const auto service = makeService();
    load(*service, 0.5F);
    ASSERT_TRUE(allBecome(flatRamps(0.5F)));
    const auto before = CalibrationFile().read();
    mutter->end();
    for (const auto crtc : displays.active()) {
        displays.setRamps(crtc, flatRamps(1.0F));
    }
    load(*service, 0.25F);
    mutter->restart();
    EXPECT_TRUE(allBecome(flatRamps(0.25F)));
    const auto after = CalibrationFile().read();
    ASSERT_TRUE(before && after);
    EXPECT_NE(before->session, after->session);
    EXPECT_EQ(before->displays, after->displays) << "never its own tint";
    service->restoreCalibration();
    EXPECT_TRUE(becomesCalibrated());
}

int killCount() {
    const char* wanted = std::getenv("NOCTA_TEST_KILLS");
    return wanted != nullptr ? std::atoi(wanted) : 20;
}

TEST_F(MutterDisplayServiceTest, NoRandomKillLeavesATint) {
    const auto seed = std::random_device()();
    std::minstd_rand random(seed);
    SCOPED_TRACE("seed " + std::to_string(seed));
    for (int i = 0; i < killCount(); ++i) {
        test::Process client({test::programFolder() / "tint-holder", "Mutter", std::to_string(random())});
        // Every other one is killed while it still starts.
        if (i % 2 == 0) {
            ASSERT_TRUE(eventually([&] { return !isCalibrated(); })) << "start " << i << ": " << client.errors();
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
        if (i % 5 == 4) {
            killWithItsGuard(client);
            // Nobody was left; the next one must know what is under the tint.
            const auto next = makeService();
            ASSERT_TRUE(next->isAvailable());
        } else {
            client.signal(SIGKILL);
            client.waitForEnd();
        }
        ASSERT_TRUE(eventually([&] { return isCalibrated(); })) << "kill " << i;
    }
}

} // namespace
} // namespace nocta
