// SPDX-License-Identifier: MIT
#include "common/daemons.h"

namespace {

QDBusMessage callOf(const QString &busName, const char *path, const QString &interface,
                    const QString &member)
{
    QDBusMessage result = QDBusMessage::createMethodCall(busName, QLatin1String(path), interface,
                                                         member);
    result.setAutoStartService(false);
    return result;
}

} // namespace

QStringList Toolkit::daemonNames()
{
    return { QStringLiteral("ioexpd"), QStringLiteral("m4"), QStringLiteral("supplyd") };
}

QString Toolkit::busName(const QString &daemon) { return QLatin1String("org.hnipc.") + daemon; }

QString Toolkit::daemonInterface(const QString &daemon)
{
    return QLatin1String("local.IHNIPC") + daemon.toUpper();
}

QString Toolkit::simulatorInterface() { return QStringLiteral("org.hnipc.Simulator"); }

QDBusMessage Toolkit::daemonCall(const QString &daemon, const QString &method)
{
    return callOf(busName(daemon), "/", daemonInterface(daemon), method);
}

QDBusMessage Toolkit::simulatorCall(const QString &busName, const QString &member)
{
    return callOf(busName, "/simulator", simulatorInterface(), member);
}

QStringList Toolkit::buttons()
{
    return { QStringLiteral("print"), QStringLiteral("help"), QStringLiteral("cancel") };
}

QStringList Toolkit::faultKinds()
{
    return { QStringLiteral("delay"),     QStringLiteral("never"), QStringLiteral("error"),
             QStringLiteral("wrongtype"), QStringLiteral("die"),   QStringLiteral("none") };
}

QStringList Toolkit::recordShapes()
{
    return { QStringLiteral("short"), QStringLiteral("wrongtype"), QStringLiteral("dictionary"),
             QStringLiteral("plain"), QStringLiteral("empty"),     QStringLiteral("long"),
             QStringLiteral("none") };
}
