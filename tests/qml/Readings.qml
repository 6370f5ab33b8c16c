// SPDX-License-Identifier: MIT
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property int changes: 0
    property HNIPCReading lid: HNIPCReading {
        id: lid

        method: "printerLid"
        signals: ["M4PrinterLid"]
        onChanged: ++root.changes
    }
    property HNIPCReading sku: HNIPCReading {
        id: sku

        method: "supplySKUCached"
        signals: ["SupplyChanged"]
    }
    property HNIPCReading name: HNIPCReading {
        id: name

        method: "supplyMaterialName"
        parameters: sku.known ? [sku.value] : []
    }
    readonly property string lidText: {
        if (lid.known)
            return lid.value ? "open" : "closed";
        switch (lid.reason) {
        case HNIPCRequest.NoReason:
            return "not read yet";
        case HNIPCRequest.DaemonAbsent:
            return "absent";
        case HNIPCRequest.DaemonError:
            return "refused: " + lid.errorText;
        case HNIPCRequest.TimedOut:
            return "no answer";
        }
        return lid.errorName;
    }
    readonly property string nameText: name.known ? name.value : "not known"
    readonly property bool lidCurrent: lid.current
}
