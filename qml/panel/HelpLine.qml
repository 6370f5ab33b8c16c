// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Layouts 1.15

RowLayout {
    id: root

    required property string title
    required property string text

    spacing: 12 * Theme.unit

    Label {
        Layout.preferredWidth: 130 * Theme.unit
        Layout.alignment: Qt.AlignTop
        text: root.title
        font.bold: true
        wrapMode: Text.Wrap
    }
    Label {
        Layout.fillWidth: true
        text: root.text
        wrapMode: Text.Wrap
    }
}
