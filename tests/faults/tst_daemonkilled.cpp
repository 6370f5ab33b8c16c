// SPDX-License-Identifier: MIT
#include "chance.h"
#include "support/privatebus.h"
#include "support/program.h"
#include "support/wirepeer.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcavailability.h>

#include <QtCore/QSocketNotifier>

#include <algorithm>
#include <memory>
#include <set>
#include <vector>

// A daemon is killed at random moments, again and again, while four clients in processes of their
// own call it without pauses.
class tst_DaemonKilled : public QObject
{
    Q_OBJECT

private slots:
    void everyCallReturnsAndEveryRestartIsNoticedOnce();
};

namespace {

const int clientCount = 4;
const int idsOfAClient = 100 * 1000 * 1000;

void say(const char *what, int number)
{
    printf("%s %d\n", what, number);
    fflush(stdout);
}

// Receives a client's signals. Prints those that the test sends through a new daemon immediately.
class Ear : public QObject
{
    Q_OBJECT

public:
    std::vector<int> alerts;
    bool stop = false; // the test has asked it to stop
    bool stopped = false;

public Q_SLOTS:
    void hearPresence(bool present) { say("present", present); }

    void hearAlert(int code)
    {
        alerts.push_back(code);
        stopped = stop && code == 0;
        if (code < 0) {
            say("signal", -code);
        }
    }

    void hearInput()
    {
        stop = true;
        qobject_cast<QSocketNotifier *>(sender())->setEnabled(false);
    }
};

// A client under load. Each call of emitAlert() makes the daemon send an alert with that number to
// all clients. The client prints the first reply of each new daemon immediately. When the test asks
// it to stop, it prints the outcomes of its calls and the alerts that it received.
int runClient(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    int id = idsOfAClient * QByteArray(argv[2]).toInt();

    HNIPCAvailability availability;
    HNIPC client;
    std::vector<int> answered, failed;
    Ear ear;
    QObject::connect(&availability, SIGNAL(m4Changed(bool)), &ear, SLOT(hearPresence(bool)));
    QObject::connect(&client, SIGNAL(Alert(int)), &ear, SLOT(hearAlert(int)));
    QSocketNotifier input(0, QSocketNotifier::Read);
    QObject::connect(&input, SIGNAL(activated(int)), &ear, SLOT(hearInput()));
    QTimer heartbeat; // turns the event loop while no daemon is running
    heartbeat.start(1);

    int lastAnswer = 0;
    qint64 slowest = 0;
    say("began", id);
    while (!ear.stop) {
        QElapsedTimer elapsed;
        elapsed.start();
        const bool done = client.emitAlert(++id);
        (done ? answered : failed).push_back(id);
        const int answer = client.getError();
        slowest = std::max(slowest, elapsed.elapsed());
        if (answer != 0 && answer != lastAnswer) {
            say("answer", lastAnswer = answer);
        }
        QCoreApplication::processEvents(
            done ? QEventLoop::AllEvents : QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }

    say("stopped", 0);
    waitUntil([&ear]() { return ear.stopped; });
    for (int number : answered) {
        printf("done %d\n", number);
    }
    for (int number : failed) {
        printf("failed %d\n", number);
    }
    for (int number : ear.alerts) {
        printf("heard %d\n", number);
    }
    printf("slowest %lld\n", slowest);
    return 0;
}

typedef std::vector<int> Numbers;

Numbers numbersAfter(const QByteArray &word, Program &program)
{
    Numbers numbers;
    for (const QByteArray &line : program.lines()) {
        if (line.startsWith(word + ' ')) {
            numbers.push_back(line.mid(word.size() + 1).toInt());
        }
    }
    return numbers;
}

} // namespace

void tst_DaemonKilled::everyCallReturnsAndEveryRestartIsNoticedOnce()
{
    const int kills = timesFromEnvironment("HNIPC_KILLS", 50);
    Chance chance;
    WirePeer peer;
    QVERIFY(peer.listen("type='signal',member='M4_Alert'"));
    const auto tellDaemon = [&peer](const char *member, int number) {
        return peer
            .call("org.hnipc.m4", "/", "local.IHNIPCM4", member,
                  '(' + QByteArray::number(number) + ",)")
            .body;
    };

    std::vector<std::unique_ptr<Program>> clients;
    for (int i = 0; i < clientCount; ++i) {
        clients.emplace_back(Program::part("client", QStringList(QString::number(i + 1))));
    }
    const auto allSay = [&clients](const QByteArray &line) {
        return waitUntil([&]() {
            return std::all_of(
                clients.begin(), clients.end(),
                [&](const std::unique_ptr<Program> &client) { return client->hasSaid(line); });
        });
    };
    for (const auto &client : clients) {
        QVERIFY(client->wordAfter("began").toInt() > 0);
    }

    Numbers seen;
    for (int round = 1; round <= kills; ++round) {
        std::unique_ptr<Program> daemon;
        if (chance.oneIn(5)) {
            daemon.reset(Program::hastyDaemon("m4")); // may be killed before it owns its name
        } else {
            const QByteArray number = QByteArray::number(round);
            daemon.reset(Program::daemon("m4"));
            QCOMPARE(tellDaemon("emitError", round), QByteArray("(true,)"));
            QVERIFY(allSay("answer " + number));
            QCOMPARE(tellDaemon("emitAlert", -round), QByteArray("(true,)"));
            QVERIFY(allSay("signal " + number));
            seen.push_back(round);
        }
        QTest::qSleep(1 + chance.below(30));
        daemon->kill();
        daemon->waitForFinished();
    }

    const std::unique_ptr<Program> last(Program::daemon("m4"));
    for (const auto &client : clients) {
        client->tell("stop");
    }
    QVERIFY(allSay("stopped 0"));
    QCOMPARE(tellDaemon("emitAlert", 0), QByteArray("(true,)"));
    for (const auto &client : clients) {
        QCOMPARE(client->ending(), QByteArray());
    }

    // Each client notices each restart of the daemon once, by its replies and by its signals.
    for (const auto &client : clients) {
        QCOMPARE(numbersAfter("answer", *client), seen);
        QCOMPARE(numbersAfter("signal", *client), seen);
        const Numbers presence = numbersAfter("present", *client);
        for (size_t i = 0; i < presence.size(); ++i) {
            QCOMPARE(presence.at(i), i % 2 ? 0 : 1);
        }
        QVERIFY(presence.size() / 2 >= seen.size() && int(presence.size() / 2) <= kills);
    }

    // All clients received each alert that any daemon sent, once and in order. For each call that a
    // daemon confirmed to a client, it had sent the alert.
    Numbers said;
    const QList<WireMessage> alerts = peer.receivedSignals();
    for (const WireMessage &alert : alerts) {
        said.push_back(alert.body.mid(1, alert.body.size() - 3).toInt());
    }
    const std::set<int> all(said.begin(), said.end());
    QCOMPARE(all.size(), said.size());
    int calls = 0;
    int answers = 0;
    int slowest = 0;
    for (const auto &client : clients) {
        QCOMPARE(numbersAfter("heard", *client), said);
        const Numbers done = numbersAfter("done", *client);
        const std::set<int> own(done.begin(), done.end());
        QVERIFY(std::includes(all.begin(), all.end(), own.begin(), own.end()));

        calls += 2 * int(done.size() + numbersAfter("failed", *client).size());
        answers += int(done.size());
        slowest = std::max(slowest, numbersAfter("slowest", *client).at(0));
    }
    QVERIFY(answers >= int(seen.size()));
    printf("%d kills, %d calls, %d alerts; the slowest pair of calls took %d ms\n", kills, calls,
           int(said.size()), slowest);
}

int main(int argc, char **argv)
{
    if (argc > 1 && QByteArray(argv[1]) == "client") {
        return runClient(argc, argv);
    }
    PrivateBus bus;
    QCoreApplication application(argc, argv);
    tst_DaemonKilled test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_daemonkilled.moc"
