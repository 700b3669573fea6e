import QtQuick
import Nocta

// What the popover's views stand on: lets a little of the desktop through where the desktop can do that.
Rectangle {
    required property bool blends

    color: blends ? Theme.backdrop : Theme.background
}
