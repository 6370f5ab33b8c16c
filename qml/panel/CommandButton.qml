// SPDX-License-Identifier: MIT
import QtQuick 2.15

// The button of a command.
ActionButton {
    id: root

    required property Command command

    property bool asks: false // the owner asks for confirmation first

    label: command.label
    about: command.about
    outcome: command.outcome
    good: command.good
    atWork: command.atWork
    possible: command.possible
    onActivated: if (!asks)
        command.run()
}
