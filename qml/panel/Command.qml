// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

// A command for the print engine, and its outcome in the user's words.
QtObject {
    id: root

    required property string label
    required property string about
    required property string help
    required property string done // the outcome if the reply is true
    required property string no // the outcome if the reply is false for an unknown reason
    required property Engine engine

    property alias method: request.method
    property alias parameters: request.parameters

    property bool isJobCommand: false // stops or removes a job, which works during an error, too

    readonly property bool atWork: request.pending
    readonly property bool possible: engine.isThere
    property string outcome: "" // empty before the first command, while pending, and after expiry
    property string detail: "" // the outcome with the daemon's whole text
    property bool good: true // whether the command was carried out
    property bool isOpen: false // the reply was true, but the printer is still working
    property int cause: 0 // the error code that is the reason for the outcome
    property bool isOfAbsence: false // the reason is that the print engine is not running
    property int endsBefore: 0 // Engine.jobEnds when the command was given

    signal answered
    signal told(string text, string detail)

    property list<QtObject> parts: [
        HNIPCRequest {
            id: request

            deadline: Theme.patience
            onFinished: root.judge()
        },
        Timer {
            id: expiry

            interval: Theme.outcomeTime
            running: root.outcome !== "" && !root.isOpen
            onTriggered: root.forget()
        },
        Connections {
            target: root.engine

            function onErrorChanged() {
                if (root.cause !== 0 && root.engine.error !== root.cause)
                    root.forget();
            }

            function onIsThereChanged() {
                if (root.isOfAbsence && root.engine.isThere)
                    root.forget();
            }
        }
    ]

    // Does nothing while the command is pending.
    function run() {
        if (atWork)
            return;
        forget();
        endsBefore = engine.jobEnds;
        request.send();
    }

    // Removes the outcome.
    function forget() {
        outcome = "";
        isOpen = false;
        cause = 0;
        isOfAbsence = false;
    }

    // Sets the final outcome of a command whose reply was true. Ignored if it has one already.
    function settle(text: string, isGood: bool, error: int) {
        if (isOpen)
            show(text, text, isGood, error);
    }

    function show(text: string, whole: string, isGood: bool, error: int) {
        forget();
        outcome = text;
        detail = whole;
        good = isGood;
        cause = error;
        expiry.restart();
    }

    function judge() {
        const error = isJobCommand ? 0 : engine.error;
        let text = request.errorText;
        if (request.outcome === HNIPCRequest.Answered) {
            // The reply false has no reason; the current error is the likeliest one.
            const refusal = error !== 0 ? qsTr("refused: %1").arg(Words.error(error)) : no;
            text = request.done ? done : refusal;
            show(text, text, request.done, request.done ? 0 : error);
        } else if (request.outcome === HNIPCRequest.Refused) {
            show(qsTr("refused: %1").arg(Words.brief(text)), qsTr("refused: %1").arg(Words.whole(text)), false, 0);
        } else if (request.outcome === HNIPCRequest.NotSent) {
            const isAbsent = request.reason === HNIPCRequest.DaemonAbsent;
            if (isAbsent)
                text = qsTr("print engine is not running");
            show(qsTr("not done: %1").arg(Words.brief(text)), qsTr("not done: %1").arg(Words.whole(text)), false, 0);
            isOfAbsence = isAbsent;
        } else {
            text = qsTr("unknown: look at the printer");
            show(text, text + "\n\n" + Words.whole(request.errorText), false, 0);
        }
        told(qsTr("%1: %2", "a command and its outcome").arg(label).arg(outcome), qsTr("%1: %2", "a command and its outcome").arg(label).arg(detail));
        if (request.done)
            answered();
    }
}
