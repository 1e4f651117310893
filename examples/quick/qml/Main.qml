// Window Garden: menus, the three screens as tabs, and a status line.
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import WindowGarden

ApplicationWindow {
    id: window
    required property var garden
    property alias screen: tabs.currentIndex

    function openPreferences() { preferences.open() }
    function closePreferences() { preferences.reject() }

    visible: true
    width: 980
    height: 690
    title: qsTr("Window Garden")
    color: Look.ground

    // An Arabic publication turns the window round.
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true

    menuBar: MenuBar {
        leftPadding: 14
        rightPadding: 14
        topPadding: 3
        bottomPadding: 3
        background: Rectangle { color: Look.ground }
        delegate: MenuBarItem {
            id: menuTitle
            font.pointSize: Look.base
            padding: 6
            leftPadding: 12
            rightPadding: 12
            background: Rectangle {
                radius: 6
                color: menuTitle.highlighted ? Look.mist : "transparent"
            }
        }

        GardenMenu {
            title: qsTr("&Garden")
            Action {
                text: qsTr("&Water everything that is due")
                onTriggered: window.garden.waterAllThatAreDue()
            }
            MenuSeparator {}
            Action {
                text: qsTr("&Preferences…")
                shortcut: StandardKey.Preferences
                onTriggered: window.openPreferences()
            }
            MenuSeparator {}
            Action {
                text: qsTr("&Quit")
                shortcut: StandardKey.Quit
                onTriggered: Qt.quit()
            }
        }
        GardenMenu {
            title: qsTr("&View")
            Action {
                text: qsTr("&Today")
                onTriggered: window.screen = 0
            }
            Action {
                text: qsTr("&My plants")
                onTriggered: window.screen = 1
            }
            Action {
                text: qsTr("&New plant")
                shortcut: StandardKey.New
                onTriggered: window.screen = 2
            }
        }
        GardenMenu {
            title: qsTr("&Help")
            Action {
                text: qsTr("&About Window Garden")
                onTriggered: about.open()
            }
        }
    }

    header: TabBar {
        id: tabs
        leftPadding: 17
        rightPadding: 17
        spacing: 6
        background: Rectangle {
            color: Look.ground
            Rectangle {
                anchors.bottom: parent.bottom
                width: parent.width
                height: 1
                color: "#e0ddd1"
            }
        }

        ScreenTab { text: qsTr("Today") }
        ScreenTab { text: qsTr("My plants") }
        ScreenTab { text: qsTr("New plant") }
    }

    StackLayout {
        anchors.fill: parent
        currentIndex: tabs.currentIndex

        TodayPage { garden: window.garden }
        PlantsPage {
            garden: window.garden
            careNotes: preferences.careNotes
        }
        NewPlantPage {
            garden: window.garden
            onPlantAdded: name => status.showMessage(name)
        }
    }

    footer: Rectangle {
        implicitHeight: 31
        color: Look.groove

        Text {
            id: status
            // A sentence would keep the language of the moment; the name is all that has to stay.
            property string movedIn

            function showMessage(name) {
                movedIn = name
                messageTime.restart()
            }
            anchors.left: parent.left
            anchors.leftMargin: 17
            anchors.verticalCenter: parent.verticalCenter
            text: movedIn !== "" ? qsTr("%1 has moved in.").arg(movedIn)
                : window.garden.daysUntilNextWatering < 0 ? qsTr("Nothing is planned yet")
                : qsTr("After today, the next watering is in %Ln day(s)", "", window.garden.daysUntilNextWatering)
            color: "#55635b"
            font.pointSize: 9.5

            Timer {
                id: messageTime
                interval: 5000
                onTriggered: status.movedIn = ""
            }
        }
        Text {
            anchors.right: parent.right
            anchors.rightMargin: 17
            anchors.verticalCenter: parent.verticalCenter
            text: preferences.remind ? qsTr("Reminder at %1").arg(preferences.timeText(preferences.reminder))
                                     : qsTr("Reminders are off")
            color: "#55635b"
            font.pointSize: 9.5
        }
    }

    Preferences { id: preferences }
    About { id: about }
}
