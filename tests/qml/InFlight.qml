// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

Rectangle {
    id: root

    property alias request: request
    property alias animated: box.x
    property int ticks: 0
    property int moves: 0
    property int clicks: 0
    property int finishes: 0
    property string outcome

    width: 200
    height: 100

    HNIPCRequest {
        id: request

        method: "calibrateSupply"
        deadline: 60000
        onFinished: {
            ++root.finishes;
            root.outcome = outcome === HNIPCRequest.Answered ? "done" : "not done";
        }
    }

    Timer {
        interval: 16
        repeat: true
        running: true
        onTriggered: ++root.ticks
    }

    Rectangle {
        id: box

        width: 10
        height: 10
        onXChanged: ++root.moves

        NumberAnimation {
            target: box
            property: "x"
            running: true
            from: 0
            to: 190
            duration: 500
            loops: Animation.Infinite
        }
    }

    MouseArea {
        width: 100
        height: 100
        onClicked: request.send()
    }

    MouseArea {
        x: 100
        width: 100
        height: 100
        onClicked: ++root.clicks
    }
}
