// SPDX-License-Identifier: MIT
import QtQuick 2.15

// All that was said.
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
