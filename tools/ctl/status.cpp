// SPDX-License-Identifier: MIT
#include "console.h"
#include "request.h"
#include "values.h"

#include <QtCore/QJsonArray>
#include <QtDBus/QDBusReply>

namespace {

using Answers = std::vector<std::pair<const Property *, Outcome>>;

// The state of one daemon.
struct DaemonState
{
    bool isKnown = true; ///< false if the bus does not reply
    QString owner;       ///< its unique name on the bus; empty if the daemon is not running
    int pid = 0;         ///< 0 if the bus does not know it
    Player player = Player::Real;
    bool isSilent = false; ///< it is running, and does not reply
    Answers answers;
};

// The calls in addition to those for the properties.
struct Questions
{
    Questions(const Context &context, const Daemon &daemon)
        : owner(ask(context, busCall("GetNameOwner", { daemon.busName }))),
          pid(ask(context, busCall("GetConnectionUnixProcessID", { daemon.busName }))),
          player(ask(context, playerCall(daemon.busName))),
          introspection(ask(context, introspectCall(daemon)))
    {
    }

    QDBusPendingCall owner;
    QDBusPendingCall pid;
    QDBusPendingCall player;
    // Shows whether a daemon without properties replies. The reply to playerCall() does not show it: if
    // the object does not exist, Qt sends the error reply itself.
    QDBusPendingCall introspection;
};

DaemonState stateOf(const Context &context, const Daemon &daemon, const Questions &questions,
                    const Answers &answers)
{
    DaemonState state;
    const QDBusReply<QString> owner = replyOf(questions.owner);
    state.isKnown = owner.isValid()
        || owner.error().name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    state.owner = owner.value();
    state.pid = int(QDBusReply<uint>(replyOf(questions.pid)).value());
    state.player = playerIn(replyOf(questions.player));
    const HNIPCFailure failure = HNIPCFailure::ofReply(replyOf(questions.introspection),
                                                       daemon.busName, context.timeout);
    state.isSilent = failure.reason == HNIPCRequest::TimedOut;
    for (const auto &answer : answers) {
        if (answer.first->method->daemon == &daemon) {
            state.answers.push_back(answer);
        }
    }
    return state;
}

int exitCodeOf(const DaemonState &state)
{
    int exitCode = state.isSilent ? Toolkit::NoAnswer : Toolkit::Done;
    for (const auto &[property, answer] : state.answers) {
        exitCode = answer.ok() ? exitCode : answer.exitCode();
    }
    return state.owner.isEmpty() ? int(Toolkit::DaemonAbsent) : exitCode;
}

QJsonObject jsonOf(const Daemon &daemon, const DaemonState &state)
{
    QJsonObject values;
    for (const auto &[property, answer] : state.answers) {
        values.insert(property->name, answer.json());
    }
    QJsonObject object { { QStringLiteral("name"), daemon.name },
                         { QStringLiteral("busName"), daemon.busName },
                         { QStringLiteral("present"), !state.owner.isEmpty() },
                         { QStringLiteral("properties"), values } };
    if (!state.owner.isEmpty()) {
        object.insert(QStringLiteral("owner"), state.owner);
        if (state.pid != 0) {
            object.insert(QStringLiteral("pid"), state.pid);
        }
        if (state.player != Player::Real) {
            object.insert(state.player == Player::Simulator ? QStringLiteral("simulated")
                                                            : QStringLiteral("standIn"),
                          true);
        }
        if (state.isSilent) {
            object.insert(QStringLiteral("silent"), true);
        }
    }
    return object;
}

void print(const Daemon &daemon, const DaemonState &state)
{
    const QString name = Console::bold(daemon.name.leftJustified(9));
    if (state.owner.isEmpty()) {
        Console::print(name + Console::warning(QStringLiteral("absent")));
        return;
    }
    const char *player = state.player == Player::Simulator ? ", simulated"
        : state.player == Player::StandIn                  ? ", stand-in of replay"
                                                           : "";
    Console::print(name + QLatin1String("present, ") + state.owner
                   + (state.pid == 0 ? QString() : QStringLiteral(", process %1").arg(state.pid))
                   + Console::warning(QLatin1String(player))
                   + Console::warning(QLatin1String(state.isSilent ? ", does not reply" : "")));
    for (const auto &[property, answer] : state.answers) {
        Console::print(
            QLatin1String("  ") + property->name.leftJustified(25)
            + (answer.ok() ? colouredText(answer.value) : Console::warning(answer.shortError())));
    }
}

int run(const Context &context, const QStringList &arguments)
{
    const auto isAsked = [&arguments](const Daemon &daemon) {
        return arguments.isEmpty() || arguments.contains(daemon.name);
    };
    std::vector<const Property *> properties;
    for (const Property &property : context.contract.properties()) {
        if (isAsked(*property.method->daemon)) {
            properties.push_back(&property);
        }
    }
    std::vector<std::pair<const Daemon *, Questions>> questions;
    for (const Daemon &daemon : context.contract.daemons()) {
        if (isAsked(daemon)) {
            questions.emplace_back(&daemon, Questions(context, daemon));
        }
    }
    const Answers answers = readProperties(context, properties);

    int exitCode = Toolkit::Done;
    QString withoutRights;
    for (const auto &[property, answer] : answers) {
        if (answer.reason == HNIPCRequest::AccessDenied) {
            withoutRights = answer.error;
        }
    }
    QJsonArray daemons;
    for (const auto &[daemon, asked] : questions) {
        const DaemonState state = stateOf(context, *daemon, asked, answers);
        if (!state.isKnown) {
            return context.bus.isConnected()
                ? Console::fail(
                    Toolkit::NoAnswer,
                    QStringLiteral("%1 within %2 ms").arg(context.unreached).arg(context.timeout))
                : busLost();
        }
        const int own = exitCodeOf(state);
        exitCode = own == Toolkit::Done ? exitCode : own;
        if (context.json) {
            daemons += jsonOf(*daemon, state);
        } else {
            print(*daemon, state);
        }
    }
    if (context.json) {
        Console::print(QJsonObject { { QStringLiteral("daemons"), daemons } });
    } else if (!withoutRights.isEmpty()) {
        Console::note(withoutRights);
    }
    return exitCode;
}

} // namespace

// clang-format off
const Command statusCommand = {
    "status", "[DAEMON...]", "Shows which daemons are running, and the values of their properties",
    "Default all daemons. Marks simulated daemons, stand-ins of \"replay\", and daemons\n"
    "that do not reply. The exit code is 4 if a daemon is not running, 6 if one does\n"
    "not reply, and that of \"call\" if a property cannot be read.",
    {}, 0, -1, true,
    [](const Contract &contract) { return contract.daemonNames(); }, run, checkDaemons,
    false, false, false
};
// clang-format on
