#pragma once

#include "Platform/PopoverSurface.h"
#include "Platform/X11/KeyboardKeeper.h"
#include "Platform/X11/XConnection.h"

#include <functional>
#include <optional>

#include <QObject>

class QScreen;
class QWindow;

namespace nocta {

/// A popover on an X server, in a window of Qt's platform plug-in "xcb" that no window manager manages. On Xwayland,
/// where nothing tells of clicks elsewhere, the compositor does, and the popover is dismissed when it loses the
/// keyboard to another program.
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
    void show(const PopoverSurroundings& surroundings, const Rectangle& frame, const Rectangle& body) override;
    void takeKeyboard() override;
    void hide() override;
    void setDismissHandler(const std::function<void()>& handler) override { onDismiss = handler; }

  private:
    /// The window's number, once it has one.
    [[nodiscard]] xcb_window_t prepareWindow() const;

    void keyboardMoved();

    XConnection server;
    bool isManaged;
    QWindow& window;
    std::function<void()> onDismiss;
    bool hadKeyboard = false;               ///< since it was shown
    std::optional<KeyboardKeeper> keyboard; ///< while it is shown
    QObject context;                        // destroyed first: nothing is told any more
};

} // namespace nocta
