#pragma once

#include <chrono>

namespace nocta {

/// An interval of monotonic time in seconds. Timers and fades are measured in it.
using Seconds = std::chrono::duration<double>;

/// A wall-clock instant: seconds since 1970-01-01 00:00:00 UTC, negative before it. A double holds every instant that
/// the settings file can name and gives it back unchanged; today it resolves better than a microsecond.
using Instant = std::chrono::time_point<std::chrono::system_clock, Seconds>;

} // namespace nocta
