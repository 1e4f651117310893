// A check box of Window Garden.
import QtQuick
import QtQuick.Controls.Basic
import WindowGarden

CheckBox {
    id: box
    property bool fades: false

    padding: 0
    spacing: 10
    font.pointSize: Look.base
    indicator: Rectangle {
        x: box.mirrored ? box.width - width : 0
        y: (box.height - height) / 2
        width: 20
        height: 20
        radius: 5
        color: box.checked ? Look.green : "white"
        border.color: box.checked ? Look.green : "#b9bfb3"

        Image {
            visible: box.checked
            anchors.centerIn: parent
            width: 18
            height: 18
            source: "qrc:/windowgarden/check.png"
            sourceSize: Qt.size(36, 36)
        }
    }
    contentItem: Text {
        leftPadding: box.mirrored ? 0 : box.indicator.width + box.spacing
        rightPadding: box.mirrored ? box.indicator.width + box.spacing : 0
        text: box.text
        font: box.font
        color: box.fades && box.checked ? Look.hint : Look.ink
        verticalAlignment: Text.AlignVCenter
        horizontalAlignment: Text.AlignLeft
        elide: Text.ElideRight
    }
}
