// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_CTL_REQUEST_H
#define HNIPC_TOOLS_CTL_REQUEST_H

#include "command.h"

#include <hnipc/hnipcfailure.h>
#include <hnipc/hnipcrequest.h>

#include <QtCore/QJsonObject>
#include <QtCore/QVariant>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCall>

#include <utility>
#include <vector>

/// The outcome of a call, in the words and exit codes of this program. The library decides the meaning
/// of an error.
struct Outcome
{
    bool ok() const { return reason == HNIPCRequest::NoReason; }
    int exitCode() const;
    /// {"value": ...} or {"error": ..., "errorName": ..., "exit": ...}.
    QJsonObject json() const;
    /// The error at the place of the value.
    QString shortError() const;

    HNIPCRequest::Reason reason = HNIPCRequest::NoReason;
    QVariant value;    ///< of plain types; invalid if the method returns nothing
    QString error;     ///< for people
    QString errorName; ///< of D-Bus
};

Outcome outcomeOf(const Daemon &daemon, const HNIPCFailure &failure, const QVariant &value = {});

/// Of a HNIPCRequest that has finished, or of a HNIPCReading.
template <typename Source>
Outcome outcomeOf(const Daemon &daemon, const Source &source)
{
    return outcomeOf(
        daemon,
        { HNIPCRequest::NoOutcome, source.reason(), source.errorName(), source.errorText() },
        source.value());
}

/// Chooses among the overloads, in their order: the first that takes these arguments. Returns the
/// exit code, and what is wrong.
int chooseMethod(const Contract &contract, const QString &wanted, const QStringList &texts,
                 const Method **method, QVariantList *values, QString *message);

/// Sends them all at once, and returns when the last one has finished.
void finish(const std::vector<HNIPCRequest *> &requests);

/// The values of these properties.
std::vector<std::pair<const Property *, Outcome>> readProperties(
    const Context &context, const std::vector<const Property *> &properties);

/// @name For what the library has no request for: calls that are all sent at once, and whose
/// replies are then waited for, no longer than for one.
/// @{
QDBusPendingCall ask(const Context &context, const QDBusMessage &call);
QDBusMessage replyOf(QDBusPendingCall call);
/// A call of the bus itself.
QDBusMessage busCall(const char *member, const QVariantList &arguments = {});
/// @}

/// What "status" calls a daemon that is not a real one.
enum class Player { Real, Simulator, StandIn };
/// An introspection of the place where a simulated daemon, or a stand-in of "replay", says so.
QDBusMessage playerCall(const QString &busName);
Player playerIn(const QDBusMessage &reply); ///< Real where it says nothing

/// Reports that the bus connection was lost. Returns the exit code.
int busLost();

#endif
