// SPDX-License-Identifier: MIT
#ifndef HNIPCFAILURE_H
#define HNIPCFAILURE_H

#include <hnipc/hnipc_export.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QString>

class QDBusMessage;

/**
 * The meaning of an error reply to a call of a daemon. It says whether the daemon, the bus or this
 * process made the error reply, and whether the daemon can have carried out the call. HNIPCRequest
 * uses it. A program that calls a daemon by other means, such as QDBusConnection::asyncCall(),
 * can use it, too.
 */
class HNIPC_EXPORT HNIPCFailure
{
public:
    /// NotSent, Refused or Unknown; NoOutcome if there was no failure.
    HNIPCRequest::Outcome outcome;
    /// The reason; see HNIPCRequest.
    HNIPCRequest::Reason reason;
    /// The D-Bus name of the error; see HNIPCRequest.
    QString errorName;
    /// The error text for people; see HNIPCRequest.
    QString errorText;

    /// No failure.
    HNIPCFailure();
    /// A failure with these values.
    HNIPCFailure(HNIPCRequest::Outcome outcome, HNIPCRequest::Reason reason,
                 const QString &errorName, const QString &errorText);

    /// Returns what @p reply means, for a call of the daemon @p busName. If it is not an error
    /// reply, returns no failure. @p timeout: the timeout of the call in milliseconds; 0 if it had
    /// none. With Qt 4, pass only replies of QDBusConnection::asyncCall(): the error replies of call()
    /// have no sender, so an error of the daemon would be reported as NotSent.
    static HNIPCFailure ofReply(const QDBusMessage &reply, const QString &busName, int timeout);
};

#endif
