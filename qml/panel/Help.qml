// SPDX-License-Identifier: MIT
import QtQuick 2.15

// What the commands do. It has the keys while it is shown.
Rectangle {
    id: root

    signal closed

    function toggle() {
        visible = !visible;
        if (visible)
            forceActiveFocus();
        else
            closed();
    }

    visible: false
    color: "#161b22"

    Keys.onPressed: function (event) {
        const asOpened = [Qt.Key_H, Qt.Key_F1, Qt.Key_Return, Qt.Key_Enter, Qt.Key_Space];
        const closes = event.key === Qt.Key_Escape || asOpened.includes(event.key);
        if (closes && !event.isAutoRepeat)
            toggle();
        event.accepted = true;
    }

    MouseArea {
        anchors.fill: parent
        onClicked: root.toggle()
    }
    Text {
        x: 60
        y: 24
        text: "Help"
        color: "#ffffff"
        font.pixelSize: 30
        font.bold: true
    }
    Column {
        x: 60
        y: 76
        spacing: 8

        HelpLine {
            title: "Print"
            text: "tries the stopped job again, once the cause is gone."
        }
        HelpLine {
            title: "Feed"
            text: "moves the supply by 50 mm."
        }
        HelpLine {
            title: "Cut"
            text: "runs the cutter once."
        }
        HelpLine {
            title: "Calibrate"
            text: "measures the supply that is in."
        }
        HelpLine {
            title: "Load"
            text: "reads the tags of new rolls."
        }
        HelpLine {
            title: "Cancel"
            text: "stops the job, which then waits for Print or Clear."
        }
        HelpLine {
            title: "Clear"
            text: "takes the job out of the queue."
        }
        HelpLine {
            title: "unknown"
            text: "The printer may have done it, or not: look before you ask again."
        }
        HelpLine {
            title: "Keys"
            text: "The letters on the buttons, or Tab and Enter."
        }
    }
    Text {
        x: 60
        y: 432
        text: "Touch anywhere, or press Esc, to go back."
        color: "#a9b6c4"
        font.pixelSize: 17
    }
}
