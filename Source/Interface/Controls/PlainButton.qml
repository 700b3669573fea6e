import QtQuick
import Nocta

// A text that can be clicked: without chrome, and a ground only under the mouse.
Control {
    id: root

    required property string text
    property font font: Theme.caption
    property color color: Theme.secondary

    implicitHeight: label.implicitHeight
    implicitWidth: label.implicitWidth

    Accessible.focusable: true
    Accessible.name: text
    Accessible.role: Accessible.Button
    Accessible.onPressAction: clicked()

    Rectangle {
        anchors.fill: parent
        anchors.margins: -4
        anchors.leftMargin: -6
        anchors.rightMargin: -6
        color: root.down ? Theme.pressed : Theme.hover
        radius: 5
        visible: root.down || root.hovered
    }

    Text {
        id: label

        Accessible.ignored: true
        color: root.hovered || root.down ? Theme.primary : root.color
        font: root.font
        text: root.text
        textFormat: Text.PlainText
    }

    FocusRing {
        control: root
        gap: 3
        radius: 6
    }
}
