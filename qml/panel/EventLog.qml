// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

// The events with their times, the newest first.
QtObject {
    id: root

    readonly property ListModel model: ListModel {
    }
    readonly property alias events: events
    readonly property alias listening: events.listening

    readonly property int most: 100

    signal helpButton
    signal printButton
    signal cancelButton

    function add(text: string, detail: string) {
        model.insert(0, {
                "time": new Date().toLocaleTimeString(Qt.locale(), "HH:mm:ss"),
                "text": text,
                "detail": detail
            });
        if (model.count > most)
            model.remove(most, model.count - most);
    }

    function addDaemon(name: string, available: bool) {
        const text = available ? qsTr("%1 is running").arg(name) : qsTr("%1 has stopped").arg(name);
        add(text, text);
    }

    property list<QtObject> parts: [
        HNIPCEvents {
            id: events

            onReceived: function (name, values) {
                const text = Words.event(name, values);
                if (text !== "")
                    root.add(text, text);
            }
            onHelpButton: root.helpButton()
            onPrintButton: root.printButton()
            onCancelButton: root.cancelButton()
        }
    ]
}
