import QtQuick
import WindowGarden

Rectangle {
    color: "white"
    border.color: Look.line
    radius: 14
}
