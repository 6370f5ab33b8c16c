// SPDX-License-Identifier: MIT
//
// hnipc-bench-instructions: calls of the client, and the same calls with Qt alone. scripts/bench
// runs it under valgrind, which counts the instructions of the functions named measured_... Other
// programs on the machine do not change these counts.

#include "daemons.h"
#include "rawcall.h"

#include <hnipc/hnipc.h>

static const QString sku = QLatin1String("LBL-100060-WH");

#define MEASURED extern "C" __attribute__((noinline))

MEASURED void measured_lid_Qt(QDBusInterface *m4) { ask<bool>(m4, "printerLid"); }
MEASURED void measured_lid_HNIPC(HNIPC *printer) { printer->printerLid(); }

MEASURED void measured_text_Qt(QDBusInterface *supplyd)
{
    ask<QString>(supplyd, "supplySKUCached", QVariantList() << sku);
}
MEASURED void measured_text_HNIPC(HNIPC *printer) { printer->supplySKUCached(sku); }

MEASURED void measured_record_Qt(QDBusInterface *supplyd)
{
    ask<SupplyInformation>(supplyd, "supplyInformation", QVariantList() << sku);
}
MEASURED void measured_record_HNIPC(HNIPC *printer) { printer->supplyInformation(sku); }

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const DaemonProcess m4Process(HNIPC_BENCH_M4, "org.hnipc.m4");
    const DaemonProcess supplydProcess(HNIPC_BENCH_DAEMON, "org.hnipc.supplyd");
    HNIPC printer;
    QDBusInterface *m4 = newProxy("org.hnipc.m4", "local.IHNIPCM4");
    QDBusInterface *supplyd = newProxy("org.hnipc.supplyd", "local.IHNIPCSUPPLYD");
    for (int i = 0; i < 1000; ++i) {
        measured_lid_Qt(m4);
        measured_lid_HNIPC(&printer);
        measured_text_Qt(supplyd);
        measured_text_HNIPC(&printer);
        measured_record_HNIPC(&printer); // registers the record's type
        measured_record_Qt(supplyd);
    }
    return 0;
}
