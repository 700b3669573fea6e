#include "Interface/SystemColors.h"

#include <cstdint>

namespace nocta {

namespace {

constexpr Color fromHex(std::uint32_t rgb) {
    const auto byte = [rgb](int shift) { return static_cast<double>((rgb >> shift) & 0xFFU) / 255; };
    return {.red = byte(16), .green = byte(8), .blue = byte(0)};
}

struct Shades {
    std::uint32_t light;
    std::uint32_t dark;
};

constexpr Shades shadesOf(SystemColor color) {
    switch (color) {
    case SystemColor::blue:
        return {.light = 0x007AFF, .dark = 0x0A84FF};
    case SystemColor::yellow:
        return {.light = 0xFFCC00, .dark = 0xFFD60A};
    case SystemColor::orange:
        return {.light = 0xFF9500, .dark = 0xFF9F0A};
    case SystemColor::red:
        return {.light = 0xFF3B30, .dark = 0xFF453A};
    case SystemColor::green:
        return {.light = 0x34C759, .dark = 0x30D158};
    }
    return {};
}

constexpr double opacityOf(LabelLevel level) {
    switch (level) {
    case LabelLevel::primary:
        return 0.85;
    case LabelLevel::secondary:
        return 0.62;
    case LabelLevel::tertiary:
        return 0.54;
    }
    return 1;
}

} // namespace

Color systemColor(SystemColor color, ColorScheme scheme) {
    const Shades shades = shadesOf(color);
    return fromHex(scheme == ColorScheme::dark ? shades.dark : shades.light);
}

Color labelColor(LabelLevel level, ColorScheme scheme) {
    Color color = fromHex(scheme == ColorScheme::dark ? 0xFFFFFF : 0x000000);
    color.alpha = opacityOf(level);
    return color;
}

} // namespace nocta
