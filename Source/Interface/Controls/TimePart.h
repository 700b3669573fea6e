#pragma once

#include "Interface/Controls/Control.h"
#include "Interface/Controls/TimeFieldModel.h"

namespace nocta {

/// One part of a time, with the keys and the wheel that change it.
class TimePart : public nocta::Control {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(nocta::TimeFieldModel* model MEMBER model NOTIFY changed FINAL)
    Q_PROPERTY(nocta::TimeFieldModel::Part part MEMBER part NOTIFY changed FINAL)

  public:
    explicit TimePart(QQuickItem* parent = nullptr) : nocta::Control(parent) {}

  Q_SIGNALS:
    void changed();

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    TimeFieldModel* model = nullptr;
    TimeFieldModel::Part part = TimeFieldModel::Hour;
    /// Turned and not yet enough for a step, in eighths of a degree.
    int wheelRemainder = 0;
};

} // namespace nocta
