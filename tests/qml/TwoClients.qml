// SPDX-License-Identifier: MIT
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property string lids
    property HNIPC first: HNIPC {
        onM4PrinterLid: root.lids += "1"
    }
    property HNIPC second: HNIPC {
        onM4PrinterLid: root.lids += "2"
    }
    readonly property int firstError: first.qmlPrintEngineErrorCode
    readonly property int secondError: second.qmlPrintEngineErrorCode
}
