#pragma once

#include "Platform/Popover.h"
#include "Platform/WindowHost.h"

#include <functional>
#include <optional>

namespace nocta {

/// The sides of a rectangle.
enum class Side { top, bottom, left, right };

/// Where a popover is to stand. Logical pixels of the desktop.
struct PopoverSurroundings {
    /// Of the screen that the popover belongs to: what its panels leave free.
    Rectangle workArea;
    /// What it belongs to; where its extent is not known, a point.
    std::optional<Rectangle> anchor;
    /// Where the screen's panel is, the largest one of several.
    Side panelSide = Side::top;

    bool operator==(const PopoverSurroundings&) const = default;
};

/// Keeps one window of this program a popover: above other windows, not in task lists, not in the window switcher, on
/// whichever desktop is in front. Main thread only; nothing here reports an error.
///
/// Destroying it takes the window off the screen; the window may be destroyed afterwards.
class PopoverSurface {
  public:
    PopoverSurface() = default;
    PopoverSurface(const PopoverSurface&) = delete;
    PopoverSurface& operator=(const PopoverSurface&) = delete;
    virtual ~PopoverSurface() = default;

    /// What is around `anchor`, which is as of `StatusItem::frame`; without one, around the corner of the main screen.
    [[nodiscard]] virtual PopoverSurroundings surroundings(const std::optional<Rectangle>& anchor) const = 0;
    /// Whether the desktop blends this window with what is below it. Otherwise its transparent parts show black.
    [[nodiscard]] virtual bool isTranslucent() const = 0;

    /// Shows the window at `frame`, a place that was found for the last `surroundings`, or moves it there. Only `body`,
    /// within the window, takes input; what is around it is decoration. Both in logical pixels.
    virtual void show(const PopoverSurroundings& surroundings, const Rectangle& frame, const Rectangle& body) = 0;
    /// Takes the keyboard while the window is shown.
    virtual void takeKeyboard() = 0;
    /// Takes the window off the screen, and gives the keyboard back to the window that had it unless another one has
    /// taken it since.
    virtual void hide() = 0;

    /// Calls `handler` from the run loop when the user clicks elsewhere, or the window's screen has gone, while the
    /// window is shown: on a window system that lets only the surface know. On others `EventMonitor` sees clicks, and
    /// this does nothing.
    virtual void setDismissHandler(const std::function<void()>& /*handler*/) {}
};

} // namespace nocta
