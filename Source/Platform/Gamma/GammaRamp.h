#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace nocta {

/// What a display is to show: a table a channel, red, green and blue, of one size. Empty ones: its own calibration.
using GammaTables = std::array<std::vector<float>, 3>;

/// Copies them into `tables`, whose memory is kept. Empty ones change nothing.
void assign(GammaTables& tables, std::span<const float> red, std::span<const float> green, std::span<const float> blue);

/// Fills all channels of a ramp, red, then green, then blue, of a third of its entries each.
void fillRamps(const GammaTables& tables, std::span<std::uint16_t> ramps);

/// Fills one channel of a display's ramp, of any size, from a table of any size but none: linear interpolation between
/// the table's entries, rounded to 16 bits. Entries outside [0, 1] are clamped; what is no number becomes black.
void fillRamp(std::span<const float> table, std::span<std::uint16_t> ramp);

} // namespace nocta
