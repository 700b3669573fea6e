pragma ComponentBehavior: Bound

import QtQuick
import Nocta

ArrowWalk {
    id: root

    required property PopoverModel model
    readonly property real share: width / count

    count: model.tabLabels.length
    current: model.selectedTab
    implicitHeight: 52
    mirrored: LayoutMirroring.enabled

    onWalked: index => {
        model.selectedTab = index;
        tabs.itemAt(index).forceActiveFocus(Qt.TabFocusReason);
    }

    Accessible.name: "Tabs"
    Accessible.role: Accessible.PageTabList

    Rectangle {
        anchors.fill: parent
        color: Theme.bar
    }

    Rectangle {
        color: Qt.alpha(Accent.color, 0.12)
        height: root.height
        width: root.share
        x: (root.mirrored ? root.count - 1 - root.current : root.current) * root.share

        Behavior on x {
            enabled: Theme.animates

            NumberAnimation {
                duration: 200
                easing.overshoot: 0.8
                easing.type: Easing.OutBack
            }
        }
    }

    Row {
        Repeater {
            id: tabs

            model: root.model.tabLabels

            Control {
                id: tab

                required property int index
                required property string modelData
                readonly property bool isSelected: index === root.current
                property color color: isSelected ? Accent.color : hovered || down ? Theme.primary : Theme.secondary

                // Qt lets nothing that has the keyboard out of the order.
                activeFocusOnTab: isSelected || activeFocus
                height: root.height
                width: root.share

                Behavior on color {
                    enabled: Theme.animates

                    ColorAnimation {
                        duration: 120
                    }
                }

                onClicked: root.model.selectedTab = index

                Accessible.focusable: true
                Accessible.name: modelData
                Accessible.role: Accessible.PageTab
                Accessible.selectable: true
                Accessible.selected: isSelected
                Accessible.onPressAction: clicked()

                Column {
                    anchors.centerIn: parent
                    spacing: 3

                    Symbol {
                        anchors.horizontalCenter: parent.horizontalCenter
                        color: tab.color
                        name: root.model.tabIcons[tab.index]
                        size: 20
                    }

                    Text {
                        Accessible.ignored: true
                        anchors.horizontalCenter: parent.horizontalCenter
                        color: tab.color
                        font: Theme.tabLabel
                        text: tab.modelData
                        textFormat: Text.PlainText
                    }
                }

                FocusRing {
                    control: tab
                    gap: -5
                    radius: 7
                }
            }
        }
    }
}
