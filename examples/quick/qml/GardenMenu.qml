// A menu of the menu bar.
import QtQuick
import QtQuick.Controls.Basic
import WindowGarden

Menu {
    padding: 5
    delegate: MenuItem {
        id: item
        implicitHeight: 34
        font.pointSize: Look.base
        background: Rectangle {
            radius: 6
            color: item.highlighted ? Look.mist : "transparent"
        }
    }
    background: Rectangle {
        implicitWidth: 260
        radius: 8
        color: "white"
        border.color: "#dddace"
    }
}
