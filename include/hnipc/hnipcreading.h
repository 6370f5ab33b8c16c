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
 * A value of a daemon that keeps itself current, and never blocks.
 *
 *     HNIPCReading *lid = new HNIPCReading(this);
 *     lid->setCall(HNIPC_METHOD(printerLid));
 *     lid->setSignalNames(QStringList("M4PrinterLid"));
 *     lid->setValueArgument(0);
 *     connect(lid, SIGNAL(changed()), SLOT(onLid()));
 *
 * The reading calls its method when the daemon is running, again after each of its signals, and again
 * when the daemon has restarted. A read that fails while the daemon is running is repeated after
 * 250 ms, and then after twice as long each time, up to 30 s; a signal makes the repetition come at
 * once, unless the read has timed out. So the method has to be one that only reads: a command would be
 * carried out again and again.
 *
 * A reply to a call that was sent before the latest of the signals is never shown: the method is
 * called once more. Until that reply, the former value stays known and isCurrent() is false. However
 * many signals arrive, at most one call is under way and one is to follow. If valueArgument() says
 * which argument of the signal is the value, the reading has that value at once, and then reads it.
 *
 * The value is unknown from the moment when the daemon disappears or is replaced, when the method,
 * the arguments or the signals are changed, and when a read fails; but a value that came with a
 * signal stays known if only the read that is to confirm it fails.
 *
 * Everything starts in the event loop, after the properties have been set. The object belongs to one
 * thread, can be moved to another, but not by a receiver of its own signals, and can be destroyed at
 * any time.
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
    /// Without a method, and so without a value.
    explicit HNIPCReading(QObject *parent = nullptr);
    virtual ~HNIPCReading();

    /// The name of the method of HNIPC that reads the value; or of one of the eight properties of
    /// HNIPC, whose method and signal are used then.
    QString method() const;
    /// An unknown name leaves the value unknown, with the reason UnknownMethod.
    void setMethod(const QString &method);

    /// The arguments of the method, as of HNIPCRequest.
    QVariantList arguments() const;
    /// Arguments that do not fit the method leave the value unknown, with the reason
    /// InvalidArguments.
    void setArguments(const QVariantList &arguments);

    /// Method and arguments at once, checked by the compiler as by HNIPCRequest::setCall().
    template <typename Result, typename... Parameters, typename... Arguments>
    void setCall(const HNIPCMethod<Result, Parameters...> &method, const Arguments &...arguments)
    {
        const QPointer<QObject> guard(this); // a receiver may destroy it
        setMethod(QLatin1String(method.name()));
        if (guard) {
            {
                setArguments(method.wrapped(arguments...));
            }
        }
    }

    /// The names of the signals after which the value is read again, such as "M4PrinterLid".
    QStringList signalNames() const;
    /// An unknown name leaves the value unknown, with the reason InvalidArguments. Without names, a
    /// property of HNIPC has its own signal.
    void setSignalNames(const QStringList &names);

    /// Which argument of the signals is the value: 0 for the first; -1, the default, for none. An
    /// argument that is missing, or that cannot be the result of the method, is not used.
    int valueArgument() const;
    /// See valueArgument().
    void setValueArgument(int index);

    /// The deadline of each read in milliseconds; see HNIPCRequest::deadline().
    int deadline() const;
    /// Used by the next read.
    void setDeadline(int milliseconds);

    /// Whether the value is known.
    bool isKnown() const;
    /// Whether the value is known and no read is overdue: false from a signal until the value has
    /// been read, and as long as that fails.
    bool isCurrent() const;
    /// The value in the type that HNIPC declares; invalid if it is unknown.
    QVariant value() const;
    /// The value, or this one if it is unknown or of another type.
    template <typename Value>
    Value valueOr(const Value &otherwise) const
    {
        const QVariant known = value();
        return known.userType() == qMetaTypeId<Value>() ? qvariant_cast<Value>(known) : otherwise;
    }

    /// Why the value is unknown or could not be read again: DaemonAbsent and BusLost, or the reason
    /// of the request that failed. NoReason otherwise, and until the first read has finished.
    HNIPCRequest::Reason reason() const;
    /// The D-Bus name of the error; empty with NoReason.
    QString errorName() const;
    /// The error in words; empty with NoReason.
    QString errorText() const;

public Q_SLOTS:
    /// Reads the value once more. isCurrent() does not change until the reply.
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
    /// The value, or what is known of it, changed. Records of type SupplyInformation are not
    /// compared: each one that was read counts as a change.
    void changed();

private:
    Q_DISABLE_COPY(HNIPCReading)
    friend class HNIPCReadingPrivate;

    QScopedPointer<HNIPCReadingPrivate> d;
};

#endif
