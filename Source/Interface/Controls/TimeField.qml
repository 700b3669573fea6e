pragma ComponentBehavior: Bound
import QtQuick
import Nocta

// A time of day, with a label before it: as the user's locale writes it, in parts that the keyboard and the wheel change, and
// two chevrons for the mouse. Shows what it is told; says what its user wants.
Item {
    id: root

    required property string label
    required property int hour
    required property int minute
    property font font: Theme.subheadline

    signal edited(int hour, int minute)

    implicitHeight: box.height
    implicitWidth: text.implicitWidth + 12 + box.width

    Accessible.name: label
    Accessible.role: Accessible.Grouping

    TimeFieldModel {
        id: shown

        hour: root.hour
        minute: root.minute

        onEdited: (hour, minute) => root.edited(hour, minute)
        onFilled: parts.walk(parts.current + 1)
    }

    Text {
        id: text

        Accessible.ignored: true
        anchors.left: parent.left
        anchors.right: parts.left
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.primary
        elide: Text.ElideRight
        font: root.font
        horizontalAlignment: Text.AlignLeft
        text: root.label
        textFormat: Text.PlainText
    }

    ArrowWalk {
        id: parts

        // In which order they stand.
        readonly property list<int> order: !shown.hasPeriod ? [TimeFieldModel.Hour, TimeFieldModel.Minute] : shown.periodIsFirst ? [TimeFieldModel.Period, TimeFieldModel.Hour, TimeFieldModel.Minute] : [TimeFieldModel.Hour, TimeFieldModel.Minute, TimeFieldModel.Period]
        // Which one the chevrons change.
        property int chosen: shown.periodIsFirst ? 1 : 0

        function walk(index: int) {
            if (index < count)
                (repeater.itemAt(index) as TimeFieldCell).take();
        }

        // A time runs from left to right in every script.
        LayoutMirroring.childrenInherit: true
        LayoutMirroring.enabled: false
        anchors.verticalCenter: parent.verticalCenter
        count: order.length
        current: chosen
        height: box.height
        width: box.width
        // Not an anchor: its own would not be mirrored.
        x: root.LayoutMirroring.enabled ? 0 : root.width - width

        onWalked: index => walk(index)

        Rectangle {
            id: box

            border.color: Theme.raisedBorder
            border.width: 1
            color: Theme.button
            height: 26
            radius: 6
            width: Math.ceil(row.width) + 8 + chevrons.width
        }

        Row {
            id: row

            height: box.height
            x: 4

            Repeater {
                id: repeater

                model: parts.order

                TimeFieldCell {
                    required property int index
                    required property int modelData

                    field: root.label
                    font: root.font
                    height: box.height
                    isFirst: index === 0
                    part: modelData
                    time: shown

                    onTaken: parts.chosen = index
                }
            }
        }

        Column {
            id: chevrons

            anchors.right: box.right
            anchors.rightMargin: 1
            anchors.verticalCenter: box.verticalCenter

            Repeater {
                model: ["chevron.up", "chevron.down"]

                Control {
                    id: chevron

                    required property int index
                    required property string modelData

                    activeFocusOnTab: false
                    height: 12
                    takesFocus: false
                    width: 20

                    onClicked: shown.step(parts.order[parts.chosen], index === 0 ? 1 : -1)

                    Accessible.ignored: true

                    Rectangle {
                        anchors.fill: parent
                        color: chevron.down ? Theme.pressed : Theme.hover
                        radius: 4
                        visible: chevron.down || chevron.hovered
                    }

                    Symbol {
                        anchors.centerIn: parent
                        color: Theme.secondary
                        name: chevron.modelData
                        size: 14
                    }
                }
            }
        }
    }
}
