// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A button: its name and its key, and below them its purpose or the outcome of its command.
Rectangle {
    id: root

    required property string label
    property string about: ""
    property string keyName: ""
    property string outcome: ""
    property bool good: true
    property bool atWork: false
    property bool primary: false // the button that the user needs next
    property bool dangerous: false // the command deletes something
    property bool possible: true // if false, it is dimmed; a touch shows the reason

    readonly property bool isPressed: area.pressed
    readonly property color ink: isPressed ? Theme.textPressed : !possible ? Theme.faint : dangerous ? Theme.fault : Theme.text

    signal activated

    function press(event) {
        if (!event.isAutoRepeat)
            root.activated();
    }

    implicitWidth: 140 * Theme.unit
    implicitHeight: 66 * Theme.unit
    radius: Theme.radius
    color: isPressed ? Theme.facePressed : !possible ? Theme.page : dangerous ? Theme.page : primary ? Theme.primary : Theme.face
    border.width: activeFocus ? 4 * Theme.unit : atWork ? 3 * Theme.unit : dangerous ? 2 * Theme.unit : Theme.unit
    border.color: activeFocus ? Theme.focus : atWork ? Theme.busy : dangerous && possible ? Theme.fault : Theme.edge
    activeFocusOnTab: true

    Keys.onReturnPressed: event => press(event)
    Keys.onEnterPressed: event => press(event)
    Keys.onSpacePressed: event => press(event)
    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.description: outcome !== "" ? outcome : about
    Accessible.onPressAction: root.activated()

    Label {
        id: name

        objectName: "label"
        anchors.left: parent.left
        anchors.leftMargin: Theme.gap
        anchors.right: hint.left
        y: 5 * Theme.unit
        height: 25 * Theme.unit
        text: root.label
        color: root.ink
        font.pixelSize: Theme.large
        font.bold: root.primary
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: Math.floor(Theme.small)
    }
    Label {
        id: hint

        objectName: "keys"
        anchors.right: parent.right
        anchors.rightMargin: Theme.gap
        y: name.y
        height: name.height
        text: root.keyName
        color: root.isPressed ? Theme.textPressed : root.primary ? Theme.text : Theme.faint
        font.pixelSize: Theme.small
    }
    Label {
        objectName: "about"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.leftMargin: Theme.gap
        anchors.rightMargin: Theme.gap
        y: 29 * Theme.unit
        visible: result.text === ""
        text: root.about
        color: root.isPressed ? Theme.textPressed : root.primary && root.possible ? Theme.text : Theme.faint
        font.pixelSize: Theme.small
    }
    Label {
        id: result

        objectName: "outcome"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.leftMargin: Theme.gap
        anchors.rightMargin: Theme.gap
        y: 29 * Theme.unit
        height: root.height - y - 3 * Theme.unit
        text: root.atWork ? qsTr("at work") : root.outcome === "" ? "" : (root.good ? "\u2713 " : "\u2715 ") + root.outcome
        color: root.isPressed ? Theme.textPressed : root.atWork || root.primary && root.possible ? Theme.text : root.good ? Theme.good : Theme.fault
        font.pixelSize: Theme.small
        wrapMode: Text.Wrap
        verticalAlignment: Text.AlignTop
        lineHeight: 0.9
    }
    // Moves while the command is pending.
    Loader {
        x: Theme.gap
        y: parent.height - 9 * Theme.unit
        active: root.atWork

        sourceComponent: Rectangle {
            objectName: "runner"
            width: 28 * Theme.unit
            height: 5 * Theme.unit
            radius: height / 2
            color: Theme.text

            SequentialAnimation on x  {
                loops: Animation.Infinite

                NumberAnimation {
                    from: 0
                    to: root.width - 28 * Theme.unit - 2 * Theme.gap // qmllint disable unqualified
                    duration: 700
                    easing.type: Easing.InOutQuad
                }
                NumberAnimation {
                    to: 0
                    duration: 700
                    easing.type: Easing.InOutQuad
                }
            }
        }
    }
    MouseArea {
        id: area

        anchors.fill: parent
        onClicked: root.activated()
    }
}
