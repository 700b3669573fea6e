#pragma once

#include "Platform/Time.h"

#include <cstdint>
#include <optional>

namespace nocta {

/// Tells the wall-clock instant. Jumps when the system's clock is set; intervals are the run loop's business.
class Clock {
  public:
    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock() = default;

    [[nodiscard]] virtual Instant now() const = 0;
};

/// A date and time of day as a wall calendar and a wall clock show them.
struct DateComponents {
    std::int64_t year = 1970;
    std::int64_t month = 1; ///< 1 to 12
    std::int64_t day = 1;   ///< 1 to 31
    std::int64_t hour = 0;
    std::int64_t minute = 0;
    std::int64_t second = 0;

    bool operator==(const DateComponents&) const = default;
};

/// The Gregorian calendar in the user's current time zone, which is looked up anew at every call.
class Calendar {
  public:
    Calendar() = default;
    Calendar(const Calendar&) = delete;
    Calendar& operator=(const Calendar&) = delete;
    virtual ~Calendar() = default;

    /// The local date and time of `instant`, to the whole second below; nothing where the calendar cannot express it
    /// (a year beyond the C library's, or no finite number).
    [[nodiscard]] virtual std::optional<DateComponents> components(Instant instant) const = 0;

    /// The instant of a local date and time. Components out of their range are carried over into the next larger one
    /// (minute 75 is a quarter past the next hour, hour -1 is on the previous day). Nothing where no instant results.
    [[nodiscard]] virtual std::optional<Instant> instant(const DateComponents& components) const = 0;

    /// The number of `instant`'s local day in its year, from 1; nothing where `components` gives nothing.
    [[nodiscard]] virtual std::optional<int> dayOfYear(Instant instant) const = 0;

    /// How far the zone's local time is ahead of UTC at `instant`; negative west of it. Zero where `components` gives
    /// nothing.
    [[nodiscard]] virtual Seconds offsetFromUTC(Instant instant) const = 0;
};

} // namespace nocta
