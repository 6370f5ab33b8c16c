// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

// A boolean of the printer in words; the first word is for false.
Rectangle {
    id: root

    required property string name
    required property string method
    required property string signalName
    required property var words

    property bool alarming: true // whether the value true is shown as an alarm

    readonly property alias reading: reading
    readonly property bool isAlarm: alarming && reading.known && reading.value === true

    implicitWidth: Math.max(108 * Theme.unit, nameText.implicitWidth + 2 * Theme.gap)
    implicitHeight: 46 * Theme.unit
    radius: Theme.radius
    color: isAlarm ? Theme.faultCard : Theme.card
    border.width: isAlarm ? 2 * Theme.unit : 0
    border.color: Theme.fault
    Accessible.role: Accessible.Indicator
    Accessible.name: name
    Accessible.description: text.text

    HNIPCReading {
        id: reading

        method: root.method
        signals: [root.signalName]
        valueArgument: 0
        deadline: Theme.patience
    }
    Label {
        id: nameText

        objectName: "name"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.gap
        y: 4 * Theme.unit
        text: root.name
        color: root.isAlarm ? Theme.textOnFault : Theme.faint
        font.pixelSize: Theme.small
    }
    Label {
        id: text

        objectName: "text"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.margins: Theme.gap
        y: 22 * Theme.unit
        text: (root.isAlarm ? "\u26a0 " : "") + (reading.known ? root.words[reading.value ? 1 : 0] : qsTr("not known"))
        color: root.isAlarm ? Theme.textOnFault : reading.known ? Theme.text : Theme.faint
        font.bold: root.isAlarm
    }
}
