#pragma once

#include "Core/CircadianScheduler.h"

namespace nocta {

/// Looks into the scheduler, which tells nobody what it knows.
class CircadianSchedulerInspector {
  public:
    static std::pair<Instant, Instant> calculateSunTimes(double lat, double lon) {
        return CircadianScheduler::calculateSunTimes(lat, lon);
    }
    static std::pair<Instant, Instant> sunTimes() { return CircadianScheduler::shared().sunTimes(); }
    static std::string_view presetID(Instant now, Instant sunrise, Instant sunset) {
        return CircadianScheduler::presetID(now, sunrise, sunset);
    }
};

} // namespace nocta
