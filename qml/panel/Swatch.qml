// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A colour; where a daemon's text named none, a question mark.
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
