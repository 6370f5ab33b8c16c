// SPDX-License-Identifier: MIT
#include "common/daemons.h"
#include "console.h"
#include "hosts.h"
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
#include <tuple>

namespace {

// Identifies a stand-in to "status".
class StandInMark : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.hnipc.StandIn")

public Q_SLOTS:
    Q_SCRIPTABLE QString program() const { return QStringLiteral("hnipcctl replay"); }
};

// The senders of a trace's signals: simulated daemons, and this program in place of those that are
// not running.
class Senders : public QObject
{
    Q_OBJECT

public:
    explicit Senders(const Context &context) : m_context(context), m_standIn(noDaemon, nullptr) {}

    // Finds the owners of the daemons' names. Nothing is sent if any daemon is a real one, even if the
    // trace has no signal of it: the bus is then a printer's, and its applications act on signals.
    // Returns the exit code.
    int find(const std::vector<TraceEvent> &events)
    {
        QDBusConnection bus = m_context.bus;
        for (const Daemon &daemon : m_context.contract.daemons()) {
            bus.connect(QStringLiteral("org.freedesktop.DBus"),
                        QStringLiteral("/org/freedesktop/DBus"),
                        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameOwnerChanged"),
                        { daemon.busName }, QString(), this,
                        SLOT(onOwnerChanged(QString, QString, QString)));
        }
        std::map<const Daemon *, QString> owners;
        for (const Daemon &daemon : m_context.contract.daemons()) {
            const ReachingDeadline end(m_context.unreached, m_context.timeout);
            const QDBusReply<QString> owner = replyOfBus(m_context, "GetNameOwner",
                                                         { daemon.busName });
            const bool isNeeded = std::any_of(
                events.begin(), events.end(),
                [&](const TraceEvent &event) { return event.signal->daemon == &daemon; });
            if (owner.isValid()) {
                owners[&daemon] = owner;
            }
            if (isNeeded) {
                m_simulators[&daemon] = owner;
            }
        }
        const int checked = check(owners);
        if (checked != Toolkit::Done) {
            return checked;
        }
        for (const auto &[daemon, simulator] : m_simulators) {
            const int claimed = simulator.isEmpty() ? claim(*daemon) : int(Toolkit::Done);
            if (claimed != Toolkit::Done) {
                return claimed;
            }
        }
        return Toolkit::Done;
    }

    // Checks the daemons that have appeared since the last check. Returns the exit code.
    int checkNew()
    {
        std::map<const Daemon *, QString> owners;
        owners.swap(m_appeared);
        return check(owners);
    }

    // Returns the exit code.
    int send(const TraceEvent &event)
    {
        const int exitCode = pass(event);
        m_sent += exitCode == Toolkit::Done ? 1 : 0;
        return exitCode;
    }

    // The sender of each daemon's signals: the simulated daemon, or this program.
    QJsonObject players() const
    {
        QJsonObject result;
        for (const auto &[daemon, simulator] : m_simulators) {
            result[daemon->name] = simulator.isEmpty() ? QStringLiteral("stand-in")
                                                       : QStringLiteral("simulated");
        }
        return result;
    }

Q_SIGNALS:
    void appeared();

private Q_SLOTS:
    void onOwnerChanged(const QString &name, const QString &, const QString &owner)
    {
        for (const Daemon &daemon : m_context.contract.daemons()) {
            if (daemon.busName == name && owner != m_context.bus.baseService()) {
                m_appeared.erase(&daemon);
                if (!owner.isEmpty()) {
                    m_appeared[&daemon] = owner;
                    Q_EMIT appeared();
                }
            }
        }
    }

private:
    // One object is the stand-in for all daemons that are not running.
    static constexpr auto noDaemon = static_cast<HNIPCServer::ServerType>(-1);

    // The bus has received the signal when this returns, so signals of several daemons stay in order.
    int pass(const TraceEvent &event)
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
        const Outcome outcome = outcomeOf(
            *signal.daemon,
            HNIPCFailure::ofReply(reply, signal.daemon->busName, m_context.timeout));
        return outcome.ok()
            ? int(Toolkit::Done)
            : Console::fail(outcome.exitCode(),
                            QStringLiteral("line %1: %2").arg(event.line).arg(outcome.error));
    }

    int claim(const Daemon &daemon)
    {
        const ReachingDeadline end(m_context.unreached, m_context.timeout);
        QDBusConnection bus = m_context.bus;
        bus.registerObject(QStringLiteral("/simulator"), &m_mark,
                           QDBusConnection::ExportScriptableSlots);
        m_standIn.registerDbusService(daemon.busName);
        m_standIn.registerDbusObject(objectPath(), QString());
        const QString owner = m_context.bus.interface()->serviceOwner(daemon.busName).value();
        if (owner != m_context.bus.baseService()) {
            return Console::fail(
                Toolkit::NoBus,
                QStringLiteral("the bus does not allow this user to own the name %1; %2")
                    .arg(daemon.busName, sentText()));
        }
        return Toolkit::Done;
    }

    // Checks that all owners are simulated daemons: only they reply to this method with a list of
    // strings. Another program may reply to every call with something else.
    int check(const std::map<const Daemon *, QString> &owners)
    {
        std::vector<std::tuple<const Daemon *, QString, QDBusPendingCall>> questions;
        for (const auto &[daemon, owner] : owners) {
            questions.emplace_back(
                daemon, owner,
                ask(m_context, Toolkit::simulatorCall(owner, QStringLiteral("names"))));
        }
        for (const auto &[daemon, owner, question] : questions) {
            const QDBusMessage reply = replyOf(question);
            const Outcome outcome = outcomeOf(
                *daemon, HNIPCFailure::ofReply(reply, owner, m_context.timeout));
            // A printer's bus policy denies calls of the simulator interface.
            if (outcome.reason == HNIPCRequest::DaemonError
                || outcome.reason == HNIPCRequest::AccessDenied
                || (outcome.ok() && reply.signature() != QLatin1String("as"))) {
                return Console::fail(
                    Toolkit::Failed,
                    QStringLiteral("%1 (%2) is not a simulated daemon: a trace is not "
                                   "replayed on a real printer; %3")
                        .arg(daemon->name, owner, sentText()));
            }
            // A daemon that has left the bus again does not matter.
            if (!outcome.ok() && outcome.reason != HNIPCRequest::DaemonAbsent
                && outcome.reason != HNIPCRequest::DaemonLeft) {
                return Console::fail(
                    outcome.exitCode(),
                    QStringLiteral("cannot find out whether %1 is a simulated daemon: "
                                   "%2; %3")
                        .arg(daemon->name, outcome.error, sentText()));
            }
        }
        return Toolkit::Done;
    }

    QString sentText() const
    {
        return m_sent == 0 ? QStringLiteral("nothing was sent")
                           : QStringLiteral("stopped after %1").arg(Console::signalCount(m_sent));
    }

    const Context &m_context;
    StandInMark m_mark;
    HNIPCServer m_standIn;
    std::map<const Daemon *, QString> m_simulators; // empty if this program is the stand-in
    std::map<const Daemon *, QString> m_appeared;   // not checked yet
    std::size_t m_sent = 0;
};

// Serves calls of the stand-in meanwhile. Returns the exit code; not Done if the replay has to stop.
int waitUntil(const Context &context, const QElapsedTimer &clock, double due, Senders *senders)
{
    QCoreApplication::processEvents();
    while (context.bus.isConnected()) {
        const int checked = senders->checkNew();
        const double left = due - double(clock.nsecsElapsed()) / 1e9;
        if (left <= 0 || checked != Toolkit::Done) {
            return checked;
        }
        QEventLoop loop;
        QObject::connect(senders, &Senders::appeared, &loop, &QEventLoop::quit);
        const int milliseconds = int(std::ceil(std::min(left, 1.0) * 1000));
        QTimer::singleShot(milliseconds, Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return busLost();
}

// The speed, above 0; 0 for "max"; negative if the value is invalid.
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

int check(const Context &context, const QStringList &arguments)
{
    if (arguments.first().isEmpty()) {
        return Console::fail(Toolkit::WrongUsage,
                             QStringLiteral("the name of the file to be read is empty"));
    }
    return speedOf(context) >= 0
        ? int(Toolkit::Done)
        : Console::fail(Toolkit::WrongUsage,
                        QStringLiteral("--speed: \"%1\" is neither a number above 0 nor max")
                            .arg(context.options.value(QStringLiteral("speed"))));
}

int play(const Context &context, const std::vector<TraceEvent> &events, Senders *senders)
{
    const double speed = speedOf(context);
    QElapsedTimer clock;
    clock.start();
    for (const TraceEvent &event : events) {
        const int waited = waitUntil(context, clock, speed > 0 ? event.at / speed : 0, senders);
        const int sent = waited == Toolkit::Done ? senders->send(event) : waited;
        if (sent != Toolkit::Done) {
            return sent;
        }
    }
    // Makes sure that the bus has received the last signals before the program ends.
    const ReachingDeadline end(context.unreached, context.timeout);
    replyOfBus(context, "GetId");
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

// clang-format off
const Command replayCommand = {
    "replay", "FILE", "Emits the signals of a recorded file again",
    "Emits the signals that \"record\" wrote to FILE, with the same pauses. A simulated\n"
    "daemon emits its own; this program is the stand-in for a daemon that is not\n"
    "running. If a daemon is a real one, nothing is sent; if a real one appears, the\n"
    "replay stops. FILE - is standard input, which is first read to its end.",
    { { "speed", "N", "2 is twice as fast, 0.5 half as fast, max without pauses;\n"
                      "                      default 1" } },
    1, 1, true, nullptr, run, check, true
};
// clang-format on

#include "replay.moc"
