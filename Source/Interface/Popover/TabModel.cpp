#include "Interface/Popover/TabModel.h"

#include <utility>

namespace nocta {

void TabModel::setOnScreen(bool newOnScreen) {
    if (std::exchange(onScreen, newOnScreen) == newOnScreen) {
        return;
    }
    if (onScreen) {
        appear();
    } else {
        disappear();
    }
    Q_EMIT onScreenChanged();
}

} // namespace nocta
