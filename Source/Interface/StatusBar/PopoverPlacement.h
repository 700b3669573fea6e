#pragma once

#include "Platform/PopoverSurface.h"

#include <optional>

namespace nocta {

/// Where a popover's body comes to stand. Logical pixels of the desktop.
struct PopoverPlacement {
    Rectangle body;
    /// The side of the body that faces what it belongs to.
    Side facing = Side::top;
    /// Where on that side the middle of the anchor is, from the body's top left corner; nothing without an anchor.
    std::optional<double> pointer;

    bool operator==(const PopoverPlacement&) const = default;
};

/// Puts a body of `size` beside the anchor: away from the panel that the anchor is in; where it is in none, below it if
/// there is room, else above. `gap` is left between them and `margin` to the work area's other edges; the body never
/// leaves the work area, unless that is smaller. Without an anchor it is the corner beside the panel where panels have
/// their items.
[[nodiscard]] PopoverPlacement placePopover(const PopoverSurroundings& surroundings, const Size& size, double gap,
                                            double margin);

} // namespace nocta
