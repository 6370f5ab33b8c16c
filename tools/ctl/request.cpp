// SPDX-License-Identifier: MIT
#include "request.h"

#include "console.h"
#include "values.h"

#include <hnipc/hnipcrequest.h>

#include <QtCore/QEventLoop>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>

namespace {

const char accessDenied[] = "org.freedesktop.DBus.Error.AccessDenied";

// The bus says it in words for those who write its rules.
QString withoutRights()
{
    return QStringLiteral("no right to call the daemons: the bus lets members of the group "
                          HNIPC_CLIENT_GROUP " do it; a new member has to log in again");
}

} // namespace

QJsonObject Outcome::json() const
{
    QJsonObject result;
    if (ok()) {
        result.insert(QStringLiteral("value"), jsonOf(value));
    } else {
        result.insert(QStringLiteral("error"), error);
        result.insert(QStringLiteral("exit"), exitCode);
    }
    if (!errorName.isEmpty()) {
        result.insert(QStringLiteral("errorName"), errorName);
    }
    if (!words.isEmpty()) {
        result.insert(QStringLiteral("outcome"), words);
        result.insert(QStringLiteral("elapsed"), elapsed);
    }
    return result;
}

QString Outcome::text() const
{
    return words.isEmpty() ? error : words + QLatin1String(": ") + error;
}

QString Outcome::shortError() const
{
    return exitCode == Toolkit::DaemonAbsent ? QStringLiteral("absent")
        : isWithoutRights()                  ? QStringLiteral("no right")
                                             : Console::printable(error);
}

bool Outcome::isWithoutRights() const
{
    return exitCode == Toolkit::NoBus && errorName == QLatin1String(accessDenied);
}

QDBusPendingCall send(const Context &context, const Method &method, QVariantList arguments)
{
    // The defaults of the client: no printer name, and the first panel.
    while (arguments.size() < method.parameters.size()) {
        const bool isNumber = method.parameters.at(arguments.size()).type == "int";
        arguments += isNumber ? QVariant(1) : QVariant(QString());
    }
    QDBusMessage message = QDBusMessage::createMethodCall(
        method.daemon->busName, objectPath(), method.daemon->interface.name, method.name);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    return context.bus.asyncCall(message, context.timeout);
}

Outcome outcomeWithin(int deadline, const Method &method, const QVariantList &arguments)
{
    HNIPCRequest request;
    request.setMethod(method.name);
    request.setArguments(arguments);
    request.setDeadline(deadline);
    QEventLoop loop;
    QObject::connect(&request, &HNIPCRequest::finished, &loop, &QEventLoop::quit);
    request.send();
    loop.exec();

    Outcome result;
    result.value = plain(request.value());
    result.error = request.errorText();
    result.errorName = request.errorName();
    result.elapsed = request.elapsed();
    switch (request.outcome()) {
    case HNIPCRequest::Answered:
        result.words = QStringLiteral("answered");
        break;
    case HNIPCRequest::Refused:
        result.words = QStringLiteral("refused");
        result.error = result.errorName + QLatin1String(": ") + result.error;
        result.exitCode = Toolkit::Refused;
        break;
    case HNIPCRequest::NotSent:
        result.words = QStringLiteral("not sent");
        result.exitCode
            = result.errorName == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown")
            ? Toolkit::DaemonAbsent : Toolkit::NoBus;
        if (result.isWithoutRights()) {
            result.error = withoutRights();
        }
        break;
    default:
        result.words = QStringLiteral("outcome unknown");
        result.exitCode = Toolkit::OutcomeUnknown;
    }
    return result;
}

Outcome outcome(const Context &context, const Method &method, const QDBusPendingCall &call)
{
    QDBusPendingCall pending(call);
    pending.waitForFinished();
    const QDBusMessage reply = pending.reply();
    if (reply.type() != QDBusMessage::ReplyMessage) {
        return failure(context, *method.daemon, reply);
    }
    Outcome result;
    const QVariant value = plain(reply.arguments().value(0));
    if (reply.signature() == method.answerSignature) {
        result.value = value;
    } else {
        result.exitCode = Toolkit::Failed;
        result.error = QStringLiteral("%1 answered another type: \"%2\", not \"%3\": %4")
                           .arg(method.daemon->name, reply.signature(), method.answerSignature,
                                textOf(value));
    }
    return result;
}

Outcome failure(const Context &context, const Daemon &daemon, const QDBusMessage &reply)
{
    Outcome result;
    result.errorName = reply.errorName();
    // Who says so: the daemon, the bus in its place, or nobody, when this side gave up.
    const bool fromBus = reply.service() == QLatin1String("org.freedesktop.DBus");
    const bool fromDaemon = !fromBus && !reply.service().isEmpty();
    const QDBusError::ErrorType type = QDBusError(reply).type();
    if (fromDaemon) {
        result.exitCode = Toolkit::Refused;
        result.error = QStringLiteral("%1 answered %2: %3")
                           .arg(daemon.name, reply.errorName(), reply.errorMessage());
    } else if (type == QDBusError::ServiceUnknown
               || reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")) {
        result.exitCode = Toolkit::DaemonAbsent;
        result.error = QStringLiteral("%1 is not there: nobody on the bus is %2")
                           .arg(daemon.name, daemon.busName);
    } else if (fromBus && type == QDBusError::NoReply) {
        result.exitCode = Toolkit::NoAnswer;
        result.error = QStringLiteral("%1 left the bus without an answer; what it did before is not "
                                      "known").arg(daemon.name);
    } else if (type == QDBusError::NoReply || type == QDBusError::Timeout
               || type == QDBusError::TimedOut) {
        result.exitCode = Toolkit::NoAnswer;
        result.error = QStringLiteral("%1 did not answer within %2 ms")
                           .arg(daemon.name).arg(context.timeout);
    } else if (type == QDBusError::AccessDenied) {
        result.exitCode = Toolkit::NoBus;
        result.error = withoutRights();
    } else {
        result.exitCode = Toolkit::NoBus;
        result.error = QStringLiteral("the bus does not carry the call: ") + reply.errorMessage();
    }
    return result;
}

std::vector<std::pair<const Property *, Outcome>>
readProperties(const Context &context, const std::vector<const Property *> &properties)
{
    std::vector<QDBusPendingCall> calls;
    for (const Property *property : properties) {
        calls.push_back(send(context, *property->method));
    }
    std::vector<std::pair<const Property *, Outcome>> result;
    for (size_t i = 0; i < calls.size(); ++i) {
        result.emplace_back(properties[i],
                            outcome(context, *properties[i]->method, calls[i]));
    }
    return result;
}
