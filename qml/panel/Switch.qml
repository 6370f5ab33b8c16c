// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A switch of the printer in words, the first for false.
Rectangle {
    id: root

    required property string name
    required property var reading
    required property var words

    property bool alarming: true ///< when it is true

    readonly property bool isAlarm: alarming && reading.known && reading.value

    width: 119
    height: 40
    radius: 6
    color: isAlarm ? "#5a2a26" : "#212832"

    Text {
        x: 8
        y: 3
        text: root.name
        color: root.isAlarm ? "#ffd9d3" : "#a9b6c4"
        font.pixelSize: 12
    }
    Text {
        objectName: "text"
        x: 8
        y: 18
        text: root.reading.known ? root.words[root.reading.value ? 1 : 0] : "not known"
        color: root.isAlarm ? "#ffd9d3" : root.reading.known ? "#e8edf2" : "#a9b6c4"
        font.pixelSize: 15
        font.bold: root.isAlarm
    }
}
