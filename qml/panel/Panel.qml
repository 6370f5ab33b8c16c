// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Layouts 1.15
import HNIPC 1.0

// The printer's front panel, for any size of screen: the rolls beside what happens where it is wide,
// above it where it is high.
Rectangle {
    id: root

    readonly property bool isWide: width >= height
    readonly property alias listening: log.listening
    readonly property Item openSheet: help.visible ? help : details.visible ? details : question.visible ? question : null

    readonly property var commands: [printCommand, feedCommand, cutCommand, calibrateCommand, cancelCommand, loadCommand, clearCommand]

    // What else a person should know.
    readonly property string note: Words.sentence(Words.list([engine.alert !== 0 && !engine.isAlertSaid && engine.isThere ? Words.alert(engine.alert) : "", daemons.known && !daemons.supplyd ? qsTr("supply daemon is absent") : "", daemons.known && !daemons.ioexpd ? qsTr("the printer's buttons do not work") : ""], "; "))

    // Milliseconds
    property int patience: 30000 // when a command has no reply until then, a person goes and looks
    property int outcomeTime: 60000 // an outcome is shown
    property int movingTime: 10000 // after a label, the printer is taken to be printing
    property int jobTime: 60000 // without a label, a job of this panel is taken to have ended
    property int overdueTime: 3000 // a daemon that has not replied until then is said to be silent

    property Item lastFocus: null

    function show(sheet) {
        closeSheets();
        lastFocus = focusedItem();
        sheet.open();
    }

    function closeSheets() {
        for (const sheet of [help, details, question])
            sheet.close();
    }

    // Of this line and those before it.
    function showDetails(index: int) {
        const texts = [];
        for (let i = index; i < Math.min(log.model.count, index + 10); ++i)
            texts.push(log.model.get(i).detail);
        detailText.text = texts.join("\n\n");
        show(details);
    }

    function toggleHelp() {
        if (help.visible)
            help.close();
        else
            show(help);
    }

    function onSheetClosed() {
        if (lastFocus && lastFocus.visible)
            lastFocus.forceActiveFocus();
        else
            root.forceActiveFocus();
    }

    // A button, or the list of events.
    function focusedItem() {
        for (let i = 0; i < buttons.children.length; ++i) {
            if (buttons.children[i].activeFocus)
                return buttons.children[i];
        }
        return events.activeFocus ? events : null;
    }

    // The arrow keys, among the buttons.
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

    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft // qmllint disable
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

    // No letter does anything, since a barcode scanner types them.
    Keys.onPressed: function (event) {
        if ([Qt.Key_Left, Qt.Key_Right, Qt.Key_Up, Qt.Key_Down].includes(event.key)) {
            moveFocus(event.key);
            event.accepted = true;
            return;
        }
        const key = event.isAutoRepeat ? -1 : event.key - Qt.Key_F1;
        if (key < 0 || key > 7)
            return;
        event.accepted = true;
        [toggleHelp, printCommand.run, feedCommand.run, cutCommand.run, calibrateCommand.run, cancelCommand.run, loadCommand.run, clearButton.activated][key]();
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
        onErrorChanged: {
            if (error !== 0) {
                printCommand.settle(qsTr("stopped: %1").arg(Words.error(error)), false, error);
                if (lastError === 0)
                    root.closeSheets();
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
                forget(); // it has ended before the reply came
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
        help: qsTr("measures the supply that is in.")
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

        // The signal may be of another printer, so its argument is not used.
        method: "supplyRibbonSKUsCached"
        signals: ["RibbonChanged"]
        deadline: Theme.patience
    }

    GridLayout {
        objectName: "page"
        anchors.fill: parent
        anchors.margins: 1.25 * Theme.gap
        columns: root.isWide ? 2 : 1
        columnSpacing: Theme.gap
        rowSpacing: Theme.gap

        Item {
            id: header

            objectName: "header"
            Layout.columnSpan: root.isWide ? 2 : 1
            Layout.fillWidth: true
            implicitHeight: root.isWide ? 50 * Theme.unit : 86 * Theme.unit

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
            }
            Label {
                objectName: "note"
                anchors.left: icon.right
                anchors.leftMargin: Theme.gap
                anchors.right: parent.right
                y: 32 * Theme.unit
                text: root.note
                color: Theme.warning
                font.pixelSize: Theme.small
            }
            Row {
                id: chips

                anchors.right: parent.right
                y: root.isWide ? 1 * Theme.unit : 58 * Theme.unit
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

        ColumnLayout {
            Layout.fillWidth: true
            Layout.preferredWidth: 500
            Layout.fillHeight: root.isWide
            spacing: Theme.gap

            GridLayout {
                Layout.fillWidth: true
                columns: root.isWide ? 4 : 2
                columnSpacing: Theme.gap
                rowSpacing: Theme.gap

                Switch {
                    objectName: "lid"
                    Layout.fillWidth: true
                    name: qsTr("Lid")
                    method: "printerLid"
                    signalName: "M4PrinterLid"
                    words: [qsTr("closed"), qsTr("open")]
                }
                Switch {
                    objectName: "latch"
                    Layout.fillWidth: true
                    name: qsTr("Latch")
                    method: "supplyLatch"
                    signalName: "M4SupplyLatch"
                    words: [qsTr("closed"), qsTr("open")]
                }
                Switch {
                    objectName: "cutterCover"
                    Layout.fillWidth: true
                    name: qsTr("Cutter cover")
                    method: "cutterCover"
                    signalName: "M4CutterCover"
                    words: [qsTr("closed"), qsTr("open")]
                }
                Switch {
                    objectName: "cutterHome"
                    Layout.fillWidth: true
                    name: qsTr("Cutter")
                    method: "cutterHome"
                    signalName: "M4CutterHome"
                    words: [qsTr("moving"), qsTr("home")]
                    alarming: false
                }
            }
            SupplyRoll {
                objectName: "supply"
                Layout.fillWidth: true
            }
            RibbonRoll {
                objectName: "ribbon1"
                Layout.fillWidth: true
                index: 0
                skus: ribbonSkus
            }
            RibbonRoll {
                objectName: "ribbon2"
                Layout.fillWidth: true
                index: 1
                skus: ribbonSkus
            }
            Item {
                Layout.fillHeight: root.isWide
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.preferredWidth: 260
            Layout.minimumHeight: 70 * Theme.unit
            radius: Theme.radius
            color: Theme.card

            Label {
                id: eventsTitle

                anchors.left: parent.left
                anchors.right: parent.right
                anchors.margins: Theme.gap
                y: 5 * Theme.unit
                text: qsTr("What happens")
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
                currentIndex: -1 // or it would follow a line, and leave the latest one
                onActiveFocusChanged: currentIndex = activeFocus ? 0 : -1
                highlightMoveDuration: 0
                Accessible.role: Accessible.List
                Accessible.name: eventsTitle.text

                Keys.onReturnPressed: if (count > 0)
                    root.showDetails(currentIndex)
                Keys.onEnterPressed: if (count > 0)
                    root.showDetails(currentIndex)

                delegate: EventLine {
                    onActivated: root.showDetails(index) // qmllint disable unqualified
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

        GridLayout {
            id: buttons

            Layout.columnSpan: root.isWide ? 2 : 1
            Layout.fillWidth: true
            columns: root.isWide ? 4 : 2
            columnSpacing: Theme.gap
            rowSpacing: Theme.gap

            CommandButton {
                objectName: "buttonPrint"
                command: printCommand
                keyName: "F2"
                primary: true
            }
            CommandButton {
                objectName: "buttonFeed"
                command: feedCommand
                keyName: "F3"
            }
            CommandButton {
                objectName: "buttonCut"
                command: cutCommand
                keyName: "F4"
            }
            CommandButton {
                objectName: "buttonCalibrate"
                command: calibrateCommand
                keyName: "F5"
            }
            CommandButton {
                objectName: "buttonCancel"
                command: cancelCommand
                keyName: "F6"
            }
            CommandButton {
                objectName: "buttonLoad"
                command: loadCommand
                keyName: "F7"
            }
            ActionButton {
                objectName: "buttonHelp"
                Layout.fillWidth: true
                Layout.preferredWidth: 100
                label: qsTr("Help")
                about: qsTr("what is what")
                keyName: "F1"
                onActivated: root.toggleHelp()
            }
            CommandButton {
                id: clearButton

                objectName: "buttonClear"
                command: clearCommand
                keyName: "F8"
                dangerous: true
                asks: true
                onActivated: {
                    if (!clearCommand.possible)
                        clearCommand.run();
                    else if (!clearCommand.atWork)
                        root.show(question);
                }
            }
        }
    }

    Help {
        id: help

        objectName: "help"
        anchors.fill: parent
        anchors.topMargin: header.height + 1.25 * Theme.gap
        commands: root.commands
        onClosed: root.onSheetClosed()
    }
    Sheet {
        id: details

        objectName: "details"
        anchors.fill: help
        title: qsTr("In full")
        onClosed: root.onSheetClosed()

        Label {
            id: detailText

            objectName: "detailText"
            width: parent.width
            wrapMode: Text.Wrap
        }
    }
    Question {
        id: question

        objectName: "question"
        anchors.fill: help
        title: qsTr("Drop the job?")
        text: qsTr("The job is taken out of the queue, and its labels that are not printed are lost.")
        yes: qsTr("Drop the job")
        onClosed: root.onSheetClosed()
        onConfirmed: clearCommand.run()
    }
}
