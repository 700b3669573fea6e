import QtQuick
import Nocta

// What the popover's views stand on. Opaque: there is nobody to blur what is behind, and texts that shine through would
// only disturb those that stand here.
Rectangle {
    color: Theme.background
}
