// SPDX-License-Identifier: MIT
#ifndef BUS_P_H
#define BUS_P_H

#include "async/call_p.h"
#include "async/mailbox_p.h"
#include "common/relay_p.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QVariant>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <atomic>
#include <memory>

class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

enum { daemonCount = 3 };

// A message to a subscriber.
struct News
{
    enum Kind {
        DaemonPresent,  // since before
        DaemonAppeared, // also when another process has taken over the bus name
        DaemonAbsent,
        Listening, // no signal is missed from here on
        Signal,    // of this row, with these values
        BusLost    // or there is none
    };

    explicit News(Kind itsKind) : kind(itsKind), daemon(HNIPCServer::IOEXPD), row(-1) {}

    Kind kind;
    HNIPCServer::ServerType daemon;
    int row;
    QVariantList values;
};

// An object that is told of daemons and signals, in the order in which the bus tells of them.
struct Subscriber
{
    explicit Subscriber(QObject *object) : wantsState(false), daemons(0), rows(0), mailbox(object)
    {
    }

    bool wants(HNIPCServer::ServerType daemon) const { return (daemons >> daemon) & 1; }

    bool wantsState; // to be told also of daemons that are present, and when it is listening
    int daemons;     // one bit each
    quint64 rows;    // the same
    Mailbox<News> mailbox;
};

typedef std::shared_ptr<Subscriber> SubscriberPointer;

const int allDaemons = (1 << daemonCount) - 1;
const quint64 allRows = (Q_UINT64_C(1) << relayRowCount) - 1;

// The non-blocking half's side of the system bus, one in a process. All that could wait for the bus
// is done here, in a thread of its own (with Qt 4, whose connection belongs to one thread, in the
// application's), and replies are counted here, so no other thread can keep a call from ending.
class Bus : public QObject
{
    Q_OBJECT

public:
    static Bus *instance();

    // For any thread. Both are done later, in the order of the calls.
    void send(const CallPointer &call);
    void forget(const CallPointer &call); // that was withdrawn before it was sent
    void subscribe(const SubscriberPointer &subscriber);
    void unsubscribe(const SubscriberPointer &subscriber);

    // For any thread, too: as the bus has reported last.
    bool isPresent(HNIPCServer::ServerType daemon) const
    {
        return m_daemons[daemon].presence == Present;
    }

protected:
    virtual bool event(QEvent *event);

private Q_SLOTS:
    void onReply(QDBusPendingCallWatcher *watcher);
    void onOwnerTold(QDBusPendingCallWatcher *watcher);
    void onOwnerChanged(const QString &name, const QString &oldOwner, const QString &newOwner);
    void onSubscribed(QDBusPendingCallWatcher *watcher);
    void onSignal(const QDBusMessage &message);
    void onLost();

private:
    enum Presence { NotKnown, Absent, Present };

    struct Job
    {
        void (Bus::*action)(const Job &job);
        CallPointer call;
        SubscriberPointer subscriber;
    };

    struct Daemon
    {
        Daemon() : inFlight(0), presence(NotKnown), question(nullptr) {}

        int inFlight;
        QList<CallPointer> waiting;
        std::atomic<Presence> presence;    // read by other threads, too
        QString owner;                     // its connection's unique name
        QDBusPendingCallWatcher *question; // whether the daemon is running
    };

    Bus();
    void open();
    void post(void (Bus::*action)(const Job &), const CallPointer &call,
              const SubscriberPointer &subscriber);

    void onSend(const Job &job);
    void onForget(const Job &job);
    void sendNow(const CallPointer &call);
    void sendWaiting(Daemon *daemon);

    void onSubscribe(const Job &job);
    void onUnsubscribe(const Job &job);
    void tell(const News &news);
    void watchDaemons();
    void setOwner(HNIPCServer::ServerType daemon, const QString &owner, News::Kind kindIfPresent);
    bool wantsSignals() const;
    void connectSignals();
    void disconnectSignals();
    QDBusPendingCallWatcher *askBus(const char *method, const QString &name, const char *slot);

    Mailbox<Job> m_jobs;
    bool m_isOpen; // there has been a connection, or an attempt
    bool m_isConnected;
    QDBusConnection m_connection;

    Daemon m_daemons[daemonCount];
    QHash<QDBusPendingCallWatcher *, CallPointer> m_calls; // in flight

    QList<SubscriberPointer> m_subscribers;
    QDBusServiceWatcher *m_watcher;
    bool m_isListening;
    QDBusPendingCallWatcher *m_subscription; // the bus has not confirmed it yet
};

#endif
