// SPDX-License-Identifier: MIT
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property string lids
    property string names
    property string listenings
    property HNIPCEvents events: HNIPCEvents {
        id: events

        onM4PrinterLid: function (value) {
            root.lids += value + " ";
        }
        onReceived: function (name, values) {
            root.names += name + "(" + values + ") ";
        }
        onListeningChanged: function (listening) {
            root.listenings += listening ? "on " : "off ";
        }
    }
    readonly property bool listening: events.listening
}
