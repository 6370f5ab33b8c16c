// SPDX-License-Identifier: MIT
#include "chance.h"
#include "support/fakedaemons.h"
#include "support/memory.h"
#include "support/privatebus.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>

#include <QtTest/QSignalSpy>

using namespace Expected;

// A client that has worked for long holds no more than one that has worked for a while, which is
// the first tenth of the times. What the peer of this process has under way moves by less than
// mostMoves; a block that is left behind by each call would come to more.
static const long mostMoves = 100 * 1000;

class tst_Growth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void calls();
    void signalsHeard();

private:
    template <typename Action>
    static long growth(int times, const Action &action);
};

template <typename Action>
long tst_Growth::growth(int times, const Action &action)
{
    long before = 0;
    for (int i = 0; i < times; ++i) {
        if (i == times / 10) {
            before = heapInUse();
        }
        if (!action(i)) {
            qFatal("number %d went wrong", i);
        }
    }
    const long result = heapInUse() - before;
    printf("%d times, growth %ld bytes\n", times, result);
    return result;
}

void tst_Growth::calls()
{
    const int times = timesFromEnvironment("HNIPC_CALLS", 5000);
    FakeDaemons daemons;
    daemons[M4].answer("setUserSetting", "(true,)");
    daemons[SUPPLYD].answer("supplyId", "('LBL-1',)");
    daemons[SUPPLYD].answer("supplyInformation", "(('LBL-1', ['a', 'b'], 2.5),)");
    daemons[SUPPLYD].answerError("supplyWidth", "org.hnipc.Error", "no");
    HNIPC client;
    const long grown = growth(times, [&](int i) -> bool {
        bool isRight = false;
        switch (i % 4) {
        case 0:
            isRight = client.setUserSetting(1, i);
            break;
        case 1:
            isRight = client.supplyId() == QLatin1String("LBL-1");
            break;
        case 2:
            isRight = client.supplyInformation().textList1.size() == 2;
            break;
        default:
            isRight = client.supplyWidth(QString::number(i)) == 0.0;
        }
        return daemons.takeCalls().size() == 1 && isRight;
    });
    QVERIFY2(grown < mostMoves, QByteArray::number(qlonglong(grown)).constData());
}

void tst_Growth::signalsHeard()
{
    const int times = timesFromEnvironment("HNIPC_SIGNALS", 5000);
    FakeDaemons daemons;
    HNIPC client;
    QSignalSpy heard(&client, SIGNAL(RibbonChanged(QStringList, QString)));
    const long grown = growth(times, [&](int) -> bool {
        const bool isSent = daemons.emitSignal(SUPPLYD, "SUPPLYD_RibbonChanged",
                                               "(['RIB-1'], 'labelprinter')");
        return isSent && waitUntil([&]() { return !heard.isEmpty(); })
            && heard.takeFirst().first().toStringList().size() == 1 && heard.isEmpty();
    });
    QVERIFY2(grown < mostMoves, QByteArray::number(qlonglong(grown)).constData());
}

HNIPC_TEST_MAIN(tst_Growth)

#include "tst_growth.moc"
