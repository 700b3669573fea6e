#pragma once

#include "Core/Preset.h"
#include "Core/Property.h"
#include "Core/Setting.h"
#include "Platform/Time.h"

#include <cstdint>
#include <string>

namespace nocta {

/// The user's settings and the day's statistics: the hub that every engine and view reads and writes.
///
/// Main thread only. Assigning a setting writes the whole snapshot to the settings store at once, whether or not the
/// value differs. No value is validated or clamped here: what is assigned, or was stored, is kept as it stands. Whoever
/// changes a setting also calls the engine concerned; only `filterEnabled` switches the filter by itself.
class AppState : public SettingsObject {
  public:
    /// Created from the platform's store on first use, never destroyed.
    static AppState& shared();

    /// A built-in preset's id; any other text, "custom" by habit, means that the custom values are in force.
    Setting<std::string> activePresetID{*this, "activePresetID", "natural"};
    Setting<std::int64_t> customTemp{*this, "customTemp", 6500};      ///< kelvin
    Setting<double> customBrightness{*this, "customBrightness", 1.0}; ///< factor, 1.0 is full brightness
    Setting<bool> filterEnabled{*this, "filterEnabled", true, &AppState::switchFilter};
    Setting<bool> scheduleEnabled{*this, "scheduleEnabled", false};
    Setting<bool> scheduleUsesLocation{*this, "scheduleUsesLocation", true};
    Setting<Instant> manualSunrise{*this, "manualSunrise", todayAt(6, 30)};
    Setting<Instant> manualSunset{*this, "manualSunset", todayAt(20, 0)};
    Setting<bool> breaksEnabled{*this, "breaksEnabled", false};
    Setting<std::int64_t> breakIntervalMinutes{*this, "breakIntervalMinutes", 20};
    Setting<std::int64_t> breakDurationSeconds{*this, "breakDurationSeconds", 20};
    Property<std::int64_t> exposureScore{*this, 100}; ///< points, 0 to 100
    Property<std::int64_t> totalFilteredMinutes{*this, 0};
    Property<std::int64_t> breaksTaken{*this, 0};
    Property<std::int64_t> breaksSkipped{*this, 0};
    Setting<ProfileMap> appProfiles{*this, "appProfiles", {}};
    Setting<bool> launchAtLogin{*this, "launchAtLogin", false};
    Setting<bool> showMenuBarScore{*this, "showMenuBarScore", true};

    /// The active built-in preset, or Natural while the custom values are in force: also then the preset, not the
    /// values.
    [[nodiscard]] const Preset& activePreset() const;
    /// The active preset's colour temperature, else the custom one, in kelvin.
    [[nodiscard]] std::int64_t effectiveTemp() const;
    /// The active preset's brightness factor, else the custom one.
    [[nodiscard]] double effectiveBrightness() const;

  private:
    AppState();

    static void switchFilter(const bool& enabled);
    /// Today's local date at that time of day; `fatalError` where the calendar has no such instant.
    static Instant todayAt(int hour, int minute);
};

} // namespace nocta
