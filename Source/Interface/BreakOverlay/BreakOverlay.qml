import QtQuick
import Nocta

// One column around the middle of the screen.
Item {
    id: root

    required property OverlayModel model

    anchors.fill: parent
    enabled: model.takesInput
    opacity: model.opacity

    Item {
        id: column

        // For the focus ring.
        readonly property int margin: 8
        readonly property real eyeTop: root.height / 2 - 170 - eye.height / 2
        // The column is made for screens of every usual size; on a smaller one it shrinks rather than lose the button.
        readonly property real fittingHeight: 2 * Math.max(root.height / 2 - eyeTop, y + height - margin - root.height / 2) + 32
        readonly property real shrinkage: Math.min(1, root.height / fittingHeight, root.width / 360)

        x: Math.floor((root.width - width) / 2)
        y: Math.floor(eyeTop) - margin
        width: 2 * (Math.ceil(Math.max(title.width, subtitle.width, countdown.width, progressBar.width) / 2) + margin)
        height: skip.y + skip.height + margin
        // While it fades, it is one picture of just its size: each frame costs a hundredth of drawing all of it anew.
        layer.enabled: root.opacity < 1
        transform: Scale {
            origin.x: root.width / 2 - column.x
            origin.y: root.height / 2 - column.y
            xScale: column.shrinkage
            yScale: column.shrinkage
        }

        Symbol {
            id: eye

            anchors.horizontalCenter: parent.horizontalCenter
            y: column.eyeTop - column.y
            width: root.model.eye.font.pixelSize * 1.25
            height: root.model.eye.font.pixelSize * 1.2
            name: "eye.rest"
            color: root.model.eye.color
        }

        Text {
            id: title

            anchors.horizontalCenter: parent.horizontalCenter
            anchors.top: eye.bottom
            anchors.topMargin: 12
            text: root.model.title.text
            font: root.model.title.font
            color: root.model.title.color

            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Text {
            id: subtitle

            anchors.horizontalCenter: parent.horizontalCenter
            anchors.top: title.bottom
            anchors.topMargin: 8
            width: Math.min(implicitWidth, 560, root.width / column.shrinkage - 48)
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: root.model.subtitle.text
            font: root.model.subtitle.font
            color: root.model.subtitle.color

            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }

        Figures {
            id: countdown

            anchors.horizontalCenter: parent.horizontalCenter
            anchors.top: subtitle.bottom
            anchors.topMargin: 36
            text: root.model.countdown.text
            font: root.model.countdown.font
            color: root.model.countdown.color
        }

        Rectangle {
            id: progressBar

            anchors.horizontalCenter: parent.horizontalCenter
            anchors.top: countdown.bottom
            anchors.topMargin: 20
            width: 280
            height: 6
            radius: height / 2
            color: Qt.rgba(1, 1, 1, 0.12)

            Rectangle {
                width: parent.width * root.model.progress
                height: parent.height
                radius: parent.radius
                color: root.model.countdown.color
            }

            Accessible.role: Accessible.ProgressBar
            Accessible.name: root.model.countdown.text
        }

        OverlayButton {
            id: skip

            anchors.horizontalCenter: parent.horizontalCenter
            anchors.top: progressBar.bottom
            anchors.topMargin: 28
            title: root.model.skip.text
            font: root.model.skip.font
            tint: root.model.skip.color
            onClicked: root.model.skipPressed()
        }
    }
}
