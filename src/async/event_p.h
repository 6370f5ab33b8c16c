// SPDX-License-Identifier: MIT
#ifndef EVENT_P_H
#define EVENT_P_H

#include "common/relay_p.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

class QDBusMessage;

// A relay row, with the data needed to emit the signal of HNIPCEvents.
struct Event
{
    HNIPCServer::ServerType daemon;
    QString name;    // of the signal
    int methodIndex; // in the meta-object of HNIPCEvents
    int parameterCount;
    QString wireSignature; // of the parameters
};

const Event &eventOfRow(int row);

const int noRow = -1;

// The row whose signal has this name, or noRow.
int rowOfSignal(const QString &name);

// The row of a daemon's signal, or noRow, also if the first arguments do not have the declared types.
// Extra arguments after these are allowed.
int rowOfMessage(const QDBusMessage &message);

#endif
