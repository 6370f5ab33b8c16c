// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_POLICYBUS_H
#define HNIPC_TESTS_POLICYBUS_H

#include <QtCore/QByteArray>
#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryFile>

// A private bus in the system bus' place that allows everything but what the rules deny. To be made
// before the first Qt connection, and after the application.
class PolicyBus
{
public:
    // The limits are elements of the bus' configuration.
    explicit PolicyBus(const QByteArray &rules, const QByteArray &limits = QByteArray())
    {
        if (!m_configuration.open()) {
            qFatal("no place for a bus");
        }
        m_configuration.write(
            "<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN' "
            "'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>"
            "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
            "<policy context='default'><allow own='*'/>"
            "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/>"
            + rules + "</policy>" + limits + "</busconfig>");
        m_configuration.close();
        m_bus.start(QLatin1String("dbus-daemon"),
                    QStringList() << QLatin1String("--nofork") << QLatin1String("--print-address")
                                  << QLatin1String("--config-file=") + m_configuration.fileName());
        while (!m_bus.canReadLine() && m_bus.waitForReadyRead()) {
        }
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus.readLine().trimmed());
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
    }

    ~PolicyBus()
    {
        m_bus.terminate();
        m_bus.waitForFinished();
    }

private:
    QTemporaryFile m_configuration;
    QProcess m_bus;
};

#endif
