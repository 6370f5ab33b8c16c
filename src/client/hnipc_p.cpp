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

// ---- Daemons come and go -------------------------------------------------------------------

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

    // A daemon that came while the proxies were built, and nobody watched yet, would not be
    // reported again for as long as it stays.
    if (!ioexpd) {
        createIOEXPDInterface();
    }
    if (!m4) {
        createM4Interface();
    }
    if (!supplyd) {
        createSUPPLYDInterface();
    }
}

HNIPCPrivate::~HNIPCPrivate()
{
    deleteIOEXPDInterface();
    deleteM4Interface();
    deleteSUPPLYDInterface();
}

// The three below count on a null member, as an unregistration leaves it: the watcher reports a
// registration only where the name had no owner before. Where one is reported twice, the earlier
// proxy is left behind; that is accepted, so nothing is deleted here.

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
// this form of the call; the one with eight variants, which comes down to it, is gone from Qt 6 and
// shadowed by a template in Qt 5.14.
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

// What all kinds of result have in common: a value of exactly the type wanted, or nothing. It is what
// QDBusReply<T> does, once for all T.
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

// Success and failure look alike on purpose: who calls these methods has no use for either.
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

// Takes a structure of any shape, where QDBusReply would insist on the record's signature.
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
    const QVariant answer = reply.arguments().value(0);
    if (reply.type() != QDBusMessage::ReplyMessage || !answer.isValid()) {
        return QVariant();
    }

    SupplyInformation information;
    qvariant_cast<QDBusArgument>(answer) >> information;
    return QVariant::fromValue(information);
}

// Exported one by one: an instantiation is otherwise no more visible than its argument, and Qt's
// containers are hidden here.
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
    for (int i = 0; i < relayRowCount; ++i) {
        const RelayRow &row = relayRows()[i];
        const ServiceIdentity *daemon = serviceIdentity(row.daemon);
        connectSignalHelper(daemon->busName, daemon->path, daemon->interfaceName,
                            QLatin1String(row.member), row.signal);
    }
}

// Signal to signal: Qt's D-Bus layer emits the client's signal, with no code in between.
void HNIPCPrivate::connectSignalHelper(const QString &service, const QString &path,
                                       const QString &interface, const QString &name,
                                       const char *signal)
{
    QDBusConnection::systemBus().connect(service, path, interface, name, q, signal);
}
