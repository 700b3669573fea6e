#pragma once

#include <cstdint>
#include <functional>

#include <QMargins>
#include <QPointer>
#include <QSize>
#include <QString>

class QScreen;
class QWindow;
struct wl_surface;
struct zwlr_layer_surface_v1;
struct zwlr_layer_surface_v1_listener;

namespace nocta {

class LayerShell;

/// Where a window stands on a Wayland desktop.
struct LayerPlace {
    enum class Layer : std::uint8_t {
        top = 2,     ///< above the windows
        overlay = 3, ///< above full-screen windows too
    };
    /// Among this program's own windows, which one layer may hold in an order that differs between compositors.
    enum class Rank : std::uint8_t {
        above, ///< puts those below it on its screen one layer down, as long as it is shown
        below,
    };
    enum class Keyboard : std::uint8_t { none = 0, exclusive = 1, onDemand = 2 };
    enum Anchor : std::uint32_t { topEdge = 1, bottomEdge = 2, leftEdge = 4, rightEdge = 8, allEdges = 15 };

    const char* purpose = ""; ///< a name for the compositor's configuration
    Layer layer = Layer::top;
    std::uint32_t anchors = allEdges; ///< an or of `Anchor`
    QSize size;                       ///< logical pixels; 0 between two anchors: all there is
    QMargins margins;                 ///< to the edges it is anchored to
    Rank rank = Rank::below;
    bool coversPanels = false; ///< whether the edges are those of the screen, or of what panels leave free
};

/// Puts one window of Qt's on a layer of the desktop: Qt makes the surface and draws, this gives the surface its role.
class LayerSurface {
  public:
    /// `onClosed` is called when the compositor has taken the window off the screen, which is gone perhaps. `window` is
    /// not shown yet; it and `shell` outlive this.
    LayerSurface(LayerShell& shell, QWindow& window, std::function<void()> onClosed);
    LayerSurface(const LayerSurface&) = delete;
    LayerSurface& operator=(const LayerSurface&) = delete;
    ~LayerSurface();

    [[nodiscard]] bool isShown() const { return surface != nullptr; }

    /// Shows the window as soon as the compositor says how large it is; without a screen on the one that has the
    /// keyboard.
    void show(QScreen* screen, const LayerPlace& place);
    /// Takes it off the screen.
    void hide();
    /// Who may type into it: `onDemand` once the user has clicked into it. Before `show` as well.
    void setKeyboard(LayerPlace::Keyboard wanted);

  private:
    static const zwlr_layer_surface_v1_listener listener;

    /// Puts every window on the layer that it has beside the others.
    static void arrange();
    void configure(std::uint32_t serial, QSize size);
    void commit() const;
    void sendKeyboard() const;

    LayerShell& shell;
    QWindow& window;
    std::function<void()> onClosed;
    zwlr_layer_surface_v1* surface = nullptr;
    LayerPlace::Layer wantedLayer = LayerPlace::Layer::top;
    LayerPlace::Layer layer = LayerPlace::Layer::top;
    LayerPlace::Rank rank = LayerPlace::Rank::below;
    LayerPlace::Keyboard keyboard = LayerPlace::Keyboard::none;
};

} // namespace nocta
