// SPDX-License-Identifier: MIT
#ifndef HNIPC_P_H
#define HNIPC_P_H

#include "common/arguments_p.h"

#include <hnipc/hnipcserver.h>
#include <hnipc/supplyinformation.h>

#include <QtCore/QObject>
#include <QtCore/QVariant>
#include <QtDBus/QDBusServiceWatcher>

class HNIPC;
class QDBusInterface;

// The private half of the client: one proxy per daemon for as long as the daemon is on the bus,
// the blocking call, and the relay of the daemons' signals onto the client's.
class HNIPCPrivate : public QObject
{
    Q_OBJECT

public:
    explicit HNIPCPrivate(HNIPC *client);
    virtual ~HNIPCPrivate();

    void createIOEXPDInterface();
    void createM4Interface();
    void createSUPPLYDInterface();

    void deleteIOEXPDInterface();
    void deleteM4Interface();
    void deleteSUPPLYDInterface();

    // The daemon's proxy as it stands: null while the daemon is absent or where there is no such
    // daemon. It is gone after the daemon has left, so nobody keeps it.
    QDBusInterface *getInterfaceByServerType(HNIPCServer::ServerType type);

    // Calls the daemon's method and blocks until the reply. The first invalid argument ends the
    // arguments: a valid one after it is never sent. Answers a variant of exactly the type T, or an
    // invalid one on any failure, and always for void.
    template <typename T>
    QVariant call(HNIPCServer::ServerType type, const QString &method,
                  const QVariant &a1 = QVariant(), const QVariant &a2 = QVariant(),
                  const QVariant &a3 = QVariant(), const QVariant &a4 = QVariant(),
                  const QVariant &a5 = QVariant());

    // One client method, as the client's rows say it: the daemon, the method, the arguments; the
    // answer, or the empty value of T.
    template <typename T, typename... Values>
    T ask(HNIPCServer::ServerType type, const char *method, const Values &...values)
    {
        static_assert(sizeof...(Values) <= 5, "call() takes five");
        return answer<T>(type, method, { Argument(values)... });
    }

    // The same for a method that answers nothing.
    template <typename... Values>
    void tell(HNIPCServer::ServerType type, const char *method, const Values &...values)
    {
        static_assert(sizeof...(Values) <= 5, "call() takes five");
        callWith(&HNIPCPrivate::call<void>, type, method, { Argument(values)... });
    }

    void connectSignals();
    void connectSignalHelper(const QString &service, const QString &path, const QString &interface,
                             const QString &name, const char *signal);

private Q_SLOTS:
    void onServiceRegistered(const QString &serviceName);
    void onServiceUnregistered(const QString &serviceName);

private:
    Q_DISABLE_COPY(HNIPCPrivate)

    typedef QVariant (HNIPCPrivate::*Call)(HNIPCServer::ServerType type, const QString &method,
                                           const QVariant &a1, const QVariant &a2,
                                           const QVariant &a3, const QVariant &a4,
                                           const QVariant &a5);

    QVariant callWith(Call member, HNIPCServer::ServerType type, const char *method,
                      Arguments arguments);

    template <typename T>
    T answer(HNIPCServer::ServerType type, const char *method, Arguments arguments);

    HNIPC *q;
    QDBusInterface *ioexpd;
    QDBusInterface *m4;
    QDBusInterface *supplyd;
    QDBusServiceWatcher watcher;
};

template <>
HNIPC_EXPORT QVariant HNIPCPrivate::call<void>(HNIPCServer::ServerType type, const QString &method,
                                               const QVariant &a1, const QVariant &a2,
                                               const QVariant &a3, const QVariant &a4,
                                               const QVariant &a5);
template <>
HNIPC_EXPORT QVariant HNIPCPrivate::call<SupplyInformation>(HNIPCServer::ServerType type,
                                                            const QString &method,
                                                            const QVariant &a1, const QVariant &a2,
                                                            const QVariant &a3, const QVariant &a4,
                                                            const QVariant &a5);

#endif
