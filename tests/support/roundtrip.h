// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_ROUNDTRIP_H
#define HNIPC_TESTS_ROUNDTRIP_H

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

// What this process has sent through Qt has passed the bus daemon when this returns. Turns no event
// loop.
inline void makeRoundTrip()
{
    QDBusConnection::systemBus().call(QDBusMessage::createMethodCall(
        QLatin1String("org.freedesktop.DBus"), QLatin1String("/org/freedesktop/DBus"),
        QLatin1String("org.freedesktop.DBus"), QLatin1String("GetId")));
}

#endif
