// SPDX-License-Identifier: MIT
#include "common/serviceidentity_p.h"

#define BUS_NAME_PREFIX "org.hnipc"

const ServiceIdentity *serviceIdentity(HNIPCServer::ServerType type)
{
    static const QLatin1String path("/");
    static const ServiceIdentity ioexpd = { QLatin1String(BUS_NAME_PREFIX ".ioexpd"), path,
                                            QLatin1String("local.IHNIPCIOEXPD") };
    static const ServiceIdentity m4 = { QLatin1String(BUS_NAME_PREFIX ".m4"), path,
                                        QLatin1String("local.IHNIPCM4") };
    static const ServiceIdentity supplyd = { QLatin1String(BUS_NAME_PREFIX ".supplyd"), path,
                                             QLatin1String("local.IHNIPCSUPPLYD") };

    switch (type) {
    case HNIPCServer::IOEXPD:
        return &ioexpd;
    case HNIPCServer::M4:
        return &m4;
    case HNIPCServer::SUPPLYD:
        return &supplyd;
    }
    return 0;
}
