// SPDX-License-Identifier: MIT
#include "events.h"
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/growth.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <hnipc/hnipcavailability.h>
#include <hnipc/hnipcevents.h>
#include <hnipc/hnipcreading.h>

using namespace Expected;

static const int times = 5000;

// The heap does not grow with what has been finished, withdrawn or deleted.
class tst_AsyncGrowth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void finishedRequests();
    void requestsWithdrawnBeforeTheirTurn();
    void deletedEvents();
    void deletedAvailability();
    void deletedReadings();
};

void tst_AsyncGrowth::initTestCase()
{
    if (!isHeapCounted()) {
        HNIPC_SKIP("the allocator does not say how much of the heap is in use");
    }
}

void tst_AsyncGrowth::finishedRequests()
{
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplySupplyPercent", "(12.5,)");
    QVERIFY(leavesNothing(times, [&](int) {
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(supplySupplyPercent));
        return outcomeOfSending(request) == "Answered" && daemons.takeCalls().size() == 1;
    }));
}

// The first 32 calls of the print engine are in flight and get no reply.
void tst_AsyncGrowth::requestsWithdrawnBeforeTheirTurn()
{
    FakeDaemons daemons;
    daemons[M4].hold("getAlert");
    daemons[SUPPLYD].answer("supplySupplyPercent", "(12.5,)");
    HNIPCRequest unanswered[32];
    for (HNIPCRequest &request : unanswered) {
        request.setCall(HNIPC_METHOD(getAlert));
        QVERIFY(request.send());
    }
    QVERIFY(leavesNothing(times, [&](int) {
        HNIPCRequest withdrawn;
        withdrawn.setCall(HNIPC_METHOD(getAlert));
        bool isRight = withdrawn.send();
        withdrawn.cancel();
        isRight = isRight && withdrawn.outcome() == HNIPCRequest::NotSent;
        // The library works in order. When this one is answered, the other was withdrawn.
        HNIPCRequest request;
        request.setCall(HNIPC_METHOD(supplySupplyPercent));
        return outcomeOfSending(request) == "Answered" && isRight && !daemons.takeCalls().isEmpty();
    }));
}

void tst_AsyncGrowth::deletedEvents()
{
    FakeDaemons daemons;
    QVERIFY(leavesNothing(times, [](int) {
        const HNIPCEvents events;
        return waitUntilListening(events);
    }));
}

void tst_AsyncGrowth::deletedAvailability()
{
    FakeDaemons daemons;
    QVERIFY(leavesNothing(times, [](int) {
        const HNIPCAvailability availability;
        return waitUntil([&]() { return availability.isKnown(); });
    }));
}

void tst_AsyncGrowth::deletedReadings()
{
    FakeDaemons daemons;
    daemons[SUPPLYD].answer("supplySupplyPercent", "(12.5,)");
    QVERIFY(leavesNothing(times, [&](int) {
        HNIPCReading reading;
        reading.setMethod(QLatin1String("supplySupplyPercent"));
        return waitUntil([&]() { return reading.isKnown(); }) && !daemons.takeCalls().isEmpty();
    }));
}

HNIPC_TEST_MAIN(tst_AsyncGrowth)

#include "tst_asyncgrowth.moc"
