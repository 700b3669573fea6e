#pragma once

#include "Interface/SystemColors.h"

#include <cstdint>
#include <string_view>
#include <variant>

namespace nocta {

/// A colour with two shades, or one that is the same in every appearance.
using BandColor = std::variant<SystemColor, Color>;

/// The colour of the moment, of the panel item, the header and the tab bar, by temperature in kelvin.
[[nodiscard]] SystemColor warmColor(std::int64_t kelvin);

/// The colour of a preset's card, by its temperature in kelvin.
[[nodiscard]] BandColor cardColor(std::int64_t kelvin);

/// The colour of the current temperature among the day's figures, in kelvin: a coarser scale than `warmColor`.
[[nodiscard]] SystemColor tempColor(std::int64_t kelvin);

/// The colour of an exposure score.
[[nodiscard]] SystemColor scoreColor(std::int64_t score);

/// One sentence on an exposure score. Its bands are not those of the colour, on purpose.
[[nodiscard]] std::string_view scoreDescription(std::int64_t score);

} // namespace nocta
