// SPDX-License-Identifier: MIT
#include "support/fakedaemons.h"
#include "support/privatebus.h"

#include <hnipc/hnipc.h>

#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtDBus/QDBusConnection>
#include <QtDBus/QDBusConnectionInterface>

using namespace Expected;

// Several clients in one process, their construction and their destruction.
class tst_Clients : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constructionRegistersTheRecordAnyNumberOfTimes();
    void parentOwnsTheClientWhichHasNoChildren();
    void clientMayBeBuiltAndDeletedAtAnyTime();
    void eachClientFollowsTheDaemons();
    void deletingAClientKeepsTheDaemonsOfTheOther();
    void deletedClientSendsNothingToTheBus();
};

static int recordType()
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    return QMetaType::fromName("SupplyInformation").id();
#else
    return QMetaType::type("SupplyInformation");
#endif
}

// Runs first: nothing may have registered the type before.
void tst_Clients::constructionRegistersTheRecordAnyNumberOfTimes()
{
    const int unknown = 0;
    QCOMPARE(recordType(), unknown);
    HNIPC first(0);
    const int type = recordType();
    QVERIFY(type != unknown);
    HNIPC second(0);
    QCOMPARE(recordType(), type);
    QCOMPARE(qMetaTypeId<SupplyInformation>(), type);
}

void tst_Clients::parentOwnsTheClientWhichHasNoChildren()
{
    QScopedPointer<QObject> parent(new QObject);
    const QPointer<HNIPC> client = new HNIPC(parent.data());
    QCOMPARE(client->parent(), parent.data());
    QVERIFY(client->children().isEmpty());
    parent.reset();
    QVERIFY(!client);
}

void tst_Clients::clientMayBeBuiltAndDeletedAtAnyTime()
{
    FakeDaemons daemons(false);
    delete new HNIPC(0);
    daemons.start(M4);
    daemons[M4].answer("getError", "(5,)");
    for (int i = 0; i < 20; ++i) {
        HNIPC client(0);
        QCOMPARE(client.getError(), 5);
    }
    // A signal that is on its way to a client when the client is destroyed.
    QScopedPointer<HNIPC> client(new HNIPC(0));
    QVERIFY(daemons.emitSignal(M4, "M4_Error", "(5,)"));
    QVERIFY(daemons[M4].release(identities[M4].busName));
    client.reset();
    QVERIFY(daemons.passFence());
}

void tst_Clients::eachClientFollowsTheDaemons()
{
    FakeDaemons daemons(false);
    HNIPC first(0);
    daemons[SUPPLYD].answer("supplyId", "('S1',)");
    daemons.start(SUPPLYD);
    HNIPC second(0);
    QCOMPARE(first.supplyId(), QString::fromLatin1("S1"));
    QCOMPARE(second.supplyId(), QString::fromLatin1("S1"));
    daemons.stop(SUPPLYD);
    QCOMPARE(first.supplyId(), QString());
    QCOMPARE(second.supplyId(), QString());
    QCOMPARE(daemons.takeCalls().size(), 2);
}

void tst_Clients::deletingAClientKeepsTheDaemonsOfTheOther()
{
    FakeDaemons daemons;
    daemons[M4].answer("getError", "(5,)");
    HNIPC staying(0);
    QScopedPointer<HNIPC> leaving(new HNIPC(0));
    QCOMPARE(leaving->getError(), 5);
    leaving.reset();
    QCOMPARE(staying.getError(), 5);
    daemons.stop(M4);
    QCOMPARE(staying.getError(), 0);
    daemons.start(M4);
    QCOMPARE(staying.getError(), 5);
}

// Not even when a daemon appears that the client would have connected to.
void tst_Clients::deletedClientSendsNothingToTheBus()
{
    FakeDaemons daemons(false);
    QScopedPointer<HNIPC> client(new HNIPC(0));
    const QByteArray self = QDBusConnection::systemBus().baseService().toLatin1();
    WireMonitor monitor;
    const auto questions = [&]() {
        int result = 0;
        const QList<WireMessage> messages = monitor.take();
        for (const WireMessage &message : messages) {
            result += message.type == WireMessage::MethodCall && message.sender == self;
        }
        return result;
    };
    daemons.start(M4);
    QVERIFY(questions() > 0);
    daemons.stop(M4);
    client.reset();
    // The bus has ended the subscriptions when it replies to this call.
    const bool isRunning = QDBusConnection::systemBus().interface()->isServiceRegistered(
        QLatin1String(identities[IOEXPD].busName));
    QVERIFY(!isRunning);
    monitor.clear();
    daemons.start(M4);
    QCOMPARE(questions(), 0);
}

HNIPC_TEST_MAIN(tst_Clients)

#include "tst_clients.moc"
