// SPDX-License-Identifier: MIT
#include "check.h"

#include "common/daemons.h"
#include "common/datafiles.h"
#include "common/exitcodes.h"
#include "common/failure.h"
#include "common/interfacefile.h"

#include <QtCore/QEventLoop>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusPendingCallWatcher>

using namespace Toolkit;

namespace {

Interface interfaceOf(const QString &name)
{
    const QString file = interfaceFile(name);
    QString error = QStringLiteral("the description of %1 is not installed").arg(name);
    const std::optional<Interface> result = file.isEmpty() ? std::nullopt
                                                           : readInterfaceFile(file, &error);
    if (!result) {
        throw Failure { SandboxFailed, error };
    }
    return *result;
}

// The error if "call" cannot call this method: it passes no arguments.
QString wrongMethod(const QString &daemon, const QString &name)
{
    const Interface interface = interfaceOf(daemonInterface(daemon));
    bool isThere = false;
    for (const InterfaceMember &method : interface.members(InterfaceMember::Method)) {
        if (method.name == name && method.arguments(InterfaceArgument::In).isEmpty()) {
            return QString();
        }
        isThere = isThere || method.name == name;
    }
    return isThere ? QStringLiteral("%1 has parameters, and \"call\" passes no arguments").arg(name)
                   : QStringLiteral("%1 has no method %2").arg(daemon, name);
}

// The error if the act is for one daemon only, and this is another one.
QString wrongDaemon(const Act &act)
{
    static const Interface simulator = interfaceOf(simulatorInterface());
    for (const InterfaceMember &method : simulator.members(InterfaceMember::Method)) {
        const QString only = method.annotations.value(QStringLiteral("org.hnipc.Simulator.Daemon"));
        if (method.name == act.verb && !only.isEmpty() && only != act.daemon) {
            return QStringLiteral("\"%1\" is for %2, not %3").arg(act.verb, only, act.daemon);
        }
    }
    return QString();
}

// The error that the simulated daemon replies to the act; null if it accepts the act, or if the
// program has to end.
QString refusal(const QDBusConnection &bus, const QString &daemon, const QString &member,
                const QVariantList &arguments)
{
    QDBusMessage call = simulatorCall(busName(daemon), member);
    call.setArguments(arguments);
    QDBusPendingCallWatcher watcher(bus.asyncCall(call));
    QEventLoop loop;
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    loop.exec();
    return watcher.isFinished() && watcher.isError() ? watcher.error().message() : QString();
}

QString mistakeIn(const Act &act, const QDBusConnection &bus)
{
    if (act.verb == QLatin1String("call")) {
        return wrongMethod(act.daemon, act.arguments.at(0).toString());
    }
    const QString wrong = wrongDaemon(act);
    // A full queue would be no error of the scenario: no time passes here, so no job is printed.
    if (!wrong.isEmpty() || act.verb == QLatin1String("print")) {
        return wrong;
    }
    QVariantList arguments = act.arguments;
    if (act.verb == QLatin1String("flood")) {
        arguments[1] = 1u;
    } else if (act.verb == QLatin1String("fault")
               && act.arguments.at(1) != QLatin1String("error")) {
        // Other kinds would affect the daemons' calls of each other, or end the daemon.
        arguments[1] = QStringLiteral("none");
    }
    const QString refused = refusal(bus, act.daemon, act.verb, arguments);
    refusal(bus, act.daemon, QStringLiteral("reset"), {});
    return refused;
}

} // namespace

QStringList mistakesIn(const Scenario &scenario, const QDBusConnection &bus,
                       const QStringList &daemons)
{
    QStringList result;
    QStringList running = daemons;
    for (const Act &act : scenario.acts) {
        QString mistake;
        if (act.verb == QLatin1String("start")) {
            running += act.daemon;
        } else if (act.verb == QLatin1String("say")) {
            continue;
        } else if (!running.contains(act.daemon)) {
            mistake = QStringLiteral("%1 is not running at this time").arg(act.daemon);
        } else if (act.verb == QLatin1String("stop")) {
            running.removeAll(act.daemon);
        } else {
            mistake = mistakeIn(act, bus);
        }
        if (!mistake.isEmpty()) {
            result += QStringLiteral("%1:%2: %3").arg(scenario.fileName).arg(act.line).arg(mistake);
        }
    }
    return result;
}
