// SPDX-License-Identifier: MIT
import QtQuick 2.15

// The help: a line for each command.
Sheet {
    id: root

    required property var commands

    objectName: "help"
    title: qsTr("Help")

    Repeater {
        model: root.commands

        HelpLine {
            required property var modelData

            width: parent ? parent.width : 0
            title: modelData.label
            text: modelData.help
        }
    }
    HelpLine {
        width: parent.width
        title: qsTr("unknown")
        text: qsTr("The printer may have done it, or not: look before you ask again.")
    }
    HelpLine {
        width: parent.width
        title: qsTr("Keys")
        text: qsTr("F1 to F8 as on the buttons, or the arrow keys and Enter. Letters do nothing.")
    }
}
