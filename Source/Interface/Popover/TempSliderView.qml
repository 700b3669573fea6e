import QtQuick
import Nocta

// A slider for a temperature, over what the temperatures look like.
Slider {
    id: root

    required property real lowest
    required property real highest
    // Five: how white looks at even steps from the lowest to the highest temperature.
    required property list<color> whites

    maximumValue: highest
    minimumValue: lowest
    name: "Custom Temperature"
    stepSize: 50

    trackGradient: Gradient {
        orientation: Gradient.Horizontal

        GradientStop {
            color: root.whites[root.mirrored ? 4 : 0]
            position: 0
        }

        GradientStop {
            color: root.whites[root.mirrored ? 3 : 1]
            position: 0.25
        }

        GradientStop {
            color: root.whites[2]
            position: 0.5
        }

        GradientStop {
            color: root.whites[root.mirrored ? 1 : 3]
            position: 0.75
        }

        GradientStop {
            color: root.whites[root.mirrored ? 0 : 4]
            position: 1
        }
    }
}
