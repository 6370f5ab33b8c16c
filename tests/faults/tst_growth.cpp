// SPDX-License-Identifier: MIT
#include "support/fakedaemons.h"
#include "support/growth.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>

#include <QtTest/QSignalSpy>

using namespace Expected;

// The heap of a client does not grow.
class tst_Growth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void calls_data();
    void calls();
    void signalsHeard();
};

void tst_Growth::initTestCase()
{
    if (!isHeapCounted()) {
        HNIPC_SKIP("the allocator does not say how much of the heap is in use");
    }
}

void tst_Growth::calls_data()
{
    QTest::addColumn<QByteArray>("method");
    for (const char *method :
         { "setUserSetting", "supplyId", "supplyInformation", "supplyWidth" }) {
        QTest::newRow(method) << QByteArray(method);
    }
}

void tst_Growth::calls()
{
    QFETCH(QByteArray, method);
    const int times = qMax(2000, qgetenv("HNIPC_CALLS").toInt()); // more by hand
    FakeDaemons daemons;
    daemons[M4].answer("setUserSetting", "(true,)");
    daemons[SUPPLYD].answer("supplyId", "('LBL-1',)");
    daemons[SUPPLYD].answer("supplyInformation", "(('LBL-1', ['a', 'b'], 2.5),)");
    daemons[SUPPLYD].answerError("supplyWidth", "org.hnipc.Error", "no");
    HNIPC client;
    const bool isClean = leavesNothing(times, [&](int i) -> bool {
        bool isRight = false;
        if (method == "setUserSetting") {
            isRight = client.setUserSetting(1, i);
        } else if (method == "supplyId") {
            isRight = client.supplyId() == QLatin1String("LBL-1");
        } else if (method == "supplyInformation") {
            isRight = client.supplyInformation().textList1.size() == 2;
        } else { // a call that fails
            isRight = client.supplyWidth(QString::number(i)) == 0.0;
        }
        return daemons.takeCalls().size() == 1 && isRight;
    });
    QVERIFY(isClean);
}

void tst_Growth::signalsHeard()
{
    const int times = qMax(5000, qgetenv("HNIPC_SIGNALS").toInt());
    FakeDaemons daemons;
    HNIPC client;
    QSignalSpy heard(&client, SIGNAL(RibbonChanged(QStringList, QString)));
    const bool isClean = leavesNothing(times, [&](int) -> bool {
        const bool isSent = daemons.emitSignal(SUPPLYD, "SUPPLYD_RibbonChanged",
                                               "(['RIB-1'], 'labelprinter')");
        return isSent && waitUntil([&]() { return !heard.isEmpty(); })
            && heard.takeFirst().first().toStringList().size() == 1 && heard.isEmpty();
    });
    QVERIFY(isClean);
}

HNIPC_TEST_MAIN(tst_Growth)

#include "tst_growth.moc"
