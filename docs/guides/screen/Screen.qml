// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

Rectangle {
    id: screen

    width: 480
    height: 320

    //! [reading]
    HNIPCReading {
        id: supply
        method: "qmlSupplyPercent"
    }
    //! [reading]

    //! [method]
    HNIPCReading {
        id: lid
        method: "printerLid"
        signals: ["M4PrinterLid"]
        valueArgument: 0
    }
    HNIPCReading {
        id: error
        method: "qmlPrintEngineErrorCode"
    }
    //! [method]

    //! [events]
    HNIPCEvents {
        onPrintButton: feed.send()
        onCloseApplicationSignal: Qt.quit()
    }
    //! [events]

    //! [availability]
    HNIPCAvailability {
        id: daemons
    }
    //! [availability]

    //! [request]
    HNIPCRequest {
        id: feed
        method: "forwardFeed"
        parameters: [400]
        deadline: 5000
        onFinished: {
            if (done)
                result.text = "Fed";
            else if (outcome === HNIPCRequest.Answered)
                result.text = "The print engine did not feed";
            else if (outcome === HNIPCRequest.Unknown)
                result.text = "Look at the printer: " + errorText;
            else
                result.text = "Not fed: " + errorText;
        }
    }
    //! [request]

    Column {
        anchors.centerIn: parent
        spacing: 20

        //! [text]
        Text {
            id: supplyText
            text: supply.known ? supply.value.toFixed(0) + " % of the supply is left"
                               : "The supply is not known"
            color: supply.current ? "black" : "grey"
            onTextChanged: console.info(supplyText.text)
        }
        //! [text]
        Text {
            id: lidText
            text: !lid.known ? "The lid is not known"
                             : lid.value ? "Close the lid" : "The lid is closed"
            onTextChanged: console.info(lidText.text)
        }
        Text {
            id: engineText
            text: {
                if (error.known)
                    return error.value === 0 ? "Ready" : "Error " + error.value;
                if (error.reason === HNIPCRequest.NoReason)
                    return "Starting";
                if (error.reason === HNIPCRequest.DaemonAbsent)
                    return "The print engine is not running";
                return error.errorText;
            }
            onTextChanged: console.info(engineText.text)
        }
        Text {
            id: result
            onTextChanged: console.info(result.text)
        }
        //! [button]
        Rectangle {
            width: 160
            height: 60
            color: area.enabled ? "steelblue" : "grey"

            Text {
                anchors.centerIn: parent
                text: "Feed"
                color: "white"
            }
            MouseArea {
                id: area
                anchors.fill: parent
                enabled: daemons.m4 && !feed.pending
                onClicked: feed.send()
            }
        }
        //! [button]
    }
}
