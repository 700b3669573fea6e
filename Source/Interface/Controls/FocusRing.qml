import QtQuick
import Nocta

// Around a control, while the keyboard is at work on it.
Rectangle {
    id: root

    required property Control control
    // From the control's bounds outwards.
    property real gap: 2

    anchors.fill: parent
    anchors.margins: -gap - border.width
    border.color: Theme.focusRing
    border.width: 2
    color: "transparent"
    visible: control.visualFocus
}
