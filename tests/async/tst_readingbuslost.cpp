// SPDX-License-Identifier: MIT
#include "readings.h"
#include "requests.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include <hnipc/hnipcreading.h>

#include <QtDBus/QDBusConnection>

using namespace Expected;

typedef QList<QByteArray> Lines;

// A separate program: a process connects to one bus only, and the test kills it.
class tst_ReadingBusLost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyReadingShowsIt();
};

void tst_ReadingBusLost::everyReadingShowsIt()
{
    const QByteArray lost = "unknown BusLost org.freedesktop.DBus.Error.Disconnected: "
                            "there is no system bus";
    const QStringList alert(QLatin1String("Alert"));
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(7,)");
    daemons[M4].answerError("getBatteryStatus", "org.hnipc.Error.Busy", "no");
    daemons[M4].hold("getAlert");
    daemons.stop(SUPPLYD);
    BusProcess &bus = *PrivateBus::instance();

    HNIPCReading current;
    current.setCall(HNIPC_METHOD(getError));
    HNIPCReading known;
    known.setCall(HNIPC_METHOD(getAlert));
    known.setSignalNames(alert);
    known.setValueArgument(0);
    HNIPCReading underWay;
    underWay.setCall(HNIPC_METHOD(getAlert));
    HNIPCReading failed;
    failed.setCall(HNIPC_METHOD(getBatteryStatus));
    HNIPCReading absent;
    absent.setCall(HNIPC_METHOD(supplySupplyPercent));
    HNIPCReading invalid;
    invalid.setMethod(QLatin1String("nothing"));
    QVERIFY(waitUntil([&]() { return daemons[M4].held() == 2; }));
    QVERIFY(daemons.emitSignal(M4, "M4_Alert", "(5,)"));
    QCOMPARE(awaited(current, "current int 7"), QByteArray("current int 7"));
    QCOMPARE(awaited(known, "known int 5"), QByteArray("known int 5"));
    QVERIFY(waitUntil([&]() { return failed.reason() == HNIPCRequest::DaemonError; }));
    QVERIFY(waitUntil([&]() { return absent.reason() == HNIPCRequest::DaemonAbsent; }));
    QVERIFY(waitUntil([&]() { return invalid.reason() == HNIPCRequest::UnknownMethod; }));

    HNIPCReading *const readings[] = { &current, &known, &failed, &absent };
    History currentHistory(&current);
    History knownHistory(&known);
    History failedHistory(&failed);
    History absentHistory(&absent);
    History *const histories[] = { &currentHistory, &knownHistory, &failedHistory, &absentHistory };
    HNIPCReading hasty; // the bus may be killed before it has replied to this reading
    hasty.setCall(HNIPC_METHOD(getError));
    bus.kill();
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(awaited(*readings[i], lost), lost);
    }
    QCOMPARE(awaited(underWay, lost), lost);
    QCOMPARE(awaited(hasty, lost), lost);
    QVERIFY(waitUntil([]() { return !QDBusConnection::systemBus().isConnected(); }));

    // They stay unknown. So do readings that are constructed or changed later.
    HNIPCReading late;
    late.setCall(HNIPC_METHOD(getError));
    late.setSignalNames(alert);
    underWay.setMethod(QLatin1String("getError"));
    QCOMPARE(shown(underWay), QByteArray("unknown"));
    for (HNIPCReading *const reading : readings) {
        reading->read();
    }
    HNIPCRequest turns;
    turns.setCall(HNIPC_METHOD(getError));
    for (int i = 0; i < 10; ++i) {
        QVERIFY(outcomeOfSending(turns).startsWith("NotSent"));
    }
    QCOMPARE(shown(late), lost);
    QCOMPARE(shown(underWay), lost);
    QCOMPARE(shown(failed), lost);
    QVERIFY(invalid.reason() == HNIPCRequest::UnknownMethod);
    for (History *const history : histories) {
        QCOMPARE(history->take(), Lines() << lost);
    }
}

HNIPC_TEST_MAIN(tst_ReadingBusLost)

#include "tst_readingbuslost.moc"
