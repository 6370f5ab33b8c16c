// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

// What a person can ask of the print engine, and what became of it in their words.
QtObject {
    id: root

    required property string label
    required property string about
    required property string help
    required property string done // when the printer says yes
    required property string no // when the printer says no, and it is not known why
    required property Engine engine

    property alias method: request.method
    property alias parameters: request.parameters

    property bool isJobCommand: false // which takes a job away, so no error hinders it

    readonly property bool atWork: request.pending
    readonly property bool possible: engine.isThere
    property string outcome: "" // empty before the first, while at work, and when it has expired
    property string detail: "" // the outcome with all that the daemon said
    property bool good: true // the outcome is what was wanted
    property bool isOpen: false // the printer said yes, and is not through with it
    property int cause: 0 // the error that is the reason for the outcome
    property bool isOfAbsence: false // the absence of the print engine is
    property int endsBefore: 0 // Engine.jobEnds when it was given

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

    // Nothing while it is at work.
    function run() {
        if (atWork)
            return;
        forget();
        endsBefore = engine.jobEnds;
        request.send();
    }

    // The outcome is of no interest any more.
    function forget() {
        outcome = "";
        isOpen = false;
        cause = 0;
        isOfAbsence = false;
    }

    // The final outcome of a command to which the printer said yes. Ignored if it has one already.
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
            // The printer does not say why it says no; an error that stands is the likeliest reason.
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
