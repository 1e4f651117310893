import QtQuick
import WindowGarden

Text {
    color: Look.text
    font.pointSize: Look.base
    horizontalAlignment: Text.AlignLeft
    wrapMode: Text.Wrap
}
