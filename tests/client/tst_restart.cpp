// SPDX-License-Identifier: MIT
#include "support/fakedaemons.h"
#include "support/memory.h"
#include "support/privatebus.h"
#include "support/qtmajors.h"

#include <hnipc/hnipc.h>

using namespace Expected;

// A client works through many restarts of its daemons.
class tst_Restart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyRestartIsNoticedAndNothingLeaks();
};

void tst_Restart::everyRestartIsNoticedAndNothingLeaks()
{
    if (!isHeapCounted()) {
        HNIPC_SKIP("the allocator does not say how much of the heap is in use");
    }
    const int restarts = qMax(200, qgetenv("HNIPC_RESTARTS").toInt()); // more by hand
    const int warmUp = 50;
    FakeDaemons daemons;
    HNIPC client(0);
    long before = 0;
    for (int i = 1; i <= restarts; ++i) {
        for (int server = 0; server < ServerCount; ++server) {
            daemons.stop(server);
        }
        QCOMPARE(client.getError(), 0);
        QCOMPARE(client.supplyId(), QString());
        client.printerSoftCancel();
        QVERIFY(daemons.takeCalls().isEmpty());

        const QByteArray number = QByteArray::number(i);
        daemons[M4].answer("getError", '(' + number + ",)");
        daemons[SUPPLYD].answer("supplyId", "('" + number + "',)");
        for (int server = 0; server < ServerCount; ++server) {
            daemons.start(server);
        }
        QCOMPARE(client.getError(), i);
        QCOMPARE(client.supplyId(), QString::fromLatin1(number));
        client.printerSoftCancel();
        QCOMPARE(daemons.takeCalls().size(), 3);
        if (i == warmUp) {
            before = heapInUse();
        }
    }

    const long growth = heapInUse() - before;
    printf("%d restarts, growth %ld bytes\n", restarts, growth);
    // A proxy that is not deleted occupies about two kilobytes; Qt itself keeps some bytes of each.
    const long proxies = ServerCount * (restarts - warmUp);
    QVERIFY2(growth < proxies * 500, QByteArray::number(qlonglong(growth)).constData());
}

HNIPC_TEST_MAIN(tst_Restart)

#include "tst_restart.moc"
