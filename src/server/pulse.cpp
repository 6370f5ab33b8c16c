// SPDX-License-Identifier: MIT
#include "server/pulse_p.h"

#include "common/serviceidentity_p.h"

bool sendPulse(HNIPCServer *server, const char *name, const QVariantList &arguments)
{
    const ServiceIdentity *daemon = serviceIdentity(server->getServerType());
    return server->pulseSignal(daemon->path, daemon->interfaceName, QLatin1String(name), arguments);
}
