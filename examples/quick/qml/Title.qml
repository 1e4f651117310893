import QtQuick
import WindowGarden

Text {
    color: Look.ink
    font.pointSize: 12
    font.weight: Font.Bold
    horizontalAlignment: Text.AlignLeft
    wrapMode: Text.Wrap
}
