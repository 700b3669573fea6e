#pragma once

#include "Interface/Controls/Control.h"

namespace nocta {

/// A control for a number of a range: by dragging, by a click on the place, by the wheel, by arrow keys, Page Up and
/// Page Down, Home and End. It keeps no number of its own: it reports every step of its user, and shows what it is
/// told.
class RangeControl : public nocta::Control {
    Q_OBJECT
    QML_ELEMENT
    /// Named as screen readers look for them.
    Q_PROPERTY(qreal minimumValue MEMBER minimumValue NOTIFY rangeChanged FINAL)
    Q_PROPERTY(qreal maximumValue MEMBER maximumValue NOTIFY rangeChanged FINAL)
    /// May be beyond the range.
    Q_PROPERTY(qreal value READ value WRITE setValue NOTIFY valueChanged FINAL)
    /// Of an arrow key and of a wheel's notch; the page keys go ten times as far. They stop at whole steps from the
    /// minimum.
    Q_PROPERTY(qreal stepSize MEMBER stepSize NOTIFY rangeChanged FINAL)
    /// Of the knob's middle, from the end where the minimum is, in [0, 1].
    Q_PROPERTY(qreal position READ position NOTIFY positionChanged FINAL)
    /// How much of the item at each end the knob's middle cannot reach, in logical pixels.
    Q_PROPERTY(qreal inset MEMBER inset NOTIFY rangeChanged FINAL)
    /// Whether the minimum is at the right end.
    Q_PROPERTY(bool mirrored MEMBER mirrored NOTIFY rangeChanged FINAL)

  public:
    explicit RangeControl(QQuickItem* parent = nullptr);

    [[nodiscard]] qreal value() const { return shownValue; }
    void setValue(qreal value);
    [[nodiscard]] qreal position() const;

    /// As the arrow keys do, `steps` times.
    Q_INVOKABLE void step(int steps);

  Q_SIGNALS:
    void rangeChanged();
    void valueChanged();
    void positionChanged();
    /// The user wants this number, which is in the range and another than the one that is shown.
    void moved(qreal value);

  protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    [[nodiscard]] qreal valueAt(qreal x) const;
    [[nodiscard]] qreal knobX() const;
    void moveTo(qreal value);

    qreal minimumValue = 0;
    qreal maximumValue = 1;
    qreal shownValue = 0;
    qreal stepSize = 0.01;
    qreal inset = 0;
    bool mirrored = false;
    /// From the knob's middle to where the mouse holds it.
    qreal grip = 0;
    /// Turned and not yet enough for a step, in eighths of a degree.
    int wheelRemainder = 0;
};

} // namespace nocta
