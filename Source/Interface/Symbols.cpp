#include "Interface/Symbols.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>

namespace nocta {

namespace {

constexpr double gridSize = 24;
constexpr double strokeWidth = 1.75;
constexpr double fineStrokeWidth = 0.8;
constexpr QPointF center{12, 12};

/// One symbol's lines and areas, in grid units. They do not overlap: a translucent colour would be laid twice.
struct Drawing {
    QPainterPath strokes;
    QPainterPath areas;
    double width = strokeWidth;
};

void line(QPainterPath& path, QPointF from, QPointF to) {
    path.moveTo(from);
    path.lineTo(to);
}

void polyline(QPainterPath& path, std::initializer_list<QPointF> points) {
    path.moveTo(*points.begin());
    std::for_each(points.begin() + 1, points.end(), [&path](QPointF point) { path.lineTo(point); });
}

void circle(QPainterPath& path, QPointF middle, double radius) {
    path.addEllipse(middle, radius, radius);
}

/// The point at `degrees` clockwise from the top, as on a clock's face.
QPointF onCircle(QPointF middle, double radius, double degrees) {
    const double angle = degrees * std::numbers::pi / 180;
    return {middle.x() + radius * std::sin(angle), middle.y() - radius * std::cos(angle)};
}

void rays(QPainterPath& path, QPointF middle, double from, double to, std::initializer_list<double> degrees) {
    for (const double angle : degrees) {
        line(path, onCircle(middle, from, angle), onCircle(middle, to, angle));
    }
}

QPainterPath outlineOf(const QPainterPath& strokes, double width) {
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(Qt::RoundCap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(strokes);
}

QPainterPath almond(double halfWidth, double halfHeight) {
    const double x = halfWidth;
    const double y = halfHeight;
    QPainterPath path({12 - x, 12});
    path.cubicTo({12 - 0.74 * x, 12 - 0.66 * y}, {12 - 0.4 * x, 12 - y}, {12, 12 - y});
    path.cubicTo({12 + 0.4 * x, 12 - y}, {12 + 0.74 * x, 12 - 0.66 * y}, {12 + x, 12});
    path.cubicTo({12 + 0.74 * x, 12 + 0.66 * y}, {12 + 0.4 * x, 12 + y}, {12, 12 + y});
    path.cubicTo({12 - 0.4 * x, 12 + y}, {12 - 0.74 * x, 12 + 0.66 * y}, {12 - x, 12});
    path.closeSubpath();
    return path;
}

QPainterPath clockHands() {
    QPainterPath hands;
    polyline(hands, {{12, 6.9}, {12, 12.2}, {15.4, 14.3}});
    return hands;
}

Drawing sliders() {
    Drawing drawing;
    constexpr double radius = 2.15;
    constexpr std::array knobs{QPointF(15.6, 5.8), QPointF(8.4, 12), QPointF(14, 18.2)};
    for (const QPointF& knob : knobs) {
        circle(drawing.strokes, knob, radius);
        line(drawing.strokes, {3.2, knob.y()}, {knob.x() - radius, knob.y()});
        line(drawing.strokes, {knob.x() + radius, knob.y()}, {20.8, knob.y()});
    }
    return drawing;
}

Drawing clock() {
    Drawing drawing;
    circle(drawing.strokes, center, 9);
    drawing.strokes.addPath(clockHands());
    return drawing;
}

Drawing filledClock() {
    Drawing drawing;
    circle(drawing.areas, center, 9.9);
    drawing.areas = drawing.areas.subtracted(outlineOf(clockHands(), strokeWidth));
    return drawing;
}

Drawing eye() {
    Drawing drawing;
    drawing.strokes = almond(9.9, 6.7);
    circle(drawing.strokes, center, 3);
    return drawing;
}

Drawing filledEye() {
    Drawing drawing;
    drawing.areas = almond(11, 7.7);
    circle(drawing.areas, center, 4.6);
    circle(drawing.areas, center, 2.7);
    return drawing;
}

/// The eye of the break overlay: a heavy upper lid, an iris and a pupil that catches the light.
Drawing restingEye() {
    Drawing drawing;
    drawing.width = fineStrokeWidth;
    drawing.strokes = almond(10.4, 6.5);
    circle(drawing.strokes, center, 4);
    circle(drawing.areas, center, 2.2);
    circle(drawing.areas, {12.9, 11.1}, 0.8);
    return drawing;
}

Drawing barChart() {
    Drawing drawing;
    drawing.strokes.addRoundedRect(QRectF(3.2, 12.6, 4, 7.6), 1.2, 1.2);
    drawing.strokes.addRoundedRect(QRectF(10, 7.9, 4, 12.3), 1.2, 1.2);
    drawing.strokes.addRoundedRect(QRectF(16.8, 3.8, 4, 16.4), 1.2, 1.2);
    return drawing;
}

Drawing sun() {
    Drawing drawing;
    circle(drawing.strokes, center, 4.1);
    rays(drawing.strokes, center, 7.4, 9.9, {0, 45, 90, 135, 180, 225, 270, 315});
    return drawing;
}

Drawing sunset() {
    Drawing drawing;
    constexpr QPointF sun{12, 17.2};
    auto& path = drawing.strokes;
    line(path, {2.4, 17.2}, {21.6, 17.2});
    line(path, {7, 20.9}, {17, 20.9});
    path.arcMoveTo(QRectF(sun.x() - 4.4, sun.y() - 4.4, 8.8, 8.8), 0);
    path.arcTo(QRectF(sun.x() - 4.4, sun.y() - 4.4, 8.8, 8.8), 0, 180);
    rays(path, sun, 7.4, 9.4, {-68, -36, 36, 68});
    line(path, {12, 2.9}, {12, 8.6});
    polyline(path, {{9.5, 6.2}, {12, 8.7}, {14.5, 6.2}});
    return drawing;
}

Drawing moon() {
    Drawing drawing;
    QPainterPath disc;
    circle(disc, {11.4, 12.6}, 8.9);
    QPainterPath shadow;
    circle(shadow, {16.6, 7.4}, 7.3);
    drawing.strokes = disc.subtracted(shadow);
    return drawing;
}

Drawing sleep() {
    Drawing drawing;
    const auto letter = [&drawing](QPointF corner, double width, double height) {
        polyline(drawing.strokes, {corner,
                                   {corner.x() + width, corner.y()},
                                   {corner.x(), corner.y() + height},
                                   {corner.x() + width, corner.y() + height}});
    };
    letter({2.8, 13.2}, 6.6, 7.4);
    letter({12, 8.2}, 4.6, 5.4);
    letter({18.6, 3.2}, 2.9, 3.6);
    return drawing;
}

Drawing film() {
    Drawing drawing;
    auto& path = drawing.strokes;
    path.addRoundedRect(QRectF(2.9, 4.4, 18.2, 15.2), 2.8, 2.8);
    for (const double x : {7.3, 16.7}) {
        line(path, {x, 4.4}, {x, 19.6});
    }
    line(path, {7.3, 12}, {16.7, 12});
    for (const double y : {9.4, 14.6}) {
        line(path, {2.9, y}, {7.3, y});
        line(path, {16.7, y}, {21.1, y});
    }
    return drawing;
}

Drawing headWithBrain() {
    Drawing drawing;
    auto& path = drawing.strokes;
    path.moveTo(7, 21.1);
    path.lineTo(7, 18.2);
    path.cubicTo({4.4, 16.6}, {2.9, 13.8}, {2.9, 10.9});
    path.cubicTo({2.9, 6.3}, {6.6, 2.9}, {11.1, 2.9});
    path.cubicTo({15.7, 2.9}, {19, 6.2}, {19.2, 10.5});
    path.lineTo(21, 13.4);
    path.cubicTo({21.4, 14}, {21.1, 14.7}, {20.4, 14.8});
    path.lineTo(19.2, 15);
    path.lineTo(19.2, 16.7);
    path.cubicTo({19.2, 18.1}, {18.3, 19}, {16.9, 19});
    path.lineTo(15.2, 19);
    path.lineTo(15.2, 21.1);
    // The brain: a cloud of lobes on its stem.
    path.moveTo(9.2, 13.5);
    path.cubicTo({6.2, 13.7}, {5.4, 9.9}, {7.7, 9.1});
    path.cubicTo({7.6, 6.6}, {10.6, 5.7}, {11.8, 7.2});
    path.cubicTo({13.6, 5.9}, {16, 7.4}, {15.4, 9.4});
    path.cubicTo({16.9, 10.7}, {15.9, 13.2}, {13.6, 12.9});
    path.cubicTo({12.9, 13.7}, {11.6, 13.9}, {11.6, 15.6});
    path.moveTo(11.7, 7.4);
    path.lineTo(11.7, 10.4);
    return drawing;
}

Drawing stopwatch() {
    Drawing drawing;
    constexpr QPointF dial{12, 13.4};
    circle(drawing.strokes, dial, 7.9);
    line(drawing.strokes, dial, {12, 9});
    line(drawing.strokes, {9.6, 2.4}, {14.4, 2.4});
    line(drawing.strokes, {12, 2.4}, {12, 5.5});
    line(drawing.strokes, {18.4, 6.1}, {19.6, 7.3});
    return drawing;
}

Drawing forward() {
    Drawing drawing;
    for (const double x : {2.4, 11.6}) {
        auto& path = drawing.areas;
        path.moveTo(x, 7.2);
        path.cubicTo({x, 5.9}, {x + 1.4, 5.2}, {x + 2.4, 5.9});
        path.lineTo(x + 9, 10.9);
        path.cubicTo({x + 9.8, 11.4}, {x + 9.8, 12.6}, {x + 9, 13.1});
        path.lineTo(x + 2.4, 18.1);
        path.cubicTo({x + 1.4, 18.8}, {x, 18.1}, {x, 16.8});
        path.closeSubpath();
    }
    return drawing;
}

/// A tube with a round top that opens into a bulb.
QPainterPath tube(double top, double halfWidth, QPointF bulb, double radius) {
    const double opening = std::acos(halfWidth / radius) * 180 / std::numbers::pi;
    const QRectF end(12 - halfWidth, top, 2 * halfWidth, 2 * halfWidth);
    QPainterPath path;
    path.arcMoveTo(end, 0);
    path.arcTo(end, 0, 180);
    path.arcTo(QRectF(bulb.x() - radius, bulb.y() - radius, 2 * radius, 2 * radius), 180 - opening, 180 + 2 * opening);
    path.closeSubpath();
    return path;
}

Drawing thermometer() {
    constexpr QPointF bulb{12, 16.9};
    return {.strokes = tube(2.5, 2.7, bulb, 4.5), .areas = tube(8.4, 0.9, bulb, 2.1)};
}

Drawing chevron(double direction) {
    Drawing drawing;
    drawing.width = 2.6;
    polyline(drawing.strokes, {{6, 12 + 3 * direction}, {12, 12 - 3 * direction}, {18, 12 + 3 * direction}});
    return drawing;
}

struct Symbol {
    std::string_view name;
    Drawing (*draw)();
};

constexpr std::array<Symbol, 18> symbols{{
    {"slider.horizontal.3", sliders},
    {"clock", clock},
    {"eye", eye},
    {"chart.bar", barChart},
    {"sun.max", sun},
    {"brain.head.profile", headWithBrain},
    {"sunset", sunset},
    {"moon", moon},
    {"zzz", sleep},
    {"film", film},
    {"timer", stopwatch},
    {"clock.fill", filledClock},
    {"eye.fill", filledEye},
    {"forward.fill", forward},
    {"thermometer.medium", thermometer},
    {"eye.rest", restingEye},
    {"chevron.up", [] { return chevron(1); }},
    {"chevron.down", [] { return chevron(-1); }},
}};

const Symbol* find(std::string_view name) {
    const auto* found = std::ranges::find(symbols, name, &Symbol::name);
    return found == symbols.end() ? nullptr : found;
}

} // namespace

bool hasSymbol(std::string_view name) {
    return find(name) != nullptr;
}

void paintSymbol(QPainter& painter, std::string_view name, const QRectF& bounds, const QColor& color) {
    const Symbol* symbol = find(name);
    if (symbol == nullptr || bounds.isEmpty()) {
        return;
    }
    const Drawing drawing = symbol->draw();
    const double scale = std::min(bounds.width(), bounds.height()) / gridSize;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(bounds.center());
    painter.scale(scale, scale);
    painter.translate(-center);
    painter.strokePath(drawing.strokes, QPen(color, drawing.width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.fillPath(drawing.areas, color);
    painter.restore();
}

QImage renderSymbol(std::string_view name, const QColor& color, int pixels) {
    QImage image(std::max(pixels, 1), std::max(pixels, 1), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paintSymbol(painter, name, image.rect(), color);
    return image;
}

} // namespace nocta
