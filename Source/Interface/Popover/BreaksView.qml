import QtQuick
import Nocta

// The breaks: whether there are any, when the next one is, how often and how long they are, and what became of them.
ScrollArea {
    id: root

    required property BreaksModel model

    padding: 16
    spacing: 16

    Switch {
        checked: root.model.breaksEnabled
        font: Theme.headline
        label: "20-20-20 Break Reminders"
        width: parent.width

        onToggled: on => root.model.breaksEnabled = on
    }

    Column {
        spacing: 6
        visible: root.model.breaksEnabled
        width: parent.width

        Item {
            implicitHeight: Math.max(countdown.implicitHeight, timer.implicitHeight)
            width: parent.width

            Symbol {
                id: timer

                anchors.left: parent.left
                // What is drawn begins where texts do.
                anchors.leftMargin: -2
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.orange
                name: "timer"
                size: 18
            }

            Text {
                Accessible.name: text
                Accessible.role: Accessible.StaticText
                anchors.left: timer.right
                anchors.leftMargin: 6
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.primary
                font: Theme.subheadline
                text: "Next break in"
                textFormat: Text.PlainText
            }

            // Figures keep their direction, and their place with it; this goes where the script wants them.
            Item {
                id: countdown

                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                implicitHeight: figures.implicitHeight
                implicitWidth: figures.implicitWidth

                Figures {
                    id: figures

                    color: Theme.orange
                    font: Theme.countdown
                    text: root.model.countdown
                }
            }
        }

        ProgressBar {
            name: "Next break in"
            tint: Theme.orange
            value: root.model.progress
            width: parent.width
        }
    }

    Divider {
        visible: root.model.breaksEnabled
        width: parent.width
    }

    Column {
        spacing: 6
        visible: root.model.breaksEnabled
        width: parent.width

        SectionTitle {
            text: "Break every"
            width: parent.width
        }

        SegmentedControl {
            currentIndex: root.model.intervalIndex
            name: "Break every"
            segments: root.model.intervalLabels
            width: parent.width

            onPicked: index => root.model.intervalIndex = index
        }
    }

    Column {
        spacing: 6
        visible: root.model.breaksEnabled
        width: parent.width

        SectionTitle {
            text: "Break duration"
            width: parent.width
        }

        SegmentedControl {
            currentIndex: root.model.durationIndex
            name: "Break duration"
            segments: root.model.durationLabels
            width: parent.width

            onPicked: index => root.model.durationIndex = index
        }
    }

    Divider {
        visible: root.model.breaksEnabled
        width: parent.width
    }

    Row {
        spacing: 10
        visible: root.model.breaksEnabled
        width: parent.width

        StatBubble {
            label: "Taken"
            tint: Theme.green
            value: root.model.breaksTaken
            width: (parent.width - parent.spacing) / 2
        }

        StatBubble {
            label: "Skipped"
            tint: Theme.orange
            value: root.model.breaksSkipped
            width: (parent.width - parent.spacing) / 2
        }
    }

    Item {
        implicitHeight: preview.implicitHeight
        visible: root.model.breaksEnabled
        width: parent.width

        BorderedButton {
            id: preview

            anchors.left: parent.left
            text: "Preview break overlay"

            onClicked: root.model.previewOverlay()
        }
    }
}
