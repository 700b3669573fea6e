#pragma once

#include "Platform/StatusItem.h"

#include <cstdint>
#include <string_view>

namespace nocta {

/// The item's picture for panels: the symbol in its colour, and the caption in the same colour below it. A faint dark
/// outline keeps it legible on light panels and is lost on dark ones. A `SymbolPainter`; needs the GUI application
/// where there is a caption.
[[nodiscard]] Raster paintStatusPicture(const SymbolImage& image, std::string_view caption, std::int32_t size);

} // namespace nocta
