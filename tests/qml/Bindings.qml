// SPDX-License-Identifier: MIT
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property HNIPC printer: HNIPC {
        id: printer
    }
    readonly property real supplyPercent: printer.qmlSupplyPercent
    readonly property string supplyColor: printer.qmlSupplyColorRGB
    readonly property real ribbonPercent: printer.qmlRibbonPercent
    readonly property var ribbonColors: printer.qmlRibbonColorRGBs
    readonly property string supplySku: printer.qmlSupplySKU
    readonly property int errorCode: printer.qmlPrintEngineErrorCode
    readonly property int alertCode: printer.qmlPrintEngineAlertCode
    readonly property int battery: printer.qmlBatteryStatus
    // A second user of the value, which calls no daemon.
    readonly property string percentText: supplyPercent + " %"
}
