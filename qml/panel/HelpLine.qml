// SPDX-License-Identifier: MIT
import QtQuick 2.15

Row {
    id: root

    required property string title
    required property string text

    spacing: 12

    Text {
        width: 100
        text: root.title
        color: "#ffffff"
        font.pixelSize: 17
        font.bold: true
    }
    Text {
        width: 568
        text: root.text
        color: "#e8edf2"
        font.pixelSize: 17
        wrapMode: Text.Wrap
    }
}
