// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_ENTRY_H
#define HNIPC_TESTS_BASELINE_ENTRY_H

#include <QtCore/QByteArray>
#include <QtCore/QList>

// One guarantee of an interface, which is one line of a baseline:
//     kind place: name = result [names]
// All fields but the kind and the name may be missing.
struct Entry
{
    QByteArray section; // the class or the bus interface
    QByteArray kind;
    int place;         // index or offset; -1 if the order is not guaranteed
    QByteArray name;   // distinguishes it from its neighbours
    QByteArray result; // type or value
    QByteArray names;  // of the parameters
};

typedef QList<Entry> Entries;

QByteArray textOf(const Entries &entries);
// A line that is not an entry gets the kind "?".
Entries entriesIn(const QByteArray &text);

#endif
