// SPDX-License-Identifier: MIT
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property string log
    property string changes
    property string atFinish // bound values, in the handler of finished()
    property HNIPCRequest request: HNIPCRequest {
        id: request

        onStateChanged: root.log += pending ? "sent, " : "not pending, "
        onFinished: {
            root.log += "finished, ";
            root.atFinish += JSON.stringify([root.state, root.answer, root.done]);
        }
    }
    property HNIPCAvailability daemons: HNIPCAvailability {
        id: daemons

        onM4Changed: function (available) {
            root.changes += available ? "came " : "went ";
        }
    }
    readonly property string state: {
        if (request.pending)
            return "at work";
        switch (request.outcome) {
        case HNIPCRequest.NoOutcome:
            return "not sent";
        case HNIPCRequest.NotSent:
            return "nothing was done";
        case HNIPCRequest.Answered:
            return "answered";
        case HNIPCRequest.Refused:
            return "refused: " + request.errorText;
        case HNIPCRequest.Unknown:
            return "look at the printer";
        }
        return "?";
    }
    readonly property var answer: request.value
    readonly property bool done: request.done
    readonly property string present: {
        return daemons.known + " " + daemons.ioexpd + " " + daemons.m4 + " " + daemons.supplyd;
    }
}
