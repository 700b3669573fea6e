#include "Core/AppState.h"

#include "Core/FatalError.h"
#include "Core/FilterEngine.h"
#include "Platform/Clock.h"
#include "Platform/Platform.h"

namespace nocta {

AppState& AppState::shared() {
    static AppState& instance = *new AppState;
    return instance;
}

AppState::AppState() {
    // The one entry whose encoding can fail comes last.
    moveToEnd(appProfiles);
    defaults = Platform::current().settings;
    loadDefaults();
    isInitializing = false;
}

const Preset& AppState::activePreset() const {
    const Preset* preset = builtInPreset(activePresetID.get());
    return preset != nullptr ? *preset : Preset::natural;
}

std::int64_t AppState::effectiveTemp() const {
    const Preset* preset = builtInPreset(activePresetID.get());
    return preset != nullptr ? preset->colorTemp : customTemp.get();
}

double AppState::effectiveBrightness() const {
    const Preset* preset = builtInPreset(activePresetID.get());
    return preset != nullptr ? preset->brightness : customBrightness.get();
}

void AppState::switchFilter(const bool& enabled) {
    FilterEngine::shared().setEnabled(enabled);
}

Instant AppState::todayAt(int hour, int minute) {
    const auto& platform = Platform::current();
    auto components = platform.calendar->components(platform.clock->now());
    if (components) {
        components->hour = hour;
        components->minute = minute;
        components->second = 0;
        if (const auto instant = platform.calendar->instant(*components)) {
            return *instant;
        }
    }
    fatalError("The calendar has no such time today");
}

} // namespace nocta
