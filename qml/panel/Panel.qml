// SPDX-License-Identifier: MIT
import QtQuick 2.15
import HNIPC 1.0

// The printer's front panel, for any size of screen. The rolls are beside the events if the window is
// wide, and above them if it is high.
Rectangle {
    id: root

    readonly property bool isWide: width >= height
    readonly property real margin: 1.25 * Theme.gap
    readonly property alias listening: log.listening
    readonly property Item openSheet: sheetLoader.item as Item

    readonly property var commands: [printCommand, feedCommand, cutCommand, calibrateCommand, cancelCommand, loadCommand, clearCommand]

    // Further messages for the user.
    readonly property string note: Words.sentence(Words.list([engine.alert !== 0 && !engine.isAlertSaid && engine.isThere ? Words.alert(engine.alert) : "", daemons.known && !daemons.supplyd ? qsTr("supply daemon is not running") : "", daemons.known && !daemons.ioexpd ? qsTr("the printer's buttons do not work") : ""], "; "))

    // Milliseconds
    property int patience: 30000 // the timeout of a command
    property int outcomeTime: 60000 // how long an outcome is shown
    property int movingTime: 10000 // how long the printer counts as printing after a label
    property int jobTime: 60000 // a job of this panel counts as ended after this time without a label
    property int overdueTime: 3000 // after this time without a reply, "no reply" is shown

    property bool exitsWithoutBus: false

    property Item lastFocus: null // the item that had the focus before the sheet

    function show(file: string, properties) {
        closeSheet();
        lastFocus = focusedItem();
        sheetLoader.setSource(file, properties);
    }

    function closeSheet() {
        if (!openSheet)
            return;
        sheetLoader.source = "";
        const next = lastFocus && lastFocus.visible ? lastFocus : root;
        lastFocus = null;
        next.forceActiveFocus();
    }

    // Shows the whole texts of this line and up to nine older ones.
    function showDetails(index: int) {
        const texts = [];
        for (let i = index; i < Math.min(log.model.count, index + 10); ++i)
            texts.push(log.model.get(i).detail);
        show("Details.qml", {
                "text": texts.join("\n\n")
            });
    }

    function toggleHelp() {
        if (openSheet && openSheet.objectName === "help")
            closeSheet();
        else
            show("Help.qml", {
                    "commands": commands
                });
    }

    // The button that has the focus, or the list of events.
    function focusedItem() {
        for (let i = 0; i < buttons.children.length; ++i) {
            if (buttons.children[i].activeFocus)
                return buttons.children[i];
        }
        return events.activeFocus ? events : null;
    }

    // Moves the focus among the buttons with the arrow keys.
    function moveFocus(key: int) {
        const towardsEnd = LayoutMirroring.enabled ? Qt.Key_Left : Qt.Key_Right;
        const across = key === Qt.Key_Left || key === Qt.Key_Right;
        const forward = key === towardsEnd || key === Qt.Key_Down;
        const step = (across ? 1 : buttons.columns) * (forward ? 1 : -1);
        let from = -1;
        for (let i = 0; i < buttons.children.length; ++i) {
            if (buttons.children[i].activeFocus)
                from = i;
        }
        const to = from < 0 ? (forward ? 0 : -1) : from + step;
        if (to < 0)
            events.forceActiveFocus();
        else if (to < buttons.children.length)
            buttons.children[to].forceActiveFocus();
    }

    color: Theme.page
    focus: true
    implicitWidth: 800
    implicitHeight: 480

    // 1 is Qt.RightToLeft. The name itself would make QML load all two thousand names of Qt.
    LayoutMirroring.enabled: Qt.application.layoutDirection === 1 // qmllint disable
    LayoutMirroring.childrenInherit: true

    Binding {
        target: Theme
        property: "unit"
        value: {
            const fit = Math.min(Math.max(root.width, root.height) / 800, Math.min(root.width, root.height) / 480);
            return fit <= 1 ? Math.max(fit, 0.4) : Math.pow(fit, 0.7);
        }
    }

    Binding {
        target: Theme
        property: "patience"
        value: root.patience
    }
    Binding {
        target: Theme
        property: "outcomeTime"
        value: root.outcomeTime
    }
    Binding {
        target: Theme
        property: "movingTime"
        value: root.movingTime
    }
    Binding {
        target: Theme
        property: "jobTime"
        value: root.jobTime
    }
    Binding {
        target: Theme
        property: "overdueTime"
        value: root.overdueTime
    }

    // Letters have no effect, because a barcode scanner types them.
    Keys.onPressed: function (event) {
        if ([Qt.Key_Left, Qt.Key_Right, Qt.Key_Up, Qt.Key_Down].includes(event.key)) {
            moveFocus(event.key);
            event.accepted = true;
            return;
        }
        const name = "F" + (event.key - Qt.Key_F1 + 1);
        const button = event.isAutoRepeat ? undefined : Array.from(buttons.children).find(each => each.keyName === name);
        if (button) {
            event.accepted = true;
            button.activated();
        }
    }

    HNIPCAvailability {
        id: daemons

        onIoexpdChanged: log.addDaemon(qsTr("I/O expander"), ioexpd)
        onM4Changed: {
            log.addDaemon(qsTr("Print engine"), m4);
            if (!m4)
                printCommand.settle(qsTr("unknown: look at the printer"), false, 0);
        }
        onSupplydChanged: log.addDaemon(qsTr("Supply daemon"), supplyd)
    }
    Engine {
        id: engine

        property int lastError: 0

        daemons: daemons
        events: log.events
        onIsBusLostChanged: {
            if (isBusLost && root.exitsWithoutBus)
                Qt.exit(3);
        }
        onErrorChanged: {
            if (error !== 0) {
                printCommand.settle(qsTr("stopped: %1").arg(Words.error(error)), false, error);
                if (lastError === 0)
                    root.closeSheet();
            }
            lastError = error;
        }
    }
    EventLog {
        id: log

        onHelpButton: root.toggleHelp()
        onPrintButton: printCommand.run()
        onCancelButton: cancelCommand.run()
    }
    Connections {
        target: log.events

        function onPrintQueueClear() {
            printCommand.settle(qsTr("stopped"), false, 0);
        }

        function onPrintQueueComplete() {
            printCommand.settle(qsTr("printed"), true, 0);
        }
    }

    Command {
        id: printCommand

        method: "retryPrintJob"
        label: qsTr("Print")
        about: qsTr("retry the job")
        help: qsTr("tries the stopped job again, once the cause is gone.")
        done: qsTr("printing")
        no: qsTr("no stopped job")
        engine: engine
        onTold: (text, detail) => log.add(text, detail)
        onAnswered: {
            cancelCommand.forget();
            if (engine.jobEnds === endsBefore) {
                isOpen = true;
                engine.startJob();
            } else {
                forget(); // the job has ended before the reply arrived
            }
        }
    }
    Command {
        id: feedCommand

        method: "forwardFeed"
        parameters: [400]
        label: qsTr("Feed")
        about: qsTr("50 mm")
        help: qsTr("moves the supply by 50 mm.")
        done: qsTr("fed")
        no: qsTr("refused by the printer")
        engine: engine
        onTold: (text, detail) => log.add(text, detail)
    }
    Command {
        id: cutCommand

        method: "cycleCutter"
        label: qsTr("Cut")
        about: qsTr("once")
        help: qsTr("runs the cutter once.")
        done: qsTr("cut", "it was done")
        no: qsTr("refused by the printer")
        engine: engine
        onTold: (text, detail) => log.add(text, detail)
    }
    Command {
        id: calibrateCommand

        method: "calibrateSupply"
        label: qsTr("Calibrate")
        about: qsTr("supply", "what is calibrated")
        help: qsTr("measures the loaded supply.")
        done: qsTr("calibrated")
        no: qsTr("refused by the printer")
        engine: engine
        onTold: (text, detail) => log.add(text, detail)
    }
    Command {
        id: loadCommand

        method: "rfidTest"
        label: qsTr("Load")
        about: qsTr("new rolls")
        help: qsTr("reads the tags of new rolls.")
        done: qsTr("tags read")
        no: qsTr("refused by the printer")
        engine: engine
        onTold: (text, detail) => log.add(text, detail)
    }
    Command {
        id: cancelCommand

        method: "cancelPrintJob"
        label: qsTr("Cancel")
        about: qsTr("stop the job")
        help: qsTr("stops the job, which then waits for Print or Clear.")
        done: qsTr("job stopped")
        no: qsTr("no job is printing")
        isJobCommand: true
        engine: engine
        onTold: (text, detail) => log.add(text, detail)
        onAnswered: {
            printCommand.settle(qsTr("stopped"), false, 0);
            engine.cancelJob();
        }
    }
    Command {
        id: clearCommand

        method: "clearPrintJob"
        label: qsTr("Clear")
        about: qsTr("drop the job")
        help: qsTr("takes the job out of the queue, after a question.")
        done: qsTr("job dropped")
        no: qsTr("no job to drop")
        isJobCommand: true
        engine: engine
        onTold: (text, detail) => log.add(text, detail)
        onAnswered: engine.jobWaits = false
    }

    Overdue {
        id: suppliesSilence

        waiting: daemons.known && daemons.supplyd && !ribbonSkus.current && ribbonSkus.reason !== HNIPCRequest.DaemonError
    }
    HNIPCReading {
        id: ribbonSkus

        // The signal may be about another printer, so its argument is not used.
        method: "supplyRibbonSKUsCached"
        signals: ["RibbonChanged"]
        deadline: Theme.patience
    }

    Item {
        id: header

        objectName: "header"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: root.margin
        height: root.isWide ? 50 * Theme.unit : chips.y + chips.height

        StateIcon {
            id: icon

            objectName: "icon"
            anchors.left: parent.left
            y: 3 * Theme.unit
            state: engine.state
        }
        Label {
            objectName: "state"
            anchors.left: icon.right
            anchors.leftMargin: Theme.gap
            anchors.right: root.isWide ? chips.left : parent.right
            anchors.rightMargin: Theme.gap
            height: 32 * Theme.unit
            text: engine.words
            color: Theme.colorOf(engine.state)
            font.pixelSize: Theme.huge
            font.bold: true
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: Math.floor(Theme.small)
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        Label {
            id: note

            objectName: "note"
            anchors.left: icon.right
            anchors.leftMargin: Theme.gap
            anchors.right: parent.right
            y: 32 * Theme.unit
            text: root.note
            wrapMode: root.isWide ? Text.NoWrap : Text.Wrap
            maximumLineCount: root.isWide ? 1 : 2
            color: Theme.warning
            font.pixelSize: Theme.small
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
        Row {
            id: chips

            anchors.right: parent.right
            y: root.isWide ? 1 * Theme.unit : note.y + note.height + 8 * Theme.unit
            spacing: 6 * Theme.unit

            Battery {
                objectName: "battery"
                height: 28 * Theme.unit
                rightPadding: 6 * Theme.unit
            }
            Daemon {
                objectName: "ioexpd"
                name: qsTr("I/O")
                known: daemons.known
                available: daemons.ioexpd
            }
            Daemon {
                objectName: "m4"
                name: qsTr("Engine")
                known: daemons.known
                available: daemons.m4
                silent: engine.isSilent
            }
            Daemon {
                objectName: "supplyd"
                name: qsTr("Supply", "the daemon")
                known: daemons.known
                available: daemons.supplyd
                silent: suppliesSilence.isOver
            }
        }
    }

    // Disabled behind a sheet, so that neither a wheel nor a screen reader reaches it.
    Item {
        objectName: "page"
        visible: !root.openSheet
        anchors.fill: parent
        anchors.margins: root.margin
        anchors.topMargin: root.margin + header.height + Theme.gap

        Column {
            id: stock

            anchors.left: parent.left
            anchors.top: parent.top
            width: root.isWide ? 0.64 * parent.width : parent.width
            spacing: Theme.gap

            Grid {
                id: switches

                // In one row, each button has the width of its name and a part of the rest.
                readonly property real rest: (width - 3 * spacing - lid.implicitWidth - latch.implicitWidth - cutterCover.implicitWidth - cutterHome.implicitWidth) / 4
                readonly property real half: (width - spacing) / 2

                width: parent.width
                columns: root.isWide ? 4 : 2
                spacing: Theme.gap

                Switch {
                    id: lid

                    objectName: "lid"
                    width: root.isWide ? implicitWidth + switches.rest : switches.half
                    name: qsTr("Lid")
                    method: "printerLid"
                    signalName: "M4PrinterLid"
                    words: [qsTr("closed"), qsTr("open")]
                }
                Switch {
                    id: latch

                    objectName: "latch"
                    width: root.isWide ? implicitWidth + switches.rest : switches.half
                    name: qsTr("Latch")
                    method: "supplyLatch"
                    signalName: "M4SupplyLatch"
                    words: [qsTr("closed"), qsTr("open")]
                }
                Switch {
                    id: cutterCover

                    objectName: "cutterCover"
                    width: root.isWide ? implicitWidth + switches.rest : switches.half
                    name: qsTr("Cutter cover")
                    method: "cutterCover"
                    signalName: "M4CutterCover"
                    words: [qsTr("closed"), qsTr("open")]
                }
                Switch {
                    id: cutterHome

                    objectName: "cutterHome"
                    width: root.isWide ? implicitWidth + switches.rest : switches.half
                    name: qsTr("Cutter")
                    method: "cutterHome"
                    signalName: "M4CutterHome"
                    words: [qsTr("moving"), qsTr("home")]
                    alarming: false
                }
            }
            SupplyRoll {
                objectName: "supply"
                width: parent.width
            }
            RibbonRoll {
                objectName: "ribbon1"
                width: parent.width
                index: 0
                skus: ribbonSkus
            }
            RibbonRoll {
                objectName: "ribbon2"
                width: parent.width
                index: 1
                skus: ribbonSkus
            }
        }

        Rectangle {
            anchors.left: root.isWide ? stock.right : parent.left
            anchors.right: parent.right
            anchors.top: root.isWide ? parent.top : stock.bottom
            anchors.bottom: buttons.top
            anchors.leftMargin: root.isWide ? Theme.gap : 0
            anchors.topMargin: root.isWide ? 0 : Theme.gap
            anchors.bottomMargin: Theme.gap
            radius: Theme.radius
            color: Theme.card

            Label {
                id: eventsTitle

                anchors.left: parent.left
                anchors.right: parent.right
                anchors.margins: Theme.gap
                y: 5 * Theme.unit
                text: qsTr("Events")
                color: Theme.faint
                font.pixelSize: Theme.small
            }
            ListView {
                id: events

                objectName: "events"
                anchors.left: parent.left
                anchors.right: parent.right
                anchors.top: eventsTitle.bottom
                anchors.bottom: parent.bottom
                anchors.margins: 4 * Theme.unit
                clip: true
                model: log.model
                activeFocusOnTab: true
                currentIndex: -1 // otherwise the list would follow a line, not show the newest one
                onActiveFocusChanged: {
                    if (activeFocus)
                        currentIndex = Math.max(0, currentIndex);
                    else if (root.lastFocus !== events) // otherwise the line stays selected
                        currentIndex = -1;
                }
                highlightMoveDuration: 0
                Accessible.role: Accessible.List
                Accessible.name: eventsTitle.text

                Keys.onReturnPressed: if (count > 0)
                    root.showDetails(currentIndex)
                Keys.onEnterPressed: if (count > 0)
                    root.showDetails(currentIndex)

                delegate: EventLine {
                    // A line is too low for a finger, so a touch opens all visible lines.
                    onActivated: root.showDetails(Math.max(0, events.indexAt(0, events.contentY))) // qmllint disable unqualified
                }
            }
            Rectangle {
                anchors.fill: parent
                visible: events.activeFocus
                color: "transparent"
                radius: Theme.radius
                border.width: 3 * Theme.unit
                border.color: Theme.focus
            }
        }

        Grid {
            id: buttons

            readonly property real cell: (width - (columns - 1) * spacing) / columns

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            columns: root.isWide ? 4 : 2
            spacing: Theme.gap

            CommandButton {
                objectName: "buttonPrint"
                width: buttons.cell
                command: printCommand
                keyName: "F2"
                primary: true
            }
            CommandButton {
                objectName: "buttonFeed"
                width: buttons.cell
                command: feedCommand
                keyName: "F3"
            }
            CommandButton {
                objectName: "buttonCut"
                width: buttons.cell
                command: cutCommand
                keyName: "F4"
            }
            CommandButton {
                objectName: "buttonCalibrate"
                width: buttons.cell
                command: calibrateCommand
                keyName: "F5"
            }
            CommandButton {
                objectName: "buttonCancel"
                width: buttons.cell
                command: cancelCommand
                keyName: "F6"
            }
            CommandButton {
                objectName: "buttonLoad"
                width: buttons.cell
                command: loadCommand
                keyName: "F7"
            }
            ActionButton {
                objectName: "buttonHelp"
                width: buttons.cell
                label: qsTr("Help")
                about: qsTr("list of commands")
                keyName: "F1"
                onActivated: root.toggleHelp()
            }
            CommandButton {
                id: clearButton

                objectName: "buttonClear"
                width: buttons.cell
                command: clearCommand
                keyName: "F8"
                dangerous: true
                asks: true
                onActivated: {
                    if (!clearCommand.possible)
                        clearCommand.run();
                    else if (!clearCommand.atWork)
                        root.show("Question.qml", {});
                }
            }
        }
    }

    // The open sheet. It is loaded when it is opened, so that the panel starts faster.
    Loader {
        id: sheetLoader

        anchors.fill: parent
        anchors.topMargin: header.height + root.margin
    }
    Connections {
        target: root.openSheet
        ignoreUnknownSignals: true

        function onConfirmed() {
            clearCommand.run();
        }

        function onDismissed() {
            root.closeSheet();
        }
    }
}
