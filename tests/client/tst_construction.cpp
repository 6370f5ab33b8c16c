// SPDX-License-Identifier: MIT
#include "expected/samples.h"
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>

using namespace Expected;

// A separate program: Qt introspects an interface once in a process, and the test acts during that
// call.
class tst_Construction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void messagesDuringConstructionAreNotLost_data();
    void messagesDuringConstructionAreNotLost();
};

void tst_Construction::messagesDuringConstructionAreNotLost_data()
{
    QTest::addColumn<int>("present");
    QTest::addColumn<QByteArray>("member");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<int>("comingLate");
    QTest::newRow("I/O expander") << int(M4) << QByteArray("M4_PrintQueueClear")
                                  << QByteArray("PrintQueueClear(int)") << int(IOEXPD);
    QTest::newRow("print engine") << int(SUPPLYD) << QByteArray("SUPPLYD_SupplyRGBChanged")
                                  << QByteArray("SupplyRGBChanged(QString)") << int(M4);
}

// A daemon appears, and the daemon that is introspected sends a signal.
void tst_Construction::messagesDuringConstructionAreNotLost()
{
    QFETCH(int, present);
    QFETCH(QByteArray, member);
    QFETCH(QByteArray, signal);
    QFETCH(int, comingLate);
    FakeDaemons daemons(false);
    daemons.start(present);
    WirePeer &asked = daemons[present];
    WirePeer &late = daemons[comingLate];
    const QList<Sample> samples = argumentSamples(signal, 1);
    const QByteArray body = wireBody(samples);
    asked.whenIntrospected([&asked, &late, present, comingLate, member, body]() {
        late.own(identities[comingLate].busName);
        late.sync();
        asked.emitSignal("/", identities[present].interface, member, body);
    });

    HNIPC client(0);
    SignalRecorder recorder(&client);
    QCOMPARE(asked.introspections(), 1);
    QVERIFY(daemons.passFence());
    QCOMPARE(recorder.emissions(), QList<QByteArray>() << emission(signal, values(samples)));
    client.printerSoftCancel();
    client.getError();
    QCOMPARE(late.calls().size(), 1);
}

HNIPC_TEST_MAIN(tst_Construction)

#include "tst_construction.moc"
