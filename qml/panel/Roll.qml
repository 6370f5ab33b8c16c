// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

// A supply or a ribbon: its colours, its name, and how much is left.
Rectangle {
    id: root

    required property string title
    required property bool known // whether sku is up to date
    required property string sku // empty if no roll is loaded
    required property string name
    required property HNIPCReading colors // a string of the form #rrggbb, or a list of them
    required property HNIPCReading percent

    readonly property bool present: sku !== ""
    readonly property bool measured: percent.known && percent.value >= 0 && percent.value <= 100
    readonly property bool low: measured && percent.value <= 10
    readonly property var checkedColors: present && colors.known ? Words.checkedColors(colors.value) : []
    readonly property real side: 44 * Theme.unit

    implicitWidth: 400 * Theme.unit
    implicitHeight: 58 * Theme.unit
    radius: Theme.radius
    color: Theme.card
    Accessible.role: Accessible.Grouping
    Accessible.name: title
    Accessible.description: Words.list([nameText.text, sku, percentText.visible ? percentText.text : ""])

    Rectangle {
        id: swatches

        anchors.left: parent.left
        anchors.leftMargin: 7 * Theme.unit
        anchors.verticalCenter: parent.verticalCenter
        width: root.side + 2
        height: root.side + 2
        color: Theme.card
        border.width: 1
        border.color: Theme.edge

        Row {
            x: 1
            y: 1

            Repeater {
                model: root.checkedColors

                Swatch {
                    required property string modelData

                    objectName: "color"
                    colorText: modelData
                    width: root.side / root.checkedColors.length // qmllint disable unqualified
                    height: root.side // qmllint disable unqualified
                }
            }
        }
    }
    Label {
        id: titleText

        anchors.left: swatches.right
        anchors.leftMargin: 12 * Theme.unit
        y: 6 * Theme.unit
        text: root.title
        color: Theme.faint
        font.pixelSize: Theme.small
    }
    Label {
        objectName: "sku"
        anchors.left: titleText.right
        anchors.leftMargin: 12 * Theme.unit
        anchors.right: percentText.left
        anchors.rightMargin: Theme.gap
        y: titleText.y
        text: root.sku
        color: Theme.faint
        font.pixelSize: Theme.small
        maximumLineCount: 1
    }
    Label {
        id: nameText

        objectName: "name"
        anchors.left: titleText.left
        anchors.right: percentText.left
        anchors.rightMargin: Theme.gap
        y: 26 * Theme.unit
        height: 26 * Theme.unit
        text: root.present ? root.name : root.known ? qsTr("no roll loaded") : qsTr("not known")
        color: root.present ? Theme.text : Theme.faint
        font.pixelSize: Theme.large
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Math.floor(Theme.small)
        maximumLineCount: 1
    }
    Label {
        id: percentText

        objectName: "percent"
        anchors.right: parent.right
        anchors.rightMargin: 12 * Theme.unit
        y: 8 * Theme.unit
        width: 92 * Theme.unit
        horizontalAlignment: Text.AlignRight
        visible: root.present
        text: (root.low ? "\u26a0 " : "") + (root.measured ? Words.percent(root.percent.value) : qsTr("? %", "a share that is not known"))
        color: root.low ? Theme.warning : Theme.text
        font.pixelSize: Theme.large
        font.bold: true
    }
    Rectangle {
        objectName: "track"
        anchors.right: parent.right
        anchors.rightMargin: 12 * Theme.unit
        y: 38 * Theme.unit
        width: 92 * Theme.unit
        height: 11 * Theme.unit
        radius: height / 2
        color: Theme.page
        border.width: 1
        border.color: Theme.edge
        visible: root.present && root.measured

        Rectangle {
            objectName: "bar"
            anchors.left: parent.left
            width: root.measured ? parent.width * root.percent.value / 100 : 0
            height: parent.height
            radius: parent.radius
            color: root.low ? Theme.warning : Theme.busy
        }
    }
}
