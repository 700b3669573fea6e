#pragma once

#include "Platform/LocationService.h"
#include "Platform/RunLoop.h"
#include "Platform/Time.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace nocta {

/// Makes the preset of the time of day the active one, once a minute, while the schedule and the filter are on. Main
/// thread only.
class CircadianScheduler final : private LocationDelegate {
  public:
    /// Created on first use, never destroyed.
    static CircadianScheduler& shared();

    /// Takes a step at once and then one every 60 s; asks for a location if the schedule wants one.
    void start();
    /// Ends the steps. What is known of the location stays.
    void stop();
    /// One step: where the phase's preset is not the active one, it becomes it and fades in with its own transition.
    void tick();
    /// Asks for permission and for one fix. Until it arrives the older one rules, or without one the manual times.
    void requestLocation();

  private:
    friend class CircadianSchedulerInspector;

    CircadianScheduler() = default;

    void didUpdateLocations(std::span<const Location> locations) override;
    void didFail() override;

    /// Today's sunrise and sunset: of the last fix if the location is wanted and there is one, else the manual times.
    [[nodiscard]] std::pair<Instant, Instant> sunTimes() const;
    /// Today's sunrise and sunset at that place, to the whole minute below. A day without either runs from 06:00 to
    /// 18:00 local time: with sunrise and sunset on one minute, the midnight sun would bring the preset for sleeping at
    /// noon.
    [[nodiscard]] static std::pair<Instant, Instant> calculateSunTimes(double lat, double lon);
    [[nodiscard]] static std::string_view presetID(Instant now, Instant sunrise, Instant sunset);
    /// Whole minutes after local midnight.
    [[nodiscard]] static std::int64_t timeToMins(Instant date);

    LocationService* locationManager = nullptr;
    std::optional<Location> lastKnownLocation;
    std::unique_ptr<Timer> tickTimer;
    // In the distant past for good: every step computes the day's times anew.
    [[maybe_unused]] Instant sunrise = Instant::min();
    [[maybe_unused]] Instant sunset = Instant::min();
    /// Timers of a `start` that another `start` followed: they run on, also after `stop`.
    std::vector<std::unique_ptr<Timer>> orphanedTimers;
};

} // namespace nocta
