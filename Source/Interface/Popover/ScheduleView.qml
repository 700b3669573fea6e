import QtQuick
import Nocta

// The schedule: whether there is one, where it has the sun from, and an illustration of the day.
ScrollArea {
    id: root

    required property ScheduleModel model

    padding: 16
    spacing: 16

    Switch {
        checked: root.model.scheduleEnabled
        font: Theme.headline
        label: "Automatic Schedule"
        width: parent.width

        onToggled: on => root.model.scheduleEnabled = on
    }

    Divider {
        visible: root.model.scheduleEnabled
        width: parent.width
    }

    Column {
        spacing: 6
        visible: root.model.scheduleEnabled
        width: parent.width

        Switch {
            checked: root.model.scheduleUsesLocation
            font: Theme.subheadline
            label: "Use location for sunrise/sunset"
            width: parent.width

            onToggled: on => root.model.scheduleUsesLocation = on
        }

        Text {
            Accessible.name: text
            Accessible.role: Accessible.StaticText
            color: Theme.secondary
            font: Theme.caption
            horizontalAlignment: Text.AlignLeft
            text: "Nocta calculates precise sunrise and sunset for your exact location without storing it."
            textFormat: Text.PlainText
            width: parent.width
            wrapMode: Text.WordWrap
        }
    }

    Divider {
        visible: manualTimes.visible
        width: parent.width
    }

    Column {
        id: manualTimes

        spacing: 10
        visible: root.model.scheduleEnabled && !root.model.scheduleUsesLocation
        width: parent.width

        SectionTitle {
            text: "Manual Times"
            width: parent.width
        }

        TimeField {
            hour: root.model.sunriseHour
            label: "Sunrise"
            minute: root.model.sunriseMinute
            width: parent.width

            onEdited: (hour, minute) => root.model.setSunrise(hour, minute)
        }

        TimeField {
            hour: root.model.sunsetHour
            label: "Sunset"
            minute: root.model.sunsetMinute
            width: parent.width

            onEdited: (hour, minute) => root.model.setSunset(hour, minute)
        }
    }

    Divider {
        visible: root.model.scheduleEnabled
        width: parent.width
    }

    Column {
        spacing: 8
        visible: root.model.scheduleEnabled
        width: parent.width

        SectionTitle {
            text: "Today's Schedule"
            width: parent.width
        }

        ScheduleTimeline {
            model: root.model
            width: parent.width
        }

        Item {
            implicitHeight: now.implicitHeight
            width: parent.width

            SectionTitle {
                id: now

                anchors.left: parent.left
                text: "Now: " + root.model.currentTimeLabel
            }

            SectionTitle {
                anchors.right: parent.right
                text: "Active: " + root.model.activePresetName
            }
        }
    }
}
