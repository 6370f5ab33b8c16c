// SPDX-License-Identifier: MIT
import QtQuick 2.15

// Whether a daemon is there.
Rectangle {
    id: root

    required property string name
    required property bool known
    required property bool available

    width: text.implicitWidth + 20
    height: 28
    radius: 14
    color: !known ? "#212832" : available ? "#20402f" : "#5a2a26"

    Text {
        id: text

        objectName: "text"
        anchors.centerIn: parent
        text: root.name + (root.known ? root.available ? " ✓" : " ✗" : "")
        color: !root.known ? "#a9b6c4" : root.available ? "#a9d8bb" : "#ffb4a8"
        font.pixelSize: 14
    }
}
