// SPDX-License-Identifier: MIT
#include "readings.h"
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include <hnipc/hnipcreading.h>

#include <QtCore/QAbstractEventDispatcher>
#include <QtDBus/QDBusConnection>

#include <algorithm>

using namespace Expected;

// A separate program: a process connects to one bus only, and the test kills it.
class tst_ReadingBusLost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyReadingShowsIt();
};

static bool hasTimer(const QObject &object)
{
    const QObjectList children = object.children();
    return std::any_of(children.begin(), children.end(), [](QObject *child) {
        return !QAbstractEventDispatcher::instance()->registeredTimers(child).isEmpty();
    });
}

void tst_ReadingBusLost::everyReadingShowsIt()
{
    const char lost[] = "unknown BusLost org.freedesktop.DBus.Error.Disconnected: "
                        "there is no system bus";
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(7,)");
    daemons[M4].answerError("getBatteryStatus", "org.hnipc.Error.Busy", "no");
    daemons[M4].hold("getAlert");
    daemons.stop(SUPPLYD);

    WireMonitor monitor;
    RecordedReading current("getError");
    RecordedReading known("getAlert", "Alert", 0);
    RecordedReading underWay("getAlert");
    RecordedReading failed("getBatteryStatus");
    RecordedReading absent("supplySupplyPercent");
    RecordedReading invalid("nothing");
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == 2; }));
    QVERIFY(daemons.emitSignal(M4, "M4_Alert", "(5,)"));
    VERIFY_SHOWS(current, "current int 7");
    VERIFY_SHOWS(known, "known int 5");
    QVERIFY(waitUntil([&]() { return failed.reason() == HNIPCRequest::DaemonError; }));
    QVERIFY(waitUntil([&]() { return absent.reason() == HNIPCRequest::DaemonAbsent; }));
    QVERIFY(waitUntil([&]() { return invalid.reason() == HNIPCRequest::UnknownMethod; }));

    // The daemon that is not running is not called, although the bus has reported the others.
    const QList<WireMessage> messages = monitor.take();
    for (const WireMessage &message : messages) {
        QVERIFY(message.destination != "org.hnipc.supplyd");
    }

    RecordedReading *const readings[] = { &current, &known, &failed, &absent };
    for (RecordedReading *const reading : readings) {
        reading->takeHistory();
    }
    RecordedReading hasty("getError"); // the bus may be killed before it has replied to this one
    PrivateBus::instance()->kill();
    VERIFY_SHOWS(hasty, lost);
    VERIFY_SHOWS(underWay, lost);
    underWay.takeHistory();
    for (RecordedReading *const reading : readings) {
        VERIFY_HISTORY(*reading, lost);
    }
    QVERIFY(waitUntil([]() { return !QDBusConnection::systemBus().isConnected(); }));

    // They stay unknown. So do readings that are constructed or changed later.
    RecordedReading late("getError", "Alert");
    for (RecordedReading *const reading : readings) {
        reading->read();
    }
    underWay.setMethod(QLatin1String("getError"));
    RecordedRequest turns("getError");
    for (int i = 0; i < 10; ++i) {
        QVERIFY(outcomeOfSending(turns).startsWith("NotSent"));
    }
    QCOMPARE(late.takeHistory(), Lines({ lost }));
    QCOMPARE(underWay.takeHistory(), Lines({ "unknown", lost }));
    for (RecordedReading *const reading : readings) {
        QCOMPARE(reading->takeHistory(), Lines());
        QVERIFY(!hasTimer(*reading)); // the connection is not opened again, so no read is repeated
    }
    QVERIFY(invalid.reason() == HNIPCRequest::UnknownMethod);
}

HNIPC_TEST_MAIN(tst_ReadingBusLost)

#include "tst_readingbuslost.moc"
