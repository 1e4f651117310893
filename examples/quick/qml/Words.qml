// The words for what the application keeps about a plant. A binding that calls one of these functions follows the
// language, because the functions call qsTr() for it.
pragma Singleton
import QtQuick

QtObject {
    readonly property int kinds: 8
    readonly property int places: 6
    readonly property int lights: 3

    function name(kind) {
        switch (kind) {
        case 0: return qsTr("Monstera")
        case 1: return qsTr("Peace lily")
        case 2: return qsTr("Snake plant")
        case 3: return qsTr("Basil")
        case 4: return qsTr("Aloe vera")
        case 5: return qsTr("Lavender")
        case 6: return qsTr("Boston fern")
        default: return qsTr("Cactus")
        }
    }

    function care(kind) {
        switch (kind) {
        case 0: return qsTr("Let the top of the soil dry before you water again. Wipe the leaves now and then: dust takes their light away.")
        case 1: return qsTr("Drooping leaves are its way of asking for water. It recovers within hours of a good drink.")
        case 2: return qsTr("Forget it for a while and it will thank you. Too much water is the only thing it cannot bear.")
        case 3: return qsTr("Pick whole tips, never single leaves, and it will grow bushy. Water from below in the morning.")
        case 4: return qsTr("Give it the sunniest spot you have and soil that drains quickly. In winter it rests.")
        case 5: return qsTr("Cut it back after flowering, but leave some green. It prefers poor soil and a fresh breeze.")
        case 6: return qsTr("Keep the soil moist and the air too: a bathroom with a window suits it best.")
        default: return qsTr("Hardly any water from autumn to spring. A cool winter brings flowers in May.")
        }
    }

    function place(place) {
        switch (place) {
        case 0: return qsTr("Living room")
        case 1: return qsTr("Kitchen")
        case 2: return qsTr("Bedroom")
        case 3: return qsTr("Study")
        case 4: return qsTr("Bathroom")
        default: return qsTr("Balcony")
        }
    }

    function light(light) {
        switch (light) {
        case 0: return qsTr("Full sun")
        case 1: return qsTr("Bright shade")
        default: return qsTr("Shade")
        }
    }

    // "200 ml", in the digits of the user.
    function amount(millilitres) {
        return qsTr("%1 ml").arg(Number(millilitres).toLocaleString(Qt.locale(), "f", 0))
    }

    // "in 3 days", "today", "2 days late".
    function due(days) {
        if (days < 0)
            return qsTr("%Ln day(s) late", "", -days)
        if (days === 0)
            return qsTr("today")
        return qsTr("in %Ln day(s)", "", days)
    }

    function all(count, word) {
        const words = []
        for (let i = 0; i < count; ++i)
            words.push(word(i))
        return words
    }
}
