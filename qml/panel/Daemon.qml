// SPDX-License-Identifier: MIT
import QtQuick 2.15

// Shows whether a daemon is running and replies.
Rectangle {
    id: root

    required property string name
    required property bool known
    required property bool available
    property bool silent: false

    readonly property string mark: !known ? "" : !available ? "fault" : silent ? "warning" : "good"
    readonly property string words: !known ? qsTr("not known") : !available ? qsTr("not running") : silent ? qsTr("no reply") : qsTr("running")

    implicitWidth: text.implicitWidth + 18 * Theme.unit
    implicitHeight: 28 * Theme.unit
    radius: height / 2
    color: Theme.card
    border.width: Theme.unit
    border.color: Theme.colorOf(mark)
    Accessible.role: Accessible.Indicator
    Accessible.name: name
    Accessible.description: words

    Text {
        id: text

        objectName: "text"
        anchors.centerIn: parent
        text: root.name + (root.mark === "" ? "" : root.mark === "good" ? " \u2713" : root.mark === "warning" ? " ?" : " \u2717")
        color: Theme.colorOf(root.mark)
        font.pixelSize: Theme.small
    }
}
