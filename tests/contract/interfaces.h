// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_INTERFACES_H
#define HNIPC_TESTS_INTERFACES_H

#include "expected/identities.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

namespace Expected {

// A method of a daemon, as interfaces/ describes it.
struct ServerSlot
{
    QByteArray name;
    QByteArray signature;      // with Qt types: "setDac(uint)"
    QByteArray parameterNames; // "type,definedMessage"
    QByteArray reply;          // Qt type
    QByteArray in;             // D-Bus types
    QByteArray out;            // D-Bus type
    bool cloned;               // the method above without its last parameter, which has a default

    // For a pulse operation: the signal that it sends with its own parameters. Otherwise empty.
    QByteArray member;
    QByteArray memberTypes; // D-Bus types

    bool isPulse() const { return !member.isEmpty(); }
};

// In the order of interfaces/, which is that of the declarations.
const QList<ServerSlot> &serverSlots(int server);

} // namespace Expected

#endif
