// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "events.h"
#include "requests.h"
#include "support/haltedbus.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <QtCore/QScopedPointer>

using namespace Expected;

// A bus that is halted before the connection is opened, and one that is killed before it confirms
// the subscriptions.
class tst_EventsHaltedBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nobodyWaits_data();
    void nobodyWaits();
    void busDiesBeforeItConfirms();
};

void tst_EventsHaltedBus::nobodyWaits_data()
{
    QTest::addColumn<int>("round"); // each does the same
    for (const char *const round : { "connection not open", "open", "and again" }) {
        QTest::newRow(round) << 0;
    }
}

void tst_EventsHaltedBus::nobodyWaits()
{
#if QT_VERSION < QT_VERSION_CHECK(5, 0, 0)
    HNIPC_SKIP("Qt 4 opens the connection in the application's thread");
#endif
    WirePeer m4;
    QVERIFY(m4.own(identities[M4].busName));
    HaltedBus bus;
    QScopedPointer<HNIPCEvents> destroyed(new HNIPCEvents);
    QScopedPointer<HNIPCEvents> events(new HNIPCEvents);
    SignalRecorder recorder(events.data());
    destroyed.reset();
    for (int i = 0; i < 100; ++i) {
        delete new HNIPCEvents;
        QCoreApplication::processEvents();
    }
    QVERIFY(!events->isListening());
    QVERIFY(bus.resume());

    QVERIFY(waitUntilListening(*events));
    QVERIFY(emitNumber(&m4, 4));
    QVERIFY(waitUntil([&]() { return recorder.emissions().size() == 3; }));
    QCOMPARE(recorder.take(), Lines() << listeningChangedTo(true) << relayedNumber(4));

    HaltedBus again;
    events.reset();
    QVERIFY(again.resume());
}

// An error is not a confirmation.
void tst_EventsHaltedBus::busDiesBeforeItConfirms()
{
    QVERIFY(passBusThread());
    BusProcess &process = *PrivateBus::instance();
    process.halt();
    HNIPCEvents events;
    SignalRecorder recorder(&events);
    QVERIFY(passBusThread()); // the library has subscribed
    QVERIFY(passBusThread());
    process.kill();
    QVERIFY(waitUntil([]() { return !QDBusConnection::systemBus().isConnected(); }));
    RecordedRequest request("getError"); // finishes after the object has been notified
    for (int i = 0; i < 3; ++i) {
        QVERIFY(!outcomeOfSending(request).startsWith("Answered"));
    }
    QVERIFY(!events.isListening());
    QCOMPARE(recorder.take(), Lines());
}

HNIPC_TEST_MAIN(tst_EventsHaltedBus)

#include "tst_eventshaltedbus.moc"
