#include "Core/SchedulePhases.h"

#include "Core/ExpectedSchedule.h"
#include "Core/Preset.h"

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

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

/// Each minute of a day lies in one row of the table, and in no other.
void expectTheTable(std::int64_t sunrise, std::int64_t sunset) {
    const auto table = expected::phases(sunrise, sunset);
    for (std::int64_t minute = 0; minute < 1440; ++minute) {
        std::vector<std::size_t> rows;
        for (std::size_t row = 0; row < table.size(); ++row) {
            if (table[row].begin <= minute && minute < table[row].end) {
                rows.push_back(row);
            }
        }
        ASSERT_EQ(rows.size(), 1U) << minute << " with " << sunrise << " and " << sunset;
        const auto phase = schedulePhase(minute, sunrise, sunset);
        ASSERT_EQ(static_cast<std::size_t>(phase), rows.front()) << minute << " with " << sunrise << " and " << sunset;
        ASSERT_EQ(presetID(phase), table[rows.front()].preset);
    }
}

TEST(SchedulePhases, EveryMinuteIsInThePhaseOfTheTableAlsoWithTheTimesSwappedEqualOrAtTheEndsOfTheDay) {
    std::vector<std::int64_t> anchors{1, 29, 30, 89, 90, 91, 1349, 1379, 1380, 1438, 1439};
    for (std::int64_t anchor = 0; anchor < 1440; anchor += 53) {
        anchors.push_back(anchor);
    }
    for (const auto sunrise : anchors) {
        for (const auto sunset : anchors) {
            ASSERT_NO_FATAL_FAILURE(expectTheTable(sunrise, sunset));
        }
    }
}

RC_GTEST_PROP(SchedulePhasesProperty, EveryMinuteOfAnyDayIsInThePhaseOfTheTable, ()) {
    expectTheTable(*rc::gen::inRange(0, 1440), *rc::gen::inRange(0, 1440));
    RC_ASSERT(!testing::Test::HasFatalFailure());
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
