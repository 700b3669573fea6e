import QtQuick
import Nocta

// One figure of the day, with its symbol.
Tile {
    id: root

    required property string symbol
    required property string value
    required property string label

    implicitHeight: text.implicitHeight + 20

    Accessible.name: label + ": " + value
    Accessible.role: Accessible.StaticText

    Item {
        id: frame

        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        height: 28
        width: 28

        Symbol {
            anchors.centerIn: parent
            color: root.tint
            name: root.symbol
            size: 20
        }
    }

    Column {
        id: text

        anchors.left: frame.right
        anchors.leftMargin: 10
        anchors.right: parent.right
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        spacing: 1

        Text {
            Accessible.ignored: true
            color: Theme.primary
            font: Theme.statFigure
            // Shrinks rather than lose a digit.
            fontSizeMode: Text.HorizontalFit
            height: implicitHeight
            horizontalAlignment: Text.AlignLeft
            minimumPixelSize: 6
            text: root.value
            textFormat: Text.PlainText
            verticalAlignment: Text.AlignVCenter
            width: parent.width
        }

        Text {
            Accessible.ignored: true
            color: Theme.secondary
            elide: Text.ElideRight
            font: Theme.statLabel
            horizontalAlignment: Text.AlignLeft
            text: root.label
            textFormat: Text.PlainText
            width: parent.width
        }
    }
}
