// SPDX-License-Identifier: MIT
import QtQml 2.15
import HNIPC 1.0

QtObject {
    id: root

    property string lids
    property HNIPC first: HNIPC {
        id: first

        onM4PrinterLid: root.lids += "1"
    }
    property HNIPC second: HNIPC {
        id: second

        onM4PrinterLid: root.lids += "2"
    }
    readonly property int firstError: first.qmlPrintEngineErrorCode
    readonly property int secondError: second.qmlPrintEngineErrorCode
}
