// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

Label {
    id: root

    readonly property bool measured: reading.known && reading.value >= 0 && reading.value <= 100
    readonly property bool low: measured && reading.value <= 15

    HNIPCReading {
        id: reading

        method: "getBatteryStatus"
        signals: ["M4BatteryUpdate"]
        valueArgument: 0
        deadline: Theme.patience
    }

    text: (low ? "\u26a0 " : "") + qsTr("Battery %1").arg(measured ? Words.percent(reading.value) : "?")
    color: low ? Theme.warning : Theme.text
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
