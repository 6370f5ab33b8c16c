// SPDX-License-Identifier: MIT
#ifndef PULSE_P_H
#define PULSE_P_H

#include "common/serviceidentity_p.h"

#include <hnipc/hnipcserver.h>

// Sends the signal of this name from the daemon's object, on the daemon's interface.
template <typename... Arguments>
bool pulse(HNIPCServer *server, const char *name, const Arguments &...arguments)
{
    const ServiceIdentity *daemon = serviceIdentity(server->getServerType());
    const QList<QVariant> list = { QVariant(arguments)... };
    return server->pulseSignal(daemon->path, daemon->interfaceName, QLatin1String(name), list);
}

#endif
