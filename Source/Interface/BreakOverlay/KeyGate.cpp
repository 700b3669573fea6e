#include "Interface/BreakOverlay/KeyGate.h"

#include <algorithm>

#include <QEvent>
#include <QKeyEvent>

namespace nocta {

bool KeyGate::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::FocusIn: {
        const auto down = pressedKeys();
        keptOut.insert(down.begin(), down.end());
        letIn.clear();
        break;
    }
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        // Its type tells. NOLINTNEXTLINE(cppcoreguidelines-pro-type-static-cast-downcast)
        if (keepsOut(static_cast<const QKeyEvent&>(*event))) {
            return true;
        }
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

bool KeyGate::keepsOut(const QKeyEvent& event) {
    const auto key = event.nativeScanCode();
    if (event.type() == QEvent::KeyRelease) {
        // To X programs a key that repeats goes up and down all the time, and Qt does not notice it every time.
        if (event.isAutoRepeat() || std::ranges::count(pressedKeys(), key) > 0) {
            return true;
        }
        keptOut.erase(key);
        return letIn.erase(key) == 0 || isClosed;
    }
    if (event.isAutoRepeat() || letIn.contains(key)) {
        return true;
    }
    if (isClosed || keptOut.contains(key) || !sinceBegin.isValid() || sinceBegin.elapsed() < settlingMilliseconds) {
        keptOut.insert(key);
        return true;
    }
    letIn.insert(key);
    return false;
}

} // namespace nocta
