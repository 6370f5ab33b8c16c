// SPDX-License-Identifier: MIT
// Feeds once when it is loaded, by a call without an object of its own.
import QtQuick 2.15
import HNIPC 1.0

Text {
    id: result
    onTextChanged: {
        console.info(result.text);
        Qt.quit();
    }
    Component.onCompleted: {
        HNIPCRequest.call("forwardFeed", [7], function (fed) {
            result.text = fed.done ? "Fed" : "The printer may not have fed";
        });
    }
}
