// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A colour, or a question mark if the daemon's string is not a colour.
Rectangle {
    id: root

    required property string colorText

    color: colorText !== "" ? colorText : Theme.noColor

    Text {
        anchors.centerIn: parent
        visible: root.colorText === ""
        text: "?"
        color: Theme.text
        font.pixelSize: Theme.normal
    }
}
