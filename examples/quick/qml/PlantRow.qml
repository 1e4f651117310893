// One plant in the list: picture, name, place, and when it wants water.
import QtQuick
import WindowGarden

Item {
    id: row
    required property int index
    required property int kind
    required property int place
    required property int light
    required property int rhythm
    required property int millilitres
    required property int due
    required property var needs
    required property date lastWatered
    property bool chosen: false
    signal clicked()

    Rectangle {
        anchors.fill: parent
        anchors.margins: 2
        radius: 10
        color: Look.mist
        visible: row.chosen
    }
    PaintedPlant {
        id: picture
        anchors.left: parent.left
        anchors.leftMargin: 9
        anchors.verticalCenter: parent.verticalCenter
        width: 52
        height: 52
        kind: row.kind
    }
    Text {
        id: name
        anchors.left: picture.right
        anchors.right: parent.right
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        anchors.top: picture.top
        anchors.topMargin: 3
        text: Words.name(row.kind)
        color: Look.ink
        font.pointSize: Look.base
        font.weight: Font.Bold
        horizontalAlignment: Text.AlignLeft
        elide: Text.ElideRight
    }
    Text {
        anchors.left: name.left
        anchors.right: due.left
        anchors.rightMargin: 10
        anchors.bottom: picture.bottom
        anchors.bottomMargin: 3
        text: Words.place(row.place)
        color: Look.hint
        font.pointSize: Look.base
        horizontalAlignment: Text.AlignLeft
        elide: Text.ElideRight
    }
    Text {
        id: due
        anchors.right: parent.right
        anchors.rightMargin: 12
        anchors.bottom: picture.bottom
        anchors.bottomMargin: 3
        text: Words.due(row.due)
        color: row.due < 0 ? Look.late : row.due === 0 ? Look.due : Look.hint
        font.pointSize: Look.base
    }
    TapHandler { onTapped: row.clicked() }
}
