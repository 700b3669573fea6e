#include "Platform/Wayland/LayerPopoverSurface.h"

#include "Platform/WaylandClient/WaylandClient.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QGuiApplication>
#include <QRegion>
#include <QScreen>
#include <QTimer>
#include <QWindow>

namespace nocta {

namespace {

Rectangle toRectangle(const QRect& rectangle) {
    const QRectF exact(rectangle);
    return {.x = exact.x(), .y = exact.y(), .width = exact.width(), .height = exact.height()};
}

/// Half an item's height, where only a point in it is known.
constexpr double halfItem = 12;
/// Logical pixels. What panels above and below take of a screen, as far as that matters: on small screens.
constexpr double heightOfPanels = 48;
/// Logical pixels. No item is that wide.
constexpr int widerThanItems = 100;

/// The screen that has the item, where the place of its last click is one on the desktop; null otherwise. There are
/// hosts that tell a place inside the item, or inside their window.
QScreen* screenWithItem(const QPoint& click) {
    auto* const screen = QGuiApplication::screenAt(click);
    if (screen == nullptr) {
        return nullptr;
    }
    const auto area = screen->geometry();
    const bool isInNoPanel = click.y() > area.center().y();
    // This one's own panels know where they are.
    const bool isOfPlasma = WaylandClient::offers("org_kde_plasma_shell") && click.x() - area.x() > widerThanItems;
    return isInNoPanel || isOfPlasma ? screen : nullptr;
}

/// The corner where items are: at the right end of a panel, at the lower end of one that stands upright.
std::uint32_t cornerOf(Side panelSide) {
    switch (panelSide) {
    case Side::top:
        return LayerPlace::topEdge | LayerPlace::rightEdge;
    case Side::bottom:
    case Side::right:
        return LayerPlace::bottomEdge | LayerPlace::rightEdge;
    case Side::left:
        return LayerPlace::bottomEdge | LayerPlace::leftEdge;
    }
    return LayerPlace::topEdge | LayerPlace::rightEdge;
}

} // namespace

LayerPopoverSurface::LayerPopoverSurface(QWindow& window, std::function<Side()> panelSide)
    : window(window), panelSide(std::move(panelSide)), surface(shell, window, [this] { dismissLater(); }) {
    // Newer compositors do not close a surface when its output is switched off, and Qt does not always know which one
    // that was.
    QObject::connect(qGuiApp, &QGuiApplication::screenRemoved, &context, [this] { dismissLater(); });
}

LayerPopoverSurface::~LayerPopoverSurface() {
    hide();
}

PopoverSurroundings LayerPopoverSurface::surroundings(const std::optional<Rectangle>& anchor) const {
    if (anchor) {
        if (const auto* const screen = screenWithItem(QPointF(anchor->x, anchor->y).toPoint())) {
            return {.workArea = toRectangle(screen->geometry()),
                    .anchor = Rectangle{.x = anchor->x - halfItem,
                                        .y = anchor->y - halfItem,
                                        .width = 2 * halfItem,
                                        .height = 2 * halfItem}};
        }
    }
    // Of this only the distances to the corner count, and the height: the screen is the compositor's choice.
    const auto* const screen = QGuiApplication::primaryScreen();
    auto area = screen != nullptr ? toRectangle(screen->geometry()) : Rectangle();
    for (const auto* const each : QGuiApplication::screens()) {
        area.height = std::min(area.height, toRectangle(each->geometry()).height - heightOfPanels);
    }
    return {.workArea = area, .anchor = std::nullopt, .panelSide = panelSide()};
}

bool LayerPopoverSurface::isTranslucent() const {
    // Every compositor blends; what Qt says of a window it has made is not about this.
    return window.requestedFormat().hasAlpha();
}

void LayerPopoverSurface::show(const PopoverSurroundings& surroundings, const Rectangle& frame, const Rectangle& body) {
    if (surface.isShown()) {
        if (frame == shownFrame) {
            return;
        }
        surface.hide();
    }
    shownFrame = frame;
    const auto pixels = [](double value) { return static_cast<int>(std::lround(value)); };
    const auto& area = surroundings.workArea;
    const bool isAtItem = surroundings.anchor.has_value();
    auto* const screen = isAtItem ? QGuiApplication::screenAt({pixels(area.x), pixels(area.y)}) : nullptr;
    window.setMask(
        QRegion(pixels(body.x - frame.x), pixels(body.y - frame.y), pixels(body.width), pixels(body.height)));
    elsewhere.emplace(shell, [this] { dismissLater(); });
    surface.show(screen, {.purpose = "nocta-popover",
                          .layer = LayerPlace::Layer::overlay,
                          .anchors = cornerOf(surroundings.panelSide),
                          .size = {pixels(frame.width), pixels(frame.height)},
                          .margins = {pixels(frame.x - area.x), pixels(frame.y - area.y),
                                      pixels(area.x + area.width - frame.x - frame.width),
                                      pixels(area.y + area.height - frame.y - frame.height)},
                          .coversPanels = isAtItem});
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
