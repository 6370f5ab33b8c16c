// SPDX-License-Identifier: MIT
#include <hnipc/hnipcavailability.h>

#include "common/serviceidentity_p.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusServiceWatcher>

class HNIPCAvailabilityPrivate
{
public:
    explicit HNIPCAvailabilityPrivate(HNIPCAvailability *availability);

    void ask();
    void tell(int daemon, bool available);
    bool isKnown() const;

    void onOwnerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);
    void onAnswer(QDBusPendingCallWatcher *question);
    void onBusLost();

    struct Daemon
    {
        HNIPCServer::ServerType type;
        void (HNIPCAvailability::*changed)(bool available);
        bool known;
        bool available;
        QDBusPendingCallWatcher *question;
    };

    enum { Ioexpd, M4, Supplyd, Count };

    HNIPCAvailability *q;
    Daemon daemons[Count];
    QDBusServiceWatcher watcher;
};

HNIPCAvailabilityPrivate::HNIPCAvailabilityPrivate(HNIPCAvailability *availability)
    : q(availability), daemons()
{
    daemons[Ioexpd].type = HNIPCServer::IOEXPD;
    daemons[Ioexpd].changed = &HNIPCAvailability::ioexpdChanged;
    daemons[M4].type = HNIPCServer::M4;
    daemons[M4].changed = &HNIPCAvailability::m4Changed;
    daemons[Supplyd].type = HNIPCServer::SUPPLYD;
    daemons[Supplyd].changed = &HNIPCAvailability::supplydChanged;
}

// The watch stands before the question is asked, so that nothing falls between the two.
void HNIPCAvailabilityPrivate::ask()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.connect(QString(), QLatin1String("/org/freedesktop/DBus/Local"),
                QLatin1String("org.freedesktop.DBus.Local"), QLatin1String("Disconnected"), q,
                SLOT(onBusLost()));
    watcher.setConnection(bus);
    watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    QObject::connect(&watcher, SIGNAL(serviceOwnerChanged(QString,QString,QString)), q,
                     SLOT(onOwnerChanged(QString,QString,QString)));
    for (int i = 0; i < Count; ++i) {
        const QString name = serviceIdentity(daemons[i].type)->busName;
        watcher.addWatchedService(name);
        QDBusMessage message = QDBusMessage::createMethodCall(
            QLatin1String("org.freedesktop.DBus"), QLatin1String("/org/freedesktop/DBus"),
            QLatin1String("org.freedesktop.DBus"), QLatin1String("NameHasOwner"));
        message << name;
        daemons[i].question = new QDBusPendingCallWatcher(bus.asyncCall(message), q);
        QObject::connect(daemons[i].question, SIGNAL(finished(QDBusPendingCallWatcher*)), q,
                         SLOT(onAnswer(QDBusPendingCallWatcher*)));
    }
}

bool HNIPCAvailabilityPrivate::isKnown() const
{
    return daemons[Ioexpd].known && daemons[M4].known && daemons[Supplyd].known;
}

void HNIPCAvailabilityPrivate::tell(int daemon, bool available)
{
    const bool wasKnown = isKnown();
    const bool wasAvailable = daemons[daemon].available;
    daemons[daemon].known = true;
    daemons[daemon].available = available;
    if (available != wasAvailable)
        emit(q->*daemons[daemon].changed)(available);
    if (isKnown() && !wasKnown)
        emit q->knownChanged(true);
}

void HNIPCAvailabilityPrivate::onOwnerChanged(const QString &name, const QString &,
                                              const QString &newOwner)
{
    for (int i = 0; i < Count; ++i) {
        if (name == serviceIdentity(daemons[i].type)->busName) {
            // Newer than the answer, or followed by one that is.
            delete daemons[i].question;
            daemons[i].question = 0;
            tell(i, !newOwner.isEmpty());
        }
    }
}

void HNIPCAvailabilityPrivate::onAnswer(QDBusPendingCallWatcher *question)
{
    const QDBusPendingReply<bool> answer = *question;
    for (int i = 0; i < Count; ++i) {
        if (question == daemons[i].question) {
            daemons[i].question = 0;
            if (!answer.isError())
                tell(i, answer.value());
        }
    }
    question->deleteLater();
}

void HNIPCAvailabilityPrivate::onBusLost()
{
    const bool wasKnown = isKnown();
    for (int i = 0; i < Count; ++i) {
        delete daemons[i].question; // an answer from before, which may be told late
        daemons[i].question = 0;
        tell(i, false);
        daemons[i].known = false;
    }
    if (wasKnown)
        emit q->knownChanged(false);
}

HNIPCAvailability::HNIPCAvailability(QObject *parent)
    : QObject(parent), d(new HNIPCAvailabilityPrivate(this))
{
    d->ask();
}

HNIPCAvailability::~HNIPCAvailability() {}

bool HNIPCAvailability::isKnown() const { return d->isKnown(); }

bool HNIPCAvailability::hasIoexpd() const
{
    return d->daemons[HNIPCAvailabilityPrivate::Ioexpd].available;
}

bool HNIPCAvailability::hasM4() const
{
    return d->daemons[HNIPCAvailabilityPrivate::M4].available;
}

bool HNIPCAvailability::hasSupplyd() const
{
    return d->daemons[HNIPCAvailabilityPrivate::Supplyd].available;
}

#include "hnipc/moc_hnipcavailability.cpp"
