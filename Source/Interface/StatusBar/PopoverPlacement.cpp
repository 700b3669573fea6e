#include "Interface/StatusBar/PopoverPlacement.h"

#include <algorithm>

namespace nocta {

namespace {

double right(const Rectangle& rectangle) {
    return rectangle.x + rectangle.width;
}

double bottom(const Rectangle& rectangle) {
    return rectangle.y + rectangle.height;
}

double middleX(const Rectangle& rectangle) {
    return rectangle.x + rectangle.width / 2;
}

double middleY(const Rectangle& rectangle) {
    return rectangle.y + rectangle.height / 2;
}

/// The lower end wins where there is no room between the two.
double between(double value, double low, double high) {
    return std::max(low, std::min(value, high));
}

/// The side of the body that faces the anchor.
Side facingSide(const Rectangle& area, const Rectangle& anchor, const Size& size, double gap) {
    if (middleY(anchor) < area.y) {
        return Side::top;
    }
    if (middleY(anchor) > bottom(area)) {
        return Side::bottom;
    }
    if (middleX(anchor) < area.x) {
        return Side::left;
    }
    if (middleX(anchor) > right(area)) {
        return Side::right;
    }
    const bool hasRoomBelow = bottom(anchor) + gap + size.height <= bottom(area);
    const bool hasRoomAbove = anchor.y - gap - size.height >= area.y;
    return hasRoomBelow || !hasRoomAbove ? Side::top : Side::bottom;
}

} // namespace

PopoverPlacement placePopover(const PopoverSurroundings& surroundings, const Size& size, double gap, double margin) {
    const auto& area = surroundings.workArea;
    const bool isAnchored = surroundings.anchor.has_value();
    const Side facing = isAnchored ? facingSide(area, *surroundings.anchor, size, gap) : surroundings.panelSide;

    // In the corner, as far as it goes in the direction of the items: the right end of a panel, the lower end of one
    // that stands upright.
    const Rectangle anchor = surroundings.anchor.value_or(Rectangle{.x = right(area), .y = bottom(area)});
    const double leftmost = area.x + margin;
    const double rightmost = right(area) - margin - size.width;
    const double topmost = area.y + margin;
    const double bottommost = bottom(area) - margin - size.height;

    Rectangle body{.width = size.width, .height = size.height};
    switch (facing) {
    case Side::top:
        body.y = isAnchored ? std::max(area.y, bottom(anchor)) + gap : area.y + gap;
        break;
    case Side::bottom:
        body.y = std::min(bottom(area), anchor.y) - gap - size.height;
        break;
    case Side::left:
        body.x = isAnchored ? std::max(area.x, right(anchor)) + gap : area.x + gap;
        break;
    case Side::right:
        body.x = std::min(right(area), anchor.x) - gap - size.width;
        break;
    }
    const bool isBesideUpright = facing == Side::left || facing == Side::right;
    if (isBesideUpright) {
        body.x = between(body.x, area.x, right(area) - size.width);
        body.y = between(middleY(anchor) - size.height / 2, topmost, bottommost);
    } else {
        body.x = between(middleX(anchor) - size.width / 2, leftmost, rightmost);
        body.y = between(body.y, area.y, bottom(area) - size.height);
    }

    PopoverPlacement placement{.body = body, .facing = facing, .pointer = std::nullopt};
    if (isAnchored) {
        placement.pointer = isBesideUpright ? middleY(anchor) - body.y : middleX(anchor) - body.x;
    }
    return placement;
}

} // namespace nocta
