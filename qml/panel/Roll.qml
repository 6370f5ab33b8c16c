// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A supply or a ribbon: its colours, its name, and what is left of it.
Rectangle {
    id: root

    required property string title
    required property bool known ///< whether something is in
    required property string sku ///< empty where nothing is
    required property string name
    required property var colors ///< texts of the form #rrggbb, or empty
    required property var percent

    readonly property bool present: sku !== ""
    readonly property bool measured: percent.known && percent.value >= 0 && percent.value <= 100
    readonly property bool low: measured && percent.value <= 10
    readonly property real colorWidth: 54 / colors.length

    width: 500
    height: 76
    radius: 6
    color: "#212832"

    Rectangle {
        x: 10
        y: 10
        width: 56
        height: 56
        radius: 2
        color: "#5c6875"

        Row {
            x: 1
            y: 1

            Repeater {
                model: root.present ? root.colors.map(text => [text, root.colorWidth]) : []

                Swatch {
                    required property var modelData

                    objectName: "color"
                    colorText: modelData[0]
                    width: modelData[1]
                }
            }
        }
    }

    Text {
        x: 78
        y: 8
        text: root.title
        color: "#a9b6c4"
        font.pixelSize: 13
    }
    Text {
        objectName: "name"
        x: 78
        y: 25
        width: 320
        height: 24
        text: root.present ? root.name : root.known ? "nothing is in" : "not known"
        textFormat: Text.PlainText
        color: root.present ? "#e8edf2" : "#a9b6c4"
        font.pixelSize: 19
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 11
        maximumLineCount: 1
        elide: Text.ElideRight
        verticalAlignment: Text.AlignVCenter
    }
    Text {
        objectName: "sku"
        x: 78
        y: 52
        width: 320
        text: root.sku
        textFormat: Text.PlainText
        color: "#a9b6c4"
        font.pixelSize: 14
        maximumLineCount: 1
        elide: Text.ElideRight
    }
    Text {
        objectName: "percent"
        anchors.right: parent.right
        anchors.rightMargin: 14
        y: 12
        visible: root.present
        text: root.measured ? Math.round(root.percent.value) + " %" : "? %"
        color: root.low ? "#f2bd4b" : "#e8edf2"
        font.pixelSize: 22
        font.bold: true
    }
    Rectangle {
        x: 410
        y: 54
        width: 76
        height: 8
        radius: 4
        color: "#39434f"
        visible: root.present && root.measured

        Rectangle {
            objectName: "bar"
            width: root.measured ? parent.width * root.percent.value / 100 : 0
            height: parent.height
            radius: 4
            color: root.low ? "#f2bd4b" : "#8fc7ea"
        }
    }
}
