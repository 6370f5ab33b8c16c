// SPDX-License-Identifier: MIT
#include "privatebus.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryFile>
#include <QtCore/QUuid>

#include <cerrno>
#include <cstdlib>
#include <unistd.h>

static QList<QByteArray> childrenOf(pid_t process)
{
    QFile file(QString::fromLatin1("/proc/%1/task/%1/children").arg(process));
    const QByteArray children = file.open(QFile::ReadOnly) ? file.readAll().simplified()
                                                           : QByteArray();
    return children.isEmpty() ? QList<QByteArray>() : children.split(' ');
}

BusProcess::BusProcess(const QByteArray &rules, const QByteArray &limits, const QByteArray &address)
    : m_address(address), m_configuration(configuration(address, rules, limits))
{
    start();
}

QByteArray BusProcess::newAddress()
{
    // The kernel frees this name when the bus ends.
    return "unix:abstract=hnipc-test-" + QUuid::createUuid().toString().mid(1, 36).toLatin1();
}

QByteArray BusProcess::configuration(const QByteArray &address, const QByteArray &rules,
                                     const QByteArray &limits)
{
    return "<!DOCTYPE busconfig PUBLIC '-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN'"
           " 'http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd'>"
           "<busconfig><type>session</type><listen>"
        + address + "</listen><auth>EXTERNAL</auth>" + limits
        + "<policy context='default'><allow own='*'/><allow eavesdrop='true'/>"
          "<allow send_destination='*' eavesdrop='true'/>"
        + rules + "</policy></busconfig>";
}

void BusProcess::start()
{
    QTemporaryFile file;
    if (!file.open() || file.write(m_configuration) != m_configuration.size() || !file.flush()) {
        qFatal("no configuration for a bus");
    }
    m_process.forwardErrors();
    m_process.start(QLatin1String("dbus-daemon"),
                    QStringList() << QLatin1String("--config-file=") + file.fileName()
                                  << QLatin1String("--nofork") << QLatin1String("--print-address"));
    // The bus prints its address when it has read the file and listens.
    while (!m_process.canReadLine()) {
        if (!m_process.waitForReadyRead()) {
            qFatal("no private bus");
        }
    }
    m_process.readAllStandardOutput();
}

void BusProcess::kill()
{
    const QList<QByteArray> children = childrenOf(m_process.id());
    signal(SIGKILL);
    m_process.waitForFinished();
    // The address is free when the last process of the bus has ended. Turns no event loop.
    for (const QByteArray &child : children) {
        while (isAlive(child)) {
            usleep(1000);
        }
    }
    if (m_address.startsWith("unix:path=")) {
        QFile::remove(QFile::decodeName(m_address.mid(10)));
    }
}

// With dbus-broker, a child of the started process does the work. The children end with their parent.
void BusProcess::signal(int number)
{
    const pid_t id = m_process.id();
    const QList<QByteArray> children = childrenOf(id);
    bool reached = id > 0 && ::kill(id, number) == 0;
    for (const QByteArray &child : children) {
        const bool isSent = ::kill(child.toInt(), number) == 0;
        reached = reached && (isSent || (number == SIGKILL && errno == ESRCH));
    }
    if (!reached) {
        qFatal("no way to signal the bus");
    }
}

PrivateBus *PrivateBus::s_instance = nullptr;

PrivateBus::PrivateBus(const QByteArray &rules, const QByteArray &limits)
    : BusProcess(rules, limits)
{
    s_instance = this;
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address().toLatin1());
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/session-bus");
    unsetenv("DISPLAY"); // no test opens a window on a real display
}

QProcessEnvironment environmentAt(const BusProcess &bus)
{
    QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
    result.insert(QLatin1String("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
    return result;
}
