// SPDX-License-Identifier: MIT
#include <hnipc/hnipcevents.h>

#include "async/bus_p.h"
#include "async/event_p.h"

#include <QtCore/QPointer>

// A child of the object, so that it is moved to another thread with it.
class HNIPCEventsPrivate : public QObject
{
public:
    explicit HNIPCEventsPrivate(HNIPCEvents *events);
    virtual ~HNIPCEventsPrivate();

    bool isListening;

protected:
    virtual void customEvent(QEvent *letter);

private:
    void setListening(bool listening);
    void relay(const News &news);

    HNIPCEvents *const q;
    const SubscriberPointer subscriber;
};

HNIPCEventsPrivate::HNIPCEventsPrivate(HNIPCEvents *events)
    : QObject(events), isListening(false), q(events), subscriber(new Subscriber(this))
{
    subscriber->rows = allRows;
    Bus::instance()->subscribe(subscriber);
}

HNIPCEventsPrivate::~HNIPCEventsPrivate() { Bus::instance()->unsubscribe(subscriber); }

void HNIPCEventsPrivate::customEvent(QEvent *)
{
    News news(News::BusLost);
    if (!subscriber->mailbox.takeForReceivers(&news)) {
        return;
    }
    if (news.kind == News::Signal) {
        relay(news);
    } else {
        setListening(news.kind == News::Listening);
    }
}

void HNIPCEventsPrivate::setListening(bool listening)
{
    if (listening == isListening) {
        return;
    }
    isListening = listening;
    emit q->listeningChanged(listening);
}

// The values have the types of the parameters: rowOfMessage() has checked them.
void HNIPCEventsPrivate::relay(const News &news)
{
    const Event &event = eventOfRow(news.row);
    void *arguments[] = { nullptr, nullptr, nullptr }; // the result, and at most two parameters
    for (int i = 0; i < news.values.size(); ++i) {
        arguments[i + 1] = const_cast<void *>(news.values.at(i).constData());
    }
    const QPointer<HNIPCEvents> guard = q; // a receiver may destroy it
    q->qt_metacall(QMetaObject::InvokeMetaMethod, event.methodIndex, arguments);
    if (guard) {
        emit guard->received(event.name, news.values);
    }
}

HNIPCEvents::HNIPCEvents(QObject *parent) : QObject(parent), d(new HNIPCEventsPrivate(this)) {}

HNIPCEvents::~HNIPCEvents() {}

bool HNIPCEvents::isListening() const { return d->isListening; }

#include "hnipc/moc_hnipcevents.cpp"
