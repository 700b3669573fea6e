#pragma once

#include "Platform/RunLoop.h"
#include "Platform/SurfaceHost.h"
#include "Platform/WindowHost.h"

#include <memory>

class QQmlComponent;
class QQmlEngine;

namespace nocta {

/// The windows that Core asks for, as Qt Quick scenes drawn without a graphics driver. Needs the application object;
/// the scene is loaded when the first window is made.
///
/// The eye is drawn, not written: fonts differ too much in it.
class QuickWindowHost final : public WindowHost {
  public:
    /// Both outlive the host and its windows; the host outlives its windows.
    QuickWindowHost(SurfaceHost& surfaces, RunLoop& loop);
    ~QuickWindowHost() override;

    [[nodiscard]] std::optional<Screen> mainScreen() const override { return surfaces.mainScreen(); }
    [[nodiscard]] std::vector<Screen> screens() const override { return surfaces.screens(); }
    [[nodiscard]] std::unique_ptr<OverlayWindow> makeOverlayWindow(const OverlayWindowStyle& style,
                                                                   std::function<void()> onSkip) override;
    void activateIgnoringOtherApps() override;

  private:
    class Window;

    void loadScene();

    SurfaceHost& surfaces;
    RunLoop& loop;
    std::unique_ptr<QQmlEngine> engine;
    std::unique_ptr<QQmlComponent> scene;
    std::vector<Window*> shown; ///< in the order in which they were shown
};

} // namespace nocta
