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

    implicitHeight: field.height
    implicitWidth: text.implicitWidth + 12 + field.width

    Accessible.name: label
    Accessible.role: Accessible.Grouping

    TimeFieldModel {
        id: time

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
        readonly property list<int> order: !time.hasPeriod ? [TimeFieldModel.Hour, TimeFieldModel.Minute] : time.periodIsFirst ? [TimeFieldModel.Period, TimeFieldModel.Hour, TimeFieldModel.Minute] : [TimeFieldModel.Hour, TimeFieldModel.Minute, TimeFieldModel.Period]
        // Which one the chevrons change.
        property int chosen: time.periodIsFirst ? 1 : 0

        function walk(index: int) {
            if (index < count)
                (repeater.itemAt(index) as TimeFieldCell).take();
        }

        // A time runs from left to right in every script.
        LayoutMirroring.childrenInherit: true
        LayoutMirroring.enabled: false
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        count: order.length
        current: chosen
        height: field.height
        width: field.width

        onWalked: index => walk(index)

        Rectangle {
            id: field

            border.color: Theme.raisedBorder
            border.width: 1
            color: Theme.raised
            height: 26
            radius: 6
            width: row.width + 8 + chevrons.width
        }

        Row {
            id: row

            height: field.height
            x: 4

            Repeater {
                id: repeater

                model: parts.order

                TimeFieldCell {
                    required property int index
                    required property int modelData

                    field: root.label
                    font: root.font
                    height: field.height
                    isFirst: index === 0
                    part: modelData
                    time: time

                    onTaken: parts.chosen = index
                }
            }
        }

        Column {
            id: chevrons

            anchors.right: field.right
            anchors.rightMargin: 1
            anchors.verticalCenter: field.verticalCenter

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

                    onClicked: time.step(parts.order[parts.chosen], index === 0 ? 1 : -1)

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
                        size: 11
                    }
                }
            }
        }
    }
}
