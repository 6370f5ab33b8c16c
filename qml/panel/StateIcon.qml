// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A state as a shape and a sign, for users who cannot distinguish the colours.
Item {
    id: root

    required property string state // a state of Theme.colorOf()

    readonly property var signs: ({
            "good": "\u2713",
            "busy": "\u25b6",
            "warning": "!",
            "fault": "\u2715"
        })

    implicitWidth: Theme.huge * 1.4
    implicitHeight: implicitWidth

    Rectangle {
        objectName: "shape"
        anchors.centerIn: parent
        width: parent.width * (root.state === "warning" ? 0.72 : 0.9)
        height: width
        rotation: root.state === "warning" ? 45 : 0
        radius: root.state === "fault" || root.state === "warning" ? 2 * Theme.unit : width / 2
        color: root.state in root.signs ? Theme.colorOf(root.state) : Theme.page
        border.width: 3 * Theme.unit
        border.color: Theme.colorOf(root.state)
    }
    Text {
        objectName: "sign"
        anchors.centerIn: parent
        text: root.signs[root.state] || "?"
        color: root.state in root.signs ? Theme.page : Theme.colorOf(root.state)
        font.pixelSize: Theme.large
        font.bold: true
    }
}
