// A combo box of Window Garden.
import QtQuick
import QtQuick.Controls.Basic
import WindowGarden

ComboBox {
    id: chooser
    font.pointSize: Look.base
    implicitHeight: 36
    leftPadding: 0
    rightPadding: 0
    contentItem: Text {
        leftPadding: chooser.mirrored ? 30 : 12
        rightPadding: chooser.mirrored ? 12 : 30
        text: chooser.displayText
        font: chooser.font
        color: Look.ink
        verticalAlignment: Text.AlignVCenter
        horizontalAlignment: Text.AlignLeft
        elide: Text.ElideRight
    }
    indicator: Image {
        x: chooser.mirrored ? 10 : chooser.width - width - 10
        y: (chooser.height - height) / 2
        width: 12
        height: 12
        source: "qrc:/windowgarden/arrow-down.png"
        sourceSize: Qt.size(24, 24)
    }
    background: Rectangle {
        radius: 9
        color: "white"
        border.color: chooser.visualFocus ? Look.green : "#d5d2c5"
    }
}
