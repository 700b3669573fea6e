pragma ComponentBehavior: Bound

import QtQuick
import Nocta

// Presets to pick from, and a temperature and a brightness of one's own.
Item {
    id: root

    required property PresetsModel model

    ScrollArea {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        height: Math.min(360, parent.height)
        padding: 16
        spacing: 12

        ArrowWalk {
            id: grid

            // The card that has the keyboard.
            property int walkedTo: -1
            readonly property real columnGap: 10 // makes the cards whole pixels wide

            columns: 3
            count: root.model.names.length
            current: walkedTo
            height: cells.height
            mirrored: LayoutMirroring.enabled
            width: parent.width

            onWalked: index => cards.itemAt(index).forceActiveFocus(Qt.TabFocusReason)

            Accessible.name: "Presets"
            Accessible.role: Accessible.Grouping

            Grid {
                id: cells

                columnSpacing: grid.columnGap
                columns: grid.columns
                rowSpacing: 8

                Repeater {
                    id: cards

                    model: root.model.names

                    PresetCard {
                        required property int index
                        required property string modelData

                        color: root.model.colors[index]
                        icon: root.model.icons[index]
                        isActive: index === root.model.activeIndex
                        name: modelData
                        temperature: root.model.temperatures[index]
                        width: (grid.width - (grid.columns - 1) * grid.columnGap) / grid.columns

                        onActiveFocusChanged: {
                            if (activeFocus)
                                grid.walkedTo = index;
                        }
                        onClicked: root.model.pick(index)
                    }
                }
            }
        }

        Divider {
            width: parent.width - 32
            x: 16
        }

        Column {
            spacing: 8
            width: parent.width

            SliderCaption {
                text: "Custom Temperature"
                value: root.model.customTempText
                width: parent.width
            }

            TempSliderView {
                highest: root.model.highestTemp
                lowest: root.model.lowestTemp
                value: root.model.customTemp
                whites: root.model.whites
                width: parent.width

                onMoved: value => root.model.customTemp = value
            }
        }

        Divider {
            width: parent.width - 32
            x: 16
        }

        Column {
            spacing: 8
            width: parent.width

            SliderCaption {
                text: "Brightness"
                value: root.model.customBrightnessText
                width: parent.width
            }

            Slider {
                maximumValue: root.model.highestBrightness
                minimumValue: root.model.lowestBrightness
                name: "Brightness"
                stepSize: 0.01
                value: root.model.customBrightness
                width: parent.width

                onMoved: value => root.model.customBrightness = value
            }
        }
    }
}
