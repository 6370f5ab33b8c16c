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

typedef QList<QByteArray> Lines;

// A separate program: a process connects to one bus only, and the test kills it.
class tst_RequestBusLost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyPendingRequestFinishesOnce();
};

void tst_RequestBusLost::everyPendingRequestFinishesOnce()
{
    const QByteArray lost = "Unknown org.freedesktop.DBus.Error.Disconnected: "
                            "the bus was lost before org.hnipc.m4 replied";
    const QByteArray
        noBus = "NotSent org.freedesktop.DBus.Error.Disconnected: there is no system bus";
    const QByteArray sent = emission("stateChanged()");
    const Lines finished = Lines() << emission("stateChanged()") << emission("finished()");
    const int inFlight = 32;
    const int waiting = 20;

    FakeDaemons daemons;
    daemons[M4].hold("getAlert");
    BusProcess &bus = *PrivateBus::instance();
    HNIPCAvailability availability;
    QVERIFY(waitUntil([&]() { return availability.isKnown(); }));
    SignalRecorder availabilityRecorder(&availability);

    std::vector<std::unique_ptr<HNIPCRequest>> requests;
    std::vector<std::unique_ptr<SignalRecorder>> recorders;
    for (int i = 0; i < inFlight + waiting; ++i) {
        requests.emplace_back(new HNIPCRequest);
        requests.back()->setCall(HNIPC_METHOD(getAlert));
        // After the loss of the bus, the deadline has no effect.
        requests.back()->setDeadline(i % 2 ? 60 * 60 * 1000 : -1);
        recorders.emplace_back(new SignalRecorder(requests.back().get()));
        QVERIFY(requests.back()->send());
    }
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == inFlight; }));
    HNIPCRequest cancelled;
    cancelled.setCall(HNIPC_METHOD(getAlert));
    QVERIFY(cancelled.send());
    cancelled.cancel();
    std::unique_ptr<HNIPCRequest> deleted(new HNIPCRequest);
    deleted->setCall(HNIPC_METHOD(getAlert));
    QVERIFY(deleted->send());
    deleted.reset();

    // Requests to another daemon, one of which waits for its turn.
    std::vector<std::unique_ptr<HNIPCRequest>> others;
    daemons[IOEXPD].hold("printerSoftCancel");
    for (int i = 0; i < inFlight + 1; ++i) {
        others.emplace_back(new HNIPCRequest);
        others.back()->setCall(HNIPC_METHOD(printerSoftCancel));
        QVERIFY(others.back()->send());
    }
    QVERIFY(waitUntil([&]() { return daemons[IOEXPD].held() == inFlight; }));

    HNIPCAvailability hasty; // may not have had a reply from the bus
    bus.kill();
    for (const auto &request : requests) {
        QVERIFY(waitUntilFinished(*request));
    }
    QVERIFY(waitUntil([]() { return !QDBusConnection::systemBus().isConnected(); }));
    QVERIFY(waitUntilFinished(*others.back()));
    QCOMPARE(outcomeOf(*others.back()), noBus);
    for (int i = 0; i < inFlight + waiting; ++i) {
        QCOMPARE(outcomeOf(*requests[i]), i < inFlight ? lost : noBus);
    }

    // Requests that are sent now fail as not sent.
    for (const auto &request : requests) {
        QCOMPARE(outcomeOfSending(*request), noBus);
    }
    for (const auto &recorder : recorders) {
        QCOMPARE(recorder->take(), Lines() << sent << finished << sent << finished);
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
