// SPDX-License-Identifier: MIT
#ifndef HNIPC_BENCHMARKS_RAWCLIENT_H
#define HNIPC_BENCHMARKS_RAWCLIENT_H

#include "expected/clientsignals.h"
#include "support/signature.h"

#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QStringList>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusInterface>
#include <QtDBus/QDBusServiceWatcher>

// The steps of HNIPC, with Qt alone: a subscription for each signal, a proxy for each daemon that
// is running, and a watch on their names.
class RawClient : public QObject
{
    Q_OBJECT

public:
    RawClient()
    {
        for (const Expected::ClientSignal &signal : Expected::clientSignals) {
            if (!signal.member) {
                continue; // StatusChanged: no daemon sends it
            }
            const Expected::Identity &daemon = Expected::identities[signal.server];
            const QByteArray signature = withoutAliases(signal.signature);
            const QByteArray slot = "1on" + signature.mid(signature.indexOf('('));
            if (!QDBusConnection::systemBus().connect(
                    QLatin1String(daemon.busName), QLatin1String("/"),
                    QLatin1String(daemon.interface), QLatin1String(signal.member), this,
                    slot.constData())) {
                qFatal("cannot subscribe to %s", signal.signature);
            }
        }
        m_watcher.setConnection(QDBusConnection::systemBus());
        m_watcher.setWatchMode(QDBusServiceWatcher::WatchForRegistration
                               | QDBusServiceWatcher::WatchForUnregistration);
        for (int i = 0; i < Expected::ServerCount; ++i) {
            const Expected::Identity &daemon = Expected::identities[i];
            renew(&m_proxies[i], daemon);
            m_watcher.addWatchedService(QLatin1String(daemon.busName));
        }
        for (int i = 0; i < Expected::ServerCount; ++i) {
            if (!m_proxies[i]) {
                renew(&m_proxies[i], Expected::identities[i]);
            }
        }
    }

Q_SIGNALS:
    void percentChanged(double value);

public Q_SLOTS:
    void on() {}
    void on(bool) {}
    void on(int) {}
    void on(uint) {}
    void on(qulonglong) {}
    void on(double value) { Q_EMIT percentChanged(value); }
    void on(const QString &) {}
    void on(const QStringList &) {}
    void on(int, int) {}
    void on(const QString &, const QString &) {}
    void on(const QStringList &, const QString &) {}

private:
    static void renew(QScopedPointer<QDBusInterface> *proxy, const Expected::Identity &daemon)
    {
        proxy->reset(new QDBusInterface(QLatin1String(daemon.busName), QLatin1String("/"),
                                        QLatin1String(daemon.interface),
                                        QDBusConnection::systemBus()));
        if (!(*proxy)->isValid()) {
            proxy->reset();
        }
    }

    QScopedPointer<QDBusInterface> m_proxies[Expected::ServerCount];
    QDBusServiceWatcher m_watcher;
};

#endif
