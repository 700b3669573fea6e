#include "Core/UserActions.h"

#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/CircadianScheduler.h"
#include "Core/FilterEngine.h"
#include "Platform/Application.h"
#include "Platform/Clock.h"
#include "Platform/Platform.h"

#include <utility>

namespace nocta::userActions {

namespace {

/// Seconds of the fade back from the schedule to the active preset, whatever its own.
constexpr double unscheduledTransitionSecs = 4.0;

/// Assigns, and tells whether that changed the value.
template <class Value>
bool changes(Setting<Value>& setting, Value value) {
    const bool isNew = setting.get() != value;
    setting = std::move(value);
    return isNew;
}

void setTimeOfDay(Setting<Instant>& setting, int hour, int minute) {
    const auto& platform = Platform::current();
    auto date = platform.calendar->components(setting.get());
    if (!date) {
        date = platform.calendar->components(platform.clock->now());
        if (!date) {
            return;
        }
        date->second = 0;
    }
    date->hour = hour;
    date->minute = minute;
    // Where summer time begins, a date lacks some of its times; the next one has them.
    for (const std::int64_t day : {date->day, date->day + 1}) {
        date->day = day;
        const auto instant = platform.calendar->instant(*date);
        const auto shown = instant ? platform.calendar->components(*instant) : std::nullopt;
        if (shown && shown->hour == hour && shown->minute == minute) {
            setting = *instant;
            return;
        }
    }
}

} // namespace

bool choosePreset(const Preset& preset) {
    auto& state = AppState::shared();
    if (!state.filterEnabled.get()) {
        return false;
    }
    state.activePresetID = preset.id;
    FilterEngine::shared().apply(preset.colorTemp, preset.brightness, preset.transitionSecs);
    return true;
}

void setCustomTemp(std::int64_t kelvin) {
    auto& state = AppState::shared();
    state.customTemp = kelvin;
    state.activePresetID = "custom";
    FilterEngine::shared().applyInteractive(kelvin, state.customBrightness.get());
}

void setCustomBrightness(double factor) {
    auto& state = AppState::shared();
    state.customBrightness = factor;
    FilterEngine::shared().applyInteractive(state.effectiveTemp(), factor);
}

void setFilterEnabled(bool enabled) {
    AppState::shared().filterEnabled = enabled;
}

void setScheduleEnabled(bool enabled) {
    auto& state = AppState::shared();
    if (!changes(state.scheduleEnabled, enabled)) {
        return;
    }
    if (enabled) {
        CircadianScheduler::shared().tick();
    } else {
        const Preset& active = state.activePreset();
        FilterEngine::shared().apply(active.colorTemp, active.brightness, unscheduledTransitionSecs);
    }
}

void setScheduleUsesLocation(bool usesLocation) {
    if (changes(AppState::shared().scheduleUsesLocation, usesLocation) && usesLocation) {
        CircadianScheduler::shared().requestLocation();
    }
}

void setManualSunrise(int hour, int minute) {
    setTimeOfDay(AppState::shared().manualSunrise, hour, minute);
}

void setManualSunset(int hour, int minute) {
    setTimeOfDay(AppState::shared().manualSunset, hour, minute);
}

void setBreaksEnabled(bool enabled) {
    if (!changes(AppState::shared().breaksEnabled, enabled)) {
        return;
    }
    if (enabled) {
        BreakEngine::shared().start();
    } else {
        BreakEngine::shared().stop();
    }
}

void setBreakIntervalMinutes(std::int64_t minutes) {
    if (changes(AppState::shared().breakIntervalMinutes, minutes)) {
        BreakEngine::shared().restartTimer();
    }
}

void setBreakDurationSeconds(std::int64_t seconds) {
    AppState::shared().breakDurationSeconds = seconds;
}

void setShowMenuBarScore(bool shows) {
    AppState::shared().showMenuBarScore = shows;
}

void setLaunchAtLogin(bool launches) {
    AppState::shared().launchAtLogin = launches;
}

void quit() {
    FilterEngine::shared().resetAllDisplays();
    if (auto* application = Platform::current().application) {
        application->terminate();
    }
}

} // namespace nocta::userActions
