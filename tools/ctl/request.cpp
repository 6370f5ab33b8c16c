// SPDX-License-Identifier: MIT
#include "request.h"

#include "console.h"
#include "values.h"

#include <QtCore/QEventLoop>

#include <climits>

int Outcome::exitCode() const
{
    switch (reason) {
    case HNIPCRequest::NoReason:
        return Toolkit::Done;
    case HNIPCRequest::DaemonError:
        return Toolkit::Refused;
    case HNIPCRequest::DaemonAbsent:
        return Toolkit::DaemonAbsent;
    case HNIPCRequest::AccessDenied:
    case HNIPCRequest::BusError:
    case HNIPCRequest::BusLost:
        return Toolkit::NoBus;
    case HNIPCRequest::TimedOut:
    case HNIPCRequest::DaemonLeft:
        return Toolkit::NoAnswer;
    default:
        return Toolkit::Failed;
    }
}

QJsonObject Outcome::json() const
{
    return ok() ? QJsonObject { { QStringLiteral("value"), jsonOf(value) } }
                : QJsonObject { { QStringLiteral("error"), error },
                                { QStringLiteral("errorName"), errorName },
                                { QStringLiteral("exit"), exitCode() } };
}

QString Outcome::shortError() const
{
    return reason == HNIPCRequest::DaemonAbsent ? QStringLiteral("absent")
        : reason == HNIPCRequest::AccessDenied  ? QStringLiteral("no right")
                                                : Console::printable(error);
}

Outcome outcomeOf(const Daemon &daemon, const HNIPCFailure &failure, const QVariant &value)
{
    Outcome result;
    result.reason = failure.reason;
    result.value = plain(value);
    result.error = failure.errorText;
    result.errorName = failure.errorName;
    if (failure.reason == HNIPCRequest::DaemonError) {
        result.error = QStringLiteral("%1 replied with the error %2: %3")
                           .arg(daemon.name, failure.errorName, failure.errorText);
    } else if (failure.reason == HNIPCRequest::BusError) {
        result.error = QLatin1String("the bus does not deliver the call: ") + failure.errorText;
    } else if (failure.reason == HNIPCRequest::AccessDenied) {
        // The bus's own text is about its policy rules, and does not help.
        result.error = QStringLiteral("no right to call the daemons: the bus lets members of the "
                                      "group " HNIPC_CLIENT_GROUP " do it; a new member has to log "
                                      "in again");
    }
    return result;
}

void finish(const std::vector<HNIPCRequest *> &requests)
{
    QEventLoop loop;
    size_t pending = requests.size();
    for (HNIPCRequest *request : requests) {
        QObject::connect(request, &HNIPCRequest::finished, &loop, [&]() {
            if (--pending == 0) { // clazy:exclude=lambda-in-connect
                loop.quit();
            }
        });
        request->send();
    }
    if (pending > 0) {
        loop.exec();
    }
}

std::vector<std::pair<const Property *, Outcome>> readProperties(
    const Context &context, const std::vector<const Property *> &properties)
{
    std::vector<HNIPCRequest> requests(properties.size());
    std::vector<HNIPCRequest *> all;
    for (size_t i = 0; i < properties.size(); ++i) {
        requests[i].setMethod(properties[i]->method->name);
        requests[i].setDeadline(context.timeout);
        all.push_back(&requests[i]);
    }
    finish(all);
    std::vector<std::pair<const Property *, Outcome>> result;
    for (size_t i = 0; i < properties.size(); ++i) {
        result.emplace_back(properties[i], outcomeOf(*properties[i]->method->daemon, requests[i]));
    }
    return result;
}

QDBusPendingCall ask(const Context &context, const QDBusMessage &call)
{
    return context.bus.asyncCall(call, context.timeout);
}

QDBusMessage replyOf(QDBusPendingCall call)
{
    call.waitForFinished();
    return call.reply();
}

QDBusMessage busCall(const char *member, const QVariantList &arguments)
{
    QDBusMessage result = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QLatin1String(member));
    result.setArguments(arguments);
    return result;
}

QDBusMessage replyOfBus(const Context &context, const char *member, const QVariantList &arguments)
{
    return context.bus.call(busCall(member, arguments), QDBus::Block, INT_MAX);
}

static QDBusMessage introspectCall(const QString &busName, const QString &path)
{
    QDBusMessage result = QDBusMessage::createMethodCall(
        busName, path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
        QStringLiteral("Introspect"));
    result.setAutoStartService(false);
    return result;
}

QDBusMessage introspectCall(const Daemon &daemon)
{
    return introspectCall(daemon.busName, objectPath());
}

QDBusMessage playerCall(const QString &busName)
{
    return introspectCall(busName, QStringLiteral("/simulator"));
}

Player playerIn(const QDBusMessage &reply)
{
    const QString text = reply.type() == QDBusMessage::ReplyMessage
        ? reply.arguments().value(0).toString()
        : QString();
    return text.contains(QLatin1String("\"org.hnipc.Simulator\"")) ? Player::Simulator
        : text.contains(QLatin1String("\"org.hnipc.StandIn\""))    ? Player::StandIn
                                                                   : Player::Real;
}

int checkDaemons(const Context &context, const QStringList &arguments)
{
    const QStringList names = context.contract.daemonNames();
    for (const QString &argument : arguments) {
        if (!names.contains(argument)) {
            return Console::fail(Toolkit::NoSuchName,
                                 QStringLiteral("no daemon %1; expected one of %2")
                                     .arg(argument, names.join(QLatin1String(", "))));
        }
    }
    return Toolkit::Done;
}

int busLost()
{
    return Console::fail(Toolkit::NoBus, QStringLiteral("the bus connection was lost"));
}
