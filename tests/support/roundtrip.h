// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_ROUNDTRIP_H
#define HNIPC_TESTS_ROUNDTRIP_H

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

// Returns when the bus daemon has handled everything that this process has sent through Qt. Turns
// no event loop.
inline void makeRoundTrip()
{
    QDBusConnection::systemBus().call(QDBusMessage::createMethodCall(
        QLatin1String("org.freedesktop.DBus"), QLatin1String("/org/freedesktop/DBus"),
        QLatin1String("org.freedesktop.DBus"), QLatin1String("GetId")));
}

#endif
