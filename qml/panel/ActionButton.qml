// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A command: its name, what it is about, the keys that give it, and below what became of it.
Item {
    id: root

    required property string label
    required property string about
    required property string keys
    required property string outcome
    required property bool good
    required property bool atWork

    signal activated

    function press(event) {
        if (!event.isAutoRepeat)
            root.activated();
    }

    width: 89
    height: 112
    activeFocusOnTab: true

    Keys.onReturnPressed: event => press(event)
    Keys.onEnterPressed: event => press(event)
    Keys.onSpacePressed: event => press(event)
    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.description: outcome
    Accessible.onPressAction: root.activated()

    Rectangle {
        objectName: "face"
        width: parent.width
        height: 62
        radius: 8
        color: area.pressed ? "#3d566e" : root.atWork ? "#26384a" : "#2c3a4a"
        border.width: root.activeFocus ? 3 : 0
        border.color: "#8fc7ea"

        Text {
            objectName: "keys"
            x: 7
            y: 3
            text: root.keys.split("").join(" ")
            color: "#b7c3cf"
            font.pixelSize: 11
        }
        Text {
            objectName: "label"
            x: 4
            y: 18
            width: parent.width - 8
            height: 24
            text: root.label
            color: "#ffffff"
            font.pixelSize: 18
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 14
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
        }
        Text {
            objectName: "about"
            x: 4
            y: 41
            width: parent.width - 8
            text: root.about
            color: "#b7c3cf"
            font.pixelSize: 12
            horizontalAlignment: Text.AlignHCenter
        }
        // Moves for as long as the printer is at work.
        Rectangle {
            id: runner

            objectName: "runner"
            visible: root.atWork
            x: 4
            y: parent.height - 6
            width: 24
            height: 4
            radius: 2
            color: "#8fc7ea"
        }
        SequentialAnimation {
            running: root.atWork
            loops: Animation.Infinite

            NumberAnimation {
                target: runner
                property: "x"
                to: 61
                duration: 700
                easing.type: Easing.InOutQuad
            }
            NumberAnimation {
                target: runner
                property: "x"
                to: 4
                duration: 700
                easing.type: Easing.InOutQuad
            }
        }
        MouseArea {
            id: area

            anchors.fill: parent
            onClicked: root.activated()
        }
    }

    Text {
        objectName: "outcome"
        y: 64
        width: parent.width
        height: 48
        // A long reason needs the rest of the first line.
        text: root.outcome.length > 32 ? root.outcome : root.outcome.replace(": ", ":\n")
        textFormat: Text.PlainText
        color: root.good ? "#a9d8bb" : "#ffb4a8"
        font.pixelSize: 14
        minimumPixelSize: 11
        fontSizeMode: Text.Fit
        wrapMode: Text.Wrap
        elide: Text.ElideRight
        lineHeight: 0.9
        horizontalAlignment: Text.AlignHCenter
    }
}
