// SPDX-License-Identifier: MIT
#ifndef HNIPCREQUEST_H
#define HNIPCREQUEST_H

#include <hnipc/hnipc_export.h>
#include <hnipc/hnipcmethod.h>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtCore/QString>
#include <QtCore/QThread>
#include <QtCore/QVariant>

class HNIPCRequestPrivate;

/**
 * One remote call that does not block: a method of HNIPC, sent by send(). The reply arrives through
 * the event loop.
 *
 *     HNIPCRequest *request = new HNIPCRequest(this);
 *     request->setCall(HNIPC_METHOD(setUserSetting), 3, 120);
 *     connect(request, SIGNAL(finished()), SLOT(onFinished()));
 *     request->send();
 *
 * For a single call, hnipcCall() is shorter: its request deletes itself.
 *
 * Each request that is sent finishes exactly once, unless it is destroyed first. Its outcome() says
 * whether the daemon can have received the call, and whether the result is known. Look at it before
 * you repeat a command: the printer may have printed the label already.
 *
 * | outcome | reason | errorName() | what happened |
 * | --- | --- | --- | --- |
 * | Answered | NoReason | | The daemon replied. A command that replies false was not carried out: see isDone() |
 * | Refused | DaemonError | the daemon's | The daemon replied with an error |
 * | NotSent | UnknownMethod | `org.freedesktop.DBus.Error.UnknownMethod` | HNIPC has no such method |
 * | NotSent | InvalidArguments | `org.freedesktop.DBus.Error.InvalidArgs` | An argument or the deadline is invalid |
 * | NotSent | DaemonAbsent | `org.freedesktop.DBus.Error.ServiceUnknown` | The daemon is not running |
 * | NotSent | AccessDenied | `org.freedesktop.DBus.Error.AccessDenied` | The bus does not let this user call the daemon |
 * | NotSent | BusError | the bus's or Qt's | The bus itself replied with another error, such as an exceeded limit; or Qt could not send the call |
 * | NotSent, Unknown | BusLost | `org.freedesktop.DBus.Error.Disconnected` | No system bus; Unknown if it was lost after the call was sent |
 * | NotSent, Unknown | TimedOut | `org.freedesktop.DBus.Error.Timeout` | The deadline passed; NotSent if the call was still waiting |
 * | NotSent, Unknown | Cancelled | `org.hnipc.Error.Cancelled` | cancel() was called; NotSent if the call was still waiting |
 * | Unknown | DaemonLeft | `org.freedesktop.DBus.Error.NoReply` | The daemon left the bus before it replied |
 * | Unknown | WrongType | `org.freedesktop.DBus.Error.InvalidSignature` | The daemon replied with another type |
 *
 * A call is never sent twice, and never put on the bus connection after its deadline. A request
 * that has finished can be sent again.
 *
 * No HNIPC object is needed. Any number of requests may be pending, and they finish in any order.
 * The requests of a program have at most 32 calls in flight to each daemon, because a bus of type
 * system allows one program at most 128 calls without a reply. Further requests wait, in the order
 * of send(). A call stays in flight until the daemon has replied or left the bus, because the bus
 * counts it until then. This is so even if its request has timed out, was cancelled or was
 * destroyed. So if a daemon hangs and 32 calls to it are in flight, further requests to it wait,
 * and finish with NotSent and TimedOut at their deadlines. Requests to the other daemons are not
 * affected.
 *
 * A request may be destroyed at any time; then it does not finish. It belongs to one thread, as any
 * QObject does, and needs the event loop of that thread to finish. It can be moved to another
 * thread even while it is pending, but not by a receiver of its own signals. If the thread or the
 * QCoreApplication ends and is started again while the request is pending, the request does not
 * time out any more. It still receives the reply.
 *
 * With Qt 5 and 6, the library has a thread that sends the calls. So send() never waits, not even
 * while the connection to the bus is opened. A daemon in the same process is called by the event
 * loop of the daemon's thread, never inside send(). With Qt 4, the event loop of the application's
 * thread sends the calls. It waits for the bus two times, up to 25 s if the bus does not respond:
 * while the first object opens the connection, and while the first HNIPCEvents or HNIPCReading
 * subscribes to signals. A call whose deadline has passed by then is not sent.
 *
 * The library uses the connection of Qt's D-Bus module, with its limits. A process opens the
 * connection once: if that fails, or the bus is lost, the process has to be restarted. If the bus
 * accepts the connection and then does not respond, the process cannot exit until the bus responds.
 * If the main thread of the application opens the system bus before the library does, for example
 * with an HNIPC object, no thread receives signals before the event loop of the main thread runs.
 *
 * A program that exits right after send() may not have sent the call: wait for finished(). A child
 * process made by fork() without exec() cannot use requests: they never finish there.
 */
class HNIPC_EXPORT HNIPCRequest : public QObject
{
    Q_OBJECT
    /// See method().
    Q_PROPERTY(QString method READ method WRITE setMethod NOTIFY methodChanged)
    /// See arguments(). (In a function of QML, `arguments` is JavaScript's own name.)
    Q_PROPERTY(QVariantList parameters READ arguments WRITE setArguments NOTIFY argumentsChanged)
    /// See deadline().
    Q_PROPERTY(int deadline READ deadline WRITE setDeadline NOTIFY deadlineChanged)
    /// See isPending().
    Q_PROPERTY(bool pending READ isPending NOTIFY stateChanged)
    /// See outcome().
    Q_PROPERTY(Outcome outcome READ outcome NOTIFY stateChanged)
    /// See reason().
    Q_PROPERTY(Reason reason READ reason NOTIFY stateChanged)
    /// See isDone().
    Q_PROPERTY(bool done READ isDone NOTIFY stateChanged)
    /// See value().
    Q_PROPERTY(QVariant value READ value NOTIFY stateChanged)
    /// See errorName().
    Q_PROPERTY(QString errorName READ errorName NOTIFY stateChanged)
    /// See errorText().
    Q_PROPERTY(QString errorText READ errorText NOTIFY stateChanged)
    /// See elapsed().
    Q_PROPERTY(int elapsed READ elapsed NOTIFY stateChanged)

public:
    /// The outcome of a request; the table above lists the reasons of each.
    enum Outcome {
        NoOutcome, ///< Not finished: never sent, or pending.
        NotSent,   ///< The daemon has not received the call.
        Answered,  ///< The daemon has replied; value() is its reply. See isDone().
        Refused,   ///< The daemon has replied with an error.
        Unknown    ///< The call was sent; the daemon may or may not have carried it out.
    };
    /// Why a request has not succeeded; the table above lists the outcomes of each reason.
    enum Reason {
        NoReason,         ///< Answered, or not finished.
        DaemonError,      ///< The daemon's own error: see errorName() and errorText().
        UnknownMethod,    ///< HNIPC has no method of that name.
        InvalidArguments, ///< An argument or the deadline is invalid, or an argument is missing.
        DaemonAbsent,     ///< The daemon is not running.
        AccessDenied,     ///< The bus does not let this user call the daemon.
        BusError,         ///< The bus replied with another error, or Qt could not send the call.
        BusLost,          ///< There is no system bus, or its connection was lost.
        TimedOut,         ///< The deadline passed.
        Cancelled,        ///< cancel() was called.
        DaemonLeft,       ///< The daemon left the bus before it replied.
        WrongType         ///< The reply is not of the type that HNIPC declares.
    };
#if QT_VERSION >= 0x050500
    Q_ENUM(Outcome)
    Q_ENUM(Reason)
#else
    Q_ENUMS(Outcome Reason)
#endif

    /// Creates a request without a method and with the default deadline. Sends nothing.
    explicit HNIPCRequest(QObject *parent = nullptr);
    /// Drops a pending call without emitting finished(). A call that waits is not sent; one that
    /// was sent may be carried out.
    virtual ~HNIPCRequest();

    /// The name of a method of HNIPC.
    QString method() const;
    /// Takes effect with the next send(); a pending call does not change. An unknown name makes the
    /// request finish with UnknownMethod.
    void setMethod(const QString &method);

    /// The arguments. Those that have a default may be left out. Each is converted to the declared
    /// type if nothing is lost: a whole number to any integer type whose range it is in, a
    /// QVariantList of strings to a QStringList. Of several overloads, the one whose types fit is
    /// called.
    QVariantList arguments() const;
    /// Takes effect with the next send(). Invalid arguments make the request finish with
    /// InvalidArguments.
    void setArguments(const QVariantList &arguments);

    /// The deadline: milliseconds from send() until the request finishes with TimedOut, 1 or more;
    /// default -1, which means 25000. A request never times out earlier.
    int deadline() const;
    /// Takes effect with the next send(). An invalid deadline makes the request finish with
    /// InvalidArguments.
    void setDeadline(int milliseconds);

    /// Sets method and arguments at once, and lets the compiler check them:
    /// setCall(HNIPC_METHOD(setDac), 5). The compiler refuses too many arguments and arguments of
    /// another kind, such as a floating-point number or a string for an integer, or an integer for
    /// a boolean. It does not see missing arguments and numbers out of range: they make the request
    /// finish with InvalidArguments.
    template <typename Result, typename... Parameters, typename... Arguments>
    void setCall(const HNIPCMethod<Result, Parameters...> &method, const Arguments &...arguments)
    {
        const QPointer<QObject> guard(this); // a receiver may destroy it
        setMethod(QLatin1String(method.name()));
        if (guard) {
            setArguments(method.wrapped(arguments...));
        }
    }

    /// True from send() until the outcome is known.
    bool isPending() const;
    /// The outcome of the latest send(); NoOutcome until it has finished.
    Outcome outcome() const;
    /// Why the latest send() has not succeeded; NoReason for Answered, and until it has finished.
    Reason reason() const;
    /// Whether the daemon has accepted or carried out the command: it has replied, and the reply is
    /// not false. Daemons reply to most commands with a boolean; false means not carried out. A
    /// long command, such as a calibration, may only have started. For a method that reads a
    /// boolean, such as printerLid(), use value().
    bool isDone() const;

    /// The reply, in the type that HNIPC declares; an invalid variant if there is no reply, or if
    /// the method returns nothing. HNIPCAnswer::value() returns it without the variant.
    QVariant value() const;

    /// The D-Bus name of the error; empty for Answered, and until the request has finished.
    QString errorName() const;
    /// The error text for people; empty for Answered, and until the request has finished. If the
    /// daemon replied with an error, it is the daemon's text.
    QString errorText() const;

    /// Milliseconds from send() until the outcome was known; for a pending request, until now.
    int elapsed() const;

public Q_SLOTS:
    /// Sends the call and returns true at once. finished() is never emitted before send() has
    /// returned. While the request is pending, and during the stateChanged() that precedes
    /// finished(), send() does nothing and returns false.
    bool send();
    /// The same, with these arguments instead of arguments(), for this call only: arguments() does
    /// not change. In QML: `request.send([7])`.
    bool send(const QVariantList &arguments);
    /// Cancels a pending request. The request finishes with Cancelled before this function returns.
    /// If a receiver calls it during send(), the request finishes soon after send() has returned. A
    /// call that has been sent cannot be stopped: its outcome is Unknown. A request that cannot be
    /// sent, because its method, an argument or the deadline is invalid, finishes with that reason
    /// instead.
    void cancel();

Q_SIGNALS:
    /// method() changed.
    void methodChanged();
    /// arguments() changed, or were set again.
    void argumentsChanged();
    /// deadline() changed.
    void deadlineChanged();
    /// The request was sent, or its outcome is known.
    void stateChanged();
    /// The outcome is known: emitted once for each send() that returned true, after stateChanged().
    void finished();

private:
    Q_DISABLE_COPY(HNIPCRequest)
    friend class HNIPCRequestPrivate;

    QScopedPointer<HNIPCRequestPrivate> d;
};

/// @relates HNIPCRequest
/// The outcome of a request, without the reply. The base of HNIPCAnswer.
class HNIPCOutcome
{
public:
    /// The outcome of a request that has finished.
    explicit HNIPCOutcome(const HNIPCRequest &request)
        : m_outcome(request.outcome()), m_reason(request.reason()), m_isDone(request.isDone()),
          m_errorName(request.errorName()), m_errorText(request.errorText())
    {
    }

    /// Whether the daemon has replied.
    bool isAnswered() const { return m_outcome == HNIPCRequest::Answered; }
    /// HNIPCRequest::isDone().
    bool isDone() const { return m_isDone; }
    /// HNIPCRequest::outcome().
    HNIPCRequest::Outcome outcome() const { return m_outcome; }
    /// HNIPCRequest::reason().
    HNIPCRequest::Reason reason() const { return m_reason; }
    /// HNIPCRequest::errorName().
    QString errorName() const { return m_errorName; }
    /// HNIPCRequest::errorText().
    QString errorText() const { return m_errorText; }

private:
    HNIPCRequest::Outcome m_outcome;
    HNIPCRequest::Reason m_reason;
    bool m_isDone;
    QString m_errorName;
    QString m_errorText;
};

/// @relates HNIPCRequest
/// The outcome of a request, with the reply in the type that the method declares.
template <typename Result>
class HNIPCAnswer : public HNIPCOutcome
{
public:
    /// The outcome of a request that has finished. If the reply is not of type Result, isAnswered()
    /// is false.
    explicit HNIPCAnswer(const HNIPCRequest &request)
        : HNIPCOutcome(request), m_isAnswered(request.value().userType() == qMetaTypeId<Result>()),
          m_value(m_isAnswered ? qvariant_cast<Result>(request.value()) : Result())
    {
    }

    /// Whether the daemon has replied, and value() is its reply.
    bool isAnswered() const { return m_isAnswered; }
    /// The reply. Call it only if isAnswered() is true.
    Result value() const
    {
        Q_ASSERT_X(m_isAnswered, "HNIPCAnswer::value", "isAnswered() is false");
        return m_value;
    }
    /// The reply; @p otherwise if there is none.
    Result valueOr(const Result &otherwise) const { return m_isAnswered ? m_value : otherwise; }

private:
    bool m_isAnswered;
    Result m_value;
};

/// @relates HNIPCRequest
/// The outcome of a request whose method returns nothing.
template <>
class HNIPCAnswer<void> : public HNIPCOutcome
{
public:
    /// The outcome of a request that has finished.
    explicit HNIPCAnswer(const HNIPCRequest &request) : HNIPCOutcome(request) {}
};

/// @relates HNIPCRequest
/// A single call, made by hnipcCall().
template <typename Result>
class HNIPCCall
{
public:
    /// Used by hnipcCall().
    HNIPCCall(const char *method, const QVariantList &arguments)
        : m_method(method), m_arguments(arguments), m_deadline(-1)
    {
    }

    /// The deadline of the request in milliseconds; see HNIPCRequest::deadline().
    HNIPCCall &within(int milliseconds)
    {
        m_deadline = milliseconds;
        return *this;
    }

    /// Sends the call. The request belongs to @p parent, and deletes itself after finished().
    HNIPCRequest *send(QObject *parent = nullptr) const
    {
        HNIPCRequest *request = new HNIPCRequest(parent);
        request->setMethod(QLatin1String(m_method));
        request->setArguments(m_arguments);
        request->setDeadline(m_deadline);
        QObject::connect(request, SIGNAL(finished()), request, SLOT(deleteLater()));
        request->send();
        return request;
    }

#if QT_VERSION >= 0x050000
    /// Sends the call, and calls @p function with the HNIPCAnswer<Result> when the request has
    /// finished. The request is a child of @p context, which has to belong to the calling thread.
    /// If the context is destroyed first, the function is not called. (Qt 5 and 6.)
    template <typename Function>
    HNIPCRequest *then(QObject *context, Function function) const
    {
        Q_ASSERT_X(context && context->thread() == QThread::currentThread(), "HNIPCCall::then",
                   "the context belongs to the calling thread");
        HNIPCRequest *request = send(context);
        QObject::connect(request, &HNIPCRequest::finished, context, [request, function]() mutable {
            function(HNIPCAnswer<Result>(*request));
        });
        return request;
    }
#endif

private:
    const char *m_method;
    QVariantList m_arguments;
    int m_deadline;
};

/// @relates HNIPCRequest
/// Makes a single call of a method. The compiler checks the arguments; see
/// HNIPCRequest::setCall():
///
///     hnipcCall(HNIPC_METHOD(forwardFeed), 400).within(5000)
///         .then(this, [this](const HNIPCAnswer<bool> &fed) {
///             show(fed.isDone() ? tr("fed") : fed.isAnswered() ? tr("not fed") : fed.errorText());
///         });
template <typename Result, typename... Parameters, typename... Arguments>
HNIPCCall<Result> hnipcCall(const HNIPCMethod<Result, Parameters...> &method,
                            const Arguments &...arguments)
{
    return HNIPCCall<Result>(method.name(), method.wrapped(arguments...));
}

#endif
