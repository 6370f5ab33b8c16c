// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_QML_HANDLERS_H
#define HNIPC_TESTS_QML_HANDLERS_H

#include "expected/clientsignals.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>

inline QByteArray nameOf(const QByteArray &signature)
{
    return signature.left(signature.indexOf('('));
}

inline QList<QByteArray> namesOf(const QByteArray &parameters)
{
    return parameters.isEmpty() ? QList<QByteArray>() : parameters.split(',');
}

// The name of the signal of HNIPCEvents for which QML finds a handler.
inline QByteArray eventTwinOf(const Expected::ClientSignal &signal)
{
    const QByteArray name = nameOf(signal.signature);
    return name.left(1).toLower() + name.mid(1);
}

inline QByteArray eventHandlerOf(const Expected::ClientSignal &signal)
{
    return "on" + nameOf(signal.signature);
}

// The name of the signal of HNIPC, which differs because HNIPC has methods with some of these
// names.
inline QByteArray twinOf(const Expected::ClientSignal &signal)
{
    const QByteArray name = nameOf(signal.signature);
    if (name == "M4Version") {
        return "m4VersionSignal";
    }
    if (name == "PrintQueueFull") {
        return "printQueueFullSignal";
    }
    if (name == "PrintQueueComplete") {
        return "printQueueCompleteSignal";
    }
    return eventTwinOf(signal);
}

inline QByteArray handlerOf(const Expected::ClientSignal &signal)
{
    const QByteArray twin = twinOf(signal);
    return "on" + twin.left(1).toUpper() + twin.mid(1);
}

#endif
