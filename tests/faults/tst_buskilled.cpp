// SPDX-License-Identifier: MIT
#include "chance.h"
#include "expected/clientslots.h"
#include "expected/samples.h"
#include "support/memory.h"
#include "support/privatebus.h"
#include "support/program.h"
#include "support/wirepeer.h"

#include <hnipc/ihnipcioexpd.h>

#include <QtCore/QSocketNotifier>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusMessage>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <cstdarg>
#include <ctime>
#include <memory>

using namespace Expected;

static const int pulsesAlone = 20000;

// The bus is killed while clients and daemons run in processes of their own. Another bus takes its
// address.
class tst_BusKilled : public QObject
{
    Q_OBJECT

private slots:
    void clientAndDaemonOutliveTheirBus();
    void blockedCallReturns();
    void onlyNewProcessesFindANewBus();

private:
    static PrivateBus *s_bus;
    friend int main(int, char **);
};

PrivateBus *tst_BusKilled::s_bus = nullptr;

namespace {

void say(const char *format, ...) __attribute__((format(printf, 1, 2)));

void say(const char *format, ...)
{
    va_list values;
    va_start(values, format);
    vprintf(format, values);
    va_end(values);
    printf("\n");
    fflush(stdout);
}

// Waits until the test has written a line.
void waitForWord()
{
    QEventLoop loop;
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, SIGNAL(activated(int)), &loop, SLOT(quit()));
    loop.exec();
    char line[80];
    if (!fgets(line, sizeof line, stdin)) {
        exit(1);
    }
}

bool hasBus() { return QDBusConnection::systemBus().isConnected(); }

// The processor time that the idle process uses, in thousandths of one processor.
int idleLoad()
{
    const int window = 500;
    const std::clock_t before = std::clock();
    QEventLoop loop;
    QTimer::singleShot(window, &loop, SLOT(quit()));
    loop.exec();
    return int((std::clock() - before) / (CLOCKS_PER_SEC / 1000) * 1000 / window);
}

// The number of the client's methods that return the value of a failed call.
int countFailures(HNIPC &client)
{
    int failures = 0;
    for (int row = 0; row < clientSlotCount; ++row) {
        const ClientSlot &slot = clientSlots[row];
        const QVariant result = slot.call.invoke(client,
                                                 values(argumentSamples(slot.signature, 1)));
        const QVariant empty = slot.result[0] ? samplesOf(slot.result).first().value : QVariant();
        failures += sameOnFailure(result, empty);
    }
    return failures;
}

int runClient(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    HNIPC client;
    QSignalSpy heard(&client, SIGNAL(PrintButton()));
    // Until the event loop first turns, Qt queues incoming messages, and a call that waits when the
    // bus is killed waits forever.
    QTimer::singleShot(0, &application, SLOT(quit()));
    application.exec();
    if (argc > 2) { // under load
        say("began");
        while (hasBus()) {
            client.printerSoftCancel();
            client.getError();
            QCoreApplication::processEvents();
        }
    } else {
        say("began %d", client.getAlert());
        waitUntil([]() { return !hasBus(); });
    }
    say("alone");

    QElapsedTimer elapsed;
    elapsed.start();
    const int failures = countFailures(client);
    say("failures %d", failures);
    say("elapsed %lld", elapsed.elapsed());
    HNIPC late;
    say("failures-of-another %d", countFailures(late));
    say("load %d", idleLoad());

    waitForWord();
    QSignalSpy heardLate(&late, SIGNAL(PrintButton()));
    say("failures-later %d", countFailures(client) + countFailures(late));
    heard.clear();
    heardLate.clear();
    waitForWord();
    QCoreApplication::processEvents();
    say("heard %d", int(heard.size() + heardLate.size()));
    return 0;
}

class Buttons : public IHNIPCIOEXPD
{
public:
    void enableAudioAmp(bool) override {}
    void enableBacklight(bool) override {}
    void printerSoftCancel() override { pulseCancelButtonSignal(); }
};

int pulseAndIdle(Buttons &daemon)
{
    // Qt passes messages to another thread, in a list that grows with the backlog and never shrinks.
    // When the call, which fails, returns, there is no backlog.
    const QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String("org.freedesktop.DBus"), QLatin1String("/"),
        QLatin1String("org.freedesktop.DBus"), QLatin1String("GetId"));
    for (int i = 0; i < pulsesAlone; ++i) {
        daemon.pulsePrintButtonSignal();
        if (i % 100 == 0) {
            QDBusConnection::systemBus().call(call);
        }
    }
    return idleLoad();
}

int runDaemon(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    Buttons daemon;
    say("sent %d", daemon.pulsePrintButtonSignal());
    waitUntil([]() { return !hasBus(); });
    // Qt accepts the signal that is sent now, but no process receives it.
    say("sent-alone %d", daemon.pulsePrintButtonSignal());
    say("load %d", pulseAndIdle(daemon));
    const long before = heapInUse();
    pulseAndIdle(daemon);
    if (isHeapCounted()) {
        say("growth %ld", heapInUse() - before);
    } else {
        say("growth unknown");
    }
    Buttons late;
    late.pulsePrintButtonSignal();
    waitForWord();
    say("registered %d",
        daemon.registerDbusService(QLatin1String("org.hnipc.ioexpd"))
            + late.registerDbusService(QLatin1String("org.hnipc.ioexpd")));
    return 0;
}

bool nameHasOwner(const char *name)
{
    WirePeer peer;
    return peer.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "NameHasOwner",
                     QByteArray("('") + name + "',)")
               .body
        == "(true,)";
}

// True if the process has printed the word and a number after it below the limit.
bool isBelow(Program &program, const QByteArray &word, int limit)
{
    const QByteArray text = program.wordAfter(word);
    bool isNumber = false;
    const qlonglong number = text.toLongLong(&isNumber);
    if (!isNumber || number >= limit) {
        qWarning("%s: \"%s\" is not a number below %d", word.constData(), text.constData(), limit);
        return false;
    }
    return true;
}

// True if the daemon's pulses left less memory behind than the smallest message. With a sanitizer or
// in valgrind, which look for leaks, the heap may not be counted.
bool keepsItsSize(Program &daemon)
{
    return (!isHeapCounted() && daemon.wordAfter("growth") == "unknown")
        || isBelow(daemon, "growth", 10 * pulsesAlone);
}

const QByteArray all = QByteArray::number(clientSlotCount);
const QByteArray twice = QByteArray::number(2 * clientSlotCount);

} // namespace

void tst_BusKilled::clientAndDaemonOutliveTheirBus()
{
    const int kills = timesFromEnvironment("HNIPC_BUS_KILLS", 4);
    Chance chance;
    for (int i = 0; i < kills; ++i) {
        const std::unique_ptr<Program> daemon(Program::part("daemon"));
        QCOMPARE(daemon->wordAfter("sent"), QByteArray("1"));
        const std::unique_ptr<Program> client(Program::part("client", { "loaded" }));
        QVERIFY(waitUntil([&]() { return client->hasSaid("began"); }));

        QTest::qSleep(1 + chance.below(20));
        s_bus->kill();
        QCOMPARE(client->wordAfter("failures"), all);
        QCOMPARE(client->wordAfter("failures-of-another"), all);
        QCOMPARE(daemon->wordAfter("sent-alone"), QByteArray("1"));
        QVERIFY(keepsItsSize(*daemon));
        // A process in a busy loop uses a whole processor, or all that other processes leave of it.
        QVERIFY(isBelow(*client, "load", 100));
        QVERIFY(isBelow(*daemon, "load", 100));
        printf("%d calls without a bus took %s ms; load %s and %s thousandths; growth %s\n",
               clientSlotCount, client->wordAfter("elapsed").constData(),
               client->wordAfter("load").constData(), daemon->wordAfter("load").constData(),
               daemon->wordAfter("growth").constData());

        client->tell("go on");
        client->tell("go on");
        daemon->tell("go on");
        QCOMPARE(client->ending(), QByteArray());
        QCOMPARE(daemon->ending(), QByteArray());
        s_bus->start();
    }
}

void tst_BusKilled::blockedCallReturns()
{
    std::unique_ptr<WirePeer> silent(new WirePeer);
    silent->ignore("getAlert");
    QVERIFY(silent->own("org.hnipc.m4"));
    const std::unique_ptr<Program> client(Program::part("client"));
    QVERIFY(waitUntil([&]() { return silent->calls().size() == 1; }));
    QVERIFY(!client->hasSaid("began 0"));
    s_bus->kill();
    QCOMPARE(client->wordAfter("began"), QByteArray("0"));
    QCOMPARE(client->wordAfter("failures"), all);
    client->tell("go on");
    client->tell("go on");
    QCOMPARE(client->ending(), QByteArray());
    s_bus->start();
}

void tst_BusKilled::onlyNewProcessesFindANewBus()
{
    const std::unique_ptr<Program> oldDaemon(Program::part("daemon"));
    QCOMPARE(oldDaemon->wordAfter("sent"), QByteArray("1"));
    const std::unique_ptr<Program> oldClient(Program::part("client"));
    QCOMPARE(oldClient->wordAfter("began"), QByteArray("0"));
    QVERIFY(nameHasOwner("org.hnipc.ioexpd"));

    s_bus->kill();
    QVERIFY(waitUntil([&]() { return oldClient->hasSaid("alone"); }));
    QVERIFY(keepsItsSize(*oldDaemon));
    s_bus->start();

    // The old daemon does not connect to the new bus, and cannot be made to.
    oldDaemon->tell("there is a bus");
    QCOMPARE(oldDaemon->wordAfter("registered"), QByteArray("0"));
    QVERIFY(!nameHasOwner("org.hnipc.ioexpd"));
    QCOMPARE(oldDaemon->ending(), QByteArray());

    // Neither does the old client, although daemons reply and send signals on that bus.
    const std::unique_ptr<Program> m4(Program::daemon("m4"));
    const std::unique_ptr<Program> supplyd(Program::daemon("supplyd"));
    const std::unique_ptr<Program> ioexpd(Program::daemon("ioexpd"));
    oldClient->tell("there is a bus");
    QCOMPARE(oldClient->wordAfter("failures-later"), twice);
    WirePeer peer;
    QVERIFY(peer.listen("type='signal',member='IOEXPD_PrintButton'"));
    QCOMPARE(
        peer.call("org.hnipc.ioexpd", "/", "local.IHNIPCIOEXPD", "pulsePrintButtonSignal").body,
        QByteArray("(true,)"));
    QVERIFY(waitUntil([&]() { return peer.heard("IOEXPD_PrintButton") == 1; }));
    oldClient->tell("a button was pressed");
    QCOMPARE(oldClient->wordAfter("heard"), QByteArray("0"));
    QCOMPARE(oldClient->ending(), QByteArray());

    // New processes do connect.
    peer.call("org.hnipc.m4", "/", "local.IHNIPCM4", "emitAlert", "(8,)");
    const std::unique_ptr<Program> newClient(Program::part("client"));
    QCOMPARE(newClient->wordAfter("began"), QByteArray("8"));
}

int main(int argc, char **argv)
{
    setvbuf(stdin, nullptr, _IONBF, 0); // so that its descriptor shows when a line arrives
    const QByteArray part = argc > 1 ? argv[1] : "";
    if (part == "client") {
        return runClient(argc, argv);
    }
    if (part == "daemon") {
        return runDaemon(argc, argv);
    }
    QCoreApplication application(argc, argv);
    PrivateBus bus;
    tst_BusKilled::s_bus = &bus;
    tst_BusKilled test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_buskilled.moc"
