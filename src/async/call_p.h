// SPDX-License-Identifier: MIT
#ifndef CALL_P_H
#define CALL_P_H

#include "async/mailbox_p.h"
#include "async/remotemethod_p.h"

#include <QtCore/QElapsedTimer>
#include <QtDBus/QDBusMessage>

#include <memory>
#include <mutex>

// A message to a request.
struct RequestLetter
{
    enum Kind {
        NotSent, // the request knows the reason already
        Replied, // has the reply
        TimedOut,
        NoBus,      // not sent
        BusLost,    // after it was sent
        Cancelled,  // within send()
        TimerNeeded // the request needs a timer in its present thread
    };

    RequestLetter(Kind itsKind, int itsNumber) : kind(itsKind), number(itsNumber) {}

    Kind kind;
    int number; // of the send() or cancel() that it belongs to; older letters are ignored
    QDBusMessage reply;
};

// A call that waits or is in flight, shared by its request and the Bus.
class Call
{
public:
    Call(const RemoteMethod &method, const QVariantList &arguments, int deadline, int number,
         const std::shared_ptr<Mailbox<RequestLetter>> &request);

    HNIPCServer::ServerType daemon() const { return m_daemon; }
    const QDBusMessage &message() const { return m_message; }

    // Called by the request when it no longer waits for the call. Returns true if the call was not
    // sent. Then the Bus does not send it later either.
    bool withdraw();

    // Called by the Bus.
    bool beginSending(); // false if the call was withdrawn, or its deadline has passed
    void end(RequestLetter::Kind kind, const QDBusMessage &reply = QDBusMessage());

private:
    const HNIPCServer::ServerType m_daemon;
    const int m_deadline;
    const int m_number;
    const std::shared_ptr<Mailbox<RequestLetter>> m_request;
    QDBusMessage m_message;
    QElapsedTimer m_clock;

    std::mutex m_mutex; // guards the next two
    bool m_isSent;
    bool m_isWithdrawn;
};

typedef std::shared_ptr<Call> CallPointer;

#endif
