import QtQuick
import Nocta

Item {
    id: root

    required property string score
    required property color color

    implicitHeight: 44
    implicitWidth: 44

    Accessible.name: "Eye health score " + score
    Accessible.role: Accessible.StaticText

    Rectangle {
        anchors.fill: parent
        color: Qt.alpha(root.color, 0.12)
        radius: height / 2
    }

    Column {
        anchors.centerIn: parent

        Text {
            Accessible.ignored: true
            anchors.horizontalCenter: parent.horizontalCenter
            color: root.color
            font: Theme.badgeFigure
            text: root.score
            textFormat: Text.PlainText
        }

        Text {
            Accessible.ignored: true
            anchors.horizontalCenter: parent.horizontalCenter
            color: Theme.secondary
            font: Theme.badgeLabel
            text: "score"
            textFormat: Text.PlainText
        }
    }
}
