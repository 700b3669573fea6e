// What every display service promises, held to it on displays that are as real as they come here.

#include "DisplayBench.h"
#include "Platform/Qt/QtRunLoop.h"
#include "QtLoop.h"
#include "Support/Eventually.h"
#include "Support/Process.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::BenchKind;
using test::DisplayBench;
using test::own;
using test::straightTable;
using test::TableBench;
using test::Tint;

using Table = std::vector<float>;

constexpr Tint warm{1.0, 0.6, 0.3};
constexpr Tint warmer{0.9, 0.5, 0.2};

/// Far beyond what the slowest displays take.
constexpr std::chrono::seconds patience{30};

class DisplayContract : public testing::TestWithParam<BenchKind> {
  protected:
    static std::vector<DisplayID> listed(DisplayService& service) {
        std::vector<DisplayID> displays(service.activeDisplays({}));
        service.activeDisplays(displays);
        return displays;
    }

    static void load(DisplayService& service, DisplayID display, const Tint& tint) {
        service.load(display, straightTable(tint.red), straightTable(tint.green), straightTable(tint.blue));
    }

    static void loadAll(DisplayService& service, const Tint& tint) {
        for (const auto display : listed(service)) {
            load(service, display, tint);
        }
        service.flush();
    }

    bool become(const std::vector<Tint>& tints) {
        return loop.runUntil([&] { return bench->show(tints); }, patience);
    }

    bool learnsOf(std::size_t count) {
        return loop.runUntil([&] { return service->activeDisplays({}) == count; });
    }

    std::unique_ptr<DisplayBench> bench = GetParam().make();
    test::QtLoop loop;
    QtRunLoop runLoop;
    std::unique_ptr<DisplayService> service = bench->makeService(runLoop);
};

TEST_P(DisplayContract, ListsEveryActiveDisplayOnceAsFarAsTheBufferReaches) {
    ASSERT_TRUE(service->isAvailable());
    ASSERT_EQ(service->activeDisplays({}), 3U);
    auto ids = listed(*service);
    std::vector<DisplayID> two(2);
    EXPECT_EQ(service->activeDisplays(two), 3U);
    EXPECT_EQ(two, (std::vector<DisplayID>{ids[0], ids[1]}));
    std::vector<DisplayID> five(5, 0);
    EXPECT_EQ(service->activeDisplays(five), 3U);
    EXPECT_EQ(five, (std::vector<DisplayID>{ids[0], ids[1], ids[2], 0, 0}));
    std::ranges::sort(ids);
    EXPECT_GT(ids[0], 0U);
    EXPECT_EQ(std::ranges::adjacent_find(ids), ids.end());
}

TEST_P(DisplayContract, DescribesTheActiveDisplaysAsTheyAreListed) {
    loadAll(*service, warm);
    ASSERT_TRUE(become({warm, warm, warm}));
    EXPECT_FALSE(service->mechanism().empty());
    EXPECT_NE(service->mechanism(), "none");
    std::vector<DisplayID> ids;
    for (const auto& display : service->describe()) {
        ids.push_back(display.id);
        EXPECT_NE(display.name, "");
        EXPECT_EQ(display.tableSize, bench->size());
        EXPECT_TRUE(display.hasTemperature && display.hasBrightness);
    }
    EXPECT_EQ(ids, listed(*service));
}

TEST_P(DisplayContract, ALoadChangesThatDisplayOnly) {
    load(*service, listed(*service)[1], warm);
    service->flush();
    EXPECT_TRUE(become({own, warm, own}));
}

TEST_P(DisplayContract, EachDisplayShowsWhatItWasLoadedWithLast) {
    const auto ids = listed(*service);
    for (int frame = 0; frame <= 40; ++frame) {
        const double brightness = 1.0 - 0.01 * frame;
        for (const auto id : ids) {
            load(*service, id, {brightness, brightness, brightness});
        }
        service->flush();
    }
    load(*service, ids[0], warmer);
    service->flush();
    EXPECT_TRUE(become({warmer, {0.6, 0.6, 0.6}, {0.6, 0.6, 0.6}}));
}

TEST_P(DisplayContract, WhatIsNoNumberIsBlackAndWhatIsTooBrightIsFull) {
    const Table none(256, std::numeric_limits<float>::quiet_NaN());
    const Table dark(256, -3.0F);
    const Table bright(256, 7.0F);
    service->load(listed(*service)[0], none, dark, bright);
    service->flush();
    const auto* const tables = dynamic_cast<const TableBench*>(bench.get());
    if (tables == nullptr) {
        EXPECT_TRUE(become({{0, 0, 1}, own, own}));
        return;
    }
    const auto size = static_cast<std::ptrdiff_t>(bench->size());
    EXPECT_TRUE(loop.runUntil([&] {
        const auto shown = tables->shown().front();
        return !shown.empty() && std::all_of(shown.begin(), shown.begin() + 2 * size, [](auto v) { return v == 0; }) &&
               std::all_of(shown.begin() + 2 * size, shown.end(), [](auto v) { return v == 65535; });
    }));
}

TEST_P(DisplayContract, UnknownDisplaysAndEmptyTablesAreSkipped) {
    const auto ids = listed(*service);
    load(*service, 0, warm);
    load(*service, *std::ranges::max_element(ids) + 1000, warm);
    service->load(ids[2], {}, {}, {});
    load(*service, ids[1], warm);
    service->flush();
    EXPECT_TRUE(become({own, warm, own}));
}

TEST_P(DisplayContract, RestoringGivesEveryDisplayItsOwnCalibrationBack) {
    loadAll(*service, warm);
    ASSERT_TRUE(become({warm, warm, warm}));
    service->restoreCalibration();
    EXPECT_TRUE(become({own, own, own}));
    service->restoreCalibration();
    loadAll(*service, warmer);
    EXPECT_TRUE(become({warmer, warmer, warmer}));
    service->restoreCalibration();
    EXPECT_TRUE(become({own, own, own}));
}

TEST_P(DisplayContract, WithoutATintRestoringAndReloadingChangeNothing) {
    service->restoreCalibration();
    service->reload();
    service->flush();
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(become({own, own, own}));
}

TEST_P(DisplayContract, ARestoreInTheMiddleOfAFrameWins) {
    loadAll(*service, warm);
    load(*service, listed(*service)[0], warmer);
    service->restoreCalibration();
    service->flush();
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(become({own, own, own}));
}

TEST_P(DisplayContract, ADisplayThatAppearsShowsWhatWasLoadedLast) {
    loadAll(*service, warm);
    loadAll(*service, warmer);
    bench->appear();
    EXPECT_TRUE(learnsOf(4));
    EXPECT_TRUE(become({warmer, warmer, warmer, warmer}));
    service->restoreCalibration();
    EXPECT_TRUE(become({own, own, own, own}));
}

TEST_P(DisplayContract, WhatIsForNewcomersIsShownByThemAlone) {
    loadAll(*service, warm);
    service->loadNewcomers(straightTable(warmer.red), straightTable(warmer.green), straightTable(warmer.blue));
    service->flush();
    service->loadNewcomers({}, {}, {});
    bench->appear();
    EXPECT_TRUE(learnsOf(4));
    EXPECT_TRUE(become({warm, warm, warm, warmer}));
    service->restoreCalibration();
    EXPECT_TRUE(become({own, own, own, own}));
}

TEST_P(DisplayContract, AfterARestoreADisplayThatAppearsKeepsItsOwn) {
    loadAll(*service, warm);
    service->restoreCalibration();
    bench->appear();
    EXPECT_TRUE(learnsOf(4));
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(become({own, own, own, own}));
}

TEST_P(DisplayContract, ADisplayThatDisappearsIsNotListedAndComesBackWithTheNewestTables) {
    loadAll(*service, warm);
    ASSERT_TRUE(become({warm, warm, warm}));
    const auto gone = listed(*service).back();
    bench->disappear();
    EXPECT_TRUE(learnsOf(2));
    EXPECT_TRUE(become({warm, warm}));
    load(*service, gone, warmer);
    loadAll(*service, warmer);
    EXPECT_TRUE(become({warmer, warmer}));
    bench->appear();
    EXPECT_TRUE(learnsOf(3));
    EXPECT_TRUE(become({warmer, warmer, warmer}));
}

TEST_P(DisplayContract, AReloadLeavesEachDisplayWithItsTables) {
    const auto ids = listed(*service);
    load(*service, ids[0], warm);
    load(*service, ids[1], warmer);
    load(*service, ids[2], {1.0, 1.0, 1.0});
    service->flush();
    ASSERT_TRUE(become({warm, warmer, {1.0, 1.0, 1.0}}));
    service->reload();
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(become({warm, warmer, {1.0, 1.0, 1.0}}));
}

TEST_P(DisplayContract, AnyCourseOfEventsEndsAsItsLastOnesSay) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::minstd_rand random(seed);
    Tint loaded = own;
    std::size_t count = 3;
    const int events = bench->isSlow() ? 20 : 60;
    for (int event = 0; event < events; ++event) {
        switch (random() % 6) {
        case 0:
            if (count < 4) {
                bench->appear();
                ASSERT_TRUE(learnsOf(++count));
            }
            break;
        case 1:
            if (count > 1) {
                bench->disappear();
                ASSERT_TRUE(learnsOf(--count));
            }
            break;
        case 2:
            service->restoreCalibration();
            loaded = own;
            break;
        case 3:
            service->reload();
            break;
        default:
            loaded = {1.0, static_cast<double>(random() % 1000) / 1000.0,
                      static_cast<double>(random() % 1000) / 1000.0};
            loadAll(*service, loaded);
            break;
        }
        if (random() % 8 == 0) {
            ASSERT_TRUE(become(std::vector<Tint>(count, loaded))) << "event " << event;
        }
    }
    EXPECT_TRUE(become(std::vector<Tint>(count, loaded)));
}

INSTANTIATE_TEST_SUITE_P(Each, DisplayContract,
                         testing::Values(test::simulatedBench(), test::randrBench(), test::mutterBench(),
                                         test::kwinBench()),
                         [](const auto& kind) { return kind.param.name; });
INSTANTIATE_TEST_SUITE_P(EachWlr, DisplayContract, testing::ValuesIn(test::wlrBenches({1024, 4096})),
                         [](const auto& kind) { return kind.param.name; });

/// The death of the program that tints: for displays that outlive it.
class DisplaysOfADeadClient : public testing::TestWithParam<BenchKind> {};

TEST_P(DisplaysOfADeadClient, HaveTheirOwnCalibrationAgain) {
    const auto bench = GetParam().make();
    const auto all = [&](const Tint& tint) {
        return test::eventually([&] { return bench->show({tint, tint, tint}); }, patience);
    };
    const auto held = bench->size() > 0 ? Tint{0, 0, 0} : test::heldTint;
    for (const int signal : {SIGKILL, SIGSEGV, SIGTERM}) {
        test::Process client({test::programFolder() / "tint-holder", GetParam().name});
        ASSERT_TRUE(all(held)) << client.errors();
        client.signal(signal);
        EXPECT_TRUE(all(own)) << signal;
    }
}

INSTANTIATE_TEST_SUITE_P(Each, DisplaysOfADeadClient,
                         testing::Values(test::randrBench(), test::mutterBench(), test::kwinBench()),
                         [](const auto& kind) { return kind.param.name; });
INSTANTIATE_TEST_SUITE_P(EachWlr, DisplaysOfADeadClient, testing::ValuesIn(test::wlrBenches({1024})),
                         [](const auto& kind) { return kind.param.name; });

} // namespace
} // namespace nocta
