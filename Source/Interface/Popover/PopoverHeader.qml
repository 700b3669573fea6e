import QtQuick
import Nocta

Item {
    id: root

    required property PopoverModel model

    implicitHeight: badge.height + 24

    Switch {
        id: filter

        anchors.left: parent.left
        anchors.leftMargin: 16
        anchors.verticalCenter: parent.verticalCenter
        checked: root.model.filterEnabled
        name: "Filter"

        onToggled: on => root.model.filterEnabled = on
    }

    Column {
        anchors.left: filter.right
        anchors.leftMargin: 12
        anchors.right: badge.left
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        spacing: 1

        Text {
            color: root.model.filterEnabled ? Theme.primary : Theme.secondary
            elide: Text.ElideRight
            font: Theme.headline
            horizontalAlignment: Text.AlignLeft
            text: root.model.title
            textFormat: Text.PlainText
            width: parent.width

            Accessible.name: text
            Accessible.role: Accessible.Heading
        }

        Text {
            color: Theme.secondary
            elide: Text.ElideRight
            font: Theme.caption
            horizontalAlignment: Text.AlignLeft
            text: root.model.subtitle
            textFormat: Text.PlainText
            width: parent.width

            Accessible.name: text
            Accessible.role: Accessible.StaticText
        }
    }

    ExposureScoreBadge {
        id: badge

        anchors.right: parent.right
        anchors.rightMargin: 16
        anchors.verticalCenter: parent.verticalCenter
        color: root.model.scoreColor
        score: root.model.score
    }
}
