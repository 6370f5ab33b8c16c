// SPDX-License-Identifier: MIT
#include "common/daemons.h"
#include "console.h"
#include "request.h"
#include "trace.h"

#include <hnipc/hnipcserver.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QEventLoop>
#include <QtCore/QTimer>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusReply>

#include <algorithm>
#include <cmath>
#include <map>

namespace {

// Whoever sends the signals of a trace.
class Senders
{
public:
    explicit Senders(const Context &context)
        : m_context(context)
        , m_standIn(noDaemon, nullptr)
    {
    }

    // Nothing is sent where any daemon is a real one, also where the trace has no signal of it: its
    // bus is a printer's, and who listens there acts on what he hears.
    int find(const std::vector<TraceEvent> &events)
    {
        for (const Daemon &daemon : m_context.contract.daemons()) {
            const QString owner
                = m_context.bus.interface()->serviceOwner(daemon.busName).value();
            const bool isNeeded = std::any_of(events.begin(), events.end(),
                                              [&](const TraceEvent &event) {
                                                  return event.signal->daemon == &daemon;
                                              });
            if (!owner.isEmpty()) {
                const QDBusMessage reply = m_context.bus.call(
                    Toolkit::simulatorCall(owner, QStringLiteral("names")), QDBus::Block,
                    m_context.timeout);
                if (reply.type() != QDBusMessage::ReplyMessage) {
                    return refuse(daemon, owner);
                }
            }
            if (isNeeded) {
                m_simulators[&daemon] = owner;
            }
        }
        for (const auto &[daemon, simulator] : m_simulators) {
            const int claimed = simulator.isEmpty() ? claim(*daemon) : int(Toolkit::Done);
            if (claimed != Toolkit::Done) {
                return claimed;
            }
        }
        return Toolkit::Done;
    }

    // Has passed the bus when this returns, for signals of several daemons stay in their order.
    int send(const TraceEvent &event)
    {
        const ClientSignal &signal = *event.signal;
        const QString simulator = m_simulators.at(signal.daemon);
        if (simulator.isEmpty()) {
            return m_standIn.pulseSignal(objectPath(), signal.daemon->interface.name, signal.member,
                                         event.arguments)
                ? Toolkit::Done
                : busLost();
        }
        QDBusMessage message = Toolkit::simulatorCall(simulator, QStringLiteral("emit"));
        message << signal.name << QVariant(event.arguments);
        const QDBusMessage reply = m_context.bus.call(message, QDBus::Block, m_context.timeout);
        const Outcome outcome
            = outcomeOf(*signal.daemon, HNIPCFailure::ofReply(reply, signal.daemon->busName,
                                                              m_context.timeout));
        return outcome.ok() ? int(Toolkit::Done)
                            : Console::fail(outcome.exitCode(), QStringLiteral("line %1: %2")
                                  .arg(event.line).arg(outcome.error));
    }

    // Which daemon is played by whom.
    QJsonObject players() const
    {
        QJsonObject result;
        for (const auto &[daemon, simulator] : m_simulators) {
            result[daemon->name] = simulator.isEmpty() ? QStringLiteral("stand-in")
                                                       : QStringLiteral("simulated");
        }
        return result;
    }

private:
    // One object stands in for each daemon that is not there.
    static constexpr auto noDaemon = static_cast<HNIPCServer::ServerType>(-1);

    int claim(const Daemon &daemon)
    {
        m_standIn.registerDbusService(daemon.busName);
        m_standIn.registerDbusObject(objectPath(), QString());
        const QString owner = m_context.bus.interface()->serviceOwner(daemon.busName).value();
        if (owner != m_context.bus.baseService()) {
            return Console::fail(Toolkit::NoBus,
                                 QStringLiteral("the bus does not give this user the name %1; "
                                                "nothing was sent").arg(daemon.busName));
        }
        return Toolkit::Done;
    }

    static int refuse(const Daemon &daemon, const QString &owner)
    {
        return Console::fail(Toolkit::Failed,
                             QStringLiteral("%1 (%2) is no simulated daemon: a trace is not replayed "
                                            "to a real printer; nothing was sent")
                                 .arg(daemon.name, owner));
    }

    const Context &m_context;
    HNIPCServer m_standIn;
    std::map<const Daemon *, QString> m_simulators; // empty where this program stands in
};

// Calls of the stand-in are answered meanwhile. False when the bus has gone.
bool waitUntil(const QDBusConnection &bus, const QElapsedTimer &clock, double due)
{
    QCoreApplication::processEvents();
    for (double left = due; bus.isConnected(); ) {
        left = due - double(clock.nsecsElapsed()) / 1e9;
        if (left <= 0) {
            return true;
        }
        QEventLoop loop;
        const int milliseconds = int(std::ceil(std::min(left, 1.0) * 1000));
        QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return false;
}

// Above 0; 0 for all at once. Negative where it is none of both.
double speedOf(const Context &context)
{
    const QString text = context.options.value(QStringLiteral("speed"), QStringLiteral("1"));
    if (text == QLatin1String("max")) {
        return 0;
    }
    bool isNumber = false;
    const double speed = text.toDouble(&isNumber);
    return isNumber && speed > 0 && std::isfinite(speed) ? speed : -1;
}

int check(const Context &context, const QStringList &)
{
    return speedOf(context) >= 0
        ? int(Toolkit::Done)
        : Console::fail(Toolkit::WrongUsage,
                        QStringLiteral("--speed is neither a number above 0 nor max: \"%1\"")
                            .arg(context.options.value(QStringLiteral("speed"))));
}

int play(const Context &context, const std::vector<TraceEvent> &events, Senders *senders)
{
    const double speed = speedOf(context);
    QElapsedTimer clock;
    clock.start();
    for (const TraceEvent &event : events) {
        if (!waitUntil(context.bus, clock, speed > 0 ? event.at / speed : 0)) {
            return busLost();
        }
        const int sent = senders->send(event);
        if (sent != Toolkit::Done) {
            return sent;
        }
    }
    // The last of them leave before the program does.
    context.bus.interface()->isServiceRegistered(context.bus.baseService());
    return Toolkit::Done;
}

int run(const Context &context, const QStringList &arguments)
{
    std::vector<TraceEvent> events;
    const int read = readTrace(context.contract, arguments.first(), &events);
    if (read != Toolkit::Done) {
        return read;
    }
    Senders senders(context);
    const int found = senders.find(events);
    if (found != Toolkit::Done) {
        return found;
    }

    const QJsonObject players = senders.players();
    QStringList texts;
    for (auto player = players.begin(); player != players.end(); ++player) {
        texts += player.key() + QLatin1Char(' ') + player.value().toString();
    }
    Console::note(QStringLiteral("replaying %1: %2")
                      .arg(Console::signalCount(events.size()), texts.join(QLatin1String(", "))));
    const int played = play(context, events, &senders);
    if (played == Toolkit::Done && context.json) {
        Console::print(QJsonObject { { QStringLiteral("signals"), int(events.size()) },
                                     { QStringLiteral("daemons"), players } });
    }
    return played;
}

} // namespace

const Command replayCommand = {
    "replay", "FILE", "Sends the signals of such a file again, as the daemons do",
    "Sends the signals that \"record\" wrote to FILE, with their times: by the simulated daemons, and in\n"
    "place of daemons that are not there. Where any daemon is a real one, nothing is sent.",
    { { "speed", "N", "so many times as fast, as 2 or 0.5; \"max\": at once" } },
    1, 1, true, nullptr, run, check, true
};
