// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

Rectangle {
    id: screen

    width: 480
    height: 320
    color: daemons.m4 ? "white" : "lightgrey"

    //! [printer]
    HNIPC {
        id: printer
        onM4PrinterLid: function (value) {
            message.text = value ? "Close the lid" : "Ready";
        }
        onPrintButton: feed.send()
    }
    //! [printer]

    //! [daemons]
    HNIPCAvailability {
        id: daemons
        onM4Changed: function (available) {
            message.text = available ? "Ready" : "The print engine is not there";
        }
    }
    //! [daemons]

    //! [request]
    HNIPCRequest {
        id: feed
        method: "forwardFeed"
        arguments: [200]
        deadline: 10000
        onFinished: {
            if (outcome === HNIPCRequest.Answered)
                message.text = value ? "Fed" : "The print engine would not feed";
            else if (outcome === HNIPCRequest.Unknown)
                message.text = "Look at the printer: " + errorText;
            else
                message.text = "Not fed: " + errorText;
        }
    }
    //! [request]

    Column {
        anchors.centerIn: parent
        spacing: 20

        //! [property]
        Text {
            id: supply
            text: printer.qmlSupplyPercent + " % of the supply is left"
            onTextChanged: console.info(supply.text)
        }
        //! [property]
        Text {
            id: message
            text: "Starting"
            onTextChanged: console.info(message.text)
        }
        //! [button]
        Rectangle {
            width: 160
            height: 60
            color: feed.pending ? "grey" : "steelblue"

            Text {
                anchors.centerIn: parent
                text: "Feed"
                color: "white"
            }
            MouseArea {
                anchors.fill: parent
                enabled: !feed.pending
                onClicked: feed.send()
            }
        }
        //! [button]
    }
}
