// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

// The state of the print engine: not running, without reply, stopped and why, printing, or ready.
QtObject {
    id: root

    required property HNIPCAvailability daemons
    required property HNIPCEvents events

    readonly property bool isThere: daemons.known && daemons.m4
    readonly property int error: errorReading.known ? errorReading.value : 0
    readonly property int alert: alertReading.known ? alertReading.value : 0
    readonly property bool isBusLost: errorReading.reason === HNIPCRequest.BusLost
    readonly property bool isSilent: silence.isOver && errorReading.reason !== HNIPCRequest.DaemonError

    // True after this front panel has started a job, or while labels are printed.
    readonly property bool isPrinting: labelTimer.running
    property bool jobRuns: false
    property bool jobWaits: false // stopped by this front panel, or by an error
    property int jobEnds: 0 // the number of jobs that have ended
    property int labels: 0 // the number of labels since the job began

    readonly property bool isAlertSaid: state === "warning" && !jobWaits

    // A state of Theme.colorOf()
    readonly property string state: {
        if (!daemons.known)
            return isBusLost ? "fault" : "unknown";
        if (!daemons.m4 || error !== 0)
            return "fault";
        if (!errorReading.current)
            return "unknown";
        if (isPrinting)
            return "busy";
        if (jobWaits)
            return "warning";
        if (!alertReading.known)
            return "unknown";
        return alert !== 0 ? "warning" : "good";
    }

    readonly property string words: {
        if (!daemons.known)
            return isBusLost ? qsTr("No connection to the printer") : qsTr("Looking for the printer");
        if (!daemons.m4)
            return qsTr("Print engine is not running");
        if (error !== 0)
            return qsTr("Stopped: %1").arg(Words.error(error));
        if (state === "busy")
            return labels > 0 ? qsTr("Printing, %Ln label(s)", "", labels) : qsTr("Printing");
        if (state === "unknown" && errorReading.reason === HNIPCRequest.DaemonError)
            return qsTr("Print engine does not report its state");
        if (state === "unknown")
            return isSilent ? qsTr("Print engine does not reply") : qsTr("Waiting for the print engine");
        if (jobWaits)
            return qsTr("Stopped: a job waits");
        return alert !== 0 ? qsTr("Ready, but %1").arg(Words.alert(alert)) : qsTr("Ready");
    }

    property list<QtObject> parts: [
        HNIPCReading {
            id: errorReading

            method: "getError"
            signals: ["Error"]
            valueArgument: 0
            deadline: Theme.patience
        },
        HNIPCReading {
            id: alertReading

            method: "getAlert"
            signals: ["Alert"]
            valueArgument: 0
            deadline: Theme.patience
        },
        Connections {
            target: root.events

            function onM4PrintDone() {
                root.countLabel();
            }

            function onPrintQueueComplete() {
                root.endJob(false);
            }

            function onPrintQueueClear() {
                root.endJob(false);
            }
        },
        Timer {
            id: labelTimer

            interval: root.jobRuns ? Theme.jobTime : Theme.movingTime
            onTriggered: root.endJob(false)
        },
        // Ignores the last label, which is still printed after a job was cancelled.
        Timer {
            id: lastLabel

            interval: Theme.movingTime
        },
        Overdue {
            id: silence

            waiting: root.isThere && !(errorReading.current && alertReading.known)
        }
    ]

    function countLabel() {
        if (lastLabel.running)
            return;
        jobWaits = false;
        ++labels;
        labelTimer.restart();
    }

    function startJob() {
        lastLabel.stop();
        jobWaits = false;
        jobRuns = true;
        labelTimer.restart();
    }

    function cancelJob() {
        endJob(true);
        lastLabel.restart();
    }

    function endJob(waits: bool) {
        ++jobEnds;
        jobWaits = waits;
        jobRuns = false;
        labelTimer.stop();
        labels = 0;
    }

    onErrorChanged: if (error !== 0)
        endJob(isPrinting || jobWaits)
    onIsThereChanged: if (!isThere)
        endJob(false)
}
