// SPDX-License-Identifier: MIT
#ifndef HNIPCFAILURE_H
#define HNIPCFAILURE_H

#include <hnipc/hnipc_export.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QString>

class QDBusMessage;

/**
 * The meaning of an error reply to a call of a daemon: who sent it, and whether the daemon can have
 * carried out the call. Requests judge their replies by it; a program that calls a daemon by other
 * means, such as QDBusConnection::call(), can do the same.
 */
class HNIPC_EXPORT HNIPCFailure
{
public:
    /// NotSent, Refused or Unknown; NoOutcome for none.
    HNIPCRequest::Outcome outcome;
    /// The reason; see HNIPCRequest.
    HNIPCRequest::Reason reason;
    /// The D-Bus name of the error; see HNIPCRequest.
    QString errorName;
    /// The error in words.
    QString errorText;

    /// No failure.
    HNIPCFailure();
    /// Of these parts.
    HNIPCFailure(HNIPCRequest::Outcome outcome, HNIPCRequest::Reason reason,
                 const QString &errorName, const QString &errorText);

    /// Of an error reply to a call of the daemon with this bus name. @p timeout: how many
    /// milliseconds the call was allowed to take; 0 if it had no timeout.
    static HNIPCFailure ofReply(const QDBusMessage &reply, const QString &busName, int timeout);
};

#endif
