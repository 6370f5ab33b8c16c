// SPDX-License-Identifier: MIT
#ifndef HNIPCREADING_H
#define HNIPCREADING_H

#include <hnipc/hnipc_export.h>
#include <hnipc/hnipcmethod.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

class HNIPCReadingPrivate;

/**
 * A value of a daemon that is kept up to date, without blocking.
 *
 *     HNIPCReading *lid = new HNIPCReading(this);
 *     lid->setCall(HNIPC_METHOD(printerLid));
 *     lid->setSignalNames(QStringList("M4PrinterLid"));
 *     lid->setValueArgument(0);
 *     connect(lid, SIGNAL(changed()), SLOT(onLid()));
 *
 * The reading calls its method as soon as the daemon is running, again after each signal in
 * signalNames(), and again when the daemon has restarted. A read that fails while the daemon is
 * running is repeated after 250 ms. Each further pause is twice as long, up to 30 s. A signal ends
 * the pause at once, unless the read has timed out. Use only methods that read: a command would be
 * carried out again and again.
 *
 * A reply to a call that was sent before the latest signal is never shown: the method is called
 * once more. Until that reply, the former value stays known and isCurrent() is false. However many
 * signals arrive, at most one call is in flight, and at most one more call follows it. If the value
 * is an argument of the signal, set valueArgument(). Then the reading takes the value from the
 * signal at once, and calls the method to confirm it.
 *
 * The value becomes unknown
 *
 * - when the daemon disappears or is replaced, or the bus is lost
 * - when the method, the arguments, the signals or valueArgument() are changed
 * - when a read fails. A value that was taken from a signal stays known if the read that should
 *   confirm it fails.
 *
 * The first call is made by the event loop, after the properties have been set. The object belongs
 * to one thread and can be moved to another, but not by a receiver of its own signals. It can be
 * destroyed at any time.
 */
class HNIPC_EXPORT HNIPCReading : public QObject
{
    Q_OBJECT
    /// See method().
    Q_PROPERTY(QString method READ method WRITE setMethod NOTIFY methodChanged)
    /// See arguments(). (In a function of QML, `arguments` is JavaScript's own name.)
    Q_PROPERTY(QVariantList parameters READ arguments WRITE setArguments NOTIFY argumentsChanged)
    /// See signalNames().
    Q_PROPERTY(QStringList signals READ signalNames WRITE setSignalNames NOTIFY signalNamesChanged)
    /// See valueArgument().
    Q_PROPERTY(
        int valueArgument READ valueArgument WRITE setValueArgument NOTIFY valueArgumentChanged)
    /// See deadline().
    Q_PROPERTY(int deadline READ deadline WRITE setDeadline NOTIFY deadlineChanged)
    /// See isKnown().
    Q_PROPERTY(bool known READ isKnown NOTIFY changed)
    /// See isCurrent().
    Q_PROPERTY(bool current READ isCurrent NOTIFY changed)
    /// See value().
    Q_PROPERTY(QVariant value READ value NOTIFY changed)
    /// See reason().
    Q_PROPERTY(HNIPCRequest::Reason reason READ reason NOTIFY changed)
    /// See errorName().
    Q_PROPERTY(QString errorName READ errorName NOTIFY changed)
    /// See errorText().
    Q_PROPERTY(QString errorText READ errorText NOTIFY changed)

public:
    /// Creates a reading without a method, and so without a value.
    explicit HNIPCReading(QObject *parent = nullptr);
    virtual ~HNIPCReading();

    /// The method that reads the value: the name of a method of HNIPC, or of one of the eight
    /// properties of HNIPC. For a property, the reading uses the property's method and signal.
    QString method() const;
    /// An unknown name leaves the value unknown, with the reason UnknownMethod.
    void setMethod(const QString &method);

    /// The arguments of the method; see HNIPCRequest::arguments().
    QVariantList arguments() const;
    /// Invalid arguments leave the value unknown, with the reason InvalidArguments.
    void setArguments(const QVariantList &arguments);

    /// Sets method and arguments at once, and lets the compiler check them; see
    /// HNIPCRequest::setCall().
    template <typename Result, typename... Parameters, typename... Arguments>
    void setCall(const HNIPCMethod<Result, Parameters...> &method, const Arguments &...arguments)
    {
        const QPointer<QObject> guard(this); // a receiver may destroy it
        setMethod(QLatin1String(method.name()));
        if (guard) {
            setArguments(method.wrapped(arguments...));
        }
    }

    /// The names of the signals after which the value is read again, such as "M4PrinterLid".
    QStringList signalNames() const;
    /// An unknown name leaves the value unknown, with the reason InvalidArguments. If the list is
    /// empty and method() is a property of HNIPC, the value is read again after the property's own
    /// signal.
    void setSignalNames(const QStringList &names);

    /// Which argument of the signals is the value: 0 for the first; default -1, for none. An
    /// argument is not used if it is missing, or if its type does not fit the method's result.
    int valueArgument() const;
    /// See valueArgument().
    void setValueArgument(int index);

    /// The deadline of each read in milliseconds; see HNIPCRequest::deadline().
    int deadline() const;
    /// Used by the next read.
    void setDeadline(int milliseconds);

    /// Whether the value is known.
    bool isKnown() const;
    /// Whether the value is known and up to date. False after a signal until the value has been
    /// read, and for as long as that read fails.
    bool isCurrent() const;
    /// The value in the type that HNIPC declares; an invalid variant if it is unknown.
    QVariant value() const;
    /// The value; @p otherwise if it is unknown or of another type.
    template <typename Value>
    Value valueOr(const Value &otherwise) const
    {
        const QVariant known = value();
        return known.userType() == qMetaTypeId<Value>() ? qvariant_cast<Value>(known) : otherwise;
    }

    /// Why the value is unknown, or why it could not be read again: DaemonAbsent, BusLost, or the
    /// reason of the request that failed. NoReason otherwise, and until the first read has finished.
    HNIPCRequest::Reason reason() const;
    /// The D-Bus name of the error; empty with NoReason.
    QString errorName() const;
    /// The error text for people; empty with NoReason.
    QString errorText() const;

public Q_SLOTS:
    /// Reads the value again. isCurrent() does not change before the reply.
    void read();

Q_SIGNALS:
    /// method() changed.
    void methodChanged();
    /// arguments() changed.
    void argumentsChanged();
    /// signalNames() changed.
    void signalNamesChanged();
    /// valueArgument() changed.
    void valueArgumentChanged();
    /// deadline() changed.
    void deadlineChanged();
    /// One or more of value(), isKnown(), isCurrent(), reason(), errorName() and errorText()
    /// changed. Records of type SupplyInformation are not compared: each one that was read counts
    /// as a change.
    void changed();

private:
    Q_DISABLE_COPY(HNIPCReading)
    friend class HNIPCReadingPrivate;

    QScopedPointer<HNIPCReadingPrivate> d;
};

#endif
