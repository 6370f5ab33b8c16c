// SPDX-License-Identifier: MIT
#ifndef HNIPC_P_H
#define HNIPC_P_H

#include <hnipc/hnipcserver.h>
#include <hnipc/supplyinformation.h>

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusServiceWatcher>

class HNIPC;
class QDBusInterface;

// The private part of the client: one proxy for each daemon that is running, the blocking call, and
// the relay of the daemons' signals to the client's signals.
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

    // The daemon's proxy, or null if the daemon is not running or the type selects no daemon. The
    // proxy is deleted when the daemon disappears, so callers do not keep the pointer.
    QDBusInterface *getInterfaceByServerType(HNIPCServer::ServerType type);

    // Calls the daemon's method and blocks until the reply. The first invalid argument ends the
    // arguments: a valid one after it is never sent. Returns a variant of exactly the type T, or an
    // invalid one on failure; for void it is always invalid.
    template <typename T>
    QVariant call(HNIPCServer::ServerType type, const QString &method,
                  const QVariant &a1 = QVariant(), const QVariant &a2 = QVariant(),
                  const QVariant &a3 = QVariant(), const QVariant &a4 = QVariant(),
                  const QVariant &a5 = QVariant());

    // A row of the client: calls the daemon's method and returns the reply, or the empty value of T
    // on failure. Arguments that a row lacks are invalid variants. A valid reply has exactly the type
    // T, so it needs no conversion. With -O3, g++ would inline this into every row, which makes the
    // library a quarter larger.
    template <typename T, typename... Values>
    __attribute__((noinline)) T ask(HNIPCServer::ServerType type, const char *method,
                                    const Values &...values)
    {
        const QVariant a[5] = { QVariant(values)... };
        const QVariant reply = call<T>(type, QLatin1String(method), a[0], a[1], a[2], a[3], a[4]);
        return reply.isValid() ? *static_cast<const T *>(reply.constData()) : T();
    }

    // The same for a method that returns nothing.
    template <typename... Values>
    __attribute__((noinline)) void tell(HNIPCServer::ServerType type, const char *method,
                                        const Values &...values)
    {
        const QVariant a[5] = { QVariant(values)... };
        call<void>(type, QLatin1String(method), a[0], a[1], a[2], a[3], a[4]);
    }

    void connectSignals();
    void connectSignalHelper(const QString &service, const QString &path, const QString &interface,
                             const QString &name, const char *signal);

private Q_SLOTS:
    void onServiceRegistered(const QString &serviceName);
    void onServiceUnregistered(const QString &serviceName);

private:
    Q_DISABLE_COPY(HNIPCPrivate)

    HNIPC *q;
    QDBusInterface *ioexpd;
    QDBusInterface *m4;
    QDBusInterface *supplyd;
    QDBusServiceWatcher watcher;
    // The daemons that the constructor found after the watch had begun: their registration may
    // still be reported, and must not create a second proxy.
    QStringList foundLate;
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
