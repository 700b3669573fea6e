#pragma once

#include "Platform/Clock.h"

namespace nocta {

/// The system's wall clock.
class SystemClock final : public Clock {
  public:
    [[nodiscard]] Instant now() const override;
};

/// The C library's calendar, in the zone that TZ or the system names at the moment of the call.
class SystemCalendar final : public Calendar {
  public:
    [[nodiscard]] std::optional<DateComponents> components(Instant instant) const override;
    [[nodiscard]] std::optional<Instant> instant(const DateComponents& components) const override;
    [[nodiscard]] std::optional<int> dayOfYear(Instant instant) const override;
    [[nodiscard]] Seconds offsetFromUTC(Instant instant) const override;
};

} // namespace nocta
