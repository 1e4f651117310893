import QtQuick
import QtQuick.Controls.Basic
import WindowGarden

Button {
    id: button
    property bool primary: false

    horizontalPadding: 18
    verticalPadding: 9
    font.pointSize: Look.base
    font.weight: primary ? Font.Bold : Font.Normal
    contentItem: Text {
        text: button.text
        font: button.font
        color: button.primary ? "white" : button.hovered ? Look.green : Look.ink
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: 9
        color: button.primary ? (button.down ? "#275d42" : button.hovered ? "#37805c" : Look.green)
                              : button.down ? Look.mist : "white"
        border.color: button.primary || button.hovered ? Look.green : Look.edge
    }
}
