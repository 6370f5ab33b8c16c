// SPDX-License-Identifier: MIT
import QtQuick 1.0
import HNIPC 1.0

Rectangle {
    width: 480
    height: 320

    HNIPCReading {
        id: supply
        method: "qmlSupplyPercent"
        valueArgument: 0
    }
    HNIPCAvailability {
        id: daemons
    }
    HNIPCEvents {
        onReceived: {
            if (name == "PrintButton")
                feed.send();
            else if (name == "M4PrinterLid")
                lid.text = values[0] ? "The lid was opened" : "The lid was closed";
        }
    }
    HNIPCRequest {
        id: feed
        method: "forwardFeed"
        parameters: [400]
        deadline: 5000
        onFinished: {
            if (done)
                result.text = "Fed";
            else if (outcome == HNIPCRequest.Answered)
                result.text = "The print engine did not feed";
            else if (outcome == HNIPCRequest.Unknown)
                result.text = "Perhaps fed, look at the printer: " + errorText;
            else
                result.text = "Not fed: " + errorText;
        }
    }

    Column {
        Text {
            objectName: "supply"
            text: !supply.known ? "The supply is not known"
                                : supply.value.toFixed(0) + " % left" + (supply.current ? "" : ", checking")
        }
        Text { objectName: "lid"; id: lid }
        Text { objectName: "result"; id: result }
        Rectangle {
            width: 160
            height: 64
            color: area.enabled ? "lightsteelblue" : "lightgrey"
            Text {
                anchors.centerIn: parent
                text: "Feed"
            }
            MouseArea {
                id: area
                objectName: "area"
                anchors.fill: parent
                enabled: daemons.m4 && !feed.pending
                onClicked: feed.send()
            }
        }
    }
}
