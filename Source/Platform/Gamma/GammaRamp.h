#pragma once

#include <cstdint>
#include <span>

namespace nocta {

/// Fills one channel of a display's ramp, of any size, from a table of any size but none: linear interpolation between
/// the table's entries, rounded to 16 bits. Entries outside [0, 1] are clamped; what is no number becomes black.
void fillRamp(std::span<const float> table, std::span<std::uint16_t> ramp);

} // namespace nocta
