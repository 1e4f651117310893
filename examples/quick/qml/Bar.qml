// How much of something: `value` from 0 to 1.
import QtQuick
import WindowGarden

Rectangle {
    property real value: 0

    implicitHeight: 8
    radius: 4
    color: Look.groove

    Rectangle {
        anchors.left: parent.left
        width: parent.width * parent.value
        height: parent.height
        radius: parent.radius
        color: Look.fill
    }
}
