#include "Interface/Controls/TimePart.h"

#include <QKeyEvent>
#include <QWheelEvent>

namespace nocta {

void TimePart::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Up:
        model->step(part, 1);
        break;
    case Qt::Key_Down:
        model->step(part, -1);
        break;
    default:
        if (!model->type(part, event->text())) {
            event->ignore();
            return;
        }
    }
    setVisualFocus(true);
}

void TimePart::wheelEvent(QWheelEvent* event) {
    wheelRemainder += event->angleDelta().y();
    const int steps = wheelRemainder / QWheelEvent::DefaultDeltasPerStep;
    wheelRemainder -= steps * QWheelEvent::DefaultDeltasPerStep;
    if (steps != 0) {
        model->step(part, steps);
    }
}

void TimePart::focusOutEvent(QFocusEvent* event) {
    Control::focusOutEvent(event);
    model->finishTyping();
}

} // namespace nocta
