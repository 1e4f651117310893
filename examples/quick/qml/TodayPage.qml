// A greeting, three figures and what there is to do today.
import QtQuick
import QtQuick.Layouts
import WindowGarden

Item {
    id: page
    required property var garden

    // How long the user has kept at it; an application that stores its data would count.
    readonly property int daysInARow: 12
    // Those that were due when the day began stay on the list when they are done.
    property int waterings: 0
    Component.onCompleted: waterings = garden.plantsToWater
    readonly property int tasks: waterings + 2
    readonly property int done: waterings - garden.plantsToWater + Number(turnPots.checked) + Number(checkLeaves.checked)

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 20
        anchors.topMargin: 18
        anchors.bottomMargin: 18
        spacing: 16

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 142
            radius: 16
            gradient: Gradient {
                orientation: Gradient.Horizontal
                GradientStop { position: 0; color: "#2c6a4b" }
                GradientStop { position: 0.6; color: "#3d8560" }
                GradientStop { position: 1; color: "#7fb28a" }
            }

            ColumnLayout {
                anchors.left: parent.left
                anchors.right: windows.left
                anchors.leftMargin: 26
                anchors.rightMargin: 20
                anchors.verticalCenter: parent.verticalCenter
                spacing: 7

                Text {
                    text: page.garden.today.toLocaleDateString(Qt.locale(), Locale.LongFormat)
                    color: "#cfe6d6"
                    font.pointSize: 9.5
                }
                Text {
                    Layout.fillWidth: true
                    text: qsTr("Good to see you, gardener!")
                    color: "white"
                    font.pointSize: 19
                    font.weight: Font.Bold
                    horizontalAlignment: Text.AlignLeft
                    wrapMode: Text.Wrap
                }
                Text {
                    Layout.fillWidth: true
                    text: qsTr("A few minutes a day keep every leaf happy.")
                    color: "#e7f3ea"
                    font.pointSize: 11
                    horizontalAlignment: Text.AlignLeft
                    wrapMode: Text.Wrap
                }
            }
            Row {
                id: windows
                anchors.right: parent.right
                anchors.rightMargin: 22
                anchors.verticalCenter: parent.verticalCenter
                spacing: 18

                Repeater {
                    model: [0, 7, 5]
                    PaintedPlant {
                        required property int modelData
                        width: 98
                        height: 114
                        frame: PaintedPlant.Window
                        kind: modelData
                    }
                }
            }
        }

        RowLayout {
            spacing: 14

            Figure {
                frame: PaintedPlant.Drop
                text: qsTr("%Ln plant(s) need water today", "", page.garden.plantsToWater)
            }
            Figure {
                frame: PaintedPlant.Leaf
                text: qsTr("%Ln plant(s) in your care", "", page.garden.count)
            }
            Figure {
                frame: PaintedPlant.Calendar
                text: qsTr("%Ln day(s) in a row without a thirsty plant", "", page.daysInARow)
            }
        }

        Card {
            Layout.fillWidth: true
            Layout.fillHeight: true

            ColumnLayout {
                anchors.fill: parent
                anchors.margins: 16
                anchors.leftMargin: 22
                anchors.rightMargin: 22
                spacing: 16

                ColumnLayout {
                    spacing: 8

                    RowLayout {
                        Title {
                            Layout.fillWidth: true
                            text: qsTr("To do today")
                        }
                        Text {
                            text: qsTr("%L1 of %L2 done").arg(page.done).arg(page.tasks)
                            color: Look.hint
                            font.pointSize: 9.5
                        }
                    }
                    Bar {
                        Layout.fillWidth: true
                        value: page.done / page.tasks
                    }
                }

                Repeater {
                    model: page.garden
                    RowLayout {
                        id: watering
                        required property int index
                        required property int kind
                        required property int place
                        required property int millilitres
                        required property int due
                        required property date lastWatered
                        property date before
                        property bool today: false

                        Component.onCompleted: {
                            before = lastWatered
                            today = due <= 0
                        }
                        visible: today

                        Tick {
                            Layout.fillWidth: true
                            fades: true
                            text: qsTr("Water: %1").arg(Words.name(watering.kind))
                            checked: watering.due > 0
                            onClicked: {
                                page.garden.water(watering.index, checked ? page.garden.today : watering.before)
                                checked = Qt.binding(() => watering.due > 0)
                            }
                        }
                        Text {
                            text: qsTr("%1, %2").arg(Words.place(watering.place)).arg(Words.amount(watering.millilitres))
                            color: Look.hint
                            font.pointSize: 9.5
                        }
                    }
                }
                Tick {
                    id: turnPots
                    Layout.fillWidth: true
                    fades: true
                    checked: true
                    text: qsTr("Turn the pots a little towards the light")
                }
                Tick {
                    id: checkLeaves
                    Layout.fillWidth: true
                    fades: true
                    text: qsTr("Look for spider mites under the leaves")
                }
                Item { Layout.fillHeight: true }
            }
        }
    }
}
