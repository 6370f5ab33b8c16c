// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A colour; where a daemon's text named none, a question mark.
Rectangle {
    id: root

    required property string colorText

    height: 54
    color: colorText !== "" ? colorText : "#39434f"

    Text {
        anchors.centerIn: parent
        visible: root.colorText === ""
        text: "?"
        color: "#ffffff"
        font.pixelSize: 18
    }
}
