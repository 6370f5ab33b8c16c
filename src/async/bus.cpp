// SPDX-License-Identifier: MIT
#include "async/bus_p.h"

#include "async/event_p.h"
#include "async/metamethod_p.h"
#include "common/serviceidentity_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusPendingReply>
#include <QtDBus/QDBusServiceWatcher>

#include <cstdlib>
#include <limits>

// The most calls in flight to each daemon: 96 to all three. A bus of type system refuses a call of a
// program if 128 earlier calls have no reply yet. The other 32 are for blocking calls.
static const int mostInFlight = 32;

// Requests have their own deadlines. With a timeout, Qt would end a call that the bus still counts
// as a call without a reply.
static const int noTimeout = std::numeric_limits<int>::max();

static const char noOwner[] = "org.freedesktop.DBus.Error.NameHasNoOwner";

static HNIPCServer::ServerType daemonNumber(int i)
{
    return static_cast<HNIPCServer::ServerType>(i);
}

// ---- The thread ----------------------------------------------------------------------------

Bus::Bus()
    : m_jobs(this), m_isOpen(false), m_isConnected(false), m_isGreeted(false),
      m_connection(QLatin1String("none")), m_watcher(nullptr), m_subscription(nullptr),
      m_isListening(false)
{
}

#if QT_VERSION >= 0x050000
// Runs at exit, before Qt closes its connections: functions run at exit in the reverse order of their
// registration, and Bus uses QDBusConnection before this function is registered. It waits at most
// 1 s for a thread that the bus blocks.
static void stopThread()
{
    QThread *const thread = Bus::instance()->thread();
    thread->quit();
    thread->wait(1000);
}
#endif

// Never destroyed: objects that outlive static objects still use it.
Bus *Bus::instance()
{
    struct Starter
    {
        Starter()
        {
#if QT_VERSION >= 0x050000
            // Qt's connections use its registries of types until they are closed. So the registries
            // have to exist before them, to be destroyed after them. Qt fills them when it is asked
            // for the signature of a type that is not a basic one.
            wireTypeOf(qRegisterMetaType<QDBusMessage>());
            bus = new Bus;
            QThread *thread = new QThread;
            thread->setObjectName(QLatin1String("hnipc"));
            bus->moveToThread(thread);
            thread->start();
            std::atexit(stopThread);
#else
            bus = new Bus;
            if (QCoreApplication *application = QCoreApplication::instance()) {
                bus->moveToThread(application->thread());
            }
#endif
        }

        Bus *bus;
    };
    static const Starter starter;
    return starter.bus;
}

void Bus::post(void (Bus::*action)(const Job &), const CallPointer &call,
               const SubscriberPointer &subscriber)
{
    const Job job = { action, call, subscriber };
    m_jobs.put(job);
}

void Bus::customEvent(QEvent *)
{
    if (!m_isOpen) {
        open();
    }
    Job job;
    if (m_jobs.take(&job)) {
        (this->*job.action)(job);
    }
}

void Bus::open()
{
    m_isOpen = true;
    m_connection = QDBusConnection::systemBus();
    m_isConnected = m_connection.isConnected();
    m_connection.connect(QString(), QLatin1String("/org/freedesktop/DBus/Local"),
                         QLatin1String("org.freedesktop.DBus.Local"), QLatin1String("Disconnected"),
                         this, SLOT(onLost()));
#if QT_VERSION >= 0x050000
    // The bus tells a new connection its name. Qt's thread then adds the name to a list, which a call
    // of a daemon reads: at the same time, it can crash. A call of the bus does not read the list, and
    // when its reply is here, the name is in the list. That does not help if the main thread has opened
    // the connection: then Qt holds the name back until its event loop runs.
    if (m_isConnected) {
        askBus("GetId", QString(), SLOT(onGreeted(QDBusPendingCallWatcher *)));
        return;
    }
#endif
    m_isGreeted = true;
}

void Bus::onGreeted(QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    m_isGreeted = true;
    for (Daemon &daemon : m_daemons) {
        sendWaiting(&daemon);
    }
}

void Bus::onLost()
{
    m_isConnected = false;
    m_subscription = nullptr;
    // Qt 4 does not finish the calls in flight.
    const QList<CallPointer> calls = m_calls.values();
    m_calls.clear();
    for (int i = 0; i < calls.size(); ++i) {
        calls.at(i)->end(RequestLetter::BusLost);
    }
    for (Daemon &daemon : m_daemons) {
        daemon.inFlight = 0;
        sendWaiting(&daemon);
    }
    tell(News(News::BusLost));
}

QDBusPendingCallWatcher *Bus::askBus(const char *method, const QString &name, const char *slot)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QLatin1String("org.freedesktop.DBus"), QLatin1String("/org/freedesktop/DBus"),
        QLatin1String("org.freedesktop.DBus"), QLatin1String(method));
    if (!name.isEmpty()) {
        message << name;
    }
    QDBusPendingCallWatcher *watcher = new QDBusPendingCallWatcher(
        m_connection.asyncCall(message, noTimeout), this);
    connect(watcher, SIGNAL(finished(QDBusPendingCallWatcher *)), slot);
    return watcher;
}

// ---- Calls ---------------------------------------------------------------------------------

void Bus::send(const CallPointer &call) { post(&Bus::onSend, call, SubscriberPointer()); }

void Bus::forget(const CallPointer &call) { post(&Bus::onForget, call, SubscriberPointer()); }

void Bus::onSend(const Job &job)
{
    Daemon &daemon = m_daemons[job.call->daemon()];
    if (m_isGreeted && daemon.inFlight < mostInFlight) {
        sendNow(job.call);
    } else {
        daemon.waiting.append(job.call);
    }
}

void Bus::onForget(const Job &job) { m_daemons[job.call->daemon()].waiting.removeOne(job.call); }

void Bus::sendNow(const CallPointer &call)
{
    if (!m_isConnected) {
        call->end(RequestLetter::NoBus);
        return;
    }
    if (!call->beginSending()) {
        return;
    }
    ++m_daemons[call->daemon()].inFlight;
    QDBusPendingCallWatcher *watcher = new QDBusPendingCallWatcher(
        m_connection.asyncCall(call->message(), noTimeout), this);
    m_calls.insert(watcher, call);
    connect(watcher, SIGNAL(finished(QDBusPendingCallWatcher *)),
            SLOT(onReply(QDBusPendingCallWatcher *)));
}

void Bus::sendWaiting(Daemon *daemon)
{
    while (!daemon->waiting.isEmpty() && daemon->inFlight < mostInFlight) {
        sendNow(daemon->waiting.takeFirst());
    }
}

void Bus::onReply(QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    const CallPointer call = m_calls.take(watcher);
    if (!call) { // onLost() has ended the call
        return;
    }
    call->end(RequestLetter::Replied, watcher->reply());
    Daemon &daemon = m_daemons[call->daemon()];
    --daemon.inFlight;
    sendWaiting(&daemon);
}

// ---- Subscribers ---------------------------------------------------------------------------

void Bus::subscribe(const SubscriberPointer &subscriber)
{
    post(&Bus::onSubscribe, CallPointer(), subscriber);
}

void Bus::unsubscribe(const SubscriberPointer &subscriber)
{
    subscriber->mailbox.close();
    post(&Bus::onUnsubscribe, CallPointer(), subscriber);
}

void Bus::onSubscribe(const Job &job)
{
    const SubscriberPointer &subscriber = job.subscriber;
    m_subscribers.append(subscriber);
    if (!m_isConnected) {
        subscriber->mailbox.put(News(News::BusLost));
        return;
    }
    watchDaemons();
    for (int i = 0; i < daemonCount; ++i) {
        News news(m_daemons[i].presence == Present ? News::DaemonPresent : News::DaemonAbsent);
        news.daemon = daemonNumber(i);
        if (subscriber->wants(news.daemon) && m_daemons[i].presence != NotKnown) {
            subscriber->mailbox.put(news);
        }
    }
    if (subscriber->rows && !m_subscription) {
        connectSignals();
    }
    if (subscriber->rows && m_isListening) {
        subscriber->mailbox.put(News(News::Listening));
    }
}

void Bus::onUnsubscribe(const Job &job)
{
    m_subscribers.removeOne(job.subscriber);
    if (m_subscription && !wantsSignals()) {
        disconnectSignals();
    }
}

void Bus::tell(const News &news)
{
    for (int i = 0; i < m_subscribers.size(); ++i) {
        const SubscriberPointer &subscriber = m_subscribers.at(i);
        bool isWanted = true;
        switch (news.kind) {
        case News::DaemonPresent:
        case News::DaemonAbsent:
            isWanted = subscriber->wants(news.daemon);
            break;
        case News::Listening:
            isWanted = subscriber->rows;
            break;
        case News::Signal:
            isWanted = (subscriber->rows >> news.row) & 1;
            break;
        default:
            break;
        }
        if (isWanted) {
            subscriber->mailbox.put(news);
        }
    }
}

// Watches each name before it calls GetNameOwner, so that no change in between is missed.
void Bus::watchDaemons()
{
    if (m_watcher) {
        return;
    }
    m_watcher = new QDBusServiceWatcher(this);
    m_watcher->setConnection(m_connection);
    connect(m_watcher, SIGNAL(serviceOwnerChanged(QString, QString, QString)),
            SLOT(onOwnerChanged(QString, QString, QString)));
    for (int i = 0; i < daemonCount; ++i) {
        const QString name = serviceIdentity(daemonNumber(i))->busName;
        m_watcher->addWatchedService(name);
        m_daemons[i].question = askBus("GetNameOwner", name,
                                       SLOT(onOwnerTold(QDBusPendingCallWatcher *)));
    }
}

void Bus::setOwner(HNIPCServer::ServerType daemon, const QString &owner)
{
    m_daemons[daemon].owner = owner;
    m_daemons[daemon].presence = owner.isEmpty() ? Absent : Present;
    News news(owner.isEmpty() ? News::DaemonAbsent : News::DaemonPresent);
    news.daemon = daemon;
    tell(news);
}

void Bus::onOwnerChanged(const QString &name, const QString &, const QString &newOwner)
{
    for (int i = 0; i < daemonCount; ++i) {
        if (name == serviceIdentity(daemonNumber(i))->busName) {
            setOwner(daemonNumber(i), newOwner);
        }
    }
}

void Bus::onOwnerTold(QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    const QDBusPendingReply<QString> reply = *watcher;
    if (reply.isError() && reply.error().name() != QLatin1String(noOwner)) {
        return;
    }
    const QString owner = reply.isError() ? QString() : reply.value();
    for (int i = 0; i < daemonCount; ++i) {
        const bool isUnknown = m_daemons[i].presence == NotKnown; // otherwise m_watcher was faster
        if (watcher == m_daemons[i].question && isUnknown) {
            setOwner(daemonNumber(i), owner);
        }
    }
}

bool Bus::wantsSignals() const
{
    for (int i = 0; i < m_subscribers.size(); ++i) {
        if (m_subscribers.at(i)->rows) {
            return true;
        }
    }
    return false;
}

// One subscription per daemon, to all signals of its interface from any sender. With a sender's
// name, Qt would call the bus for the name's owner and block, and libdbus aborts if the bus is lost
// then.
void Bus::connectSignals()
{
    for (int i = 0; i < daemonCount; ++i) {
        const ServiceIdentity *daemon = serviceIdentity(daemonNumber(i));
        m_connection.connect(QString(), daemon->path, daemon->interfaceName, QString(), this,
                             SLOT(onSignal(QDBusMessage)));
    }
    // The subscriptions have no replies. The bus replies to this call after it has processed them.
    m_subscription = askBus("GetId", QString(), SLOT(onSubscribed(QDBusPendingCallWatcher *)));
}

void Bus::disconnectSignals()
{
    for (int i = 0; i < daemonCount; ++i) {
        const ServiceIdentity *daemon = serviceIdentity(daemonNumber(i));
        m_connection.disconnect(QString(), daemon->path, daemon->interfaceName, QString(), this,
                                SLOT(onSignal(QDBusMessage)));
    }
    m_isListening = false;
    m_subscription = nullptr;
}

void Bus::onSubscribed(QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    if (watcher != m_subscription || watcher->isError()) {
        return;
    }
    m_isListening = true;
    tell(News(News::Listening));
}

void Bus::onSignal(const QDBusMessage &message)
{
    const int row = rowOfMessage(message);
    if (row == noRow || message.service() != m_daemons[eventOfRow(row).daemon].owner) {
        return;
    }
    News news(News::Signal);
    news.row = row;
    news.values = message.arguments().mid(0, eventOfRow(row).parameterCount);
    tell(news);
}
