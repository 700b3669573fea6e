#pragma once

#include "Platform/Time.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace nocta {

/// Measures how long the machine was suspended: by the two monotonic clocks, of which one goes on meanwhile. It needs
/// nobody to tell it.
class SuspendMeter {
  public:
    /// How long the machine was suspended since the last call, or since this was made; never negative. The clocks are
    /// read one after the other, so a preempted process may see some milliseconds that were none.
    [[nodiscard]] Seconds take() {
        const Seconds total = suspendedSinceBoot();
        return std::max(Seconds::zero(), total - std::exchange(taken, total));
    }

  private:
    [[nodiscard]] static Seconds suspendedSinceBoot() { return reading(CLOCK_BOOTTIME) - reading(CLOCK_MONOTONIC); }
    [[nodiscard]] static Seconds reading(clockid_t clock) {
        std::timespec time{};
        clock_gettime(clock, &time);
        return Seconds(static_cast<double>(time.tv_sec)) + std::chrono::nanoseconds(time.tv_nsec);
    }

    Seconds taken = suspendedSinceBoot();
};

} // namespace nocta
