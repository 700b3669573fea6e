pragma ComponentBehavior: Bound
import QtQuick
import Nocta

// The day as a strip of equal segments. Its round ends are those of the first and the last one: nothing clips round corners
// without a graphics processor.
Item {
    id: root

    required property ScheduleModel model
    readonly property int count: model.segmentLabels.length

    implicitHeight: 28

    Row {
        anchors.fill: parent

        Repeater {
            model: root.model.segmentLabels

            Item {
                id: segment

                required property int index
                required property string modelData
                readonly property color color: root.model.segmentColors[index]
                readonly property bool isFirst: index === 0
                readonly property bool isLast: index === root.count - 1

                height: root.height
                width: root.width / root.count

                Rectangle {
                    anchors.fill: parent
                    color: segment.color
                    radius: segment.isFirst || segment.isLast ? 6 : 0
                }

                Rectangle {
                    anchors.bottom: parent.bottom
                    anchors.left: segment.isLast ? parent.left : undefined
                    anchors.right: segment.isFirst ? parent.right : undefined
                    anchors.top: parent.top
                    color: segment.color
                    visible: segment.isFirst || segment.isLast
                    width: parent.width / 2
                }

                Text {
                    Accessible.name: text
                    Accessible.role: Accessible.StaticText
                    anchors.centerIn: parent
                    color: "white"
                    elide: Text.ElideRight
                    font: Theme.segmentLabel
                    horizontalAlignment: Text.AlignHCenter
                    maximumLineCount: 1
                    text: segment.modelData
                    textFormat: Text.PlainText
                    width: parent.width
                }
            }
        }
    }
}
