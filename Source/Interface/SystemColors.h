#pragma once

#include "Platform/Appearance.h"
#include "Platform/WindowHost.h"

namespace nocta {

/// The colours that have a shade for light and one for dark surroundings.
enum class SystemColor { blue, yellow, orange, red, green };

[[nodiscard]] Color systemColor(SystemColor color, ColorScheme scheme);

enum class LabelLevel { primary, secondary, tertiary };

/// Black or white, the less opaque the less a text matters.
[[nodiscard]] Color labelColor(LabelLevel level, ColorScheme scheme);

} // namespace nocta
