// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_DAEMONS_H
#define HNIPC_BENCHMARKS_DAEMONS_H

#include <QtCore/QProcess>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusReply>

// Qt 4 keeps them to itself.
inline void forwardErrors(QProcess *process)
{
#if QT_VERSION >= 0x050000
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
#else
    Q_UNUSED(process);
#endif
}

// A daemon in a process of its own, for as long as this lives.
class DaemonProcess
{
public:
    DaemonProcess(const char *program, const char *busName)
    {
        forwardErrors(&m_process);
        m_process.start(QLatin1String(program), QStringList());
        if (!m_process.waitForStarted())
            qFatal("no %s", program);
        const QLatin1String name(busName);
        while (!QDBusConnection::systemBus().interface()->isServiceRegistered(name).value()) {
            if (m_process.waitForFinished(10))
                qFatal("%s has ended", program);
        }
    }

    ~DaemonProcess()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }

    qint64 processId() const
    {
#if QT_VERSION < 0x050000
        return m_process.pid();
#else
        return m_process.processId();
#endif
    }

private:
    QProcess m_process;
};

#endif
