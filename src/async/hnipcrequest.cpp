// SPDX-License-Identifier: MIT
#include <hnipc/hnipcrequest.h>

#include "async/bus_p.h"
#include "async/call_p.h"
#include "async/failures_p.h"
#include "async/remotemethod_p.h"
#include "common/emptyvalue_p.h"
#include "common/serviceidentity_p.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QTimerEvent>
#include <QtDBus/QDBusArgument>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusReply>

#include <limits>

// In ms. The same as the default timeout of the bus library, which blocking calls have.
static const int defaultDeadline = 25 * 1000;

// A child of the request, so that it is moved to another thread with it.
class HNIPCRequestPrivate : public QObject
{
public:
    explicit HNIPCRequestPrivate(HNIPCRequest *request);
    virtual ~HNIPCRequestPrivate();

    bool send(const QVariantList &with);
    void cancel();

    HNIPCRequest *const q;
    QString method;
    QList<RemoteMethod> overloads;
    QVariantList arguments;
    int deadline;

    bool isPending;
    QElapsedTimer clock;
    qint64 duration;
    HNIPCFailure failure; // its outcome is Answered if the request has succeeded
    QVariant value;

protected:
    virtual void customEvent(QEvent *letter);
    virtual bool event(QEvent *event);
    virtual void timerEvent(QTimerEvent *event);

private:
    bool prepare(const QVariantList &with);
    void startTimer();
    void stopTimer();
    void deliver(const RequestLetter &letter);
    bool withdraw();
    void giveUp(RequestLetter::Kind kind);
    void judge(const QDBusMessage &reply);
    void finish();
    QString daemonName() const { return serviceIdentity(called.daemon)->busName; }

    const std::shared_ptr<Mailbox<RequestLetter>> mailbox;

    // Of the latest send(); the properties above are for the next one.
    int number; // letters with another number are ignored
    RemoteMethod called;
    int allowed;               // the deadline
    CallPointer call;          // null if nothing is to be sent
    int timer;                 // 0 for none
    bool isSending;            // in send(), where the request must not finish
    bool isFinishing;          // between stateChanged() and finished()
    QList<RequestLetter> held; // delivered after send()
};

HNIPCRequestPrivate::HNIPCRequestPrivate(HNIPCRequest *request)
    : QObject(request), q(request), deadline(-1), isPending(false), duration(0),
      mailbox(new Mailbox<RequestLetter>(this)), number(0), called(), allowed(0), timer(0),
      isSending(false), isFinishing(false)
{
}

HNIPCRequestPrivate::~HNIPCRequestPrivate()
{
    mailbox->close();
    if (call) {
        withdraw();
    }
}

// ---- Sending -------------------------------------------------------------------------------

// Creates the call. Returns false, and sets the failure, if the method, an argument or the
// deadline is invalid.
bool HNIPCRequestPrivate::prepare(const QVariantList &with)
{
    QVariantList fitted;
    QString error;
    allowed = deadline == -1 ? defaultDeadline : deadline;
    if (overloads.isEmpty()) {
        failure = unknownMethod(method);
        return false;
    }
    const RemoteMethod *remote = fittingMethod(overloads, with, &fitted, &error);
    if (!remote) {
        failure = invalidArguments(error);
        return false;
    }
    if (allowed < 1) {
        failure = invalidArguments(
            QString::fromLatin1("the deadline has to be 1 ms or more, or -1, not %1")
                .arg(deadline));
        return false;
    }
    called = *remote;
    call.reset(new Call(called, fitted, allowed, number, mailbox));
    return true;
}

bool HNIPCRequestPrivate::send(const QVariantList &with)
{
    if (isPending || isFinishing) {
        return false;
    }
    isPending = true;
    ++number;
    failure = HNIPCFailure();
    value = QVariant();
    clock.start();
    if (prepare(with)) {
        Bus::instance()->send(call);
        startTimer();
    } else {
        // Reported like any other outcome, through the event loop.
        mailbox->put(RequestLetter(RequestLetter::NotSent, number));
    }
    isSending = true;
    const QPointer<HNIPCRequest> request = q; // a receiver may destroy it
    emit q->stateChanged();
    if (!request) {
        return true;
    }
    isSending = false;
    while (!held.isEmpty()) {
        mailbox->put(held.takeFirst());
    }
    return true;
}

// A thread without an event loop has no timers. It may get an event loop later.
void HNIPCRequestPrivate::startTimer()
{
    stopTimer();
    if (!QAbstractEventDispatcher::instance()) {
        mailbox->put(RequestLetter(RequestLetter::TimerNeeded, number));
        return;
    }
    const qint64 left = allowed - clock.elapsed();
#if QT_VERSION < 0x050000
    timer = QObject::startTimer(static_cast<int>(qMax(left, Q_INT64_C(0))));
#else
    timer = QObject::startTimer(static_cast<int>(qMax(left, Q_INT64_C(0))), Qt::PreciseTimer);
#endif
}

void HNIPCRequestPrivate::stopTimer()
{
    if (timer) {
        killTimer(timer);
    }
    timer = 0;
}

// ---- Finishing -----------------------------------------------------------------------------

void HNIPCRequestPrivate::customEvent(QEvent *)
{
    RequestLetter letter(RequestLetter::NotSent, 0);
    if (mailbox->takeForReceivers(&letter)) {
        deliver(letter);
    }
}

// Qt would restart the timer with its full interval in the new thread.
bool HNIPCRequestPrivate::event(QEvent *event)
{
    if (event->type() == QEvent::ThreadChange && timer) {
        stopTimer();
        mailbox->put(RequestLetter(RequestLetter::TimerNeeded, number));
    }
    return QObject::event(event);
}

// A timer may be early. Letters that have arrived are delivered before the timeout.
void HNIPCRequestPrivate::timerEvent(QTimerEvent *)
{
    if (clock.elapsed() < allowed || !mailbox->isEmpty()) {
        startTimer();
    } else {
        deliver(RequestLetter(RequestLetter::TimedOut, number));
    }
}

void HNIPCRequestPrivate::deliver(const RequestLetter &letter)
{
    if (!isPending || letter.number != number) { // the request has finished, or was sent again
        return;
    }
    if (isSending) {
        stopTimer();
        held.append(letter);
        return;
    }
    switch (letter.kind) {
    case RequestLetter::NotSent:
        break;
    case RequestLetter::Replied:
        judge(letter.reply);
        break;
    case RequestLetter::NoBus:
        failure = noBus();
        break;
    case RequestLetter::BusLost:
        failure = busLost(daemonName());
        break;
    case RequestLetter::TimedOut:
    case RequestLetter::Cancelled:
        giveUp(letter.kind);
        break;
    case RequestLetter::TimerNeeded:
        startTimer();
        return;
    }
    finish();
}

// Returns true if the call was not sent. Then it is not sent later either.
bool HNIPCRequestPrivate::withdraw()
{
    const bool isUnsent = call->withdraw();
    if (isUnsent) {
        Bus::instance()->forget(call);
    }
    return isUnsent;
}

void HNIPCRequestPrivate::giveUp(RequestLetter::Kind kind)
{
    if (!call) { // prepare() has set the failure
        return;
    }
    const bool isSent = !withdraw();
    failure = kind == RequestLetter::Cancelled ? cancelled(isSent)
                                               : timedOut(isSent, daemonName(), allowed);
}

// A reply has to be of the declared type. Only a record may have any number of members, as for the
// blocking client.
void HNIPCRequestPrivate::judge(const QDBusMessage &reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage) {
        failure = HNIPCFailure::ofReply(reply, daemonName(), 0); // the call had no timeout of Qt
        return;
    }
    failure.outcome = HNIPCRequest::Answered;
    if (called.resultType == QMetaType::Void) {
        return;
    }
    if (called.resultType == qMetaTypeId<SupplyInformation>()
        && reply.signature().startsWith(QLatin1Char('('))) {
        SupplyInformation information;
        qvariant_cast<QDBusArgument>(reply.arguments().at(0)) >> information;
        value = QVariant::fromValue(information);
        return;
    }
    QDBusError error;
    value = emptyValue(called.resultType);
    qDBusReplyFill(reply, error, value); // as QDBusReply<T> does, for a type known at run time
    if (error.isValid()) {               // then it has made the value invalid
        failure = wrongType(daemonName(), error.name(), error.message());
    }
}

void HNIPCRequestPrivate::cancel()
{
    if (!isPending) {
        return;
    }
    if (call) {
        call->withdraw(); // at once: during send(), deliver() only stores the letter
    }
    ++number; // so that a reply that arrives first is ignored
    deliver(RequestLetter(RequestLetter::Cancelled, number));
}

void HNIPCRequestPrivate::finish()
{
    stopTimer();
    call.reset();
    duration = clock.elapsed();
    isPending = false;
    isFinishing = true;
    const QPointer<HNIPCRequest> request = q; // a receiver may destroy it
    emit q->stateChanged();
    if (!request) {
        return;
    }
    isFinishing = false;
    emit q->finished();
}

// ---- The request ---------------------------------------------------------------------------

HNIPCRequest::HNIPCRequest(QObject *parent) : QObject(parent), d(new HNIPCRequestPrivate(this)) {}

HNIPCRequest::~HNIPCRequest() {}

QString HNIPCRequest::method() const { return d->method; }

void HNIPCRequest::setMethod(const QString &method)
{
    if (method == d->method) {
        return;
    }
    d->method = method;
    d->overloads = remoteMethods(method);
    emit methodChanged();
}

QVariantList HNIPCRequest::arguments() const { return d->arguments; }

// Not compared with the old ones: variants with the values 5 and "5" are equal, but make different
// calls.
void HNIPCRequest::setArguments(const QVariantList &arguments)
{
    d->arguments = arguments;
    emit argumentsChanged();
}

int HNIPCRequest::deadline() const { return d->deadline; }

void HNIPCRequest::setDeadline(int milliseconds)
{
    if (milliseconds == d->deadline) {
        return;
    }
    d->deadline = milliseconds;
    emit deadlineChanged();
}

bool HNIPCRequest::isPending() const { return d->isPending; }

HNIPCRequest::Outcome HNIPCRequest::outcome() const
{
    return d->isPending ? NoOutcome : d->failure.outcome;
}

HNIPCRequest::Reason HNIPCRequest::reason() const
{
    return d->isPending ? NoReason : d->failure.reason;
}

bool HNIPCRequest::isDone() const
{
    const bool isFalse = d->value.userType() == QMetaType::Bool && !d->value.toBool();
    return outcome() == Answered && !isFalse;
}

QVariant HNIPCRequest::value() const { return d->value; }

QString HNIPCRequest::errorName() const { return d->isPending ? QString() : d->failure.errorName; }

QString HNIPCRequest::errorText() const { return d->isPending ? QString() : d->failure.errorText; }

int HNIPCRequest::elapsed() const
{
    const qint64 milliseconds = isPending() ? d->clock.elapsed() : d->duration;
    return static_cast<int>(qMin<qint64>(milliseconds, std::numeric_limits<int>::max()));
}

bool HNIPCRequest::send() { return d->send(d->arguments); }

bool HNIPCRequest::send(const QVariantList &arguments) { return d->send(arguments); }

void HNIPCRequest::cancel() { d->cancel(); }

#include "hnipc/moc_hnipcrequest.cpp"
