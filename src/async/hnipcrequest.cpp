// SPDX-License-Identifier: MIT
#include <hnipc/hnipcrequest.h>

#include "async/metamethod_p.h"
#include "async/remotemethod_p.h"
#include "async/turns_p.h"
#include "common/emptyvalue_p.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QThread>
#include <QtCore/QTimer>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCallWatcher>
#include <QtDBus/QDBusReply>

namespace {

// What a request finishes with.
struct Result
{
    Result() : outcome(HNIPCRequest::NoOutcome) {}

    HNIPCRequest::Outcome outcome;
    QVariant value;
    QString errorName;
    QString errorText;
};

Result failure(HNIPCRequest::Outcome outcome, const QString &name, const QString &text)
{
    Result result;
    result.outcome = outcome;
    result.errorName = name;
    result.errorText = text;
    return result;
}

QString standardError(const char *name)
{
    return QLatin1String("org.freedesktop.DBus.Error.") + QLatin1String(name);
}

Result noBus()
{
    return failure(HNIPCRequest::NotSent, standardError("Disconnected"),
                   QString::fromLatin1("there is no system bus"));
}

// Tells of the end of the bus, at which Qt 4 leaves calls in flight as they are.
class BusWatch : public QObject
{
    Q_OBJECT

public:
    static BusWatch *instance()
    {
        static BusWatch *const watch = new BusWatch; // for calls that outlive static objects
        return watch;
    }

Q_SIGNALS:
    void lost();

private Q_SLOTS:
    void onLost() { emit lost(); }

private:
    BusWatch()
    {
        // The thread that makes the first call may end before others.
        if (QCoreApplication *application = QCoreApplication::instance())
            moveToThread(application->thread());
        QDBusConnection::systemBus().connect(
            QString(), QLatin1String("/org/freedesktop/DBus/Local"),
            QLatin1String("org.freedesktop.DBus.Local"), QLatin1String("Disconnected"), this,
            SLOT(onLost()));
    }
};

// A call on the bus, which deletes itself when it has ended. It keeps its turn until then, also
// where nobody waits for the answer any more, because the bus counts it until then.
class Call : public QDBusPendingCallWatcher
{
    Q_OBJECT

public:
    Call(const QDBusMessage &message, int timeout)
        : QDBusPendingCallWatcher(QDBusConnection::systemBus().asyncCall(message, timeout)),
          failedAtOnce(isFinished()), hasTurn(true)
    {
        connect(this, SIGNAL(finished(QDBusPendingCallWatcher*)), SLOT(end()));
        connect(BusWatch::instance(), SIGNAL(lost()), SLOT(end()));
    }

    virtual ~Call() { endTurn(); }

    // From here on nobody waits for the answer. Where the program ends before it comes, the call
    // stays as it is: it may not be deleted when Qt has done with the bus, for with its connection
    // Qt 5 deletes what a pending call refers to.
    void abandon(QObject *receiver)
    {
        disconnect(receiver);
        QCoreApplication *application = QCoreApplication::instance();
        if (application && application->thread() != thread())
            connect(thread(), SIGNAL(finished()), SLOT(end()), Qt::DirectConnection);
    }

    const bool failedAtOnce;

Q_SIGNALS:
    void ended(); // once, with the reply, or without one where the bus is lost

private Q_SLOTS:
    void end()
    {
        if (!hasTurn)
            return;
        endTurn(); // not left to the destructor, which waits for an event loop to return to
        deleteLater();
        emit ended();
    }

private:
    void endTurn()
    {
        if (hasTurn)
            Turns::instance()->giveBack();
        hasTurn = false;
    }

    bool hasTurn;
};

} // namespace

class HNIPCRequestPrivate
{
public:
    explicit HNIPCRequestPrivate(HNIPCRequest *request);

    bool start(); // false where there is nothing that can be sent, with unsent saying why
    void startWaiting();
    void sendNow();
    void leave(); // whatever the request is at
    void giveUp(const char *errorName, const QString &text);
    void finish(const Result &last);

    void onTurn();
    void onWaitedTooLong();
    void onReply();
    void onNotSent(int number);

    enum State { Idle, Failing, Waiting, InFlight };

    HNIPCRequest *q;
    QString method;
    QList<RemoteMethod> overloads;
    QVariantList arguments;
    int deadline;

    // Of the pending call, whatever is set for the next one.
    State state;
    int number;
    RemoteMethod called;
    QDBusMessage message;
    int allowed;        // the deadline
    QTimer waitingTime; // while Waiting, where there is a deadline
    Call *call;         // while InFlight
    QElapsedTimer clock;
    Result unsent; // while Failing

    qint64 duration;
    Result result;
};

HNIPCRequestPrivate::HNIPCRequestPrivate(HNIPCRequest *request)
    : q(request), deadline(-1), state(Idle), number(0), called(), allowed(-1),
      waitingTime(request), call(0),
      duration(0)
{
    waitingTime.setSingleShot(true);
    QObject::connect(&waitingTime, SIGNAL(timeout()), q, SLOT(onWaitedTooLong()));
}

// ---- Sending -------------------------------------------------------------------------------

bool HNIPCRequestPrivate::start()
{
    QVariantList fitted;
    QString error;
    if (overloads.isEmpty()) {
        unsent = failure(HNIPCRequest::NotSent, standardError("UnknownMethod"),
                         QString::fromLatin1("the printer has no method \"%1\"").arg(method));
        return false;
    }
    const RemoteMethod *remote = fittingMethod(overloads, arguments, &fitted, &error);
    if (!remote) {
        unsent = failure(HNIPCRequest::NotSent, standardError("InvalidArgs"), error);
        return false;
    }
    if (deadline == 0 || deadline < -1) {
        unsent = failure(HNIPCRequest::NotSent, standardError("InvalidArgs"),
                         QString::fromLatin1("the deadline has to be 1 ms or more, or -1, not %1")
                             .arg(deadline));
        return false;
    }
    if (!QDBusConnection::systemBus().isConnected()) {
        unsent = noBus();
        return false;
    }

    called = *remote;
    allowed = deadline;
    message = QDBusMessage::createMethodCall(called.daemon->busName, called.daemon->path,
                                             called.daemon->interfaceName, called.name);
    message.setArguments(fitted);
    message.setAutoStartService(false);
    if (Turns::instance()->take(q))
        sendNow();
    else
        startWaiting();
    return true;
}

void HNIPCRequestPrivate::startWaiting()
{
    state = Waiting;
    if (allowed > 0)
        waitingTime.start(allowed);
}

// One that has stopped to wait, and maybe begun anew, may still be called for the first time.
void HNIPCRequestPrivate::onTurn()
{
    if (state != Waiting || Turns::instance()->isWaiting(q))
        return;
    if (QDBusConnection::systemBus().isConnected())
        sendNow();
    else
        finish(noBus());
}

void HNIPCRequestPrivate::sendNow()
{
    state = InFlight;
    waitingTime.stop();
    const int left = allowed < 0 ? -1 : qMax(1, allowed - static_cast<int>(clock.elapsed()));
    call = new Call(message, left);
    QObject::connect(call, SIGNAL(ended()), q, SLOT(onReply()));
}

// ---- Finishing -----------------------------------------------------------------------------

// An error is the daemon's, the bus's in place of the daemon, or made on this side of the bus.
static Result judgedError(const RemoteMethod &called, const QDBusMessage &reply, int allowed,
                          bool failedAtOnce)
{
    const QString daemon = called.daemon->busName;
    const QDBusError::ErrorType type = QDBusError(reply).type();
    const bool isFromBus = reply.service() == QLatin1String("org.freedesktop.DBus");
    if (!isFromBus && !reply.service().isEmpty())
        return failure(HNIPCRequest::Refused, reply.errorName(), reply.errorMessage());
    if (isFromBus && type == QDBusError::NoReply)
        return failure(HNIPCRequest::Unknown, reply.errorName(),
                       QString::fromLatin1("%1 left the bus before it answered").arg(daemon));
    // Where no daemon may be started for a call, the bus has another name for its absence.
    if (isFromBus
        && (type == QDBusError::ServiceUnknown
            || reply.errorName() == standardError("NameHasNoOwner")))
        return failure(HNIPCRequest::NotSent, standardError("ServiceUnknown"),
                       QString::fromLatin1("%1 is not on the bus").arg(daemon));
    if (isFromBus)
        return failure(HNIPCRequest::NotSent, reply.errorName(), reply.errorMessage());

    const bool isTimeout = type == QDBusError::NoReply || type == QDBusError::Timeout
        || type == QDBusError::TimedOut;
    if (failedAtOnce && !isTimeout)
        return failure(HNIPCRequest::NotSent, reply.errorName(), reply.errorMessage());
    if (!isTimeout || !QDBusConnection::systemBus().isConnected())
        return failure(HNIPCRequest::Unknown, standardError("Disconnected"),
                       QString::fromLatin1("the bus was lost before %1 answered").arg(daemon));
    const QString text = allowed < 0
        ? QString::fromLatin1("%1 did not answer in the time that the bus allows").arg(daemon)
        : QString::fromLatin1("%1 did not answer within %2 ms").arg(daemon).arg(allowed);
    return failure(HNIPCRequest::Unknown, standardError("Timeout"), text);
}

// The answer in the declared type. As for the client, a record may have any number of fields.
static Result judgedAnswer(const RemoteMethod &called, const QDBusMessage &reply)
{
    Result result;
    result.outcome = HNIPCRequest::Answered;
    if (called.resultType == QMetaType::Void)
        return result;
    if (called.resultType == qMetaTypeId<SupplyInformation>()
        && reply.signature().startsWith(QLatin1Char('('))) {
        SupplyInformation information;
        qvariant_cast<QDBusArgument>(reply.arguments().first()) >> information;
        result.value = QVariant::fromValue(information);
        return result;
    }
    QDBusError error;
    result.value = emptyValue(called.resultType);
    qDBusReplyFill(reply, error, result.value); // what QDBusReply does, for a type by its number
    if (error.isValid())
        return failure(HNIPCRequest::Unknown, error.name(),
                       QString::fromLatin1("%1 answered another type: %2")
                           .arg(called.daemon->busName, error.message()));
    return result;
}

void HNIPCRequestPrivate::onReply()
{
    const QDBusMessage reply = call->reply();
    const bool failedAtOnce = call->failedAtOnce;
    call = 0;
    finish(reply.type() == QDBusMessage::ReplyMessage
               ? judgedAnswer(called, reply)
               : judgedError(called, reply, allowed, failedAtOnce));
}

void HNIPCRequestPrivate::onNotSent(int requestNumber)
{
    if (state == Failing && requestNumber == number) // else cancelled, and maybe sent again
        finish(unsent);
}

void HNIPCRequestPrivate::onWaitedTooLong()
{
    giveUp("org.freedesktop.DBus.Error.Timeout",
           QString::fromLatin1("its turn to be sent to %1 did not come within %2 ms")
               .arg(called.daemon->busName).arg(allowed));
}

void HNIPCRequestPrivate::giveUp(const char *errorName, const QString &text)
{
    if (state == Failing)
        finish(unsent);
    else
        finish(failure(state == Waiting ? HNIPCRequest::NotSent : HNIPCRequest::Unknown,
                       QLatin1String(errorName), text));
}

void HNIPCRequestPrivate::leave()
{
    if (state == Waiting && !Turns::instance()->stopWaiting(q))
        Turns::instance()->giveBack(); // it has been called
    if (call)
        call->abandon(q);
    call = 0;
    waitingTime.stop();
    state = Idle;
}

void HNIPCRequestPrivate::finish(const Result &last)
{
    leave();
    duration = clock.elapsed();
    result = last;
    const QPointer<HNIPCRequest> request = q; // a receiver may delete it
    emit q->finished();
    if (request)
        emit request->stateChanged();
}

// ---- The request ---------------------------------------------------------------------------

HNIPCRequest::HNIPCRequest(QObject *parent) : QObject(parent), d(new HNIPCRequestPrivate(this)) {}

HNIPCRequest::~HNIPCRequest()
{
    d->leave();
}

QString HNIPCRequest::method() const { return d->method; }

void HNIPCRequest::setMethod(const QString &method)
{
    if (method == d->method)
        return;
    d->method = method;
    d->overloads = remoteMethods(method);
    emit methodChanged();
}

QVariantList HNIPCRequest::arguments() const { return d->arguments; }

// Not compared with the old ones: variants that make different calls, as 5 and "5", may be equal.
void HNIPCRequest::setArguments(const QVariantList &arguments)
{
    d->arguments = arguments;
    emit argumentsChanged();
}

int HNIPCRequest::deadline() const { return d->deadline; }

void HNIPCRequest::setDeadline(int milliseconds)
{
    if (milliseconds == d->deadline)
        return;
    d->deadline = milliseconds;
    emit deadlineChanged();
}

bool HNIPCRequest::isPending() const { return d->state != HNIPCRequestPrivate::Idle; }

HNIPCRequest::Outcome HNIPCRequest::outcome() const { return d->result.outcome; }

QVariant HNIPCRequest::value() const { return d->result.value; }

QString HNIPCRequest::errorName() const { return d->result.errorName; }

QString HNIPCRequest::errorText() const { return d->result.errorText; }

int HNIPCRequest::elapsed() const
{
    return static_cast<int>(isPending() ? d->clock.elapsed() : d->duration);
}

bool HNIPCRequest::send()
{
    if (isPending())
        return false;
    d->result = Result();
    ++d->number;
    d->clock.start();
    if (!d->start()) {
        // Through the event loop, so that whoever calls hears of it as of any other outcome.
        d->state = HNIPCRequestPrivate::Failing;
        QMetaObject::invokeMethod(this, "onNotSent", Qt::QueuedConnection, Q_ARG(int, d->number));
    }
    emit stateChanged();
    return true;
}

void HNIPCRequest::cancel()
{
    if (isPending())
        d->giveUp("org.hnipc.Error.Cancelled", QString::fromLatin1("cancelled"));
}

#include "hnipc/moc_hnipcrequest.cpp"
#include "hnipcrequest.moc"
