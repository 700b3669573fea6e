import QtQuick
import Nocta

Control {
    id: root

    required property string text
    property font font: Theme.caption

    implicitHeight: 24
    implicitWidth: label.implicitWidth + 24

    Accessible.focusable: true
    Accessible.name: text
    Accessible.role: Accessible.Button
    Accessible.onPressAction: clicked()

    Rectangle {
        anchors.fill: parent
        border.color: Theme.raisedBorder
        border.width: 1
        color: Theme.button
        radius: 6

        Rectangle {
            anchors.fill: parent
            color: root.down ? Theme.pressed : Theme.hover
            radius: parent.radius
            visible: root.down || root.hovered
        }
    }

    Text {
        id: label

        Accessible.ignored: true
        anchors.centerIn: parent
        color: Theme.primary
        font: root.font
        text: root.text
        textFormat: Text.PlainText
    }

    FocusRing {
        control: root
        radius: 9
    }
}
