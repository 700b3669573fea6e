#include "Interface/StatusBar/PopoverFrame.h"

#include <algorithm>
#include <cmath>

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGNinePatchNode>
#include <QSGRectangleNode>
#include <QSGTexture>

namespace nocta {

namespace {

constexpr double arrowWidth = 20;
/// The light comes from above.
constexpr double shadowDrop = 3;
constexpr double shadowOpacity = 0.34;
constexpr double edgeWidth = 1;

/// Shadow and edge of the smallest rounded body, to be stretched in its middle. `scale` is device pixels a logical one.
QImage shadowImage(const QColor& edge, double scale) {
    const double corner = PopoverFrame::shadowExtent + PopoverFrame::cornerRadius;
    const int side = static_cast<int>(std::ceil((2 * corner + 1) * scale));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    const double middle = side / scale / 2;
    const double straight = middle - corner; // from the middle to where the corners begin
    // Distance from the rounded body; negative within.
    const auto distance = [&](double x, double y) {
        const double dx = std::max(std::abs(x - middle) - straight, 0.0);
        const double dy = std::max(std::abs(y - middle) - straight, 0.0);
        return std::hypot(dx, dy) - PopoverFrame::cornerRadius;
    };
    for (int row = 0; row < side; ++row) {
        for (int column = 0; column < side; ++column) {
            const double x = (column + 0.5) / scale;
            const double y = (row + 0.5) / scale;
            const double extent = PopoverFrame::shadowExtent - shadowDrop;
            const double nearness = std::clamp(1 - distance(x, y - shadowDrop) / extent, 0.0, 1.0);
            // Within the body nothing: the body may let a little of what is behind through, and not its own shadow.
            const double outside = std::clamp(distance(x, y) * scale + 0.5, 0.0, 1.0);
            const double shadow = shadowOpacity * nearness * nearness * nearness * outside;
            // A line just outside the body.
            const double line = outside * std::clamp((edgeWidth - distance(x, y)) * scale + 0.5, 0.0, 1.0);
            const double lineAlpha = line * static_cast<double>(edge.alphaF());
            const double alpha = lineAlpha + shadow * (1 - lineAlpha);
            const auto component = [&](int value) { return static_cast<int>(std::lround(value * lineAlpha)); };
            image.setPixel(column, row,
                           qRgba(component(edge.red()), component(edge.green()), component(edge.blue()),
                                 static_cast<int>(std::lround(alpha * 255))));
        }
    }
    return image;
}

/// Points up; its lower side covers the body's edge.
QImage arrowImage(const QColor& background, const QColor& edge, Side side, double scale) {
    const QSizeF size(arrowWidth, PopoverFrame::arrowLength + edgeWidth);
    QImage image((size * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    constexpr double base = PopoverFrame::arrowLength + edgeWidth;
    constexpr double middle = arrowWidth / 2;
    QPainterPath path(QPointF(0, base));
    path.cubicTo({middle * 0.45, base}, {middle * 0.7, edgeWidth}, {middle, edgeWidth});
    path.cubicTo({arrowWidth - middle * 0.7, edgeWidth}, {arrowWidth - middle * 0.45, base}, {arrowWidth, base});
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.setPen(QPen(edge, edgeWidth));
    painter.drawPath(path.translated(0, -edgeWidth / 2));
    painter.fillPath(path, background);
    painter.end();
    switch (side) {
    case Side::top:
        break;
    case Side::bottom:
        image = image.transformed(QTransform::fromScale(1, -1));
        break;
    case Side::left:
        image = image.transformed(QTransform().rotate(-90));
        break;
    case Side::right:
        image = image.transformed(QTransform().rotate(90));
        break;
    }
    return image;
}

/// The line around a rectangular body, over the background: nothing shines through the window.
QSGNode* edgeNode(QQuickWindow& window, const QRectF& bounds, const QColor& background, const QColor& edge) {
    auto* node = window.createRectangleNode();
    node->setRect(bounds);
    const auto alpha = edge.alphaF();
    node->setColor(QColor::fromRgbF(background.redF() * (1 - alpha) + edge.redF() * alpha,
                                    background.greenF() * (1 - alpha) + edge.greenF() * alpha,
                                    background.blueF() * (1 - alpha) + edge.blueF() * alpha));
    return node;
}

QSGNode* ninePatch(QQuickWindow& window, const QImage& image, const QRectF& bounds, double padding, double scale) {
    auto* node = window.createNinePatchNode();
    node->setTexture(window.createTextureFromImage(image, QQuickWindow::TextureHasAlphaChannel));
    node->setBounds(bounds);
    node->setDevicePixelRatio(scale);
    node->setPadding(padding, padding, padding, padding);
    node->update();
    return node;
}

} // namespace

PopoverFrame::PopoverFrame(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents);
}

void PopoverFrame::setColors(const QColor& newBackground, const QColor& newEdge) {
    background = newBackground;
    edge = newEdge;
    update();
}

void PopoverFrame::arrange(bool newIsTranslucent, const QSizeF& bodySize, Side side, std::optional<double> newPointer) {
    isTranslucent = newIsTranslucent;
    const double room = isTranslucent ? shadowExtent : edgeWidth;
    bodyRect = QRectF(QPointF(room, room), bodySize);
    setSize(bodySize + QSizeF(2 * room, 2 * room));
    facing = side;
    pointer.reset();
    if (isTranslucent && newPointer) {
        const bool isUpright = side == Side::left || side == Side::right;
        const double length = isUpright ? bodySize.height() : bodySize.width();
        const double closest = cornerRadius + arrowWidth / 2;
        pointer = std::clamp(*newPointer, closest, length - closest);
    }
    update();
}

void PopoverFrame::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        Q_EMIT escapePressed();
    } else {
        event->ignore();
    }
}

QSGNode* PopoverFrame::updatePaintNode(QSGNode* old, UpdatePaintNodeData* /*data*/) {
    // Rare: at an opening, and when the appearance changes.
    delete old;
    auto& shownIn = *window();
    const double scale = shownIn.effectiveDevicePixelRatio();
    auto* root = new QSGNode;
    if (!isTranslucent) {
        // The views cover all of it but the line.
        root->appendChildNode(edgeNode(shownIn, boundingRect(), background, edge));
        return root;
    }
    root->appendChildNode(
        ninePatch(shownIn, shadowImage(edge, scale), boundingRect(), (shadowExtent + cornerRadius) * scale, scale));
    if (pointer) {
        const QImage image = arrowImage(background, edge, facing, scale);
        auto* arrow = shownIn.createImageNode();
        arrow->setTexture(shownIn.createTextureFromImage(image, QQuickWindow::TextureHasAlphaChannel));
        arrow->setOwnsTexture(true);
        const QSizeF size = QSizeF(image.size()) / scale;
        QRectF place(QPointF(), size);
        switch (facing) {
        case Side::top:
            place.moveCenter({bodyRect.left() + *pointer, 0});
            place.moveBottom(bodyRect.top());
            break;
        case Side::bottom:
            place.moveCenter({bodyRect.left() + *pointer, 0});
            place.moveTop(bodyRect.bottom());
            break;
        case Side::left:
            place.moveCenter({0, bodyRect.top() + *pointer});
            place.moveRight(bodyRect.left());
            break;
        case Side::right:
            place.moveCenter({0, bodyRect.top() + *pointer});
            place.moveLeft(bodyRect.right());
            break;
        }
        arrow->setRect(place);
        arrow->setSourceRect(QRectF(QPointF(), image.size()));
        root->appendChildNode(arrow);
    }
    return root;
}

} // namespace nocta
