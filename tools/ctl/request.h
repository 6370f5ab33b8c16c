// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_REQUEST_H
#define HNIPC_TOOLS_CTL_REQUEST_H

#include "command.h"

#include <QtCore/QJsonObject>
#include <QtCore/QVariant>
#include <QtDBus/QDBusPendingCall>

#include <utility>
#include <vector>

/// What became of a call.
struct Outcome
{
    bool ok() const { return exitCode == Toolkit::Done; }
    /// {"value": ...} or {"error": ..., "errorName": ..., "exit": ...}, and with a deadline
    /// {"outcome": ..., "elapsed": ...}.
    QJsonObject json() const;
    /// What went wrong, with what it amounts to where that is known.
    QString text() const;
    /// For the place where the value would stand.
    QString shortError() const;
    /// Whether the bus refused the call, for this user may not make it.
    bool isWithoutRights() const;

    int exitCode = Toolkit::Done;
    QVariant value;    ///< of plain types; invalid where the method answers nothing
    QString error;     ///< what went wrong, for people
    QString errorName; ///< as the bus names it; empty where it was no error of the bus
    QString words;     ///< what it amounts to; empty for a call without a deadline
    int elapsed = 0;   ///< in ms, of a call with one
};

/// Sends a call of the client's method. The client class itself is not used: it does not tell what
/// went wrong. As by the client, no daemon is started, and a default is sent like any argument.
QDBusPendingCall send(const Context &context, const Method &method, QVariantList arguments = {});

/// Waits for the answer, at most so many milliseconds, and tells what has not been sent from what
/// may have been carried out.
Outcome outcomeWithin(int deadline, const Method &method, const QVariantList &arguments);

/// Waits for the answer, and judges it.
Outcome outcome(const Context &context, const Method &method, const QDBusPendingCall &call);

/// The error @p reply as an outcome of a call of @p daemon.
Outcome failure(const Context &context, const Daemon &daemon, const QDBusMessage &reply);

/// The values of these properties, all asked for at once.
std::vector<std::pair<const Property *, Outcome>>
readProperties(const Context &context, const std::vector<const Property *> &properties);

#endif
