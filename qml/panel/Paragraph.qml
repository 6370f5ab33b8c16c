// SPDX-License-Identifier: MIT
import QtQuick 2.15

// A text in as many lines as it needs, which a screen reader finds.
Label {
    wrapMode: Text.Wrap
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
