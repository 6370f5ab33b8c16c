// SPDX-License-Identifier: MIT
#ifndef EVENT_P_H
#define EVENT_P_H

#include "common/relay_p.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

class QDBusMessage;

// A row of the relay as HNIPCEvents has it.
struct Event
{
    HNIPCServer::ServerType daemon;
    QString name;    // of the signal
    int methodIndex; // in the meta-object of HNIPCEvents
    int parameterCount;
    QString wireSignature; // what a daemon's signal begins with
};

// The event of a relay row.
const Event &eventOfRow(int row);

// The row whose signal has this name; -1 for none.
int rowOfSignal(const QString &name);

// The row of a daemon's signal; -1 for none, and if the arguments are not those that are declared.
// Further arguments are allowed.
int rowOfMessage(const QDBusMessage &message);

#endif
