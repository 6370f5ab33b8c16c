// SPDX-License-Identifier: MIT
//
// hnipc-bench-idle-hnipc, hnipc-bench-idle-events, hnipc-bench-idle-qt: an idle program with an
// HNIPC object, with HNIPCEvents and eight readings, or with only a connection to the bus. It
// prints how many microseconds the object took to start (HNIPCEvents: until it listens), and the
// private memory of the program in KiB.

#ifdef WITH_HNIPC
#include <hnipc/hnipc.h>
#endif
#ifdef WITH_EVENTS
#include "readings.h"

#include <hnipc/hnipcevents.h>
#endif

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>

#include <cstdio>

static double privateKilobytes()
{
    QFile file(QLatin1String("/proc/self/smaps_rollup"));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot open %s", qPrintable(file.fileName()));
    }
    double result = 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("Private_")) {
            result += line.simplified().split(' ').at(1).toDouble();
        }
    }
    return result;
}

int main(int argc, char **argv)
{
    if (argc > 1) { // --nothing
        return 0;
    }
    QCoreApplication application(argc, argv);
    QElapsedTimer clock;
    clock.start();
#if defined WITH_HNIPC
    HNIPC printer;
#elif defined WITH_EVENTS
    HNIPCEvents events;
    QEventLoop loop;
    loop.connect(&events, SIGNAL(listeningChanged(bool)), SLOT(quit()));
    loop.exec();
#else
    QDBusConnection::systemBus();
#endif
    const double started = double(clock.nsecsElapsed()) / 1000;
    if (!QDBusConnection::systemBus().isConnected()) {
        qFatal("no connection to the system bus");
    }
#ifdef WITH_EVENTS
    Readings readings;
    for (const char *name : { "qmlSupplyPercent", "qmlSupplyColorRGB", "qmlRibbonPercent",
                              "qmlRibbonColorRGBs", "qmlSupplySKU", "qmlPrintEngineErrorCode",
                              "qmlPrintEngineAlertCode", "qmlBatteryStatus" }) {
        readings.add(name);
    }
    readings.waitUntilKnown();
#endif
    QCoreApplication::processEvents();
    std::printf("%.1f %.0f\n", started, privateKilobytes());
    return 0;
}
