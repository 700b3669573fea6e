import QtQuick
import Nocta

// On or off. With a label it is a row of which every part can be clicked. Shows what it is told; says what its user wants.
Control {
    id: root

    required property bool checked
    property string label
    property font font: Theme.body
    property color tint: Accent.color
    // For screen readers, where there is no label.
    property string name: label

    signal toggled(bool on)

    implicitHeight: Math.max(track.height, text.implicitHeight)
    implicitWidth: label === "" ? track.width : text.implicitWidth + 12 + track.width

    onClicked: toggled(!checked)

    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.focusable: true
    Accessible.name: name
    Accessible.role: Accessible.CheckBox
    Accessible.onPressAction: toggled(!checked)
    Accessible.onToggleAction: toggled(!checked)

    Text {
        id: text

        Accessible.ignored: true
        anchors.left: parent.left
        anchors.right: track.left
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.primary
        elide: Text.ElideRight
        font: root.font
        horizontalAlignment: Text.AlignLeft
        text: root.label
        textFormat: Text.PlainText
    }

    Rectangle {
        id: track

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        color: root.checked ? root.tint : root.hovered ? Theme.switchedOffHover : Theme.switchedOff
        height: 22
        radius: height / 2
        width: 38

        Behavior on color {
            enabled: Theme.animates

            ColorAnimation {
                duration: 120
            }
        }

        FocusRing {
            control: root
            radius: height / 2
        }

        Rectangle {
            id: knob

            readonly property bool atRight: root.checked !== root.LayoutMirroring.enabled

            anchors.verticalCenter: parent.verticalCenter
            border.color: Theme.knobEdge
            border.width: 1
            color: root.down ? Theme.knobDown : Theme.knob
            height: 18
            radius: height / 2
            width: 18
            x: atRight ? track.width - width - 2 : 2

            Behavior on x {
                enabled: Theme.animates

                NumberAnimation {
                    duration: 160
                    easing.type: Easing.OutCubic
                }
            }
        }
    }
}
