// The list of plants, and everything about the one that is chosen.
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import WindowGarden

Item {
    id: page
    required property var garden
    property bool careNotes: true
    readonly property var plant: list.currentItem

    function isFound(kind) {
        return Words.name(kind).toLowerCase().includes(search.text.toLowerCase())
    }
    readonly property int found: {
        let count = 0
        for (let row = 0; row < garden.count; ++row)
            count += Number(isFound(garden.kindAt(row)))
        return count
    }

    RowLayout {
        anchors.fill: parent
        anchors.margins: 20
        anchors.topMargin: 18
        anchors.bottomMargin: 18
        spacing: 16

        ColumnLayout {
            Layout.preferredWidth: 2
            Layout.fillWidth: true
            spacing: 10

            TextField {
                id: search
                Layout.fillWidth: true
                implicitHeight: 36
                leftPadding: 12
                rightPadding: 12
                placeholderText: qsTr("Search your plants")
                placeholderTextColor: "#8b968f"
                color: Look.ink
                font.pointSize: Look.base
                horizontalAlignment: TextInput.AlignLeft
                background: Rectangle {
                    radius: 9
                    color: "white"
                    border.color: search.activeFocus ? Look.green : "#d5d2c5"
                }
            }
            Card {
                Layout.fillWidth: true
                Layout.fillHeight: true

                ListView {
                    id: list
                    anchors.fill: parent
                    anchors.margins: 6
                    clip: true
                    model: page.garden
                    currentIndex: 0
                    delegate: PlantRow {
                        width: list.width
                        visible: page.isFound(kind)
                        height: visible ? 62 : 0
                        chosen: ListView.isCurrentItem
                        onClicked: list.currentIndex = index
                    }
                }
            }
            Text {
                Layout.fillWidth: true
                text: qsTr("%Ln plant(s) shown", "", page.found)
                color: Look.hint
                font.pointSize: 9.5
                horizontalAlignment: Text.AlignLeft
            }
        }

        Card {
            Layout.preferredWidth: 3
            Layout.fillWidth: true
            Layout.fillHeight: true
            enabled: page.plant !== null

            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 24
                anchors.topMargin: 22
                anchors.bottomMargin: 20
                spacing: 16
                visible: page.plant !== null

                RowLayout {
                    spacing: 20

                    PaintedPlant {
                        Layout.alignment: Qt.AlignTop
                        implicitWidth: 152
                        implicitHeight: 152
                        kind: page.plant ? page.plant.kind : 0
                    }
                    ColumnLayout {
                        Layout.alignment: Qt.AlignTop
                        spacing: 9

                        Title {
                            Layout.fillWidth: true
                            text: page.plant ? Words.name(page.plant.kind) : ""
                            font.pointSize: 18
                        }
                        RowLayout {
                            spacing: 8
                            Chip { text: page.plant ? Words.place(page.plant.place) : "" }
                            Chip { text: page.plant ? Words.light(page.plant.light) : "" }
                        }
                        Note {
                            Layout.fillWidth: true
                            visible: page.careNotes
                            text: page.plant ? Words.care(page.plant.kind) : ""
                        }
                    }
                }

                GridLayout {
                    columns: 2
                    columnSpacing: 18
                    rowSpacing: 9

                    Title {
                        Layout.columnSpan: 2
                        Layout.fillWidth: true
                        text: qsTr("What it needs")
                    }
                    Note { text: qsTr("Light") }
                    Bar {
                        Layout.fillWidth: true
                        value: page.plant ? page.plant.needs[0] / 100 : 0
                    }
                    Note { text: qsTr("Water") }
                    Bar {
                        Layout.fillWidth: true
                        value: page.plant ? page.plant.needs[1] / 100 : 0
                    }
                    Note { text: qsTr("Humidity") }
                    Bar {
                        Layout.fillWidth: true
                        value: page.plant ? page.plant.needs[2] / 100 : 0
                    }
                }

                ColumnLayout {
                    spacing: 7

                    Title {
                        Layout.fillWidth: true
                        text: qsTr("Watering")
                    }
                    Note {
                        Layout.fillWidth: true
                        text: page.plant ? qsTr("%1 every %Ln day(s)", "", page.plant.rhythm).arg(Words.amount(page.plant.millilitres)) : ""
                    }
                    Note {
                        Layout.fillWidth: true
                        text: page.plant ? qsTr("Last watered on %1").arg(page.plant.lastWatered.toLocaleDateString(Qt.locale(), Locale.ShortFormat)) : ""
                    }
                    Note {
                        Layout.fillWidth: true
                        text: page.plant ? qsTr("Next watering: %1").arg(Words.due(page.plant.due)) : ""
                    }
                }

                Item { Layout.fillHeight: true }

                RowLayout {
                    spacing: 14

                    GardenButton {
                        primary: true
                        text: qsTr("Watered just now")
                        onClicked: page.garden.water(list.currentIndex, page.garden.today)
                    }
                    GardenButton {
                        text: qsTr("Remind me tomorrow")
                        onClicked: page.garden.postpone(list.currentIndex)
                    }
                    Item { Layout.fillWidth: true }
                }
            }
        }
    }
}
