// SPDX-License-Identifier: MIT
#include "client/hnipc_p.h"

#include "common/emptyvalue_p.h"
#include "common/relay_p.h"
#include "common/serviceidentity_p.h"

#include <hnipc/hnipc.h>

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusInterface>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusMetaType>
#include <QtDBus/QDBusReply>

static const HNIPCServer::ServerType IOEXPD = HNIPCServer::IOEXPD;
static const HNIPCServer::ServerType M4 = HNIPCServer::M4;
static const HNIPCServer::ServerType SUPPLYD = HNIPCServer::SUPPLYD;

// ---- Daemons appear and disappear ----------------------------------------------------------

static QString busName(HNIPCServer::ServerType type) { return serviceIdentity(type)->busName; }

static QDBusInterface *newProxy(HNIPCServer::ServerType type)
{
    const ServiceIdentity *daemon = serviceIdentity(type);
    return new QDBusInterface(daemon->busName, daemon->path, daemon->interfaceName,
                              QDBusConnection::systemBus());
}

HNIPCPrivate::HNIPCPrivate(HNIPC *client) : q(client), ioexpd(0), m4(0), supplyd(0)
{
    connectSignals();

    createIOEXPDInterface();
    createM4Interface();
    createSUPPLYDInterface();

    watcher.setConnection(QDBusConnection::systemBus());
    watcher.setWatchMode(QDBusServiceWatcher::WatchForRegistration
                         | QDBusServiceWatcher::WatchForUnregistration);
    watcher.addWatchedService(busName(IOEXPD));
    watcher.addWatchedService(busName(M4));
    watcher.addWatchedService(busName(SUPPLYD));
    connect(&watcher, SIGNAL(serviceRegistered(QString)), SLOT(onServiceRegistered(QString)));
    connect(&watcher, SIGNAL(serviceUnregistered(QString)), SLOT(onServiceUnregistered(QString)));

    // Look again: no signal reports a daemon that appeared after the attempt above to create its
    // proxy and before the watch began. A daemon that appeared after the watch began can be found
    // here, too, although a signal reports it later: see foundLate.
    const HNIPCServer::ServerType types[] = { IOEXPD, M4, SUPPLYD };
    for (HNIPCServer::ServerType type : types) {
        if (!getInterfaceByServerType(type)) {
            onServiceRegistered(busName(type));
            if (getInterfaceByServerType(type)) {
                foundLate.append(busName(type));
            }
        }
    }
}

HNIPCPrivate::~HNIPCPrivate()
{
    deleteIOEXPDInterface();
    deleteM4Interface();
    deleteSUPPLYDInterface();
}

// The three functions below expect that the member is null. An unregistration sets it to null, and
// the watcher reports a registration only if the name had no owner before. If it reported a second
// registration without an unregistration, the earlier proxy would leak. That is accepted, so nothing
// is deleted here.

void HNIPCPrivate::createIOEXPDInterface()
{
    ioexpd = newProxy(IOEXPD);
    if (!ioexpd->isValid()) {
        deleteIOEXPDInterface();
    }
}

void HNIPCPrivate::createM4Interface()
{
    m4 = newProxy(M4);
    if (!m4->isValid()) {
        deleteM4Interface();
    }
}

void HNIPCPrivate::createSUPPLYDInterface()
{
    supplyd = newProxy(SUPPLYD);
    if (!supplyd->isValid()) {
        deleteSUPPLYDInterface();
    }
}

void HNIPCPrivate::deleteIOEXPDInterface()
{
    delete ioexpd;
    ioexpd = 0;
}

void HNIPCPrivate::deleteM4Interface()
{
    delete m4;
    m4 = 0;
}

void HNIPCPrivate::deleteSUPPLYDInterface()
{
    delete supplyd;
    supplyd = 0;
}

void HNIPCPrivate::onServiceRegistered(const QString &serviceName)
{
    if (foundLate.removeOne(serviceName)) {
        return; // the constructor has created the proxy
    }
    if (serviceName == busName(IOEXPD)) {
        createIOEXPDInterface();
    } else if (serviceName == busName(M4)) {
        createM4Interface();
    } else if (serviceName == busName(SUPPLYD)) {
        createSUPPLYDInterface();
    }
}

void HNIPCPrivate::onServiceUnregistered(const QString &serviceName)
{
    foundLate.removeOne(serviceName);
    if (serviceName == busName(IOEXPD)) {
        deleteIOEXPDInterface();
    } else if (serviceName == busName(M4)) {
        deleteM4Interface();
    } else if (serviceName == busName(SUPPLYD)) {
        deleteSUPPLYDInterface();
    }
}

QDBusInterface *HNIPCPrivate::getInterfaceByServerType(HNIPCServer::ServerType type)
{
    switch (type) {
    case IOEXPD:
        return ioexpd;
    case M4:
        return m4;
    case SUPPLYD:
        return supplyd;
    }
    return 0;
}

// ---- One remote call -----------------------------------------------------------------------

// Sends the arguments up to the first invalid one and blocks until the reply. All Qt majors have
// this form of the call. The form with eight variants calls it, too, but Qt 6 has removed that form
// and a template hides it since Qt 5.14.
static QDBusMessage send(QDBusInterface *proxy, const QString &method, const QVariant &a1,
                         const QVariant &a2, const QVariant &a3, const QVariant &a4,
                         const QVariant &a5)
{
    const QVariant *const arguments[] = { &a1, &a2, &a3, &a4, &a5 };
    QVariantList leadingRun;
    for (const QVariant *argument : arguments) {
        if (!argument->isValid()) {
            break;
        }
        leadingRun.append(*argument);
    }
    return proxy->callWithArgumentList(QDBus::AutoDetect, method, leadingRun);
}

// Returns a value of exactly the result type, or an invalid variant. QDBusReply<T> does the same, but
// is compiled once for each T.
static QVariant fetch(QDBusInterface *proxy, const QString &method, const QVariant &a1,
                      const QVariant &a2, const QVariant &a3, const QVariant &a4,
                      const QVariant &a5, int resultType)
{
    if (!proxy) {
        return QVariant();
    }

    QVariant result = emptyValue(resultType);
    QDBusError error;
    qDBusReplyFill(send(proxy, method, a1, a2, a3, a4, a5), error, result);
    return error.isValid() ? QVariant() : result;
}

template <typename T>
QVariant HNIPCPrivate::call(HNIPCServer::ServerType type, const QString &method, const QVariant &a1,
                            const QVariant &a2, const QVariant &a3, const QVariant &a4,
                            const QVariant &a5)
{
    return fetch(getInterfaceByServerType(type), method, a1, a2, a3, a4, a5, qMetaTypeId<T>());
}

// Returns the same on success and on failure on purpose: these methods return nothing.
template <>
QVariant HNIPCPrivate::call<void>(HNIPCServer::ServerType type, const QString &method,
                                  const QVariant &a1, const QVariant &a2, const QVariant &a3,
                                  const QVariant &a4, const QVariant &a5)
{
    if (QDBusInterface *proxy = getInterfaceByServerType(type)) {
        send(proxy, method, a1, a2, a3, a4, a5);
    }
    return QVariant();
}

// Accepts a structure with any fields. QDBusReply would accept the record's signature only.
template <>
QVariant HNIPCPrivate::call<SupplyInformation>(HNIPCServer::ServerType type, const QString &method,
                                               const QVariant &a1, const QVariant &a2,
                                               const QVariant &a3, const QVariant &a4,
                                               const QVariant &a5)
{
    qDBusRegisterMetaType<SupplyInformation>();

    QDBusInterface *proxy = getInterfaceByServerType(type);
    if (!proxy) {
        return QVariant();
    }

    const QDBusMessage reply = send(proxy, method, a1, a2, a3, a4, a5);
    // Qt pads an empty reply with one invalid variant.
    const QVariant value = reply.arguments().value(0);
    if (reply.type() != QDBusMessage::ReplyMessage || !value.isValid()) {
        return QVariant();
    }

    SupplyInformation information;
    qvariant_cast<QDBusArgument>(value) >> information;
    return QVariant::fromValue(information);
}

// Each is marked as exported: otherwise it would be hidden if its template argument is hidden, and
// Qt's containers are hidden in this library.
typedef HNIPCServer::ServerType Type;
typedef const QString &Name;
typedef const QVariant &Arg;
template HNIPC_EXPORT QVariant HNIPCPrivate::call<int>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<bool>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<uint>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<qulonglong>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<float>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<double>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<QByteArray>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<QString>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<QStringList>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<QVariantList>(Type, Name, Arg, Arg, Arg, Arg,
                                                                Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<QVariantMap>(Type, Name, Arg, Arg, Arg, Arg, Arg);
template HNIPC_EXPORT QVariant HNIPCPrivate::call<QVariantHash>(Type, Name, Arg, Arg, Arg, Arg,
                                                                Arg);

// ---- The relay -----------------------------------------------------------------------------

void HNIPCPrivate::connectSignals()
{
    for (const RelayRow &row : relayRows()) {
        const ServiceIdentity *daemon = serviceIdentity(row.daemon);
        connectSignalHelper(daemon->busName, daemon->path, daemon->interfaceName,
                            QLatin1String(row.member), row.signal);
    }
}

// Connects a D-Bus signal to a signal of the client: Qt emits it without any code of ours.
void HNIPCPrivate::connectSignalHelper(const QString &service, const QString &path,
                                       const QString &interface, const QString &name,
                                       const char *signal)
{
    QDBusConnection::systemBus().connect(service, path, interface, name, q, signal);
}
