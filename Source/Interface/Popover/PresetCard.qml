import QtQuick
import Nocta

Control {
    id: root

    required property string name
    required property string icon
    required property string temperature
    required property color color
    required property bool isActive

    // Of the card. Its ground and symbol grow by their bounds and stay sharp, where a scaled picture of the card would not;
    // its letters could grow only by whole pixels.
    property real growth: isActive ? 1.03 : 1

    // That size with its edges on whole pixels of the screen.
    function grown(size: real): real {
        return size + 2 * Math.round(size * (growth - 1) / 2 * Screen.devicePixelRatio) / Screen.devicePixelRatio;
    }

    implicitHeight: column.height + 20

    Behavior on growth {
        enabled: Theme.animates

        NumberAnimation {
            duration: 200
            easing.overshoot: 1.2
            easing.type: Easing.OutBack
        }
    }

    Accessible.checkable: true
    Accessible.checked: isActive
    Accessible.focusable: true
    Accessible.name: name + ", " + temperature
    Accessible.role: Accessible.RadioButton
    Accessible.onPressAction: clicked()

    Rectangle {
        anchors.centerIn: parent
        border.color: root.isActive ? "transparent" : Qt.alpha(root.color, 0.3)
        border.width: 1
        color: root.isActive ? root.color : Qt.alpha(root.color, root.down ? 0.22 : root.hovered ? 0.16 : 0.1)
        height: root.grown(root.height)
        radius: 10
        width: root.grown(root.width)

        Behavior on color {
            enabled: Theme.animates

            ColorAnimation {
                duration: 200
            }
        }
    }

    Column {
        id: column

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        spacing: 6

        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            height: 28
            width: 28

            Symbol {
                anchors.centerIn: parent
                anchors.verticalCenterOffset: 1
                color: Theme.onCardShadow
                name: root.icon
                size: 28 * root.growth
                visible: root.isActive
            }

            Symbol {
                anchors.centerIn: parent
                color: root.isActive ? Theme.onCard : root.color
                name: root.icon
                size: 28 * root.growth
            }
        }

        Text {
            Accessible.ignored: true
            anchors.horizontalCenter: parent.horizontalCenter
            color: root.isActive ? Theme.onCard : Theme.primary
            font: root.isActive ? Theme.activeCardName : Theme.cardName
            style: root.isActive ? Text.Raised : Text.Normal
            styleColor: Theme.onCardShadow
            text: root.name
            textFormat: Text.PlainText
        }

        Text {
            Accessible.ignored: true
            anchors.horizontalCenter: parent.horizontalCenter
            color: root.isActive ? Theme.onCardDetail : Theme.secondary
            font: Theme.cardDetail
            style: root.isActive ? Text.Raised : Text.Normal
            styleColor: Theme.onCardShadow
            text: root.temperature
            textFormat: Text.PlainText
        }
    }

    FocusRing {
        control: root
        radius: 14
    }
}
