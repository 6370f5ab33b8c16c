// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A text of the panel: one line that is as wide as it may be.
Text {
    color: Theme.text
    font.pixelSize: Theme.normal
    textFormat: Text.PlainText
    elide: Text.ElideRight
    horizontalAlignment: Text.AlignLeft
    verticalAlignment: Text.AlignVCenter
}
