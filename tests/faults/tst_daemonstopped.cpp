// SPDX-License-Identifier: MIT
#include "chance.h"
#include "support/onbroker.h"
#include "support/privatebus.h"
#include "support/program.h"
#include "support/qtmajors.h"
#include "support/wirepeer.h"

#include <hnipc/hnipc.h>

#include <QtDBus/QDBusConnection>
#include <QtTest/QTest>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

// A daemon that is stopped by SIGSTOP keeps its name, and the bus reports nothing.
class tst_DaemonStopped : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void callGetsItsReplyWhenTheDaemonContinues();
    void nothingIsLostWhenStoppedUnderLoad();
    void otherDaemonsReplyMeanwhile();
    void callEndsAtTheTimeout();
    void clientThatStartsWaitsForTheTimeout();

private:
    std::unique_ptr<Program> m_m4;
    std::unique_ptr<WirePeer> m_peer;
};

namespace {

// A client on a thread of its own, which carries out one step after the other while the test
// watches.
class Client
{
public:
    Client() : m_asked(0), m_done(0), m_end(false), m_thread([this]() { run(); }) {}

    ~Client()
    {
        m_end = true;
        m_thread.join();
    }

    void does(const std::function<void(HNIPC &)> &work)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_work = work;
        ++m_asked;
    }

    bool isDone() const { return m_done == m_asked; }

    bool ends() const
    {
        return waitUntil([this]() { return isDone(); });
    }

    bool doesToTheEnd(const std::function<void(HNIPC &)> &work)
    {
        does(work);
        return ends();
    }

private:
    void run()
    {
        QEventLoop loop; // makes the thread process events
        HNIPC client;
        while (!m_end) {
            waitUntil([this]() { return m_end || !isDone(); });
            std::function<void(HNIPC &)> work;
            {
                const std::lock_guard<std::mutex> lock(m_mutex);
                work.swap(m_work);
            }
            if (work) {
                work(client);
                ++m_done;
            }
        }
    }

    std::mutex m_mutex;
    std::function<void(HNIPC &)> m_work;
    std::atomic<int> m_asked;
    std::atomic<int> m_done;
    std::atomic<bool> m_end;
    std::thread m_thread;
};

// Waits until a call of this method has crossed the bus.
bool waitForCall(WireMonitor &monitor, const QByteArray &member)
{
    return waitUntil([&]() {
        const QList<WireMessage> messages = monitor.take();
        return std::any_of(messages.begin(), messages.end(), [&](const WireMessage &message) {
            return message.type == WireMessage::MethodCall && message.member == member;
        });
    });
}

// The introspection of m4, the error of the bus for the missing reply, and the call of
// supplySKUList, in the order in which they cross the bus.
QList<QByteArray> steps(const QList<WireMessage> &messages)
{
    const QByteArray thisProcess = QDBusConnection::systemBus().baseService().toLatin1();
    QList<QByteArray> result;
    for (const WireMessage &message : messages) {
        if (message.destination == thisProcess
            && message.errorName == "org.freedesktop.DBus.Error.NoReply") {
            result.append("NoReply");
        } else if (message.sender == thisProcess && message.destination == "org.hnipc.m4") {
            result.append(message.member + " m4");
        } else if (message.sender == thisProcess && message.member == "supplySKUList") {
            result.append(message.member);
        }
    }
    return result;
}

bool hasLongTimeout() { return !qgetenv("HNIPC_LONG_TIMEOUT").isEmpty(); }

QByteArray argument(int number) { return '(' + QByteArray::number(number) + ",)"; }

} // namespace

void tst_DaemonStopped::init()
{
    m_m4.reset(Program::daemon("m4"));
    m_peer.reset(new WirePeer);
    QVERIFY(m_peer->listen("type='signal',member='M4_Error'"));
}

void tst_DaemonStopped::cleanup()
{
    m_m4.reset();
    m_peer.reset();
}

void tst_DaemonStopped::callGetsItsReplyWhenTheDaemonContinues()
{
    const int stops = timesFromEnvironment("HNIPC_STOPS", 20);
    WireMonitor monitor;
    Client client;
    for (int i = 1; i <= stops; ++i) {
        int before = -1;
        QVERIFY(client.doesToTheEnd([&](HNIPC &printer) { before = printer.getError(); }));
        QCOMPARE(before, i - 1);

        QVERIFY(m_m4->halt());
        bool answer = false;
        client.does([&](HNIPC &printer) { answer = printer.emitError(i); });
        QVERIFY(waitForCall(monitor, "emitError"));
        QVERIFY(!client.isDone());
        m_m4->send(SIGCONT);
        QVERIFY(client.ends());
        QVERIFY(answer);
        QVERIFY(waitUntil([&]() { return m_peer->heard("M4_Error", argument(i)) == 1; }));
    }
    QCOMPARE(m_peer->heard("M4_Error"), stops);
}

void tst_DaemonStopped::nothingIsLostWhenStoppedUnderLoad()
{
    const int stops = timesFromEnvironment("HNIPC_STOPS", 20);
    Chance chance;
    Client client;
    std::atomic<bool> enough(false);
    std::atomic<int> calls(0);
    int wrong = 0;
    client.does([&](HNIPC &printer) {
        while (!enough) {
            const int number = ++calls;
            wrong += !printer.emitError(number) || printer.getError() != number;
        }
    });
    const auto callsGoOn = [&calls]() {
        const int before = calls;
        return waitUntil([&]() { return calls > before + 1; });
    };
    int done = 0;
    for (; done < stops && callsGoOn(); ++done) {
        QTest::qSleep(1 + chance.below(10));
        QVERIFY(m_m4->halt());
        QTest::qSleep(1 + chance.below(10));
        m_m4->send(SIGCONT);
    }
    enough = true;
    QVERIFY(client.ends());
    QCOMPARE(done, stops);
    QCOMPARE(wrong, 0);
    QVERIFY(waitUntil([&]() { return m_peer->heard("M4_Error", argument(calls)) == 1; }));
    QCOMPARE(m_peer->heard("M4_Error"), int(calls));
    printf("%d stops, %d calls\n", stops, 2 * int(calls));
}

void tst_DaemonStopped::otherDaemonsReplyMeanwhile()
{
    const std::unique_ptr<Program> supplyd(Program::daemon("supplyd"));
    Client client;
    QVERIFY(client.doesToTheEnd([](HNIPC &) {})); // the client is constructed
    QVERIFY(m_m4->halt());
    QStringList skus;
    QVERIFY(client.doesToTheEnd([&](HNIPC &printer) { skus = printer.supplySKUList(); }));
    QVERIFY(!skus.isEmpty());
}

void tst_DaemonStopped::callEndsAtTheTimeout()
{
    WireMonitor monitor;
    Client client;
    bool answer = false;
    int alert = -1;
    QVERIFY(client.doesToTheEnd([&](HNIPC &printer) { answer = printer.emitAlert(5); }));
    QVERIFY(answer);

    QVERIFY(m_m4->halt());
    qint64 waited = 0;
    client.does([&](HNIPC &printer) {
        QElapsedTimer elapsed;
        elapsed.start();
        answer = printer.emitError(7);
        alert = printer.getAlert();
        waited = elapsed.elapsed() / 2;
    });
    QVERIFY(client.ends());
    QCOMPARE(answer, false);
    QCOMPARE(alert, 0);
    printf("a call waited for %lld ms\n", waited);

    // When the daemon continues, it still carries out the call, once. Its late replies are ignored.
    m_m4->send(SIGCONT);
    QVERIFY(waitUntil([&]() { return m_peer->heard("M4_Error", "(7,)") == 1; }));
    int error = -1;
    QVERIFY(client.doesToTheEnd([&](HNIPC &printer) {
        error = printer.getError();
        alert = printer.getAlert();
    }));
    QCOMPARE(error, 7);
    QCOMPARE(alert, 5);
    QCOMPARE(m_peer->heard("M4_Error"), 1);
}

void tst_DaemonStopped::clientThatStartsWaitsForTheTimeout()
{
    const std::unique_ptr<Program> supplyd(Program::daemon("supplyd"));
    QVERIFY(m_m4->halt());
    WireMonitor monitor;
    Client client;
    QElapsedTimer elapsed;
    elapsed.start();
    QVERIFY(client.doesToTheEnd([](HNIPC &printer) { printer.supplySKUList(); }));
    printf("the client was there after %lld ms\n", elapsed.elapsed());
    // When Qt's timeout ends the wait, no error crosses the bus. dbus-broker has no timeout.
    const bool isEndedByQt = hasLongTimeout() || isOnDBusBroker();
    QCOMPARE(joined(steps(monitor.take()), ", "),
             QByteArray(isEndedByQt ? "Introspect m4, supplySKUList"
                                    : "Introspect m4, NoReply, supplySKUList"));
    m_m4->send(SIGCONT);
    bool answer = false;
    QVERIFY(client.doesToTheEnd([&](HNIPC &printer) { answer = printer.emitError(3); }));
    QVERIFY(answer);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    // Qt stops waiting after 25 seconds, unless the bus sends an error before.
    const PrivateBus bus(QByteArray(),
                         hasLongTimeout() ? "" : "<limit name='reply_timeout'>2000</limit>");
    tst_DaemonStopped test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_daemonstopped.moc"
