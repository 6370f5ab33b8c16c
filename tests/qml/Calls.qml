// SPDX-License-Identifier: MIT
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property HNIPCEvents made: null // created by C++
    property string result
    property Connections connections: Connections {
        target: HNIPCEvents.handlersOf(root.made)

        function onPrintButton() {
            HNIPCRequest.call("forwardFeed", [400], function (answer) {
                    root.result = answer.done ? "fed" : answer.errorText;
                });
        }
    }
    property HNIPCRequest request: HNIPCRequest {
        id: request

        method: "forwardFeed"
    }

    onResultChanged: request.send([7])
}
