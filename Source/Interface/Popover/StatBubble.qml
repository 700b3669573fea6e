import QtQuick
import Nocta

// One tally, large.
Tile {
    id: root

    required property string value
    required property string label

    implicitHeight: column.implicitHeight + 20

    Accessible.name: label + ": " + value
    Accessible.role: Accessible.StaticText

    Column {
        id: column

        anchors.left: parent.left
        anchors.leftMargin: 8
        anchors.right: parent.right
        anchors.rightMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        Text {
            Accessible.ignored: true
            color: Theme.primary
            font: Theme.tallyFigure
            // Shrinks rather than lose a digit.
            fontSizeMode: Text.HorizontalFit
            height: implicitHeight
            horizontalAlignment: Text.AlignHCenter
            minimumPixelSize: 8
            text: root.value
            textFormat: Text.PlainText
            verticalAlignment: Text.AlignVCenter
            width: parent.width
        }

        Text {
            Accessible.ignored: true
            color: Theme.primary
            elide: Text.ElideRight
            font: Theme.caption
            horizontalAlignment: Text.AlignHCenter
            text: root.label
            textFormat: Text.PlainText
            width: parent.width
        }
    }
}
