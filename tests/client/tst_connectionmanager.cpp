// SPDX-License-Identifier: MIT
#include "support/fakedaemons.h"
#include "support/privatebus.h"
#include "support/signature.h"

#include "client/hnipc_p.h"

#include <hnipc/hnipc.h>

#include <QtCore/QPointer>
#include <QtCore/QScopedPointer>
#include <QtDBus/QDBusInterface>

typedef QPointer<QDBusInterface> Proxy;

// A daemon's proxy exists exactly while the daemon is on the bus.
class tst_ConnectionManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void withoutDaemonsAllLookupsAreNullUntilOneStarts();
    void proxiesOfPresentDaemonsExistAfterConstruction_data();
    void proxiesOfPresentDaemonsExistAfterConstruction();
    void proxyAddressesItsDaemon_data();
    void proxyAddressesItsDaemon();
    void restartGivesANewProxy_data();
    void restartGivesANewProxy();
    void otherNamesChangeNothing_data();
    void otherNamesChangeNothing();
    void otherServerTypesHaveNoProxy();
    void unregistrationDeletesTheProxyAtOnce_data();
    void unregistrationDeletesTheProxyAtOnce();
    void registrationOfAnAbsentDaemonLeavesNoProxy_data();
    void registrationOfAnAbsentDaemonLeavesNoProxy();
    void secondRegistrationLeavesTheFirstProxyUndeleted_data();
    void secondRegistrationLeavesTheFirstProxyUndeleted();
    void changeOfOwnerKeepsTheProxy();
    void createAndDeleteConcernTheirDaemonOnly_data();
    void createAndDeleteConcernTheirDaemonOnly();
    void destructionDeletesTheProxies();
    void objectsHaveNoParent();
    void metaObjectDeclaresTheTwoSlots();

private:
    Proxy proxy(int server) const
    {
        return m_private->getInterfaceByServerType(HNIPCServer::ServerType(server));
    }

    bool report(const char *slot, const QByteArray &name) const
    {
        return QMetaObject::invokeMethod(m_private.data(), slot,
                                         Q_ARG(QString, QString::fromLatin1(name)));
    }

    bool registered(const QByteArray &name) const { return report("onServiceRegistered", name); }
    bool unregistered(const QByteArray &name) const
    {
        return report("onServiceUnregistered", name);
    }

    void construct() { m_private.reset(new HNIPCPrivate(m_client.data())); }

    QScopedPointer<FakeDaemons> m_daemons;
    QScopedPointer<HNIPC> m_client;
    QScopedPointer<HNIPCPrivate> m_private;
};

static void addServers()
{
    QTest::addColumn<int>("server");
    for (int server = 0; server < Expected::ServerCount; ++server) {
        QTest::newRow(Expected::identities[server].tag) << server;
    }
}

void tst_ConnectionManager::init()
{
    m_daemons.reset(new FakeDaemons);
    m_client.reset(new HNIPC(0));
    construct();
}

void tst_ConnectionManager::cleanup()
{
    m_private.reset();
    m_client.reset();
    m_daemons.reset();
}

void tst_ConnectionManager::withoutDaemonsAllLookupsAreNullUntilOneStarts()
{
    for (int server = 0; server < Expected::ServerCount; ++server) {
        m_daemons->stop(server);
    }
    construct();
    for (int server = 0; server < Expected::ServerCount; ++server) {
        QVERIFY(!proxy(0) || server > 0);
        QVERIFY(!proxy(1) || server > 1);
        QVERIFY(!proxy(2));
        m_daemons->start(server);
        QVERIFY(proxy(server));
    }
}

void tst_ConnectionManager::proxiesOfPresentDaemonsExistAfterConstruction_data()
{
    QTest::addColumn<int>("present");
    const char *const names[] = { "none",           "ioexpd",  "m4",
                                  "ioexpd and m4",  "supplyd", "ioexpd and supplyd",
                                  "m4 and supplyd", "all" };
    for (int present = 0; present < 8; ++present) {
        QTest::newRow(names[present]) << present;
    }
}

void tst_ConnectionManager::proxiesOfPresentDaemonsExistAfterConstruction()
{
    QFETCH(int, present);
    for (int server = 0; server < Expected::ServerCount; ++server) {
        if (!(present & (1 << server))) {
            m_daemons->stop(server);
        }
    }
    construct();
    for (int server = 0; server < Expected::ServerCount; ++server) {
        QCOMPARE(!proxy(server).isNull(), bool(present & (1 << server)));
    }
}

void tst_ConnectionManager::proxyAddressesItsDaemon_data() { addServers(); }

void tst_ConnectionManager::proxyAddressesItsDaemon()
{
    QFETCH(int, server);
    const Expected::Identity &daemon = Expected::identities[server];
    QCOMPARE(proxy(server)->service(), QString::fromLatin1(daemon.busName));
    QCOMPARE(proxy(server)->path(), QString::fromLatin1("/"));
    QCOMPARE(proxy(server)->interface(), QString::fromLatin1(daemon.interface));
    QCOMPARE(proxy(server)->connection().baseService(), QDBusConnection::systemBus().baseService());
}

void tst_ConnectionManager::restartGivesANewProxy_data() { addServers(); }

void tst_ConnectionManager::restartGivesANewProxy()
{
    QFETCH(int, server);
    const Proxy first = proxy(server);
    m_daemons->stop(server);
    QVERIFY(!first);
    QVERIFY(!proxy(server));
    m_daemons->start(server);
    QVERIFY(proxy(server));
    QVERIFY(!first);
}

void tst_ConnectionManager::otherNamesChangeNothing_data()
{
    QTest::addColumn<QByteArray>("name");
    // clang-format off
    const char *const names[] = { "org.hnipc.M4", "ORG.HNIPC.IOEXPD", "Org.Hnipc.Supplyd",
                                  "org.hnipc.m4 ", "org.hnipc.m", "org.hnipc.m44", "org.hnipc",
                                  ".m4", "local.IHNIPCM4", "M4", "" };
    // clang-format on
    for (const char *const name : names) {
        QTest::newRow(name) << QByteArray(name);
    }
}

void tst_ConnectionManager::otherNamesChangeNothing()
{
    QFETCH(QByteArray, name);
    const Proxy before[] = { proxy(0), proxy(1), proxy(2) };
    QVERIFY(registered(name));
    QVERIFY(unregistered(name));
    for (int server = 0; server < Expected::ServerCount; ++server) {
        QVERIFY(before[server] && proxy(server) == before[server]);
    }

    for (int server = 0; server < Expected::ServerCount; ++server) {
        QVERIFY(unregistered(Expected::identities[server].busName));
        QVERIFY(registered(name));
        QVERIFY(!proxy(server));
    }
}

void tst_ConnectionManager::otherServerTypesHaveNoProxy()
{
    QVERIFY(!proxy(3));
    QVERIFY(!proxy(-1));
    QVERIFY(!proxy(4));
    QVERIFY(!proxy(2147483647));
}

void tst_ConnectionManager::unregistrationDeletesTheProxyAtOnce_data() { addServers(); }

void tst_ConnectionManager::unregistrationDeletesTheProxyAtOnce()
{
    QFETCH(int, server);
    const Proxy gone = proxy(server);
    QVERIFY(unregistered(Expected::identities[server].busName));
    QVERIFY(!gone);
    for (int other = 0; other < Expected::ServerCount; ++other) {
        QCOMPARE(proxy(other).isNull(), other == server);
    }
    // The second time, no proxy is left to delete.
    QVERIFY(unregistered(Expected::identities[server].busName));
    QVERIFY(!proxy(server));
}

void tst_ConnectionManager::registrationOfAnAbsentDaemonLeavesNoProxy_data() { addServers(); }

void tst_ConnectionManager::registrationOfAnAbsentDaemonLeavesNoProxy()
{
    QFETCH(int, server);
    m_daemons->stop(server);
    QVERIFY(registered(Expected::identities[server].busName));
    QVERIFY(!proxy(server));
}

void tst_ConnectionManager::secondRegistrationLeavesTheFirstProxyUndeleted_data() { addServers(); }

void tst_ConnectionManager::secondRegistrationLeavesTheFirstProxyUndeleted()
{
    QFETCH(int, server);
    const QScopedPointer<QDBusInterface> first(proxy(server));
    const Proxy stillThere = first.data();
    QVERIFY(registered(Expected::identities[server].busName));
    QVERIFY(stillThere);
    QVERIFY(proxy(server));
    QVERIFY(proxy(server) != stillThere);
}

void tst_ConnectionManager::changeOfOwnerKeepsTheProxy()
{
    const QByteArray name = Expected::identities[Expected::M4].busName;
    m_daemons->stop(Expected::M4);
    WirePeer first;
    WirePeer second;
    QVERIFY(first.takeOver(name));
    QVERIFY(m_daemons->passFence());
    const Proxy kept = proxy(Expected::M4);
    QVERIFY(kept);

    QVERIFY(second.takeOver(name));
    QVERIFY(m_daemons->passFence());
    QVERIFY(kept && proxy(Expected::M4) == kept);
}

void tst_ConnectionManager::createAndDeleteConcernTheirDaemonOnly_data() { addServers(); }

void tst_ConnectionManager::createAndDeleteConcernTheirDaemonOnly()
{
    QFETCH(int, server);
    typedef void (HNIPCPrivate::*Operation)();
    const Operation creations[] = { &HNIPCPrivate::createIOEXPDInterface,
                                    &HNIPCPrivate::createM4Interface,
                                    &HNIPCPrivate::createSUPPLYDInterface };
    const Operation deletions[] = { &HNIPCPrivate::deleteIOEXPDInterface,
                                    &HNIPCPrivate::deleteM4Interface,
                                    &HNIPCPrivate::deleteSUPPLYDInterface };
    const Operation createProxy = creations[server];
    const Operation deleteProxy = deletions[server];
    const Proxy before[] = { proxy(0), proxy(1), proxy(2) };

    (m_private.data()->*deleteProxy)();
    for (int other = 0; other < Expected::ServerCount; ++other) {
        QCOMPARE(before[other].isNull(), other == server);
        QCOMPARE(proxy(other), before[other]);
    }
    (m_private.data()->*createProxy)();
    for (int other = 0; other < Expected::ServerCount; ++other) {
        QVERIFY(proxy(other));
        QCOMPARE(proxy(other) == before[other], other != server);
    }
}

void tst_ConnectionManager::destructionDeletesTheProxies()
{
    const Proxy proxies[] = { proxy(0), proxy(1), proxy(2) };
    m_private.reset();
    for (const Proxy &deleted : proxies) {
        QVERIFY(!deleted);
    }
}

void tst_ConnectionManager::objectsHaveNoParent()
{
    QVERIFY(!m_private->parent());
    for (int server = 0; server < Expected::ServerCount; ++server) {
        QVERIFY(!proxy(server)->parent());
    }
}

void tst_ConnectionManager::metaObjectDeclaresTheTwoSlots()
{
    const QMetaObject &meta = HNIPCPrivate::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("HNIPCPrivate"));
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    const char *const signatures[] = { "onServiceRegistered(QString)",
                                       "onServiceUnregistered(QString)" };
    for (int i = 0; i < 2; ++i) {
        const QMetaMethod method = meta.method(meta.methodOffset() + i);
        QCOMPARE(signatureOf(method), QByteArray(signatures[i]));
        QCOMPARE(method.methodType(), QMetaMethod::Slot);
        QCOMPARE(method.access(), QMetaMethod::Private);
        QCOMPARE(method.parameterNames(), QList<QByteArray>() << "serviceName");
        QCOMPARE(resultOf(method), QByteArray());
    }
}

HNIPC_TEST_MAIN(tst_ConnectionManager)

#include "tst_connectionmanager.moc"
