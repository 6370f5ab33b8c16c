// SPDX-License-Identifier: MIT
#include <hnipc/hnipcavailability.h>

#include "async/bus_p.h"

#include <QtCore/QPointer>

// A child of the object, so that it is moved to another thread with it.
class HNIPCAvailabilityPrivate : public QObject
{
public:
    explicit HNIPCAvailabilityPrivate(HNIPCAvailability *availability);
    virtual ~HNIPCAvailabilityPrivate();

    bool isKnown() const;

    bool isAvailable[daemonCount];

protected:
    virtual void customEvent(QEvent *letter);

private:
    void setAvailable(HNIPCServer::ServerType daemon, bool available);
    void onDaemon(HNIPCServer::ServerType daemon, bool available);
    void onBusLost();

    HNIPCAvailability *const q;
    const SubscriberPointer subscriber;
    int knownDaemons; // one bit for each daemon whose state is known
    bool isKnownTold; // knownChanged(true) was emitted last
};

HNIPCAvailabilityPrivate::HNIPCAvailabilityPrivate(HNIPCAvailability *availability)
    : QObject(availability), isAvailable(), q(availability), subscriber(new Subscriber(this)),
      knownDaemons(0), isKnownTold(false)
{
    subscriber->daemons = allDaemons;
    Bus::instance()->subscribe(subscriber);
}

HNIPCAvailabilityPrivate::~HNIPCAvailabilityPrivate() { Bus::instance()->unsubscribe(subscriber); }

bool HNIPCAvailabilityPrivate::isKnown() const { return knownDaemons == allDaemons; }

void HNIPCAvailabilityPrivate::customEvent(QEvent *)
{
    News news(News::BusLost);
    if (!subscriber->mailbox.takeForReceivers(&news)) {
        return;
    }
    if (news.kind == News::BusLost) {
        onBusLost();
    } else {
        onDaemon(news.daemon, news.kind != News::DaemonAbsent);
    }
}

// In each of these functions, a receiver may destroy the object, or run an event loop.

void HNIPCAvailabilityPrivate::setAvailable(HNIPCServer::ServerType daemon, bool available)
{
    if (available == isAvailable[daemon]) {
        return;
    }
    isAvailable[daemon] = available;
    switch (daemon) {
    case HNIPCServer::IOEXPD:
        emit q->ioexpdChanged(available);
        break;
    case HNIPCServer::M4:
        emit q->m4Changed(available);
        break;
    case HNIPCServer::SUPPLYD:
        emit q->supplydChanged(available);
        break;
    }
}

void HNIPCAvailabilityPrivate::onDaemon(HNIPCServer::ServerType daemon, bool available)
{
    const QPointer<HNIPCAvailability> guard = q;
    knownDaemons |= 1 << daemon;
    setAvailable(daemon, available);
    if (!guard || isKnownTold || !isKnown()) {
        return;
    }
    isKnownTold = true;
    emit q->knownChanged(true);
}

void HNIPCAvailabilityPrivate::onBusLost()
{
    const QPointer<HNIPCAvailability> guard = q;
    knownDaemons = 0;
    for (int i = 0; i < daemonCount && guard; ++i) {
        setAvailable(static_cast<HNIPCServer::ServerType>(i), false);
    }
    if (!guard || !isKnownTold) {
        return;
    }
    isKnownTold = false;
    emit q->knownChanged(false);
}

HNIPCAvailability::HNIPCAvailability(QObject *parent)
    : QObject(parent), d(new HNIPCAvailabilityPrivate(this))
{
}

HNIPCAvailability::~HNIPCAvailability() {}

bool HNIPCAvailability::isKnown() const { return d->isKnown(); }

bool HNIPCAvailability::hasIoexpd() const { return d->isAvailable[HNIPCServer::IOEXPD]; }

bool HNIPCAvailability::hasM4() const { return d->isAvailable[HNIPCServer::M4]; }

bool HNIPCAvailability::hasSupplyd() const { return d->isAvailable[HNIPCServer::SUPPLYD]; }

#include "hnipc/moc_hnipcavailability.cpp"
