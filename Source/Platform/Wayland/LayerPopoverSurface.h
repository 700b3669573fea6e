#pragma once

#include "Platform/PopoverSurface.h"
#include "Platform/Wayland/ClickCatcher.h"
#include "Platform/Wayland/LayerShell.h"
#include "Platform/Wayland/LayerSurface.h"

#include <functional>
#include <optional>

#include <QObject>

namespace nocta {

/// A popover on a Wayland desktop whose compositor has a layer shell, in a window of Qt's platform plug-in "wayland".
/// It stands at the item where the host says where on the desktop that was clicked. Most hosts do not know: then in the
/// corner beside the panel, on the screen that the compositor chooses, which is the one that has the keyboard.
///
/// It is dismissed when any screen goes. While it is shown it has the keyboard alone. Compositors give a panel's window
/// no keyboard that it does not insist on, and those that do may take it away at a movement of the pointer.
class LayerPopoverSurface final : public PopoverSurface {
  public:
    /// `window` is not shown yet and outlives the surface. From then on its place, its size and its being shown are the
    /// surface's. `panelSide` says where the panel is of the screen that has the keyboard.
    LayerPopoverSurface(QWindow& window, std::function<Side()> panelSide);
    LayerPopoverSurface(const LayerPopoverSurface&) = delete;
    LayerPopoverSurface& operator=(const LayerPopoverSurface&) = delete;
    ~LayerPopoverSurface() override;

    [[nodiscard]] PopoverSurroundings surroundings(const std::optional<Rectangle>& anchor) const override;
    [[nodiscard]] bool isTranslucent() const override;
    void show(const PopoverSurroundings& surroundings, const Rectangle& frame, const Rectangle& body) override;
    void takeKeyboard() override;
    void hide() override;
    void setDismissHandler(const std::function<void()>& handler) override;

  private:
    void dismissLater();

    QWindow& window;
    std::function<Side()> panelSide;
    LayerShell shell;
    LayerSurface surface;
    Rectangle shownFrame;                  ///< when it was shown last
    std::optional<ClickCatcher> elsewhere; ///< while it is shown
    std::function<void()> onDismissed;
    QObject context; // destroyed first: nothing is dismissed any more
};

} // namespace nocta
