// SPDX-License-Identifier: MIT
import QtQuick 2.15

// An event: its time and its text.
Item {
    id: root

    required property string time
    required property string text
    required property string detail
    required property int index

    readonly property bool isCurrent: ListView.isCurrentItem && ListView.view.activeFocus

    signal activated

    width: ListView.view ? ListView.view.width : 0
    implicitHeight: Math.max(clock.implicitHeight, words.implicitHeight) + Theme.gap
    Accessible.role: Accessible.ListItem
    Accessible.name: time + " " + text
    Accessible.onPressAction: activated()

    Rectangle {
        anchors.fill: parent
        visible: root.isCurrent
        color: Theme.card
        border.width: 2 * Theme.unit
        border.color: Theme.focus
        radius: Theme.radius
    }
    Label {
        id: clock

        anchors.left: parent.left
        anchors.leftMargin: 4 * Theme.unit
        y: Theme.gap / 2
        text: root.time
        color: Theme.faint
        font.pixelSize: Theme.small
    }
    Label {
        id: words

        objectName: "text"
        anchors.left: clock.right
        anchors.leftMargin: Theme.gap
        anchors.right: parent.right
        y: Theme.gap / 2
        text: root.text.replace(/-/g, "\u2011") // a SKU stays in one piece
        font.pixelSize: Theme.small
        wrapMode: Text.Wrap
        maximumLineCount: 4
    }
    MouseArea {
        anchors.fill: parent
        onClicked: root.activated()
    }
}
