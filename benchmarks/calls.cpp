// SPDX-License-Identifier: MIT
//
// hnipc-bench-calls: the time of one blocking call of the client, compared with other ways to make
// the same call of the same daemon, by the place of its slot, and by the type of the reply.

#include "daemons.h"
#include "m4proxy.h"
#include "peers.h"
#include "rawcall.h"
#include "samples.h"

#include <hnipc/hnipc.h>

static void compareWays(HNIPC *printer, QDBusInterface *m4)
{
    LocalIHNIPCM4Interface generated(QLatin1String("org.hnipc.m4"), QLatin1String("/"),
                                     QDBusConnection::systemBus());
    GlibPeer::connectToBus();
    SystemdPeer::connectToBus();
    compare("one call", 100, 200,
            { { "QDBusInterface, automatic", [=] { ask<bool>(m4, "printerLid"); } },
              { "HNIPC", [=] { printer->printerLid(); } },
              { "QDBusInterface, blocking",
                [=] { ask<bool>(m4, "printerLid", QVariantList(), QDBus::Block); } },
              { "generated proxy", [&] { generated.printerLid().value(); } },
              { "GDBus", [] { GlibPeer::printerLid(); } },
              { "sd-bus", [] { SystemdPeer::printerLid(); } },
              { "socket, no bus", [] { SocketPeer::roundTrip(); } } });
}

static void comparePlaces(HNIPC *printer)
{
    compare("place of the slot", 100, 100,
            { { "48th, the first that a client calls", [=] { printer->getError(); } },
              { "71st, getBatteryStatus", [=] { printer->getBatteryStatus(); } },
              { "136th, the last", [=] { printer->tach4Tension(); } } });
}

static void compareAnswers(HNIPC *printer, QDBusInterface *supplyd)
{
    const QString sku = QLatin1String("LBL-100060-WH");
    compare("reply: a string", 40, 200,
            { { "Qt", [=] { ask<QString>(supplyd, "supplySKUCached", { QString() }); } },
              { "HNIPC", [=] { printer->supplySKUCached(); } } });
    compare("reply: a list of 20 strings", 40, 200,
            { { "Qt", [=] { ask<QStringList>(supplyd, "supplySKUList"); } },
              { "HNIPC", [=] { printer->supplySKUList(); } } });
    compare("reply: the record", 40, 200,
            { { "Qt", [=] { ask<SupplyInformation>(supplyd, "supplyInformation", { sku }); } },
              { "HNIPC", [=] { printer->supplyInformation(sku); } } });
    compare("reply: an image of 1 MiB", 40, 10,
            { { "Qt", [=] { ask<QByteArray>(supplyd, "supplyBackgroundImage", { sku }); } },
              { "HNIPC", [=] { printer->supplyBackgroundImage(sku); } } });
}

int main(int argc, char **argv)
{
    SocketPeer::start(); // before any thread is started
    QCoreApplication application(argc, argv);
    const DaemonProcess m4Process(HNIPC_BENCH_M4, "org.hnipc.m4");
    const DaemonProcess supplydProcess(HNIPC_BENCH_DAEMON, "org.hnipc.supplyd");
    HNIPC printer;
    QDBusInterface *m4 = newProxy("org.hnipc.m4", "local.IHNIPCM4");
    QDBusInterface *supplyd = newProxy("org.hnipc.supplyd", "local.IHNIPCSUPPLYD");

    compareWays(&printer, m4);
    comparePlaces(&printer);
    compareAnswers(&printer, supplyd);
    return 0;
}
