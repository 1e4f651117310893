// A radio button of Window Garden.
import QtQuick
import QtQuick.Controls.Basic
import WindowGarden

RadioButton {
    id: choice
    padding: 0
    spacing: 10
    font.pointSize: Look.base
    indicator: Rectangle {
        x: choice.mirrored ? choice.width - width : 0
        y: (choice.height - height) / 2
        width: 18
        height: 18
        radius: 9
        color: "white"
        border.width: choice.checked ? 5 : 1
        border.color: choice.checked ? Look.green : "#b9bfb3"
    }
    contentItem: Text {
        leftPadding: choice.mirrored ? 0 : choice.indicator.width + choice.spacing
        rightPadding: choice.mirrored ? choice.indicator.width + choice.spacing : 0
        text: choice.text
        font: choice.font
        color: Look.ink
        verticalAlignment: Text.AlignVCenter
    }
}
