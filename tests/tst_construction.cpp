// SPDX-License-Identifier: MIT
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/waituntil.h"

#include <hnipc/hnipc.h>

// A program of its own: Qt asks for an interface once a process, and the question is the window.
class tst_Construction : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void daemonThatComesMeanwhileIsNotLost();
};

void tst_Construction::daemonThatComesMeanwhileIsNotLost()
{
    FakeDaemons daemons(false);
    daemons.start(Expected::M4);
    WirePeer &late = daemons[Expected::IOEXPD];
    daemons[Expected::M4].whenIntrospected([&late]() {
        late.own(Expected::identities[Expected::IOEXPD].busName);
        late.sync();
    });

    HNIPC client(0);
    QCOMPARE(daemons[Expected::M4].introspections(), 1);
    QVERIFY(daemons.passFence());
    client.printerSoftCancel();
    QCOMPARE(late.calls().size(), 1);
}

HNIPC_TEST_MAIN(tst_Construction)

#include "tst_construction.moc"
