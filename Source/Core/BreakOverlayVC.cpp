#include "Core/BreakOverlayVC.h"

#include <algorithm>
#include <string>

namespace nocta {

namespace {

constexpr Color warmCream{.red = 1.0, .green = 0.92, .blue = 0.78, .alpha = 1.0};
constexpr Color amber{.red = 1.0, .green = 0.72, .blue = 0.32, .alpha = 1.0};

constexpr Color white(double alpha) {
    return {.red = 1.0, .green = 1.0, .blue = 1.0, .alpha = alpha};
}

} // namespace

void BreakOverlayVC::loadView() {
    eyeLabel.pointSize = 72;
    eyeLabel.textColor = warmCream; // where the eye is drawn as text: black would be lost on the dark window

    titleLabel = {.text = "Rest your eyes", .pointSize = 38, .weight = FontWeight::semibold, .textColor = warmCream};
    subtitleLabel = {.text = "Look at something 20 feet away and blink naturally.",
                     .pointSize = 17,
                     .weight = FontWeight::regular,
                     .textColor = white(0.55)};
    countdownLabel = {.text = std::to_string(totalDuration),
                      .pointSize = 72,
                      .weight = FontWeight::thin,
                      .monospacedDigits = true,
                      .textColor = amber};

    const auto full = static_cast<double>(totalDuration);
    progressBar = {.minValue = 0, .maxValue = full, .value = full};

    // Faint on purpose: skipping is possible, not inviting.
    skipButton = {.title = "Skip break", .pointSize = 13, .contentTintColor = white(0.35)};
}

void BreakOverlayVC::update(std::int64_t remaining) {
    countdownLabel.text = std::to_string(std::max<std::int64_t>(remaining, 0));
    progressBar.value = static_cast<double>(remaining);
}

void BreakOverlayVC::skipTapped() const {
    // A copy: the callee may destroy this object.
    if (const auto skip = onSkip) {
        skip();
    }
}

OverlayContent BreakOverlayVC::content() const {
    return {.eye = eyeLabel,
            .title = titleLabel,
            .subtitle = subtitleLabel,
            .countdown = countdownLabel,
            .progress = progressBar,
            .skip = skipButton};
}

} // namespace nocta
