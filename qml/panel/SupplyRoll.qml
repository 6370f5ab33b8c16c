// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

Roll {
    id: root

    function partOf(reading: HNIPCReading): string {
        return reading.known ? Words.brief(reading.value) : "";
    }

    title: qsTr("Supply")
    // After a signal of a change, no SKU is shown until it has been read: it would be the old one.
    known: loaded.current
    sku: known ? Words.brief(loaded.value) : ""
    name: Words.list([partOf(material), partOf(format), partOf(tint)])
    colors: rgb
    percent: share

    // The signal may be about another printer, so its argument is not used.
    HNIPCReading {
        id: loaded

        readonly property var ofIt: value ? [value] : []

        method: "supplySKUCached"
        signals: ["SupplyChanged"]
        deadline: Theme.patience
    }
    HNIPCReading {
        id: rgb

        method: "supplySupplyRGB"
        signals: ["SupplyRGBChanged"]
        valueArgument: 0
        deadline: Theme.patience
    }
    HNIPCReading {
        id: share

        method: "supplySupplyPercent"
        signals: ["SupplyPercentChanged"]
        valueArgument: 0
        deadline: Theme.patience
    }
    // Without parameters, the method is not called.
    HNIPCReading {
        id: material

        method: "supplyMaterialName"
        parameters: loaded.ofIt
        deadline: Theme.patience
    }
    HNIPCReading {
        id: format

        method: "supplyFormatName"
        parameters: loaded.ofIt
        deadline: Theme.patience
    }
    HNIPCReading {
        id: tint

        method: "supplyColorName"
        parameters: loaded.ofIt
        deadline: Theme.patience
    }
}
