// A slider of Window Garden.
import QtQuick
import QtQuick.Controls.Basic
import WindowGarden

Slider {
    id: slider
    stepSize: 1
    snapMode: Slider.SnapAlways
    implicitHeight: 24
    background: Rectangle {
        x: slider.leftPadding
        y: (slider.height - height) / 2
        width: slider.availableWidth
        height: 6
        radius: 3
        color: "#e3e1d6"

        Rectangle {
            anchors.left: parent.left
            width: parent.width * slider.position
            height: parent.height
            radius: parent.radius
            color: Look.fill
        }
    }
    handle: Rectangle {
        x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
        y: (slider.height - height) / 2
        width: 18
        height: 18
        radius: 9
        color: Look.green
    }
}
