// SPDX-License-Identifier: MIT
import QtQuick 2.15

// Asks for confirmation before a job is dropped. The button that keeps the job is the first.
Sheet {
    id: root

    signal confirmed

    objectName: "question"
    title: qsTr("Drop the job?")
    closesByTouch: false
    firstFocus: keep

    Paragraph {
        width: parent.width
        text: qsTr("The job is taken out of the queue, and its labels that are not printed are lost.")
    }
    Row {
        width: parent.width
        spacing: 4 * Theme.gap

        ActionButton {
            id: keep

            objectName: "keep"
            width: 200 * Theme.unit
            label: qsTr("Keep the job")
            onActivated: root.dismissed()
            KeyNavigation.right: drop
            KeyNavigation.tab: drop
        }
        ActionButton {
            id: drop

            objectName: "drop"
            width: 200 * Theme.unit
            label: qsTr("Drop the job")
            dangerous: true
            onActivated: {
                root.confirmed();
                root.dismissed();
            }
            KeyNavigation.left: keep
            KeyNavigation.tab: keep
        }
    }
}
