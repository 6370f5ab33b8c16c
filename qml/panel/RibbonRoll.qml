// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

Roll {
    id: root

    required property int index // 0 or 1
    required property HNIPCReading skus // of all ribbons

    readonly property var panels: [panel1, panel2, panel3, panel4]

    // One name for each colour of the ribbon.
    function readNames() {
        if (skus.known && !skus.current)
            return; // the colours may already be those of the next ribbon
        const loaded = skus.known ? skus.value[index] || "" : "";
        const count = loaded !== "" && rgbs.known ? rgbs.value.length : 0;
        panels.forEach((panel, i) => panel.parameters = i < count ? [loaded, i + 1] : []);
    }

    title: qsTr("Ribbon %1").arg(index + 1)
    // After a signal of a change, no SKU is shown until it has been read: it would be the old one.
    known: skus.current
    sku: known ? Words.brief(skus.value[index] || "") : ""
    name: panels.filter(panel => panel.known).map(panel => Words.brief(panel.value)).join(", ")
    colors: rgbs
    percent: share

    Connections {
        target: root.skus

        function onChanged() {
            root.readNames();
        }
    }
    HNIPCReading {
        id: rgbs

        method: "supplyRibbon%1RGBs".arg(root.index + 1)
        signals: ["Ribbon%1RGBsChanged".arg(root.index + 1)]
        valueArgument: 0
        deadline: Theme.patience
        onChanged: root.readNames()
    }
    HNIPCReading {
        id: share

        method: "supplyRibbon%1Percent".arg(root.index + 1)
        signals: ["Ribbon%1PercentChanged".arg(root.index + 1)]
        valueArgument: 0
        deadline: Theme.patience
    }
    HNIPCReading {
        id: panel1

        method: "supplyRibbonColorName"
        deadline: Theme.patience
    }
    HNIPCReading {
        id: panel2

        method: "supplyRibbonColorName"
        deadline: Theme.patience
    }
    HNIPCReading {
        id: panel3

        method: "supplyRibbonColorName"
        deadline: Theme.patience
    }
    HNIPCReading {
        id: panel4

        method: "supplyRibbonColorName"
        deadline: Theme.patience
    }
}
