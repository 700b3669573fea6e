#pragma once

#include "Platform/WindowHost.h"

#include <cstdint>
#include <functional>

namespace nocta {

/// What the break overlay shows. Its members are read through `content`; whoever changes one hands that to the window.
class BreakOverlayVC {
  public:
    /// `duration`: seconds that the break lasts; zero and negative ones are shown as they stand until the first update.
    explicit BreakOverlayVC(std::int64_t duration) : totalDuration(duration) {}

    /// Called by every press of the skip button; empty for nobody. It may destroy this object.
    std::function<void()> onSkip;

    const std::int64_t totalDuration; ///< seconds

    /// Gives every element its text, font and colour, with the whole break still to come.
    void loadView();
    /// Shows that `remaining` seconds are left; the figure never falls below 0, the bar takes what comes.
    void update(std::int64_t remaining);
    /// The skip button's action.
    void skipTapped() const;

    [[nodiscard]] OverlayContent content() const;

  private:
    TextLabel eyeLabel{.text = "\U0001F441", .textColor = {}};
    TextLabel titleLabel;
    TextLabel subtitleLabel;
    TextLabel countdownLabel;
    PushButton skipButton;
    ProgressIndicator progressBar;
};

} // namespace nocta
