import QtQuick
import QtQuick.Controls.Basic
import WindowGarden

TabButton {
    id: tab
    width: implicitWidth
    horizontalPadding: 20
    topPadding: 9
    bottomPadding: 11
    font.pointSize: Look.base
    font.weight: Font.Bold
    contentItem: Text {
        text: tab.text
        font: tab.font
        color: tab.checked || tab.hovered ? Look.green : Look.hint
        horizontalAlignment: Text.AlignHCenter
    }
    background: Item {
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 3
            color: Look.green
            visible: tab.checked
        }
    }
}
