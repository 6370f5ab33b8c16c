// SPDX-License-Identifier: MIT
#include <hnipc/hnipcserver.h>

#include "common/serviceidentity_p.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusReply>

HNIPCServer::HNIPCServer(ServerType type, QObject *parent) : QObject(parent), m_serverType(type)
{
    if (const ServiceIdentity *daemon = serviceIdentity(type)) {
        registerDbusService(daemon->busName);
        registerDbusObject(daemon->path, daemon->interfaceName);
    }
}

HNIPCServer::~HNIPCServer() {}

HNIPCServer::ServerType HNIPCServer::getServerType() const { return m_serverType; }

bool HNIPCServer::registerDbusService(const QString &serviceName)
{
    if (!QDBusConnection::systemBus().isConnected()) {
        return false;
    }
    if (QDBusConnection::systemBus().interface()->isServiceRegistered(serviceName).value()) {
        return true;
    }
    return QDBusConnection::systemBus().registerService(serviceName);
}

bool HNIPCServer::registerDbusObject(const QString &path, const QString &)
{
    return QDBusConnection::systemBus().registerObject(path, this,
                                                       QDBusConnection::ExportScriptableContents);
}

bool HNIPCServer::pulseSignal(const QString &path, const QString &interfaceName,
                              const QString &name, const QList<QVariant> &arguments)
{
    QDBusMessage signal = QDBusMessage::createSignal(path, interfaceName, name);
    signal.setArguments(arguments);
    return QDBusConnection::systemBus().send(signal);
}
