#include "Core/SchedulePhases.h"

#include "Core/CheckedArithmetic.h"
#include "Core/FatalError.h"

namespace nocta {

SchedulePhase schedulePhase(std::int64_t minute, std::int64_t sunrise, std::int64_t sunset) {
    const auto isBefore = [minute](std::int64_t anchor, std::int64_t offset) {
        return minute < checkedAdd(anchor, offset);
    };
    if (isBefore(sunrise, -90)) {
        return SchedulePhase::nightBeforeDawn;
    }
    if (isBefore(sunrise, -30)) {
        return SchedulePhase::preDawn;
    }
    if (isBefore(sunrise, 60)) {
        return SchedulePhase::dawn;
    }
    if (isBefore(sunset, -90)) {
        return SchedulePhase::daytime;
    }
    if (isBefore(sunset, 0)) {
        return SchedulePhase::lateAfternoon;
    }
    if (isBefore(sunset, 60)) {
        return SchedulePhase::dusk;
    }
    if (isBefore(sunset, 180)) {
        return SchedulePhase::evening;
    }
    return SchedulePhase::night;
}

std::string_view presetID(SchedulePhase phase) {
    switch (phase) {
    case SchedulePhase::nightBeforeDawn:
    case SchedulePhase::night:
        return "sleep";
    case SchedulePhase::preDawn:
    case SchedulePhase::evening:
        return "evening";
    case SchedulePhase::dawn:
    case SchedulePhase::dusk:
        return "dusk";
    case SchedulePhase::daytime:
        return "natural";
    case SchedulePhase::lateAfternoon:
        return "focus";
    }
    fatalError("No such phase");
}

} // namespace nocta
