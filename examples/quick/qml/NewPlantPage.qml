// A form for a new plant, and how it will look.
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import WindowGarden

Item {
    id: page
    required property var garden
    property int light: 0
    readonly property int millilitres: amount.value * 50
    signal plantAdded(string name)

    function startOver() {
        kind.currentIndex = 7
        place.currentIndex = 5
        rhythm.value = 21
        amount.value = 2
        light = 0
        lessInWinter.checked = true
        feed.checked = false
    }
    Component.onCompleted: startOver()

    RowLayout {
        anchors.fill: parent
        anchors.margins: 20
        anchors.topMargin: 16
        anchors.bottomMargin: 18
        spacing: 16

        ColumnLayout {
            Layout.preferredWidth: 3
            Layout.fillWidth: true
            Layout.alignment: Qt.AlignTop
            spacing: 13

            Group {
                title: qsTr("About the plant")

                GridLayout {
                    columns: 2
                    columnSpacing: 16
                    rowSpacing: 8

                    Note { text: qsTr("Kind") }
                    Chooser {
                        id: kind
                        Layout.fillWidth: true
                        model: Words.kinds
                        displayText: Words.name(currentIndex)
                        delegate: ItemDelegate {
                            required property int index
                            width: kind.width
                            text: Words.name(index)
                        }
                    }
                    Note { text: qsTr("Place") }
                    Chooser {
                        id: place
                        Layout.fillWidth: true
                        model: Words.places
                        displayText: Words.place(currentIndex)
                        delegate: ItemDelegate {
                            required property int index
                            width: place.width
                            text: Words.place(index)
                        }
                    }
                }
            }
            Group {
                title: qsTr("Watering")

                Note {
                    Layout.fillWidth: true
                    text: qsTr("Every %Ln day(s)", "", rhythm.value)
                }
                Glider {
                    id: rhythm
                    Layout.fillWidth: true
                    from: 1
                    to: 30
                }
                Note {
                    Layout.fillWidth: true
                    text: qsTr("%1 each time").arg(Words.amount(page.millilitres))
                }
                Glider {
                    id: amount
                    Layout.fillWidth: true
                    from: 1
                    to: 12
                }
            }
            Group {
                title: qsTr("Light")

                RowLayout {
                    spacing: 20
                    Repeater {
                        model: Words.lights
                        Choice {
                            required property int index
                            text: Words.light(index)
                            checked: page.light === index
                            onClicked: page.light = index
                        }
                    }
                    Item { Layout.fillWidth: true }
                }
            }
            Group {
                title: qsTr("Care")

                RowLayout {
                    spacing: 20
                    Tick {
                        id: lessInWinter
                        text: qsTr("Water less in winter")
                    }
                    Tick {
                        id: feed
                        text: qsTr("Feed once a month")
                    }
                    Item { Layout.fillWidth: true }
                }
            }
        }

        Card {
            Layout.preferredWidth: 2
            Layout.fillWidth: true
            Layout.fillHeight: true

            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 24
                anchors.bottomMargin: 20
                spacing: 12

                Item { Layout.fillHeight: true }
                PaintedPlant {
                    Layout.alignment: Qt.AlignHCenter
                    implicitWidth: 160
                    implicitHeight: 160
                    kind: kind.currentIndex
                }
                Title {
                    Layout.fillWidth: true
                    text: Words.name(kind.currentIndex)
                    font.pointSize: 18
                    horizontalAlignment: Text.AlignHCenter
                }
                Note {
                    Layout.fillWidth: true
                    text: qsTr("Place: %1. Your plant will get %2 every %Ln day(s).", "", rhythm.value)
                        .arg(Words.place(place.currentIndex)).arg(Words.amount(page.millilitres))
                    horizontalAlignment: Text.AlignHCenter
                }
                Item { Layout.fillHeight: true }
                GardenButton {
                    Layout.fillWidth: true
                    primary: true
                    text: qsTr("Add to my plants")
                    onClicked: {
                        page.garden.addPlant(kind.currentIndex, place.currentIndex, page.light, rhythm.value, page.millilitres)
                        page.plantAdded(Words.name(kind.currentIndex))
                    }
                }
                GardenButton {
                    Layout.fillWidth: true
                    text: qsTr("Start over")
                    onClicked: page.startOver()
                }
            }
        }
    }
}
