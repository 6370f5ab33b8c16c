// SPDX-License-Identifier: MIT
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/haltedbus.h"
#include "support/privatebus.h"
#include "threads.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>

using namespace Expected;

// The first objects of a process, while the bus does not respond. A separate program: a process
// opens its connection once.
class tst_RequestFirst : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingWaitsForTheConnection();
};

void tst_RequestFirst::nothingWaitsForTheConnection()
{
    WirePeer m4;
    m4.answerAll("(7,)");
    QVERIFY(m4.own(identities[M4].busName));
    HNIPCRequest late;
    late.setCall(HNIPC_METHOD(forwardFeed), 400);
    late.setDeadline(50);
    HNIPCRequest patient;
    patient.setCall(HNIPC_METHOD(getError));
    HaltedBus bus;
    HNIPCAvailability availability;
    HNIPCEvents events;
    HNIPCReading reading;
    reading.setCall(HNIPC_METHOD(getError));
    QVERIFY(late.send());
    QVERIFY(patient.send());
#if QT_VERSION >= QT_VERSION_CHECK(5, 0, 0)
    QVERIFY(waitUntilFinished(late));
    const bool isResumedHere = bus.resume();
    QVERIFY(isResumedHere);
    QCOMPARE(threadCount("hnipc"), 1);
#else
    // The application's event loop opens the connection and waits for the bus meanwhile.
    while (late.elapsed() <= late.deadline()) {}
    bus.resume();
    QVERIFY(waitUntilFinished(late));
#endif
    QCOMPARE(outcomeOf(late),
             QByteArray("NotSent TimedOut org.freedesktop.DBus.Error.Timeout: "
                        "the call was not sent to org.hnipc.m4 within 50 ms"));
    QVERIFY(waitUntilFinished(patient));
    QCOMPARE(outcomeOf(patient), QByteArray("Answered"));
    QVERIFY(waitUntil(
        [&]() { return availability.hasM4() && events.isListening() && reading.isKnown(); }));
    QCOMPARE(reading.value(), QVariant(7));
    m4.sync();
    const QList<WireMessage> calls = m4.calls();
    for (const WireMessage &call : calls) {
        QCOMPARE(call.member, QByteArray("getError"));
    }
    QCOMPARE(calls.size(), 2);
}

HNIPC_TEST_MAIN(tst_RequestFirst)

#include "tst_requestfirst.moc"
