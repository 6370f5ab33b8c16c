// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_RAWCALL_H
#define HNIPC_BENCHMARKS_RAWCALL_H

#include <QtCore/QCoreApplication>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusInterface>
#include <QtDBus/QDBusReply>

inline QDBusInterface *newProxy(const char *daemon, const char *interface)
{
    QDBusInterface *proxy = new QDBusInterface(
        QLatin1String(daemon), QLatin1String("/"), QLatin1String(interface),
        QDBusConnection::systemBus(), QCoreApplication::instance());
    if (!proxy->isValid()) {
        qFatal("%s is not running", daemon);
    }
    return proxy;
}

// The call, and the least that a program needs to check the reply.
template <typename T>
T ask(QDBusInterface *proxy, const char *method, const QVariantList &arguments = QVariantList(),
      QDBus::CallMode mode = QDBus::AutoDetect)
{
    QDBusReply<T> reply = proxy->callWithArgumentList(mode, QLatin1String(method), arguments);
    if (!reply.isValid()) {
        qFatal("%s: %s", method, qPrintable(reply.error().message()));
    }
    return reply.value();
}

#endif
