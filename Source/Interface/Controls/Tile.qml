import QtQuick

// The ground of a figure, in a breath of its colour.
Rectangle {
    required property color tint

    color: Qt.alpha(tint, 0.08)
    radius: 8
}
