// SPDX-License-Identifier: MIT
#ifndef HNIPC_SIMULATOR_SIMULATOR_H
#define HNIPC_SIMULATOR_SIMULATOR_H

#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QVariant>
#include <QtDBus/QDBusContext>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusVariant>

#include <memory>

class Daemon;

/// The simulator interface of one simulated daemon, on the bus. If an act cannot be carried out, the
/// reply is the error org.hnipc.Simulator.Error.
class Simulator : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.hnipc.Simulator")

public:
    explicit Simulator(Daemon *daemon);

public Q_SLOTS:
    Q_SCRIPTABLE void set(const QString &name, const QDBusVariant &value);
    Q_SCRIPTABLE QDBusVariant get(const QString &name);
    Q_SCRIPTABLE QStringList names();
    Q_SCRIPTABLE void press(const QString &button);
    Q_SCRIPTABLE void load(const QString &supplySku, const QStringList &ribbonSkus);
    Q_SCRIPTABLE void print(uint labels);
    Q_SCRIPTABLE void emit(const QString &signal, const QVariantList &arguments);
    Q_SCRIPTABLE void fault(const QString &member, const QString &kind, const QDBusVariant &detail);
    Q_SCRIPTABLE void flood(const QString &signal, uint count);
    Q_SCRIPTABLE void malform(const QString &shape);
    Q_SCRIPTABLE QStringList faults();
    Q_SCRIPTABLE void reset();

private:
    int find(const QString &name);
    void answer(const QString &wrong);

    struct Flood
    {
        QString signal;
        uint sent = 0;
        uint count = 0;
    };

    QString sendNext(Flood *flood);
    void floodOn();

    Daemon *m_daemon;
    Flood m_flood;
    std::unique_ptr<QDBusPendingCallWatcher> m_fence; // the flood continues at the bus's reply
};

#endif
