// SPDX-License-Identifier: MIT
// A typical application: calls each daemon once, reads a property, and receives the signal of the
// lid.

#include <hnipc/hnipc.h>

#include <QtCore/QCoreApplication>

#include <cstdio>

class Application : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void lid(bool open)
    {
        std::printf("lid %d\n", open);
        std::fflush(stdout);
        QCoreApplication::quit();
    }
};

int main(int argc, char **argv)
{
    QCoreApplication core(argc, argv);
    HNIPC printer;
    Application application;
    QObject::connect(&printer, SIGNAL(M4PrinterLid(bool)), &application, SLOT(lid(bool)));
    printer.enableBacklight(true);
    const bool fed = printer.forwardFeed(200);
    const QString sku = printer.supplySKUCached();
    const int error = printer.property("qmlPrintEngineErrorCode").toInt();
    std::printf("fed %d, error %d, sku %s\n", fed, error,
                sku.isNull() ? "null" : sku.toLatin1().constData());
    std::fflush(stdout);
    return core.exec();
}

#include "application.moc"
