// SPDX-License-Identifier: MIT
import QtQml 2.15

QtObject {
    id: root

    property string lids
    property Base printer: Base {
        onM4PrinterLid: function (value) {
            root.lids += value ? "open" : "shut";
        }
    }
}
