#include "Core/SchedulePhases.h"

#include "Core/Preset.h"

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr std::int64_t at(std::int64_t hour, std::int64_t minute) {
    return hour * 60 + minute;
}

std::string_view presetAt(std::int64_t minute, std::int64_t sunrise, std::int64_t sunset) {
    return presetID(schedulePhase(minute, sunrise, sunset));
}

TEST(SchedulePhases, ADayFromSixToSixChangesAtItsBoundaries) {
    struct Moment {
        std::int64_t minute;
        const char* preset;
    };
    constexpr std::array moments{
        Moment{at(0, 0), "sleep"},    Moment{at(4, 29), "sleep"},    Moment{at(4, 30), "evening"},
        Moment{at(5, 29), "evening"}, Moment{at(5, 30), "dusk"},     Moment{at(6, 59), "dusk"},
        Moment{at(7, 0), "natural"},  Moment{at(16, 29), "natural"}, Moment{at(16, 30), "focus"},
        Moment{at(17, 59), "focus"},  Moment{at(18, 0), "dusk"},     Moment{at(18, 59), "dusk"},
        Moment{at(19, 0), "evening"}, Moment{at(20, 59), "evening"}, Moment{at(21, 0), "sleep"},
        Moment{at(23, 59), "sleep"},
    };
    for (const auto& moment : moments) {
        EXPECT_EQ(presetAt(moment.minute, at(6, 0), at(18, 0)), moment.preset) << moment.minute;
    }
}

TEST(SchedulePhases, ALateSunsetsEveningLastsUntilMidnightAndDoesNotWrapAround) {
    constexpr auto sunrise = at(6, 0);
    constexpr auto sunset = at(22, 30);
    EXPECT_EQ(presetAt(at(22, 29), sunrise, sunset), "focus");
    EXPECT_EQ(presetAt(at(22, 30), sunrise, sunset), "dusk");
    EXPECT_EQ(presetAt(at(23, 29), sunrise, sunset), "dusk");
    EXPECT_EQ(presetAt(at(23, 30), sunrise, sunset), "evening");
    EXPECT_EQ(presetAt(at(23, 59), sunrise, sunset), "evening");
    EXPECT_EQ(presetAt(at(0, 0), sunrise, sunset), "sleep");
    EXPECT_EQ(presetAt(at(4, 29), sunrise, sunset), "sleep");
}

TEST(SchedulePhases, AnEarlySunriseLeavesNoNightBeforeDawn) {
    EXPECT_EQ(schedulePhase(0, at(1, 0), at(20, 0)), SchedulePhase::preDawn);
    EXPECT_EQ(schedulePhase(0, 0, at(20, 0)), SchedulePhase::dawn);
}

/// The same rule as a table: the boundaries in their order, and what holds before each.
std::vector<SchedulePhase> tableOfTheDay(std::int64_t sunrise, std::int64_t sunset) {
    struct Boundary {
        std::int64_t end;
        SchedulePhase phase;
    };
    const std::array boundaries{
        Boundary{sunrise - 90, SchedulePhase::nightBeforeDawn},
        Boundary{sunrise - 30, SchedulePhase::preDawn},
        Boundary{sunrise + 60, SchedulePhase::dawn},
        Boundary{sunset - 90, SchedulePhase::daytime},
        Boundary{sunset, SchedulePhase::lateAfternoon},
        Boundary{sunset + 60, SchedulePhase::dusk},
        Boundary{sunset + 180, SchedulePhase::evening},
        Boundary{10000, SchedulePhase::night},
    };
    std::vector<SchedulePhase> day;
    for (const auto& boundary : boundaries) {
        while (static_cast<std::int64_t>(day.size()) < std::min<std::int64_t>(boundary.end, 1440)) {
            day.push_back(boundary.phase);
        }
    }
    return day;
}

TEST(SchedulePhases, EveryMinuteOfEveryDayAgreesWithTheTableAlsoSwappedEqualAndAtTheEnds) {
    std::vector<std::int64_t> anchors{1, 29, 30, 89, 90, 91, 1349, 1379, 1380, 1438, 1439};
    for (std::int64_t anchor = 0; anchor < 1440; anchor += 37) {
        anchors.push_back(anchor);
    }
    for (const auto sunrise : anchors) {
        for (const auto sunset : anchors) {
            const auto day = tableOfTheDay(sunrise, sunset);
            ASSERT_EQ(day.size(), 1440U);
            for (std::int64_t minute = 0; minute < 1440; ++minute) {
                ASSERT_EQ(schedulePhase(minute, sunrise, sunset), day[static_cast<std::size_t>(minute)])
                    << minute << " with " << sunrise << " and " << sunset;
            }
        }
    }
}

TEST(SchedulePhases, EveryPhaseHasABuiltInPresetAndCinemaIsNone) {
    for (int phase = 0; phase <= static_cast<int>(SchedulePhase::night); ++phase) {
        const auto id = presetID(static_cast<SchedulePhase>(phase));
        EXPECT_NE(builtInPreset(id), nullptr) << phase;
        EXPECT_NE(id, "cinema");
    }
}

TEST(SchedulePhasesDeathTest, AnchorsBeyondTheIntegersAreFatal) {
    constexpr auto highest = std::numeric_limits<std::int64_t>::max();
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
    EXPECT_DEATH((void)schedulePhase(0, lowest, 0), "Arithmetic overflow");
    EXPECT_DEATH((void)schedulePhase(highest, 0, highest), "Arithmetic overflow");
}

} // namespace
} // namespace nocta
