import QtQuick
import Nocta

// What the things below it are, or a remark on those above it.
Text {
    Accessible.name: text
    Accessible.role: Accessible.StaticText
    color: Theme.secondary
    font: Theme.caption
    horizontalAlignment: Text.AlignLeft
    textFormat: Text.PlainText
}
