// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A text in one line, which is cut at its width.
Text {
    color: Theme.text
    font.pixelSize: Theme.normal
    textFormat: Text.PlainText
    elide: Text.ElideRight
    horizontalAlignment: Text.AlignLeft
    verticalAlignment: Text.AlignVCenter
}
