#pragma once

#include "Platform/WindowHost.h"

#include <string>

namespace nocta::test {

/// The window of a break over `screen`.
inline OverlayWindowStyle breakStyle(const Rectangle& screen) {
    return {.contentRect = screen,
            .backgroundColor = {.red = 0.05, .green = 0.03, .blue = 0, .alpha = 0.95},
            .isOpaque = false,
            .alphaValue = 0,
            .canJoinAllSpaces = true,
            .fullScreenAuxiliary = true,
            .ignoresCycle = true};
}

/// What a break shows with that many seconds left.
inline OverlayContent breakContent(int remaining, int duration = 20) {
    const Color cream{.red = 1.0, .green = 0.92, .blue = 0.78};
    return {
        .eye = {.text = "👁", .pointSize = 72, .textColor = cream},
        .title = {.text = "Rest your eyes", .pointSize = 38, .weight = FontWeight::semibold, .textColor = cream},
        .subtitle = {.text = "Look at something 20 feet away and blink naturally.",
                     .pointSize = 17,
                     .textColor = {.red = 1, .green = 1, .blue = 1, .alpha = 0.55}},
        .countdown = {.text = std::to_string(remaining),
                      .pointSize = 72,
                      .weight = FontWeight::thin,
                      .monospacedDigits = true,
                      .textColor = {.red = 1.0, .green = 0.72, .blue = 0.32}},
        .progress = {.minValue = 0, .maxValue = static_cast<double>(duration), .value = static_cast<double>(remaining)},
        .skip = {.title = "Skip break",
                 .pointSize = 13,
                 .contentTintColor = {.red = 1, .green = 1, .blue = 1, .alpha = 0.35}}};
}

} // namespace nocta::test
