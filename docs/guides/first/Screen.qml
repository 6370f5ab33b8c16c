// SPDX-License-Identifier: MIT
// The screen of README.md: shows how much of the supply is left.
import QtQuick 2.15
import HNIPC 1.0

Text {
    text: supply.known ? supply.value + " % left" : "not known"

    HNIPCReading {
        id: supply
        method: "qmlSupplyPercent"
    }
}
