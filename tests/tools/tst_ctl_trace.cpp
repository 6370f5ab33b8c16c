// SPDX-License-Identifier: MIT
// hnipcctl record and replay.
#include "ctlprogram.h"
#include "desk.h"

#include "expected/clientsignals.h"
#include "expected/samples.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QScopedPointer>
#include <QtCore/QTemporaryDir>

#include <csignal>

using namespace Expected;

namespace {

const char header[] = "{\"format\":\"hnipc-trace\",\"version\":1}\n";

QByteArray eventLine(const char *at, const char *daemon, const char *signal, const char *signature,
                     const char *arguments)
{
    return QByteArray("{\"at\":") + at + ",\"daemon\":\"" + daemon + "\",\"signal\":\"" + signal
        + "\",\"signature\":\"" + signature + "\",\"arguments\":" + arguments + "}\n";
}

// The lines of a trace without the fields that differ in each trace. Empty if a line is not JSON.
QList<QJsonObject> trace(const QByteArray &text)
{
    QList<QJsonObject> result;
    for (const QByteArray &line : text.chopped(1).split('\n')) {
        QJsonObject object = QJsonDocument::fromJson(line).object();
        if (object.isEmpty() || !text.endsWith('\n')) {
            return {};
        }
        object.remove(QStringLiteral("at"));
        object.remove(QStringLiteral("recorded"));
        result += object;
    }
    return result;
}

// A signal as it crosses the bus.
struct Sent
{
    int server;
    QByteArray member;
    QByteArray body;
};

// Every signal of these daemons, with each sample of its arguments.
QList<Sent> everySignal(const QList<int> &servers)
{
    QList<Sent> result;
    for (const ClientSignal &signal : clientSignals) {
        for (int round = 0; servers.contains(signal.server) && round < 5; ++round) {
            result += { signal.server, signal.member,
                        wireBody(argumentSamples(signal.signature, round)) };
        }
    }
    return result;
}

QByteArray inLines(const QList<Sent> &sent)
{
    QByteArray result;
    for (const Sent &signal : sent) {
        result += QByteArray(identities[signal.server].interface) + '.' + signal.member + ' '
            + signal.body + '\n';
    }
    return result;
}

const char twoErrors[] = "local.IHNIPCM4.M4_Error (1,)\nlocal.IHNIPCM4.M4_Error (2,)\n";

void listen(WirePeer *peer)
{
    for (const auto &identity : identities) {
        QVERIFY(
            peer->listen(QByteArray("type='signal',path='/',sender='") + identity.busName + "'"));
    }
}

QByteArray heard(const WirePeer &peer)
{
    QByteArray result;
    const QList<WireMessage> all = peer.receivedSignals();
    for (const WireMessage &message : all) {
        result += message.interface + '.' + message.member + ' ' + message.body + '\n';
    }
    return result;
}

} // namespace

class tst_CtlTrace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_directory.reset(new QTemporaryDir); }

    void recordsTypes();
    void roundTrip_data();
    void roundTrip();
    void unusualNumbers();
    void keepsTime();
    void standInLeaves();
    void refusesRealDaemon_data();
    void refusesRealDaemon();
    void refusesABusWithRules();
    void refusesADaemonThatRepliesToAll();
    void stopsForARealDaemon();
    void haltedSimulator();
    void refusedName();
    void simulatorRefuses();
    void statusDistinguishesThem();
    void throughAPipe();
    void recordsOtherForms();

    void refusesTraces_data();
    void refusesTraces();
    void wrongUsage_data();
    void wrongUsage();
    void keepsFiles();
    void recordEnds_data();
    void recordEnds();
    void fullDevice();
    void closedPipe();

private:
    QString path(const char *name) const
    {
        return m_directory->filePath(QString::fromLatin1(name));
    }

    QString write(const char *name, const QByteArray &text)
    {
        QFile file(path(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            qFatal("no file");
        }
        return file.fileName();
    }

    static QStringList replay(const QString &file, const char *speed = "max")
    {
        return { QStringLiteral("replay"), file, QStringLiteral("--speed"),
                 QString::fromLatin1(speed) };
    }

    static QStringList record(const QString &file, int count)
    {
        return { QStringLiteral("record"), file, QStringLiteral("--count"),
                 QString::number(count) };
    }

    // Records into a file what the daemons send meanwhile.
    static bool hasRecorded(const QString &file, const QList<Sent> &sent)
    {
        FakeDaemons daemons;
        Ctl recorder(record(file, int(sent.size())));
        bool ok = recorder.complains("recording");
        for (const Sent &signal : sent) {
            ok = ok && daemons.emitSignal(signal.server, signal.member, signal.body);
        }
        return ok && recorder.exitCode() == 0 && recorder.out().isEmpty();
    }

    // Two signals, more than a day apart.
    QString longTrace()
    {
        return write("trace",
                     header + eventLine("0", "m4", "Error", "i", "[1]")
                         + eventLine("100000", "m4", "Error", "i", "[2]"));
    }

    QScopedPointer<QTemporaryDir> m_directory;
};

// ---- Recording and replaying ---------------------------------------------------------------

void tst_CtlTrace::recordsTypes()
{
    const QList<Sent> sent {
        { IOEXPD, "IOEXPD_HelpButton", "()" },
        { M4, "M4_M4PrinterLid", "(true,)" },
        { M4, "M4_M4TphTherm", "(2, -40)" },
        { M4, "M4_M4RibbonVerify1", "(uint64 18446744073709551615,)" },
        { SUPPLYD, "SUPPLYD_SupplyPercentChanged", "(0.1,)" },
        { SUPPLYD, "SUPPLYD_RibbonChanged", "(['R1', ''], 'p')" },
    };
    FakeDaemons daemons;
    const QDateTime start = QDateTime::currentDateTimeUtc();
    Ctl ctl(record(QStringLiteral("-"), int(sent.size())));
    QVERIFY(ctl.complains("recording"));
    const QDateTime ready = QDateTime::currentDateTimeUtc();
    // Each signal is sent after the previous one has been written, so their times differ.
    int written = 1;
    for (const Sent &signal : sent) {
        QVERIFY(waitUntil([&]() { return ctl.output().count('\n') == written; }));
        QVERIFY(daemons.emitSignal(signal.server, signal.member, signal.body));
        ++written;
    }
    QCOMPARE(ctl.exitCode(), 0);

    const QByteArray expected = QByteArray(header)
        + eventLine("0", "ioexpd", "HelpButton", "", "[]")
        + eventLine("0", "m4", "M4PrinterLid", "b", "[true]")
        + eventLine("0", "m4", "M4TphTherm", "ii", "[2,-40]")
        + eventLine("0", "m4", "M4RibbonVerify1", "t", "[\"18446744073709551615\"]")
        + eventLine("0", "supplyd", "SupplyPercentChanged", "d", "[0.1]")
        + eventLine("0", "supplyd", "RibbonChanged", "ass", "[[\"R1\",\"\"],\"p\"]");
    QCOMPARE(trace(ctl.out()), trace(expected));

    double before = 0;
    for (const QByteArray &line : ctl.out().chopped(1).split('\n').mid(1)) {
        const QJsonValue at = QJsonDocument::fromJson(line).object().value(QLatin1String("at"));
        QVERIFY(at.isDouble() && at.toDouble() > before);
        before = at.toDouble();
    }
    const QDateTime recorded = QDateTime::fromString(
        QJsonDocument::fromJson(ctl.out().split('\n').first())
            .object()
            .value(QLatin1String("recorded"))
            .toString(),
        Qt::ISODateWithMs);
    QVERIFY(recorded >= start && recorded <= ready);
}

void tst_CtlTrace::roundTrip_data()
{
    QTest::addColumn<QList<int>>("servers");
    QTest::addColumn<QStringList>("simulated");
    QTest::addColumn<QByteArray>("players");

    QTest::newRow("stand-ins") << QList<int> { IOEXPD, M4, SUPPLYD } << QStringList()
                               << QByteArray("ioexpd stand-in, m4 stand-in, supplyd stand-in");
    // The simulated supply daemon sends signals of its own when it receives those of the print
    // engine.
    QTest::newRow("simulated supplyd")
        << QList<int> { SUPPLYD } << QStringList(QStringLiteral("supplyd"))
        << QByteArray("supplyd simulated");
    QTest::newRow("some of each") << QList<int> { IOEXPD, M4, SUPPLYD }
                                  << (QStringList()
                                      << QStringLiteral("ioexpd") << QStringLiteral("m4"))
                                  << QByteArray("ioexpd simulated, m4 simulated, supplyd stand-in");
}

void tst_CtlTrace::roundTrip()
{
    QFETCH(QList<int>, servers);
    QFETCH(QStringList, simulated);
    QFETCH(QByteArray, players);

    const QList<Sent> sent = everySignal(servers);
    const QString file = path("trace");
    QVERIFY(hasRecorded(file, sent));

    Desk desk(simulated);
    for (const QString &daemon : simulated) {
        desk.act(daemon.toLatin1(), "names"); // replies after its first signals
    }
    WirePeer listener;
    listen(&listener);
    const QString copy = path("copy");
    Ctl recorder(record(copy, int(sent.size())));
    QVERIFY(recorder.complains("recording"));
    Ctl player(replay(file));
    QCOMPARE(player.exitCode(), 0);
    QCOMPARE(player.out(), QByteArray());
    QCOMPARE(player.err(),
             "hnipcctl: replaying " + QByteArray::number(sent.size()) + " signals: " + players
                 + '\n');
    QCOMPARE(recorder.exitCode(), 0);
    listener.sync();
    QCOMPARE(heard(listener), inLines(sent));
    QCOMPARE(trace(content(copy)).size(), sent.size() + 1);
    QCOMPARE(trace(content(copy)), trace(content(file)));
}

// JSON cannot express these numbers.
void tst_CtlTrace::unusualNumbers()
{
    // clang-format off
    const QByteArray numbers[] = { "inf", "-inf", "nan", "-0.0", "2.2250738585072014e-308",
                                   "1.7976931348623157e+308", "0.10000000000000001" };
    // clang-format on
    QList<Sent> sent;
    for (const QByteArray &number : numbers) {
        sent += { SUPPLYD, "SUPPLYD_SupplyPercentChanged", '(' + number + ",)" };
    }
    const QString file = path("trace");
    QVERIFY(hasRecorded(file, sent));
    WirePeer listener;
    listen(&listener);
    QCOMPARE(Ctl(replay(file)).exitCode(), 0);
    listener.sync();
    QCOMPARE(heard(listener), inLines(sent));
}

void tst_CtlTrace::keepsTime()
{
    const QString file = longTrace();
    const QString three = write("three",
                                header + eventLine("0", "m4", "Error", "i", "[1]")
                                    + eventLine("2", "m4", "Error", "i", "[2]")
                                    + eventLine("100000", "m4", "Error", "i", "[3]"));
    WirePeer listener;
    listen(&listener);
    // The second signal is hours away: in the first run because of the trace, in the second because
    // of the speed.
    for (const QStringList &command :
         { QStringList { QStringLiteral("replay"), file }, replay(three, "0.0001") }) {
        listener.clearSignals();
        Ctl slow(command);
        QVERIFY(waitUntil([&]() { return !heard(listener).isEmpty(); }));
        // The stand-in replies between signals. A player without pauses would have sent the last
        // signal long before.
        for (int i = 0; i < 50; ++i) {
            const WireMessage answer = listener.call("org.hnipc.m4", "/", "local.IHNIPCM4",
                                                     "getError");
            QVERIFY2(answer.errorName.startsWith("org.freedesktop.DBus.Error.Unknown"),
                     answer.errorName);
        }
        QCOMPARE(heard(listener), QByteArray("local.IHNIPCM4.M4_Error (1,)\n"));
        slow.interrupt();
        QCOMPARE(slow.exitCode(), 130);
        QVERIFY(waitUntil(
            [&]() { return listener.own("org.hnipc.m4") && listener.release("org.hnipc.m4"); }));
    }

    for (const char *speed : { "1e9", "1000000.5", "max" }) {
        listener.clearSignals();
        Ctl fast(replay(file, speed));
        QCOMPARE(fast.exitCode(), 0);
        listener.sync();
        QCOMPARE(heard(listener), QByteArray(twoErrors));
    }
}

void tst_CtlTrace::standInLeaves()
{
    WirePeer peer;
    listen(&peer);
    Ctl player({ QStringLiteral("replay"), longTrace() });
    QVERIFY(waitUntil([&]() { return !heard(peer).isEmpty(); }));
    // The stand-in owns its name, has no methods, and does not acquire another daemon's name.
    const WireMessage answer = peer.call("org.hnipc.m4", "/", "local.IHNIPCM4", "getError");
    QVERIFY2(answer.errorName.startsWith("org.freedesktop.DBus.Error.Unknown"), answer.errorName);
    QVERIFY(WirePeer().own("org.hnipc.supplyd"));
    player.interrupt();
    QVERIFY(player.ends());
    QVERIFY(waitUntil([&]() { return peer.own("org.hnipc.m4"); }));
    QVERIFY(peer.release("org.hnipc.m4"));

    Ctl json(QStringList(replay(write("empty", header))) << QStringLiteral("--json"));
    QCOMPARE(json.exitCode(), 0);
    QCOMPARE(QJsonDocument::fromJson(json.out()).object(),
             QJsonDocument::fromJson("{\"signals\":0,\"daemons\":{}}").object());
}

// ---- Refused traces and daemons ------------------------------------------------------------

void tst_CtlTrace::refusesRealDaemon_data()
{
    QTest::addColumn<int>("server");
    QTest::addColumn<QStringList>("simulated");

    QTest::newRow("the one of the trace") << int(M4) << QStringList();
    QTest::newRow("another one") << int(IOEXPD) << QStringList();
    QTest::newRow("beside a simulated one") << int(SUPPLYD) << QStringList(QStringLiteral("m4"));
}

void tst_CtlTrace::refusesRealDaemon()
{
    QFETCH(int, server);
    QFETCH(QStringList, simulated);

    Desk desk(simulated);
    FakeDaemons daemons(false);
    daemons.start(server);
    WirePeer listener;
    listen(&listener);
    const QString file = write("trace", header + eventLine("0", "m4", "Error", "i", "[1]"));
    Ctl ctl(replay(file));
    QCOMPARE(ctl.exitCode(), 1);
    QVERIFY2(
        ctl.err().contains(" is not a simulated daemon: a trace is not replayed on a real printer; "
                           "nothing was sent"),
        ctl.err());
    QVERIFY2(ctl.err().contains(QByteArray(identities[server].busName).mid(10) + " ("), ctl.err());
    listener.sync();
    QCOMPARE(heard(listener), QByteArray());
    for (const WireMessage &call : daemons.takeCalls()) {
        QCOMPARE(call.member, QByteArray("names"));
    }
}

// The bus denies calls of the simulator's interface, as on a printer.
void tst_CtlTrace::refusesABusWithRules()
{
    BusProcess bus("<deny send_destination='org.hnipc.m4' "
                   "send_interface='org.hnipc.Simulator'/>");
    WirePeer m4(bus);
    QVERIFY(m4.own("org.hnipc.m4"));
    m4.answerAll("(@as [],)");
    const QString file = write("trace", header + eventLine("0", "m4", "Error", "i", "[1]"));
    Ctl ctl(replay(file) << QStringLiteral("--address") << bus.address());
    QCOMPARE(ctl.exitCode(), 1);
    QVERIFY2(
        ctl.err().contains(" is not a simulated daemon: a trace is not replayed on a real printer; "
                           "nothing was sent"),
        ctl.err());
    QVERIFY(m4.calls().isEmpty());
}

// A reply alone does not make a simulated daemon.
void tst_CtlTrace::refusesADaemonThatRepliesToAll()
{
    WirePeer m4;
    QVERIFY(m4.own("org.hnipc.m4"));
    WirePeer listener;
    listen(&listener);
    const QString file = write("trace", header + eventLine("0", "m4", "Error", "i", "[1]"));
    for (const char *reply : { "()", "('names',)", "(true,)" }) {
        m4.answerAll(reply);
        Ctl ctl(replay(file));
        QCOMPARE(ctl.exitCode(), 1);
        QVERIFY2(ctl.err().contains(
                     " is not a simulated daemon: a trace is not replayed on a real printer; "
                     "nothing was sent"),
                 ctl.err());
    }
    for (const WireMessage &call : m4.calls()) {
        QCOMPARE(call.member, QByteArray("names"));
    }
    listener.sync();
    QCOMPARE(heard(listener), QByteArray());
}

// A real daemon that appears during the replay stops it. Another simulated daemon does not.
void tst_CtlTrace::stopsForARealDaemon()
{
    for (const bool json : { false, true }) {
        Desk desk({ QStringLiteral("m4") });
        Ctl player(QStringList { QStringLiteral("replay"), longTrace() }
                   << (json ? QStringList(QStringLiteral("--json")) : QStringList()));
        QVERIFY(desk.hears("M4_Error", "(1,)"));
        desk.start(QStringLiteral("supplyd"));
        FakeDaemons daemons(false);
        QVERIFY(player.isRunning());
        daemons.start(IOEXPD);
        QCOMPARE(player.exitCode(), 1);
        const QByteArray error = "ioexpd (" + daemons[IOEXPD].uniqueName()
            + ") is not a simulated daemon: a trace is not replayed on a real printer; "
              "stopped after 1 signal";
        QVERIFY2(player.err().endsWith("hnipcctl: " + error + '\n'), player.err());
        QCOMPARE(player.out(), json ? "{\"error\":\"" + error + "\",\"exit\":1}\n" : QByteArray());
    }
}

// A halted simulator does not count as a real daemon either.
void tst_CtlTrace::haltedSimulator()
{
    Desk desk({ QStringLiteral("m4") });
    SimulatedDaemon &daemon = desk.daemon(QStringLiteral("m4"));
    QVERIFY(daemon.halt());
    const QString file = write("trace", header + eventLine("0", "m4", "Error", "i", "[1]"));
    // The time is also that for the bus, which needs more on a busy machine.
    Ctl ctl(replay(file) << QStringLiteral("--timeout") << QStringLiteral("3000"));
    const int exitCode = ctl.exitCode();
    daemon.send(SIGCONT);
    QCOMPARE(exitCode, 6);
    QVERIFY2(ctl.err().startsWith("hnipcctl: cannot find out whether m4 is a simulated daemon: "),
             ctl.err());
    QVERIFY2(ctl.err().endsWith(" did not reply within 3000 ms; nothing was sent\n"), ctl.err());
}

void tst_CtlTrace::statusDistinguishesThem()
{
    Desk desk({ QStringLiteral("ioexpd") });
    FakeDaemons daemons(false);
    WirePeer listener;
    listen(&listener);
    const Ctl player({ QStringLiteral("replay"), longTrace() });
    QVERIFY(waitUntil([&]() { return !heard(listener).isEmpty(); }));
    // A real daemon would end the replay, so its row is tested separately below.
    const QList<QByteArray> rows = Ctl({ QStringLiteral("status") }).out().split('\n');
    QVERIFY2(rows.at(0).startsWith("ioexpd   present, :") && rows.at(0).endsWith(", simulated"),
             rows.at(0));
    QVERIFY2(rows.at(1).startsWith("m4       present, :")
                 && rows.at(1).endsWith(", stand-in of replay"),
             rows.at(1));
    const auto daemon = [](int number) {
        return QJsonDocument::fromJson(
                   Ctl({ QStringLiteral("--json"), QStringLiteral("status") }).out())
            .object()
            .value(QLatin1String("daemons"))
            .toArray()
            .at(number)
            .toObject();
    };
    QCOMPARE(daemon(0).value(QLatin1String("simulated")), QJsonValue(true));
    QVERIFY(!daemon(0).contains(QLatin1String("standIn")));
    QCOMPARE(daemon(1).value(QLatin1String("standIn")), QJsonValue(true));
    QVERIFY(!daemon(1).contains(QLatin1String("simulated")));

    daemons.start(SUPPLYD);
    QVERIFY(!daemon(2).contains(QLatin1String("simulated")));
    QVERIFY(!daemon(2).contains(QLatin1String("standIn")));
    QVERIFY(daemon(2).contains(QLatin1String("owner")));
}

void tst_CtlTrace::throughAPipe()
{
    Desk desk({ QStringLiteral("m4") });
    QScopedPointer<Ctl> pipe(Ctl::inShell(
        QStringLiteral("set -o pipefail; hnipcctl record --count 1 - | hnipcctl replay -")));
    QVERIFY(pipe->complains("recording"));
    QCOMPARE(desk.act("m4", "emit", "('Error', [<7>])"), QByteArray("()"));
    QCOMPARE(pipe->exitCode(), 0);
    QVERIFY(desk.hears("M4_Error", "(7,)", 2));

    QScopedPointer<Ctl> wrong(Ctl::inShell(QStringLiteral("echo nonsense | hnipcctl replay -")));
    QCOMPARE(wrong->exitCode(), 8);
    QVERIFY2(wrong->err().startsWith("hnipcctl: -:1: expected "), wrong->err());
    QScopedPointer<Ctl> closed(Ctl::inShell(QStringLiteral("hnipcctl replay - <&-")));
    QCOMPARE(closed->exitCode(), 8);
}

// If the bus refuses one of the names, the player plays no daemon at all.
void tst_CtlTrace::refusedName()
{
    BusProcess bus("<deny own='org.hnipc.supplyd'/>");
    WirePeer peer(bus);
    listen(&peer);

    const QString file = write("trace",
                               header + eventLine("0", "m4", "Error", "i", "[1]")
                                   + eventLine("0", "supplyd", "SupplyPercentChanged", "d", "[1]"));
    Ctl ctl(replay(file) << QStringLiteral("--address") << bus.address());
    QCOMPARE(ctl.exitCode(), 3);
    QCOMPARE(ctl.err(),
             QByteArray("hnipcctl: the bus does not allow this user to own the name "
                        "org.hnipc.supplyd; nothing was sent\n"));
    // A fence, too: earlier signals arrive before the reply. dbus-broker may notice later that the
    // player has ended.
    QVERIFY(waitUntil([&peer]() { return peer.own("org.hnipc.m4"); }));
    QCOMPARE(heard(peer), QByteArray());
}

void tst_CtlTrace::simulatorRefuses()
{
    WirePeer simulator;
    QVERIFY(simulator.own("org.hnipc.m4"));
    simulator.answer("names", "(@as [],)");
    simulator.answerError("emit", "org.hnipc.Simulator.Error", "not today");
    const QString file = write("trace", header + eventLine("0", "m4", "Error", "i", "[1]"));
    Ctl ctl(replay(file));
    QCOMPARE(ctl.exitCode(), 5);
    QVERIFY2(ctl.err().contains(
                 "line 2: m4 replied with the error org.hnipc.Simulator.Error: not today\n"),
             ctl.err());
}

// A signal that no client accepts is recorded, but not played.
void tst_CtlTrace::recordsOtherForms()
{
    const QString file = path("trace");
    QVERIFY(hasRecorded(file, { { M4, "M4_Error", "('text', <uint64 5>)" } }));
    QCOMPARE(trace(content(file)),
             trace(header + eventLine("0", "m4", "Error", "sv", "[\"text\",\"5\"]")));
    Ctl player(replay(file));
    QCOMPARE(player.exitCode(), 8);
    QCOMPARE(player.err(),
             "hnipcctl: " + file.toUtf8()
                 + ":2: expected \"signature\" of Error to be \"i\", not \"sv\"\n");
}

void tst_CtlTrace::refusesTraces_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("message");

    const auto row = [](const char *name, const QByteArray &text, const char *message) {
        QTest::newRow(name) << text << QByteArray(message);
    };
    row("empty", "", ": expected the header of a trace, the file is empty\n");
    row("no JSON", "hello\n", ":1: expected a JSON object in a line");
    row("no header", eventLine("0", "m4", "Error", "i", "[1]"),
        ":1: expected the header of a trace, \"format\": \"hnipc-trace\", not nothing");
    row("other format", "{\"format\":\"x\",\"version\":1}\n",
        ":1: expected the header of a trace, \"format\": \"hnipc-trace\", not \"x\"");
    row("other version", "{\"format\":\"hnipc-trace\",\"version\":2}\n",
        ":1: expected \"version\": 1, not 2");

    // The wrong line follows a good one, which is not sent either.
    const QByteArray start = header + eventLine("5", "m4", "Error", "i", "[1]");
    const auto third = [&](const char *name, const QByteArray &line, const char *message) {
        QTest::newRow(name) << start + line << ":3: expected " + QByteArray(message);
    };
    third("cut off", eventLine("6", "m4", "Error", "i", "[1]").left(40),
          "a JSON object in a line: ");
    third("list", "[1]\n", "a JSON object in a line: it is a list");
    third("blank", "\n", "a JSON object in a line: ");
    third("keys", "{\"at\":6}\n", "these keys: arguments, at, daemon, signal, signature; not: at");
    third("backwards", eventLine("4.5", "m4", "Error", "i", "[1]"),
          "\"at\" from 5, the time of the signal before, not 4.5");
    third("negative time", eventLine("-1", "m4", "Error", "i", "[1]"),
          "\"at\" in seconds from 0, not -1");
    third("no time", eventLine("\"6\"", "m4", "Error", "i", "[1]"),
          "\"at\" in seconds from 0, not \"6\"");
    third("endless time", eventLine("1e300", "m4", "Error", "i", "[1]"),
          "\"at\" in seconds from 0");
    third("daemon", eventLine("6", "m5", "Error", "i", "[1]"),
          "\"daemon\" to be one of ioexpd, m4, supplyd, not \"m5\"");
    third("signal", eventLine("6", "m4", "Eror", "i", "[1]"),
          "a signal of m4, not \"Eror\"; did you mean Error?");
    third("signal of another daemon", eventLine("6", "ioexpd", "Error", "i", "[1]"),
          "a signal of ioexpd, not \"Error\"");
    third("no daemon's signal", eventLine("6", "supplyd", "StatusChanged", "is", "[1,\"\"]"),
          "a signal of supplyd, not \"StatusChanged\"");
    third("signature", eventLine("6", "m4", "Error", "u", "[1]"),
          "\"signature\" of Error to be \"i\", not \"u\"");
    third("too few", eventLine("6", "m4", "M4TphTherm", "ii", "[1]"),
          "\"arguments\" to be a list of 2, not [1]");
    third("too many", eventLine("6", "ioexpd", "HelpButton", "", "[1]"),
          "\"arguments\" to be a list of 0, not [1]");
    third("no list", eventLine("6", "m4", "Error", "i", "1"),
          "\"arguments\" to be a list of 1, not 1");

    // clang-format off
    const struct { const char *signal; const char *type; const char *value; } wrong[] = {
        { "M4PrinterLid", "b", "1" },
        { "Error", "i", "2147483648" }, { "Error", "i", "-2147483649" }, { "Error", "i", "1.5" },
        { "Error", "i", "\"1\"" }, { "Error", "i", "null" }, { "Error", "i", "true" },
        { "M4Dac0", "u", "-1" }, { "M4Dac0", "u", "4294967296" },
        { "M4RibbonVerify1", "t", "5" }, { "M4RibbonVerify1", "t", "\"-5\"" },
        { "M4RibbonVerify1", "t", "\"18446744073709551616\"" },
        { "M4Version", "s", "5" }, { "M4Version", "s", "\"a\\u0000b\"" },
        { "M4Version", "s", "\"\\ud800\"" },
        { "M4RibbonIDs", "as", "\"R1\"" }, { "M4RibbonIDs", "as", "[\"R1\",2]" },
    };
    // clang-format on
    for (const auto &value : wrong) {
        const QByteArray name = QByteArray(value.signal) + ' ' + value.value;
        const QByteArray arguments = QByteArray("[") + value.value + ']';
        third(name.constData(),
              eventLine("6", "m4", value.signal, value.type, arguments.constData()),
              ("argument 1 (value) of " + QByteArray(value.signal) + " to be of type \""
               + value.type + "\", not ")
                  .constData());
    }
    third("real", eventLine("6", "supplyd", "SupplyPercentChanged", "d", "[\"half\"]"),
          "argument 1 (percentage) of SupplyPercentChanged to be of type \"d\", not \"half\"");
    third("second argument", eventLine("6", "m4", "M4TphTherm", "ii", "[1,[]]"),
          "argument 2 (value) of M4TphTherm to be of type \"i\", not []");
}

void tst_CtlTrace::refusesTraces()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, message);

    WirePeer listener;
    listen(&listener);
    const QString file = write("trace %2", text);
    Ctl ctl(replay(file));
    QCOMPARE(ctl.exitCode(), 8);
    QVERIFY2(ctl.err().startsWith("hnipcctl: " + file.toUtf8() + message), ctl.err());
    QCOMPARE(ctl.err().count('\n'), 1);
    listener.sync();
    QCOMPARE(heard(listener), QByteArray());
}

void tst_CtlTrace::wrongUsage_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<int>("exitCode");

    const auto row = [](const char *command, const char *message, int exitCode = 2) {
        QTest::newRow(command) << QByteArray(command) << QByteArray(message) << exitCode;
    };
    row("record", "usage: hnipcctl record [--count N] [--force] FILE");
    row("record /nonexistent/a --count 0", "--count: \"0\" is not a number from 1 to 2147483647");
    row("record /nonexistent/a --count x", "--count: \"x\" is not a number from 1 to 2147483647");
    row("record /nonexistent/a", "/nonexistent/a: ", 1);
    row("replay", "usage: hnipcctl replay [--speed N] FILE");
    row("replay /nonexistent/a", "/nonexistent/a: No such file or directory", 1);
    row("replay /tmp", "/tmp: ", 1);
    row("replay /proc/self/mem", "/proc/self/mem: ", 1); // can be opened, but not read
    for (const char *speed : { "0", "-1", "fast", "inf", "nan", "1x" }) {
        row((QByteArray("replay /nonexistent/a --speed ") + speed).constData(),
            (QByteArray("--speed: \"") + speed + "\" is neither a number above 0 nor max")
                .constData());
    }
}

void tst_CtlTrace::wrongUsage()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, message);
    QFETCH(int, exitCode);

    Ctl ctl(QString::fromLatin1(command).split(QLatin1Char(' ')));
    QCOMPARE(ctl.exitCode(), exitCode);
    QCOMPARE(ctl.out(), QByteArray());
    QVERIFY2(ctl.err().startsWith("hnipcctl: " + message), ctl.err());
}

void tst_CtlTrace::keepsFiles()
{
    FakeDaemons daemons;
    const QString file = write("trace", "precious\n");
    Ctl ctl(record(file, 1));
    QCOMPARE(ctl.exitCode(), 1);
    QCOMPARE(ctl.err(), "hnipcctl: " + file.toUtf8() + " exists already; --force overwrites it\n");
    QCOMPARE(content(file), QByteArray("precious\n"));

    Ctl forced(QStringList(record(file, 1)) << QStringLiteral("--force"));
    QVERIFY(forced.complains("recording"));
    QVERIFY(daemons.emitSignal(M4, "M4_Error", "(1,)"));
    QCOMPARE(forced.exitCode(), 0);
    QCOMPARE(trace(content(file)), trace(header + eventLine("0", "m4", "Error", "i", "[1]")));
}

void tst_CtlTrace::recordEnds_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("Ctrl-C") << int(SIGINT) << 130;
    QTest::newRow("terminated") << int(SIGTERM) << 143;
    QTest::newRow("killed") << int(SIGKILL) << -1;
}

// The recording ends while many signals arrive.
void tst_CtlTrace::recordEnds()
{
    QFETCH(int, signal);
    QFETCH(int, exitCode);

    FakeDaemons daemons;
    const QString file = path("trace");
    Ctl ctl({ QStringLiteral("record"), file });
    QVERIFY(ctl.complains("recording"));
    for (int i = 0; i < 2000; ++i) {
        QVERIFY(daemons.emitSignal(M4, "M4_Error", '(' + QByteArray::number(i) + ",)"));
        if (i == 1000) {
            // All signals that have arrived are already in the file.
            QVERIFY(waitUntil([&]() { return content(file).count('\n') == i + 2; }));
            ctl.send(signal);
        }
    }
    QCOMPARE(ctl.exitCode(), exitCode);
    const QList<QJsonObject> events = trace(content(file));
    QVERIFY(events.size() > 1000);
    for (int i = 1; i < events.size(); ++i) {
        QCOMPARE(events.at(i).value(QLatin1String("arguments")).toArray().at(0).toInt(), i - 1);
    }
}

void tst_CtlTrace::fullDevice()
{
    Ctl ctl({ QStringLiteral("record"), QStringLiteral("/dev/full"), QStringLiteral("--force") });
    QCOMPARE(ctl.exitCode(), 1);
    QVERIFY2(ctl.err().startsWith("hnipcctl: /dev/full: "), ctl.err());
}

void tst_CtlTrace::closedPipe()
{
    FakeDaemons daemons;
    QScopedPointer<Ctl> ctl(
        Ctl::inShell(QStringLiteral("set -o pipefail; hnipcctl record - | head -n 1")));
    QVERIFY(ctl->prints("hnipc-trace"));
    QVERIFY(waitUntil(
        [&]() { return daemons.emitSignal(M4, "M4_Error", "(1,)") && !ctl->isRunning(); }));
    QCOMPARE(ctl->exitCode(), 0);
    QVERIFY2(!ctl->err().contains("write"), ctl->err());
}

HNIPC_TEST_MAIN(tst_CtlTrace)
#include "tst_ctl_trace.moc"
