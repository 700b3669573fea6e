import QtQuick
import Nocta

// A column that scrolls where it is higher than its place: by the wheel, by a finger, and after the keyboard.
Item {
    id: root

    default property alias content: column.data
    property alias spacing: column.spacing
    property real padding: 0
    readonly property real furthest: Math.max(0, view.contentHeight - view.height)

    // Brings an item of the column into sight.
    function reveal(item: Item) {
        const top = item.mapToItem(column, 0, 0).y + padding;
        const margin = 8;
        view.contentY = Math.max(0, Math.min(furthest, Math.min(top - margin, Math.max(view.contentY, top + item.height + margin - view.height))));
    }

    clip: furthest > 0

    onFurthestChanged: view.contentY = Math.min(view.contentY, furthest)

    Flickable {
        id: view

        readonly property Item focused: root.Window.activeFocusItem

        anchors.fill: parent
        contentHeight: column.height + 2 * root.padding
        // The mouse has the wheel; where it drags, it drags controls.
        interactive: false

        onFocusedChanged: {
            for (let item = focused; item; item = item.parent) {
                if (item === column)
                    root.reveal(focused);
            }
        }

        Column {
            id: column

            width: view.width - 2 * root.padding
            x: root.padding
            y: root.padding
        }
    }

    WheelHandler {
        enabled: root.furthest > 0

        onWheel: event => {
            const distance = event.pixelDelta.y !== 0 ? event.pixelDelta.y : event.angleDelta.y / 120 * 48;
            view.contentY = Math.max(0, Math.min(root.furthest, view.contentY - distance));
        }
    }

    DragHandler {
        property real start: 0

        acceptedDevices: PointerDevice.TouchScreen
        enabled: root.furthest > 0
        target: null
        xAxis.enabled: false

        onActiveChanged: start = view.contentY
        onTranslationChanged: view.contentY = Math.max(0, Math.min(root.furthest, start - translation.y))
    }

    Rectangle {
        id: indicator

        readonly property real room: root.height - 8

        anchors.right: parent.right
        anchors.rightMargin: 3
        color: Theme.scrollIndicator
        height: Math.max(24, room * root.height / (root.height + root.furthest))
        radius: width / 2
        visible: root.furthest > 0
        width: 4
        y: 4 + (room - height) * (root.furthest > 0 ? view.contentY / root.furthest : 0)
    }
}
