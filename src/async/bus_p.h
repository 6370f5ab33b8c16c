// SPDX-License-Identifier: MIT
#ifndef BUS_P_H
#define BUS_P_H

#include "async/call_p.h"
#include "async/event_p.h"
#include "async/mailbox_p.h"
#include "common/relay_p.h"

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QVariant>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>

#include <memory>

class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

enum { daemonCount = 3 };

// A message to a subscriber.
struct News
{
    enum Kind {
        DaemonPresent, // also if another process has acquired the bus name
        DaemonAbsent,
        Listening, // no signal is missed from now on
        Signal,    // has a row and values
        BusLost    // or could not be connected
    };

    explicit News(Kind itsKind) : kind(itsKind), daemon(HNIPCServer::IOEXPD), row(noRow) {}

    Kind kind;
    HNIPCServer::ServerType daemon;
    int row;
    QVariantList values;
};

// An object that receives news about daemons and signals, in the order in which the bus reports
// them.
struct Subscriber
{
    explicit Subscriber(QObject *object) : daemons(0), rows(0), mailbox(object) {}

    bool wants(HNIPCServer::ServerType daemon) const { return (daemons >> daemon) & 1; }

    int daemons;  // one bit for each daemon
    quint64 rows; // one bit for each row of relayRows()
    Mailbox<News> mailbox;
};

typedef std::shared_ptr<Subscriber> SubscriberPointer;

const int allDaemons = (1 << daemonCount) - 1;
const quint64 allRows = (Q_UINT64_C(1) << relayRowCount) - 1;

// The system bus for the non-blocking classes; one object per process. Everything that could wait
// for the bus is done here, in a separate thread. (With Qt 4, in the application's thread, because
// its connection belongs to one thread.) Replies arrive here first. So a thread that is blocked does
// not keep the calls of its requests in flight.
class Bus : public QObject
{
    Q_OBJECT

public:
    static Bus *instance();

    // Called from any thread. The work is done later, in the order of these calls.
    void send(const CallPointer &call);
    void forget(const CallPointer &call); // for a call that was withdrawn before it was sent
    void subscribe(const SubscriberPointer &subscriber);
    void unsubscribe(const SubscriberPointer &subscriber);

protected:
    virtual void customEvent(QEvent *letter);

private Q_SLOTS:
    void onGreeted(QDBusPendingCallWatcher *watcher);
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
        Presence presence;
        QString owner;                     // the unique name of its connection
        QDBusPendingCallWatcher *question; // the pending call of GetNameOwner
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
    void setOwner(HNIPCServer::ServerType daemon, const QString &owner);
    bool wantsSignals() const;
    void connectSignals();
    void disconnectSignals();
    QDBusPendingCallWatcher *askBus(const char *method, const QString &name, const char *slot);

    Mailbox<Job> m_jobs;
    bool m_isOpen; // open() was called; it may have failed
    bool m_isConnected;
    bool m_isGreeted; // calls of daemons can be sent
    QDBusConnection m_connection;

    Daemon m_daemons[daemonCount];
    QHash<QDBusPendingCallWatcher *, CallPointer> m_calls; // in flight

    QList<SubscriberPointer> m_subscribers;
    QDBusServiceWatcher *m_watcher;
    // Identifies the call of the bus whose reply confirms the subscriptions to signals. It is deleted
    // after the reply, so the pointer is only compared. Null without subscriptions.
    QDBusPendingCallWatcher *m_subscription;
    bool m_isListening; // the reply has arrived; not used after the bus was lost
};

#endif
