import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import WindowGarden

Dialog {
    id: dialog
    modal: true
    anchors.centerIn: Overlay.overlay
    width: 420
    padding: 22
    background: Rectangle {
        radius: 16
        color: Look.ground
        border.color: Look.line
    }
    header: Title {
        text: qsTr("About Window Garden")
        font.pointSize: 15
        leftPadding: 24
        rightPadding: 24
        topPadding: 20
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 18

        Note {
            Layout.fillWidth: true
            text: qsTr("Window Garden %1 looks after the plants on your windowsill.").arg(Qt.application.version)
        }
        GardenButton {
            Layout.alignment: Qt.AlignRight
            text: qsTr("Close")
            onClicked: dialog.accept()
        }
    }
}
