#include "Interface/Controls/RangeControl.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

namespace nocta {

namespace {

constexpr int pageSteps = 10;
/// How far from the knob's middle the mouse takes hold of the knob instead of sending it there. Logical pixels.
constexpr qreal knobReach = 12;

} // namespace

RangeControl::RangeControl(QQuickItem* parent) : Control(parent) {
    connect(this, &RangeControl::rangeChanged, this, &RangeControl::positionChanged);
    connect(this, &RangeControl::valueChanged, this, &RangeControl::positionChanged);
}

void RangeControl::setValue(qreal value) {
    if (std::exchange(shownValue, value) != value) {
        Q_EMIT valueChanged();
    }
}

qreal RangeControl::position() const {
    const qreal range = maximumValue - minimumValue;
    // Not a number, where the range is empty, counts as its beginning too.
    const qreal share = (shownValue - minimumValue) / range;
    return range > 0 && share > 0 ? std::min(share, 1.0) : 0;
}

void RangeControl::step(int steps) {
    const qreal count = (shownValue - minimumValue) / stepSize;
    // From between two steps the nearer end of the two, with an allowance for numbers that are a step but for rounding.
    constexpr qreal rounding = 1e-6;
    const qreal start = steps > 0 ? std::floor(count + rounding) : std::ceil(count - rounding);
    moveTo(minimumValue + (start + steps) * stepSize);
}

void RangeControl::mousePressEvent(QMouseEvent* event) {
    Control::mousePressEvent(event);
    const qreal distance = event->position().x() - knobX();
    if (std::abs(distance) <= knobReach) {
        grip = distance;
    } else {
        grip = 0;
        moveTo(valueAt(event->position().x()));
    }
}

void RangeControl::mouseMoveEvent(QMouseEvent* event) {
    // Held also beyond its bounds.
    moveTo(valueAt(event->position().x() - grip));
}

void RangeControl::mouseReleaseEvent(QMouseEvent* /*event*/) {
    setKeepMouseGrab(false);
    setHeldByMouse(false);
}

void RangeControl::wheelEvent(QWheelEvent* event) {
    // Away from the user is more; so is to the right, towards the maximum, where wheels tilt or fingers swipe.
    const QPoint angle = event->angleDelta();
    wheelRemainder += angle.y() != 0 ? angle.y() : (mirrored ? angle.x() : -angle.x());
    const int steps = wheelRemainder / QWheelEvent::DefaultDeltasPerStep;
    wheelRemainder -= steps * QWheelEvent::DefaultDeltasPerStep;
    if (steps != 0) {
        step(steps);
    }
}

void RangeControl::keyPressEvent(QKeyEvent* event) {
    const int rightward = mirrored ? -1 : 1;
    switch (event->key()) {
    case Qt::Key_Right:
        step(rightward);
        break;
    case Qt::Key_Left:
        step(-rightward);
        break;
    case Qt::Key_Up:
        step(1);
        break;
    case Qt::Key_Down:
        step(-1);
        break;
    case Qt::Key_PageUp:
        step(pageSteps);
        break;
    case Qt::Key_PageDown:
        step(-pageSteps);
        break;
    case Qt::Key_Home:
        moveTo(minimumValue);
        break;
    case Qt::Key_End:
        moveTo(maximumValue);
        break;
    default:
        event->ignore();
        return;
    }
    setVisualFocus(true);
}

qreal RangeControl::valueAt(qreal x) const {
    const qreal length = width() - 2 * inset;
    const qreal share = length > 0 ? std::clamp((x - inset) / length, 0.0, 1.0) : 0;
    // Exactly the ends at the ends.
    return std::lerp(minimumValue, maximumValue, mirrored ? 1 - share : share);
}

qreal RangeControl::knobX() const {
    const qreal share = mirrored ? 1 - position() : position();
    return inset + share * (width() - 2 * inset);
}

void RangeControl::moveTo(qreal value) {
    const qreal wanted = std::clamp(value, minimumValue, maximumValue);
    if (wanted != shownValue) {
        Q_EMIT moved(wanted);
    }
}

} // namespace nocta
