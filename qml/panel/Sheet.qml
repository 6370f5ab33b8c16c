// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A page in front of everything but the headline. It has the keyboard focus while it is open.
Rectangle {
    id: root

    required property string title

    default property alias content: column.data
    property bool closesByTouch: true
    property Item firstFocus: root

    signal dismissed // its owner closes it

    color: Theme.page
    Accessible.role: Accessible.Pane
    Accessible.name: title

    Component.onCompleted: firstFocus.forceActiveFocus()
    Keys.onPressed: function (event) {
        const step = 40 * Theme.unit;
        if (event.key === Qt.Key_Down || event.key === Qt.Key_Up) {
            const end = Math.max(0, flickable.contentHeight - flickable.height);
            const next = flickable.contentY + (event.key === Qt.Key_Down ? step : -step);
            flickable.contentY = Math.max(0, Math.min(end, next));
        } else if (!event.isAutoRepeat && (event.key === Qt.Key_Escape || closesByTouch && (event.key === Qt.Key_Return || event.key === Qt.Key_Enter || event.key === Qt.Key_Space || event.key === Qt.Key_F1))) {
            dismissed();
        }
        event.accepted = true;
    }

    MouseArea {
        anchors.fill: parent
        onClicked: if (root.closesByTouch)
            root.dismissed()
    }
    Paragraph {
        id: heading

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: 2 * Theme.gap
        y: Theme.gap
        text: root.title
        font.pixelSize: Theme.large
        font.bold: true
    }
    Flickable {
        id: flickable

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: heading.bottom
        anchors.bottom: hint.top
        anchors.margins: Theme.gap
        anchors.leftMargin: 2 * Theme.gap
        anchors.rightMargin: 2 * Theme.gap
        contentHeight: column.height
        clip: true
        boundsBehavior: Flickable.StopAtBounds

        MouseArea {
            width: flickable.width
            height: Math.max(flickable.height, column.height)
            onClicked: if (root.closesByTouch)
                root.dismissed()
        }
        Column {
            id: column

            width: parent.width
            spacing: Theme.gap
        }
    }
    Rectangle {
        id: bar

        visible: flickable.contentHeight > flickable.height
        anchors.left: flickable.right
        anchors.leftMargin: 4 * Theme.unit
        width: 4 * Theme.unit
        radius: width / 2
        y: flickable.y + flickable.height * flickable.visibleArea.yPosition
        height: flickable.height * flickable.visibleArea.heightRatio
        color: Theme.edge
    }
    Paragraph {
        id: hint

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Theme.gap
        anchors.leftMargin: 2 * Theme.gap
        visible: root.closesByTouch
        text: qsTr("Touch anywhere, or press Esc, to go back.")
        color: Theme.faint
        font.pixelSize: Theme.small
    }
}
