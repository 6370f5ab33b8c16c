// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "events.h"
#include "readings.h"
#include "support/haltedbus.h"
#include "support/listener.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <hnipc/hnipc.h>

#include <QtCore/QScopedPointer>

using namespace Expected;

// From the first HNIPCEvents of a process to the last one: which messages the bus receives, and
// from when on no signal is missed.
class tst_EventsStart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void firstObject();
    void furtherObject();
    void nextFirstObject_data();
    void nextFirstObject();
    void otherObjectsKeepTheSubscription();
    void otherObjectsDoNotSubscribe();
    void confirmedByTheBus();
    void destroyedBeforeItIsConfirmed();
    void nothingIsMissedFromListeningOn_data();
    void nothingIsMissedFromListeningOn();
    void daemonStartsAtTheSameTime();
    void hungDaemonDelaysNothing();

private:
    void ownNames();
    void releaseNames();
    Lines takeSent();
    void discardSent();

    WirePeer m_daemons[ServerCount];
    WireMonitor m_monitor;
};

// The calls of AddMatch or RemoveMatch for the signals of each daemon.
static Lines matches(const char *call)
{
    Lines result;
    for (const Identity &identity : identities) {
        result << QByteArray(call) + " (\"type='signal',path='/',interface='"
                + identity.interface + "'\",)";
    }
    return result;
}

static Lines subscriptions() { return matches("AddMatch"); }

static Lines unsubscriptions() { return matches("RemoveMatch"); }

// The subscriptions to the owners of the daemons' names, which a process makes once.
static Lines watches()
{
    Lines result;
    for (const Identity &identity : identities) {
        const QByteArray name = identity.busName;
        result << "AddMatch (\"type='signal',sender='org.freedesktop.DBus',"
                  "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='"
                + name + "'\",)"
               << "GetNameOwner ('" + name + "',)";
    }
    return result;
}

// The messages of this process: no other program sends any meanwhile.
Lines tst_EventsStart::takeSent()
{
    Lines result;
    const QList<WireMessage> messages = m_monitor.take();
    for (const WireMessage &message : messages) {
        if (message.sender != "org.freedesktop.DBus") {
            const bool isToTheBus = message.destination == "org.freedesktop.DBus"
                && message.type == WireMessage::MethodCall;
            result << (isToTheBus ? QByteArray() : message.destination + ' ') + message.member + ' '
                    + message.body;
        }
    }
    return result;
}

void tst_EventsStart::ownNames()
{
    releaseNames();
    for (int server = 0; server < ServerCount; ++server) {
        QVERIFY(m_daemons[server].own(identities[server].busName));
    }
    m_monitor.clear();
}

void tst_EventsStart::releaseNames()
{
    for (int server = 0; server < ServerCount; ++server) {
        m_daemons[server].release(identities[server].busName);
    }
    m_monitor.clear();
}

// makeRequestsLeave() itself makes the library send messages, but only once. They are discarded
// here, too.
void tst_EventsStart::discardSent()
{
    makeRequestsLeave();
    m_monitor.clear();
}

void tst_EventsStart::initTestCase() { ownNames(); }

void tst_EventsStart::cleanup() { discardSent(); }

// The library opens the connection for this object.
void tst_EventsStart::firstObject()
{
    HNIPCEvents events;
    SignalRecorder recorder(&events);
    QVERIFY(!events.isListening());
    QVERIFY(waitUntilListening(events));
    Lines expected = Lines() << "Hello ()"
                             << "AddMatch (\"type='signal',path='/org/freedesktop/DBus/Local',"
                                "interface='org.freedesktop.DBus.Local',member='Disconnected'\",)";
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    expected << "GetId ()"; // the reply comes before any call of a daemon
#endif
    expected << watches() << subscriptions() << "GetId ()";
    QCOMPARE(takeSent(), expected);
    QCOMPARE(recorder.take(), Lines() << listeningChangedTo(true));
}

void tst_EventsStart::furtherObject()
{
    QScopedPointer<HNIPCEvents> first(new HNIPCEvents);
    QVERIFY(waitUntilListening(*first));
    makeRoundTrip();
    m_monitor.clear();

    QScopedPointer<HNIPCEvents> further(new HNIPCEvents);
    SignalRecorder recorder(further.data());
    QVERIFY(!further->isListening());
    QVERIFY(waitUntilListening(*further));
    QCOMPARE(recorder.take(), Lines() << listeningChangedTo(true));
    delete new HNIPCEvents;
    first.reset();
    makeRequestsLeave();
    QCOMPARE(takeSent(), Lines() << "GetId ()");
    further.reset();
    makeRequestsLeave();
    QCOMPARE(takeSent(), unsubscriptions() << "GetId ()");
}

void tst_EventsStart::nextFirstObject_data()
{
    QTest::addColumn<bool>("arePresent");
    QTest::newRow("daemons present") << true;
    QTest::newRow("daemons absent") << false;
}

void tst_EventsStart::nextFirstObject()
{
    QFETCH(bool, arePresent);
    if (!arePresent) {
        releaseNames();
    }
    for (int i = 0; i < 3; ++i) {
        QScopedPointer<HNIPCEvents> events(new HNIPCEvents);
        QScopedPointer<HNIPCEvents> another(new HNIPCEvents); // not confirmed by the bus yet
        QVERIFY(waitUntilListening(*events));
        QVERIFY(waitUntilListening(*another));
        QCOMPARE(takeSent(), subscriptions() << "GetId ()");
        if (!arePresent) {
            ownNames();
        }
        NumberCollector collector(events.data());
        QVERIFY(emitNumber(&m_daemons[M4], 5));
        QVERIFY(waitUntil([&]() { return collector.last() == 5; }));
        m_monitor.clear();
        another.reset();
        events.reset();
        makeRequestsLeave();
        QCOMPARE(takeSent(), unsubscriptions() << "GetId ()");
        if (!arePresent) {
            releaseNames();
        }
    }
    ownNames();
}

void tst_EventsStart::otherObjectsKeepTheSubscription()
{
    releaseNames(); // so the reading reads nothing
    RecordedReading reading("printerLid", "M4PrinterLid");
    {
        HNIPCEvents events;
        QVERIFY(waitUntilListening(events));
    }
    discardSent();
    {
        HNIPCEvents events;
        NumberCollector collector(&events);
        QVERIFY(waitUntilListening(events));
        ownNames();
        QVERIFY(emitNumber(&m_daemons[M4], 6));
        QVERIFY(waitUntil([&]() { return collector.last() == 6; }));
    }
    makeRequestsLeave();
    const Lines sent = takeSent();
    QVERIFY(!sent.contains(unsubscriptions().at(M4)));
    QVERIFY(!sent.contains(subscriptions().at(M4)));
}

void tst_EventsStart::otherObjectsDoNotSubscribe()
{
    HNIPCAvailability availability;
    QVERIFY(waitUntil([&]() { return availability.isKnown(); }));
    {
        HNIPCEvents events;
        QVERIFY(waitUntilListening(events));
    }
    makeRequestsLeave();
    const Lines sent = takeSent();
    QCOMPARE(int(sent.count(subscriptions().at(M4))), 1);
    QCOMPARE(int(sent.count(unsubscriptions().at(M4))), 1);
}

void tst_EventsStart::confirmedByTheBus()
{
    makeRequestsLeave(); // opens the connection
    {
        HaltedBus bus;
        HNIPCEvents events;
        NumberCollector collector(&events);
        QVERIFY(passBusThread());
        QVERIFY(passBusThread());
        QVERIFY(!events.isListening());
        QVERIFY(bus.resume());
        QVERIFY(waitUntilListening(events));
        QVERIFY(emitNumber(&m_daemons[M4], 7));
        QVERIFY(waitUntil([&]() { return collector.last() == 7; }));
    }
}

// The confirmation of one subscription is not mistaken for that of the next.
void tst_EventsStart::destroyedBeforeItIsConfirmed()
{
    makeRequestsLeave(); // opens the connection
    for (int i = 0; i < 20; ++i) {
        HaltedBus bus;
        QScopedPointer<HNIPCEvents> first(new HNIPCEvents);
        SignalRecorder firstRecorder(first.data());
        QVERIFY(passBusThread());
        first.reset();
        HNIPCEvents events;
        SignalRecorder recorder(&events);
        if (i % 2) {
            QVERIFY(passBusThread());
        }
        QVERIFY(!events.isListening());
        QVERIFY(bus.resume());
        QVERIFY(waitUntilListening(events));
        QVERIFY(emitNumber(&m_daemons[M4], 8));
        QVERIFY(waitUntil([&]() { return recorder.emissions().size() == 3; }));
        QCOMPARE(recorder.take(), Lines() << listeningChangedTo(true) << relayedNumber(8));
        QCOMPARE(firstRecorder.take(), Lines());
    }
}

void tst_EventsStart::nothingIsMissedFromListeningOn_data()
{
    QTest::addColumn<bool>("isBesideClient");
    QTest::newRow("alone") << false;
    QTest::newRow("beside the blocking client") << true;
}

void tst_EventsStart::nothingIsMissedFromListeningOn()
{
    QFETCH(bool, isBesideClient);
    QScopedPointer<HNIPC> client(isBesideClient ? new HNIPC : 0);
    NumberSender sender(&m_daemons[M4]);
    for (int attempt = 0; attempt < 200; ++attempt) {
        quint32 begun = 0;
        HNIPCEvents events;
        NumberCollector collector(&events);
        int times = 0;
        Listener listener(&events, SIGNAL(listeningChanged(bool)), [&]() {
            begun = sender.begun();
            ++times;
        });
        QVERIFY(waitUntilListening(events));
        QVERIFY(waitUntil([&]() { return collector.last() > begun + 2; }));
        QVERIFY(collector.areCompleteAfter(begun));
        QCOMPARE(times, 1);
    }
}

void tst_EventsStart::daemonStartsAtTheSameTime()
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        releaseNames();
        HNIPCEvents events;
        NumberCollector collector(&events);
        if (attempt % 2) {
            QVERIFY(m_daemons[M4].own(identities[M4].busName));
        }
        QVERIFY(waitUntilListening(events));
        if (attempt % 2 == 0) {
            QVERIFY(m_daemons[M4].own(identities[M4].busName));
        }
        QVERIFY(emitNumber(&m_daemons[M4], 9));
        QVERIFY(waitUntil([&]() { return collector.last() == 9; }));
        QCOMPARE(int(collector.numbers.size()), 1);
    }
    ownNames();
}

// The library sends a hung daemon nothing, so the daemon could as well be a stopped process.
void tst_EventsStart::hungDaemonDelaysNothing()
{
    std::mutex mutex;
    mutex.lock();
    m_daemons[M4].whenIntrospected([&mutex]() { const std::lock_guard<std::mutex> lock(mutex); });
    const int before = m_daemons[M4].introspections();
    m_daemons[M4].clearCalls();
    HNIPCEvents events;
    SignalRecorder recorder(&events);
    QVERIFY(waitUntilListening(events));
    QVERIFY(m_daemons[IOEXPD].emitSignal("/", identities[IOEXPD].interface, "IOEXPD_HelpButton"));
    QVERIFY(waitUntil([&]() { return recorder.emissions().size() == 3; }));
    const int introspections = m_daemons[M4].introspections() - before;
    mutex.unlock();
    QCOMPARE(introspections, 0);
    QVERIFY(m_daemons[M4].calls().isEmpty());
    QCOMPARE(recorder.take(),
             Lines() << listeningChangedTo(true) << relayed("HelpButton()", QVariantList()));
}

HNIPC_TEST_MAIN(tst_EventsStart)

#include "tst_eventsstart.moc"
