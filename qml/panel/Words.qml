// SPDX-License-Identifier: MIT
pragma Singleton
import QtQuick 2.15

// Codes and signals of the printer in the user's words. Codes are those of the simulated print
// engine; an unknown code is shown as a number.
QtObject {
    function error(code: int): string {
        switch (code) {
        case 0:
            return "";
        case 10:
            return qsTr("lid open");
        case 11:
            return qsTr("cutter cover open");
        case 12:
            return qsTr("supply latch open");
        case 20:
            return qsTr("supply is out");
        case 21:
            return qsTr("ribbon 1 is out");
        case 22:
            return qsTr("ribbon 2 is out");
        case 31:
            return qsTr("print head 1 is hot");
        case 32:
            return qsTr("print head 2 is hot");
        default:
            return qsTr("error %1").arg(code);
        }
    }

    function alert(code: int): string {
        switch (code) {
        case 0:
            return "";
        case 1:
            return qsTr("battery is low");
        case 20:
            return qsTr("supply is low");
        case 21:
            return qsTr("ribbon 1 is low");
        case 22:
            return qsTr("ribbon 2 is low");
        default:
            return qsTr("alert %1").arg(code);
        }
    }

    // A daemon's signal in words; empty for signals that are not shown.
    function event(name: string, values): string {
        const value = values[0];
        switch (name) {
        case "PrintButton":
            return qsTr("Print button");
        case "HelpButton":
            return qsTr("Help button");
        case "CancelButton":
            return qsTr("Cancel button");
        case "M4PrinterLid":
            return value ? qsTr("Lid opened") : qsTr("Lid closed");
        case "M4CutterCover":
            return value ? qsTr("Cutter cover opened") : qsTr("Cutter cover closed");
        case "M4SupplyLatch":
            return value ? qsTr("Supply latch opened") : qsTr("Supply latch closed");
        case "M4CutterHome":
            return value ? qsTr("Cutter is home") : qsTr("Cutter moves");
        case "M4Tph1Fault":
            return qsTr("Print head 1 has a fault");
        case "M4Tph2Fault":
            return qsTr("Print head 2 has a fault");
        case "Error":
            return value === 0 ? qsTr("Error is over") : qsTr("Error: %1").arg(error(value));
        case "Alert":
            return value === 0 ? qsTr("Alert is over") : qsTr("Alert: %1").arg(alert(value));
        case "PrintQueueFull":
            return qsTr("Print queue is full");
        case "PrintQueueClear":
            return qsTr("Print queue is cleared");
        case "PrintQueueComplete":
            return qsTr("All jobs are printed");
        case "SupplyChanged":
            return qsTr("Supply is now %1").arg(brief(value));
        case "RibbonChanged":
            return qsTr("Ribbons are now %1").arg(brief(several(value).join(", ")));
        default:
            return "";
        }
    }

    function sentence(words) {
        return words.charAt(0).toUpperCase() + words.slice(1);
    }

    // A daemon's text, cut to the length of a line.
    function brief(text: string): string {
        return shortened(text, 200);
    }

    // A daemon's text, cut to the length of a page.
    function whole(text: string): string {
        return shortened(text, 4000);
    }

    function shortened(text: string, most: int): string {
        const tooLong = text.length > most;
        const kept = tooLong ? text.slice(0, most - 1) : text;
        return kept.replace(/\s+/g, " ").trim() + (tooLong ? "\u2026" : "");
    }

    // The texts that are not empty.
    function list(texts, separator): string {
        return texts.filter(text => text !== "").join(separator || ", ");
    }

    // A string or a list of strings as a list, cut after eight.
    function several(texts) {
        return Array.from(typeof texts === "string" ? [texts] : texts).slice(0, 8);
    }

    function checkedColors(texts) {
        return several(texts).map(text => checkedColor(text));
    }

    // The colour in a daemon's string; empty if it is not a colour.
    function checkedColor(text) {
        return /^#[0-9A-Fa-f]{6}$/.test(text) ? text : "";
    }

    function percent(value: real): string {
        return qsTr("%1 %", "a share, with its unit").arg(Number(Math.round(value)).toLocaleString(Qt.locale(), "f", 0));
    }
}
