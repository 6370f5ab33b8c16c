// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "events.h"
#include "requests.h"
#include "support/privatebus.h"

using namespace Expected;

// A bus that dies with the subscriptions before it: an error is no confirmation.
class tst_EventsUnconfirmed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void busDiesBeforeItConfirms();
};

void tst_EventsUnconfirmed::busDiesBeforeItConfirms()
{
    QVERIFY(passBusThread());
    BusProcess &process = *PrivateBus::instance();
    process.halt();
    HNIPCEvents events;
    SignalRecorder recorder(&events);
    QVERIFY(passBusThread()); // it has been subscribed
    QVERIFY(passBusThread());
    process.kill();
    QVERIFY(waitUntil([]() { return !QDBusConnection::systemBus().isConnected(); }));
    // This request ends after what the object is told.
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    for (int i = 0; i < 3; ++i) {
        QVERIFY(!outcomeOfSending(request).startsWith("Answered"));
    }
    QVERIFY(!events.isListening());
    QCOMPARE(recorder.take(), Lines());
}

HNIPC_TEST_MAIN(tst_EventsUnconfirmed)

#include "tst_eventsunconfirmed.moc"
