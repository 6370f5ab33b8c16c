// SPDX-License-Identifier: MIT
#include "asyncdaemons.h"
#include "events.h"
#include "requests.h"
#include "support/privatebus.h"

#include <QtDBus/QDBusConnection>

#include <memory>
#include <vector>

using namespace Expected;

// A separate program: a process connects to one bus only, and the test kills it.
class tst_EventsBusLost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyObjectIsToldOnce();
};

void tst_EventsBusLost::everyObjectIsToldOnce()
{
    AsyncDaemons daemons;
    BusProcess &bus = *PrivateBus::instance();
    std::vector<std::unique_ptr<HNIPCEvents>> all;
    std::vector<std::unique_ptr<SignalRecorder>> recorders;
    for (int i = 0; i < 10; ++i) {
        all.emplace_back(new HNIPCEvents);
        recorders.emplace_back(new SignalRecorder(all.back().get()));
        QVERIFY(waitUntilListening(*all.back()));
    }
    QVERIFY(emitNumber(&daemons[M4], 3));
    QVERIFY(daemons.passFence());
    std::unique_ptr<HNIPCEvents> destroyed(new HNIPCEvents);
    QVERIFY(waitUntilListening(*destroyed));

    bus.kill();
    destroyed.reset();
    HNIPCEvents hasty; // may emit both changes or none
    SignalRecorder hastyRecorder(&hasty);
    for (const auto &events : all) {
        QVERIFY(waitUntil([&]() { return !events->isListening(); }));
    }
    QVERIFY(waitUntil([]() { return !QDBusConnection::systemBus().isConnected(); }));

    std::vector<std::unique_ptr<HNIPCEvents>> later;
    std::vector<std::unique_ptr<SignalRecorder>> laterRecorders;
    for (int i = 0; i < 10; ++i) {
        later.emplace_back(new HNIPCEvents);
        laterRecorders.emplace_back(new SignalRecorder(later.back().get()));
        delete new HNIPCEvents;
        HNIPCRequest request; // fails after the objects have been notified
        request.setCall(HNIPC_METHOD(getError));
        QVERIFY(outcomeOfSending(request).startsWith("NotSent"));
    }
    for (const auto &recorder : recorders) {
        QCOMPARE(recorder->take(),
                 Lines() << listeningChangedTo(true) << relayedNumber(3)
                         << listeningChangedTo(false));
    }
    for (int i = 0; i < 10; ++i) {
        QVERIFY(!later[i]->isListening());
        QCOMPARE(laterRecorders[i]->take(), Lines());
    }
    QVERIFY(!hasty.isListening());
    const Lines told = hastyRecorder.take();
    QVERIFY(told.isEmpty()
            || told == (Lines() << listeningChangedTo(true) << listeningChangedTo(false)));
}

HNIPC_TEST_MAIN(tst_EventsBusLost)

#include "tst_eventsbuslost.moc"
