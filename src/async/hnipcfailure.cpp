// SPDX-License-Identifier: MIT
#include "async/failures_p.h"

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>

static QString standardError(const char *name)
{
    return QLatin1String("org.freedesktop.DBus.Error.") + QLatin1String(name);
}

HNIPCFailure::HNIPCFailure() : outcome(HNIPCRequest::NoOutcome), reason(HNIPCRequest::NoReason) {}

HNIPCFailure::HNIPCFailure(HNIPCRequest::Outcome itsOutcome, HNIPCRequest::Reason itsReason,
                           const QString &itsName, const QString &itsText)
    : outcome(itsOutcome), reason(itsReason), errorName(itsName), errorText(itsText)
{
}

// ---- Failures that the library finds itself ------------------------------------------------

HNIPCFailure unknownMethod(const QString &method)
{
    return HNIPCFailure(HNIPCRequest::NotSent, HNIPCRequest::UnknownMethod,
                        standardError("UnknownMethod"),
                        QString::fromLatin1("the printer has no method \"%1\"").arg(method));
}

HNIPCFailure invalidArguments(const QString &text)
{
    return HNIPCFailure(HNIPCRequest::NotSent, HNIPCRequest::InvalidArguments,
                        standardError("InvalidArgs"), text);
}

HNIPCFailure daemonAbsent(const QString &busName)
{
    return HNIPCFailure(HNIPCRequest::NotSent, HNIPCRequest::DaemonAbsent,
                        standardError("ServiceUnknown"),
                        QString::fromLatin1("%1 is not on the bus").arg(busName));
}

HNIPCFailure noBus()
{
    return HNIPCFailure(HNIPCRequest::NotSent, HNIPCRequest::BusLost, standardError("Disconnected"),
                        QString::fromLatin1("there is no system bus"));
}

HNIPCFailure busLost(const QString &busName)
{
    return HNIPCFailure(HNIPCRequest::Unknown, HNIPCRequest::BusLost, standardError("Disconnected"),
                        QString::fromLatin1("the bus was lost before %1 replied").arg(busName));
}

HNIPCFailure timedOut(bool isSent, const QString &busName, int milliseconds)
{
    const char *const text = isSent ? "%1 did not reply within %2 ms"
                                    : "the call was not sent to %1 within %2 ms";
    return HNIPCFailure(isSent ? HNIPCRequest::Unknown : HNIPCRequest::NotSent,
                        HNIPCRequest::TimedOut, standardError("Timeout"),
                        QString::fromLatin1(text).arg(busName).arg(milliseconds));
}

HNIPCFailure cancelled(bool isSent)
{
    return HNIPCFailure(isSent ? HNIPCRequest::Unknown : HNIPCRequest::NotSent,
                        HNIPCRequest::Cancelled, QString::fromLatin1("org.hnipc.Error.Cancelled"),
                        QString::fromLatin1("cancelled"));
}

HNIPCFailure wrongType(const QString &busName, const QString &errorName, const QString &text)
{
    return HNIPCFailure(HNIPCRequest::Unknown, HNIPCRequest::WrongType, errorName,
                        QString::fromLatin1("%1 replied with another type: %2").arg(busName, text));
}

// ---- Error replies -------------------------------------------------------------------------

// The bus itself replied.
static HNIPCFailure ofBus(const QDBusMessage &reply, const QString &busName)
{
    const QString name = reply.errorName();
    if (name == standardError("NoReply")) {
        return HNIPCFailure(HNIPCRequest::Unknown, HNIPCRequest::DaemonLeft, name,
                            QString::fromLatin1("%1 left the bus before it replied").arg(busName));
    }
    // NameHasNoOwner means the same, for a call that must not start the daemon.
    if (name == standardError("ServiceUnknown") || name == standardError("NameHasNoOwner")) {
        return daemonAbsent(busName);
    }
    return HNIPCFailure(HNIPCRequest::NotSent,
                        name == standardError("AccessDenied") ? HNIPCRequest::AccessDenied
                                                              : HNIPCRequest::BusError,
                        name, reply.errorMessage());
}

// Qt made the error in this process: the call timed out or could not be sent, or the bus was lost.
static HNIPCFailure ofThisSide(const QDBusMessage &reply, const QString &busName, int timeout)
{
    switch (QDBusError(reply).type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        if (timeout > 0 && QDBusConnection::systemBus().isConnected()) {
            return timedOut(true, busName, timeout);
        }
        // fall through
    case QDBusError::Disconnected:
        return busLost(busName);
    default:
        return HNIPCFailure(HNIPCRequest::NotSent, HNIPCRequest::BusError, reply.errorName(),
                            reply.errorMessage());
    }
}

HNIPCFailure HNIPCFailure::ofReply(const QDBusMessage &reply, const QString &busName, int timeout)
{
    if (reply.type() != QDBusMessage::ErrorMessage) {
        return HNIPCFailure();
    }
    if (reply.service() == QLatin1String("org.freedesktop.DBus")) {
        return ofBus(reply, busName);
    }
    if (reply.service().isEmpty()) {
        return ofThisSide(reply, busName, timeout);
    }
    return HNIPCFailure(HNIPCRequest::Refused, HNIPCRequest::DaemonError, reply.errorName(),
                        reply.errorMessage());
}
