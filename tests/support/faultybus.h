// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_FAULTYBUS_H
#define HNIPC_TESTS_FAULTYBUS_H

#include "mortalprocess.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryFile>

// A private bus in the system bus' place that allows everything but what the rules deny, and can die
// and come back at the same address. To be made before the first Qt connection.
class FaultyBus
{
public:
    // Both are elements of the bus' configuration.
    explicit FaultyBus(const QByteArray &limits = QByteArray(),
                       const QByteArray &rules = QByteArray())
    {
        if (!m_configuration.open()) {
            qFatal("no place for a bus");
        }
        m_socket = m_configuration.fileName() + QLatin1String(".bus");
        const QByteArray address = "unix:path=" + QFile::encodeName(m_socket);
        m_configuration.write(
            "<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN'"
            " 'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>"
            "<busconfig><type>session</type><listen>"
            + address
            + "</listen>"
              "<auth>EXTERNAL</auth>"
            + limits
            + "<policy context='default'><allow own='*'/><allow eavesdrop='true'/>"
              "<allow send_destination='*' eavesdrop='true'/>"
            + rules + "</policy></busconfig>");
        m_configuration.close();
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
        start();
    }

    ~FaultyBus() { kill(); }

    void start()
    {
        m_bus.start(QLatin1String("dbus-daemon"),
                    QStringList() << QLatin1String("--config-file=") + m_configuration.fileName()
                                  << QLatin1String("--nofork") << QLatin1String("--print-address"));
        // It prints once it listens.
        if (!m_bus.waitForStarted() || !m_bus.waitForReadyRead()) {
            qFatal("no private bus: %s", m_bus.readAllStandardError().constData());
        }
        m_bus.readAllStandardOutput();
    }

    // It dies without a word to anybody, and leaves its socket behind.
    void kill()
    {
        m_bus.kill();
        m_bus.waitForFinished();
        QFile::remove(m_socket);
    }

private:
    QTemporaryFile m_configuration;
    QString m_socket;
    MortalProcess m_bus;
};

#endif
