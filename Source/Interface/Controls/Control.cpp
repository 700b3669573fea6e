#include "Interface/Controls/Control.h"

#include <utility>

#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>

namespace nocta {

namespace {

bool isClickingKey(int key) {
    return key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter;
}

} // namespace

Control::Control(QQuickItem* parent) : QQuickItem(parent) {
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setActiveFocusOnTab(true);
}

void Control::hoverEnterEvent(QHoverEvent* /*event*/) {
    setHovered(true);
}

void Control::hoverLeaveEvent(QHoverEvent* /*event*/) {
    setHovered(false);
}

void Control::mousePressEvent(QMouseEvent* event) {
    // Other controls may lie within this one's ancestors: nobody else gets what follows.
    setKeepMouseGrab(true);
    if (takesFocus) {
        forceActiveFocus(Qt::MouseFocusReason);
    }
    setHeldByMouse(true);
    event->accept();
}

void Control::mouseMoveEvent(QMouseEvent* event) {
    setHeldByMouse(contains(event->position()));
}

void Control::mouseReleaseEvent(QMouseEvent* event) {
    setKeepMouseGrab(false);
    setHeldByMouse(false);
    if (contains(event->position())) {
        Q_EMIT clicked();
    }
}

void Control::mouseUngrabEvent() {
    setHeldByMouse(false);
}

void Control::mouseDoubleClickEvent(QMouseEvent* event) {
    // The second click of two is a click like the first; its press came before this.
    event->accept();
}

void Control::keyPressEvent(QKeyEvent* event) {
    if (!isClickingKey(event->key())) {
        event->ignore();
        return;
    }
    setVisualFocus(true);
    if (heldKey == 0 && !event->isAutoRepeat()) {
        setHeldKey(event->key());
    }
}

void Control::keyReleaseEvent(QKeyEvent* event) {
    if (event->isAutoRepeat() || event->key() != heldKey) {
        event->ignore();
        return;
    }
    setHeldKey(0);
    Q_EMIT clicked();
}

void Control::focusInEvent(QFocusEvent* event) {
    QQuickItem::focusInEvent(event);
    switch (event->reason()) {
    case Qt::TabFocusReason:
    case Qt::BacktabFocusReason:
    case Qt::ShortcutFocusReason:
        setVisualFocus(true);
        break;
    case Qt::ActiveWindowFocusReason:
    case Qt::PopupFocusReason:
        break; // it had the keyboard before: as it was
    default:
        setVisualFocus(false);
    }
}

void Control::focusOutEvent(QFocusEvent* event) {
    QQuickItem::focusOutEvent(event);
    setHeldKey(0);
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason) {
        setVisualFocus(false);
    }
}

void Control::itemChange(ItemChange change, const ItemChangeData& data) {
    // A control that is not there any more can neither be held nor be under the mouse.
    const bool isAboutBeingThere = change == ItemVisibleHasChanged || change == ItemEnabledHasChanged;
    // What `change` is says which member it is. NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access)
    if (isAboutBeingThere && !data.boolValue) {
        setHeldByMouse(false);
        setHeldKey(0);
        setHovered(false);
    }
    QQuickItem::itemChange(change, data);
}

void Control::setHovered(bool isHovered) {
    if (std::exchange(hovered, isHovered) != isHovered) {
        Q_EMIT hoveredChanged();
    }
}

void Control::setHeldByMouse(bool held) {
    const bool wasDown = isDown();
    heldByMouse = held;
    if (isDown() != wasDown) {
        Q_EMIT downChanged();
    }
}

void Control::setHeldKey(int key) {
    const bool wasDown = isDown();
    heldKey = key;
    if (isDown() != wasDown) {
        Q_EMIT downChanged();
    }
}

void Control::setVisualFocus(bool visible) {
    if (std::exchange(visualFocus, visible) != visible) {
        Q_EMIT visualFocusChanged();
    }
}

} // namespace nocta
