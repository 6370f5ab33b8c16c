// SPDX-License-Identifier: MIT
#include <hnipc/hnipcfailure.h>

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

// The bus in place of the daemon.
static HNIPCFailure ofBus(const QDBusMessage &reply, const QString &busName)
{
    const QString name = reply.errorName();
    if (name == standardError("NoReply"))
        return HNIPCFailure(HNIPCRequest::Unknown, HNIPCRequest::DaemonLeft, name,
                            QString::fromLatin1("%1 left the bus before it answered").arg(busName));
    // The bus has another name for an absent daemon if the call may not start one.
    if (name == standardError("ServiceUnknown") || name == standardError("NameHasNoOwner"))
        return HNIPCFailure(HNIPCRequest::NotSent, HNIPCRequest::DaemonAbsent,
                            standardError("ServiceUnknown"),
                            QString::fromLatin1("%1 is not on the bus").arg(busName));
    return HNIPCFailure(HNIPCRequest::NotSent,
                        name == standardError("AccessDenied") ? HNIPCRequest::AccessDenied
                                                              : HNIPCRequest::BusError,
                        name, reply.errorMessage());
}

// This process: the call timed out, could not be sent, or the bus was lost.
static HNIPCFailure ofThisSide(const QDBusMessage &reply, const QString &busName, int timeout)
{
    switch (QDBusError(reply).type()) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        if (QDBusConnection::systemBus().isConnected())
            return HNIPCFailure(
                HNIPCRequest::Unknown, HNIPCRequest::TimedOut, standardError("Timeout"),
                QString::fromLatin1("%1 did not answer within %2 ms").arg(busName).arg(timeout));
        // fall through
    case QDBusError::Disconnected:
        return HNIPCFailure(
            HNIPCRequest::Unknown, HNIPCRequest::BusLost, standardError("Disconnected"),
            QString::fromLatin1("the bus was lost before %1 answered").arg(busName));
    default:
        return HNIPCFailure(HNIPCRequest::NotSent, HNIPCRequest::BusError, reply.errorName(),
                            reply.errorMessage());
    }
}

HNIPCFailure HNIPCFailure::ofReply(const QDBusMessage &reply, const QString &busName, int timeout)
{
    if (reply.type() != QDBusMessage::ErrorMessage)
        return HNIPCFailure();
    if (reply.service() == QLatin1String("org.freedesktop.DBus"))
        return ofBus(reply, busName);
    if (reply.service().isEmpty())
        return ofThisSide(reply, busName, timeout);
    return HNIPCFailure(HNIPCRequest::Refused, HNIPCRequest::DaemonError, reply.errorName(),
                        reply.errorMessage());
}
