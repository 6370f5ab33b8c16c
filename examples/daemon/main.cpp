// SPDX-License-Identifier: MIT
// An I/O-expander daemon. A directory takes the place of its hardware: the daemon writes to the
// files "backlight" and "amplifier" to switch them, and each byte that it reads from "buttons" is a
// button.

#include <hnipc/ihnipcioexpd.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSocketNotifier>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusContext>

#include <cstdint>
#include <cstdio>
#include <systemd/sd-daemon.h>

class FrontPanel : public IHNIPCIOEXPD, protected QDBusContext
{
    Q_OBJECT // needed for QDBusContext

public:
    explicit FrontPanel(const QDir &hardware) : m_hardware(hardware) {}

    void enableAudioAmp(bool value) override { write("amplifier", value); }
    void enableBacklight(bool value) override { write("backlight", value); }
    void printerSoftCancel() override { pulseCancelButtonSignal(); }

    void press(char button)
    {
        if (button == 'p') {
            pulsePrintButtonSignal();
        } else if (button == 'h') {
            pulseHelpButtonSignal();
        } else if (button == 'c') {
            pulseCancelButtonSignal();
        }
    }

private:
    void write(const char *name, bool value)
    {
        QFile file(m_hardware.filePath(name));
        if (file.open(QIODevice::WriteOnly | QIODevice::ExistingOnly)) {
            file.write(value ? "1\n" : "0\n");
        } else {
            sendErrorReply("org.example.Hardware", QString("The %1 does not answer").arg(name));
        }
    }

    const QDir m_hardware;
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);

    const QDir hardware(application.arguments().value(1));
    QFile buttons(hardware.filePath("buttons"));
    // ReadWrite, so that a FIFO opens and stays open while no other process has it open.
    if (!buttons.open(QIODevice::ReadWrite | QIODevice::Unbuffered)) {
        fprintf(stderr, "%s: %s\n", qPrintable(buttons.fileName()),
                qPrintable(buttons.errorString()));
        return 1;
    }

    // When the bus connection is lost, the daemon ends: Qt does not connect again.
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.connect(QString(), "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local",
                "Disconnected", &application, SLOT(quit()));

    FrontPanel panel(hardware); // from now on clients find the daemon and wait for its replies

    if (!bus.isConnected()
        || bus.interface()->serviceOwner("org.hnipc.ioexpd").value() != bus.baseService()) {
        fputs("the system bus did not give this process the name org.hnipc.ioexpd\n", stderr);
        return 1;
    }
    puts("serving");
    fflush(stdout);

    QSocketNotifier notifier(buttons.handle(), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [&buttons, &panel]() {
        char button;
        if (buttons.getChar(&button)) {
            panel.press(button);
        }
    });

    // With WatchdogSec= in its unit, systemd restarts the daemon if the event loop hangs.
    QTimer alive;
    QObject::connect(&alive, &QTimer::timeout, []() { sd_notify(0, "WATCHDOG=1"); });
    uint64_t microseconds = 0;
    if (sd_watchdog_enabled(0, &microseconds) > 0) {
        alive.start(int(microseconds / 1000 / 3));
    }

    application.exec();
    fputs("the connection to the system bus was lost\n", stderr);
    return 1;
}

#include "main.moc"
