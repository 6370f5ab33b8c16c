// SPDX-License-Identifier: MIT
import HNIPC 1.0

HNIPC {
    id: base

    property string lidsOfBase

    onM4PrinterLid: function (value) {
        base.lidsOfBase += value ? "open" : "shut";
    }
}
