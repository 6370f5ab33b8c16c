// SPDX-License-Identifier: MIT
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property int lids: 0
    property HNIPCEvents events: HNIPCEvents {
        onM4PrinterLid: ++root.lids
    }
    property HNIPCReading lid: HNIPCReading {
        id: lid

        method: "printerLid"
        signals: ["M4PrinterLid"]
        valueArgument: 0
    }
    property HNIPCReading supply: HNIPCReading {
        id: supply

        method: "qmlSupplyPercent"
    }
    property HNIPCRequest request: HNIPCRequest {
        id: request

        method: "calibrateSupply"
    }
    property HNIPCAvailability daemons: HNIPCAvailability {
        id: daemons
    }
    readonly property bool complete: lid.known && supply.known && daemons.known && request.done
    readonly property string text: lid.known ? lid.value + " " + supply.value : "not known"

    Component.onCompleted: {
        request.send();
        HNIPCRequest.call("calibrateSupply");
    }
}
