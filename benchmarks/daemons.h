// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_DAEMONS_H
#define HNIPC_BENCHMARKS_DAEMONS_H

#include "support/process.h"

#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusReply>

// Runs a daemon in a separate process while this object exists.
class DaemonProcess
{
public:
    DaemonProcess(const char *program, const char *busName)
    {
        m_process.forwardErrors();
        m_process.start(QLatin1String(program), QStringList());
        if (!m_process.waitForStarted()) {
            qFatal("cannot start %s", program);
        }
        const QLatin1String name(busName);
        while (!QDBusConnection::systemBus().interface()->isServiceRegistered(name).value()) {
            if (m_process.waitForFinished(10)) {
                qFatal("%s exited", program);
            }
        }
    }

    pid_t id() const { return m_process.id(); }

private:
    Process m_process;
};

// Returns the next line that the process prints.
inline QByteArray lineOf(QProcess *process)
{
    while (!process->canReadLine()) {
        if (!process->waitForReadyRead(60 * 1000)) {
            qFatal("a process exited, or printed nothing for 60 s");
        }
    }
    return process->readLine().trimmed();
}

#endif
