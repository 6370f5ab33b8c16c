// SPDX-License-Identifier: MIT
import QtQuick 2.15

// Drawn for 800 x 480, and scaled as a whole to the window.
Rectangle {
    id: root

    required property var printer

    readonly property bool hasError: printer.stateKnown && printer.error !== ""
    readonly property bool hasAlert: printer.stateKnown && printer.alert !== ""
    readonly property int battery: printer.battery.known ? printer.battery.value : -1
    readonly property bool isBatteryKnown: battery >= 0 && battery <= 100

    function sentence(words) {
        return words.charAt(0).toUpperCase() + words.slice(1);
    }

    function stateText(): string {
        if (!printer.daemons.known)
            return "Looking for the printer";
        if (!printer.daemons.m4)
            return "Print engine is absent";
        if (!printer.stateKnown)
            return "Waiting for the print engine";
        if (hasError)
            return sentence(printer.error);
        return hasAlert ? sentence(printer.alert) : "Ready";
    }

    function stateColor(): color {
        if (!printer.stateKnown)
            return "#c3cdd7";
        if (hasError)
            return "#ff8f80";
        return hasAlert ? "#f2bd4b" : "#7fd3a0";
    }

    // What else a person should know.
    function noteText(): string {
        const notes = [];
        if (hasError && hasAlert)
            notes.push(printer.alert);
        if (printer.daemons.known && !printer.daemons.supplyd)
            notes.push("supply daemon is absent");
        if (printer.daemons.known && !printer.daemons.ioexpd)
            notes.push("the printer's buttons are not heard");
        return sentence(notes.join("; "));
    }

    // After the signal of a change no SKU is shown until it has been read: it would be the former one.
    function skuOfRibbon(index: int): string {
        const skus = printer.ribbonSkus.current ? printer.ribbonSkus.value : [];
        return index < skus.length ? printer.brief(skus[index]) : "";
    }

    function checked(colors) {
        const texts = colors.known ? [].concat(colors.value).slice(0, 8) : [];
        return texts.map(text => printer.checkedColor(text));
    }

    color: "#161b22"
    focus: true
    implicitWidth: 800
    implicitHeight: 480

    Keys.onPressed: function (event) {
        if (event.isAutoRepeat)
            return;
        if (event.key === Qt.Key_H || event.key === Qt.Key_F1)
            help.toggle();
        else if (!printer.press(event.text))
            return;
        event.accepted = true;
    }

    Connections {
        target: root.printer

        function onHelpWanted() {
            help.toggle();
        }
    }

    Item {
        id: page

        objectName: "page"
        anchors.centerIn: parent
        width: 800
        height: 480
        scale: Math.min(root.width / width, root.height / height)

        Text {
            objectName: "state"
            x: 16
            y: 7
            width: 410
            height: 33
            text: root.stateText()
            color: root.stateColor()
            font.pixelSize: 28
            font.bold: true
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 18
            elide: Text.ElideRight
            verticalAlignment: Text.AlignVCenter
        }
        Text {
            objectName: "note"
            x: 16
            y: 40
            width: 508
            text: root.noteText()
            color: "#f2bd4b"
            font.pixelSize: 13
            elide: Text.ElideRight
        }

        Text {
            objectName: "battery"
            anchors.right: daemons.left
            anchors.rightMargin: 14
            y: 9
            height: 28
            text: "Battery " + (root.isBatteryKnown ? root.battery + " %" : "?")
            color: root.isBatteryKnown && root.battery <= 15 ? "#f2bd4b" : "#e8edf2"
            font.pixelSize: 15
            verticalAlignment: Text.AlignVCenter
        }

        Row {
            id: daemons

            anchors.right: parent.right
            anchors.rightMargin: 16
            y: 9
            spacing: 6

            Daemon {
                objectName: "ioexpd"
                name: "I/O"
                known: root.printer.daemons.known
                available: root.printer.daemons.ioexpd
            }
            Daemon {
                objectName: "m4"
                name: "Engine"
                known: root.printer.daemons.known
                available: root.printer.daemons.m4
            }
            Daemon {
                objectName: "supplyd"
                name: "Supply"
                known: root.printer.daemons.known
                available: root.printer.daemons.supplyd
            }
        }

        Row {
            x: 16
            y: 60
            spacing: 8

            Switch {
                objectName: "lid"
                name: "Lid"
                reading: root.printer.lid
                words: ["closed", "open"]
            }
            Switch {
                objectName: "latch"
                name: "Latch"
                reading: root.printer.latch
                words: ["closed", "open"]
            }
            Switch {
                objectName: "cutterCover"
                name: "Cutter cover"
                reading: root.printer.cutterCover
                words: ["closed", "open"]
            }
            Switch {
                objectName: "cutterHome"
                name: "Cutter"
                reading: root.printer.cutterHome
                words: ["moving", "home"]
                alarming: false
            }
        }

        Column {
            x: 16
            y: 108
            spacing: 8

            Roll {
                objectName: "supply"
                title: "Supply"
                known: root.printer.supplySku.current
                sku: known ? root.printer.brief(root.printer.supplySku.value) : ""
                name: root.printer.supplyName
                colors: root.checked(root.printer.supplyRgb)
                percent: root.printer.supplyPercent
            }
            Roll {
                objectName: "ribbon1"
                title: "Ribbon 1"
                known: root.printer.ribbonSkus.current
                sku: root.skuOfRibbon(0)
                name: root.printer.ribbon1Name
                colors: root.checked(root.printer.ribbon1Rgbs)
                percent: root.printer.ribbon1Percent
            }
            Roll {
                objectName: "ribbon2"
                title: "Ribbon 2"
                known: root.printer.ribbonSkus.current
                sku: root.skuOfRibbon(1)
                name: root.printer.ribbon2Name
                colors: root.checked(root.printer.ribbon2Rgbs)
                percent: root.printer.ribbon2Percent
            }
        }

        Rectangle {
            x: 524
            y: 60
            width: 260
            height: 292
            radius: 6
            color: "#212832"

            Text {
                x: 8
                y: 8
                text: "What happens"
                color: "#a9b6c4"
                font.pixelSize: 14
            }
            ListView {
                objectName: "events"
                x: 8
                y: 32
                width: 244
                height: 252
                clip: true
                model: root.printer.events
                spacing: 4

                delegate: EventLine {
                }
            }
        }

        Row {
            x: 16
            y: 364
            spacing: 8

            Repeater {
                model: root.printer.commands

                ActionButton {
                    required property var modelData

                    objectName: "button" + modelData.label
                    label: modelData.label
                    about: modelData.about
                    keys: modelData.keys
                    outcome: modelData.atWork ? "at work" : modelData.outcome
                    good: modelData.atWork || modelData.good
                    atWork: modelData.atWork
                    onActivated: modelData.run()
                }
            }
            ActionButton {
                objectName: "buttonHelp"
                label: "Help"
                about: "what is what"
                keys: "H"
                outcome: ""
                good: true
                atWork: false
                onActivated: help.toggle()
            }
        }

        Help {
            id: help

            objectName: "help"
            anchors.fill: parent
            onClosed: root.forceActiveFocus()
        }
    }
}
