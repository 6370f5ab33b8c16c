// SPDX-License-Identifier: MIT
#include "expected/identities.h"
#include "requests.h"
#include "support/privatebus.h"
#include "support/wirepeer.h"

#include <hnipc/hnipcavailability.h>

#include <QtTest/QTest>

using namespace Expected;

// A bus that refuses to report which daemons are running.
class tst_AvailabilityUnderPolicy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusedQuestionTellsNothing();
};

void tst_AvailabilityUnderPolicy::refusedQuestionTellsNothing()
{
    HNIPCAvailability availability;
    // The library sends its calls in order, so the bus has refused the earlier ones when it replies
    // to this one.
    HNIPCRequest request;
    request.setCall(HNIPC_METHOD(getError));
    QVERIFY(outcomeOfSending(request).startsWith("NotSent"));
    QVERIFY(!availability.isKnown());
    // Later changes are reported nevertheless, in any order.
    WirePeer daemons[ServerCount];
    QVERIFY(daemons[SUPPLYD].own(identities[SUPPLYD].busName));
    QVERIFY(daemons[M4].own(identities[M4].busName));
    QVERIFY(waitUntil([&]() { return availability.hasM4() && availability.hasSupplyd(); }));
    QVERIFY(!availability.isKnown());
    QVERIFY(daemons[IOEXPD].own(identities[IOEXPD].busName));
    QVERIFY(waitUntil([&]() { return availability.isKnown(); }));
    QVERIFY(availability.hasIoexpd() && availability.hasM4() && availability.hasSupplyd());
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const PrivateBus bus(
        "<deny send_interface='org.freedesktop.DBus' send_member='GetNameOwner'/>");
    tst_AvailabilityUnderPolicy test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_availabilityunderpolicy.moc"
