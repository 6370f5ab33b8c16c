// SPDX-License-Identifier: MIT
#include "console.h"
#include "request.h"
#include "values.h"

#include <QtCore/QJsonArray>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusReply>

namespace {

using Answers = std::vector<std::pair<const Property *, Outcome>>;

// What there is to say of one daemon.
struct DaemonState
{
    QString owner; ///< on the bus; empty where the daemon is absent
    int pid = 0;   ///< 0 where the bus does not tell
    Answers answers;
};

DaemonState stateOf(const Context &context, const Daemon &daemon, const Answers &answers)
{
    DaemonState state;
    state.owner = context.bus.interface()->serviceOwner(daemon.busName).value();
    const QDBusReply<uint> pid = context.bus.interface()->servicePid(daemon.busName);
    state.pid = pid.isValid() ? int(pid.value()) : 0;
    for (const auto &answer : answers) {
        if (answer.first->method->daemon == &daemon) {
            state.answers.push_back(answer);
        }
    }
    return state;
}

int exitCodeOf(const DaemonState &state)
{
    int exitCode = Toolkit::Done;
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
    Console::print(name + QLatin1String("present, ") + state.owner
                   + (state.pid == 0 ? QString() : QStringLiteral(", process %1").arg(state.pid)));
    for (const auto &[property, answer] : state.answers) {
        Console::print(QLatin1String("  ") + property->name.leftJustified(25)
                       + (answer.ok() ? colouredText(answer.value)
                                      : Console::warning(answer.shortError())));
    }
}

int run(const Context &context, const QStringList &)
{
    std::vector<const Property *> properties;
    for (const Property &property : context.contract.properties()) {
        properties.push_back(&property);
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
    for (const Daemon &daemon : context.contract.daemons()) {
        const DaemonState state = stateOf(context, daemon, answers);
        const int own = exitCodeOf(state);
        exitCode = own == Toolkit::Done ? exitCode : own;
        if (context.json) {
            daemons += jsonOf(daemon, state);
        } else {
            print(daemon, state);
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

const Command statusCommand = {
    "status", "", "Which daemons are there, and the values of their properties",
    "Ends with 4 where a daemon is absent, and as \"call\" does where one does not\n"
    "answer.",
    {}, 0, 0, true, nullptr, run
};
