// SPDX-License-Identifier: MIT
#include "client/hnipc_p.h"

#include "common/emptyvalue_p.h"
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
    if (!ioexpd)
        createIOEXPDInterface();
    if (!m4)
        createM4Interface();
    if (!supplyd)
        createSUPPLYDInterface();
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
    if (!ioexpd->isValid())
        deleteIOEXPDInterface();
}

void HNIPCPrivate::createM4Interface()
{
    m4 = newProxy(M4);
    if (!m4->isValid())
        deleteM4Interface();
}

void HNIPCPrivate::createSUPPLYDInterface()
{
    supplyd = newProxy(SUPPLYD);
    if (!supplyd->isValid())
        deleteSUPPLYDInterface();
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
    if (serviceName == busName(IOEXPD))
        createIOEXPDInterface();
    else if (serviceName == busName(M4))
        createM4Interface();
    else if (serviceName == busName(SUPPLYD))
        createSUPPLYDInterface();
}

void HNIPCPrivate::onServiceUnregistered(const QString &serviceName)
{
    if (serviceName == busName(IOEXPD))
        deleteIOEXPDInterface();
    else if (serviceName == busName(M4))
        deleteM4Interface();
    else if (serviceName == busName(SUPPLYD))
        deleteSUPPLYDInterface();
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
        if (!argument->isValid())
            break;
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
    if (!proxy)
        return QVariant();

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
    if (QDBusInterface *proxy = getInterfaceByServerType(type))
        send(proxy, method, a1, a2, a3, a4, a5);
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
    if (!proxy)
        return QVariant();

    const QDBusMessage reply = send(proxy, method, a1, a2, a3, a4, a5);
    // Qt pads an empty reply with one invalid variant.
    const QVariant answer = reply.arguments().value(0);
    if (reply.type() != QDBusMessage::ReplyMessage || !answer.isValid())
        return QVariant();

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

// ---- One row of the client -----------------------------------------------------------------

// The argument at this place, or none behind the last.
static QVariant argumentAt(Arguments arguments, std::size_t place)
{
    return place < arguments.size() ? arguments.begin()[place].wrapped() : QVariant();
}

QVariant HNIPCPrivate::callWith(Call member, HNIPCServer::ServerType type, const char *method,
                                Arguments arguments)
{
    return (this->*member)(type, QLatin1String(method), argumentAt(arguments, 0),
                           argumentAt(arguments, 1), argumentAt(arguments, 2),
                           argumentAt(arguments, 3), argumentAt(arguments, 4));
}

// No conversion is looked for: a valid answer is of exactly the type.
template <typename T>
T HNIPCPrivate::answer(HNIPCServer::ServerType type, const char *method, Arguments arguments)
{
    const QVariant value = callWith(&HNIPCPrivate::call<T>, type, method, arguments);
    return value.isValid() ? *static_cast<const T *>(value.constData()) : T();
}

template int HNIPCPrivate::answer(Type, const char *, Arguments);
template bool HNIPCPrivate::answer(Type, const char *, Arguments);
template uint HNIPCPrivate::answer(Type, const char *, Arguments);
template qulonglong HNIPCPrivate::answer(Type, const char *, Arguments);
template double HNIPCPrivate::answer(Type, const char *, Arguments);
template QByteArray HNIPCPrivate::answer(Type, const char *, Arguments);
template QString HNIPCPrivate::answer(Type, const char *, Arguments);
template QStringList HNIPCPrivate::answer(Type, const char *, Arguments);
template QVariantHash HNIPCPrivate::answer(Type, const char *, Arguments);
template SupplyInformation HNIPCPrivate::answer(Type, const char *, Arguments);

// ---- The relay -----------------------------------------------------------------------------

// A table, one signal a row.
// clang-format off
void HNIPCPrivate::connectSignals()
{
    relay(IOEXPD, "IOEXPD_CancelButton", SIGNAL(CancelButton()));
    relay(IOEXPD, "IOEXPD_HelpButton", SIGNAL(HelpButton()));
    relay(IOEXPD, "IOEXPD_PrintButton", SIGNAL(PrintButton()));

    relay(M4, "M4_M4MessageReceived", SIGNAL(M4MessageReceived(QString)));
    relay(M4, "M4_M4MessageSent", SIGNAL(M4MessageSent(QString)));
    relay(M4, "M4_M4Version", SIGNAL(M4Version(QString)));
    relay(M4, "M4_M4Dac0", SIGNAL(M4Dac0(quint32)));
    relay(M4, "M4_M4BMark", SIGNAL(M4BMark(quint32)));
    relay(M4, "M4_M4Gap", SIGNAL(M4Gap(quint32)));
    relay(M4, "M4_M4PreCutter", SIGNAL(M4PreCutter(quint32)));
    relay(M4, "M4_M4RibbonClr1", SIGNAL(M4RibbonClr1(quint32)));
    relay(M4, "M4_M4RibbonClr2", SIGNAL(M4RibbonClr2(quint32)));
    relay(M4, "M4_M4RibbonEnc1", SIGNAL(M4RibbonEnc1(quint32)));
    relay(M4, "M4_M4RibbonEnc2", SIGNAL(M4RibbonEnc2(quint32)));
    relay(M4, "M4_M4RibbonEnc3", SIGNAL(M4RibbonEnc3(quint32)));
    relay(M4, "M4_M4RibbonEnc4", SIGNAL(M4RibbonEnc4(quint32)));
    relay(M4, "M4_M4CutterCover", SIGNAL(M4CutterCover(bool)));
    relay(M4, "M4_M4CutterHome", SIGNAL(M4CutterHome(bool)));
    relay(M4, "M4_M4PrinterLid", SIGNAL(M4PrinterLid(bool)));
    relay(M4, "M4_M4SupplySensor", SIGNAL(M4SupplySensor(quint32)));
    relay(M4, "M4_M4SupplyLatch", SIGNAL(M4SupplyLatch(bool)));
    relay(M4, "M4_M4Film1Tach", SIGNAL(M4Film1Tach(quint32)));
    relay(M4, "M4_M4Film2Tach", SIGNAL(M4Film2Tach(quint32)));
    relay(M4, "M4_M4Film3Tach", SIGNAL(M4Film3Tach(quint32)));
    relay(M4, "M4_M4Film4Tach", SIGNAL(M4Film4Tach(quint32)));
    relay(M4, "M4_M4PrintDone", SIGNAL(M4PrintDone()));
    relay(M4, "M4_M4RibbonVerify1", SIGNAL(M4RibbonVerify1(quint64)));
    relay(M4, "M4_M4RibbonVerify2", SIGNAL(M4RibbonVerify2(quint64)));
    relay(M4, "M4_M4Tph1Fault", SIGNAL(M4Tph1Fault()));
    relay(M4, "M4_M4Tph2Fault", SIGNAL(M4Tph2Fault()));
    relay(M4, "M4_M4SupplyID", SIGNAL(M4SupplyID(QString)));
    relay(M4, "M4_M4RibbonIDs", SIGNAL(M4RibbonIDs(QStringList)));
    relay(M4, "M4_M4SupplyUID", SIGNAL(M4SupplyUID(QString)));
    relay(M4, "M4_M4Ribbon1UID", SIGNAL(M4Ribbon1UID(QString)));
    relay(M4, "M4_M4Ribbon2UID", SIGNAL(M4Ribbon2UID(QString)));
    relay(M4, "M4_M4Ribbon1Mileage", SIGNAL(M4Ribbon1Mileage(qint32)));
    relay(M4, "M4_M4Ribbon2Mileage", SIGNAL(M4Ribbon2Mileage(qint32)));
    relay(M4, "M4_M4SupplyMileage", SIGNAL(M4SupplyMileage(qint32)));
    relay(M4, "M4_M4BatteryUpdate", SIGNAL(M4BatteryUpdate(qint32)));
    relay(M4, "M4_Error", SIGNAL(Error(int)));
    relay(M4, "M4_Alert", SIGNAL(Alert(int)));
    relay(M4, "M4_PrintQueueFull", SIGNAL(PrintQueueFull(int)));
    relay(M4, "M4_PrintQueueClear", SIGNAL(PrintQueueClear(int)));
    relay(M4, "M4_PrintQueueComplete", SIGNAL(PrintQueueComplete(int)));
    relay(M4, "M4_M4TachValues", SIGNAL(M4TachValues(QString)));
    relay(M4, "M4_M4UserSetting", SIGNAL(M4UserSetting(int,qint32)));
    relay(M4, "M4_M4TphTherm", SIGNAL(M4TphTherm(int,qint32)));
    relay(M4, "M4_M4TphHeatIndexOffset", SIGNAL(M4TphHeatIndexOffset(int,qint32)));
    relay(M4, "M4_M4TachIndex", SIGNAL(M4TachIndex(int,qint32)));

    relay(SUPPLYD, "SUPPLYD_HNIPCReady", SIGNAL(HNIPCReady()));
    relay(SUPPLYD, "SUPPLYD_SupplyChanged", SIGNAL(SupplyChanged(QString,QString)));
    relay(SUPPLYD, "SUPPLYD_RibbonChanged", SIGNAL(RibbonChanged(QStringList,QString)));
    relay(SUPPLYD, "SUPPLYD_SupplyPercentChanged", SIGNAL(SupplyPercentChanged(double)));
    relay(SUPPLYD, "SUPPLYD_Ribbon1PercentChanged", SIGNAL(Ribbon1PercentChanged(double)));
    relay(SUPPLYD, "SUPPLYD_Ribbon2PercentChanged", SIGNAL(Ribbon2PercentChanged(double)));
    relay(SUPPLYD, "SUPPLYD_SupplyRGBChanged", SIGNAL(SupplyRGBChanged(QString)));
    relay(SUPPLYD, "SUPPLYD_Ribbon1RGBsChanged", SIGNAL(Ribbon1RGBsChanged(QStringList)));
    relay(SUPPLYD, "SUPPLYD_Ribbon2RGBsChanged", SIGNAL(Ribbon2RGBsChanged(QStringList)));
    relay(SUPPLYD, "SUPPLYD_CloseApplicationSignal", SIGNAL(CloseApplicationSignal()));
}
// clang-format on

void HNIPCPrivate::relay(HNIPCServer::ServerType type, const char *name, const char *signal)
{
    const ServiceIdentity *daemon = serviceIdentity(type);
    connectSignalHelper(daemon->busName, daemon->path, daemon->interfaceName, QLatin1String(name),
                        signal);
}

// Signal to signal: Qt's D-Bus layer emits the client's signal, with no code in between.
void HNIPCPrivate::connectSignalHelper(const QString &service, const QString &path,
                                       const QString &interface, const QString &name,
                                       const char *signal)
{
    QDBusConnection::systemBus().connect(service, path, interface, name, q, signal);
}
