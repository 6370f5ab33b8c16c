// SPDX-License-Identifier: MIT
import QtQuick 2.15

// When something happened, and what.
Row {
    id: root

    required property string time
    required property string text

    spacing: 8

    Text {
        text: root.time
        color: "#a9b6c4"
        font.pixelSize: 14
    }
    Text {
        objectName: "text"
        width: 172
        text: root.text.replace(/-/g, "\u2011") // a SKU stays in one piece
        textFormat: Text.PlainText
        color: "#e8edf2"
        font.pixelSize: 14
        wrapMode: Text.Wrap
        maximumLineCount: 4
        elide: Text.ElideRight
    }
}
