// An icon and what it counts.
import QtQuick
import QtQuick.Layouts
import WindowGarden

Card {
    id: figure
    property alias frame: icon.frame
    property alias text: words.text

    Layout.fillWidth: true
    Layout.preferredWidth: 1
    implicitHeight: 72

    PaintedPlant {
        id: icon
        anchors.left: parent.left
        anchors.leftMargin: 16
        anchors.verticalCenter: parent.verticalCenter
        width: 42
        height: 42
    }
    Text {
        id: words
        anchors.left: icon.right
        anchors.right: parent.right
        anchors.leftMargin: 12
        anchors.rightMargin: 16
        anchors.verticalCenter: parent.verticalCenter
        color: Look.ink
        font.pointSize: Look.base
        font.weight: Font.Bold
        horizontalAlignment: Text.AlignLeft
        wrapMode: Text.Wrap
    }
}
