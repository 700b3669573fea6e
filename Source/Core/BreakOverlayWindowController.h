#pragma once

#include "Core/BreakOverlayVC.h"
#include "Platform/RunLoop.h"
#include "Platform/WindowHost.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace nocta {

/// The window of one break, or of a preview of one: covers the main screen and counts the seconds down. It never ends
/// the break by itself; whoever made it closes it. Main thread only.
///
/// Destroying it closes the window at once, unless `close` was called before: then the fade goes on without it.
class BreakOverlayWindowController {
  public:
    /// Makes the window, not shown yet, for a break of `duration` seconds on the main screen, or on the first where
    /// none is the main one; `fatalError` where there is no screen at all.
    explicit BreakOverlayWindowController(std::int64_t duration);
    BreakOverlayWindowController(const BreakOverlayWindowController&) = delete;
    BreakOverlayWindowController& operator=(const BreakOverlayWindowController&) = delete;
    ~BreakOverlayWindowController() = default;

    /// Called by every press of the skip button while the overlay is neither closed nor closing; empty for nobody. It
    /// may destroy this controller.
    std::function<void()> onSkip;

    const std::int64_t duration; ///< seconds

    /// Fades the window in and starts the countdown, which stops by itself at 0. Once only.
    void present();
    /// Stops the countdown and fades the window out, after which it is gone. An overlay that is presented or closed
    /// meanwhile ends the fade early: at most one window fades out at a time, also with no pause between the breaks.
    void close();
    /// As `close`, without the fade. Ends also a fade that `close` began.
    void forceClose();

  private:
    void countDown();
    void letGoOfSkipButton();
    static void closeForGood(const std::shared_ptr<OverlayWindow>& window);
    /// The window that fades out, whose controller may be gone.
    static std::shared_ptr<OverlayWindow>& closingWindow();

    std::int64_t remaining; ///< seconds on the display
    std::unique_ptr<Timer> countdownTimer;
    std::weak_ptr<BreakOverlayVC> contentVC;   ///< belongs to the window
    std::shared_ptr<OverlayWindow> window;     ///< null once it is closing
    std::weak_ptr<OverlayWindow> fadingWindow; ///< the same window, once it is closing
    /// Expires with this object, for callbacks that may come later.
    std::shared_ptr<const bool> lifetime = std::make_shared<const bool>(true);
};

} // namespace nocta
