// SPDX-License-Identifier: MIT
import QtQuick 2.15

Item {
    id: root

    required property string title
    required property string text

    implicitHeight: Math.max(heading.height, content.height)

    Paragraph {
        id: heading

        anchors.left: parent.left
        width: 130 * Theme.unit
        text: root.title
        font.bold: true
    }
    Paragraph {
        id: content

        anchors.left: heading.right
        anchors.leftMargin: 12 * Theme.unit
        anchors.right: parent.right
        text: root.text
    }
}
