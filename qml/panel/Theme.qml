// SPDX-License-Identifier: MIT
pragma Singleton
import QtQuick 2.15

// Colours, sizes and times.
QtObject {
    id: root

    // 1 on a screen of 800 x 480. Larger screens show more, and show it a little larger.
    property real unit: 1

    // Milliseconds, see Panel.
    property int patience
    property int outcomeTime
    property int movingTime
    property int jobTime
    property int overdueTime

    readonly property real gap: 8 * unit
    readonly property real touch: 48 * unit
    readonly property real radius: 6 * unit

    readonly property real small: 14 * unit
    readonly property real normal: 16 * unit
    readonly property real large: 19 * unit
    readonly property real huge: 27 * unit

    readonly property color page: "#10151b"
    readonly property color card: "#1b222b"
    readonly property color edge: "#6c7987" // of buttons and tracks
    readonly property color text: "#e8edf2"
    readonly property color faint: "#a9b6c4"
    readonly property color face: "#2a3744"
    readonly property color facePressed: "#d5dee7"
    readonly property color textPressed: "#10151b"
    readonly property color primary: "#1c6aa8"
    readonly property color focus: "#ffffff"
    readonly property color noColor: "#39434f"

    // StateIcon has a shape for each.
    readonly property color good: "#7fd3a0"
    readonly property color busy: "#8fc7ea"
    readonly property color warning: "#f2bd4b"
    readonly property color fault: "#ff8f80"
    readonly property color unknown: "#c3cdd7"
    readonly property color faultCard: "#5a2a26"
    readonly property color textOnFault: "#ffd9d3"

    function colorOf(state: string): color {
        switch (state) {
        case "good":
            return good;
        case "busy":
            return busy;
        case "warning":
            return warning;
        case "fault":
            return fault;
        default:
            return unknown;
        }
    }
}
