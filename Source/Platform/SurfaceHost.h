#pragma once

#include "Platform/WindowHost.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QWindow;

namespace nocta {

/// Keeps one window an overlay: over the main screen, or over the first where none is the main one, and over no other;
/// above every window of every program, full-screen ones included, on every desktop, but below a screen locker. It
/// follows the screen when that moves, changes its mode, or hands its role to another one. With all outputs off it
/// stays where it was.
///
/// Destroying it gives the keyboard back and takes the window off the screen; the window may be destroyed afterwards.
class OverlaySurface {
  public:
    OverlaySurface() = default;
    OverlaySurface(const OverlaySurface&) = delete;
    OverlaySurface& operator=(const OverlaySurface&) = delete;
    virtual ~OverlaySurface() = default;

    virtual void show() = 0;
    /// Takes the keyboard, now or as soon as the window is on the screen, and keeps it: another program that takes it
    /// loses it again. Only one that grabs it (a screen locker, an open menu) has it as long as it likes.
    virtual void takeKeyboard() = 0;
    /// Gives the keyboard back to the window that had it.
    virtual void releaseKeyboard() = 0;
    /// The keys that are down at this moment, as `QKeyEvent::nativeScanCode` numbers them. For a window system that
    /// never reports a key as pressed that went down before the window had the keyboard: none.
    [[nodiscard]] virtual std::vector<std::uint32_t> pressedKeys() const = 0;
    /// Whether the desktop blends this window with what is below it. Otherwise `setOpacity` has no effect, and the
    /// window's transparent parts show black.
    [[nodiscard]] virtual bool isTranslucent() const = 0;
    /// Whether `setOpacity` has an effect on a translucent window. Otherwise the window can only be faded by drawing it
    /// ever more transparent.
    [[nodiscard]] virtual bool hasOpacity() const { return true; }
    /// Of the whole window, from 0 to 1, which it is unless told. Sent at once, and nothing is drawn anew for it.
    virtual void setOpacity(double opacity) = 0;
};

/// What a window system knows to do with the windows of this program, beyond Qt. Main thread only; nothing here reports
/// an error.
class SurfaceHost {
  public:
    SurfaceHost() = default;
    SurfaceHost(const SurfaceHost&) = delete;
    SurfaceHost& operator=(const SurfaceHost&) = delete;
    virtual ~SurfaceHost() = default;

    /// As in `WindowHost`.
    [[nodiscard]] virtual std::optional<Screen> mainScreen() const = 0;
    [[nodiscard]] virtual std::vector<Screen> screens() const = 0;

    /// Makes `window`, which is not shown yet and outlives the surface, an overlay. From then on its place, its size
    /// and its being shown are the surface's. `onTranslucencyChange` is called from the run loop when `isTranslucent`
    /// gives another answer.
    [[nodiscard]] virtual std::unique_ptr<OverlaySurface> makeOverlay(QWindow& window,
                                                                      std::function<void()> onTranslucencyChange) = 0;
};

} // namespace nocta
