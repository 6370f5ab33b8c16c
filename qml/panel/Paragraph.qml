// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A text to be read: as many lines as it takes, and a screen reader finds it.
Label {
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
