// SPDX-License-Identifier: MIT
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcrequest.h>

#include <QtDBus/QDBusConnection>

#include <memory>
#include <vector>

using namespace Expected;

// A separate program: a process connects to one bus only, and the test kills it.
class tst_RequestBusLost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyPendingRequestFinishesOnce();
};

void tst_RequestBusLost::everyPendingRequestFinishesOnce()
{
    const QByteArray lost = "Unknown BusLost org.freedesktop.DBus.Error.Disconnected: "
                            "the bus was lost before org.hnipc.m4 replied";
    const QByteArray
        noBus = "NotSent BusLost org.freedesktop.DBus.Error.Disconnected: there is no system bus";
    const int inFlight = 32;
    const int waiting = 20;
    FakeDaemons daemons;
    daemons[M4].hold("getAlert");
    daemons[IOEXPD].hold("printerSoftCancel");
    HNIPCAvailability availability;
    QVERIFY(waitUntil([&]() { return availability.isKnown(); }));
    SignalRecorder availabilityRecorder(&availability);

    std::vector<std::unique_ptr<RecordedRequest>> requests;
    for (int i = 0; i < inFlight + waiting; ++i) {
        // After the loss of the bus, the deadline has no effect.
        requests.emplace_back(new RecordedRequest("getAlert", i % 2 ? 60 * 60 * 1000 : -1));
        QVERIFY(requests.back()->send());
    }
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == inFlight; }));
    RecordedRequest cancelled("getAlert");
    QVERIFY(cancelled.send());
    cancelled.cancel();
    {
        RecordedRequest deleted("getAlert");
        QVERIFY(deleted.send());
    }

    // Requests to another daemon, one of which waits for its turn.
    std::vector<std::unique_ptr<RecordedRequest>> others;
    for (int i = 0; i < inFlight + 1; ++i) {
        others.emplace_back(new RecordedRequest("printerSoftCancel"));
        QVERIFY(others.back()->send());
    }
    QVERIFY(waitUntil([&]() { return daemons[IOEXPD].held() == inFlight; }));

    HNIPCAvailability hasty; // may not have had a reply from the bus
    PrivateBus::instance()->kill();
    for (int i = 0; i < inFlight + waiting; ++i) {
        QVERIFY(waitUntilFinished(*requests[i]));
        COMPARE_OUTCOME(*requests[i], i < inFlight ? lost : noBus);
    }
    QVERIFY(waitUntil([]() { return !QDBusConnection::systemBus().isConnected(); }));
    QVERIFY(waitUntilFinished(*others.back()));
    COMPARE_OUTCOME(*others.back(), noBus);

    // Requests that are sent now fail as not sent.
    for (const auto &request : requests) {
        COMPARE_SIGNALS(*request, allSignals);
        SEND_AND_COMPARE(*request, noBus);
        COMPARE_SIGNALS(*request, allSignals);
    }

    QVERIFY(waitUntil([&]() { return !availability.isKnown(); }));
    QVERIFY(!availability.hasIoexpd() && !availability.hasM4() && !availability.hasSupplyd());
    QCOMPARE(availabilityRecorder.take(),
             Lines() << emission("ioexpdChanged(bool)", QVariantList() << false)
                     << emission("m4Changed(bool)", QVariantList() << false)
                     << emission("supplydChanged(bool)", QVariantList() << false)
                     << emission("knownChanged(bool)", QVariantList() << false));
    QVERIFY(waitUntil([&]() { return !hasty.isKnown(); }));
    QVERIFY(!hasty.hasIoexpd() && !hasty.hasM4() && !hasty.hasSupplyd());

    HNIPCAvailability late;
    SignalRecorder lateRecorder(&late);
    HNIPCRequest turns;
    for (int i = 0; i < 10; ++i) {
        outcomeOfSending(turns);
    }
    QVERIFY(!late.isKnown());
    QCOMPARE(lateRecorder.take(), Lines());
}

HNIPC_TEST_MAIN(tst_RequestBusLost)

#include "tst_requestbuslost.moc"
