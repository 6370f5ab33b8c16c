// SPDX-License-Identifier: MIT
import QtQuick 2.15

// Whether a daemon has not replied for too long.
Timer {
    id: root

    required property bool waiting

    property bool hasRun: false
    readonly property bool isOver: waiting && hasRun

    interval: Theme.overdueTime
    running: waiting
    onWaitingChanged: if (waiting)
        hasRun = false
    onTriggered: hasRun = true
}
