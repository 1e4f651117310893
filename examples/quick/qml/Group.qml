// A card with its title above it.
import QtQuick
import QtQuick.Layouts
import WindowGarden

ColumnLayout {
    id: group
    property string title
    default property alias inside: content.data

    spacing: 5

    Text {
        Layout.fillWidth: true
        Layout.leftMargin: 4
        Layout.rightMargin: 4
        text: group.title
        color: Look.green
        font.pointSize: Look.base
        horizontalAlignment: Text.AlignLeft
    }
    Card {
        Layout.fillWidth: true
        implicitHeight: content.implicitHeight + 28

        ColumnLayout {
            id: content
            anchors.fill: parent
            anchors.margins: 14
            anchors.leftMargin: 18
            anchors.rightMargin: 18
            spacing: 8
        }
    }
}
