import QtQuick
import Nocta

// The popover: the filter's switch with what it does at the moment and the score, the selected tab, and the bar below it.
//
// A tab's view is an item in a file of its own, `<label>View.qml`. It fills the place it is given and has a required
// property `model`, the tab's model. There is one only while its tab is selected.
FocusScope {
    id: root

    required property PopoverModel model
    // Of the popover's corners, as its window wants them.
    property real cornerRadius: 0

    LayoutMirroring.childrenInherit: true
    LayoutMirroring.enabled: Theme.mirrored
    implicitHeight: 560
    implicitWidth: 340

    Accessible.name: "Nocta"
    Accessible.role: Accessible.Pane

    VisualEffectView {
        anchors.fill: parent
        radius: root.cornerRadius
    }

    PopoverHeader {
        id: header

        anchors.left: parent.left
        anchors.right: parent.right
        model: root.model
    }

    Divider {
        id: upperDivider

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: header.bottom
    }

    Loader {
        id: tabContent

        function show() {
            setSource(root.model.tabView, {
                model: root.model.tabModel
            });
        }

        anchors.bottom: lowerDivider.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: upperDivider.bottom

        Component.onCompleted: show()

        Connections {
            function onSelectedTabChanged() {
                tabContent.show();
            }

            target: root.model
        }
    }

    Divider {
        id: lowerDivider

        anchors.bottom: bottomBar.top
        anchors.left: parent.left
        anchors.right: parent.right
    }

    Column {
        id: bottomBar

        anchors.bottom: parent.bottom
        anchors.left: parent.left
        anchors.right: parent.right

        PopoverTabBar {
            model: root.model
            width: parent.width
        }

        Divider {
            width: parent.width
        }

        Item {
            height: quit.height + 16
            width: parent.width

            PlainButton {
                id: quit

                anchors.left: parent.left
                anchors.leftMargin: 16
                anchors.verticalCenter: parent.verticalCenter
                text: "Quit Nocta"

                onClicked: root.model.quit()
            }

            Text {
                anchors.right: parent.right
                anchors.rightMargin: 16
                anchors.verticalCenter: parent.verticalCenter
                color: Theme.tertiary
                font: Theme.caption
                text: "Nocta 1.0"
                textFormat: Text.PlainText

                Accessible.name: text
                Accessible.role: Accessible.StaticText
            }
        }
    }
}
