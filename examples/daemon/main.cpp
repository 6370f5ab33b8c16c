// SPDX-License-Identifier: MIT
// An I/O-expander daemon. A directory takes the place of its hardware: the daemon writes to the
// files "backlight" and "amplifier" to switch them, and each byte that it reads from "buttons" is a
// button.

#include <hnipc/ihnipcioexpd.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSocketNotifier>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusContext>

#include <cstdio>

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

    FrontPanel panel(hardware); // from now on clients find the daemon and wait for its replies

    const QDBusConnection bus = QDBusConnection::systemBus();
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
    return application.exec();
}

#include "main.moc"
