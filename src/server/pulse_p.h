// SPDX-License-Identifier: MIT
#ifndef PULSE_P_H
#define PULSE_P_H

#include <hnipc/hnipcserver.h>

#include <QtCore/QVariant>

// Emits the signal of this name from the daemon's object, on the daemon's interface.
bool sendPulse(HNIPCServer *server, const char *name, const QVariantList &arguments);

// A row of an interface class. With -O3, g++ would inline this into every row.
template <typename... Values>
__attribute__((noinline)) bool pulse(HNIPCServer *server, const char *name, const Values &...values)
{
    return sendPulse(server, name, { QVariant(values)... });
}

#endif
