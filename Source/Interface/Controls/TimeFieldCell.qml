import QtQuick
import Nocta

// One part of a time field, with what stands between it and the part before.
Row {
    id: root

    required property TimeFieldModel time
    required property int part
    required property bool isFirst
    // The label of the whole.
    required property string field
    required property font font

    signal taken

    function take() {
        control.forceActiveFocus(Qt.TabFocusReason);
    }

    FontMetrics {
        id: metrics

        font: root.font
    }

    Text {
        Accessible.ignored: true
        anchors.verticalCenter: parent.verticalCenter
        color: Theme.primary
        font: root.font
        text: root.part === TimeFieldModel.Minute ? root.time.separator : " "
        textFormat: Text.PlainText
        visible: !root.isFirst
    }

    TimePart {
        id: control

        readonly property string name: ["hour", "minute", "half of the day"][root.part]
        // The same for every time.
        readonly property real longest: root.part === TimeFieldModel.Period ? Math.max(metrics.advanceWidth(root.time.amText), metrics.advanceWidth(root.time.pmText)) : 2 * Math.ceil(metrics.advanceWidth("0"))

        anchors.verticalCenter: parent.verticalCenter
        height: 20
        model: root.time
        part: root.part
        width: Math.ceil(longest) + 6

        onActiveFocusChanged: {
            if (activeFocus)
                root.taken();
        }

        Accessible.focusable: true
        Accessible.name: root.field + ", " + name + ", " + figures.text
        Accessible.role: Accessible.SpinBox
        Accessible.onDecreaseAction: root.time.step(root.part, -1)
        Accessible.onIncreaseAction: root.time.step(root.part, 1)

        Rectangle {
            anchors.fill: parent
            color: control.activeFocus ? Theme.pressed : Theme.hover
            radius: 4
            visible: control.activeFocus || control.hovered
        }

        Figures {
            id: figures

            Accessible.ignored: true
            // Beside the separator, with one digit or two.
            anchors.right: parent.right
            anchors.rightMargin: root.part === TimeFieldModel.Period ? (parent.width - width) / 2 : 3
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.primary
            font: root.font
            text: [root.time.hourText, root.time.minuteText, root.time.periodText][root.part]
        }

        FocusRing {
            control: control
            gap: 0
            radius: 6
        }
    }
}
