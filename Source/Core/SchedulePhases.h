#pragma once

#include <cstdint>
#include <string_view>

namespace nocta {

/// The parts of the day, in their order.
enum class SchedulePhase {
    nightBeforeDawn,
    preDawn,
    dawn,
    daytime,
    lateAfternoon,
    dusk,
    evening,
    night,
};

/// The phase that holds at `minute`, with sunrise and sunset at theirs, all in minutes after local midnight. Every
/// boundary belongs to the later phase. Nothing wraps around midnight; with the sunset before the sunrise, some phases
/// are empty.
[[nodiscard]] SchedulePhase schedulePhase(std::int64_t minute, std::int64_t sunrise, std::int64_t sunset);

/// The id of the built-in preset of a phase.
[[nodiscard]] std::string_view presetID(SchedulePhase phase);

} // namespace nocta
