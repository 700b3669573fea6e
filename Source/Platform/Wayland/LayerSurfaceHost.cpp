#include "Platform/Wayland/LayerSurfaceHost.h"

#include "Platform/Wayland/LayerSurface.h"

#include <algorithm>
#include <utility>

#include <QGuiApplication>
#include <QList>
#include <QObject>
#include <QScreen>
#include <QWindow>

namespace nocta {

namespace {

/// With all outputs off, Qt has one screen without an extent.
bool isReal(const QScreen& screen) {
    return !screen.geometry().isEmpty();
}

/// From left to right, and from the top down: a compositor names its screens to programs in any order, some of them
/// the newest one first.
QList<QScreen*> realScreens() {
    auto screens = QGuiApplication::screens();
    screens.removeIf([](const QScreen* screen) { return !isReal(*screen); });
    std::ranges::stable_sort(
        screens, {}, [](const QScreen* screen) { return std::pair(screen->geometry().x(), screen->geometry().y()); });
    return screens;
}

/// Null where all outputs are off.
QScreen* firstScreen() {
    const auto screens = realScreens();
    return screens.isEmpty() ? nullptr : screens.front();
}

class LayerOverlay final : public OverlaySurface {
  public:
    LayerOverlay(LayerShell& shell, QWindow& window)
        : window(window), surface(shell, window, [this] { followScreen(); }) {
        QObject::connect(qGuiApp, &QGuiApplication::screenAdded, &context, [this] { followScreen(); });
        // A compositor that closes the surface before it says that the output has gone, has had another one on the same
        // output meanwhile, of which it will never say anything.
        QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, &context, [this](const QScreen* removed) {
            if (removed == shownOn) {
                surface.hide();
                followScreen();
            }
        });
    }

    void show() override {
        isWanted = true;
        followScreen();
    }
    void takeKeyboard() override { surface.setKeyboard(LayerPlace::Keyboard::exclusive); }
    void releaseKeyboard() override { surface.setKeyboard(LayerPlace::Keyboard::none); }
    [[nodiscard]] std::vector<std::uint32_t> pressedKeys() const override { return {}; }
    /// Every compositor blends; what Qt says of a window it has made is not about this.
    [[nodiscard]] bool isTranslucent() const override { return window.requestedFormat().hasAlpha(); }
    [[nodiscard]] bool hasOpacity() const override { return false; }
    void setOpacity(double /*opacity*/) override {}

  private:
    /// The compositor closes the surface when its output goes; another one may be there, or come later.
    void followScreen() {
        auto* const screen = firstScreen();
        if (isWanted && screen != nullptr && !surface.isShown()) {
            shownOn = screen;
            surface.show(screen, {.purpose = "nocta-break",
                                  .layer = LayerPlace::Layer::overlay,
                                  .anchors = LayerPlace::allEdges,
                                  .size = {0, 0},
                                  .margins = {},
                                  .rank = LayerPlace::Rank::above,
                                  .coversPanels = true});
        }
    }

    QWindow& window;
    QObject context;
    LayerSurface surface;
    bool isWanted = false;
    const QScreen* shownOn = nullptr; ///< to be compared with, no more: it may have gone
};

} // namespace

std::vector<Screen> LayerSurfaceHost::screens() const {
    std::vector<Screen> all;
    for (const auto* screen : realScreens()) {
        const QRectF frame = screen->geometry();
        all.push_back({.name = screen->name().toStdString(),
                       .frame = {.x = frame.x(), .y = frame.y(), .width = frame.width(), .height = frame.height()}});
    }
    if (!all.empty()) {
        lastKnown = all.front();
    } else {
        all.push_back(lastKnown);
    }
    return all;
}

std::unique_ptr<OverlaySurface> LayerSurfaceHost::makeOverlay(QWindow& window,
                                                              std::function<void()> /*onTranslucencyChange*/) {
    return std::make_unique<LayerOverlay>(shell, window);
}

} // namespace nocta
