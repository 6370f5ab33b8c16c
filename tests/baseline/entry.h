// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_BASELINE_ENTRY_H
#define HNIPC_TESTS_BASELINE_ENTRY_H

#include <QtCore/QByteArray>
#include <QtCore/QList>

// One promise of an interface, which is one line of a baseline:
//     kind place: name = result [names]
// All but the kind and the name may be missing.
struct Entry
{
    QByteArray section; // the class or the bus interface
    QByteArray kind;
    int place;         // index or offset; -1 where the order is no promise
    QByteArray name;   // what tells it from its neighbours
    QByteArray result; // or type, or value
    QByteArray names;  // of the parameters
};

typedef QList<Entry> Entries;

QByteArray textOf(const Entries &entries);
// A line that is none has the kind "?".
Entries entriesIn(const QByteArray &text);

#endif
