// SPDX-License-Identifier: MIT
//
// hnipc-bench-idle-hnipc, hnipc-bench-idle-qt: a program that is on the bus, with a client and
// without, and says how many KiB of memory it shares with nobody.

#ifdef WITH_HNIPC
#include <hnipc/hnipc.h>
#endif

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>

#include <cstdio>

static double privateKilobytes()
{
    QFile file(QLatin1String("/proc/self/smaps_rollup"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no %s", qPrintable(file.fileName()));
    double result = 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("Private_"))
            result += line.simplified().split(' ').at(1).toDouble();
    }
    return result;
}

int main(int argc, char **argv)
{
    if (argc > 1) // --nothing
        return 0;
    QCoreApplication application(argc, argv);
    if (!QDBusConnection::systemBus().isConnected())
        qFatal("no bus");
#ifdef WITH_HNIPC
    HNIPC printer;
#endif
    QCoreApplication::processEvents();
    std::printf("%.0f\n", privateKilobytes());
    return 0;
}
