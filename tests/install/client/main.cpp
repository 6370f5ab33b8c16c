// SPDX-License-Identifier: MIT
// Calls each daemon a few times and prints the values. With --listen it keeps running and prints
// events too, until the supply daemon asks applications to close or a signal ends it.

#include "watcher.h"

#include <hnipc/hnipc.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaProperty>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusReply>

#include <cstdio>

namespace {

void say(const char *what, const QString &value)
{
    say(QString(QLatin1String("%1: %2")).arg(QLatin1String(what), value));
}

// If a daemon is not running, the client returns the same as for a real 0; the bus knows the
// difference.
bool isPresent(const char *busName)
{
    const bool present = QDBusConnection::systemBus().interface()->isServiceRegistered(
        QLatin1String(busName));
    say(busName, QLatin1String(present ? "on the bus" : "absent, so it would answer 0 or empty"));
    return present;
}

void askIoExpander(HNIPC &hnipc)
{
    if (!isPresent("org.hnipc.ioexpd")) {
        return;
    }
    hnipc.enableBacklight(true);
    say("  backlight", QLatin1String("asked to be on"));
}

void askPrintEngine(HNIPC &hnipc)
{
    if (!isPresent("org.hnipc.m4")) {
        return;
    }
    say("  version", hnipc.m4Version());
    say("  lid", QString::number(hnipc.printerLid()));
    say("  status", QString::number(hnipc.getPrinterStatus(QLatin1String("labelprinter"))));

    // A measurement: request a fresh reading, then read the value that the daemon holds.
    if (!hnipc.reqTph1Therm()) {
        say("  print head 1", QLatin1String("refused to measure"));
    }
    say("  print head 1", QString::number(hnipc.tph1Therm()));
}

void askSupplies(HNIPC &hnipc)
{
    if (!isPresent("org.hnipc.supplyd")) {
        return;
    }
    say("  supplies", hnipc.supplySKUList().join(QLatin1String(" ")));
    say("  ribbons", hnipc.supplyRibbonSKUList().join(QLatin1String(" ")));

    const QString sku = hnipc.supplySKUCached();
    say("  loaded", sku);
    say("  material", hnipc.supplyMaterialName(sku));
    say("  width", QString::number(hnipc.supplyWidth(sku)));

    const SupplyInformation information = hnipc.supplyInformation();
    say("  record",
        information.text1 + QLatin1String(", ribbons ")
            + information.textList1.join(QLatin1String(" ")));
}

// The properties that QML screens bind to. Each getter calls its daemon.
void readProperties(const HNIPC &hnipc)
{
    say(QLatin1String("properties, 0 or empty where the daemon is absent"));
    const QMetaObject *meta = hnipc.metaObject();
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
        const QVariant value = meta->property(i).read(&hnipc);
        const bool isList = value.userType() == QMetaType::QStringList;
        say(meta->property(i).name(),
            isList ? value.toStringList().join(QLatin1String(" ")) : value.toString());
    }
}

void watch(HNIPC &hnipc, Watcher &watcher)
{
    QObject::connect(&hnipc, SIGNAL(PrintButton()), &watcher, SLOT(printButton()));
    QObject::connect(&hnipc, SIGNAL(HelpButton()), &watcher, SLOT(helpButton()));
    QObject::connect(&hnipc, SIGNAL(CancelButton()), &watcher, SLOT(cancelButton()));
    QObject::connect(&hnipc, SIGNAL(M4PrinterLid(bool)), &watcher, SLOT(printerLid(bool)));
    QObject::connect(&hnipc, SIGNAL(Error(int)), &watcher, SLOT(error(int)));
    QObject::connect(&hnipc, SIGNAL(M4TphTherm(int, qint32)), &watcher,
                     SLOT(tphTherm(int, qint32)));
    QObject::connect(&hnipc, SIGNAL(SupplyChanged(QString, QString)), &watcher,
                     SLOT(supplyChanged(QString, QString)));
    QObject::connect(&hnipc, SIGNAL(CloseApplicationSignal()), qApp, SLOT(quit()));
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (!QDBusConnection::systemBus().isConnected()) {
        fputs("There is no system bus.\n", stderr);
        return 1;
    }

    HNIPC hnipc;
    Watcher watcher;
    watch(hnipc, watcher);

    askIoExpander(hnipc);
    askPrintEngine(hnipc);
    askSupplies(hnipc);
    readProperties(hnipc);

    if (!application.arguments().contains(QLatin1String("--listen"))) {
        return 0;
    }
    say(QLatin1String("listening"));
    return application.exec();
}
