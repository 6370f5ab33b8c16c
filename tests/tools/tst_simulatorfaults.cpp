// SPDX-License-Identifier: MIT
#include "desk.h"
#include "support/privatebus.h"

#include <hnipc/hnipc.h>

#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>
#include <QtDBus/QDBusError>
#include <QtDBus/QDBusMessage>
#include <QtDBus/QDBusPendingCall>
#include <QtTest/QTest>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>

// The effect on a client of each fault that can be set in a simulated daemon.
class tst_SimulatorFaults : public QObject
{
    Q_OBJECT

private slots:
    void delayedReplyDelaysNoOtherCall();
    void missingReplyDelaysNoOtherCall();
    void clientWaitsForAMissingReply();
    void errorIsTheOneThatWasSet();
    void answerHasAnotherType_data();
    void answerHasAnotherType();
    void answerOfACommandHasAnotherType();
    void daemonDiesInTheMiddleOfACall();
    void faultOfEveryMember();
    void faultOfOneMemberComesBeforeThatOfAll();
    void faultAppliesOnlyToCallsFromTheBus();
    void noneEndsAFault();
    void faultsAreListed();
    void floodArrivesCompleteAndInOrder();
    void callsAreServedDuringAFlood();
    void resetEndsAFlood();
    void newFloodEndsTheEarlierOne();
    void malformedRecord_data();
    void malformedRecord();
    void malformedRecordCanBeLate();
};

static QDBusPendingCall callLater(const char *member, int timeout = -1)
{
    return QDBusConnection::systemBus().asyncCall(
        QDBusMessage::createMethodCall("org.hnipc.m4", "/", "local.IHNIPCM4", member), timeout);
}

void tst_SimulatorFaults::delayedReplyDelaysNoOtherCall()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.act("m4", "fault", "('setDac', 'delay', <uint32 100>)"), QByteArray("()"));
    HNIPC printer;
    QVERIFY(printer.setDac(5));
    QCOMPARE(printer.dac0(), 5u);

    desk.act("m4", "fault", "('getError', 'delay', <3000>)");
    desk.act("m4", "set", "('error', <7>)");
    const QDBusPendingCall late = callLater("getError");
    // The bus has received the call when it replies to a later one.
    QVERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered("org.hnipc.m4"));
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(0,)"));
    desk.act("m4", "set", "('error', <8>)");
    QVERIFY(!late.isFinished());
    QVERIFY(waitUntil([&late]() { return late.isFinished(); }));
    // The value at the time when the daemon carried out the call.
    QCOMPARE(late.reply().arguments(), QVariantList { 7 });
}

void tst_SimulatorFaults::missingReplyDelaysNoOtherCall()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('emitError', 'never', <''>)");
    QDBusMessage call = QDBusMessage::createMethodCall("org.hnipc.m4", "/", "local.IHNIPCM4",
                                                       "emitError");
    call << 5;
    const QDBusPendingCall pending = QDBusConnection::systemBus().asyncCall(call, 500);
    QCOMPARE(desk.ask("m4", "getAlert"), QByteArray("(0,)"));
    QVERIFY(waitUntil([&pending]() { return pending.isFinished(); }));
    QCOMPARE(pending.error().type(), QDBusError::NoReply);
    QCOMPARE(desk.ask("m4", "getError"), QByteArray("(0,)"));
}

// The wait ends only when the daemon is killed, while the client blocks in its call.
void tst_SimulatorFaults::clientWaitsForAMissingReply()
{
    Desk desk({ "m4" });
    desk.act("m4", "set", "('dac0', <uint32 7>)");
    HNIPC printer;
    QCOMPARE(printer.dac0(), 7u);
    desk.act("m4", "fault", "('dac0', 'never', <''>)");

    WireMonitor monitor;
    const pid_t process = desk.daemon("m4").id();
    std::atomic<bool> killed(false);
    std::thread killer([&monitor, &killed, process]() {
        waitUntil([&monitor]() {
            const QList<WireMessage> messages = monitor.take();
            return std::any_of(messages.begin(), messages.end(), [](const WireMessage &message) {
                return message.type == WireMessage::MethodCall && message.member == "dac0";
            });
        });
        killed = true;
        kill(process, SIGKILL);
    });
    const quint32 value = printer.dac0();
    const bool waited = killed;
    killer.join();
    QVERIFY(waited);
    QCOMPARE(value, 0u);
}

void tst_SimulatorFaults::errorIsTheOneThatWasSet()
{
    Desk desk({ "m4" });
    HNIPC printer;
    desk.act("m4", "set", "('error', <5>)");
    QCOMPARE(printer.getError(), 5);
    for (const char *detail :
         { "<'org.example.Busy try later'>", "<['org.example.Busy', 'try later']>" }) {
        desk.act("m4", "fault", QByteArray("('getError', 'error', ") + detail + ')');
        const WireMessage answer = desk.call("m4", "getError");
        QCOMPARE(answer.type, WireMessage::Error);
        QCOMPARE(answer.errorName, QByteArray("org.example.Busy"));
        QCOMPARE(answer.body, QByteArray("('try later',)"));
        QCOMPARE(printer.getError(), 0);
    }
    // The daemon does not carry out the call.
    desk.act("m4", "fault", "('setDac', 'error', <'org.example.Busy'>)");
    QVERIFY(desk.act("m4", "faults").contains("'setDac error org.example.Busy"));
    QVERIFY(!printer.setDac(1));
    QCOMPARE(printer.dac0(), 2048u);
}

void tst_SimulatorFaults::answerHasAnotherType_data()
{
    QTest::addColumn<QByteArray>("daemon");
    QTest::addColumn<QByteArray>("rightBody");
    QTest::addColumn<QByteArray>("wrong");

    const struct
    {
        const char *member, *daemon, *body, *wrong;
    } rows[] = {
        { "getError", "m4", "()", "s" },
        { "m4Version", "m4", "()", "i" },
        { "printerLid", "m4", "()", "s" },
        { "ribbon1Verify", "m4", "()", "s" },
        { "supplySKUList", "supplyd", "()", "s" },
        { "supplyColorHash", "supplyd", "()", "s" },
        { "supplyBackgroundImage", "supplyd", "('LBL-100060-WH',)", "s" },
        { "supplyInformation", "supplyd", "('',)", "s" },
        { "enableBacklight", "ioexpd", "(true,)", "s" },
    };
    for (const auto &row : rows) {
        QTest::newRow(row.member) << QByteArray(row.daemon) << QByteArray(row.body)
                                  << QByteArray(row.wrong);
    }
}

void tst_SimulatorFaults::answerHasAnotherType()
{
    QFETCH(QByteArray, daemon);
    QFETCH(QByteArray, rightBody);
    QFETCH(QByteArray, wrong);
    const QByteArray member = QTest::currentDataTag();

    Desk desk({ daemon });
    QVERIFY(desk.call(daemon, member, rightBody).signature != wrong);
    desk.act(daemon, "fault", "('" + member + "', 'wrongtype', <''>)");
    const WireMessage answer = desk.call(daemon, member, rightBody);
    QCOMPARE(answer.type, WireMessage::MethodReturn);
    QCOMPARE(answer.signature, wrong);
}

void tst_SimulatorFaults::answerOfACommandHasAnotherType()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('setDac', 'wrongtype', <''>)");
    desk.act("m4", "fault", "('m4Version', 'wrongtype', <''>)");
    HNIPC printer;
    QVERIFY(!printer.setDac(9));
    QCOMPARE(printer.dac0(), 9u);
    QVERIFY(printer.m4Version().isNull());
}

void tst_SimulatorFaults::daemonDiesInTheMiddleOfACall()
{
    Desk desk({ "m4" });
    HNIPC printer;
    QVERIFY(printer.cutterHome());
    desk.act("m4", "fault", "('cutterHome', 'die', <''>)");
    const WireMessage answer = desk.call("m4", "cutterHome");
    QCOMPARE(answer.errorName, QByteArray("org.freedesktop.DBus.Error.NoReply"));
    QVERIFY(waitUntil([&desk]() { return desk.daemon("m4").hasEnded(); }));
    QCOMPARE(desk.daemon("m4").exitStatus(), QProcess::NormalExit);
    QCOMPARE(desk.daemon("m4").exitCode(), 1);
    QVERIFY(!printer.cutterHome());

    // The client receives the signals of the restarted daemon.
    desk.start("m4");
    QVERIFY(waitUntil([&printer]() { return printer.cutterHome(); }));

    // Its call returns the value on failure when the restarted daemon dies during the call.
    desk.act("m4", "fault", "('cutterHome', 'die', <''>)");
    QVERIFY(!printer.cutterHome());
    QVERIFY(waitUntil([&desk]() { return desk.daemon("m4").hasEnded(); }));
    QCOMPARE(desk.daemon("m4").exitCode(), 1);
}

void tst_SimulatorFaults::faultOfEveryMember()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('*', 'error', <'org.example.Error no'>)");
    const QByteArray error = "org.example.Error: ('no',)";
    QCOMPARE(desk.ask("m4", "getError"), error);
    QCOMPARE(desk.ask("m4", "setDac", "(uint32 1,)"), error);
    QCOMPARE(desk.ask("m4", "sendMCCMessage", "(1, 2, 'x')"), error);
    // The fault also applies to the library's own operations. The simulated printer stays
    // unchanged.
    QCOMPARE(desk.ask("m4", "pulseM4PrintDoneSignal"), error);
    QCOMPARE(desk.act("m4", "set", "('dac0', <uint32 4>)"), QByteArray("()"));
    QVERIFY(desk.hears("M4_M4Dac0", "(uint32 4,)"));
    QCOMPARE(desk.count("M4_M4PrintDone"), 0);
}

void tst_SimulatorFaults::faultOfOneMemberComesBeforeThatOfAll()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('*', 'error', <'org.example.All all'>)");
    desk.act("m4", "fault", "('dac0', 'error', <'org.example.One one'>)");
    QCOMPARE(desk.ask("m4", "dac0"), QByteArray("org.example.One: ('one',)"));
    QCOMPARE(desk.ask("m4", "gap"), QByteArray("org.example.All: ('all',)"));
}

// To emit a signal, an operation uses operations of its own, which no client has called.
void tst_SimulatorFaults::faultAppliesOnlyToCallsFromTheBus()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('*', 'delay', <1>)");
    QCOMPARE(desk.ask("m4", "setDac", "(uint32 6,)"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4Dac0", "(uint32 6,)"));
    QCOMPARE(desk.count("M4_M4Dac0"), 1);
    QCOMPARE(desk.ask("m4", "pulseM4PrintDoneSignal"), QByteArray("(true,)"));
    QVERIFY(desk.hears("M4_M4PrintDone"));
}

void tst_SimulatorFaults::noneEndsAFault()
{
    Desk desk({ "m4" });
    desk.act("m4", "fault", "('dac0', 'error', <'org.example.One one'>)");
    QCOMPARE(desk.act("m4", "fault", "('dac0', 'none', <''>)"), QByteArray("()"));
    QCOMPARE(desk.ask("m4", "dac0"), QByteArray("(uint32 2048,)"));
    QCOMPARE(desk.act("m4", "faults"), QByteArray("(@as [],)"));
}

void tst_SimulatorFaults::faultsAreListed()
{
    Desk desk({ "supplyd" });
    desk.act("supplyd", "fault", "('supplyId', 'delay', <20>)");
    desk.act("supplyd", "fault", "('*', 'wrongtype', <''>)");
    desk.act("supplyd", "malform", "('short',)");
    QCOMPARE(desk.act("supplyd", "faults"),
             QByteArray("(['* wrongtype', 'supplyId delay 20', 'malform short'],)"));
    QCOMPARE(desk.act("supplyd", "reset"), QByteArray("()"));
    QCOMPARE(desk.act("supplyd", "faults"), QByteArray("(@as [],)"));
    QCOMPARE(desk.call("supplyd", "supplyId").signature, QByteArray("s"));
    QCOMPARE(desk.call("supplyd", "supplyInformation", "('',)").signature,
             QByteArray("(sasdisdisisisdiayddiiiddddasavavavavav)"));
}

void tst_SimulatorFaults::floodArrivesCompleteAndInOrder()
{
    Desk desk({ "m4" });
    HNIPC printer;
    QList<int> received;
    connect(&printer, &HNIPC::M4Dac0, this,
            [&received](quint32 value) { received += static_cast<int>(value); });
    QCOMPARE(desk.act("m4", "flood", "('M4Dac0', uint32 20000)"), QByteArray("()"));
    QVERIFY(waitUntil([&received]() { return received.size() >= 20000; }));
    for (int i = 0; i < received.size(); ++i) {
        QCOMPARE(received.at(i), i);
    }
    QVERIFY(desk.hears("M4_M4Dac0", QByteArray(), 20000));
}

void tst_SimulatorFaults::callsAreServedDuringAFlood()
{
    const int count = 40000;
    Desk desk({ "m4" });
    WireMonitor monitor;
    QCOMPARE(desk.act("m4", "flood", "('M4PrintDone', uint32 40000)"), QByteArray("()"));
    // Halted early, so that most signals are still to be sent when the call arrives, but not before
    // there is a queue of signals that the bus has not read.
    QVERIFY(desk.hears("M4_M4PrintDone", "()", 2000));
    SimulatedDaemon &daemon = desk.daemon("m4");
    QVERIFY(daemon.halt());
    const QDBusPendingCall inTheMiddle = callLater("getError");
    // The bus has received the call, too.
    QVERIFY(QDBusConnection::systemBus().interface()->isServiceRegistered("org.hnipc.m4"));
    daemon.send(SIGCONT);
    QVERIFY(desk.hears("M4_M4PrintDone", "()", count));
    QVERIFY(waitUntil([&inTheMiddle]() { return inTheMiddle.isFinished(); }));

    int asked = -1;     // the number of signals before the call
    QList<int> answers; // and before each reply
    int flooded = 0;
    for (const WireMessage &message : monitor.take()) {
        if (message.type == WireMessage::Signal && message.member == "M4_M4PrintDone") {
            ++flooded;
        } else if (message.type == WireMessage::MethodCall && message.member == "getError") {
            asked = flooded;
        } else if (message.type == WireMessage::MethodReturn && message.body == "(0,)") {
            answers += flooded;
        }
    }
    QCOMPARE(flooded, count);
    QCOMPARE(int(answers.size()), 1);
    // The daemon sends 500 signals at a time. Signals that were sent before the call arrived
    // precede the reply.
    QVERIFY2(
        asked >= 0 && answers.first() - asked <= 3 * 500,
        qPrintable(QString("asked after %1, answered after %2").arg(asked).arg(answers.first())));
}

// Returns true if no further signal of a flood arrives: one would arrive between one of these calls
// and its signal.
static bool isEnded(Desk *desk, const QByteArray &flooded)
{
    int before = -1;
    for (int i = 1; i <= 50; ++i) {
        const QByteArray number = QByteArray::number(i);
        desk->act("m4", "emit", "('M4Gap', [<uint32 " + number + ">])");
        if (!desk->hears("M4_M4Gap", "(uint32 " + number + ",)")) {
            return false;
        }
        const int now = desk->count(flooded);
        if (before >= 0 && now != before) {
            return false;
        }
        before = now;
        desk->ask("m4", "getError");
    }
    return true;
}

void tst_SimulatorFaults::resetEndsAFlood()
{
    Desk desk({ "m4" });
    QCOMPARE(desk.act("m4", "flood", "('M4PrintDone', uint32 4000000000)"), QByteArray("()"));
    QVERIFY(desk.hears("M4_M4PrintDone", "()", 1000));
    QCOMPARE(desk.act("m4", "reset"), QByteArray("()"));
    QVERIFY(isEnded(&desk, "M4_M4PrintDone"));
}

void tst_SimulatorFaults::newFloodEndsTheEarlierOne()
{
    Desk desk({ "m4" });
    desk.act("m4", "flood", "('M4PrintDone', uint32 4000000000)");
    QVERIFY(desk.hears("M4_M4PrintDone", "()", 1000));
    // A flood that is refused does not end the current one.
    QVERIFY(desk.act("m4", "flood", "('M4', uint32 1)").startsWith("org.hnipc.Simulator.Error"));
    QVERIFY(desk.hears("M4_M4PrintDone", "()", desk.count("M4_M4PrintDone") + 1000));
    QCOMPARE(desk.act("m4", "flood", "('M4Dac0', uint32 1500)"), QByteArray("()"));
    QVERIFY(desk.hears("M4_M4Dac0", "(uint32 1499,)"));
    QCOMPARE(desk.count("M4_M4Dac0"), 1500);
    QVERIFY(isEnded(&desk, "M4_M4PrintDone"));
}

void tst_SimulatorFaults::malformedRecord_data()
{
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<int>("fields"); // how many of the first fields the client receives

    const QByteArray whole = "sasdisdisisisdiayddiiiddddasavavavavav";
    QTest::newRow("short") << QByteArray("(sasdis)") << 5;
    QTest::newRow("wrongtype") << QByteArray("(sasdssdisisisdiayddiiiddddasavavavavav)") << 3;
    QTest::newRow("dictionary") << QByteArray("a{sv}") << 0;
    QTest::newRow("plain") << QByteArray("s") << 0;
    QTest::newRow("empty") << QByteArray("") << 0;
    QTest::newRow("long") << '(' + whole + "si)" << 30;
    QTest::newRow("none") << '(' + whole + ')' << 30;
}

void tst_SimulatorFaults::malformedRecord()
{
    QFETCH(QByteArray, signature);
    QFETCH(int, fields);
    const QByteArray shape = QTest::currentDataTag();

    Desk desk({ "supplyd" });
    HNIPC printer;
    const SupplyInformation right = printer.supplyInformation();
    QCOMPARE(right.text1, QString("LBL-100060-WH"));

    QCOMPARE(desk.act("supplyd", "malform", "('" + shape + "',)"), QByteArray("()"));
    const WireMessage loaded = desk.call("supplyd", "supplyInformation", "('',)");
    QCOMPARE(loaded.type, WireMessage::MethodReturn);
    QCOMPARE(loaded.signature, signature);
    const WireMessage other = desk.call("supplyd", "supplyInformationBySKUs",
                                        "('TAP-050-YE', ['RIB-110-BK'], '')");
    QCOMPARE(other.signature, signature);

    const SupplyInformation record = printer.supplyInformation();
    const SupplyInformation none;
    QCOMPARE(record.text1, fields >= 1 ? right.text1 : none.text1);
    QCOMPARE(record.real1, fields >= 3 ? right.real1 : none.real1);
    QCOMPARE(record.integer1, fields >= 4 ? right.integer1 : none.integer1);
    QCOMPARE(record.text2, fields >= 5 ? right.text2 : none.text2);
    QCOMPARE(record.real2, fields >= 6 ? right.real2 : none.real2);
    QCOMPARE(record.variantList5, fields >= 30 ? right.variantList5 : none.variantList5);
}

void tst_SimulatorFaults::malformedRecordCanBeLate()
{
    Desk desk({ "supplyd" });
    desk.act("supplyd", "malform", "('plain',)");
    desk.act("supplyd", "fault", "('supplyInformation', 'delay', <50>)");
    QCOMPARE(desk.ask("supplyd", "supplyInformation", "('',)"), QByteArray("('LBL-100060-WH',)"));
}

HNIPC_TEST_MAIN(tst_SimulatorFaults)
#include "tst_simulatorfaults.moc"
