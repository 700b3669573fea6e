#include "Interface/Popover/ScoreRing.h"

#include <algorithm>
#include <cmath>

#include <QPainter>

namespace nocta {

namespace {

constexpr float trackOpacity = 0.15F;
constexpr double top = 90;      ///< degrees, counter-clockwise from the right
constexpr double round = 360;   ///< degrees
constexpr double arcUnits = 16; ///< of a degree, in which Qt counts

} // namespace

ScoreRing::ScoreRing(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    connect(this, &ScoreRing::changed, this, [this] { update(); });
}

void ScoreRing::paint(QPainter* painter) {
    const double diameter = std::min(width(), height()) - lineWidth;
    const QRectF circle((width() - diameter) / 2, (height() - diameter) / 2, diameter, diameter);
    QColor track = color;
    track.setAlphaF(track.alphaF() * trackOpacity);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(QPen(track, lineWidth));
    painter->drawEllipse(circle);

    // Of nothing not even the round cap is drawn.
    const auto share = std::clamp(fraction, 0.0, 1.0);
    if (share > 0) {
        painter->setPen(QPen(color, lineWidth, Qt::SolidLine, Qt::RoundCap));
        painter->drawArc(circle, static_cast<int>(top * arcUnits),
                         static_cast<int>(-std::lround(share * round * arcUnits)));
    }
}

} // namespace nocta
