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

/// The outcome of a call, with the messages and exit codes of this program. The library decides the
/// meaning of an error.
struct Outcome
{
    bool ok() const { return reason == HNIPCRequest::NoReason; }
    int exitCode() const;
    /// {"value": ...} or {"error": ..., "errorName": ..., "exit": ...}.
    QJsonObject json() const;
    /// The error in a few words, to be shown in place of the value.
    QString shortError() const;

    HNIPCRequest::Reason reason = HNIPCRequest::NoReason;
    QVariant value;    ///< of plain types; invalid if the method returns nothing
    QString error;     ///< for people
    QString errorName; ///< of D-Bus
};

Outcome outcomeOf(const Daemon &daemon, const HNIPCFailure &failure, const QVariant &value = {});

/// The outcome of a finished HNIPCRequest, or of a HNIPCReading.
template <typename Source>
Outcome outcomeOf(const Daemon &daemon, const Source &source)
{
    return outcomeOf(
        daemon,
        { HNIPCRequest::NoOutcome, source.reason(), source.errorName(), source.errorText() },
        source.value());
}

/// Chooses the first overload that accepts these arguments. Returns the exit code, and sets @p message
/// if there is none.
int chooseMethod(const Contract &contract, const QString &wanted, const QStringList &texts,
                 const Method **method, QVariantList *values, QString *message);

/// Sends all requests at once, and returns when the last one has finished.
void finish(const std::vector<HNIPCRequest *> &requests);

/// The values of these properties.
std::vector<std::pair<const Property *, Outcome>> readProperties(
    const Context &context, const std::vector<const Property *> &properties);

/// @name Calls that the library has no request for. Send all of them first, then wait for the
/// replies: the timeout then passes only once.
/// @{
QDBusPendingCall ask(const Context &context, const QDBusMessage &call);
QDBusMessage replyOf(QDBusPendingCall call);
/// A call of a method of the bus itself.
QDBusMessage busCall(const char *member, const QVariantList &arguments = {});
/// The Introspect call of a daemon's object.
QDBusMessage introspectCall(const Daemon &daemon);
/// @}

/// The reply of the bus itself. It has no timeout of its own: a ReachingDeadline ends the program.
QDBusMessage replyOfBus(const Context &context, const char *member,
                        const QVariantList &arguments = {});

/// The kinds of owners that a daemon's bus name can have.
enum class Player { Real, Simulator, StandIn };
/// The Introspect call of the object by which a simulated daemon, and a stand-in of "replay", is known.
QDBusMessage playerCall(const QString &busName);
Player playerIn(const QDBusMessage &reply); ///< Real if there is no such object

/// The Command::check of a command whose arguments are names of daemons.
int checkDaemons(const Context &context, const QStringList &arguments);

/// Reports that the bus connection was lost. Returns the exit code.
int busLost();

#endif
