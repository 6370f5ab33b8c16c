// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "events.h"
#include "requests.h"
#include "support/privatebus.h"

using namespace Expected;

// A bus that is killed before it confirms the subscriptions: an error is not a confirmation.
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
    QVERIFY(passBusThread()); // the library has subscribed
    QVERIFY(passBusThread());
    process.kill();
    QVERIFY(waitUntil([]() { return !QDBusConnection::systemBus().isConnected(); }));
    // This request finishes after the object has been notified.
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
