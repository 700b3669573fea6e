import QtQuick
import Nocta

// What a slider is about, and its number.
Item {
    id: root

    required property string text
    required property string value

    implicitHeight: label.implicitHeight

    Text {
        id: label

        anchors.left: parent.left
        color: Theme.secondary
        font: Theme.caption
        text: root.text
        textFormat: Text.PlainText

        // The slider says it.
        Accessible.ignored: true
    }

    Item {
        anchors.right: parent.right
        height: figures.height
        width: figures.width

        Figures {
            id: figures

            text: root.value
        }
    }
}
