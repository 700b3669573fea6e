#pragma once

#include "Platform/SurfaceHost.h"
#include "Platform/Wayland/LayerShell.h"

namespace nocta {

/// Overlays on a Wayland desktop whose compositor has a layer shell, in windows of Qt's platform plug-in "wayland". The
/// compositor keeps them above and gives them the keyboard. There is no main screen there: overlays are on the
/// leftmost, of several below each other on the uppermost.
/// Where it has no layer shell, overlays are never shown.
class LayerSurfaceHost final : public SurfaceHost {
  public:
    [[nodiscard]] std::optional<Screen> mainScreen() const override { return std::nullopt; }
    [[nodiscard]] std::vector<Screen> screens() const override;
    [[nodiscard]] std::unique_ptr<OverlaySurface> makeOverlay(QWindow& window,
                                                              std::function<void()> onTranslucencyChange) override;

  private:
    LayerShell shell;
    /// Of a size that no screen is smaller than, until one was known.
    mutable Screen lastKnown{.name = {}, .frame = {.x = 0, .y = 0, .width = 640, .height = 480}};
};

} // namespace nocta
