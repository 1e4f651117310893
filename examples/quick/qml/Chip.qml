import QtQuick
import WindowGarden

Text {
    color: Look.green
    font.pointSize: 9.5
    leftPadding: 12
    rightPadding: 12
    topPadding: 3
    bottomPadding: 4

    Rectangle {
        z: -1
        anchors.fill: parent
        radius: height / 2
        color: Look.mist
    }
}
