pragma ComponentBehavior: Bound
import QtQuick
import Nocta

// A text of figures in cells of one width, so that nothing moves when they change, whatever the typeface does.
Row {
    id: figures

    required property string text
    property font font: Theme.caption
    property color color: Theme.secondary

    // Figures run from left to right in every script.
    LayoutMirroring.childrenInherit: true
    LayoutMirroring.enabled: false

    Accessible.name: text
    Accessible.role: Accessible.StaticText

    FontMetrics {
        id: metrics

        // Asks for the height because that, unlike a function's result, is asked again when the font changes.
        readonly property real figureWidth: height > 0 ? Math.round(Math.max(advanceWidth("0"), advanceWidth("8"), advanceWidth("4"))) : 0

        font: figures.font
    }

    Repeater {
        model: figures.text.length

        Text {
            required property int index

            Accessible.ignored: true
            color: figures.color
            font: figures.font
            horizontalAlignment: Text.AlignHCenter
            text: figures.text.charAt(index)
            textFormat: Text.PlainText
            width: text >= "0" && text <= "9" ? metrics.figureWidth : implicitWidth
        }
    }
}
