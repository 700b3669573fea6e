pragma ComponentBehavior: Bound
import QtQuick
import Nocta

// One of a few, side by side. Shows what it is told; says what its user wants.
ArrowWalk {
    id: root

    required property string name
    required property list<string> segments
    // Below 0 where none of them is it.
    required property int currentIndex
    property font font: Theme.subheadline

    signal picked(int index)

    count: segments.length
    current: currentIndex
    implicitHeight: 26
    implicitWidth: 300
    mirrored: LayoutMirroring.enabled

    onWalked: index => {
        picked(index);
        row.itemAt(index).forceActiveFocus(Qt.TabFocusReason);
    }

    Accessible.name: name
    Accessible.role: Accessible.Grouping

    Rectangle {
        anchors.fill: parent
        color: Theme.trough
        radius: 7
    }

    Rectangle {
        // Not by the walk's properties, which set out together: one that is asked for would answer by changing.
        readonly property int place: root.LayoutMirroring.enabled ? root.segments.length - 1 - root.currentIndex : root.currentIndex

        border.color: Theme.raisedBorder
        border.width: 1
        color: Theme.raised
        height: parent.height - 4
        radius: 5
        visible: root.currentIndex >= 0
        width: parent.width / root.count - 4
        x: place * parent.width / root.count + 2
        y: 2

        Behavior on x {
            enabled: Theme.animates

            NumberAnimation {
                duration: 160
                easing.type: Easing.OutCubic
            }
        }
    }

    Row {
        anchors.fill: parent

        Repeater {
            id: row

            model: root.segments

            Control {
                id: segment

                required property int index
                required property string modelData
                readonly property bool isCurrent: index === root.currentIndex

                // Qt lets nothing that has the keyboard out of the order.
                activeFocusOnTab: index === Math.max(root.currentIndex, 0) || activeFocus
                height: root.height
                width: root.width / root.count

                onClicked: {
                    if (!isCurrent)
                        root.picked(index);
                }

                Accessible.checkable: true
                Accessible.checked: isCurrent
                Accessible.focusable: true
                Accessible.name: modelData
                Accessible.role: Accessible.RadioButton
                Accessible.onPressAction: clicked()

                Rectangle {
                    anchors.fill: parent
                    anchors.margins: 2
                    color: segment.down ? Theme.pressed : Theme.hover
                    radius: 5
                    visible: !segment.isCurrent && (segment.down || segment.hovered)
                }

                Text {
                    Accessible.ignored: true
                    anchors.centerIn: parent
                    color: segment.isCurrent ? Theme.primary : Theme.secondary
                    font: root.font
                    text: segment.modelData
                    textFormat: Text.PlainText
                }

                FocusRing {
                    control: segment
                    gap: 0
                    radius: 8
                }
            }
        }
    }
}
