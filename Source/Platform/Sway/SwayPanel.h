#pragma once

#include "Platform/PopoverSurface.h"

#include <optional>

namespace nocta {

/// The side of the screen with the keyboard where panels keep most for themselves, on the sway that SWAYSOCK names;
/// nothing where there is no sway, or no panel. Waits for sway, two seconds at most.
[[nodiscard]] std::optional<Side> sideOfSwayPanel();

} // namespace nocta
