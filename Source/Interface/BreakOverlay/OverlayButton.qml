import QtQuick

// A push button that does not invite: a faint title on a bezel that one sees when one looks for it.
Rectangle {
    id: root

    property alias title: label.text
    property alias font: label.font
    property alias tint: label.color

    signal clicked

    readonly property bool isDown: tap.pressed || pressedKey !== 0
    property int pressedKey: 0

    implicitWidth: label.implicitWidth + 36
    implicitHeight: label.implicitHeight + 14
    radius: 8
    color: Qt.rgba(1, 1, 1, isDown ? 0.14 : hover.hovered ? 0.09 : 0.05)
    border.width: 1
    border.color: Qt.rgba(1, 1, 1, 0.07)

    activeFocusOnTab: true
    onActiveFocusChanged: pressedKey = 0
    Keys.onPressed: event => {
        if (pressedKey === 0 && (event.key === Qt.Key_Space || event.key === Qt.Key_Return || event.key === Qt.Key_Enter)) {
            pressedKey = event.key;
            event.accepted = true;
        }
    }
    Keys.onReleased: event => {
        if (event.key === pressedKey) {
            pressedKey = 0;
            event.accepted = true;
            clicked();
        }
    }

    Accessible.role: Accessible.Button
    Accessible.name: title
    Accessible.focusable: true
    Accessible.onPressAction: clicked()

    Text {
        id: label

        anchors.centerIn: parent
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: -3
        visible: root.activeFocus
        radius: root.radius + 3
        color: "transparent"
        border.width: 2
        border.color: Qt.rgba(1, 0.72, 0.32, 0.8)
    }

    HoverHandler {
        id: hover
    }

    TapHandler {
        id: tap

        gesturePolicy: TapHandler.ReleaseWithinBounds
        onTapped: root.clicked()
    }
}
