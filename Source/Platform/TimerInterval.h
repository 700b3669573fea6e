#pragma once

#include "Platform/Time.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace nocta {

/// The contract of `RunLoop` for odd intervals, for every back end: what is zero, negative or not a number counts as
/// zero, what is longer than a century as never.
[[nodiscard]] inline std::optional<std::chrono::nanoseconds> timerInterval(Seconds interval) {
    constexpr Seconds century = std::chrono::years(100);
    if (!(interval > Seconds::zero())) {
        return std::chrono::nanoseconds::zero();
    }
    if (interval > century) {
        return std::nullopt;
    }
    return std::chrono::round<std::chrono::nanoseconds>(interval);
}

/// When firing number `count` (from 1) of a repeating timer is due after its start. Computed from the start, so that an
/// interval that is no whole number of nanoseconds never drifts.
[[nodiscard]] inline std::chrono::nanoseconds timerOffset(Seconds interval, std::int64_t count) {
    return std::chrono::round<std::chrono::nanoseconds>(interval * static_cast<double>(count));
}

} // namespace nocta
