// SPDX-License-Identifier: MIT
// A complete I/O-expander daemon. A real one would drive the hardware; this one prints.

#include <hnipc/ihnipcioexpd.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusReply>

#include <cstdio>

class FrontPanel : public IHNIPCIOEXPD
{
public:
    void enableAudioAmp(bool value) override { say(value ? "amplifier on" : "amplifier off"); }
    void enableBacklight(bool value) override { say(value ? "backlight on" : "backlight off"); }

    // When an application cancels, all applications receive the same signal as for the button.
    void printerSoftCancel() override
    {
        say("soft cancel");
        pulseCancelButtonSignal();
    }

private:
    static void say(const char *what)
    {
        puts(what);
        fflush(stdout);
    }
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);

    // The library does not report a missing bus, so the daemon checks the connection itself.
    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        fputs("There is no system bus.\n", stderr);
        return 1;
    }
    FrontPanel panel; // exported on the bus from here on
    const QString owner = bus.interface()->serviceOwner(QLatin1String("org.hnipc.ioexpd")).value();
    if (owner != bus.baseService()) {
        fputs("The system bus did not give this process the name org.hnipc.ioexpd.\n", stderr);
        return 1;
    }

    // The pulse operations are slots: anything that detects a button can be connected to one of
    // them.
    QTimer finger;
    QObject::connect(&finger, SIGNAL(timeout()), &panel, SLOT(pulsePrintButtonSignal()));
    finger.start(5000);

    return application.exec();
}
