#pragma once

#include "Core/Preset.h"

#include <cstdint>

/// What a person's hand does to Nocta, whether it moves a control of the popover or calls from another program: the
/// setting is assigned and saved, and the engine concerned is told. Main thread only. Nothing is validated: which
/// values there are to pick from is known to whoever offers them.
///
/// A switch or a choice that is set to what it says already is saved once more, and nobody is told. A slider is told of
/// every movement, wherever it ends.
namespace nocta::userActions {

/// Makes `preset` the active one and fades to it with its own transition. While the filter is off nothing happens, and
/// false is returned.
bool choosePreset(const Preset& preset);

/// `kelvin` is on the screen at once, with the custom brightness: the custom values are in force from now on, also if
/// the filter is off.
void setCustomTemp(std::int64_t kelvin);
/// `factor` is on the screen at once, with the temperature in force. The active preset stays active.
void setCustomBrightness(double factor);

/// The filter fades in or out.
void setFilterEnabled(bool enabled);

/// On: the phase's preset comes at once. Off: back to the active preset, in a slow fade.
void setScheduleEnabled(bool enabled);
/// On: one location is asked for.
void setScheduleUsesLocation(bool usesLocation);
/// Local time of day, hour 0 to 23 and minute 0 to 59. Date and second of the setting stay; only where that date lacks
/// the time, in the hour that summer time skips, it is the next one's, and where no calendar knows the date, today's.
/// Without a calendar nothing changes. The schedule finds out by itself.
void setManualSunrise(int hour, int minute);
void setManualSunset(int hour, int minute);

/// On: a work period begins. Off: what runs ends, a break on the screen too.
void setBreaksEnabled(bool enabled);
/// What runs starts over with the new length.
void setBreakIntervalMinutes(std::int64_t minutes);
/// From the next break on.
void setBreakDurationSeconds(std::int64_t seconds);

void setShowMenuBarScore(bool shows);
/// Remembered and shown; nothing is registered with the session.
void setLaunchAtLogin(bool launches);

/// Gives the displays their own calibration back, then ends the program.
void quit();

} // namespace nocta::userActions
