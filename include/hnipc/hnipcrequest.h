// SPDX-License-Identifier: MIT
#ifndef HNIPCREQUEST_H
#define HNIPCREQUEST_H

#include <hnipc/hnipc.h>
#include <hnipc/hnipc_export.h>

#include <QtCore/QObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QString>
#include <QtCore/QVariant>

class HNIPCRequestPrivate;

/// @relates HNIPCRequest
/// A method of the client class for HNIPCRequest::setCall(): its name, and itself so that the
/// compiler checks the arguments.
#define HNIPC_METHOD(name) #name, &HNIPC::name

/**
 * One remote call that does not block: a method of HNIPC, sent by send() and answered through the
 * event loop.
 *
 *     HNIPCRequest request;
 *     request.setCall(HNIPC_METHOD(setUserSetting), 3, 120);
 *     connect(&request, SIGNAL(finished()), SLOT(onFinished()));
 *     request.send();
 *
 * Each sent request finishes exactly once, with an outcome() that says what matters when a label
 * may have been printed: whether the daemon can have seen the call at all, and whether it is known
 * what became of it. Nothing is ever sent twice. A request that has finished can be sent again.
 *
 * No HNIPC object is needed. Any number of requests may be pending, beside the blocking calls of
 * HNIPC objects, and they are answered in any order. A program has at most 100 in flight at a time,
 * because a bus of type system carries no more than 128 calls for it; who comes later waits for its
 * turn, and is not sent until then.
 *
 * A request may be destroyed at any time, and does not finish then. It belongs to one thread, as any
 * QObject does.
 */
class HNIPC_EXPORT HNIPCRequest : public QObject
{
    Q_OBJECT
    /// What method() answers and setMethod() changes.
    Q_PROPERTY(QString method READ method WRITE setMethod NOTIFY methodChanged)
    /// What arguments() answers and setArguments() changes.
    Q_PROPERTY(QVariantList arguments READ arguments WRITE setArguments NOTIFY argumentsChanged)
    /// What deadline() answers and setDeadline() changes.
    Q_PROPERTY(int deadline READ deadline WRITE setDeadline NOTIFY deadlineChanged)
    /// What isPending() answers.
    Q_PROPERTY(bool pending READ isPending NOTIFY stateChanged)
    /// What outcome() answers.
    Q_PROPERTY(Outcome outcome READ outcome NOTIFY stateChanged)
    /// What value() answers.
    Q_PROPERTY(QVariant value READ value NOTIFY stateChanged)
    /// What errorName() answers.
    Q_PROPERTY(QString errorName READ errorName NOTIFY stateChanged)
    /// What errorText() answers.
    Q_PROPERTY(QString errorText READ errorText NOTIFY stateChanged)
    /// What elapsed() answers.
    Q_PROPERTY(int elapsed READ elapsed NOTIFY stateChanged)

public:
    /// What became of a request.
    enum Outcome {
        NoOutcome, ///< Not finished: never sent, or pending.
        NotSent,   ///< The daemon has not seen the call. errorName() says why.
        Answered,  ///< The daemon has carried it out; value() is its answer.
        Refused,   ///< The daemon has answered an error: errorName() and errorText() are its own.
        Unknown    ///< The daemon may or may not have carried it out. errorName() says why.
    };
#if QT_VERSION >= 0x050500
    Q_ENUM(Outcome)
#else
    Q_ENUMS(Outcome)
#endif

    /// Without a method, and with the bus's own deadline. Sends nothing.
    explicit HNIPCRequest(QObject *parent = 0);
    /// Forgets a pending call: the daemon may carry it out, and finished() is not emitted.
    virtual ~HNIPCRequest();

    /// The name of a method of HNIPC.
    QString method() const;
    /// For the next send(): a pending call stays as it was sent. A name that HNIPC has no method of
    /// is told by the outcome.
    void setMethod(const QString &method);

    /// Its arguments. Those that have a default may be left out. Each is converted to the declared
    /// type where that loses nothing: a number to any number type that it is in the range of, a
    /// list of texts to a QStringList. Of overloads the one is called that the arguments fit.
    QVariantList arguments() const;
    /// For the next send(), too. What does not fit the method is told by the outcome.
    void setArguments(const QVariantList &arguments);

    /// In milliseconds from send(), 1 or more; -1, which is the default, for the bus's own, 25 s
    /// from the moment when the call goes out.
    int deadline() const;
    /// For the next send(), too. What is no deadline is told by the outcome.
    void setDeadline(int milliseconds);

    /// Method and arguments at once, checked by the compiler: setCall(HNIPC_METHOD(setDac), 5).
    /// Where the name has overloads, in place of HNIPC_METHOD: the name, and the pointer of one.
    template <typename Result, typename... Parameters, typename... Arguments>
    void setCall(const char *name, Result (HNIPC::*)(Parameters...), const Arguments &...arguments)
    {
        static_assert(sizeof...(Arguments) <= sizeof...(Parameters),
                      "the method takes fewer arguments");
        setMethod(QLatin1String(name));
        setArguments(Typed<Parameters...>::list(arguments...));
    }

    /// From send() until finished().
    bool isPending() const;
    /// What became of the latest send(); NoOutcome until it has finished.
    Outcome outcome() const;

    /// The answer, in the type that HNIPC declares; invalid without one, and where the method
    /// answers nothing.
    QVariant value() const;

    /// What went wrong, as D-Bus names it; empty for Answered. Of Refused: the daemon's. Of
    /// NotSent: org.freedesktop.DBus.Error.UnknownMethod (no such method), .InvalidArgs (argument
    /// or deadline), .ServiceUnknown (the daemon is absent), .Disconnected (no bus), or what else
    /// the bus answered in the daemon's place, such as .AccessDenied. Of Unknown: .NoReply (the
    /// daemon left the bus without an answer), .Disconnected (the bus was lost) and
    /// .InvalidSignature (answered, but in another type). Of both, for a call that waited for its
    /// turn and for one that was in flight: .Timeout (the deadline has passed), and
    /// org.hnipc.Error.Cancelled.
    QString errorName() const;
    /// The same for people; empty for Answered.
    QString errorText() const;

    /// Milliseconds from send() until finished(), or until now for a pending request.
    int elapsed() const;

public Q_SLOTS:
    /// Sends the call and returns at once; finished() is never emitted before it has returned.
    /// False, and nothing happens, while the request is pending.
    bool send();
    /// Gives up a pending request, which finishes at once. What has been sent is not called back:
    /// its outcome is Unknown.
    void cancel();

Q_SIGNALS:
    /// method() changed.
    void methodChanged();
    /// arguments() changed, or were set to what they were.
    void argumentsChanged();
    /// deadline() changed.
    void deadlineChanged();
    /// Sent, or finished.
    void stateChanged();
    /// The outcome stands, once for each send() that answered true. stateChanged() comes after it:
    /// receivers find the properties as they are now, and bindings to them as they were before.
    void finished();

private:
    Q_DISABLE_COPY(HNIPCRequest)
    friend class HNIPCRequestPrivate;
    Q_PRIVATE_SLOT(d, void onTurn())
    Q_PRIVATE_SLOT(d, void onWaitedTooLong())
    Q_PRIVATE_SLOT(d, void onReply())
    Q_PRIVATE_SLOT(d, void onNotSent(int number))

    // Each argument as a variant of the type of its parameter.
    template <typename... Parameters>
    struct Typed
    {
        static QVariantList list() { return QVariantList(); }
    };

    QScopedPointer<HNIPCRequestPrivate> d;
};

template <typename First, typename... Rest>
struct HNIPCRequest::Typed<First, Rest...>
{
    static QVariantList list() { return QVariantList(); }

    template <typename Argument, typename... Arguments>
    static QVariantList list(const Argument &argument, const Arguments &...arguments)
    {
        const First converted = argument;
        return QVariantList() << QVariant(converted) << Typed<Rest...>::list(arguments...);
    }
};

#endif
