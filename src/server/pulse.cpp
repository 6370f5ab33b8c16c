// SPDX-License-Identifier: MIT
#include "server/pulse_p.h"

#include "common/serviceidentity_p.h"

bool sendPulse(HNIPCServer *server, const char *name, Arguments arguments)
{
    const ServiceIdentity *daemon = serviceIdentity(server->getServerType());
    QList<QVariant> list;
    for (const Argument &argument : arguments) {
        list.append(argument.wrapped());
    }
    return server->pulseSignal(daemon->path, daemon->interfaceName, QLatin1String(name), list);
}
