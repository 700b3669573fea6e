#pragma once

#include "Platform/Clock.h"
#include "Platform/Simulated/SimulatedRunLoop.h"

#include <vector>

namespace nocta {

/// A wall clock that follows the virtual time of a run loop, and jumps when it is told to.
class SimulatedClock final : public Clock {
  public:
    /// `loop` outlives the clock, which shows `start` now.
    SimulatedClock(const SimulatedRunLoop& loop, Instant start) : loop(loop), start(start) {}

    [[nodiscard]] Instant now() const override { return start + Seconds(loop.elapsed()); }

    /// Moves the clock's hands, as a suspended machine or a user who sets the clock does. No timer notices.
    void jump(Seconds distance) { start += distance; }

  private:
    const SimulatedRunLoop& loop;
    Instant start;
};

/// The proleptic Gregorian calendar in a zone whose rules a test writes.
class SimulatedCalendar final : public Calendar {
  public:
    struct ZoneChange {
        Instant at;
        Seconds offset{0};
    };

    /// Seconds east of UTC, until the first of the changes.
    Seconds offset{0};
    /// In order of their instants, as summer time brings them. A local time that comes twice is its first instant; one
    /// that is skipped is as long after the change as it would be without.
    std::vector<ZoneChange> changes;
    /// While true, no instant can be built.
    bool isBroken = false;

    [[nodiscard]] std::optional<DateComponents> components(Instant instant) const override;
    [[nodiscard]] std::optional<Instant> instant(const DateComponents& components) const override;
    [[nodiscard]] std::optional<int> dayOfYear(Instant instant) const override;
    [[nodiscard]] Seconds offsetFromUTC(Instant instant) const override;
};

} // namespace nocta
