#include "Interface/Controls/ArrowWalk.h"

#include <QKeyEvent>

namespace nocta {

void ArrowWalk::keyPressEvent(QKeyEvent* event) {
    const int rightward = mirrored ? -1 : 1;
    const int downward = columns > 0 ? columns : 1;
    const auto next = [&]() -> int {
        switch (event->key()) {
        case Qt::Key_Right:
            return current + rightward;
        case Qt::Key_Left:
            return current - rightward;
        case Qt::Key_Down:
            return current + downward;
        case Qt::Key_Up:
            return current - downward;
        case Qt::Key_Home:
            return 0;
        case Qt::Key_End:
            return count - 1;
        default:
            event->ignore();
            return current;
        }
    };
    const int index = next();
    if (index != current && index >= 0 && index < count) {
        Q_EMIT walked(index);
    }
}

} // namespace nocta
