// SPDX-License-Identifier: MIT
import QtQuick 2.15

// The whole text of a message.
Sheet {
    id: root

    required property string text

    objectName: "details"
    title: qsTr("In full")

    Paragraph {
        objectName: "text"
        width: parent.width
        text: root.text
    }
}
