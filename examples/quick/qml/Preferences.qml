// How the garden keeps in touch. What is chosen counts when it is saved.
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import WindowGarden

Dialog {
    id: dialog
    // Half hours since six in the morning.
    property int reminder: 5
    property bool remind: true
    property bool careNotes: true

    function timeText(halfHours) {
        return new Date(2000, 0, 1, 6 + Math.floor(halfHours / 2), 30 * (halfHours % 2)).toLocaleTimeString(Qt.locale(), Locale.ShortFormat)
    }

    modal: true
    anchors.centerIn: Overlay.overlay
    width: 440
    padding: 22
    onAboutToShow: {
        remindBox.checked = remind
        time.currentIndex = reminder
        careNotesBox.checked = careNotes
    }
    onAccepted: {
        remind = remindBox.checked
        reminder = time.currentIndex
        careNotes = careNotesBox.checked
    }
    background: Rectangle {
        radius: 16
        color: Look.ground
        border.color: Look.line
    }
    header: Title {
        text: qsTr("Preferences")
        font.pointSize: 15
        leftPadding: 24
        rightPadding: 24
        topPadding: 20
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 14

        Note {
            Layout.fillWidth: true
            text: qsTr("Choose how your garden keeps in touch with you.")
        }
        Group {
            title: qsTr("Reminders")

            Tick {
                id: remindBox
                Layout.fillWidth: true
                text: qsTr("Remind me when plants need water")
            }
            RowLayout {
                Note {
                    Layout.fillWidth: true
                    text: qsTr("Time of the reminder")
                }
                Chooser {
                    id: time
                    implicitWidth: 130
                    enabled: remindBox.checked
                    model: 9
                    displayText: dialog.timeText(currentIndex)
                    delegate: ItemDelegate {
                        required property int index
                        width: time.width
                        text: dialog.timeText(index)
                    }
                }
            }
        }
        Group {
            title: qsTr("Display")

            Tick {
                id: careNotesBox
                Layout.fillWidth: true
                text: qsTr("Show care notes")
                ToolTip.visible: hovered
                ToolTip.text: qsTr("A short note beside each plant's picture")
            }
        }
        RowLayout {
            Layout.topMargin: 6
            spacing: 12

            Item { Layout.fillWidth: true }
            GardenButton {
                text: qsTr("Cancel")
                onClicked: dialog.reject()
            }
            GardenButton {
                primary: true
                text: qsTr("Save")
                onClicked: dialog.accept()
            }
        }
    }
}
