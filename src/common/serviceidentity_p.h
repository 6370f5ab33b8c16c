// SPDX-License-Identifier: MIT
#ifndef SERVICEIDENTITY_P_H
#define SERVICEIDENTITY_P_H

#include <hnipc/hnipcserver.h>

#include <QtCore/QLatin1String>

// The address of a daemon on the system bus. Each daemon exports one object, at the same path.
struct ServiceIdentity
{
    QLatin1String busName;
    QLatin1String path;
    QLatin1String interfaceName;
};

// The identity of the daemon; null if the type selects no daemon.
const ServiceIdentity *serviceIdentity(HNIPCServer::ServerType type);

#endif
