import QtQuick
import Nocta

Rectangle {
    color: Theme.divider
    implicitHeight: 1
}
