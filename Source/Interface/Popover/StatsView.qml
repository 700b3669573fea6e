import QtQuick
import Nocta

// The day in figures: the score, what it is made of, and two switches.
Item {
    id: root

    required property StatsModel model

    ScrollArea {
        height: Math.min(360, parent.height)
        padding: 16
        spacing: 16
        width: parent.width

        Row {
            spacing: 20
            width: parent.width

            ScoreRing {
                id: ring

                color: root.model.scoreColor
                fraction: root.model.scoreFraction
                height: 90
                lineWidth: 10
                width: 90

                Behavior on fraction {
                    enabled: Theme.animates && root.model.onScreen

                    // A spring that comes to rest without swinging.
                    NumberAnimation {
                        duration: 600
                        easing.bezierCurve: [0.18, 0.25, 0.35, 1, 1, 1]
                        easing.type: Easing.BezierSpline
                    }
                }

                Column {
                    anchors.centerIn: parent
                    // Figures have nothing below their line, so that the middle of what is drawn is lower.
                    anchors.verticalCenterOffset: -2

                    Text {
                        Accessible.name: text
                        Accessible.role: Accessible.StaticText
                        anchors.horizontalCenter: parent.horizontalCenter
                        color: root.model.scoreColor
                        font: Theme.scoreFigure
                        text: root.model.score
                        textFormat: Text.PlainText
                    }

                    Text {
                        Accessible.name: text
                        Accessible.role: Accessible.StaticText
                        anchors.horizontalCenter: parent.horizontalCenter
                        color: Theme.secondary
                        font: Theme.caption
                        text: "/ 100"
                        textFormat: Text.PlainText
                    }
                }
            }

            Column {
                anchors.verticalCenter: parent.verticalCenter
                spacing: 6
                width: parent.width - ring.width - parent.spacing

                Text {
                    Accessible.name: text
                    Accessible.role: Accessible.Heading
                    color: Theme.primary
                    font: Theme.headline
                    horizontalAlignment: Text.AlignLeft
                    text: "Eye Health Score"
                    textFormat: Text.PlainText
                    width: parent.width
                    wrapMode: Text.WordWrap
                }

                Text {
                    Accessible.name: text
                    Accessible.role: Accessible.StaticText
                    color: Theme.secondary
                    font: Theme.caption
                    horizontalAlignment: Text.AlignLeft
                    text: root.model.scoreDescription
                    textFormat: Text.PlainText
                    width: parent.width
                    wrapMode: Text.WordWrap
                }
            }
        }

        Divider {
            width: parent.width
        }

        Grid {
            id: cards

            readonly property real cardWidth: (width - columnSpacing) / columns

            columnSpacing: 10
            columns: 2
            rowSpacing: 10
            width: parent.width

            StatCard {
                label: "Filtered today"
                symbol: "clock.fill"
                tint: Theme.blue
                value: root.model.filteredToday
                width: cards.cardWidth
            }

            StatCard {
                label: "Breaks taken"
                symbol: "eye.fill"
                tint: Theme.green
                value: root.model.breaksTaken
                width: cards.cardWidth
            }

            StatCard {
                label: "Breaks skipped"
                symbol: "forward.fill"
                tint: Theme.orange
                value: root.model.breaksSkipped
                width: cards.cardWidth
            }

            StatCard {
                label: "Current temp"
                symbol: "thermometer.medium"
                tint: root.model.tempColor
                value: root.model.currentTemp
                width: cards.cardWidth
            }
        }

        Divider {
            width: parent.width
        }

        Column {
            spacing: 10
            width: parent.width

            Switch {
                checked: root.model.showMenuBarScore
                font: Theme.subheadline
                label: "Show score in menu bar"
                width: parent.width

                onToggled: on => root.model.showMenuBarScore = on
            }

            Switch {
                checked: root.model.launchAtLogin
                font: Theme.subheadline
                label: "Launch at login"
                width: parent.width

                onToggled: on => root.model.launchAtLogin = on
            }
        }
    }
}
