// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

Rectangle {
    id: screen
    width: 480; height: 320
    HNIPCReading {
        id: supply
        method: "qmlSupplyPercent"
        valueArgument: 0
    }
    HNIPCReading {
        id: error
        method: "qmlPrintEngineErrorCode"
        valueArgument: 0
    }
    HNIPCReading {
        id: lid
        method: "printerLid"
        signals: ["M4PrinterLid"]
        valueArgument: 0
        onChanged: if (reason === HNIPCRequest.BusLost) Qt.exit(1) // only a new process connects again
    }
    function inWords(reading, value) {
        if (reading.current)
            return value;
        if (reading.known && reading.reason === HNIPCRequest.NoReason)
            return qsTr("%1, checking").arg(value);
        const why = reading.reason === HNIPCRequest.NoReason ? qsTr("waiting for the printer")
                  : reading.reason === HNIPCRequest.DaemonAbsent ? qsTr("its daemon is not running")
                  : reading.errorText || reading.errorName;
        return (reading.known ? qsTr("%1, not confirmed (%2)").arg(value) : qsTr("not known (%1)")).arg(why);
    }
    HNIPCEvents {
        onPrintButton: feed.send()
        onCloseApplicationSignal: Qt.quit()
    }
    HNIPCAvailability { id: daemons }
    Timer { id: recently; interval: 10000 }
    HNIPCRequest {
        id: feed
        method: "forwardFeed"
        parameters: [400]
        deadline: 5000
        onFinished: {
            if (outcome === HNIPCRequest.Unknown)
                result.text = qsTr("Perhaps fed, look at the printer: %1").arg(errorText);
            else if (reason === HNIPCRequest.DaemonAbsent)
                result.text = qsTr("Not fed: the print engine is not running");
            else if (outcome !== HNIPCRequest.Answered)
                result.text = qsTr("Not fed: %1").arg(errorText || errorName);
            else
                result.text = done ? qsTr("Fed") : qsTr("The print engine did not feed");
            recently.restart();
        }
    }

    component Line: Text {
        id: line
        width: parent.width
        wrapMode: Text.Wrap
        font.pixelSize: 20
        onTextChanged: console.info(line.text)
    }
    Column {
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: 24 }
        spacing: 16

        Line {
            text: qsTr("Print engine: %1").arg(screen.inWords(error,
                error.value === 0 ? qsTr("no error") : qsTr("error %1").arg(error.value)))
            color: error.current && error.value === 0 ? "black" : "#b00020"
        }
        Line {
            text: qsTr("Lid: %1").arg(screen.inWords(lid, lid.value ? qsTr("open") : qsTr("closed")))
            color: lid.current && !lid.value ? "black" : "#b00020"
        }
        Line {
            text: qsTr("Supply: %1").arg(screen.inWords(supply,
                qsTr("%1 % left").arg(Number(supply.value).toLocaleString(Qt.locale(), "f", 0))))
            color: supply.current ? "black" : "#b00020"
        }
    }
    Rectangle {
        id: button
        anchors { left: parent.left; bottom: parent.bottom; margins: 24 }
        width: 160; height: 64
        color: area.enabled ? "#1f5f8b" : "#d0d0d0"
        Accessible.role: Accessible.Button
        Accessible.name: label.text

        Text {
            id: label; anchors.centerIn: parent
            text: feed.pending ? qsTr("Feeding") : qsTr("Feed")
            color: area.enabled ? "white" : "#505050"
            font.pixelSize: 20
        }
        MouseArea {
            id: area; anchors.fill: parent
            enabled: daemons.m4 && !feed.pending
            onClicked: feed.send()
        }
    }
    Line {
        id: result
        anchors { left: button.right; right: parent.right; bottom: button.bottom; margins: 24; bottomMargin: 0 }
        opacity: !feed.pending && (recently.running || feed.outcome === HNIPCRequest.Unknown) ? 1 : 0
    }
}
