#pragma once

#include "Platform/PopoverSurface.h"
#include "Platform/X11/KeyboardKeeper.h"
#include "Platform/X11/XConnection.h"

#include <optional>

class QScreen;
class QWindow;

namespace nocta {

/// A popover on an X server, in a window of Qt's platform plug-in "xcb" that no window manager manages.
class X11PopoverSurface final : public PopoverSurface {
  public:
    /// `window` is not shown yet and outlives the surface. From then on its place, its size and its being shown are the
    /// surface's.
    explicit X11PopoverSurface(QWindow& window);
    X11PopoverSurface(const X11PopoverSurface&) = delete;
    X11PopoverSurface& operator=(const X11PopoverSurface&) = delete;
    ~X11PopoverSurface() override;

    [[nodiscard]] PopoverSurroundings surroundings(const std::optional<Rectangle>& anchor) const override;
    [[nodiscard]] bool isTranslucent() const override;
    void show(const Rectangle& frame, const Rectangle& body) override;
    void takeKeyboard() override;
    void hide() override;

  private:
    /// The window's number, once it has one.
    [[nodiscard]] xcb_window_t prepareWindow() const;

    XConnection server;
    QWindow& window;
    std::optional<KeyboardKeeper> keyboard; ///< while it is shown
};

} // namespace nocta
