// SPDX-License-Identifier: MIT
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/signalrecorder.h"

#include <hnipc/hnipc.h>
#include <hnipc/hnipcserver.h>

#include <QtDBus/QDBusConnection>

// The names under which the client addresses the three daemons.
class tst_Identities : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serverTypesHaveFixedValues();
    void eachDaemonIsWatchedAndAddressedByItsIdentity_data();
    void eachDaemonIsWatchedAndAddressedByItsIdentity();
    void namesAreComparedExactly_data();
    void namesAreComparedExactly();
};

void tst_Identities::serverTypesHaveFixedValues()
{
    QCOMPARE(int(HNIPCServer::IOEXPD), 0);
    QCOMPARE(int(HNIPCServer::M4), 1);
    QCOMPARE(int(HNIPCServer::SUPPLYD), 2);
}

void tst_Identities::eachDaemonIsWatchedAndAddressedByItsIdentity_data()
{
    QTest::addColumn<int>("server");
    QTest::addColumn<QByteArray>("call");
    QTest::newRow("ioexpd") << int(Expected::IOEXPD)
                            << QByteArray("/ local.IHNIPCIOEXPD.printerSoftCancel  ()");
    QTest::newRow("m4") << int(Expected::M4) << QByteArray("/ local.IHNIPCM4.resetMotor  ()");
    QTest::newRow("supplyd") << int(Expected::SUPPLYD)
                             << QByteArray("/ local.IHNIPCSUPPLYD.applicationWasClicked  ()");
}

void tst_Identities::eachDaemonIsWatchedAndAddressedByItsIdentity()
{
    QFETCH(int, server);
    QFETCH(QByteArray, call);

    FakeDaemons daemons(false);
    HNIPC client(0);
    daemons.start(server);
    client.printerSoftCancel();
    client.resetMotor();
    client.applicationWasClicked();

    const QList<WireMessage> calls = daemons.takeCalls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls.first().line(), call);
    QCOMPARE(calls.first().destination, QByteArray(Expected::identities[server].busName));
    QCOMPARE(calls.first().sender, QDBusConnection::systemBus().baseService().toLatin1());
    QVERIFY(calls.first().replyExpected);
}

void tst_Identities::namesAreComparedExactly_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("upper case") << QByteArray("org.hnipc.M4");
    QTest::newRow("upper-case prefix") << QByteArray("org.HNIPC.m4");
    QTest::newRow("longer") << QByteArray("org.hnipc.m4x");
    QTest::newRow("shorter") << QByteArray("org.hnipc.m");
    QTest::newRow("below") << QByteArray("org.hnipc.m4.m4");
    QTest::newRow("other prefix") << QByteArray("com.hnipc.m4");
}

void tst_Identities::namesAreComparedExactly()
{
    QFETCH(QByteArray, name);

    WirePeer other;
    other.answerAll("(77,)");
    HNIPC client(0);
    SignalRecorder recorder(&client);
    Fence fence;
    QVERIFY(other.own(name));
    QVERIFY(other.emitSignal("/", "local.IHNIPCM4", "M4_M4PrintDone"));
    QVERIFY(fence.pass());

    QCOMPARE(client.getError(), 0);
    QVERIFY(other.calls().isEmpty());
    QCOMPARE(other.introspections(), 0);
    QVERIFY(recorder.take().isEmpty());
}

HNIPC_TEST_MAIN(tst_Identities)

#include "tst_identities.moc"
