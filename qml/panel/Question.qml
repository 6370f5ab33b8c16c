// SPDX-License-Identifier: MIT
import QtQuick 2.15

// Asks before a job is lost. The answer that loses nothing comes first.
Sheet {
    id: root

    required property string text
    required property string yes

    signal confirmed

    closesByTouch: false
    firstFocus: keep

    Label {
        width: parent.width
        text: root.text
        wrapMode: Text.Wrap
    }
    Row {
        width: parent.width
        spacing: 4 * Theme.gap

        ActionButton {
            id: keep

            objectName: "keep"
            width: 200 * Theme.unit
            label: qsTr("Keep the job")
            onActivated: root.close()
            KeyNavigation.right: drop
            KeyNavigation.tab: drop
        }
        ActionButton {
            id: drop

            objectName: "drop"
            width: 200 * Theme.unit
            label: root.yes
            dangerous: true
            onActivated: {
                root.close();
                root.confirmed();
            }
            KeyNavigation.left: keep
            KeyNavigation.tab: keep
        }
    }
}
