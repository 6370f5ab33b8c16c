// SPDX-License-Identifier: MIT
#ifndef PULSE_P_H
#define PULSE_P_H

#include "common/arguments_p.h"

#include <hnipc/hnipcserver.h>

// Sends the signal of this name from the daemon's object, on the daemon's interface.
bool sendPulse(HNIPCServer *server, const char *name, Arguments arguments);

// The same, as the rows say it.
template <typename... Values>
bool pulse(HNIPCServer *server, const char *name, const Values &...values)
{
    return sendPulse(server, name, { Argument(values)... });
}

#endif
