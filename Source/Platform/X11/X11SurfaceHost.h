#pragma once

#include "Platform/RunLoop.h"
#include "Platform/SurfaceHost.h"

namespace nocta {

/// Overlays on an X server, in windows of Qt's platform plug-in "xcb": windows that no window manager manages, raised
/// again whenever the server reports that something came above them. On Xwayland, whose windows only the compositor can
/// put above those of Wayland's, they are fullscreen windows that it keeps above others.
class X11SurfaceHost final : public SurfaceHost {
  public:
    /// `loop` outlives the host and its surfaces.
    explicit X11SurfaceHost(RunLoop& loop) : loop(loop) {}

    [[nodiscard]] std::optional<Screen> mainScreen() const override;
    [[nodiscard]] std::vector<Screen> screens() const override;
    [[nodiscard]] std::unique_ptr<OverlaySurface> makeOverlay(QWindow& window,
                                                              std::function<void()> onTranslucencyChange) override;

  private:
    RunLoop& loop;
    /// Of a size that no screen is smaller than, until one was known.
    mutable Screen lastKnown{.name = {}, .frame = {.x = 0, .y = 0, .width = 640, .height = 480}};
};

} // namespace nocta
