// SPDX-License-Identifier: MIT
#include "surroundings.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QList>

#include <unistd.h>

namespace {

QByteArray processFile(int pid, const char *name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// 0 if it cannot be read.
int parentOf(int pid)
{
    // The program's name, in parentheses, may contain any characters.
    const QByteArray stat = processFile(pid, "stat");
    return stat.mid(stat.lastIndexOf(')') + 1).simplified().split(' ').value(1).toInt();
}

} // namespace

QString lostBusAddress()
{
    const QByteArray variable = "DBUS_SYSTEM_BUS_ADDRESS=";
    if (geteuid() != 0 || !qEnvironmentVariableIsEmpty("DBUS_SYSTEM_BUS_ADDRESS")) {
        return QString();
    }
    for (int pid = getppid(); pid > 1; pid = parentOf(pid)) {
        // The environment at the program's start: that of sudo is still the user's.
        const QList<QByteArray> variables = processFile(pid, "environ").split('\0');
        for (const QByteArray &each : variables) {
            if (each.startsWith(variable) && each.size() > variable.size()) {
                return QString::fromUtf8(each.mid(variable.size()));
            }
        }
    }
    return QString();
}
