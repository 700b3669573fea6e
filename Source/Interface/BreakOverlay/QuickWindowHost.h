#pragma once

#include "Platform/RunLoop.h"
#include "Platform/SurfaceHost.h"
#include "Platform/WindowHost.h"

#include <functional>
#include <memory>
#include <vector>

class QQmlComponent;
class QQmlEngine;

namespace nocta {

/// The windows that Core asks for, as Qt Quick scenes drawn without a graphics driver. Needs the application object;
/// the scene is loaded when a window is made, and given up some time after the last one has gone.
///
/// The eye is drawn, not written: fonts differ too much in it.
class QuickWindowHost final : public WindowHost {
  public:
    /// From the end of the last window to that of the scene.
    static constexpr Seconds sceneLife{30};

    /// Both outlive the host and its windows; the host outlives its windows. `sceneGone` is called when the memory of a
    /// scene has been freed.
    QuickWindowHost(SurfaceHost& surfaces, RunLoop& loop, std::function<void()> sceneGone);
    QuickWindowHost(const QuickWindowHost&) = delete;
    QuickWindowHost& operator=(const QuickWindowHost&) = delete;
    ~QuickWindowHost() override;

    [[nodiscard]] std::optional<Screen> mainScreen() const override { return surfaces.mainScreen(); }
    [[nodiscard]] std::vector<Screen> screens() const override { return surfaces.screens(); }
    [[nodiscard]] std::unique_ptr<OverlayWindow> makeOverlayWindow(const OverlayWindowStyle& style,
                                                                   std::function<void()> onSkip) override;
    void activateIgnoringOtherApps() override;

  private:
    class Window;

    void loadScene();
    void windowGone();

    SurfaceHost& surfaces;
    RunLoop& loop;
    std::unique_ptr<QQmlEngine> engine;
    std::unique_ptr<QQmlComponent> scene;
    std::function<void()> sceneGone;
    int windows = 0; ///< that have not ended
    std::unique_ptr<Timer> givingUp;
    std::vector<Window*> shown; ///< in the order in which they were shown
};

} // namespace nocta
