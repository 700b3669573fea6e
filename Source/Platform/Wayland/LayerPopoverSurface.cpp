#include "Platform/Wayland/LayerPopoverSurface.h"

#include <cmath>

#include <QGuiApplication>
#include <QRegion>
#include <QScreen>
#include <QTimer>
#include <QWindow>

namespace nocta {

LayerPopoverSurface::LayerPopoverSurface(QWindow& window)
    : window(window), surface(shell, window, [this] { dismissLater(); }) {}

LayerPopoverSurface::~LayerPopoverSurface() {
    hide();
}

PopoverSurroundings LayerPopoverSurface::surroundings(const std::optional<Rectangle>& /*anchor*/) const {
    // Of this only the distances to the corner count: the screen is the compositor's choice.
    const auto* const screen = QGuiApplication::primaryScreen();
    const QSizeF size = screen != nullptr ? screen->geometry().size() : QSize();
    return {.workArea = {.x = 0, .y = 0, .width = size.width(), .height = size.height()},
            .anchor = std::nullopt,
            .panelSide = Side::top};
}

bool LayerPopoverSurface::isTranslucent() const {
    // Every compositor blends; what Qt says of a window it has made is not about this.
    return window.requestedFormat().hasAlpha();
}

void LayerPopoverSurface::show(const Rectangle& frame, const Rectangle& body) {
    if (surface.isShown()) {
        return;
    }
    const auto pixels = [](double value) { return static_cast<int>(std::lround(value)); };
    const auto area = surroundings(std::nullopt).workArea;
    window.setMask(
        QRegion(pixels(body.x - frame.x), pixels(body.y - frame.y), pixels(body.width), pixels(body.height)));
    elsewhere.emplace(shell, [this] { dismissLater(); });
    surface.show(nullptr,
                 {.purpose = "nocta-popover",
                  .layer = LayerPlace::Layer::overlay,
                  .anchors = LayerPlace::topEdge | LayerPlace::rightEdge,
                  .size = {pixels(frame.width), pixels(frame.height)},
                  .margins = {0, pixels(frame.y - area.y), pixels(area.x + area.width - frame.x - frame.width), 0}});
    if (!surface.isShown()) {
        dismissLater();
    }
}

void LayerPopoverSurface::takeKeyboard() {
    surface.setKeyboard(LayerPlace::Keyboard::exclusive);
}

void LayerPopoverSurface::hide() {
    elsewhere.reset();
    surface.hide();
    surface.setKeyboard(LayerPlace::Keyboard::none);
}

void LayerPopoverSurface::setDismissHandler(const std::function<void()>& handler) {
    onDismissed = handler;
}

void LayerPopoverSurface::dismissLater() {
    QTimer::singleShot(0, &context, [this] {
        if (elsewhere && onDismissed) {
            onDismissed();
        }
    });
}

} // namespace nocta
