import QtQuick
import Nocta

// How much of something is done, as a part of 1.
Item {
    id: root

    required property real value
    required property string name
    property color tint: Accent.color
    readonly property real share: Math.min(Math.max(value, 0), 1)

    implicitHeight: 6

    // Qt tells no numbers of items in this role.
    Accessible.description: Math.round(100 * share) + "%"
    Accessible.name: name
    Accessible.role: Accessible.ProgressBar

    Rectangle {
        anchors.fill: parent
        color: Theme.trough
        radius: height / 2
    }

    Rectangle {
        anchors.left: parent.left
        color: root.tint
        height: parent.height
        radius: height / 2
        // Shorter than its ends are round it would have another shape.
        width: Math.max(root.share * parent.width, root.share > 0 ? height : 0)
    }
}
