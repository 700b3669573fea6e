#include "Core/CircadianScheduler.h"

#include "Core/AppState.h"
#include "Core/CheckedArithmetic.h"
#include "Core/FatalError.h"
#include "Core/FilterEngine.h"
#include "Core/SchedulePhases.h"
#include "Core/SunTimes.h"
#include "Platform/Clock.h"
#include "Platform/Platform.h"

#include <string>

namespace nocta {

namespace {

constexpr Seconds tickInterval{60.0};

DateComponents componentsOf(Instant instant) {
    const auto components = Platform::current().calendar->components(instant);
    if (!components) {
        // Manual times are kept as they are stored; one beyond every calendar counts as midnight.
        return DateComponents{};
    }
    return *components;
}

/// `minutes` after local midnight of `now`'s date, truncated to the minute; `now` where there is no such instant.
Instant instantOfToday(Instant now, double minutes) {
    auto components = componentsOf(now);
    // Truncating divisions leave a time of the day before negative, and the calendar carries it over.
    const std::int64_t local = checkedInteger(minutes);
    components.hour = local / 60;
    components.minute = local % 60;
    components.second = 0;
    return Platform::current().calendar->instant(components).value_or(now);
}

} // namespace

CircadianScheduler& CircadianScheduler::shared() {
    static CircadianScheduler& instance = *new CircadianScheduler;
    return instance;
}

void CircadianScheduler::start() {
    tick();
    if (tickTimer) {
        orphanedTimers.push_back(std::move(tickTimer));
    }
    auto& runLoop = *Platform::current().runLoop;
    tickTimer = runLoop.repeating(tickInterval, TimerPrecision::coarse,
                                  [this, &runLoop] { runLoop.async([this] { tick(); }); });
    const auto& state = AppState::shared();
    if (state.scheduleEnabled.get() && state.scheduleUsesLocation.get()) {
        requestLocation();
    }
}

void CircadianScheduler::stop() {
    tickTimer.reset();
}

void CircadianScheduler::tick() {
    auto& state = AppState::shared();
    if (!state.scheduleEnabled.get() || !state.filterEnabled.get()) {
        return;
    }
    const auto [rise, set] = sunTimes();
    const auto id = presetID(Platform::current().clock->now(), rise, set);
    if (id == state.activePresetID.get()) {
        return;
    }
    state.activePresetID = std::string(id);
    const Preset& preset = state.activePreset();
    FilterEngine::shared().apply(preset.colorTemp, preset.brightness, preset.transitionSecs);
}

void CircadianScheduler::requestLocation() {
    if (locationManager == nullptr) {
        locationManager = Platform::current().location;
        locationManager->setDelegate(this);
        locationManager->setDesiredAccuracy(LocationAccuracy::city);
    }
    locationManager->requestWhenInUseAuthorization();
    locationManager->startUpdatingLocation();
}

void CircadianScheduler::didUpdateLocations(std::span<const Location> locations) {
    if (locations.empty()) {
        return;
    }
    Platform::current().runLoop->async([this, location = locations.back()] {
        lastKnownLocation = location;
        tick();
        locationManager->stopUpdatingLocation();
    });
}

void CircadianScheduler::didFail() {}

std::pair<Instant, Instant> CircadianScheduler::sunTimes() const {
    const auto& state = AppState::shared();
    if (state.scheduleUsesLocation.get() && lastKnownLocation) {
        return calculateSunTimes(lastKnownLocation->latitude, lastKnownLocation->longitude);
    }
    return {state.manualSunrise.get(), state.manualSunset.get()};
}

std::pair<Instant, Instant> CircadianScheduler::calculateSunTimes(double lat, double lon) {
    constexpr double daySunrise = 6.0 * 60;
    constexpr double daySunset = 18.0 * 60;
    const auto& platform = Platform::current();
    const Instant now = platform.clock->now();
    const auto sun = sunMinutes(platform.calendar->dayOfYear(now).value_or(1), lat, lon);
    if (!sun) {
        return {instantOfToday(now, daySunrise), instantOfToday(now, daySunset)};
    }
    const double tzHours = platform.calendar->offsetFromUTC(now).count() / 3600.0;
    return {instantOfToday(now, sun->sunrise + tzHours * 60.0), instantOfToday(now, sun->sunset + tzHours * 60.0)};
}

std::string_view CircadianScheduler::presetID(Instant now, Instant sunrise, Instant sunset) {
    return nocta::presetID(schedulePhase(timeToMins(now), timeToMins(sunrise), timeToMins(sunset)));
}

std::int64_t CircadianScheduler::timeToMins(Instant date) {
    const auto components = componentsOf(date);
    return checkedAdd(checkedMultiply<std::int64_t>(components.hour, 60), components.minute);
}

} // namespace nocta
