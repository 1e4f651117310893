// Colours and sizes of Window Garden.
pragma Singleton
import QtQuick

QtObject {
    readonly property color ground: "#f5f4ee"
    readonly property color ink: "#24332b"
    readonly property color text: "#45534b"
    readonly property color hint: "#6c7a72"
    readonly property color green: "#2f6f4f"
    readonly property color fill: "#58a06f"
    readonly property color mist: "#e1efe3"
    readonly property color line: "#e4e1d5"
    readonly property color edge: "#cfccbf"
    readonly property color groove: "#ecebe1"
    readonly property color late: "#b4482a"
    readonly property color due: "#2a6f9e"
    readonly property real base: Qt.application.font.pointSize
}
