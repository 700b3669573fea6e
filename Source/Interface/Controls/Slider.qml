import QtQuick
import Nocta

// A number of a range. The track is filled in `tint` up to the knob, or all of it with `trackGradient`.
RangeControl {
    id: root

    required property string name
    property color tint: Accent.color
    property Gradient trackGradient: null

    implicitHeight: 28
    inset: knob.width / 2
    mirrored: LayoutMirroring.enabled

    Accessible.focusable: true
    Accessible.name: name
    Accessible.role: Accessible.Slider
    Accessible.onDecreaseAction: step(-1)
    Accessible.onIncreaseAction: step(1)

    Rectangle {
        id: track

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        border.color: Theme.knobEdge
        border.width: root.trackGradient ? 1 : 0
        color: Theme.trough
        gradient: root.trackGradient
        height: root.trackGradient ? 6 : 4
        radius: height / 2

        Rectangle {
            anchors.left: parent.left
            color: root.tint
            height: parent.height
            radius: parent.radius
            visible: !root.trackGradient
            width: knob.width / 2 + root.position * (parent.width - knob.width)
        }
    }

    Rectangle {
        id: knob

        readonly property real share: root.mirrored ? 1 - root.position : root.position

        anchors.verticalCenter: parent.verticalCenter
        border.color: Theme.knobEdge
        border.width: 1
        color: root.down ? Theme.knobDown : Theme.knob
        height: 20
        radius: height / 2
        width: 20
        x: share * (root.width - width)

        FocusRing {
            control: root
            radius: height / 2
        }
    }
}
